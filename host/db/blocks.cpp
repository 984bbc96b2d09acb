#include "db/blocks.h"

#include <algorithm>
#include <vector>

#include <cmath>

#include "db/database.h"
#include "db/internal.h"
#include "db/layout.h"
#include "db/texts.h"
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

bool VxDbBlockTableRecord::hasAttributeDefinitions() const
{
    for (VxDbObjectId id : mEntities) {
        if (!id.isErased() && VxDbAttributeDefinition::cast(detail::objectOf(id)))
            return true;
    }
    return false;
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

KX_DB_DEFINE_KIND(VxDbBlockReference, VxDbEntity, L"KxDbBlockReference", &vxrxCreateInstance<VxDbBlockReference>,
                  L"INSERT", "AcDbBlockReference")

VxDbBlockReference::VxDbBlockReference(const VxGePoint3d& position, VxDbObjectId blockId)
{
    mFields.blockTableRecord = blockId;
    setPosition(position);
}

Velt::ErrorStatus VxDbBlockReference::setBlockTableRecord(VxDbObjectId blockId)
{
    if (Velt::ErrorStatus es = detail::checkReference(blockId, VxDbBlockTableRecord::desc(), database()))
        return es;
    // A block inserted into itself would never end.
    if (!blockId.isNull() && blockId == ownerId())
        return Velt::eSelfReference;
    return setField(mFields.blockTableRecord, blockId);
}

Velt::ErrorStatus VxDbBlockReference::setScaleFactors(const VxGeVector3d& scale)
{
    double x = scale.x, y = scale.y, z = scale.z;
    if (fieldcheck::scale(x) || fieldcheck::scale(y) || fieldcheck::scale(z))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.xScale = x;
    mFields.yScale = y;
    mFields.zScale = z;
    return Velt::eOk;
}

VxGeMatrix3d VxDbBlockReference::blockTransform() const
{
    VxGePoint3d base;
    if (auto* block = VxDbBlockTableRecord::cast(detail::objectOf(mFields.blockTableRecord)))
        base = block->origin();
    const VxGeMatrix3d toOrigin = VxGeMatrix3d::translation(VxGePoint3d::kOrigin - base);
    const VxGeMatrix3d scale = VxGeMatrix3d::scaling(mFields.xScale, mFields.yScale, mFields.zScale);
    const VxGeMatrix3d rotate = VxGeMatrix3d::rotation(mFields.rotation, VxGeVector3d::kZAxis);
    const VxGeMatrix3d toWorld = VxGeMatrix3d::planeToWorld(mFields.normal);
    const VxGeMatrix3d move = VxGeMatrix3d::translation(mFields.position.asVector());
    return move * toWorld * rotate * scale * toOrigin;
}

std::vector<VxDbObjectId> VxDbBlockReference::attributeIds() const
{
    // Only those this reference owns.
    std::vector<VxDbObjectId> ids;
    if (!isResident())
        return ids;
    for (VxDbObjectId id : mAttributes) {
        VxDbObject* attribute = detail::objectOf(id);
        if (attribute && attribute->ownerId() == objectId())
            ids.push_back(id);
    }
    return ids;
}

Velt::ErrorStatus VxDbBlockReference::appendAttribute(VxDbObjectId& id, VxDbEntity* attribute, VxDbHandle handle)
{
    id = VxDbObjectId();
    if (!attribute)
        return Velt::eNullObjectPointer;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    VxDbDatabase* db = database();
    if (!isResident() || !db)
        return Velt::eNotInDatabase;
    if (attribute->isResident())
        return Velt::eAlreadyInDb;
    if (VxDbDatabase* intended = attribute->database(); intended && intended != db)
        return Velt::eWrongDatabase;
    if (attribute->layerId().isNull())
        attribute->setDatabaseDefaults(db);
    VxDbObjectId existing;
    Velt::ErrorStatus es = !handle.isNull() && db->getVxDbObjectId(existing, false, handle) != Velt::eOk
                               ? db->addVxDbObjectWithHandle(id, attribute, handle)
                               : db->addVxDbObject(id, attribute);
    if (es)
        return es;
    attribute->setOwnerId(objectId());
    mAttributes.push_back(id);
    mFields.attributesFollow = true;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbBlockReference::checkFields(uint64_t)
{
    // Group 66 promises attributes; only those that come are kept.
    mFields.attributesFollow = false;
    return Velt::eOk;
}

namespace {

// A text in the place of an attribute or a constant attribute definition.
VxDbText* textOf(const VxDbText& from)
{
    auto* text = new VxDbText();
    text->setPropertiesFrom(&from);
    text->setPosition(from.position());
    text->setAlignmentPoint(from.alignmentPoint());
    text->setHeight(from.height());
    text->setTextString(from.textString().c_str());
    text->setRotation(from.rotation());
    text->setWidthFactor(from.widthFactor());
    text->setOblique(from.oblique());
    text->setTextStyle(from.textStyle());
    text->setGenerationFlags(from.generationFlags());
    text->setHorizontalMode(from.horizontalMode());
    text->setVerticalMode(from.verticalMode());
    text->setNormal(from.normal());
    text->setThickness(from.thickness());
    return text;
}

}  // namespace

Velt::ErrorStatus VxDbBlockReference::explodeWith(const VxGeMatrix3d& transform, std::vector<VxDbEntity*>& entities) const
{
    auto* block = VxDbBlockTableRecord::cast(detail::objectOf(mFields.blockTableRecord));
    if (!block)
        return Velt::eInvalidInput;
    std::vector<VxDbEntity*> made;
    auto fail = [&](Velt::ErrorStatus es) {
        for (VxDbEntity* e : made)
            delete e;
        return es;
    };
    for (VxDbObjectId id : block->entityIds()) {
        auto* entity = VxDbEntity::cast(detail::objectOf(id));
        if (!entity || id.isErased())
            continue;
        VxDbEntity* copy = nullptr;
        if (auto* definition = VxDbAttributeDefinition::cast(entity)) {
            if (!definition->isConstant())
                continue;  // its value is the reference's attribute
            std::unique_ptr<VxDbText> text(textOf(*definition));
            if (Velt::ErrorStatus es = text->transformBy(transform))
                return fail(es);
            copy = text.release();
        } else if (Velt::ErrorStatus es = entity->getTransformedCopy(transform, copy)) {
            return fail(es);
        }
        made.push_back(copy);
    }
    entities.insert(entities.end(), made.begin(), made.end());
    return Velt::eOk;
}

Velt::ErrorStatus VxDbBlockReference::explode(std::vector<VxDbEntity*>& entities) const
{
    if (Velt::ErrorStatus es = explodeWith(blockTransform(), entities))
        return es;
    // The values of its own attributes stay, as texts where they are.
    for (VxDbObjectId id : attributeIds()) {
        auto* attribute = VxDbAttribute::cast(detail::objectOf(id));
        if (!attribute || id.isErased() || attribute->isInvisible())
            continue;
        entities.push_back(textOf(*attribute));
    }
    return Velt::eOk;
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
    Fields& f = mFields;
    // The block's x and y directions carried through the transformation
    // give the new normal and rotation; a mirror shows as a negative z scale.
    const VxGeMatrix3d toWorld = VxGeMatrix3d::planeToWorld(f.normal);
    const VxGeVector3d xDir = toWorld.transform(VxGeVector3d{std::cos(f.rotation), std::sin(f.rotation), 0.0});
    const VxGeVector3d yDir = f.normal.crossProduct(xDir);
    const VxGeVector3d newX = xform.transform(xDir);
    const VxGeVector3d newY = xform.transform(yDir);
    const VxGeVector3d newNormal = newX.crossProduct(newY).normal();
    if (newNormal.isZeroLength())
        return Velt::eInvalidInput;
    // The attributes go along.
    for (VxDbObjectId id : attributeIds()) {
        VxDbObject* attribute = detail::objectOf(id);
        detail::ForcedWrite write(attribute);
        if (auto* entity = VxDbEntity::cast(attribute))
            entity->transformBy(xform);
    }
    const VxGeVector3d local = VxGeMatrix3d::worldToPlane(newNormal).transform(newX);
    if (xform.det() < 0.0)
        f.zScale = -f.zScale;
    f.rotation = vxgeNormalizeAngle(std::atan2(local.y, local.x));
    f.position = xform.transform(f.position);
    f.normal = newNormal;
    f.xScale *= factor;
    f.yScale *= factor;
    f.zScale *= factor;
    return Velt::eOk;
}

namespace {

// The blocks whose references are being measured. A file
// may nest references thousands deep or let a block insert itself: the
// nesting is followed 64 deep, and a block already on the way not again.
constexpr size_t kMaxReferenceNesting = 64;
class MeasuringBlock;
// The innermost block being measured on this thread; the others are linked from it. A plain
// pointer: a thread-local with a destructor may run after its storage is gone on MinGW.
thread_local const MeasuringBlock* tMeasuring = nullptr;

class MeasuringBlock {
public:
    explicit MeasuringBlock(const VxDbBlockTableRecord* block) : mBlock(block), mOuter(tMeasuring)
    {
        size_t depth = 0;
        for (const MeasuringBlock* m = mOuter; m; m = m->mOuter, ++depth) {
            if (m->mBlock == block)
                return;
        }
        mEntered = depth < kMaxReferenceNesting;
        if (mEntered)
            tMeasuring = this;
    }
    ~MeasuringBlock()
    {
        if (mEntered)
            tMeasuring = mOuter;
    }
    MeasuringBlock(const MeasuringBlock&) = delete;
    MeasuringBlock& operator=(const MeasuringBlock&) = delete;
    bool entered() const { return mEntered; }

private:
    const VxDbBlockTableRecord* mBlock;
    const MeasuringBlock* mOuter;
    bool mEntered = false;
};

}  // namespace

Velt::ErrorStatus VxDbBlockReference::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.reset();
    auto* block = VxDbBlockTableRecord::cast(detail::objectOf(mFields.blockTableRecord));
    if (!block)
        return Velt::eNotApplicable;
    const MeasuringBlock measuring(block);
    if (!measuring.entered())
        return Velt::eNotApplicable;
    const VxGeMatrix3d m = blockTransform();
    // Each entity transformed keeps the box tight for rotated references.
    for (const VxDbObjectId& id : block->entityIds()) {
        if (id.isErased())
            continue;
        auto* entity = VxDbEntity::cast(detail::objectOf(id));
        if (!entity || VxDbAttributeDefinition::cast(entity))
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
    for (VxDbObjectId id : attributeIds()) {
        auto* attribute = VxDbEntity::cast(detail::objectOf(id));
        VxGeExtents3d one;
        if (attribute && !id.isErased() && attribute->getGeomExtents(one) == Velt::eOk)
            extents.addExt(one);
    }
    return extents.isValid() ? Velt::eOk : Velt::eNotApplicable;
}

void VxDbBlockReference::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbEntity::visitReferences(visitor);
    visitor.visit(mFields.blockTableRecord, VxDb::kHardPointerRef);
    for (VxDbObjectId& id : mAttributes)
        visitor.visit(id, VxDb::kHardOwnershipRef);
}

double vxdbUnitsConversion(VxDb::UnitsValue from, VxDb::UnitsValue to)
{
    // Metres per unit, in the order of the units' values.
    static constexpr double kMetres[] = {0.0,      0.0254,   0.3048,   1609.344, 0.001,   0.01,    1.0,
                                         1000.0,   0.0254e-6, 0.0254e-3, 0.9144,  1e-10,   1e-9,    1e-6,
                                         0.1,      10.0,     100.0,    1e9,      1.495978707e11, 9.4607304725808e15,
                                         3.0856775814913673e16};
    if (from <= VxDb::kUnitsUndefined || from > VxDb::kUnitsMax || to <= VxDb::kUnitsUndefined || to > VxDb::kUnitsMax)
        return 1.0;
    return kMetres[from] / kMetres[to];
}

// ---- multiple insertions ----

KX_DB_DEFINE_KIND(VxDbMInsertBlock, VxDbBlockReference, L"KxDbMInsertBlock", &vxrxCreateInstance<VxDbMInsertBlock>,
                  L"INSERT", "AcDbMInsertBlock")

VxGeMatrix3d VxDbMInsertBlock::cellTransform(int row, int column) const
{
    // Spacings run along the reference's own x and y axes, turned with it.
    const VxGeVector3d step{column * mFields.columnSpacing, row * mFields.rowSpacing, 0.0};
    const VxGeMatrix3d rotate = VxGeMatrix3d::rotation(rotation(), VxGeVector3d::kZAxis);
    const VxGeMatrix3d toWorld = VxGeMatrix3d::planeToWorld(normal());
    const VxGeVector3d offset = toWorld.transform(rotate.transform(step));
    return VxGeMatrix3d::translation(offset) * blockTransform();
}

Velt::ErrorStatus VxDbMInsertBlock::explode(std::vector<VxDbEntity*>& entities) const
{
    std::vector<VxDbEntity*> made;
    for (int row = 0; row < mFields.rows; ++row) {
        for (int column = 0; column < mFields.columns; ++column) {
            if (Velt::ErrorStatus es = explodeWith(cellTransform(row, column), made)) {
                for (VxDbEntity* e : made)
                    delete e;
                return es;
            }
        }
    }
    entities.insert(entities.end(), made.begin(), made.end());
    return Velt::eOk;
}

Velt::ErrorStatus VxDbMInsertBlock::getGeomExtents(VxGeExtents3d& extents) const
{
    VxGeExtents3d one;
    if (Velt::ErrorStatus es = VxDbBlockReference::getGeomExtents(one)) {
        extents.reset();
        return es;
    }
    // The grid's copies are the first one moved.
    extents = one;
    const VxGeMatrix3d origin = blockTransform();
    for (int row : {0, mFields.rows - 1}) {
        for (int column : {0, mFields.columns - 1}) {
            const VxGeVector3d shift = cellTransform(row, column).transform(VxGePoint3d::kOrigin) -
                                       origin.transform(VxGePoint3d::kOrigin);
            extents.addExt(VxGeExtents3d(one.minPoint() + shift, one.maxPoint() + shift));
        }
    }
    return Velt::eOk;
}

}  // namespace kx
