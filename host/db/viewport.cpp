#include "db/viewport.h"

#include <algorithm>
#include <cmath>

#include "db/blocks.h"
#include "db/internal.h"
#include "db/symtables.h"

namespace kx {

// ---- the lists ----

Velt::ErrorStatus VxDbViewportLists::freezeLayersInViewport(const std::vector<VxDbObjectId>& layers)
{
    std::vector<VxDbObjectId> frozen = mFrozen;
    for (VxDbObjectId layer : layers) {
        if (Velt::ErrorStatus es = detail::checkReference(layer, VxDbLayerTableRecord::desc(), database()))
            return es;
        if (std::find(frozen.begin(), frozen.end(), layer) == frozen.end())
            frozen.push_back(layer);
    }
    return setField(mFrozen, std::move(frozen));
}

Velt::ErrorStatus VxDbViewportLists::thawLayersInViewport(const std::vector<VxDbObjectId>& layers)
{
    std::vector<VxDbObjectId> frozen = mFrozen;
    for (VxDbObjectId layer : layers)
        frozen.erase(std::remove(frozen.begin(), frozen.end(), layer), frozen.end());
    return setField(mFrozen, std::move(frozen));
}

bool VxDbViewportLists::isLayerFrozenInViewport(VxDbObjectId layer) const
{
    return std::find(mFrozen.begin(), mFrozen.end(), layer) != mFrozen.end();
}

Velt::ErrorStatus VxDbViewportLists::setNonRectClipEntityId(VxDbObjectId id)
{
    if (!id.isNull()) {
        if (Velt::ErrorStatus es = detail::checkReference(id, VxDbEntity::desc(), database()))
            return es;
    }
    return setField(mClipEntity, id);
}

void VxDbViewportLists::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbEntity::visitReferences(visitor);
    for (VxDbObjectId& layer : mFrozen)
        visitor.visit(layer, VxDb::kSoftPointerRef);
    if (!mClipEntity.isNull())
        visitor.visit(mClipEntity, VxDb::kSoftPointerRef);
}

void VxDbViewportLists::copyDataFrom(const VxDbObject& other)
{
    VxDbEntity::copyDataFrom(other);
    const auto& lists = static_cast<const VxDbViewportLists&>(other);
    mFrozen = lists.mFrozen;
    mStandardScale = lists.mStandardScale;
    mClipEntity = lists.mClipEntity;
}

// ---- the viewport ----

KX_DB_DEFINE_KIND(VxDbViewport, VxDbEntity, L"KxDbViewport", &vxrxCreateInstance<VxDbViewport>, L"VIEWPORT",
                  "AcDbViewport")

namespace {

// Sheet units per model unit of the standard scales 2 ... 34.
constexpr double kStandardRatios[] = {
    1.0,        1.0 / 2,   1.0 / 4,   1.0 / 5,   1.0 / 8,  1.0 / 10, 1.0 / 16, 1.0 / 20, 1.0 / 30,
    1.0 / 40,   1.0 / 50,  1.0 / 100, 2.0,       4.0,      8.0,      10.0,     100.0,    1.0 / 1536,
    1.0 / 768,  1.0 / 384, 1.0 / 192, 1.0 / 128, 1.0 / 96, 1.0 / 64, 1.0 / 48, 1.0 / 32, 1.0 / 24,
    1.0 / 16,   1.0 / 12,  1.0 / 8,   1.0 / 4,   1.0 / 2,  1.0,
};
static_assert(sizeof(kStandardRatios) / sizeof(double) == VxDbViewport::kStandardScaleMax - 1);

bool validSize(double v) { return std::isfinite(v) && v >= 0.0; }

}  // namespace

double VxDbViewport::standardScaleRatio(int type)
{
    return type >= 2 && type <= kStandardScaleMax ? kStandardRatios[type - 2] : 0.0;
}

double VxDbViewport::customScale() const
{
    return mFields.viewHeight > 0.0 ? mFields.height / mFields.viewHeight : 1.0;
}

Velt::ErrorStatus VxDbViewport::setWidth(double value)
{
    if (!validSize(value))
        return Velt::eInvalidInput;
    return setField(mFields.width, value);
}

