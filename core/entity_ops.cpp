#include "core/entity_ops.h"
#include "core/member.h"

#include <cmath>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

#include "axsupport/conversions.h"
#include "axsupport/values.h"
#include "core/binding.h"
#include "core/call.h"
#include "core/hyperlinks.h"
#include "core/lookup.h"
#include "db/blocks.h"
#include "db/clone.h"
#include "db/database.h"
#include "db/entity.h"
#include "frame/com.h"
#include "frame/module.h"
#include "ge/plane.h"
#include "res/strings.h"
#include "services/display.h"
#include "services/doclock.h"

namespace {

using namespace nk;
using kx::VxDbEntity;
using kx::VxDbObjectId;
using kx::VxGeMatrix3d;
using kx::VxGePoint3d;
using kx::VxGeVector3d;
using kx::Velt::ErrorStatus;
using kx::VxDb::kForRead;
using kx::VxDb::kForWrite;

const IID& kEntityIid = __uuidof(IVeltEntity);

using Entity = OpenedObject<VxDbEntity>;
using Block = OpenedObject<kx::VxDbBlockTableRecord>;

VxDbObjectId idOf(const VxAxObjectRef& ref) { return ref.objectId(); }

// Takes the document lock of the object's database; a refused lock is thrown.
class WriteLock {
public:
    explicit WriteLock(VxDbObjectId id) : lock_(id, kx::VxAxDocLock::kWrite) { check(lock_.lockStatus()); }

private:
    kx::VxAxDocLock lock_;
};

// An entity made here and not yet handed to a block.
using NewEntity = std::unique_ptr<VxDbEntity>;

const wchar_t* textOf(BSTR text) { return text ? text : L""; }
bool equalNoCase(const wchar_t* a, const wchar_t* b) { return _wcsicmp(a, b) == 0; }

// The entity opened for the call; a failed open raises the host's status.
using EntityAccess = StatusAccess<IVeltEntity, VxDbEntity>;

// ---- transparency ----

std::wstring keyword(UINT id, const wchar_t* fallback)
{
    std::wstring text;
    if (!Module::loadString(id, text, 128) || text.empty()) text = fallback;
    return text;
}

// Digits with an optional sign and at most one decimal point.
bool isSimpleNumber(const wchar_t* text)
{
    const wchar_t* p = text;
    if (*p == L'+' || *p == L'-') ++p;
    bool digits = false, point = false;
    for (; *p; ++p) {
        if (*p >= L'0' && *p <= L'9') digits = true;
        else if (*p == L'.' && !point) point = true;
        else return false;
    }
    return digits;
}

}  // namespace

HRESULT VxAxPutTransparency(VxAxObjectRef& target, BSTR value)
{
    return member::call<EntityAccess>(target, [&](VxDbEntity& e) {
        const wchar_t* text = textOf(value);
        kx::VxCmTransparency transparency;
        if (equalNoCase(text, keyword(IDS_KEYWORD_BYLAYER, L"ByLayer").c_str())) {
            transparency.setMethod(kx::VxCmTransparency::kByLayer);
        } else if (equalNoCase(text, keyword(IDS_KEYWORD_BYBLOCK, L"ByBlock").c_str())) {
            transparency.setMethod(kx::VxCmTransparency::kByBlock);
        } else {
            // Bad text is ignored, not reported: the status 0 ends the call with S_OK.
            if (!isSimpleNumber(text)) throw kx::Velt::eOk;
            const int percent = _wtoi(text);
            if (percent < 0 || percent > 90 || (percent == 0 && std::wcscmp(text, L"0") != 0)) throw kx::Velt::eOk;
            transparency.setAlpha(static_cast<uint8_t>(255.0 - percent * 255.0 / 100.0));
        }
        return e.setTransparency(transparency, true);
    });
}

HRESULT VxAxGetTransparency(VxAxObjectRef& target, BSTR* value)
{
    return member::get<EntityAccess, conv::Text>(target, value, [](const VxDbEntity& e) {
        const kx::VxCmTransparency t = e.transparency();
        if (t.isByLayer()) return keyword(IDS_KEYWORD_BYLAYER, L"ByLayer");
        if (t.isByBlock()) return keyword(IDS_KEYWORD_BYBLOCK, L"ByBlock");
        const long percent = std::lround((255 - t.alpha()) * 100.0 / 255.0);
        return std::to_wstring(percent);
    });
}

