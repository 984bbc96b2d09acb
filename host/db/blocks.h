#pragma once

#include <memory>
#include <string>
#include <vector>

#include "db/entity.h"
#include "db/symtables.h"

namespace kx {

class VxDbBlockTableRecordIterator : public VxDbIdListIterator {
public:
    explicit VxDbBlockTableRecordIterator(VxDbObjectId block);
    Velt::ErrorStatus getEntityId(VxDbObjectId& id) const;
    Velt::ErrorStatus getEntity(VxDbEntity*& entity, VxDb::OpenMode mode = VxDb::kForRead,
                                bool openErased = false) const;
};

// A block definition: a named, ordered set of entities. Model space, the
// paper-space layouts and inserted drawings are blocks too.
class VxDbBlockTableRecord : public VxDbSymbolTableRecord {
    VX_RX_DECLARE_MEMBERS(VxDbBlockTableRecord)
public:
    static constexpr const wchar_t* kModelSpaceName = L"*Model_Space";
    static constexpr const wchar_t* kPaperSpaceName = L"*Paper_Space";

    // Appends a new entity (the block open for write). The entity becomes
    // resident, stays open for write for the caller, and gets the database
    // defaults if it has none.
    Velt::ErrorStatus appendVxDbEntity(VxDbEntity* entity);
    Velt::ErrorStatus appendVxDbEntity(VxDbObjectId& id, VxDbEntity* entity);
    Velt::ErrorStatus newIterator(std::unique_ptr<VxDbBlockTableRecordIterator>& iterator, bool atBeginning = true,
                                  bool skipErased = true) const;
    // Every entity in order, erased ones included.
    const std::vector<VxDbObjectId>& entityIds() const { return mEntities; }

    VxGePoint3d origin() const { return mOrigin; }
    Velt::ErrorStatus setOrigin(const VxGePoint3d& origin);
    // The drawing an external reference comes from; empty for other blocks.
    const std::wstring& pathName() const { return mPathName; }
    Velt::ErrorStatus setPathName(const wchar_t* path);
    const std::wstring& comments() const { return mComments; }
    Velt::ErrorStatus setComments(const wchar_t* text);
    VxDb::UnitsValue blockInsertUnits() const { return mUnits; }
    Velt::ErrorStatus setBlockInsertUnits(VxDb::UnitsValue units);
    bool explodable() const { return mExplodable; }
    Velt::ErrorStatus setExplodable(bool value) { return setField(mExplodable, value); }
    VxDb::BlockScaling blockScaling() const { return mScaling; }
    Velt::ErrorStatus setBlockScaling(VxDb::BlockScaling scaling);
    VxDbObjectId getLayoutId() const { return mLayout; }
    Velt::ErrorStatus setLayoutId(VxDbObjectId layoutId);
    bool isLayout() const;
    bool isModelSpace() const;
    bool isPaperSpace() const;
    // "*U7" and the like; model space and paper spaces are not anonymous.
    bool isAnonymous() const { return !name().empty() && name()[0] == L'*' && !isModelSpace() && !isPaperSpace(); }
    bool isFromExternalReference() const { return !mPathName.empty(); }
    // Blocks with parameters and actions are not modelled here.
    bool isDynamicBlock() const { return false; }
    bool isFromOverlayReference() const { return mOverlay; }
    Velt::ErrorStatus setIsFromOverlayReference(bool value) { return setField(mOverlay, value); }
    bool isUnloaded() const { return mUnloaded; }
    Velt::ErrorStatus setIsUnloaded(bool value) { return setField(mUnloaded, value); }
    bool hasAttributeDefinitions() const { return false; }
    // The live block references that insert this block (directly).
    Velt::ErrorStatus getBlockReferenceIds(VxDbObjectIdArray& ids) const;
    // The extents of the live entities; eNotApplicable when there are none.
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const;

    bool isValidName(std::wstring_view name) const override;
    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;
    bool isBuiltIn() const override;
    Velt::ErrorStatus referencedStatus() const override { return Velt::eBlockStillReferenced; }

private:
    std::vector<VxDbObjectId> mEntities;
    VxGePoint3d mOrigin;
    std::wstring mPathName;
    std::wstring mComments;
    VxDbObjectId mLayout;
    VxDb::UnitsValue mUnits = VxDb::kUnitsUndefined;
    VxDb::BlockScaling mScaling = VxDb::kAny;
    bool mExplodable = true;
    bool mOverlay = false;
    bool mUnloaded = false;
};

class VxDbBlockTable : public VxDbSymbolTable {
    VX_RX_DECLARE_MEMBERS(VxDbBlockTable)
public:
    const VxRxClass* recordClass() const override;
    // The first free name of the prefix followed by a number ("*U7").
    static std::wstring uniqueAnonymousName(const VxDbBlockTable* table, std::wstring_view prefix);

protected:
    // A record added as "*U", "*D", "*X", "*T", "*E" or "*A" alone gets a
    // unique anonymous name of that kind.
    void prepareName(VxDbSymbolTableRecord* record) const override;
};

// An insertion of a block: position, scale, rotation about the normal.
class VxDbBlockReference : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbBlockReference)
public:
    VxDbBlockReference() = default;
    VxDbBlockReference(const VxGePoint3d& position, VxDbObjectId blockId);

    VxDbObjectId blockTableRecord() const { return mBlock; }
    Velt::ErrorStatus setBlockTableRecord(VxDbObjectId blockId);
    VxGePoint3d position() const { return mPosition; }
    Velt::ErrorStatus setPosition(const VxGePoint3d& position);
    VxGeVector3d scaleFactors() const { return mScale; }
    // No factor may be zero.
    Velt::ErrorStatus setScaleFactors(const VxGeVector3d& scale);
    double rotation() const { return mRotation; }
    Velt::ErrorStatus setRotation(double angle);
    VxGeVector3d normal() const { return mNormal; }
    Velt::ErrorStatus setNormal(const VxGeVector3d& normal);
    // Block coordinates to world coordinates.
    VxGeMatrix3d blockTransform() const;

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    VxDbObjectId mBlock;
    VxGePoint3d mPosition;
    VxGeVector3d mScale{1.0, 1.0, 1.0};
    VxGeVector3d mNormal{0.0, 0.0, 1.0};
    double mRotation = 0.0;
};

}  // namespace kx
