#include "db/symtables.h"

#include <cmath>

#include "db/blocks.h"
#include "db/database.h"
#include "db/entity.h"
#include "db/internal.h"
#include "db/layout.h"
#include "db/objects.h"
#include "ge/angle.h"

namespace kx {

// ---- iteration ----

bool VxDbIdListIterator::isLive(const std::vector<VxDbObjectId>& ids, ptrdiff_t index) const
{
    const detail::Stub* stub = detail::stubOf(ids[size_t(index)]);
    return stub && stub->object() && !(stub->flags() & detail::kStubErased);
}

void VxDbIdListIterator::start(bool atBeginning, bool skipErased)
{
    const std::vector<VxDbObjectId>* ids = list();
    const ptrdiff_t size = ids ? ptrdiff_t(ids->size()) : 0;
    mIndex = atBeginning ? 0 : size - 1;
    if (!skipErased || !ids)
        return;
    while (mIndex >= 0 && mIndex < size && !isLive(*ids, mIndex))
        mIndex += atBeginning ? 1 : -1;
}

bool VxDbIdListIterator::done() const
{
    const std::vector<VxDbObjectId>* ids = list();
    return !ids || mIndex < 0 || mIndex >= ptrdiff_t(ids->size());
}

void VxDbIdListIterator::step(bool forward, bool skipErased)
{
    const std::vector<VxDbObjectId>* ids = list();
    if (!ids)
        return;
    const ptrdiff_t size = ptrdiff_t(ids->size());
    if (mIndex < 0 || mIndex >= size)
        return;
    do {
        mIndex += forward ? 1 : -1;
    } while (skipErased && mIndex >= 0 && mIndex < size && !isLive(*ids, mIndex));
}

Velt::ErrorStatus VxDbIdListIterator::seek(VxDbObjectId id)
{
    const std::vector<VxDbObjectId>* ids = list();
    if (!ids)
        return Velt::eNoIterator;
    for (size_t i = 0; i < ids->size(); ++i) {
        if ((*ids)[i] == id) {
            mIndex = ptrdiff_t(i);
            return Velt::eOk;
        }
    }
    return Velt::eKeyNotFound;
}

VxDbObjectId VxDbIdListIterator::currentId() const
{
    const std::vector<VxDbObjectId>* ids = list();
    if (!ids || mIndex < 0 || mIndex >= ptrdiff_t(ids->size()))
        return VxDbObjectId();
    return (*ids)[size_t(mIndex)];
}

size_t VxDbIdListIterator::nextIds(VxDbObjectId* out, size_t count, bool skipErased)
{
    const std::vector<VxDbObjectId>* ids = list();
    if (!ids || !out)
        return 0;
    const ptrdiff_t size = ptrdiff_t(ids->size());
    size_t n = 0;
    for (; n < count && mIndex >= 0 && mIndex < size; ++mIndex) {
        if (!skipErased || isLive(*ids, mIndex))
            out[n++] = (*ids)[size_t(mIndex)];
    }
    // Left on a live id, as step() leaves it.
    while (skipErased && mIndex >= 0 && mIndex < size && !isLive(*ids, mIndex))
        ++mIndex;
    return n;
}

namespace {

const std::vector<VxDbObjectId>* tableRecords(VxDbObjectId table)
{
    auto* object = VxDbSymbolTable::cast(detail::objectOf(table));
    return object ? &object->recordIds() : nullptr;
}

}  // namespace

VxDbSymbolTableIterator::VxDbSymbolTableIterator(VxDbObjectId table) : VxDbIdListIterator(table, &tableRecords) {}

Velt::ErrorStatus VxDbSymbolTableIterator::getRecordId(VxDbObjectId& id) const
{
    id = currentId();
    return id.isNull() ? Velt::eInvalidIndex : Velt::eOk;
}

Velt::ErrorStatus VxDbSymbolTableIterator::getRecord(VxDbSymbolTableRecord*& record, VxDb::OpenMode mode,
                                                     bool openErased) const
{
    record = nullptr;
    VxDbObjectId id;
    if (Velt::ErrorStatus es = getRecordId(id))
        return es;
    return vxdbOpenObject(record, id, mode, openErased);
}

// ---- tables ----

VX_RX_DEFINE_MEMBERS(VxDbSymbolTable, VxDbObject, L"KxDbSymbolTable", nullptr, nullptr)

Velt::ErrorStatus VxDbSymbolTable::getAt(const wchar_t* name, VxDbObjectId& id, bool getErasedRecord) const
{
    id = VxDbObjectId();
    if (!name)
        return Velt::eInvalidInput;
    auto it = mIndex.find(std::wstring_view(name));
    if (it != mIndex.end()) {
        id = it->second;
        return Velt::eOk;
    }
    if (getErasedRecord) {
        id = findByScan(name, true);
        if (!id.isNull())
            return Velt::eOk;
    }
    return Velt::eKeyNotFound;
}

VxDbObjectId VxDbSymbolTable::getIdAt(const wchar_t* name) const
{
    VxDbObjectId id;
    getAt(name, id);
    return id;
}

bool VxDbSymbolTable::has(const wchar_t* name) const
{
    return name && mIndex.find(std::wstring_view(name)) != mIndex.end();
}

bool VxDbSymbolTable::has(VxDbObjectId id) const
{
    if (id.isNull() || id.isErased())
        return false;
    for (const VxDbObjectId& record : mRecords) {
        if (record == id)
            return true;
    }
    return false;
}

VxDbObjectId VxDbSymbolTable::findByScan(std::wstring_view name, bool erased) const
{
    VxDbObjectId found;
    for (const VxDbObjectId& id : mRecords) {
        auto* record = VxDbSymbolTableRecord::cast(detail::objectOf(id));
        if (!record || id.isErased() != erased)
            continue;
        if (vxEqualNoCase(record->name(), name)) {
            found = id;
            if (!erased)
                break;  // the first live one; for erased ones the latest
        }
    }
    return found;
}

Velt::ErrorStatus VxDbSymbolTable::add(VxDbSymbolTableRecord* record)
{
    VxDbObjectId id;
    return add(id, record);
}

Velt::ErrorStatus VxDbSymbolTable::add(VxDbObjectId& id, VxDbSymbolTableRecord* record)
{
    id = VxDbObjectId();
    if (!record)
        return Velt::eNullObjectPointer;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    VxDbDatabase* db = database();
    if (!isResident() || !db)
        return Velt::eNotInDatabase;
    if (!record->isKindOf(recordClass()))
        return Velt::eWrongObjectType;
    if (record->isResident())
        return Velt::eAlreadyInDb;
    prepareName(record);
    if (!record->isValidName(record->name()))
        return Velt::eInvalidSymbolName;
    if (!record->name().empty() && !allowsDuplicateNames() && has(record->name().c_str()))
        return Velt::eDuplicateRecordName;
    if (Velt::ErrorStatus es = db->addVxDbObject(id, record))
        return es;
    record->setOwnerId(objectId());
    mRecords.push_back(id);
    indexAdd(record);
    markModified();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbSymbolTable::newIterator(std::unique_ptr<VxDbSymbolTableIterator>& iterator,
                                               bool atBeginning, bool skipErased) const
{
    if (!isResident()) {
        iterator.reset();
        return Velt::eNoIterator;
    }
    iterator = std::make_unique<VxDbSymbolTableIterator>(objectId());
    iterator->start(atBeginning, skipErased);
    return Velt::eOk;
}

size_t VxDbSymbolTable::numRecords() const
{
    size_t count = 0;
    for (const VxDbObjectId& id : mRecords) {
        const detail::Stub* stub = detail::stubOf(id);
        if (stub && stub->object() && !(stub->flags() & detail::kStubErased))
            ++count;
    }
    return count;
}

void VxDbSymbolTable::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbObject::visitReferences(visitor);
    for (VxDbObjectId& id : mRecords)
        visitor.visit(id, VxDb::kHardOwnershipRef);
}

Velt::ErrorStatus VxDbSymbolTable::indexAdd(const VxDbSymbolTableRecord* record)
{
    if (record->name().empty())
        return Velt::eOk;
    auto it = mIndex.find(std::wstring_view(record->name()));
    if (it != mIndex.end()) {
        if (it->second == record->objectId() || allowsDuplicateNames())
            return Velt::eOk;
        return Velt::eDuplicateRecordName;
    }
    mIndex.emplace(record->name(), record->objectId());
    return Velt::eOk;
}

void VxDbSymbolTable::indexRemove(const VxDbSymbolTableRecord* record)
{
    auto it = mIndex.find(std::wstring_view(record->name()));
    if (it == mIndex.end() || it->second != record->objectId())
        return;
    mIndex.erase(it);
    if (allowsDuplicateNames()) {
        // Another live record of the same name takes its place.
        for (const VxDbObjectId& id : mRecords) {
            auto* other = VxDbSymbolTableRecord::cast(detail::objectOf(id));
            if (other && other != record && !id.isErased() && vxEqualNoCase(other->name(), record->name())) {
                mIndex.emplace(other->name(), id);
                break;
            }
        }
    }
}

Velt::ErrorStatus VxDbSymbolTable::indexRename(const VxDbSymbolTableRecord* record, const std::wstring& oldName,
                                               const std::wstring& newName)
{
    if (!vxEqualNoCase(oldName, newName) && !allowsDuplicateNames() && has(newName.c_str()))
        return Velt::eDuplicateRecordName;
    auto it = mIndex.find(std::wstring_view(oldName));
    if (it != mIndex.end() && it->second == record->objectId())
        mIndex.erase(it);
    if (!newName.empty() && mIndex.find(std::wstring_view(newName)) == mIndex.end())
        mIndex.emplace(newName, record->objectId());
    return Velt::eOk;
}

// ---- records ----

void detail::forceRename(VxDbSymbolTableRecord* record, const std::wstring& name)
{
    if (auto* table = VxDbSymbolTable::cast(objectOf(record->ownerId())); table && !record->isErased()) {
        auto it = table->mIndex.find(std::wstring_view(record->mName));
        if (it != table->mIndex.end() && it->second == record->objectId())
            table->mIndex.erase(it);
        table->mIndex[name] = record->objectId();
    }
    record->mName = name;
}

VX_RX_DEFINE_MEMBERS(VxDbSymbolTableRecord, VxDbObject, L"KxDbSymbolTableRecord", nullptr, nullptr)

Velt::ErrorStatus VxDbSymbolTableRecord::getName(std::wstring& name) const
{
    name = mName;
    return Velt::eOk;
}

bool VxDbSymbolTableRecord::isValidName(std::wstring_view name) const { return vxIsValidSymbolName(name); }

Velt::ErrorStatus VxDbSymbolTableRecord::setName(const wchar_t* name)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!name)
        return Velt::eInvalidInput;
    std::wstring newName(name);
    if (!isValidName(newName))
        return Velt::eInvalidSymbolName;
    if (newName == mName)
        return Velt::eOk;
    if (isResident() && isBuiltIn())
        return Velt::eCannotRename;
    if (isResident() && !isErased()) {
        if (auto* table = VxDbSymbolTable::cast(detail::objectOf(ownerId()))) {
            if (Velt::ErrorStatus es = table->indexRename(this, mName, newName))
                return es;
        }
    }
    mName = std::move(newName);
    return Velt::eOk;
}