namespace {

// ---- plot style ----

ErrorStatus setPlotStyle(VxDbEntity& e, const wchar_t* name)
{
    if (equalNoCase(name, kx::vxdbGetReservedString(0, true)))
        return e.setPlotStyleName(kx::VxDb::kPlotStyleNameByLayer, VxDbObjectId(), true);
    if (equalNoCase(name, kx::vxdbGetReservedString(1, true)))
        return e.setPlotStyleName(kx::VxDb::kPlotStyleNameByBlock, VxDbObjectId(), true);
    if (equalNoCase(name, kx::vxdbGetReservedString(5, true)))
        return e.setPlotStyleName(kx::VxDb::kPlotStyleNameIsDictDefault, VxDbObjectId(), true);
    return e.setPlotStyleName(name, true);
}

// ---- entity kind ----

LONG entityType(const VxDbEntity& e)
{
    struct Kind {
        const wchar_t* hostClass;
        LONG type;
    };
    static const Kind kinds[] = {
        {L"KxDbFace", vx3dFace}, {L"KxDb3dPolyline", vx3dPolyline}, {L"KxDb3dSolid", vx3dSolid},
        {L"KxDbArc", vxArc}, {L"KxDbAttributeDefinition", vxAttribute}, {L"KxDbAttribute", vxAttributeReference},
        {L"KxDbMInsertBlock", vxMInsertBlock}, {L"KxDbBlockReference", vxBlockReference},
        {L"KxDbCircle", vxCircle}, {L"KxDbAlignedDimension", vxDimAligned},
        {L"KxDb2LineAngularDimension", vxDimAngular}, {L"KxDbDiametricDimension", vxDimDiametric},
        {L"KxDbOrdinateDimension", vxDimOrdinate}, {L"KxDbRadialDimension", vxDimRadial},
        {L"KxDbRotatedDimension", vxDimRotated}, {L"KxDbEllipse", vxEllipse}, {L"KxDbHatch", vxHatch},
        {L"KxDbLeader", vxLeader}, {L"KxDbLine", vxLine}, {L"KxDbMText", vxMtext}, {L"KxDbPoint", vxPoint},
        {L"KxDb2dPolyline", vxPolyline}, {L"KxDbPolyline", vxPolylineLight}, {L"KxDbPolygonMesh", vxPolymesh},
        {L"KxDbRasterImage", vxRaster}, {L"KxDbRay", vxRay}, {L"KxDbRegion", vxRegion}, {L"KxDbShape", vxShape},
        {L"KxDbSolid", vxSolid}, {L"KxDbSpline", vxSpline}, {L"KxDbText", vxText}, {L"KxDbFcf", vxTolerance},
        {L"KxDbTrace", vxTrace}, {L"KxDbViewport", vxPViewport}, {L"KxDbXline", vxXline},
        {L"KxDbPolyFaceMesh", vxPolyfaceMesh}, {L"KxDbMline", vxMLine},
        {L"KxDb3PointAngularDimension", vxDim3PointAngular}, {L"KxDbTable", vxTable},
        {L"KxDbArcDimension", vxDimArcLength}, {L"KxDbRadialDimensionLarge", vxDimRadialLarge},
        {L"KxDbDwfReference", vxDwfUnderlay}, {L"KxDbDgnReference", vxDgnUnderlay}, {L"KxDbMLeader", vxMLeader},
        {L"KxDbSubDMesh", vxSubDMesh}, {L"KxDbPdfReference", vxPdfUnderlay}, {L"KxDbNurbSurface", vxNurbSurface},
    };
    // The nearest class with a kind of its own decides.
    for (const kx::VxRxClass* cls = e.isA(); cls; cls = cls->myParent())
        for (const Kind& kind : kinds)
            if (std::wcscmp(cls->name(), kind.hostClass) == 0) return kind.type;
    return 0;
}

// ---- coordinate systems ----

kx::VxDbDatabase* databaseOf(const VxAxObjectRef& ref)
{
    if (kx::VxDbDatabase* db = ref.objectId().database()) return db;
    return ref.ownedObject() ? ref.ownedObject()->database() : nullptr;
}

// The current UCS of the database (model space's with tile mode on, else paper space's),
// its axes made unit; the identity without a database.
VxGeMatrix3d currentUcs(const kx::VxDbDatabase* db)
{
    VxGeMatrix3d m;
    if (!db) return m;
    const bool model = db->tilemode();
    const VxGePoint3d origin = model ? db->ucsorg() : db->pucsorg();
    const VxGeVector3d x = (model ? db->ucsxdir() : db->pucsxdir()).normal(kx::VxGeContext::gTol);
    const VxGeVector3d y = (model ? db->ucsydir() : db->pucsydir()).normal(kx::VxGeContext::gTol);
    m.setCoordSystem(origin, x, y, x.crossProduct(y));
    return m;
}

struct Axes {
    VxGePoint3d origin;
    VxGeVector3d x, y, z;
};

Axes axesOf(const VxGeMatrix3d& m)
{
    Axes a;
    m.getCoordSystem(a.origin, a.x, a.y, a.z);
    return a;
}

// The normal of the space a block is: the UCS z of model or paper space, else world z.
VxGeVector3d spaceAxis(const kx::VxDbBlockTableRecord& block, const kx::VxDbDatabase* db)
{
    if (db && block.isModelSpace()) return db->ucsxdir().crossProduct(db->ucsydir());
    if (db && block.isPaperSpace()) return db->pucsxdir().crossProduct(db->pucsydir());
    return VxGeVector3d::kZAxis;
}

// ---- transformations ----

HRESULT transformEntity(VxAxObjectRef& target, const VxGeMatrix3d& xform)
{
    return member::call<EntityAccess>(target, [&](VxDbEntity& e) { return e.transformBy(xform); });
}

// The matrix of TransformBy: a 4x4 array read as doubles in storage order, in which the
// first index runs fastest.
VxGeMatrix3d readTransform(const VARIANT& source)
{
    const VARIANT* volatile checkedAddress = &source;
    const VARIANT* v = checkedAddress;
    if (!v) throw E_INVALIDARG;
    for (int depth = 0; (V_VT(v) & 0x2005) != 0x2005; ++depth) {
        if (V_VT(v) != (VT_BYREF | VT_VARIANT) || !V_VARIANTREF(v) || depth > 16) throw E_INVALIDARG;
        v = V_VARIANTREF(v);
    }
    if (V_VT(v) & ~(VT_BYREF | VT_ARRAY | VT_TYPEMASK)) throw E_INVALIDARG;
    SAFEARRAY* sa = V_ARRAY(v);
    if (V_VT(v) & VT_BYREF) sa = V_ARRAYREF(v) ? *V_ARRAYREF(v) : nullptr;
    if (!sa || SafeArrayGetDim(sa) != 2) throw E_INVALIDARG;
    for (UINT dim = 1; dim <= 2; ++dim) {
        LONG lower = 0, upper = 0;
        if (FAILED(SafeArrayGetLBound(sa, dim, &lower)) || FAILED(SafeArrayGetUBound(sa, dim, &upper)) ||
            static_cast<long long>(upper) - lower != 3)
            throw E_INVALIDARG;
    }
    // The element type is not looked at; its size is, so that sixteen doubles are there.
    if (SafeArrayGetElemsize(sa) != sizeof(double)) throw E_INVALIDARG;
    SafeArrayAccess access(sa);
    if (FAILED(access.status())) throw E_INVALIDARG;
    const double* data = access.data<double>();
    VxGeMatrix3d m;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) m.entry[r][c] = data[r + 4 * c];
    return m;
}

