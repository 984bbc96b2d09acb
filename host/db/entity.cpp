#include "db/entity.h"

#include <atomic>
#include <cstring>
#include <cmath>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>
#include <vector>

#include "db/database.h"
#include "db/dictionary.h"
#include "db/internal.h"
#include "db/objects.h"
#include "db/symtables.h"
#include "services/display.h"

namespace kx {

VX_RX_DEFINE_MEMBERS(VxDbEntity, VxDbObject, L"KxDbEntity", nullptr, nullptr)

namespace {

VxDbSymbolTable* tableOf(VxDbDatabase* db, VxDbObjectId tableId)
{
    return db ? VxDbSymbolTable::cast(detail::objectOf(tableId)) : nullptr;
}

std::wstring recordName(VxDbObjectId id)
{
    auto* record = VxDbSymbolTableRecord::cast(detail::objectOf(id));
    return record ? record->name() : std::wstring();
}

}  // namespace

// ---- shared common properties ----
// Records live in chunks that never move, so that readers find one without a lock; the map
// that finds a record by its values, and giving records out and back, take the lock. A
// thread keeps a reference to the last record it asked for: entities made one after the
// other mostly share it, and then need no lock at all.

namespace detail {
namespace {

struct StyleEntry {
    EntityStyle style;
    std::atomic<uint32_t> refs{0};
    bool live = false;
};

struct StyleHash {
    size_t operator()(const EntityStyle& s) const noexcept
    {
        uint64_t h = (uint64_t(s.color) << 32) ^ s.transparency;
        const uint64_t words[] = {s.layer.value(), s.linetype.value(), s.material.value(), s.plotStyle.value(),
                                  uint64_t(uint16_t(s.lineWeight)) | uint64_t(s.plotStyleType) << 16 |
                                      uint64_t(s.visibility) << 24};
        for (uint64_t w : words)
            h = (h ^ w) * 0x9E3779B97F4A7C15ull;
        double scale = s.linetypeScale;
        uint64_t bits;
        std::memcpy(&bits, &scale, sizeof bits);
        h = (h ^ bits) * 0x9E3779B97F4A7C15ull;
        return size_t(h ^ (h >> 29));
    }
};

constexpr unsigned kStyleChunkBits = 10;
constexpr size_t kStyleChunkSize = size_t(1) << kStyleChunkBits;
constexpr size_t kStyleChunks = size_t(1) << 16;

struct StyleTable {
    std::atomic<StyleEntry*> chunks[kStyleChunks] = {};
    std::mutex mutex;
    std::unordered_map<EntityStyle, uint32_t, StyleHash> byValue;
    std::vector<uint32_t> freeIndexes;
    uint32_t next = 1;  // 0 is the defaults, never counted
    size_t inUse = 0;

