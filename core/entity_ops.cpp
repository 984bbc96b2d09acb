#include "core/entity_ops.h"

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

VxDbObjectId idOf(const VxDbObjectId& id) { return id; }
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

BSTR newText(const wchar_t* text)
{
    BSTR s = SysAllocString(text);
    if (!s) throw E_OUTOFMEMORY;
    return s;
}

const wchar_t* textOf(BSTR text) { return text ? text : L""; }
bool equalNoCase(const wchar_t* a, const wchar_t* b) { return _wcsicmp(a, b) == 0; }

// ---- the two patterns of the property members ----

// Reads a property with the entity open for read. The output is cleared first.
template <class Target, class Out, class Read>
HRESULT readEntity(const Target& target, Out* out, Out cleared, Read&& read)
{
    if (!out) return E_POINTER;
    *out = cleared;
    return guarded(kEntityIid, [&] {
        Entity entity(target, kForRead);
        *out = read(*entity.orThrow());
        return S_OK;
    });
}

// Changes the entity under the document lock, open for write; a refusal of the host is raised.
template <class Target, class Change>
HRESULT changeEntity(const Target& target, Change&& change)
{
    return guarded(kEntityIid, [&] {
        WriteLock lock(idOf(target));
        Entity entity(target, kForWrite);
        check(change(*entity.orThrow()));
        return S_OK;
    });
}

// A value the host's 16-bit field cannot hold goes as one the host refuses.
int16_t narrow(long value)
{
    return value >= INT16_MIN && value <= INT16_MAX ? static_cast<int16_t>(value) : INT16_MIN;
}

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

HRESULT putTransparency(const VxDbObjectId& id, BSTR value)
{
    return guarded(kEntityIid, [&] {
        WriteLock lock(id);
        Entity entity(id, kForWrite);
        VxDbEntity* e = entity.orThrow();
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
        check(e->setTransparency(transparency, true));
        return S_OK;
    });
}

HRESULT getTransparency(const VxDbObjectId& id, BSTR* value)
{
    return readEntity(id, value, BSTR{}, [](const VxDbEntity& e) {
        const kx::VxCmTransparency t = e.transparency();
        if (t.isByLayer()) return newText(keyword(IDS_KEYWORD_BYLAYER, L"ByLayer").c_str());
        if (t.isByBlock()) return newText(keyword(IDS_KEYWORD_BYBLOCK, L"ByBlock").c_str());
        const long percent = std::lround((255 - t.alpha()) * 100.0 / 255.0);
        return newText(std::to_wstring(percent).c_str());
    });
}

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

kx::VxDbDatabase* databaseOf(const VxDbObjectId& id) { return id.database(); }
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

template <class Target>
HRESULT transformEntity(const Target& target, const VxGeMatrix3d& xform)
{
    return changeEntity(target, [&](VxDbEntity& e) { return e.transformBy(xform); });
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

// ---- the operations, for both kinds of target ----

template <class Target>
HRESULT getTrueColor(const Target& target, IVeltVxCmColor** out)
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

template <class Target>
HRESULT putTrueColor(const Target& target, IVeltVxCmColor* value)
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

template <class Target>
HRESULT moveEntity(const Target& target, const VARIANT& from, const VARIANT& to)
{
    return guarded(kEntityIid, [&] {
        const VxGePoint3d start = NkAuToPoint(from);
        const VxGePoint3d end = NkAuToPoint(to);
        return transformEntity(target, VxGeMatrix3d::translation(end - start));
    });
}

template <class Target>
HRESULT rotateEntity(const Target& target, const VARIANT& base, double angle)
{
    return guarded(kEntityIid, [&] {
        const VxGePoint3d center = NkAuToPoint(base);
        const VxGeVector3d axis = axesOf(currentUcs(databaseOf(target))).z;
        return transformEntity(target, VxGeMatrix3d::rotation(angle, axis, center));
    });
}

template <class Target>
HRESULT rotate3D(const Target& target, const VARIANT& point1, const VARIANT& point2, double angle)
{
    return guarded(kEntityIid, [&] {
        const VxGePoint3d p1 = NkAuToPoint(point1);
        const VxGePoint3d p2 = NkAuToPoint(point2);
        return transformEntity(target, VxGeMatrix3d::rotation(angle, p2 - p1, p1));
    });
}

template <class Target>
HRESULT scaleEntity(const Target& target, const VARIANT& base, double factor)
{
    return guarded(kEntityIid, [&] {
        return transformEntity(target, VxGeMatrix3d::scaling(factor, NkAuToPoint(base)));
    });
}

template <class Target>
HRESULT transformBy(const Target& target, const VARIANT& matrix)
{
    return guarded(kEntityIid, [&] { return transformEntity(target, readTransform(matrix)); });
}

template <class Target>
HRESULT mirror(const Target& target, IDispatch* app, const VARIANT& point1, const VARIANT& point2, IDispatch** out)
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

template <class Target>
HRESULT mirror3D(const Target& target, IDispatch* app, const VARIANT& point1, const VARIANT& point2,
                 const VARIANT& point3, IDispatch** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kEntityIid, [&] {
        const kx::VxGePlane plane(NkAuToPoint(point1), NkAuToPoint(point2), NkAuToPoint(point3));
        if (!plane.isValid()) throw kx::Velt::eInvalidInput;
        return copyIntoOwnBlock(target, VxGeMatrix3d::mirroring(plane), app, out);
    });
}