// ---- new objects ----

// The wrapper of a new entity as its entity interface; an object without one gives none.
HRESULT entityObject(VxDbObjectId id, IDispatch* app, IDispatch** out)
{
    ComPtr<IUnknown> wrapper;
    HRESULT hr = VxAxGetIUnknownOfObject(wrapper.put(), id, app);
    if (FAILED(hr)) return hr;
    if (!wrapper) return S_OK;
    hr = wrapper->QueryInterface(__uuidof(IVeltEntity), reinterpret_cast<void**>(out));
    return hr == E_NOINTERFACE ? S_OK : hr;
}

// The wrappers of new objects as an array; no objects give an empty array.
void objectsToVariant(VARIANT* out, VxArray<VxDbObjectId>& ids, IDispatch* app)
{
    if (!ids.isEmpty()) {
        NkAuToVariant(out, ids, app);
        return;
    }
    SAFEARRAY* none = SafeArrayCreateVector(VT_VARIANT, 0, 0);
    if (!none) throw E_OUTOFMEMORY;
    V_VT(out) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(out) = none;
}

// Appends a copy of the entity to a block open for write; a copy that fails is left out.
bool appendCopy(const VxDbEntity& source, const VxGeMatrix3d& xform, kx::VxDbBlockTableRecord& block,
                VxDbObjectId& id)
{
    VxDbEntity* made = nullptr;
    if (source.getTransformedCopy(xform, made) != kx::Velt::eOk || !made) return false;
    NewEntity copy(made);
    if (block.appendVxDbEntity(id, copy.get()) != kx::Velt::eOk) return false;
    copy.release()->close();
    return true;
}