void VxDbSymbolTableRecord::copyDataFrom(const VxDbObject& other)
{
    VxDbObject::copyDataFrom(other);
    const auto& record = static_cast<const VxDbSymbolTableRecord&>(other);
    mName = record.mName;
    mResolved = record.mResolved;
}

Velt::ErrorStatus VxDbSymbolTableRecord::subErase(bool erasing)
{
    auto* table = VxDbSymbolTable::cast(detail::objectOf(ownerId()));
    if (erasing) {
        if (isBuiltIn())
            return Velt::eCannotBeErased;
        if (VxDbDatabase* db = database(); db && db->isReferenced(objectId()))
            return referencedStatus();
        if (table)
            table->indexRemove(this);
        return Velt::eOk;
    }
    return table ? table->indexAdd(this) : Velt::eOk;
}

// ---- layers ----

VX_RX_DEFINE_MEMBERS(VxDbLayerTableRecord, VxDbSymbolTableRecord, L"KxDbLayerTableRecord",
                     &vxrxCreateInstance<VxDbLayerTableRecord>, L"LAYER")

VxDbLayerTableRecord::VxDbLayerTableRecord() = default;

bool VxDbLayerTableRecord::isBuiltIn() const { return name() == L"0"; }

Velt::ErrorStatus VxDbLayerTableRecord::setColor(const VxCmColor& color)
{
    const auto method = color.colorMethod();
    if (method != VxCmEntityColor::kByACI && method != VxCmEntityColor::kByColor)
        return Velt::eInvalidInput;
    return setField(mColor, color);
}

Velt::ErrorStatus VxDbLayerTableRecord::setColorIndex(int16_t index)
{
    if (index < 1 || index > 255)
        return Velt::eOutOfRange;
    return setField(mColor, VxCmColor::fromIndex(index));
}

Velt::ErrorStatus VxDbLayerTableRecord::setIsFrozen(bool value) { return setField(mFrozen, value); }
Velt::ErrorStatus VxDbLayerTableRecord::setIsOff(bool value) { return setField(mOff, value); }
Velt::ErrorStatus VxDbLayerTableRecord::setIsLocked(bool value) { return setField(mLocked, value); }
Velt::ErrorStatus VxDbLayerTableRecord::setIsPlottable(bool value) { return setField(mPlottable, value); }
Velt::ErrorStatus VxDbLayerTableRecord::setVPDFLT(bool value) { return setField(mFrozenInNewViewports, value); }
Velt::ErrorStatus VxDbLayerTableRecord::setIsHidden(bool value) { return setField(mHidden, value); }

Velt::ErrorStatus VxDbLayerTableRecord::setLinetypeObjectId(VxDbObjectId id)
{
    if (Velt::ErrorStatus es = detail::checkReference(id, VxDbLinetypeTableRecord::desc(), database()))
        return es;
    // A layer's linetype is a real one, never by layer or by block.
    if (VxDbDatabase* db = id.database(); db && (id == db->byLayerLinetype() || id == db->byBlockLinetype()))
        return Velt::eInvalidInput;
    return setField(mLinetype, id);
}

Velt::ErrorStatus VxDbLayerTableRecord::setLineWeight(VxDb::LineWeight weight)
{
    if (!VxDb::isValidLineWeight(weight) || weight == VxDb::kLnWtByLayer || weight == VxDb::kLnWtByBlock)
        return Velt::eInvalidInput;
    return setField(mLineWeight, weight);
}

Velt::ErrorStatus VxDbLayerTableRecord::setPlotStyleName(const wchar_t* name)
{
    if (!name || !*name)
        return Velt::eInvalidInput;
    return setField(mPlotStyleName, std::wstring(name));
}

Velt::ErrorStatus VxDbLayerTableRecord::setDescription(const wchar_t* text)
{
    return setField(mDescription, std::wstring(vxView(text)));
}

Velt::ErrorStatus VxDbLayerTableRecord::setMaterialId(VxDbObjectId id)
{
    if (Velt::ErrorStatus es = detail::checkReference(id, VxDbMaterial::desc(), database()))
        return es;
    return setField(mMaterial, id);
}

Velt::ErrorStatus VxDbLayerTableRecord::setTransparency(const VxCmTransparency& value)
{
    if (!value.isByAlpha())
        return Velt::eInvalidInput;
    return setField(mTransparency, value);
}