    StyleEntry& entry(uint32_t index) const
    {
        return chunks[index >> kStyleChunkBits].load(std::memory_order_acquire)[index & (kStyleChunkSize - 1)];
    }
};

// Never destroyed: entities of static lifetime may outlive any order of destruction.
StyleTable& styleTable()
{
    static StyleTable* table = [] {
        auto* t = new StyleTable;
        t->chunks[0].store(new StyleEntry[kStyleChunkSize], std::memory_order_release);
        t->chunks[0].load()[0].live = true;
        return t;
    }();
    return *table;
}

thread_local uint32_t tLastStyle = 0;

}  // namespace

const EntityStyle& entityStyleAt(uint32_t index) { return styleTable().entry(index).style; }

void addEntityStyleRef(uint32_t index)
{
    if (index != 0)
        styleTable().entry(index).refs.fetch_add(1, std::memory_order_relaxed);
}

void releaseEntityStyle(uint32_t index)
{
    if (index == 0)
        return;
    StyleTable& table = styleTable();
    StyleEntry& entry = table.entry(index);
    if (entry.refs.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    // Another thread may have taken the record again before the lock.
    std::lock_guard lock(table.mutex);
    if (!entry.live || entry.refs.load(std::memory_order_acquire) != 0)
        return;
    table.byValue.erase(entry.style);
    entry.live = false;
    table.freeIndexes.push_back(index);
    --table.inUse;
}

uint32_t acquireEntityStyle(const EntityStyle& style)
{
    StyleTable& table = styleTable();
    const uint32_t last = tLastStyle;
    if (last != 0 && table.entry(last).style == style) {
        table.entry(last).refs.fetch_add(1, std::memory_order_relaxed);
        return last;
    }
    if (style == EntityStyle())
        return 0;
    uint32_t index = 0;
    {
        std::lock_guard lock(table.mutex);
        if (auto found = table.byValue.find(style); found != table.byValue.end()) {
            index = found->second;
        } else {
            if (!table.freeIndexes.empty()) {
                index = table.freeIndexes.back();
                table.freeIndexes.pop_back();
            } else {
                if (table.next >= kStyleChunks * kStyleChunkSize)
                    throw std::bad_alloc();
                index = table.next++;
                std::atomic<StyleEntry*>& chunk = table.chunks[index >> kStyleChunkBits];
                if (!chunk.load(std::memory_order_relaxed))
                    chunk.store(new StyleEntry[kStyleChunkSize], std::memory_order_release);
            }
            StyleEntry& entry = table.entry(index);
            entry.style = style;
            entry.live = true;
            table.byValue.emplace(style, index);
            ++table.inUse;
        }
        // One for the caller, one for this thread's memory of it.
        table.entry(index).refs.fetch_add(2, std::memory_order_relaxed);
    }
    tLastStyle = index;
    releaseEntityStyle(last);
    return index;
}

size_t entityStyleCount()
{
    StyleTable& table = styleTable();
    std::lock_guard lock(table.mutex);
    return table.inUse;
}

}  // namespace detail

VxDbEntity::~VxDbEntity() { detail::releaseEntityStyle(mStyle); }

void VxDbEntity::setStyle(const detail::EntityStyle& style)
{
    if (style == this->style())
        return;
    const uint32_t index = detail::acquireEntityStyle(style);
    detail::releaseEntityStyle(mStyle);
    mStyle = index;
}

VxCmColor VxDbEntity::color() const
{
    VxCmColor color{VxCmEntityColor(style().color)};
    std::wstring colorName, bookName;
    if (getColorNames(colorName, bookName))
        color.setNames(colorName.c_str(), bookName.c_str());
    return color;
}

Velt::ErrorStatus VxDbEntity::setColor(const VxCmColor& color, bool)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    VxCmEntityColor check;
    if (Velt::ErrorStatus es = check.setColor(color.color()))
        return es;
    detail::EntityStyle changed = style();
    changed.color = color.color();
    setStyle(changed);
    setColorNames(color.colorName(), color.bookName());
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEntity::setColorIndex(int16_t index, bool)
{
    VxCmEntityColor color;
    if (Velt::ErrorStatus es = color.setColorIndex(index))
        return es;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    detail::EntityStyle changed = style();
    changed.color = color.color();
    setStyle(changed);
    setColorNames({}, {});
    return Velt::eOk;
}

// What the common properties' setters accept, one property at a time or all at once.
Velt::ErrorStatus VxDbEntity::checkLayer(VxDbObjectId layerId, const VxDbDatabase* db, bool allowHiddenLayer)
{
    if (Velt::ErrorStatus es = detail::checkReference(layerId, VxDbLayerTableRecord::desc(), db))
        return es;
    const bool hidden = VxDbLayerTableRecord::cast(detail::objectOf(layerId))->isHidden();
    return hidden && !allowHiddenLayer ? Velt::eInvalidInput : Velt::eOk;
}

Velt::ErrorStatus VxDbEntity::checkLinetype(VxDbObjectId linetypeId, const VxDbDatabase* db)
{
    return detail::checkReference(linetypeId, VxDbLinetypeTableRecord::desc(), db);
}

bool VxDbEntity::isValidColor(uint32_t color)
{
    VxCmEntityColor check;
    return check.setColor(color) == Velt::eOk;
}

bool VxDbEntity::isValidLineWeight(int weight) { return VxDb::isValidLineWeight(weight); }

bool VxDbEntity::isValidLinetypeScale(double scale) { return std::isfinite(scale) && scale > 0.0; }

bool VxDbEntity::isValidVisibility(int visibility)
{
    return visibility == VxDb::kVisible || visibility == VxDb::kInvisible;
}

bool VxDbEntity::isValidTransparency(uint32_t packed)
{
    VxCmTransparency check;
    return check.serializeIn(packed) == Velt::eOk;
}

std::wstring VxDbEntity::layer() const { return recordName(style().layer); }

Velt::ErrorStatus VxDbEntity::setLayer(const wchar_t* name, bool doSubents, bool allowHiddenLayer)
{
    if (!name)
        return Velt::eInvalidInput;
    VxDbDatabase* db = database();
    VxDbSymbolTable* table = tableOf(db, db ? db->layerTableId() : VxDbObjectId());
    if (!table)
        return Velt::eNoDatabase;
    VxDbObjectId id;
    if (Velt::ErrorStatus es = table->getAt(name, id))
        return es;
    return setLayer(id, doSubents, allowHiddenLayer);
}

Velt::ErrorStatus VxDbEntity::setLayer(VxDbObjectId layerId, bool, bool allowHiddenLayer)
{
    if (Velt::ErrorStatus es = checkLayer(layerId, database(), allowHiddenLayer))
        return es;
    if (Velt::ErrorStatus es = changeStyle([&](detail::EntityStyle& s) { s.layer = layerId; }))
        return es;
    setIntendedDatabase(layerId.database());
    return Velt::eOk;
}

std::wstring VxDbEntity::linetype() const { return recordName(style().linetype); }

Velt::ErrorStatus VxDbEntity::setLinetype(const wchar_t* name, bool doSubents)
{
    if (!name)
        return Velt::eInvalidInput;
    VxDbDatabase* db = database();
    VxDbSymbolTable* table = tableOf(db, db ? db->linetypeTableId() : VxDbObjectId());
    if (!table)
        return Velt::eNoDatabase;
    VxDbObjectId id;
    if (Velt::ErrorStatus es = table->getAt(name, id))
        return es;
    return setLinetype(id, doSubents);
}

Velt::ErrorStatus VxDbEntity::setLinetype(VxDbObjectId linetypeId, bool)
{
    if (Velt::ErrorStatus es = checkLinetype(linetypeId, database()))
        return es;
    if (Velt::ErrorStatus es = changeStyle([&](detail::EntityStyle& s) { s.linetype = linetypeId; }))
        return es;
    setIntendedDatabase(linetypeId.database());
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEntity::setLinetypeScale(double scale, bool)
{
    if (!isValidLinetypeScale(scale))
        return Velt::eInvalidInput;
    return changeStyle([&](detail::EntityStyle& s) { s.linetypeScale = scale; });
}

Velt::ErrorStatus VxDbEntity::setVisibility(VxDb::Visibility visibility, bool)
{
    if (!isValidVisibility(visibility))
        return Velt::eInvalidInput;
    return changeStyle([&](detail::EntityStyle& s) { s.visibility = uint8_t(visibility); });
}

Velt::ErrorStatus VxDbEntity::setLineWeight(VxDb::LineWeight weight, bool)
{
    if (!isValidLineWeight(weight))
        return Velt::eInvalidInput;
    return changeStyle([&](detail::EntityStyle& s) { s.lineWeight = int16_t(weight); });
}

VxDb::PlotStyleNameType VxDbEntity::getPlotStyleNameId(VxDbObjectId& id) const
{
    id = style().plotStyle;
    return static_cast<VxDb::PlotStyleNameType>(style().plotStyleType);
}

std::wstring VxDbEntity::plotStyleName() const
{
    switch (style().plotStyleType) {
    case VxDb::kPlotStyleNameByLayer: return vxdbGetReservedString(0);
    case VxDb::kPlotStyleNameByBlock: return vxdbGetReservedString(1);
    case VxDb::kPlotStyleNameIsDictDefault: return vxdbGetReservedString(5);
    default: break;
    }
    VxDbDatabase* db = database();
    auto* dictionary = db ? VxDbDictionary::cast(detail::objectOf(db->plotStyleNameDictionaryId())) : nullptr;
    std::wstring name;
    if (dictionary)
        dictionary->nameAt(style().plotStyle, name);
    return name;
}

Velt::ErrorStatus VxDbEntity::setPlotStyleName(const wchar_t* name, bool doSubents)
{
    if (!name || !*name)
        return Velt::eInvalidInput;
    if (vxEqualNoCase(name, vxdbGetReservedString(0)))
        return setPlotStyleName(VxDb::kPlotStyleNameByLayer, VxDbObjectId(), doSubents);
    if (vxEqualNoCase(name, vxdbGetReservedString(1)))
        return setPlotStyleName(VxDb::kPlotStyleNameByBlock, VxDbObjectId(), doSubents);
    VxDbDatabase* db = database();
    if (!db)
        return Velt::eNoDatabase;
    auto* dictionary = VxDbDictionary::cast(detail::objectOf(db->plotStyleNameDictionaryId()));
    VxDbObjectId id;
    if (!dictionary)
        return Velt::eKeyNotFound;
    if (Velt::ErrorStatus es = dictionary->getAt(name, id))
        return es;
    return setPlotStyleName(VxDb::kPlotStyleNameById, id, doSubents);
}

Velt::ErrorStatus VxDbEntity::setPlotStyleName(VxDb::PlotStyleNameType type, VxDbObjectId id, bool)
{
    switch (type) {
    case VxDb::kPlotStyleNameByLayer:
    case VxDb::kPlotStyleNameByBlock:
    case VxDb::kPlotStyleNameIsDictDefault:
        id = VxDbObjectId();
        break;
    case VxDb::kPlotStyleNameById:
        if (Velt::ErrorStatus es = detail::checkReference(id, nullptr, database()))
            return es;
        break;
    default:
        return Velt::eInvalidInput;
    }
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    detail::EntityStyle changed = style();
    changed.plotStyleType = uint8_t(type);
    changed.plotStyle = id;
    setStyle(changed);
    return Velt::eOk;
}

VxCmTransparency VxDbEntity::transparency() const
{
    VxCmTransparency value;
    value.serializeIn(style().transparency);
    return value;
}

Velt::ErrorStatus VxDbEntity::setTransparency(const VxCmTransparency& value, bool)
{
    return changeStyle([&](detail::EntityStyle& s) { s.transparency = value.serializeOut(); });
}

std::wstring VxDbEntity::material() const
{
    auto* material = VxDbMaterial::cast(detail::objectOf(style().material));
    return material ? material->name() : std::wstring();
}

Velt::ErrorStatus VxDbEntity::setMaterial(const wchar_t* name, bool doSubents)
{
    if (!name || !*name)
        return Velt::eInvalidInput;
    VxDbDatabase* db = database();
    if (!db)
        return Velt::eNoDatabase;
    auto* dictionary = VxDbDictionary::cast(detail::objectOf(db->materialDictionaryId()));
    if (!dictionary)
        return Velt::eKeyNotFound;
    VxDbObjectId id;
    if (Velt::ErrorStatus es = dictionary->getAt(name, id))
        return es;
    return setMaterial(id, doSubents);
}

Velt::ErrorStatus VxDbEntity::setMaterial(VxDbObjectId materialId, bool)
{
    if (Velt::ErrorStatus es = detail::checkReference(materialId, VxDbMaterial::desc(), database()))
        return es;
    return changeStyle([&](detail::EntityStyle& s) { s.material = materialId; });
}

Velt::ErrorStatus VxDbEntity::setDatabaseDefaults() { return setDatabaseDefaults(database()); }

Velt::ErrorStatus VxDbEntity::setDatabaseDefaults(VxDbDatabase* db)
{
    if (!db)
        return Velt::eNoDatabase;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (isResident() && database() != db)
        return Velt::eWrongDatabase;
    setIntendedDatabase(db);
    detail::EntityStyle changed = style();
    changed.layer = db->clayer();
    changed.linetype = db->celtype();
    changed.color = db->cecolor().color();
    changed.linetypeScale = db->celtscale();
    changed.lineWeight = int16_t(db->celweight());
    changed.transparency = db->cetransparency().serializeOut();
    VxDbObjectId plotStyle;
    changed.plotStyleType = uint8_t(db->getCePlotStyleNameId(plotStyle));
    changed.plotStyle = plotStyle;
    changed.material = db->byLayerMaterialId();
    setStyle(changed);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEntity::setCommonProperties(const detail::EntityStyle& values, bool allowHiddenLayer)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    VxCmEntityColor color;
    if (Velt::ErrorStatus es = color.setColor(values.color))
        return es;
    if (!isValidLineWeight(values.lineWeight) || !isValidLinetypeScale(values.linetypeScale) ||
        !isValidVisibility(values.visibility) || !isValidTransparency(values.transparency))
        return Velt::eInvalidInput;
    if (!values.layer.isNull()) {
        if (Velt::ErrorStatus es = checkLayer(values.layer, database(), allowHiddenLayer))
            return es;
    }
    if (!values.linetype.isNull()) {
        if (Velt::ErrorStatus es = checkLinetype(values.linetype, database()))
            return es;
    }
    detail::EntityStyle changed = values;
    changed.material = style().material;
    changed.plotStyle = style().plotStyle;
    changed.plotStyleType = style().plotStyleType;
    const bool colorChanged = changed.color != style().color;
    setStyle(changed);
    if (colorChanged)
        setColorNames({}, {});
    if (!values.layer.isNull())
        setIntendedDatabase(values.layer.database());
    else if (!values.linetype.isNull())
        setIntendedDatabase(values.linetype.database());
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEntity::setPropertiesFrom(const VxDbEntity* other, bool)
{
    if (!other)
        return Velt::eNullObjectPointer;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (other->database() != database() && database())
        return Velt::eWrongDatabase;
    detail::addEntityStyleRef(other->mStyle);
    detail::releaseEntityStyle(mStyle);
    mStyle = other->mStyle;
    setIntendedDatabase(other->database());
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEntity::transformBy(const VxGeMatrix3d&) { return Velt::eNotApplicable; }

bool vxdbIsAcisDbEntity(const VxDbEntity*) { return false; }

Velt::ErrorStatus vxdbGetTightVsmExtents(const VxDbEntity* entity, VxGeExtents3d& extents)
{
    if (!entity)
        return Velt::eNullObjectPointer;
    return entity->getGeomExtents(extents);
}

Velt::ErrorStatus VxDbEntity::getTransformedCopy(const VxGeMatrix3d& xform, VxDbEntity*& copy) const
{
    copy = nullptr;
    VxDbEntity* candidate = VxDbEntity::cast(clone());
    if (!candidate)
        return Velt::eNotApplicable;
    if (Velt::ErrorStatus es = candidate->transformBy(xform)) {
        delete candidate;
        return es;
    }
    copy = candidate;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEntity::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.reset();
    std::unique_ptr<VxGeCurve3d> curve = geCurve();
    if (!curve)
        return Velt::eNotApplicable;
    return curve->getExtents(extents) ? Velt::eOk : Velt::eNotApplicable;
}

bool VxDbEntity::getGeCurves(std::vector<std::unique_ptr<VxGeCurve3d>>&, bool) const { return false; }

Velt::ErrorStatus VxDbEntity::explode(std::vector<VxDbEntity*>&) const { return Velt::eNotApplicable; }

namespace {

// Intersections where either side is made of several curves: each piece with each, the
// pieces of such a side already as far as they reach, the other side extended by the
// curves' own rule. A point where two pieces meet counts once.
Velt::ErrorStatus intersectPieces(const VxDbEntity* self, const VxDbEntity* other, VxDb::Intersect intType,
                                  std::vector<VxGePoint3d>& points)
{
    const bool extendThis = intType == VxDb::kExtendThis || intType == VxDb::kExtendBoth;
    const bool extendOther = intType == VxDb::kExtendArg || intType == VxDb::kExtendBoth;
    std::vector<std::unique_ptr<VxGeCurve3d>> mine, theirs;
    const bool minePieces = self->getGeCurves(mine, extendThis);
    const bool theirPieces = other->getGeCurves(theirs, extendOther);
    if (!minePieces)
        mine.push_back(self->geCurve());
    if (!theirPieces)
        theirs.push_back(other->geCurve());
    if (mine.empty() || !mine[0] || theirs.empty() || !theirs[0])
        return mine.empty() || theirs.empty() ? Velt::eOk : Velt::eNotApplicable;
    int extend = 0;
    if (extendThis && !minePieces)
        extend |= int(VxGeExtend::kExtendThis);
    if (extendOther && !theirPieces)
        extend |= int(VxGeExtend::kExtendOther);
    const size_t first = points.size();
    std::vector<VxGePoint3d> found;
    for (const auto& a : mine) {
        for (const auto& b : theirs) {
            found.clear();
            a->intersectWith(*b, VxGeExtend(extend), found);
            for (const VxGePoint3d& p : found) {
                bool seen = false;
                for (size_t i = first; i < points.size() && !seen; ++i)
                    seen = points[i].isEqualTo(p, VxGeTol{1e-9, 1e-9});
                if (!seen)
                    points.push_back(p);
            }
        }
    }
    return Velt::eOk;
}

}  // namespace

Velt::ErrorStatus VxDbEntity::intersectWith(const VxDbEntity* other, VxDb::Intersect intType,
                                            std::vector<VxGePoint3d>& points, int64_t, int64_t) const
{
    if (!other)
        return Velt::eNullObjectPointer;
    if (intType < VxDb::kOnBothOperands || intType > VxDb::kExtendBoth)
        return Velt::eInvalidInput;
    {
        std::vector<std::unique_ptr<VxGeCurve3d>> probe;
        if (getGeCurves(probe, false) || other->getGeCurves(probe, false))
            return intersectPieces(this, other, intType, points);
    }
    std::unique_ptr<VxGeCurve3d> mine = geCurve();
    std::unique_ptr<VxGeCurve3d> theirs = other->geCurve();
    if (!mine || !theirs)
        return Velt::eNotApplicable;
    mine->intersectWith(*theirs, static_cast<VxGeExtend>(intType), points);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEntity::highlight() const
{
    if (!isResident())
        return Velt::eNotInDatabase;
    VxHostDisplay::instance().setHighlight(objectId(), true);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEntity::unhighlight() const
{
    if (!isResident())
        return Velt::eNotInDatabase;
    VxHostDisplay::instance().setHighlight(objectId(), false);
    return Velt::eOk;
}

void VxDbEntity::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbObject::visitReferences(visitor);
    // The visitor may change ids (cloning translates them): a changed set is a new record.
    detail::EntityStyle visited = style();
    visitor.visit(visited.layer, VxDb::kHardPointerRef);
    visitor.visit(visited.linetype, VxDb::kHardPointerRef);
    if (!visited.material.isNull())
        visitor.visit(visited.material, VxDb::kHardPointerRef);
    if (!visited.plotStyle.isNull())
        visitor.visit(visited.plotStyle, VxDb::kHardPointerRef);
    if (!(visited == style()))
        setStyle(visited);
}

void VxDbEntity::copyDataFrom(const VxDbObject& other)
{
    VxDbObject::copyDataFrom(other);
    const auto& entity = static_cast<const VxDbEntity&>(other);
    detail::addEntityStyleRef(entity.mStyle);
    detail::releaseEntityStyle(mStyle);
    mStyle = entity.mStyle;
}

// ---- curves ----

VX_RX_DEFINE_MEMBERS(VxDbCurve, VxDbEntity, L"KxDbCurve", nullptr, nullptr)

bool VxDbCurve::isClosed() const
{
    std::unique_ptr<VxGeCurve3d> curve = geCurve();
    return curve && curve->isClosed();
}

Velt::ErrorStatus VxDbCurve::getStartParam(double& param) const
{
    std::unique_ptr<VxGeCurve3d> curve = geCurve();
    if (!curve)
        return Velt::eNotApplicable;
    double end;
    curve->getInterval(param, end);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbCurve::getEndParam(double& param) const
{
    std::unique_ptr<VxGeCurve3d> curve = geCurve();
    if (!curve)
        return Velt::eNotApplicable;
    double start;
    curve->getInterval(start, param);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbCurve::getStartPoint(VxGePoint3d& point) const
{
    double param;
    if (Velt::ErrorStatus es = getStartParam(param))
        return es;
    if (!std::isfinite(param))
        return Velt::eNotApplicable;
    return getPointAtParam(param, point);
}

Velt::ErrorStatus VxDbCurve::getEndPoint(VxGePoint3d& point) const
{
    double param;
    if (Velt::ErrorStatus es = getEndParam(param))
        return es;
    if (!std::isfinite(param))
        return Velt::eNotApplicable;
    return getPointAtParam(param, point);
}

Velt::ErrorStatus VxDbCurve::getPointAtParam(double param, VxGePoint3d& point) const
{
    std::unique_ptr<VxGeCurve3d> curve = geCurve();
    if (!curve)
        return Velt::eNotApplicable;
    double start, end;
    curve->getInterval(start, end);
    const double tol = 1e-10 * (1.0 + std::fabs(param));
    if (!std::isfinite(param) || param < start - tol || param > end + tol)
        return Velt::eInvalidInput;
    point = curve->evalPoint(param);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbCurve::getParamAtPoint(const VxGePoint3d& point, double& param) const
{
    std::unique_ptr<VxGeCurve3d> curve = geCurve();
    if (!curve)
        return Velt::eNotApplicable;
    const VxGePoint3d closest = curve->closestPointTo(point, &param);
    if (!closest.isEqualTo(point, VxGeTol{1e-9, 1e-9}))
        return Velt::eInvalidInput;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbCurve::getDistAtParam(double param, double& dist) const
{
    std::unique_ptr<VxGeCurve3d> curve = geCurve();
    if (!curve)
        return Velt::eNotApplicable;
    double start, end;
    curve->getInterval(start, end);
    if (!std::isfinite(param) || !std::isfinite(start) || param < start - 1e-10 || param > end + 1e-10)
        return Velt::eInvalidInput;
    dist = curve->length(start, param);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbCurve::getClosestPointTo(const VxGePoint3d& given, VxGePoint3d& closest, bool extend) const
{
    std::unique_ptr<VxGeCurve3d> curve = extend ? geCurveExtended() : geCurve();
    if (!curve)
        return Velt::eNotApplicable;
    closest = curve->closestPointTo(given);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbCurve::getArea(double& area) const
{
    area = 0.0;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbCurve::getOffsetCurves(double, std::vector<VxDbEntity*>&) const
{
    return Velt::eNotApplicable;
}

}  // namespace kx