// A transformed copy in the entity's own block, returned as its wrapper.
template <class Target>
HRESULT copyIntoOwnBlock(const Target& target, const VxGeMatrix3d& xform, IDispatch* app, IDispatch** out)
{
    WriteLock lock(idOf(target));
    NewEntity copy;
    VxDbObjectId blockId;
    {
        Entity entity(target, kForRead);
        const VxDbEntity* e = entity.orThrow();
        blockId = e->blockId();
        VxDbEntity* made = nullptr;
        check(e->getTransformedCopy(xform, made));
        copy.reset(made);
    }
    if (!copy) throw kx::Velt::eNotApplicable;
    VxDbObjectId id;
    {
        Block block(blockId, kForWrite);
        check(block.orThrow()->appendVxDbEntity(id, copy.get()));
        copy.release()->close();
    }
    return entityObject(id, app, out);
}

}  // namespace

// ---- the operations written by hand (the others are declared in core/entity.members) ----

HRESULT VxAxGetTrueColor(VxAxObjectRef& target, IVeltVxCmColor** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kEntityIid, [&] {
        kx::VxCmColor color;
        {
            Entity entity(target, kForRead);
            color = entity.orThrow()->color();
        }
        *out = NkAuToVeltVxCmColor(color);
        return S_OK;
    });
}

HRESULT VxAxPutTrueColor(VxAxObjectRef& target, IVeltVxCmColor* value)
{
    if (!value) return E_POINTER;
    return guarded(kEntityIid, [&] {
        const kx::VxCmColor color = NkAuToCmColor(value);
        WriteLock lock(idOf(target));
        Entity entity(target, kForWrite);
        check(entity.orThrow()->setColor(color, true));
        return S_OK;
    });
}

HRESULT VxAxMove(VxAxObjectRef& target, VARIANT from, VARIANT to)
{
    return guarded(kEntityIid, [&] {
        const VxGePoint3d start = NkAuToPoint(from);
        const VxGePoint3d end = NkAuToPoint(to);
        return transformEntity(target, VxGeMatrix3d::translation(end - start));
    });
}

HRESULT VxAxRotate(VxAxObjectRef& target, VARIANT base, double angle)
{
    return guarded(kEntityIid, [&] {
        const VxGePoint3d center = NkAuToPoint(base);
        const VxGeVector3d axis = axesOf(currentUcs(databaseOf(target))).z;
        return transformEntity(target, VxGeMatrix3d::rotation(angle, axis, center));
    });
}

HRESULT VxAxRotate3D(VxAxObjectRef& target, VARIANT point1, VARIANT point2, double angle)
{
    return guarded(kEntityIid, [&] {
        const VxGePoint3d p1 = NkAuToPoint(point1);
        const VxGePoint3d p2 = NkAuToPoint(point2);
        return transformEntity(target, VxGeMatrix3d::rotation(angle, p2 - p1, p1));
    });
}

HRESULT VxAxScaleEntity(VxAxObjectRef& target, VARIANT base, double factor)
{
    return guarded(kEntityIid, [&] {
        return transformEntity(target, VxGeMatrix3d::scaling(factor, NkAuToPoint(base)));
    });
}

HRESULT VxAxTransformBy(VxAxObjectRef& target, VARIANT matrix)
{
    return guarded(kEntityIid, [&] { return transformEntity(target, readTransform(matrix)); });
}

HRESULT VxAxMirror(VxAxObjectRef& target, IDispatch* app, VARIANT point1, VARIANT point2, IDispatch** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kEntityIid, [&] {
        const Axes ucs = axesOf(currentUcs(databaseOf(target)));
        const kx::VxGePlane ucsPlane(ucs.origin, ucs.z);
        const VxGePoint3d p1 = ucsPlane.orthoProject(NkAuToPoint(point1));
        const VxGePoint3d p2 = ucsPlane.orthoProject(NkAuToPoint(point2));
        // The mirror plane holds the line and the UCS normal.
        const VxGeVector3d normal = (p2 - p1).crossProduct(ucs.z);
        if (normal.isZeroLength()) throw kx::Velt::eInvalidInput;
        return copyIntoOwnBlock(target, VxGeMatrix3d::mirroring(kx::VxGePlane(p1, normal)), app, out);
    });
}

