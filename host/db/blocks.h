#pragma once

#include <memory>
#include <string>
#include <vector>

#include "db/entity.h"
#include "db/fields.h"
#include "db/texts.h"
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
    bool hasAttributeDefinitions() const;
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

// An insertion of a block: position (a world point written in the reference's own
// coordinates), three scale factors, rotation about the normal. The block is named in files.
// A reference owns the attributes that give values to its block's attribute definitions;
// files say so with group 66 and carry them after it, up to an end record.
#define KX_FIELDS_VxDbBlockReference(F)                                                                  \
    F(Get, bool, attributesFollow, -, false, any, kOwn, 66, kxdxf::kOptional)                             \
    F(Get, VxDbObjectId, blockTableRecord, -, VxDbObjectId(), any, kOwn, 2, kxdxf::kBlockName)           \
    F(GetSet, VxGePoint3d, position, setPosition, VxGePoint3d::kOrigin, finite, kOwn, 10, kxdxf::kOcs)   \
    F(Get, double, xScale, -, 1.0, scale, kOwn, 41, kxdxf::kOptional)                                    \
    F(Get, double, yScale, -, 1.0, scale, kOwn, 42, kxdxf::kOptional)                                    \
    F(Get, double, zScale, -, 1.0, scale, kOwn, 43, kxdxf::kOptional)                                    \
    F(GetSet, double, rotation, setRotation, 0.0, angle, kOwn, 50, kxdxf::kOptional | kxdxf::kDegrees)    \
    F(GetSet, VxGeVector3d, normal, setNormal, VxGeVector3d::kZAxis, unitVector, kOwn, 210, kxdxf::kOptional)

class VxDbBlockReference : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbBlockReference)
    KX_DB_FIELDS(VxDbBlockReference, VxDbEntity)
public:
    VxDbBlockReference() = default;
    VxDbBlockReference(const VxGePoint3d& position, VxDbObjectId blockId);

    Velt::ErrorStatus setBlockTableRecord(VxDbObjectId blockId);
    VxGeVector3d scaleFactors() const { return VxGeVector3d{mFields.xScale, mFields.yScale, mFields.zScale}; }
    // No factor may be zero.
    Velt::ErrorStatus setScaleFactors(const VxGeVector3d& scale);
    Velt::ErrorStatus setXScale(double value) { return setScaleFactors({value, mFields.yScale, mFields.zScale}); }
    Velt::ErrorStatus setYScale(double value) { return setScaleFactors({mFields.xScale, value, mFields.zScale}); }
    Velt::ErrorStatus setZScale(double value) { return setScaleFactors({mFields.xScale, mFields.yScale, value}); }
    // Blocks with parameters and actions are not modelled here.
    bool isDynamicBlock() const { return false; }
    // Block coordinates to world coordinates.
    VxGeMatrix3d blockTransform() const;

    // The attributes it owns, in order (erased ones too).
    std::vector<VxDbObjectId> attributeIds() const;
    // Makes a new attribute (or an entity kept from a file in its place) resident as the
    // reference's own; the reference must be resident and open for write. The attribute
    // stays open for write for the caller. A non-null handle is taken when it is free.
    Velt::ErrorStatus appendAttribute(VxDbObjectId& id, VxDbEntity* attribute, VxDbHandle handle = VxDbHandle());
    // The block's entities as new entities (not resident, the caller's) where the reference
    // puts them: attribute definitions left out, constant ones as texts, the reference's own
    // attributes as texts of their values.
    Velt::ErrorStatus explode(std::vector<VxDbEntity*>& entities) const override;

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    void visitReferences(VxDbReferenceVisitor& visitor) override;
    // After a file was read: the attributes come later, the reader says so.
    Velt::ErrorStatus checkFields(uint64_t readMask);

protected:
    // The block's entities transformed by the matrix, as explode gives them.
    Velt::ErrorStatus explodeWith(const VxGeMatrix3d& transform, std::vector<VxDbEntity*>& entities) const;

private:
    // Not copied with the fields: a copy owns no attributes (a deep clone appends copies).
    std::vector<VxDbObjectId> mAttributes;
};

// The factor that turns lengths in one unit into another; 1 when either is undefined.
double vxdbUnitsConversion(VxDb::UnitsValue from, VxDb::UnitsValue to);

// A block inserted as a grid of rows and columns, spaced in the reference's own directions.
#define KX_FIELDS_VxDbMInsertBlock(F)                                                               \
    F(GetSet, int16_t, columns, setColumns, 1, atLeastOne, kOwn, 70, kxdxf::kOptional)              \
    F(GetSet, int16_t, rows, setRows, 1, atLeastOne, kOwn, 71, kxdxf::kOptional)                    \
    F(GetSet, double, columnSpacing, setColumnSpacing, 0.0, finite, kOwn, 44, kxdxf::kOptional)     \
    F(GetSet, double, rowSpacing, setRowSpacing, 0.0, finite, kOwn, 45, kxdxf::kOptional)

class VxDbMInsertBlock : public VxDbBlockReference {
    VX_RX_DECLARE_MEMBERS(VxDbMInsertBlock)
    KX_DB_FIELDS(VxDbMInsertBlock, VxDbBlockReference)
public:
    VxDbMInsertBlock() = default;

    // Every copy of the grid.
    Velt::ErrorStatus explode(std::vector<VxDbEntity*>& entities) const override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;

private:
    // The block transform of the copy in a row and a column.
    VxGeMatrix3d cellTransform(int row, int column) const;
};

}  // namespace kx