void VxDbLayerTableRecord::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbSymbolTableRecord::visitReferences(visitor);
    visitor.visit(mLinetype, VxDb::kHardPointerRef);
    visitor.visit(mMaterial, VxDb::kHardPointerRef);
}

void VxDbLayerTableRecord::copyDataFrom(const VxDbObject& other)
{
    VxDbSymbolTableRecord::copyDataFrom(other);
    const auto& layer = static_cast<const VxDbLayerTableRecord&>(other);
    mColor = layer.mColor;
    mLinetype = layer.mLinetype;
    mMaterial = layer.mMaterial;
    mPlotStyleName = layer.mPlotStyleName;
    mDescription = layer.mDescription;
    mTransparency = layer.mTransparency;
    mLineWeight = layer.mLineWeight;
    mFrozen = layer.mFrozen;
    mOff = layer.mOff;
    mLocked = layer.mLocked;
    mPlottable = layer.mPlottable;
    mFrozenInNewViewports = layer.mFrozenInNewViewports;
    mHidden = layer.mHidden;
    mInUse = layer.mInUse;
}

VX_RX_DEFINE_MEMBERS(VxDbLayerTable, VxDbSymbolTable, L"KxDbLayerTable", &vxrxCreateInstance<VxDbLayerTable>, L"TABLE")

const VxRxClass* VxDbLayerTable::recordClass() const { return VxDbLayerTableRecord::desc(); }

Velt::ErrorStatus VxDbLayerTable::generateUsageData()
{
    VxDbDatabase* db = database();
    if (!db)
        return Velt::eNoDatabase;
    for (const VxDbObjectId& id : recordIds()) {
        if (auto* layer = VxDbLayerTableRecord::cast(detail::objectOf(id)))
            layer->mInUse = false;
    }
    auto markUsed = [](VxDbObjectId layerId) {
        if (auto* layer = VxDbLayerTableRecord::cast(detail::objectOf(layerId)))
            layer->mInUse = true;
    };
    markUsed(db->layerZero());
    markUsed(db->clayer());
    for (size_t slot = 1; slot < db->objectSlotCount(); ++slot) {
        const VxDbObjectId id = db->objectIdAtSlot(slot);
        if (id.isErased())
            continue;
        if (auto* entity = VxDbEntity::cast(detail::objectOf(id))) {
            auto* owner = VxDbBlockTableRecord::cast(detail::objectOf(entity->ownerId()));
            if (owner && !owner->isErased())
                markUsed(entity->layerId());
        }
    }
    return Velt::eOk;
}

// ---- linetypes ----

VX_RX_DEFINE_MEMBERS(VxDbLinetypeTableRecord, VxDbSymbolTableRecord, L"KxDbLinetypeTableRecord",
                     &vxrxCreateInstance<VxDbLinetypeTableRecord>, L"LTYPE")

bool VxDbLinetypeTableRecord::isBuiltIn() const
{
    return vxEqualNoCase(name(), L"ByLayer") || vxEqualNoCase(name(), L"ByBlock") ||
           vxEqualNoCase(name(), L"Continuous");
}

Velt::ErrorStatus VxDbLinetypeTableRecord::setComments(const wchar_t* text)
{
    return setField(mComments, std::wstring(vxView(text)));
}

Velt::ErrorStatus VxDbLinetypeTableRecord::setPatternLength(double length)
{
    if (!std::isfinite(length) || length < 0.0)
        return Velt::eInvalidInput;
    return setField(mPatternLength, length);
}

Velt::ErrorStatus VxDbLinetypeTableRecord::setIsScaledToFit(bool value) { return setField(mScaledToFit, value); }

Velt::ErrorStatus VxDbLinetypeTableRecord::setNumDashes(int count)
{
    if (count < 0 || count > kMaxDashes)
        return Velt::eOutOfRange;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mDashes.resize(size_t(count));
    return Velt::eOk;
}

template <class T>
T VxDbLinetypeTableRecord::dashValue(int index, T Dash::*member, T none) const
{
    return index >= 0 && index < numDashes() ? mDashes[size_t(index)].*member : none;
}

template <class T, class Check>
Velt::ErrorStatus VxDbLinetypeTableRecord::setDashValue(int index, T Dash::*member, T value, Check check)
{
    if (index < 0 || index >= numDashes())
        return Velt::eInvalidIndex;
    if (Velt::ErrorStatus es = check(value))
        return es;
    return setField(mDashes[size_t(index)].*member, std::move(value));
}

namespace {

constexpr auto anyValue = [](const auto&) { return Velt::eOk; };
Velt::ErrorStatus finiteValue(double value) { return std::isfinite(value) ? Velt::eOk : Velt::eInvalidInput; }

}  // namespace

double VxDbLinetypeTableRecord::dashLengthAt(int index) const { return dashValue(index, &Dash::length, 0.0); }

Velt::ErrorStatus VxDbLinetypeTableRecord::setDashLengthAt(int index, double length)
{
    return setDashValue(index, &Dash::length, length, finiteValue);
}

VxDbObjectId VxDbLinetypeTableRecord::shapeStyleAt(int index) const
{
    return dashValue(index, &Dash::shapeStyle, VxDbObjectId());
}

Velt::ErrorStatus VxDbLinetypeTableRecord::setShapeStyleAt(int index, VxDbObjectId styleId)
{
    return setDashValue(index, &Dash::shapeStyle, styleId, [this](VxDbObjectId id) {
        return detail::checkReference(id, VxDbTextStyleTableRecord::desc(), database(), true);
    });
}

int VxDbLinetypeTableRecord::shapeNumberAt(int index) const { return dashValue(index, &Dash::shapeNumber, 0); }

Velt::ErrorStatus VxDbLinetypeTableRecord::setShapeNumberAt(int index, int number)
{
    return setDashValue(index, &Dash::shapeNumber, number,
                        [](int n) { return n >= 0 && n <= 32767 ? Velt::eOk : Velt::eOutOfRange; });
}

VxGeVector2d VxDbLinetypeTableRecord::shapeOffsetAt(int index) const
{
    return dashValue(index, &Dash::offset, VxGeVector2d());
}

Velt::ErrorStatus VxDbLinetypeTableRecord::setShapeOffsetAt(int index, const VxGeVector2d& offset)
{
    return setDashValue(index, &Dash::offset, offset, [](const VxGeVector2d& v) {
        return std::isfinite(v.x) && std::isfinite(v.y) ? Velt::eOk : Velt::eInvalidInput;
    });
}

double VxDbLinetypeTableRecord::shapeScaleAt(int index) const { return dashValue(index, &Dash::scale, 0.0); }

Velt::ErrorStatus VxDbLinetypeTableRecord::setShapeScaleAt(int index, double scale)
{
    return setDashValue(index, &Dash::scale, scale,
                        [](double s) { return std::isfinite(s) && s > 0.0 ? Velt::eOk : Velt::eInvalidInput; });
}

double VxDbLinetypeTableRecord::shapeRotationAt(int index) const { return dashValue(index, &Dash::rotation, 0.0); }

Velt::ErrorStatus VxDbLinetypeTableRecord::setShapeRotationAt(int index, double rotation)
{
    return setDashValue(index, &Dash::rotation, rotation, finiteValue);
}

bool VxDbLinetypeTableRecord::shapeIsUcsOrientedAt(int index) const
{
    return dashValue(index, &Dash::ucsOriented, false);
}

Velt::ErrorStatus VxDbLinetypeTableRecord::setShapeIsUcsOrientedAt(int index, bool value)
{
    return setDashValue(index, &Dash::ucsOriented, value, anyValue);
}

std::wstring VxDbLinetypeTableRecord::textAt(int index) const
{
    return dashValue(index, &Dash::text, std::wstring());
}