template <class Target>
HRESULT copyEntity(const Target& target, IDispatch* app, IDispatch** out)
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

template <class Target>
HRESULT arrayPolar(const Target& target, IDispatch* app, int count, double fillAngle, const VARIANT& center,
                   VARIANT* out)
{
    if (count < 1) return E_INVALIDARG;
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

template <class Target>
HRESULT arrayRectangular(const Target& target, IDispatch* app, int rows, int columns, int levels, double rowSpacing,
                         double columnSpacing, double levelSpacing, VARIANT* out)
{
    if (rows <= 0 || columns <= 0 || levels <= 0) return E_INVALIDARG;
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

template <class Target>
HRESULT intersectWith(const Target& target, IDispatch* other, VxExtendOption option, VARIANT* out)
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

template <class Target>
HRESULT getBoundingBox(const Target& target, VARIANT* minPoint, VARIANT* maxPoint)
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

template <class Target>
HRESULT highlight(const Target& target, VARIANT_BOOL on)
{
    return guarded(kEntityIid, [&] {
        Entity entity(target, kForRead);
        const VxDbEntity* e = entity.orThrow();
        check(on == VARIANT_TRUE ? e->highlight() : e->unhighlight());
        return S_OK;
    });
}

HRESULT update(const VxDbObjectId& id)
{
    return guarded(kEntityIid, [&] {
        kx::VxDbVdsName name;
        check(kx::vxdbGetVdsName(name, id));
        if (kx::vxdbEntUpd(name) != kx::kRtNorm) throw id.isErased() ? kx::Velt::eWasErased : kx::Velt::eWrongObjectType;
        kx::vxedUpdateDisplay();
        return S_OK;
    });
}

// ---- property pairs ----

template <class Target>
HRESULT getColor(const Target& target, VxColor* color)
{
    return readEntity(target, color, VxColor{}, [](const VxDbEntity& e) { return static_cast<VxColor>(e.colorIndex()); });
}

template <class Target>
HRESULT putColor(const Target& target, VxColor color)
{
    return changeEntity(target, [&](VxDbEntity& e) { return e.setColorIndex(narrow(color), true); });
}

template <class Target>
HRESULT getLayer(const Target& target, BSTR* layer)
{
    return readEntity(target, layer, BSTR{}, [](const VxDbEntity& e) { return newText(e.layer().c_str()); });
}

template <class Target>
HRESULT putLayer(const Target& target, BSTR layer)
{
    return changeEntity(target, [&](VxDbEntity& e) { return e.setLayer(textOf(layer), true, false); });
}

template <class Target>
HRESULT getLinetype(const Target& target, BSTR* linetype)
{
    return readEntity(target, linetype, BSTR{}, [](const VxDbEntity& e) { return newText(e.linetype().c_str()); });
}

template <class Target>
HRESULT putLinetype(const Target& target, BSTR linetype)
{
    return changeEntity(target, [&](VxDbEntity& e) { return e.setLinetype(textOf(linetype), true); });
}

template <class Target>
HRESULT getLinetypeScale(const Target& target, double* scale)
{
    return readEntity(target, scale, 0.0, [](const VxDbEntity& e) { return e.linetypeScale(); });
}

template <class Target>
HRESULT putLinetypeScale(const Target& target, double scale)
{
    return changeEntity(target, [&](VxDbEntity& e) { return e.setLinetypeScale(scale, true); });
}

template <class Target>
HRESULT getVisible(const Target& target, VARIANT_BOOL* visible)
{
    return readEntity(target, visible, VARIANT_FALSE, [](const VxDbEntity& e) {
        return e.visibility() == kx::VxDb::kVisible ? VARIANT_TRUE : VARIANT_FALSE;
    });
}

template <class Target>
HRESULT putVisible(const Target& target, VARIANT_BOOL visible)
{
    return changeEntity(target, [&](VxDbEntity& e) {
        return e.setVisibility(visible == VARIANT_TRUE ? kx::VxDb::kVisible : kx::VxDb::kInvisible, true);
    });
}

template <class Target>
HRESULT getLineWeight(const Target& target, VxLineWeight* weight)
{
    return readEntity(target, weight, VxLineWeight{}, [](const VxDbEntity& e) { return static_cast<VxLineWeight>(e.lineWeight()); });
}

template <class Target>
HRESULT putLineWeight(const Target& target, VxLineWeight weight)
{
    return changeEntity(target, [&](VxDbEntity& e) { return e.setLineWeight(static_cast<kx::VxDb::LineWeight>(narrow(weight)), true); });
}

template <class Target>
HRESULT getPlotStyleName(const Target& target, BSTR* name)
{
    return readEntity(target, name, BSTR{}, [](const VxDbEntity& e) { return newText(e.plotStyleName().c_str()); });
}

template <class Target>
HRESULT putPlotStyleName(const Target& target, BSTR name)
{
    return changeEntity(target, [&](VxDbEntity& e) { return setPlotStyle(e, textOf(name)); });
}

template <class Target>
HRESULT getEntityName(const Target& target, BSTR* name)
{
    return readEntity(target, name, BSTR{}, [](const VxDbEntity& e) { return newText(e.isA()->name()); });
}

template <class Target>
HRESULT getEntityType(const Target& target, LONG* type)
{
    return readEntity(target, type, LONG{}, [](const VxDbEntity& e) { return entityType(e); });
}

}  // namespace

HRESULT VxAxGetColor(const kx::VxDbObjectId& id, VxColor* color) { return getColor(id, color); }
HRESULT VxAxGetColor(VxAxObjectRef& ref, VxColor* color) { return getColor(ref, color); }
HRESULT VxAxPutColor(const kx::VxDbObjectId& id, VxColor color) { return putColor(id, color); }
HRESULT VxAxPutColor(VxAxObjectRef& ref, VxColor color) { return putColor(ref, color); }
HRESULT VxAxGetTrueColor(const kx::VxDbObjectId& id, IVeltVxCmColor** color) { return getTrueColor(id, color); }
HRESULT VxAxGetTrueColor(VxAxObjectRef& ref, IVeltVxCmColor** color) { return getTrueColor(ref, color); }
HRESULT VxAxPutTrueColor(const kx::VxDbObjectId& id, IVeltVxCmColor* color) { return putTrueColor(id, color); }
HRESULT VxAxPutTrueColor(VxAxObjectRef& ref, IVeltVxCmColor* color) { return putTrueColor(ref, color); }
HRESULT VxAxGetLayer(const kx::VxDbObjectId& id, BSTR* layer) { return getLayer(id, layer); }
HRESULT VxAxGetLayer(VxAxObjectRef& ref, BSTR* layer) { return getLayer(ref, layer); }
HRESULT VxAxPutLayer(const kx::VxDbObjectId& id, BSTR layer) { return putLayer(id, layer); }
HRESULT VxAxPutLayer(VxAxObjectRef& ref, BSTR layer) { return putLayer(ref, layer); }
HRESULT VxAxGetLinetype(const kx::VxDbObjectId& id, BSTR* linetype) { return getLinetype(id, linetype); }
HRESULT VxAxGetLinetype(VxAxObjectRef& ref, BSTR* linetype) { return getLinetype(ref, linetype); }
HRESULT VxAxPutLinetype(const kx::VxDbObjectId& id, BSTR linetype) { return putLinetype(id, linetype); }
HRESULT VxAxPutLinetype(VxAxObjectRef& ref, BSTR linetype) { return putLinetype(ref, linetype); }
HRESULT VxAxGetLinetypeScale(const kx::VxDbObjectId& id, double* scale) { return getLinetypeScale(id, scale); }
HRESULT VxAxGetLinetypeScale(VxAxObjectRef& ref, double* scale) { return getLinetypeScale(ref, scale); }
HRESULT VxAxPutLinetypeScale(const kx::VxDbObjectId& id, double scale) { return putLinetypeScale(id, scale); }
HRESULT VxAxPutLinetypeScale(VxAxObjectRef& ref, double scale) { return putLinetypeScale(ref, scale); }
HRESULT VxAxGetVisible(const kx::VxDbObjectId& id, VARIANT_BOOL* visible) { return getVisible(id, visible); }
HRESULT VxAxGetVisible(VxAxObjectRef& ref, VARIANT_BOOL* visible) { return getVisible(ref, visible); }
HRESULT VxAxPutVisible(const kx::VxDbObjectId& id, VARIANT_BOOL visible) { return putVisible(id, visible); }
HRESULT VxAxPutVisible(VxAxObjectRef& ref, VARIANT_BOOL visible) { return putVisible(ref, visible); }
HRESULT VxAxGetLineWeight(const kx::VxDbObjectId& id, VxLineWeight* weight) { return getLineWeight(id, weight); }
HRESULT VxAxGetLineWeight(VxAxObjectRef& ref, VxLineWeight* weight) { return getLineWeight(ref, weight); }
HRESULT VxAxPutLineWeight(const kx::VxDbObjectId& id, VxLineWeight weight) { return putLineWeight(id, weight); }
HRESULT VxAxPutLineWeight(VxAxObjectRef& ref, VxLineWeight weight) { return putLineWeight(ref, weight); }
HRESULT VxAxGetPlotStyleName(const kx::VxDbObjectId& id, BSTR* name) { return getPlotStyleName(id, name); }
HRESULT VxAxGetPlotStyleName(VxAxObjectRef& ref, BSTR* name) { return getPlotStyleName(ref, name); }
HRESULT VxAxPutPlotStyleName(const kx::VxDbObjectId& id, BSTR name) { return putPlotStyleName(id, name); }
HRESULT VxAxPutPlotStyleName(VxAxObjectRef& ref, BSTR name) { return putPlotStyleName(ref, name); }
HRESULT VxAxGetTransparency(const kx::VxDbObjectId& id, BSTR* value) { return getTransparency(id, value); }
HRESULT VxAxGetTransparency(VxAxObjectRef& ref, BSTR* value) { return getTransparency(ref.objectId(), value); }
HRESULT VxAxPutTransparency(const kx::VxDbObjectId& id, BSTR value) { return putTransparency(id, value); }
HRESULT VxAxPutTransparency(VxAxObjectRef& ref, BSTR value) { return putTransparency(ref.objectId(), value); }

HRESULT VxAxGetMaterial(VxAxObjectRef& ref, BSTR* material)
{
    return readEntity(ref, material, BSTR{}, [](const VxDbEntity& e) { return newText(e.material().c_str()); });
}
HRESULT VxAxPutMaterial(VxAxObjectRef& ref, BSTR material)
{
    return changeEntity(ref, [&](VxDbEntity& e) { return e.setMaterial(textOf(material), true); });
}

HRESULT VxAxGetHyperlinks(const kx::VxDbObjectId& id, IDispatch* app, IVeltHyperlinks** hyperlinks)
{
    if (!hyperlinks) return E_POINTER;
    *hyperlinks = nullptr;
    return guarded(kEntityIid, [&] {
        {
            Entity entity(id, kForRead);
            entity.orThrow();
        }
        return nk::makeHyperlinks(id, app, hyperlinks);
    });
}
HRESULT VxAxGetHyperlinks(VxAxObjectRef& ref, IDispatch* app, IVeltHyperlinks** hyperlinks)
{
    return VxAxGetHyperlinks(ref.objectId(), app, hyperlinks);
}

HRESULT VxAxGetEntityName(const kx::VxDbObjectId& id, BSTR* name) { return getEntityName(id, name); }
HRESULT VxAxGetEntityName(VxAxObjectRef& ref, BSTR* name) { return getEntityName(ref, name); }
HRESULT VxAxGetEntityType(const kx::VxDbObjectId& id, LONG* type) { return getEntityType(id, type); }
HRESULT VxAxGetEntityType(VxAxObjectRef& ref, LONG* type) { return getEntityType(ref, type); }

// ---- transformations ----

HRESULT VxAxMove(const kx::VxDbObjectId& id, VARIANT from, VARIANT to) { return moveEntity(id, from, to); }
HRESULT VxAxMove(VxAxObjectRef& ref, VARIANT from, VARIANT to) { return moveEntity(ref, from, to); }
HRESULT VxAxRotate(const kx::VxDbObjectId& id, VARIANT base, double angle) { return rotateEntity(id, base, angle); }
HRESULT VxAxRotate(VxAxObjectRef& ref, VARIANT base, double angle) { return rotateEntity(ref, base, angle); }
HRESULT VxAxRotate3D(const kx::VxDbObjectId& id, VARIANT p1, VARIANT p2, double angle) { return rotate3D(id, p1, p2, angle); }
HRESULT VxAxRotate3D(VxAxObjectRef& ref, VARIANT p1, VARIANT p2, double angle) { return rotate3D(ref, p1, p2, angle); }
HRESULT VxAxScaleEntity(const kx::VxDbObjectId& id, VARIANT base, double factor) { return scaleEntity(id, base, factor); }
HRESULT VxAxScaleEntity(VxAxObjectRef& ref, VARIANT base, double factor) { return scaleEntity(ref, base, factor); }
HRESULT VxAxTransformBy(const kx::VxDbObjectId& id, VARIANT matrix) { return transformBy(id, matrix); }
HRESULT VxAxTransformBy(VxAxObjectRef& ref, VARIANT matrix) { return transformBy(ref, matrix); }

// ---- copies ----

HRESULT VxAxMirror(const kx::VxDbObjectId& id, IDispatch* app, VARIANT p1, VARIANT p2, IDispatch** out)
{
    return mirror(id, app, p1, p2, out);
}
HRESULT VxAxMirror(VxAxObjectRef& ref, IDispatch* app, VARIANT p1, VARIANT p2, IDispatch** out)
{
    return mirror(ref, app, p1, p2, out);
}
HRESULT VxAxMirror3D(const kx::VxDbObjectId& id, IDispatch* app, VARIANT p1, VARIANT p2, VARIANT p3, IDispatch** out)
{
    return mirror3D(id, app, p1, p2, p3, out);
}
HRESULT VxAxMirror3D(VxAxObjectRef& ref, IDispatch* app, VARIANT p1, VARIANT p2, VARIANT p3, IDispatch** out)
{
    return mirror3D(ref, app, p1, p2, p3, out);
}
HRESULT VxAxCopy(const kx::VxDbObjectId& id, IDispatch* app, IDispatch** out) { return copyEntity(id, app, out); }
HRESULT VxAxCopy(VxAxObjectRef& ref, IDispatch* app, IDispatch** out) { return copyEntity(ref, app, out); }
HRESULT VxAxArrayPolar(const kx::VxDbObjectId& id, IDispatch* app, int count, double fillAngle, VARIANT center,
                       VARIANT* out)
{
    return arrayPolar(id, app, count, fillAngle, center, out);
}
HRESULT VxAxArrayPolar(VxAxObjectRef& ref, IDispatch* app, int count, double fillAngle, VARIANT center, VARIANT* out)
{
    return arrayPolar(ref, app, count, fillAngle, center, out);
}
HRESULT VxAxArrayRectangular(const kx::VxDbObjectId& id, IDispatch* app, int rows, int columns, int levels,
                             double rowSpacing, double columnSpacing, double levelSpacing, VARIANT* out)
{
    return arrayRectangular(id, app, rows, columns, levels, rowSpacing, columnSpacing, levelSpacing, out);
}
HRESULT VxAxArrayRectangular(VxAxObjectRef& ref, IDispatch* app, int rows, int columns, int levels, double rowSpacing,
                             double columnSpacing, double levelSpacing, VARIANT* out)
{
    return arrayRectangular(ref, app, rows, columns, levels, rowSpacing, columnSpacing, levelSpacing, out);
}

// ---- queries and display ----

HRESULT VxAxIntersectWith(const kx::VxDbObjectId& id, IDispatch* other, VxExtendOption option, VARIANT* points)
{
    return intersectWith(id, other, option, points);
}
HRESULT VxAxIntersectWith(VxAxObjectRef& ref, IDispatch* other, VxExtendOption option, VARIANT* points)
{
    return intersectWith(ref, other, option, points);
}
HRESULT VxAxGetBoundingBox(const kx::VxDbObjectId& id, VARIANT* minPoint, VARIANT* maxPoint)
{
    return getBoundingBox(id, minPoint, maxPoint);
}
HRESULT VxAxGetBoundingBox(VxAxObjectRef& ref, VARIANT* minPoint, VARIANT* maxPoint)
{
    return getBoundingBox(ref, minPoint, maxPoint);
}
HRESULT VxAxHighlight(const kx::VxDbObjectId& id, VARIANT_BOOL on) { return highlight(id, on); }
HRESULT VxAxHighlight(VxAxObjectRef& ref, VARIANT_BOOL on) { return highlight(ref, on); }
HRESULT VxAxUpdate(const kx::VxDbObjectId& id) { return update(id); }
HRESULT VxAxUpdate(VxAxObjectRef& ref) { return update(ref.objectId()); }