HRESULT VxAxMirror3D(VxAxObjectRef& target, IDispatch* app, VARIANT point1, VARIANT point2,
                 VARIANT point3, IDispatch** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kEntityIid, [&] {
        const kx::VxGePlane plane(NkAuToPoint(point1), NkAuToPoint(point2), NkAuToPoint(point3));
        if (!plane.isValid()) throw kx::Velt::eInvalidInput;
        return copyIntoOwnBlock(target, VxGeMatrix3d::mirroring(plane), app, out);
    });
}

HRESULT VxAxCopy(VxAxObjectRef& target, IDispatch* app, IDispatch** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    VxDbObjectId id, owner;
    {
        Entity entity(target, kForRead);
        if (!entity.isOpen()) return E_POINTER;  // not a database status: kept so
        id = entity->objectId();
        owner = entity->ownerId();
    }
    return guarded(kEntityIid, [&] {
        WriteLock lock(id);
        kx::VxDbDatabase* db = id.database();
        if (!db) throw kx::Velt::eNotInDatabase;
        kx::VxDbIdMapping mapping;
        check(db->deepCloneObjects(kx::VxDbObjectIdArray{id}, owner, mapping));
        kx::VxDbIdPair pair(id, VxDbObjectId(), false);
        if (!mapping.compute(pair) || pair.value().isNull()) throw kx::Velt::eNotApplicable;
        return entityObject(pair.value(), app, out);
    });
}

// More copies than this in one array are refused: a count a script got wrong must not keep
// the caller's process busy for hours.
constexpr long long kMostArrayCopies = 100000;

HRESULT VxAxArrayPolar(VxAxObjectRef& target, IDispatch* app, int count, double fillAngle, VARIANT center,
                   VARIANT* out)
{
    if (count < 1 || count > kMostArrayCopies) return E_INVALIDARG;
    if (count == 1) return S_OK;
    if (!out) return E_POINTER;
    VariantClear(out);
    return guarded(kEntityIid, [&] {
        const VxGePoint3d centerPoint = NkAuToPoint(center);
        // count - 1 on purpose: a fill of a full turn puts the last copy on the source.
        const double step = fillAngle / (count - 1);
        VxArray<VxDbObjectId> ids;
        {
            Entity entity(target, kForRead);
            const VxDbEntity* e = entity.orThrow();
            Block block(e->ownerId(), kForWrite);
            kx::VxDbBlockTableRecord* space = block.orThrow();
            const VxGeMatrix3d stepRotation =
                VxGeMatrix3d::rotation(step, spaceAxis(*space, e->database()), centerPoint);
            VxGeMatrix3d accumulated;
            for (int k = 1; k < count; ++k) {
                accumulated.preMultBy(stepRotation);
                VxDbObjectId id;
                if (appendCopy(*e, accumulated, *space, id)) ids.append(id);
            }
        }
        objectsToVariant(out, ids, app);
        return S_OK;
    });
}

HRESULT VxAxArrayRectangular(VxAxObjectRef& target, IDispatch* app, int rows, int columns, int levels, double rowSpacing,
                         double columnSpacing, double levelSpacing, VARIANT* out)
{
    if (rows <= 0 || columns <= 0 || levels <= 0) return E_INVALIDARG;
    if (static_cast<long long>(rows) * columns * levels > kMostArrayCopies) return E_INVALIDARG;
    if (!out) return E_POINTER;
    VariantClear(out);
    return guarded(kEntityIid, [&] {
        VxArray<VxDbObjectId> ids;
        {
            WriteLock lock(idOf(target));
            Entity entity(target, kForRead);
            const VxDbEntity* e = entity.orThrow();
            const kx::VxDbDatabase* db = e->database();
            if (!db) throw kx::Velt::eNoDatabase;
            // The directions follow the drawing's current space, not the entity's owner.
            const bool model = db->tilemode();
            const VxGeVector3d x = model ? db->ucsxdir() : db->pucsxdir();
            const VxGeVector3d y = model ? db->ucsydir() : db->pucsydir();
            const VxGeVector3d z = x.crossProduct(y);
            Block block(e->ownerId(), kForWrite);
            kx::VxDbBlockTableRecord* space = block.orThrow();
            for (int column = 0; column < columns; ++column)
                for (int row = 0; row < rows; ++row)
                    for (int level = 0; level < levels; ++level) {
                        if (column == 0 && row == 0 && level == 0) continue;  // the source itself
                        const VxGeVector3d offset = x * (column * columnSpacing) + y * (row * rowSpacing) +
                                                    z * (level * levelSpacing);
                        VxDbObjectId id;
                        if (appendCopy(*e, VxGeMatrix3d::translation(offset), *space, id)) ids.append(id);
                    }
        }
        objectsToVariant(out, ids, app);
        return S_OK;
    });
}