Velt::ErrorStatus VxDbLinetypeTableRecord::setTextAt(int index, const wchar_t* text)
{
    return setDashValue(index, &Dash::text, std::wstring(vxView(text)), anyValue);
}

void VxDbLinetypeTableRecord::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbSymbolTableRecord::visitReferences(visitor);
    for (Dash& dash : mDashes) {
        if (!dash.shapeStyle.isNull())
            visitor.visit(dash.shapeStyle, VxDb::kHardPointerRef);
    }
}

void VxDbLinetypeTableRecord::copyDataFrom(const VxDbObject& other)
{
    VxDbSymbolTableRecord::copyDataFrom(other);
    const auto& linetype = static_cast<const VxDbLinetypeTableRecord&>(other);
    mComments = linetype.mComments;
    mPatternLength = linetype.mPatternLength;
    mScaledToFit = linetype.mScaledToFit;
    mDashes = linetype.mDashes;
}

VX_RX_DEFINE_MEMBERS(VxDbLinetypeTable, VxDbSymbolTable, L"KxDbLinetypeTable",
                     &vxrxCreateInstance<VxDbLinetypeTable>, L"TABLE")

const VxRxClass* VxDbLinetypeTable::recordClass() const { return VxDbLinetypeTableRecord::desc(); }

// ---- text styles ----

VX_RX_DEFINE_MEMBERS(VxDbTextStyleTableRecord, VxDbSymbolTableRecord, L"KxDbTextStyleTableRecord",
                     &vxrxCreateInstance<VxDbTextStyleTableRecord>, L"STYLE")

bool VxDbTextStyleTableRecord::isBuiltIn() const { return vxEqualNoCase(name(), L"Standard"); }

bool VxDbTextStyleTableRecord::isValidName(std::wstring_view name) const
{
    // Shape files are loaded as nameless styles.
    if (name.empty())
        return mShapeFile;
    return VxDbSymbolTableRecord::isValidName(name);
}

Velt::ErrorStatus VxDbTextStyleTableRecord::setFileName(const wchar_t* name)
{
    return setField(mFileName, std::wstring(vxView(name)));
}

Velt::ErrorStatus VxDbTextStyleTableRecord::setBigFontFileName(const wchar_t* name)
{
    return setField(mBigFontFileName, std::wstring(vxView(name)));
}

Velt::ErrorStatus VxDbTextStyleTableRecord::setTextSize(double size)
{
    if (!std::isfinite(size) || size < 0.0)
        return Velt::eInvalidInput;
    return setField(mTextSize, size);
}

Velt::ErrorStatus VxDbTextStyleTableRecord::setPriorSize(double size)
{
    if (!std::isfinite(size) || size <= 0.0)
        return Velt::eInvalidInput;
    return setField(mPriorSize, size);
}

Velt::ErrorStatus VxDbTextStyleTableRecord::setXScale(double scale)
{
    if (!std::isfinite(scale) || scale < 0.01 || scale > 100.0)
        return Velt::eOutOfRange;
    return setField(mXScale, scale);
}

Velt::ErrorStatus VxDbTextStyleTableRecord::setObliquingAngle(double angle)
{
    if (!std::isfinite(angle))
        return Velt::eInvalidInput;
    // Stored within (-pi, pi]; 355 degrees is -5 degrees.
    double a = vxgeNormalizeAngle(angle);
    if (a > kPi)
        a -= kTwoPi;
    if (std::fabs(a) > vxgeDegreesToRadians(85.0) + 1e-12)
        return Velt::eOutOfRange;
    return setField(mObliquingAngle, a);
}

Velt::ErrorStatus VxDbTextStyleTableRecord::setFlagBits(uint8_t bits)
{
    if (bits & ~(kBackward | kUpsideDown))
        return Velt::eInvalidInput;
    return setField(mFlagBits, bits);
}

Velt::ErrorStatus VxDbTextStyleTableRecord::setIsShapeFile(bool value) { return setField(mShapeFile, value); }
Velt::ErrorStatus VxDbTextStyleTableRecord::setIsVertical(bool value) { return setField(mVertical, value); }

void VxDbTextStyleTableRecord::font(std::wstring& typeface, bool& bold, bool& italic, int& charset,
                                    int& pitchAndFamily) const
{
    typeface = mTypeface;
    bold = mBold;
    italic = mItalic;
    charset = mCharset;
    pitchAndFamily = mPitchAndFamily;
}

Velt::ErrorStatus VxDbTextStyleTableRecord::setFont(const wchar_t* typeface, bool bold, bool italic, int charset,
                                                    int pitchAndFamily)
{
    if (charset < 0 || charset > 255 || pitchAndFamily < 0 || pitchAndFamily > 255)
        return Velt::eOutOfRange;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mTypeface = vxView(typeface);
    mBold = bold;
    mItalic = italic;
    mCharset = charset;
    mPitchAndFamily = pitchAndFamily;
    return Velt::eOk;
}

void VxDbTextStyleTableRecord::copyDataFrom(const VxDbObject& other)
{
    VxDbSymbolTableRecord::copyDataFrom(other);
    const auto& style = static_cast<const VxDbTextStyleTableRecord&>(other);
    mFileName = style.mFileName;
    mBigFontFileName = style.mBigFontFileName;
    mTypeface = style.mTypeface;
    mTextSize = style.mTextSize;
    mPriorSize = style.mPriorSize;
    mXScale = style.mXScale;
    mObliquingAngle = style.mObliquingAngle;
    mCharset = style.mCharset;
    mPitchAndFamily = style.mPitchAndFamily;
    mFlagBits = style.mFlagBits;
    mShapeFile = style.mShapeFile;
    mVertical = style.mVertical;
    mBold = style.mBold;
    mItalic = style.mItalic;
}

VX_RX_DEFINE_MEMBERS(VxDbTextStyleTable, VxDbSymbolTable, L"KxDbTextStyleTable",
                     &vxrxCreateInstance<VxDbTextStyleTable>, L"TABLE")

const VxRxClass* VxDbTextStyleTable::recordClass() const { return VxDbTextStyleTableRecord::desc(); }

// ---- registered applications ----

VX_RX_DEFINE_MEMBERS(VxDbRegAppTableRecord, VxDbSymbolTableRecord, L"KxDbRegAppTableRecord",
                     &vxrxCreateInstance<VxDbRegAppTableRecord>, L"APPID")

bool VxDbRegAppTableRecord::isBuiltIn() const { return vxEqualNoCase(name(), L"ACAD"); }

VX_RX_DEFINE_MEMBERS(VxDbRegAppTable, VxDbSymbolTable, L"KxDbRegAppTable", &vxrxCreateInstance<VxDbRegAppTable>,
                     L"TABLE")

const VxRxClass* VxDbRegAppTable::recordClass() const { return VxDbRegAppTableRecord::desc(); }

// ---- dimension styles ----