Velt::ErrorStatus VxDbViewport::setHeight(double value)
{
    if (!validSize(value))
        return Velt::eInvalidInput;
    const double scale = customScale();
    if (Velt::ErrorStatus es = setField(mFields.height, value))
        return es;
    // The scale stays: the view's height follows the window's.
    if (value > 0.0 && scale > 0.0)
        mFields.viewHeight = value / scale;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbViewport::setViewHeight(double value)
{
    if (!std::isfinite(value) || !(value > 0.0))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = setField(mFields.viewHeight, value))
        return es;
    mStandardScale = kCustomScale;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbViewport::setCustomScale(double scale)
{
    if (!std::isfinite(scale) || !(scale > 0.0) || !(mFields.height > 0.0))
        return Velt::eInvalidInput;
    const double viewHeight = mFields.height / scale;
    if (!std::isfinite(viewHeight) || !(viewHeight > 0.0))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = setField(mFields.viewHeight, viewHeight))
        return es;
    mStandardScale = kCustomScale;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbViewport::setStandardScale(int16_t type)
{
    if (type < kScaleToFit || type > kStandardScaleMax)
        return Velt::eInvalidInput;
    if (type == kCustomScale)
        return setField(mStandardScale, type);
    if (type == kScaleToFit) {
        VxDbDatabase* db = database();
        VxGeExtents3d model;
        if (db) {
            VxDbBlockTableRecordIterator it(db->modelSpaceId());
            for (it.start(); !it.done(); it.step()) {
                VxDbEntity* entity = nullptr;
                VxGeExtents3d ext;
                if (it.getEntity(entity) == Velt::eOk && entity->getGeomExtents(ext) == Velt::eOk)
                    model.addExt(ext);
                if (entity)
                    entity->close();
            }
        }
        if (!model.isValid() || !(mFields.height > 0.0) || !(mFields.width > 0.0))
            return Velt::eOk;  // nothing to fit: the view stays
        if (Velt::ErrorStatus es = setField(mStandardScale, type))
            return es;
        const VxGePoint3d lo = model.minPoint(), hi = model.maxPoint();
        const double aspect = mFields.width / mFields.height;
        mFields.viewHeight = std::max({hi.y - lo.y, (hi.x - lo.x) / aspect, 1e-10});
        mFields.viewCenter = VxGePoint3d{(lo.x + hi.x) / 2, (lo.y + hi.y) / 2, 0.0};
        return Velt::eOk;
    }
    if (!(mFields.height > 0.0))
        return Velt::eInvalidInput;
    const double viewHeight = mFields.height / standardScaleRatio(type);
    if (Velt::ErrorStatus es = setField(mFields.viewHeight, viewHeight))
        return es;
    mStandardScale = type;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbViewport::setOn(bool on)
{
    Velt::ErrorStatus es = setField(mFields.status, int16_t(on ? std::max<int16_t>(mFields.status, 1) : 0));
    if (es)
        return es;
    mFields.statusFlags = on ? (mFields.statusFlags & ~kOff) : (mFields.statusFlags | kOff);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbViewport::setFlag(int32_t bit, bool on)
{
    return setField(mFields.statusFlags, on ? (mFields.statusFlags | bit) : (mFields.statusFlags & ~bit));
}

Velt::ErrorStatus VxDbViewport::setSnapSpacing(double x, double y)
{
    if (!std::isfinite(x) || !std::isfinite(y) || !(x > 0.0) || !(y > 0.0))
        return Velt::eInvalidInput;
    return setField(mFields.snapSpacing, VxGePoint3d{x, y, 0.0});
}

Velt::ErrorStatus VxDbViewport::setGridSpacing(double x, double y)
{
    if (!std::isfinite(x) || !std::isfinite(y) || !(x > 0.0) || !(y > 0.0))
        return Velt::eInvalidInput;
    return setField(mFields.gridSpacing, VxGePoint3d{x, y, 0.0});
}

Velt::ErrorStatus VxDbViewport::setNonRectClip(VxDbObjectId entity)
{
    if (!entity.isNull()) {
        if (entity == objectId())
            return Velt::eInvalidInput;
        VxDbObjectPointer<VxDbEntity> boundary(entity, VxDb::kForRead);
        if (boundary.openStatus() != Velt::eOk)
            return boundary.openStatus();
        if (boundary->ownerId() != ownerId())
            return Velt::eWrongDatabase;
    }
    if (Velt::ErrorStatus es = setNonRectClipEntityId(entity))
        return es;
    return setFlag(kNonRectClip, !entity.isNull());
}

Velt::ErrorStatus VxDbViewport::transformBy(const VxGeMatrix3d& xform)
{
    VxGePoint3d center = mFields.centerPoint;
    center.transformBy(xform);
    if (!fieldcheck::isFinite(center))
        return Velt::eInvalidInput;
    // The window stays upright on the sheet: only a uniform scale changes its size.
    const double factor = xform.isUniScaledOrtho() ? xform.scale() : 1.0;
    if (Velt::ErrorStatus es = setField(mFields.centerPoint, center))
        return es;
    mFields.width *= factor;
    mFields.height *= factor;
    // The view stays as it is: a scaled window shows it at a custom scale.
    if (factor != 1.0)
        mStandardScale = kCustomScale;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbViewport::getGeomExtents(VxGeExtents3d& extents) const
{
    const VxGePoint3d c = mFields.centerPoint;
    extents = VxGeExtents3d(VxGePoint3d{c.x - mFields.width / 2, c.y - mFields.height / 2, c.z},
                            VxGePoint3d{c.x + mFields.width / 2, c.y + mFields.height / 2, c.z});
    return Velt::eOk;
}

Velt::ErrorStatus VxDbViewport::checkFields(uint64_t)
{
    // The standard scale that the file's ratio is, the first of equal ones; else custom.
    const double scale = customScale();
    mStandardScale = kCustomScale;
    for (int type = 2; type <= kStandardScaleMax; ++type) {
        const double ratio = standardScaleRatio(type);
        if (std::fabs(scale - ratio) <= 1e-9 * ratio) {
            mStandardScale = int16_t(type);
            break;
        }
    }
    if (!(mFields.viewHeight > 0.0) || !std::isfinite(mFields.viewHeight))
        return Velt::eInvalidInput;
    return Velt::eOk;
}

}  // namespace kx
