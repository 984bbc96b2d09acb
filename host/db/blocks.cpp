#include "db/blocks.h"

#include <cmath>

#include "db/database.h"
#include "db/internal.h"
#include "db/layout.h"
#include "ge/angle.h"

namespace kx {

namespace {

const std::vector<VxDbObjectId>* blockEntities(VxDbObjectId block)
{
    auto* record = VxDbBlockTableRecord::cast(detail::objectOf(block));
    return record ? &record->entityIds() : nullptr;
}

bool isFinitePoint(const VxGePoint3d& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }

}  // namespace

VxDbBlockTableRecordIterator::VxDbBlockTableRecordIterator(VxDbObjectId block)
    : VxDbIdListIterator(block, &blockEntities)
{
}

Velt::ErrorStatus VxDbBlockTableRecordIterator::getEntityId(VxDbObjectId& id) const
{
    id = currentId();
    return id.isNull() ? Velt::eInvalidIndex : Velt::eOk;
}

Velt::ErrorStatus VxDbBlockTableRecordIterator::getEntity(VxDbEntity*& entity, VxDb::OpenMode mode,
                                                          bool openErased) const
{
    entity = nullptr;
    VxDbObjectId id;
    if (Velt::ErrorStatus es = getEntityId(id))
        return es;
    return vxdbOpenObject(entity, id, mode, openErased);
}

// ---- block records ----

VX_RX_DEFINE_MEMBERS(VxDbBlockTableRecord, VxDbSymbolTableRecord, L"KxDbBlockTableRecord",
                     &vxrxCreateInstance<VxDbBlockTableRecord>, L"BLOCK_RECORD")

bool VxDbBlockTableRecord::isValidName(std::wstring_view name) const
{
    // Special and anonymous blocks start with "*".
    if (name.size() > 1 && name[0] == L'*')
        return vxIsValidSymbolName(name.substr(1));
    return vxIsValidSymbolName(name);
}

bool VxDbBlockTableRecord::isModelSpace() const { return vxEqualNoCase(name(), kModelSpaceName); }

bool VxDbBlockTableRecord::isPaperSpace() const
{
    const std::wstring_view prefix = kPaperSpaceName;
    return name().size() >= prefix.size() && vxEqualNoCase(std::wstring_view(name()).substr(0, prefix.size()), prefix);
}

bool VxDbBlockTableRecord::isLayout() const
{
    return isModelSpace() || isPaperSpace() || (!mLayout.isNull() && !mLayout.isErased() && mLayout.isValid());
}

bool VxDbBlockTableRecord::isBuiltIn() const
{
    // Layout blocks go with their layouts, through the layout manager.
    if (isModelSpace() || vxEqualNoCase(name(), kPaperSpaceName))
        return true;
    return !mLayout.isNull() && mLayout.isValid() && !mLayout.isErased();
}

Velt::ErrorStatus VxDbBlockTableRecord::appendVxDbEntity(VxDbEntity* entity)
{
    VxDbObjectId id;
    return appendVxDbEntity(id, entity);
}

Velt::ErrorStatus VxDbBlockTableRecord::appendVxDbEntity(VxDbObjectId& id, VxDbEntity* entity)
{
    id = VxDbObjectId();
    if (!entity)
        return Velt::eNullObjectPointer;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    VxDbDatabase* db = database();
    if (!isResident() || !db)
        return Velt::eNotInDatabase;
    if (isErased())
        return Velt::eWasErased;
    if (entity->isResident())
        return Velt::eAlreadyInDb;
    if (VxDbDatabase* intended = entity->database(); intended && intended != db)
        return Velt::eWrongDatabase;
    if (entity->layerId().isNull())
        entity->setDatabaseDefaults(db);
    if (Velt::ErrorStatus es = db->addVxDbObject(id, entity))
        return es;
    entity->mOwnerId = objectId();
    mEntities.push_back(id);
    return entity->makeOwnedResident();
}

Velt::ErrorStatus VxDbBlockTableRecord::newIterator(std::unique_ptr<VxDbBlockTableRecordIterator>& iterator,
                                                    bool atBeginning, bool skipErased) const
{
    if (!isResident()) {
        iterator.reset();
        return Velt::eNoIterator;
    }
    iterator = std::make_unique<VxDbBlockTableRecordIterator>(objectId());
    iterator->start(atBeginning, skipErased);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbBlockTableRecord::setOrigin(const VxGePoint3d& origin)
{
    if (!isFinitePoint(origin))
        return Velt::eInvalidInput;
    return setField(mOrigin, origin);
}

Velt::ErrorStatus VxDbBlockTableRecord::setPathName(const wchar_t* path)
{
    return setField(mPathName, std::wstring(vxView(path)));
}

Velt::ErrorStatus VxDbBlockTableRecord::setComments(const wchar_t* text)
{
    return setField(mComments, std::wstring(vxView(text)));
}

Velt::ErrorStatus VxDbBlockTableRecord::setBlockInsertUnits(VxDb::UnitsValue units)
{
    if (units < VxDb::kUnitsUndefined || units > VxDb::kUnitsMax)
        return Velt::eOutOfRange;
    return setField(mUnits, units);
}

Velt::ErrorStatus VxDbBlockTableRecord::setBlockScaling(VxDb::BlockScaling scaling)
{
    if (scaling != VxDb::kAny && scaling != VxDb::kUniform)
        return Velt::eInvalidInput;
    return setField(mScaling, scaling);
}

Velt::ErrorStatus VxDbBlockTableRecord::setLayoutId(VxDbObjectId layoutId)
{
    if (Velt::ErrorStatus es = detail::checkReference(layoutId, VxDbLayout::desc(), database(), true))
        return es;
    return setField(mLayout, layoutId);
}

Velt::ErrorStatus VxDbBlockTableRecord::getBlockReferenceIds(VxDbObjectIdArray& ids) const
{
    ids.clear();
    VxDbDatabase* db = database();
    if (!db || !isResident())
        return Velt::eNotInDatabase;
    const VxDbObjectId self = objectId();
    for (size_t slot = 1; slot < db->objectSlotCount(); ++slot) {
        const VxDbObjectId id = db->objectIdAtSlot(slot);
        if (id.isErased())
            continue;
        auto* reference = VxDbBlockReference::cast(detail::objectOf(id));
        if (!reference || reference->blockTableRecord() != self)
            continue;
        // A reference inside an erased block does not count.
        auto* owner = VxDbBlockTableRecord::cast(detail::objectOf(reference->ownerId()));
        if (owner && !owner->isErased())
            ids.push_back(id);
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDbBlockTableRecord::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.reset();
    for (const VxDbObjectId& id : mEntities) {
        if (id.isErased())
            continue;
        auto* entity = VxDbEntity::cast(detail::objectOf(id));
        VxGeExtents3d one;
        if (entity && entity->getGeomExtents(one) == Velt::eOk)
            extents.addExt(one);
    }
    return extents.isValid() ? Velt::eOk : Velt::eNotApplicable;
}

void VxDbBlockTableRecord::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbSymbolTableRecord::visitReferences(visitor);
    for (VxDbObjectId& id : mEntities)
        visitor.visit(id, VxDb::kHardOwnershipRef);
    if (!mLayout.isNull())
        visitor.visit(mLayout, VxDb::kSoftPointerRef);
}

void VxDbBlockTableRecord::copyDataFrom(const VxDbObject& other)
{
    VxDbSymbolTableRecord::copyDataFrom(other);
    const auto& block = static_cast<const VxDbBlockTableRecord&>(other);
    mOrigin = block.mOrigin;
    mPathName = block.mPathName;
    mComments = block.mComments;
    mUnits = block.mUnits;
    mScaling = block.mScaling;
    mExplodable = block.mExplodable;
    mOverlay = block.mOverlay;
    mUnloaded = block.mUnloaded;
    // Entities and the layout link are not data of the record: cloning
    // copies the entities it owns, and a layout links its own block.
}

VX_RX_DEFINE_MEMBERS(VxDbBlockTable, VxDbSymbolTable, L"KxDbBlockTable", &vxrxCreateInstance<VxDbBlockTable>,
                     L"TABLE")

const VxRxClass* VxDbBlockTable::recordClass() const { return VxDbBlockTableRecord::desc(); }

void VxDbBlockTable::prepareName(VxDbSymbolTableRecord* record) const
{
    const std::wstring& name = record->name();
    if (name.size() != 2 || name[0] != L'*')
        return;
    const wchar_t kind = wchar_t(vxFoldChar(name[1]) - 32);
    if (kind == L'U' || kind == L'D' || kind == L'X' || kind == L'T' || kind == L'E' || kind == L'A') {
        const std::wstring unique = uniqueAnonymousName(this, std::wstring(L"*") + kind);
        detail::ForcedWrite write(record);
        record->setName(unique.c_str());
    }
}

std::wstring VxDbBlockTable::uniqueAnonymousName(const VxDbBlockTable* table, std::wstring_view prefix)
{
    for (size_t n = 1;; ++n) {
        std::wstring name = std::wstring(prefix) + std::to_wstring(n);
        if (!table || !table->has(name.c_str()))
            return name;
    }
}

// ---- block references ----

VX_RX_DEFINE_MEMBERS(VxDbBlockReference, VxDbEntity, L"KxDbBlockReference", &vxrxCreateInstance<VxDbBlockReference>,
                     L"INSERT")

VxDbBlockReference::VxDbBlockReference(const VxGePoint3d& position, VxDbObjectId blockId)
    : mBlock(blockId), mPosition(position)
{
}

Velt::ErrorStatus VxDbBlockReference::setBlockTableRecord(VxDbObjectId blockId)
{
    if (Velt::ErrorStatus es = detail::checkReference(blockId, VxDbBlockTableRecord::desc(), database()))
        return es;
    // A block inserted into itself would never end.
    if (!blockId.isNull() && blockId == ownerId())
        return Velt::eSelfReference;
    return setField(mBlock, blockId);
}

Velt::ErrorStatus VxDbBlockReference::setPosition(const VxGePoint3d& position)
{
    if (!isFinitePoint(position))
        return Velt::eInvalidInput;
    return setField(mPosition, position);
}

Velt::ErrorStatus VxDbBlockReference::setScaleFactors(const VxGeVector3d& scale)
{
    if (!std::isfinite(scale.x) || !std::isfinite(scale.y) || !std::isfinite(scale.z) || scale.x == 0.0 ||
        scale.y == 0.0 || scale.z == 0.0)
        return Velt::eInvalidInput;
    return setField(mScale, scale);
}

Velt::ErrorStatus VxDbBlockReference::setRotation(double angle)
{
    if (!std::isfinite(angle))
        return Velt::eInvalidInput;
    return setField(mRotation, vxgeNormalizeAngle(angle));
}

Velt::ErrorStatus VxDbBlockReference::setNormal(const VxGeVector3d& normal)
{
    if (!std::isfinite(normal.x) || !std::isfinite(normal.y) || !std::isfinite(normal.z) || normal.isZeroLength())
        return Velt::eInvalidInput;
    return setField(mNormal, normal.normal());
}

VxGeMatrix3d VxDbBlockReference::blockTransform() const
{
    VxGePoint3d base;
    if (auto* block = VxDbBlockTableRecord::cast(detail::objectOf(mBlock)))
        base = block->origin();
    const VxGeMatrix3d toOrigin = VxGeMatrix3d::translation(VxGePoint3d::kOrigin - base);
    const VxGeMatrix3d scale = VxGeMatrix3d::scaling(mScale.x, mScale.y, mScale.z);
    const VxGeMatrix3d rotate = VxGeMatrix3d::rotation(mRotation, VxGeVector3d::kZAxis);
    const VxGeMatrix3d toWorld = VxGeMatrix3d::planeToWorld(mNormal);
    const VxGeMatrix3d move = VxGeMatrix3d::translation(mPosition.asVector());
    return move * toWorld * rotate * scale * toOrigin;
}

Velt::ErrorStatus VxDbBlockReference::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!xform.isUniScaledOrtho())
        return Velt::eCannotScaleNonUniformly;
    const double factor = xform.scale();
    if (!(factor > 0.0))
        return Velt::eInvalidInput;
    // The block's x and y directions carried through the transformation
    // give the new normal and rotation; a mirror shows as a negative z scale.
    const VxGeMatrix3d toWorld = VxGeMatrix3d::planeToWorld(mNormal);
    const VxGeVector3d xDir = toWorld.transform(VxGeVector3d{std::cos(mRotation), std::sin(mRotation), 0.0});
    const VxGeVector3d yDir = mNormal.crossProduct(xDir);
    const VxGeVector3d newX = xform.transform(xDir);
    const VxGeVector3d newY = xform.transform(yDir);
    const VxGeVector3d newNormal = newX.crossProduct(newY).normal();
    if (newNormal.isZeroLength())
        return Velt::eInvalidInput;
    const VxGeVector3d local = VxGeMatrix3d::worldToPlane(newNormal).transform(newX);
    if (xform.det() < 0.0)
        mScale.z = -mScale.z;
    mRotation = vxgeNormalizeAngle(std::atan2(local.y, local.x));
    mPosition = xform.transform(mPosition);
    mNormal = newNormal;
    mScale *= factor;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbBlockReference::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.reset();
    auto* block = VxDbBlockTableRecord::cast(detail::objectOf(mBlock));
    if (!block)
        return Velt::eNotApplicable;
    const VxGeMatrix3d m = blockTransform();
    // Each entity transformed keeps the box tight for rotated references.
    for (const VxDbObjectId& id : block->entityIds()) {
        if (id.isErased())
            continue;
        auto* entity = VxDbEntity::cast(detail::objectOf(id));
        if (!entity)
            continue;
        VxDbEntity* copy = nullptr;
        VxGeExtents3d one;
        if (entity->getTransformedCopy(m, copy) == Velt::eOk && copy) {
            if (copy->getGeomExtents(one) == Velt::eOk)
                extents.addExt(one);
            delete copy;
        } else if (entity->getGeomExtents(one) == Velt::eOk) {
            extents.addExt(one.transformBy(m));
        }
    }
    return extents.isValid() ? Velt::eOk : Velt::eNotApplicable;
}

void VxDbBlockReference::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbEntity::visitReferences(visitor);
    visitor.visit(mBlock, VxDb::kHardPointerRef);
}

void VxDbBlockReference::copyDataFrom(const VxDbObject& other)
{
    VxDbEntity::copyDataFrom(other);
    const auto& reference = static_cast<const VxDbBlockReference&>(other);
    mBlock = reference.mBlock;
    mPosition = reference.mPosition;
    mScale = reference.mScale;
    mNormal = reference.mNormal;
    mRotation = reference.mRotation;
}

}  // namespace kx