namespace {

using DV = VxDbDimVarInfo;
constexpr double kBig = 1e300;

const VxDbDimVarInfo kDimVars[] = {
    {L"DIMPOST", 3, DV::kString, 0, 0, 0},
    {L"DIMAPOST", 4, DV::kString, 0, 0, 0},
    {L"DIMSCALE", 40, DV::kReal, 1.0, 0.0, kBig},
    {L"DIMASZ", 41, DV::kReal, 0.18, 0.0, kBig},
    {L"DIMEXO", 42, DV::kReal, 0.0625, 0.0, kBig},
    {L"DIMDLI", 43, DV::kReal, 0.38, 0.0, kBig},
    {L"DIMEXE", 44, DV::kReal, 0.18, 0.0, kBig},
    {L"DIMRND", 45, DV::kReal, 0.0, 0.0, kBig},
    {L"DIMDLE", 46, DV::kReal, 0.0, 0.0, kBig},
    {L"DIMTP", 47, DV::kReal, 0.0, -kBig, kBig},
    {L"DIMTM", 48, DV::kReal, 0.0, -kBig, kBig},
    {L"DIMFXL", 49, DV::kReal, 1.0, 0.0, kBig},
    {L"DIMJOGANG", 50, DV::kReal, 0.7853981633974483, 0.0872664625997165, 1.5707963267948966},
    {L"DIMTXT", 140, DV::kReal, 0.18, 0.0, kBig},
    {L"DIMCEN", 141, DV::kReal, 0.09, -kBig, kBig},
    {L"DIMTSZ", 142, DV::kReal, 0.0, 0.0, kBig},
    {L"DIMALTF", 143, DV::kReal, 25.4, 0.0, kBig},
    {L"DIMLFAC", 144, DV::kReal, 1.0, -kBig, kBig},
    {L"DIMTVP", 145, DV::kReal, 0.0, -kBig, kBig},
    {L"DIMTFAC", 146, DV::kReal, 1.0, 0.0, kBig},
    {L"DIMGAP", 147, DV::kReal, 0.09, -kBig, kBig},
    {L"DIMALTRND", 148, DV::kReal, 0.0, 0.0, kBig},
    {L"DIMTOL", 71, DV::kInt16, 0, 0, 1},
    {L"DIMLIM", 72, DV::kInt16, 0, 0, 1},
    {L"DIMTIH", 73, DV::kInt16, 1, 0, 1},
    {L"DIMTOH", 74, DV::kInt16, 1, 0, 1},
    {L"DIMSE1", 75, DV::kInt16, 0, 0, 1},
    {L"DIMSE2", 76, DV::kInt16, 0, 0, 1},
    {L"DIMTAD", 77, DV::kInt16, 0, 0, 4},
    {L"DIMZIN", 78, DV::kInt16, 0, 0, 15},
    {L"DIMAZIN", 79, DV::kInt16, 0, 0, 3},
    {L"DIMARCSYM", 90, DV::kInt16, 0, 0, 2},
    {L"DIMALT", 170, DV::kInt16, 0, 0, 1},
    {L"DIMALTD", 171, DV::kInt16, 2, 0, 8},
    {L"DIMTOFL", 172, DV::kInt16, 0, 0, 1},
    {L"DIMSAH", 173, DV::kInt16, 0, 0, 1},
    {L"DIMTIX", 174, DV::kInt16, 0, 0, 1},
    {L"DIMSOXD", 175, DV::kInt16, 0, 0, 1},
    {L"DIMCLRD", 176, DV::kInt16, 0, 0, 256},
    {L"DIMCLRE", 177, DV::kInt16, 0, 0, 256},
    {L"DIMCLRT", 178, DV::kInt16, 0, 0, 256},
    {L"DIMADEC", 179, DV::kInt16, 0, -1, 8},
    {L"DIMDEC", 271, DV::kInt16, 4, 0, 8},
    {L"DIMTDEC", 272, DV::kInt16, 4, 0, 8},
    {L"DIMALTU", 273, DV::kInt16, 2, 1, 8},
    {L"DIMALTTD", 274, DV::kInt16, 2, 0, 8},
    {L"DIMAUNIT", 275, DV::kInt16, 0, 0, 4},
    {L"DIMFRAC", 276, DV::kInt16, 0, 0, 2},
    {L"DIMLUNIT", 277, DV::kInt16, 2, 1, 6},
    {L"DIMDSEP", 278, DV::kInt16, 46, 0, 32767},
    {L"DIMTMOVE", 279, DV::kInt16, 0, 0, 2},
    {L"DIMJUST", 280, DV::kInt16, 0, 0, 4},
    {L"DIMSD1", 281, DV::kInt16, 0, 0, 1},
    {L"DIMSD2", 282, DV::kInt16, 0, 0, 1},
    {L"DIMTOLJ", 283, DV::kInt16, 1, 0, 2},
    {L"DIMTZIN", 284, DV::kInt16, 0, 0, 15},
    {L"DIMALTZ", 285, DV::kInt16, 0, 0, 15},
    {L"DIMALTTZ", 286, DV::kInt16, 0, 0, 15},
    {L"DIMUPT", 288, DV::kInt16, 0, 0, 1},
    {L"DIMATFIT", 289, DV::kInt16, 3, 0, 3},
    {L"DIMFXLON", 290, DV::kInt16, 0, 0, 1},
    {L"DIMTXTDIRECTION", 294, DV::kInt16, 0, 0, 1},
    {L"DIMTXSTY", 340, DV::kObjectId, 0, 0, 0},
    {L"DIMLDRBLK", 341, DV::kObjectId, 0, 0, 0},
    {L"DIMBLK", 342, DV::kObjectId, 0, 0, 0},
    {L"DIMBLK1", 343, DV::kObjectId, 0, 0, 0},
    {L"DIMBLK2", 344, DV::kObjectId, 0, 0, 0},
    {L"DIMLTYPE", 345, DV::kObjectId, 0, 0, 0},
    {L"DIMLTEX1", 346, DV::kObjectId, 0, 0, 0},
    {L"DIMLTEX2", 347, DV::kObjectId, 0, 0, 0},
    {L"DIMLWD", 371, DV::kInt16, -2, -3, 211},
    {L"DIMLWE", 372, DV::kInt16, -2, -3, 211},
};
static_assert(sizeof(kDimVars) / sizeof(kDimVars[0]) == size_t(VxDbDimVar::kCount));

bool dimVarIndexOk(VxDbDimVar var) { return size_t(var) < size_t(VxDbDimVar::kCount); }

}  // namespace

const VxDbDimVarInfo& vxdbDimVarInfo(VxDbDimVar var)
{
    return kDimVars[dimVarIndexOk(var) ? size_t(var) : 0];
}

VX_RX_DEFINE_MEMBERS(VxDbDimStyleTableRecord, VxDbSymbolTableRecord, L"KxDbDimStyleTableRecord",
                     &vxrxCreateInstance<VxDbDimStyleTableRecord>, L"DIMSTYLE")

VxDbDimStyleTableRecord::VxDbDimStyleTableRecord()
{
    for (size_t i = 0; i < mValues.size(); ++i)
        mValues[i].real = kDimVars[i].defaultValue;
}

bool VxDbDimStyleTableRecord::isBuiltIn() const { return vxEqualNoCase(name(), L"Standard"); }

double VxDbDimStyleTableRecord::dimReal(VxDbDimVar var) const
{
    return dimVarIndexOk(var) ? mValues[size_t(var)].real : 0.0;
}

int16_t VxDbDimStyleTableRecord::dimInt(VxDbDimVar var) const
{
    return dimVarIndexOk(var) ? int16_t(mValues[size_t(var)].real) : 0;
}

const std::wstring& VxDbDimStyleTableRecord::dimText(VxDbDimVar var) const
{
    static const std::wstring kEmpty;
    return dimVarIndexOk(var) ? mValues[size_t(var)].text : kEmpty;
}

VxDbObjectId VxDbDimStyleTableRecord::dimId(VxDbDimVar var) const
{
    return dimVarIndexOk(var) ? mValues[size_t(var)].id : VxDbObjectId();
}

Velt::ErrorStatus VxDbDimStyleTableRecord::setDimReal(VxDbDimVar var, double value)
{
    if (!dimVarIndexOk(var) || kDimVars[size_t(var)].kind != DV::kReal)
        return Velt::eInvalidInput;
    const DV& info = kDimVars[size_t(var)];
    if (!std::isfinite(value) || value < info.low || value > info.high)
        return Velt::eOutOfRange;
    return setField(mValues[size_t(var)].real, value);
}