HRESULT VxAxIntersectWith(VxAxObjectRef& target, IDispatch* other, VxExtendOption option, VARIANT* out)
{
    if (!other || !out) return E_POINTER;
    VariantClear(out);
    ComPtr<IVeltBaseObject> identity;
    HRESULT hr = other->QueryInterface(__uuidof(IVeltBaseObject), identity.putVoid());
    if (hr == E_NOINTERFACE) return E_NOINTERFACE;
    if (FAILED(hr) || !identity) return RaiseVxAXException(kEntityIid, FAILED(hr) ? hr : E_NOINTERFACE, 0);
    VxDbObjectId otherId;
    hr = identity->GetObjectId(&otherId);
    if (FAILED(hr)) return RaiseVxAXException(kEntityIid, hr, 0);
    return guarded(kEntityIid, [&] {
        std::vector<VxGePoint3d> points;
        {
            Entity entity(target, kForRead);
            Entity otherEntity(otherId, kForRead);
            check(entity.orThrow()->intersectWith(otherEntity.orThrow(), static_cast<kx::VxDb::Intersect>(option),
                                                  points, 0, 0));
        }
        VxAxPoint3dArray list;
        for (const VxGePoint3d& p : points) list.append(p);
        list.setVariant(*out);
        return S_OK;
    });
}

HRESULT VxAxGetBoundingBox(VxAxObjectRef& target, VARIANT* minPoint, VARIANT* maxPoint)
{
    if (!minPoint || !maxPoint) return E_POINTER;
    VariantClear(minPoint);
    VariantClear(maxPoint);
    return guarded(kEntityIid, [&] {
        kx::VxGeExtents3d extents;
        {
            Entity entity(target, kForRead);
            const VxDbEntity* e = entity.orThrow();
            check(kx::vxdbIsAcisDbEntity(e) ? kx::vxdbGetTightVsmExtents(e, extents) : e->getGeomExtents(extents));
        }
        Variant low, high;
        NkAuToVariant(low.get(), extents.minPoint());
        NkAuToVariant(high.get(), extents.maxPoint());
        low.detachTo(minPoint);
        high.detachTo(maxPoint);
        return S_OK;
    });
}

HRESULT VxAxHighlight(VxAxObjectRef& target, VARIANT_BOOL on)
{
    return guarded(kEntityIid, [&] {
        Entity entity(target, kForRead);
        const VxDbEntity* e = entity.orThrow();
        check(on == VARIANT_TRUE ? e->highlight() : e->unhighlight());
        return S_OK;
    });
}

HRESULT VxAxUpdate(VxAxObjectRef& target)
{
    const VxDbObjectId id = target.objectId();
    return guarded(kEntityIid, [&] {
        kx::VxDbVdsName name;
        check(kx::vxdbGetVdsName(name, id));
        if (kx::vxdbEntUpd(name) != kx::kRtNorm) throw id.isErased() ? kx::Velt::eWasErased : kx::Velt::eWrongObjectType;
        kx::vxedUpdateDisplay();
        return S_OK;
    });
}


HRESULT VxAxPutPlotStyleName(VxAxObjectRef& target, BSTR name)
{
    return member::put<EntityAccess, conv::Text>(target, name, [](VxDbEntity& e, const wchar_t* text) {
        return setPlotStyle(e, text);
    });
}

HRESULT VxAxGetEntityType(VxAxObjectRef& target, LONG* type)
{
    return member::get<EntityAccess, conv::Long>(target, type, [](const VxDbEntity& e) { return entityType(e); });
}

HRESULT VxAxGetHyperlinks(VxAxObjectRef& target, IDispatch* app, IVeltHyperlinks** hyperlinks)
{
    if (!hyperlinks) return E_POINTER;
    *hyperlinks = nullptr;
    const VxDbObjectId id = target.objectId();
    return guarded(kEntityIid, [&] {
        {
            Entity entity(id, kForRead);
            entity.orThrow();
        }
        return nk::makeHyperlinks(id, app, hyperlinks);
    });
}