Velt::ErrorStatus VxDbDimStyleTableRecord::setDimInt(VxDbDimVar var, int16_t value)
{
    if (!dimVarIndexOk(var) || kDimVars[size_t(var)].kind != DV::kInt16)
        return Velt::eInvalidInput;
    const DV& info = kDimVars[size_t(var)];
    if (value < info.low || value > info.high)
        return Velt::eOutOfRange;
    if ((var == VxDbDimVar::kDimLwd || var == VxDbDimVar::kDimLwe) && !VxDb::isValidLineWeight(value))
        return Velt::eOutOfRange;
    return setField(mValues[size_t(var)].real, double(value));
}

Velt::ErrorStatus VxDbDimStyleTableRecord::setDimText(VxDbDimVar var, const wchar_t* value)
{
    if (!dimVarIndexOk(var) || kDimVars[size_t(var)].kind != DV::kString)
        return Velt::eInvalidInput;
    return setField(mValues[size_t(var)].text, std::wstring(vxView(value)));
}

Velt::ErrorStatus VxDbDimStyleTableRecord::setDimId(VxDbDimVar var, VxDbObjectId value)
{
    if (!dimVarIndexOk(var) || kDimVars[size_t(var)].kind != DV::kObjectId)
        return Velt::eInvalidInput;
    const VxRxClass* cls = VxDbBlockTableRecord::desc();
    bool allowNull = true;
    if (var == VxDbDimVar::kDimTxSty) {
        cls = VxDbTextStyleTableRecord::desc();
        allowNull = false;
    } else if (var == VxDbDimVar::kDimLType || var == VxDbDimVar::kDimLtEx1 || var == VxDbDimVar::kDimLtEx2) {
        cls = VxDbLinetypeTableRecord::desc();
    }
    if (Velt::ErrorStatus es = detail::checkReference(value, cls, database(), allowNull))
        return es;
    return setField(mValues[size_t(var)].id, value);
}

void VxDbDimStyleTableRecord::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbSymbolTableRecord::visitReferences(visitor);
    for (size_t i = 0; i < mValues.size(); ++i) {
        if (kDimVars[i].kind == DV::kObjectId && !mValues[i].id.isNull())
            visitor.visit(mValues[i].id, VxDb::kHardPointerRef);
    }
}

void VxDbDimStyleTableRecord::copyDataFrom(const VxDbObject& other)
{
    VxDbSymbolTableRecord::copyDataFrom(other);
    mValues = static_cast<const VxDbDimStyleTableRecord&>(other).mValues;
}

VX_RX_DEFINE_MEMBERS(VxDbDimStyleTable, VxDbSymbolTable, L"KxDbDimStyleTable",
                     &vxrxCreateInstance<VxDbDimStyleTable>, L"TABLE")

const VxRxClass* VxDbDimStyleTable::recordClass() const { return VxDbDimStyleTableRecord::desc(); }

// ---- coordinate systems ----

namespace {

bool isFiniteVector(const VxGeVector3d& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }
bool isFinitePoint(const VxGePoint3d& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }
bool isFinitePoint(const VxGePoint2d& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

}  // namespace

VX_RX_DEFINE_MEMBERS(VxDbUCSTableRecord, VxDbSymbolTableRecord, L"KxDbUCSTableRecord",
                     &vxrxCreateInstance<VxDbUCSTableRecord>, L"UCS")

Velt::ErrorStatus VxDbUCSTableRecord::setOrigin(const VxGePoint3d& origin)
{
    if (!isFinitePoint(origin))
        return Velt::eInvalidInput;
    return setField(mOrigin, origin);
}

Velt::ErrorStatus VxDbUCSTableRecord::setXAxis(const VxGeVector3d& axis)
{
    if (!isFiniteVector(axis) || axis.isZeroLength())
        return Velt::eInvalidInput;
    return setField(mXAxis, axis);
}

Velt::ErrorStatus VxDbUCSTableRecord::setYAxis(const VxGeVector3d& axis)
{
    if (!isFiniteVector(axis) || axis.isZeroLength())
        return Velt::eInvalidInput;
    return setField(mYAxis, axis);
}

VxGeMatrix3d VxDbUCSTableRecord::ucsMatrix() const
{
    const VxGeVector3d x = mXAxis.normal();
    const VxGeVector3d y = mYAxis.normal();
    VxGeMatrix3d m;
    m.setCoordSystem(mOrigin, x, y, x.crossProduct(y).normal());
    return m;
}

void VxDbUCSTableRecord::copyDataFrom(const VxDbObject& other)
{
    VxDbSymbolTableRecord::copyDataFrom(other);
    const auto& ucs = static_cast<const VxDbUCSTableRecord&>(other);
    mOrigin = ucs.mOrigin;
    mXAxis = ucs.mXAxis;
    mYAxis = ucs.mYAxis;
}

VX_RX_DEFINE_MEMBERS(VxDbUCSTable, VxDbSymbolTable, L"KxDbUCSTable", &vxrxCreateInstance<VxDbUCSTable>, L"TABLE")

const VxRxClass* VxDbUCSTable::recordClass() const { return VxDbUCSTableRecord::desc(); }

// ---- views ----

VX_RX_DEFINE_MEMBERS(VxDbAbstractViewTableRecord, VxDbSymbolTableRecord, L"KxDbAbstractViewTableRecord", nullptr,
                     nullptr)

Velt::ErrorStatus VxDbAbstractViewTableRecord::setCenterPoint(const VxGePoint2d& center)
{
    if (!isFinitePoint(center))
        return Velt::eInvalidInput;
    return setField(mCenter, center);
}

Velt::ErrorStatus VxDbAbstractViewTableRecord::setHeight(double height)
{
    if (!std::isfinite(height) || height <= 0.0)
        return Velt::eInvalidInput;
    return setField(mHeight, height);
}

Velt::ErrorStatus VxDbAbstractViewTableRecord::setWidth(double width)
{
    if (!std::isfinite(width) || width <= 0.0)
        return Velt::eInvalidInput;
    return setField(mWidth, width);
}

Velt::ErrorStatus VxDbAbstractViewTableRecord::setTarget(const VxGePoint3d& target)
{
    if (!isFinitePoint(target))
        return Velt::eInvalidInput;
    return setField(mTarget, target);
}

Velt::ErrorStatus VxDbAbstractViewTableRecord::setViewDirection(const VxGeVector3d& direction)
{
    if (!isFiniteVector(direction) || direction.isZeroLength())
        return Velt::eInvalidInput;
    return setField(mViewDirection, direction);
}

Velt::ErrorStatus VxDbAbstractViewTableRecord::setViewTwist(double angle)
{
    if (!std::isfinite(angle))
        return Velt::eInvalidInput;
    return setField(mViewTwist, vxgeNormalizeAngle(angle));
}

Velt::ErrorStatus VxDbAbstractViewTableRecord::setLensLength(double length)
{
    if (!std::isfinite(length) || length <= 0.0)
        return Velt::eInvalidInput;
    return setField(mLensLength, length);
}

Velt::ErrorStatus VxDbAbstractViewTableRecord::setFrontClipDistance(double distance)
{
    if (!std::isfinite(distance))
        return Velt::eInvalidInput;
    return setField(mFrontClip, distance);
}

Velt::ErrorStatus VxDbAbstractViewTableRecord::setBackClipDistance(double distance)
{
    if (!std::isfinite(distance))
        return Velt::eInvalidInput;
    return setField(mBackClip, distance);
}

Velt::ErrorStatus VxDbAbstractViewTableRecord::setPerspectiveEnabled(bool value) { return setField(mPerspective, value); }
Velt::ErrorStatus VxDbAbstractViewTableRecord::setFrontClipEnabled(bool value) { return setField(mFrontClipOn, value); }
Velt::ErrorStatus VxDbAbstractViewTableRecord::setBackClipEnabled(bool value) { return setField(mBackClipOn, value); }
Velt::ErrorStatus VxDbAbstractViewTableRecord::setFrontClipAtEye(bool value) { return setField(mFrontClipAtEye, value); }

Velt::ErrorStatus VxDbAbstractViewTableRecord::setRenderMode(int mode)
{
    if (mode < 0 || mode > 6)
        return Velt::eOutOfRange;
    return setField(mRenderMode, mode);
}

Velt::ErrorStatus VxDbAbstractViewTableRecord::setElevation(double value)
{
    if (!std::isfinite(value))
        return Velt::eInvalidInput;
    return setField(mElevation, value);
}

void VxDbAbstractViewTableRecord::getUcs(VxGePoint3d& origin, VxGeVector3d& xAxis, VxGeVector3d& yAxis) const
{
    origin = mUcsOrigin;
    xAxis = mUcsXAxis;
    yAxis = mUcsYAxis;
}

Velt::ErrorStatus VxDbAbstractViewTableRecord::setUcs(const VxGePoint3d& origin, const VxGeVector3d& xAxis,
                                                      const VxGeVector3d& yAxis)
{
    if (!isFinitePoint(origin) || !isFiniteVector(xAxis) || !isFiniteVector(yAxis) || xAxis.isZeroLength() ||
        yAxis.isZeroLength() || xAxis.isParallelTo(yAxis))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mUcsOrigin = origin;
    mUcsXAxis = xAxis;
    mUcsYAxis = yAxis;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbAbstractViewTableRecord::setViewFrom(const VxDbAbstractViewTableRecord& view)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mCenter = view.mCenter;
    mTarget = view.mTarget;
    mViewDirection = view.mViewDirection;
    mHeight = view.mHeight;
    mWidth = view.mWidth;
    mViewTwist = view.mViewTwist;
    mLensLength = view.mLensLength;
    mFrontClip = view.mFrontClip;
    mBackClip = view.mBackClip;
    mRenderMode = view.mRenderMode;
    mPerspective = view.mPerspective;
    mFrontClipOn = view.mFrontClipOn;
    mBackClipOn = view.mBackClipOn;
    mFrontClipAtEye = view.mFrontClipAtEye;
    return Velt::eOk;
}

void VxDbAbstractViewTableRecord::copyDataFrom(const VxDbObject& other)
{
    VxDbSymbolTableRecord::copyDataFrom(other);
    const auto& view = static_cast<const VxDbAbstractViewTableRecord&>(other);
    mCenter = view.mCenter;
    mTarget = view.mTarget;
    mViewDirection = view.mViewDirection;
    mUcsOrigin = view.mUcsOrigin;
    mUcsXAxis = view.mUcsXAxis;
    mUcsYAxis = view.mUcsYAxis;
    mHeight = view.mHeight;
    mWidth = view.mWidth;
    mViewTwist = view.mViewTwist;
    mLensLength = view.mLensLength;
    mFrontClip = view.mFrontClip;
    mBackClip = view.mBackClip;
    mElevation = view.mElevation;
    mRenderMode = view.mRenderMode;
    mPerspective = view.mPerspective;
    mFrontClipOn = view.mFrontClipOn;
    mBackClipOn = view.mBackClipOn;
    mFrontClipAtEye = view.mFrontClipAtEye;
}

VX_RX_DEFINE_MEMBERS(VxDbViewTableRecord, VxDbAbstractViewTableRecord, L"KxDbViewTableRecord",
                     &vxrxCreateInstance<VxDbViewTableRecord>, L"VIEW")

Velt::ErrorStatus VxDbViewTableRecord::setCategoryName(const wchar_t* name)
{
    return setField(mCategory, std::wstring(vxView(name)));
}

Velt::ErrorStatus VxDbViewTableRecord::setLayout(VxDbObjectId layoutId)
{
    if (Velt::ErrorStatus es = detail::checkReference(layoutId, VxDbLayout::desc(), database(), true))
        return es;
    return setField(mLayout, layoutId);
}

Velt::ErrorStatus VxDbViewTableRecord::setLayerState(const wchar_t* name)
{
    return setField(mLayerState, std::wstring(vxView(name)));
}

Velt::ErrorStatus VxDbViewTableRecord::setViewAssociatedToViewport(bool value) { return setField(mAssociated, value); }
Velt::ErrorStatus VxDbViewTableRecord::setIsPaperspaceView(bool value) { return setField(mPaperspace, value); }

void VxDbViewTableRecord::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbAbstractViewTableRecord::visitReferences(visitor);
    if (!mLayout.isNull())
        visitor.visit(mLayout, VxDb::kSoftPointerRef);
}

void VxDbViewTableRecord::copyDataFrom(const VxDbObject& other)
{
    VxDbAbstractViewTableRecord::copyDataFrom(other);
    const auto& view = static_cast<const VxDbViewTableRecord&>(other);
    mCategory = view.mCategory;
    mLayerState = view.mLayerState;
    mLayout = view.mLayout;
    mAssociated = view.mAssociated;
    mPaperspace = view.mPaperspace;
}

VX_RX_DEFINE_MEMBERS(VxDbViewTable, VxDbSymbolTable, L"KxDbViewTable", &vxrxCreateInstance<VxDbViewTable>, L"TABLE")

const VxRxClass* VxDbViewTable::recordClass() const { return VxDbViewTableRecord::desc(); }

// ---- viewports ----

VX_RX_DEFINE_MEMBERS(VxDbViewportTableRecord, VxDbAbstractViewTableRecord, L"KxDbViewportTableRecord",
                     &vxrxCreateInstance<VxDbViewportTableRecord>, L"VPORT")

bool VxDbViewportTableRecord::isValidName(std::wstring_view name) const
{
    // "*Active" names the current configuration.
    if (name.size() > 1 && name[0] == L'*')
        return vxIsValidSymbolName(name.substr(1));
    return vxIsValidSymbolName(name);
}

Velt::ErrorStatus VxDbViewportTableRecord::setLowerLeftCorner(const VxGePoint2d& corner)
{
    if (!isFinitePoint(corner) || corner.x < 0.0 || corner.y < 0.0 || corner.x >= mUpperRight.x ||
        corner.y >= mUpperRight.y)
        return Velt::eInvalidInput;
    return setField(mLowerLeft, corner);
}

Velt::ErrorStatus VxDbViewportTableRecord::setUpperRightCorner(const VxGePoint2d& corner)
{
    if (!isFinitePoint(corner) || corner.x > 1.0 || corner.y > 1.0 || corner.x <= mLowerLeft.x ||
        corner.y <= mLowerLeft.y)
        return Velt::eInvalidInput;
    return setField(mUpperRight, corner);
}

Velt::ErrorStatus VxDbViewportTableRecord::setGridEnabled(bool value) { return setField(mGrid, value); }

Velt::ErrorStatus VxDbViewportTableRecord::setGridIncrements(const VxGeVector2d& increments)
{
    if (!std::isfinite(increments.x) || !std::isfinite(increments.y) || increments.x < 0.0 || increments.y < 0.0)
        return Velt::eInvalidInput;
    return setField(mGridIncrements, increments);
}

Velt::ErrorStatus VxDbViewportTableRecord::setSnapEnabled(bool value) { return setField(mSnap, value); }
Velt::ErrorStatus VxDbViewportTableRecord::setIsometricSnapEnabled(bool value) { return setField(mIsoSnap, value); }

Velt::ErrorStatus VxDbViewportTableRecord::setSnapPair(int pair)
{
    if (pair < 0 || pair > 2)
        return Velt::eOutOfRange;
    return setField(mSnapPair, pair);
}

Velt::ErrorStatus VxDbViewportTableRecord::setSnapAngle(double angle)
{
    if (!std::isfinite(angle))
        return Velt::eInvalidInput;
    return setField(mSnapAngle, vxgeNormalizeAngle(angle));
}

Velt::ErrorStatus VxDbViewportTableRecord::setSnapBase(const VxGePoint2d& base)
{
    if (!isFinitePoint(base))
        return Velt::eInvalidInput;
    return setField(mSnapBase, base);
}

Velt::ErrorStatus VxDbViewportTableRecord::setSnapIncrements(const VxGeVector2d& increments)
{
    if (!std::isfinite(increments.x) || !std::isfinite(increments.y) || increments.x <= 0.0 || increments.y <= 0.0)
        return Velt::eInvalidInput;
    return setField(mSnapIncrements, increments);
}

Velt::ErrorStatus VxDbViewportTableRecord::setIconEnabled(bool value) { return setField(mIcon, value); }
Velt::ErrorStatus VxDbViewportTableRecord::setIconAtOrigin(bool value) { return setField(mIconAtOrigin, value); }

Velt::ErrorStatus VxDbViewportTableRecord::setCircleSides(int sides)
{
    if (sides < 1 || sides > 20000)
        return Velt::eOutOfRange;
    return setField(mCircleSides, sides);
}

Velt::ErrorStatus VxDbViewportTableRecord::setFastZoomsEnabled(bool value) { return setField(mFastZooms, value); }
Velt::ErrorStatus VxDbViewportTableRecord::setUcsFollowMode(bool value) { return setField(mUcsFollow, value); }
Velt::ErrorStatus VxDbViewportTableRecord::setUcsPerViewport(bool value) { return setField(mUcsPerViewport, value); }

void VxDbViewportTableRecord::copyDataFrom(const VxDbObject& other)
{
    VxDbAbstractViewTableRecord::copyDataFrom(other);
    const auto& vp = static_cast<const VxDbViewportTableRecord&>(other);
    mLowerLeft = vp.mLowerLeft;
    mUpperRight = vp.mUpperRight;
    mGridIncrements = vp.mGridIncrements;
    mSnapBase = vp.mSnapBase;
    mSnapIncrements = vp.mSnapIncrements;
    mSnapAngle = vp.mSnapAngle;
    mSnapPair = vp.mSnapPair;
    mCircleSides = vp.mCircleSides;
    mGrid = vp.mGrid;
    mSnap = vp.mSnap;
    mIsoSnap = vp.mIsoSnap;
    mIcon = vp.mIcon;
    mIconAtOrigin = vp.mIconAtOrigin;
    mFastZooms = vp.mFastZooms;
    mUcsFollow = vp.mUcsFollow;
    mUcsPerViewport = vp.mUcsPerViewport;
}

// ---- splitting a viewport ----

std::vector<VxDbScreenArea> vxdbSplitArea(const VxDbScreenArea& area, VxDbViewportSplit split)
{
    const double x0 = area.lowerLeft.x, y0 = area.lowerLeft.y, x1 = area.upperRight.x, y1 = area.upperRight.y;
    const double mx = (x0 + x1) / 2.0, my = (y0 + y1) / 2.0;
    const double tx1 = x0 + (x1 - x0) / 3.0, tx2 = x0 + 2.0 * (x1 - x0) / 3.0;
    const double ty1 = y0 + (y1 - y0) / 3.0, ty2 = y0 + 2.0 * (y1 - y0) / 3.0;
    auto part = [](double a, double b, double c, double d) { return VxDbScreenArea{{a, b}, {c, d}}; };
    switch (split) {
    case VxDbViewportSplit::k2Horizontal: return {part(x0, my, x1, y1), part(x0, y0, x1, my)};
    case VxDbViewportSplit::k2Vertical: return {part(x0, y0, mx, y1), part(mx, y0, x1, y1)};
    case VxDbViewportSplit::k3Left: return {part(x0, y0, mx, y1), part(mx, my, x1, y1), part(mx, y0, x1, my)};
    case VxDbViewportSplit::k3Right: return {part(mx, y0, x1, y1), part(x0, my, mx, y1), part(x0, y0, mx, my)};
    case VxDbViewportSplit::k3Horizontal:
        return {part(x0, ty2, x1, y1), part(x0, ty1, x1, ty2), part(x0, y0, x1, ty1)};
    case VxDbViewportSplit::k3Vertical:
        return {part(x0, y0, tx1, y1), part(tx1, y0, tx2, y1), part(tx2, y0, x1, y1)};
    case VxDbViewportSplit::k3Above: return {part(x0, my, x1, y1), part(x0, y0, mx, my), part(mx, y0, x1, my)};
    case VxDbViewportSplit::k3Below: return {part(x0, y0, x1, my), part(x0, my, mx, y1), part(mx, my, x1, y1)};
    case VxDbViewportSplit::k4:
        return {part(x0, my, mx, y1), part(mx, my, x1, y1), part(x0, y0, mx, my), part(mx, y0, x1, my)};
    }
    return {};
}

namespace {

// Gives a viewport a part of the screen; the view keeps its height and takes the part's shape.
Velt::ErrorStatus placeViewport(VxDbViewportTableRecord& viewport, const VxDbScreenArea& whole,
                                const VxDbScreenArea& part)
{
    const double wholeWidth = whole.upperRight.x - whole.lowerLeft.x, wholeHeight = whole.upperRight.y - whole.lowerLeft.y;
    const double partWidth = part.upperRight.x - part.lowerLeft.x, partHeight = part.upperRight.y - part.lowerLeft.y;
    // The parts lie within the whole: the lower-left corner moves first.
    if (Velt::ErrorStatus es = viewport.setLowerLeftCorner(part.lowerLeft))
        return es;
    if (Velt::ErrorStatus es = viewport.setUpperRightCorner(part.upperRight))
        return es;
    return viewport.setWidth(viewport.width() * (partWidth / wholeWidth) / (partHeight / wholeHeight));
}

}  // namespace

Velt::ErrorStatus vxdbSplitViewport(VxDbObjectId viewportId, VxDbViewportSplit split, VxDbObjectIdArray* made)
{
    if (made)
        made->clear();
    if (int(split) < 0 || int(split) > int(VxDbViewportSplit::k4))
        return Velt::eInvalidInput;
    VxDbObjectPointer<VxDbViewportTableRecord> viewport(viewportId, VxDb::kForWrite);
    if (!viewport)
        return viewport.openStatus();
    const VxDbScreenArea whole{viewport->lowerLeftCorner(), viewport->upperRightCorner()};
    const std::vector<VxDbScreenArea> parts = vxdbSplitArea(whole, split);
    // The copies first, while the viewport still covers the whole area.
    std::vector<std::unique_ptr<VxDbViewportTableRecord>> copies;
    for (size_t i = 1; i < parts.size(); ++i) {
        auto copy = std::make_unique<VxDbViewportTableRecord>();
        if (Velt::ErrorStatus es = copy->copyFrom(viewport.get()))
            return es;
        if (Velt::ErrorStatus es = placeViewport(*copy, whole, parts[i]))
            return es;
        copies.push_back(std::move(copy));
    }
    VxDbObjectPointer<VxDbViewportTable> table(viewport->ownerId(), VxDb::kForWrite);
    if (!table)
        return table.openStatus();
    if (Velt::ErrorStatus es = placeViewport(*viewport.get(), whole, parts[0]))
        return es;
    for (auto& copy : copies) {
        VxDbObjectId id;
        if (Velt::ErrorStatus es = table->add(id, copy.get()))
            return es;
        copy.release()->close();
        if (made)
            made->push_back(id);
    }
    return Velt::eOk;
}

VX_RX_DEFINE_MEMBERS(VxDbViewportTable, VxDbSymbolTable, L"KxDbViewportTable",
                     &vxrxCreateInstance<VxDbViewportTable>, L"TABLE")

const VxRxClass* VxDbViewportTable::recordClass() const { return VxDbViewportTableRecord::desc(); }

}  // namespace kx
