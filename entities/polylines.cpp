// The polylines' members that are more than one value of their object: the vertex lists,
// the per-vertex members whose index is taken as given, and explode. The plain members are
// declared in entities/polylines.members.
#include <cmath>
#include <memory>
#include <vector>

#include "containers/append.h"
#include "core/object_change.h"
#include "members_gen.h"

namespace nk::polylines {
namespace {

using LwAccess = OwnAccess<IVeltLWPolyline, kx::VxDbPolyline>;

// Pairs of finite doubles; anything else is refused before the polyline is touched. A plain
// vector of doubles is read in one access; any other form goes through the conversion,
// which answers its own errors.
std::vector<kx::VxGePoint2d> finitePairs(const VARIANT& v)
{
    std::vector<kx::VxGePoint2d> points;
    SAFEARRAY* sa = V_VT(&v) == (VT_ARRAY | VT_R8) ? V_ARRAY(&v) : nullptr;
    LONG lower = 0, upper = -1;
    VARTYPE vt = VT_EMPTY;
    const long long count = sa && SUCCEEDED(SafeArrayGetLBound(sa, 1, &lower)) &&
                                    SUCCEEDED(SafeArrayGetUBound(sa, 1, &upper))
                                ? static_cast<long long>(upper) - lower + 1
                                : -1;
    if (sa && SafeArrayGetDim(sa) == 1 && SafeArrayGetElemsize(sa) == sizeof(double) &&
        SUCCEEDED(SafeArrayGetVartype(sa, &vt)) && vt == VT_R8 && count >= 0 && count % 2 == 0) {
        points.resize(size_t(count / 2));
        double* data = nullptr;
        if (count > 0 && FAILED(SafeArrayAccessData(sa, reinterpret_cast<void**>(&data)))) throw E_INVALIDARG;
        for (size_t i = 0; i < points.size(); ++i) points[i] = kx::VxGePoint2d{data[2 * i], data[2 * i + 1]};
        if (count > 0) SafeArrayUnaccessData(sa);
    } else {
        VxAxPoint2dArray array;
        array.append(v);
        points.assign(array.begin(), array.end());
    }
    for (const kx::VxGePoint2d& p : points)
        if (!std::isfinite(p.x) || !std::isfinite(p.y)) throw E_INVALIDARG;
    return points;
}

kx::VxGePoint2d finitePoint(const VARIANT& v)
{
    const kx::VxGePoint2d p = conv::Point2::in(v);
    if (!std::isfinite(p.x) || !std::isfinite(p.y)) throw E_INVALIDARG;
    return p;
}

// The change's own status is ignored where it does not check it: indices are taken as given.
template <class Change>
HRESULT change(VxAxObjectRef& ref, Change&& change)
{
    return changeObject<kx::VxDbPolyline>(ref, __uuidof(IVeltLWPolyline), std::forward<Change>(change));
}

template <class Read>
HRESULT read(VxAxObjectRef& ref, Read&& read)
{
    return readObject<kx::VxDbPolyline>(ref, __uuidof(IVeltLWPolyline), std::forward<Read>(read));
}

}  // namespace

HRESULT coordinates(VxAxObjectRef& ref, VARIANT* coordinates)
{
    if (!coordinates) return E_POINTER;
    return guarded(__uuidof(IVeltLWPolyline), [&]() -> HRESULT {
        OpenedObject<kx::VxDbPolyline> polyline(ref, kx::VxDb::kForRead);
        if (!polyline.isOpen()) return S_OK;
        // Filled in one access: a long polyline's list is the common case.
        const int n = polyline->numVerts();
        SAFEARRAY* sa = SafeArrayCreateVector(VT_R8, 0, ULONG(2 * n));
        if (!sa) throw E_OUTOFMEMORY;
        double* data = nullptr;
        if (n > 0 && FAILED(SafeArrayAccessData(sa, reinterpret_cast<void**>(&data)))) {
            SafeArrayDestroy(sa);
            throw E_OUTOFMEMORY;
        }
        kx::VxGePoint2d p;
        for (int i = 0; i < n; ++i) {
            polyline->getPointAt(i, p);
            data[2 * i] = p.x;
            data[2 * i + 1] = p.y;
        }
        if (n > 0) SafeArrayUnaccessData(sa);
        V_VT(coordinates) = VT_ARRAY | VT_R8;
        V_ARRAY(coordinates) = sa;
        return S_OK;
    });
}

// Kept vertices move and keep their bulges and widths; new ones come plain; the list
// shortens from the end.
HRESULT setCoordinates(VxAxObjectRef& ref, VARIANT coordinates)
{
    return guarded(__uuidof(IVeltLWPolyline), [&]() -> HRESULT {
        const std::vector<kx::VxGePoint2d> points = finitePairs(coordinates);
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<kx::VxDbPolyline> polyline(ref, kx::VxDb::kForWrite);
        if (!polyline.isOpen()) return S_OK;
        const int n = polyline->numVerts();
        const int m = static_cast<int>(points.size());
        for (int i = 0; i < m && i < n; ++i)
            check(polyline->setPointAt(i, points[size_t(i)]));
        for (int i = n; i < m; ++i)
            check(polyline->addVertexAt(i, points[size_t(i)], 0.0, -1.0, -1.0, 0));
        while (polyline->numVerts() > m)
            check(polyline->removeVertexAt(m));
        return S_OK;
    });
}

HRESULT coordinate(VxAxObjectRef& ref, int index, VARIANT* point)
{
    if (!point) return E_POINTER;
    return guarded(__uuidof(IVeltLWPolyline), [&]() -> HRESULT {
        OpenedObject<kx::VxDbPolyline> polyline(ref, kx::VxDb::kForRead);
        if (!polyline.isOpen()) return S_OK;
        kx::VxGePoint2d p{0.0, 0.0};
        polyline->getPointAt(index, p);
        VARIANT made;
        VariantInit(&made);
        conv::Point2::out(p, &made);
        *point = made;
        return S_OK;
    });
}

HRESULT setCoordinate(VxAxObjectRef& ref, int index, VARIANT point)
{
    kx::VxGePoint2d p;
    if (HRESULT hr = guarded(__uuidof(IVeltLWPolyline), [&] { p = finitePoint(point); return S_OK; }); FAILED(hr))
        return hr;
    return change(ref, [&](kx::VxDbPolyline& polyline) { polyline.setPointAt(index, p); });
}

HRESULT addVertex(VxAxObjectRef& ref, int index, VARIANT vertex)
{
    kx::VxGePoint2d p;
    if (HRESULT hr = guarded(__uuidof(IVeltLWPolyline), [&] { p = finitePoint(vertex); return S_OK; }); FAILED(hr))
        return hr;
    return change(ref, [&](kx::VxDbPolyline& polyline) { polyline.addVertexAt(index, p, 0.0, -1.0, -1.0, 0); });
}

HRESULT bulge(VxAxObjectRef& ref, int index, double* bulge)
{
    if (!bulge) return E_POINTER;
    *bulge = 0.0;
    return read(ref, [&](const kx::VxDbPolyline& polyline) { polyline.getBulgeAt(index, *bulge); });
}

HRESULT setBulge(VxAxObjectRef& ref, int index, double bulge)
{
    return change(ref, [&](kx::VxDbPolyline& polyline) { polyline.setBulgeAt(index, bulge); });
}

HRESULT widths(VxAxObjectRef& ref, int index, double* startWidth, double* endWidth)
{
    if (!startWidth || !endWidth) return E_POINTER;
    *startWidth = *endWidth = 0.0;
    return read(ref, [&](const kx::VxDbPolyline& polyline) { polyline.getWidthsAt(index, *startWidth, *endWidth); });
}

HRESULT setWidths(VxAxObjectRef& ref, int index, double startWidth, double endWidth)
{
    return change(ref, [&](kx::VxDbPolyline& polyline) { polyline.setWidthsAt(index, startWidth, endWidth); });
}

// The pieces go beside the polyline, into its block, which stays; their wrappers come back
// as a VARIANT array of IDispatch.
HRESULT explode(VxAxObjectRef& ref, IDispatch* app, VARIANT* entities)
{
    if (!entities) return E_POINTER;
    VariantInit(entities);
    return guarded(__uuidof(IVeltEntity), [&]() -> HRESULT {
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        std::vector<NewEntity> made;
        kx::VxDbObjectId owner;
        {
            OpenedObject<kx::VxDbEntity> entity(ref, kx::VxDb::kForRead);
            if (!entity.isOpen()) return E_POINTER;
            if (!entity->isResident()) throw kx::Velt::eNotInDatabase;
            std::vector<kx::VxDbEntity*> raw;
            const kx::Velt::ErrorStatus es = entity->explode(raw);
            for (kx::VxDbEntity* e : raw) made.emplace_back(e);
            check(es);
            owner = entity->ownerId();
        }
        return appendWithWrappers(owner, std::move(made), app, entities);
    });
}

// ---- 2D polyline ----

namespace {

template <class Change>
HRESULT change2d(VxAxObjectRef& ref, Change&& change)
{
    return changeObject<kx::VxDb2dPolyline>(ref, __uuidof(IVeltPolyline), std::forward<Change>(change));
}

template <class Read>
HRESULT read2d(VxAxObjectRef& ref, Read&& read)
{
    return readObject<kx::VxDb2dPolyline>(ref, __uuidof(IVeltPolyline), std::forward<Read>(read));
}

kx::VxGePoint3d finitePoint3(const VARIANT& v)
{
    const kx::VxGePoint3d p = conv::Point::in(v);
    if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) throw E_INVALIDARG;
    return p;
}

// The vertices a user gave, as the vertex iterator walks them: fitted ones are left out.
std::vector<kx::VxGePoint3d> givenVertices(const kx::VxDb2dPolyline& polyline)
{
    std::vector<kx::VxGePoint3d> points;
    for (auto it = polyline.vertexIterator(); !it->done(); it->step()) {
        const auto* vertex = kx::VxDb2dVertex::cast(it->vertex());
        if (vertex && vertex->vertexType() < kx::VxDb::k2dSplineFitVertex) points.push_back(vertex->position());
    }
    return points;
}

}  // namespace

HRESULT coordinates2d(VxAxObjectRef& ref, VARIANT* coordinates)
{
    if (!coordinates) return E_POINTER;
    return read2d(ref, [&](const kx::VxDb2dPolyline& polyline) {
        VARIANT made;
        VariantInit(&made);
        conv::Points::out(givenVertices(polyline), &made);
        *coordinates = made;
    });
}

// x and y of each triple place a vertex in the polyline's plane; its elevation stays. Kept
// vertices keep their bulges and widths, new ones come plain, the list shortens from the end.
HRESULT setCoordinates2d(VxAxObjectRef& ref, VARIANT coordinates)
{
    std::vector<kx::VxGePoint2d> points;
    if (HRESULT hr = guarded(__uuidof(IVeltPolyline), [&] {
            for (const kx::VxGePoint3d& p : conv::Points::in(coordinates)) {
                if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) throw E_INVALIDARG;
                points.push_back({p.x, p.y});
            }
            return S_OK;
        });
        FAILED(hr))
        return hr;
    return change2d(ref, [&](kx::VxDb2dPolyline& polyline) { check(polyline.setControlPoints(points)); });
}

HRESULT coordinate2d(VxAxObjectRef& ref, int index, VARIANT* point)
{
    if (!point) return E_POINTER;
    return read2d(ref, [&](const kx::VxDb2dPolyline& polyline) {
        const std::vector<kx::VxGePoint3d> points = givenVertices(polyline);
        if (index < 0 || size_t(index) >= points.size()) throw kx::Velt::eInvalidIndex;
        VARIANT made;
        VariantInit(&made);
        conv::Point::out(points[size_t(index)], &made);
        *point = made;
    });
}

HRESULT setCoordinate2d(VxAxObjectRef& ref, int index, VARIANT point)
{
    kx::VxGePoint3d p;
    if (HRESULT hr = guarded(__uuidof(IVeltPolyline), [&] { p = finitePoint3(point); return S_OK; }); FAILED(hr))
        return hr;
    return change2d(ref, [&](kx::VxDb2dPolyline& polyline) { check(polyline.setControlPointAt(index, {p.x, p.y})); });
}

// A new plain vertex after the last one the user gave; the fit follows.
HRESULT appendVertex2d(VxAxObjectRef& ref, VARIANT vertex)
{
    kx::VxGePoint3d p;
    if (HRESULT hr = guarded(__uuidof(IVeltPolyline), [&] { p = finitePoint3(vertex); return S_OK; }); FAILED(hr))
        return hr;
    return change2d(ref, [&](kx::VxDb2dPolyline& polyline) {
        check(polyline.appendVertex(std::make_unique<kx::VxDb2dVertex>(p, 0.0, polyline.defaultStartWidth(),
                                                                       polyline.defaultEndWidth())));
    });
}

HRESULT bulge2d(VxAxObjectRef& ref, int index, double* bulge)
{
    if (!bulge) return E_POINTER;
    *bulge = 0.0;
    return read2d(ref, [&](const kx::VxDb2dPolyline& polyline) { polyline.getBulgeAt(index, *bulge); });
}

HRESULT setBulge2d(VxAxObjectRef& ref, int index, double bulge)
{
    return change2d(ref, [&](kx::VxDb2dPolyline& polyline) { polyline.setBulgeAt(index, bulge); });
}

HRESULT widths2d(VxAxObjectRef& ref, int index, double* startWidth, double* endWidth)
{
    if (!startWidth || !endWidth) return E_POINTER;
    *startWidth = *endWidth = 0.0;
    return read2d(ref,
                  [&](const kx::VxDb2dPolyline& polyline) { polyline.getWidthsAt(index, *startWidth, *endWidth); });
}

HRESULT setWidths2d(VxAxObjectRef& ref, int index, double startWidth, double endWidth)
{
    return change2d(ref, [&](kx::VxDb2dPolyline& polyline) { polyline.setWidthsAt(index, startWidth, endWidth); });
}

HRESULT type2d(VxAxObjectRef& ref, VxPolylineType* type)
{
    if (!type) return E_POINTER;
    return read2d(ref, [&](const kx::VxDb2dPolyline& polyline) { *type = VxPolylineType(polyline.polyType()); });
}

HRESULT setType2d(VxAxObjectRef& ref, VxPolylineType type)
{
    return change2d(ref, [&](kx::VxDb2dPolyline& polyline) {
        polyline.setPolyType(kx::VxDb::Poly2dType(type));
        polyline.convertToPolyType(kx::VxDb::Poly2dType(type));
    });
}

// ---- 3D polyline ----

namespace {

template <class Change>
HRESULT change3d(VxAxObjectRef& ref, Change&& change)
{
    return changeObject<kx::VxDb3dPolyline>(ref, __uuidof(IVelt3DPolyline), std::forward<Change>(change));
}

template <class Read>
HRESULT read3d(VxAxObjectRef& ref, Read&& read)
{
    return readObject<kx::VxDb3dPolyline>(ref, __uuidof(IVelt3DPolyline), std::forward<Read>(read));
}

}  // namespace

HRESULT coordinates3d(VxAxObjectRef& ref, VARIANT* coordinates)
{
    if (!coordinates) return E_POINTER;
    return read3d(ref, [&](const kx::VxDb3dPolyline& polyline) {
        VARIANT made;
        VariantInit(&made);
        conv::Points::out(polyline.controlPoints(), &made);
        *coordinates = made;
    });
}

HRESULT setCoordinates3d(VxAxObjectRef& ref, VARIANT coordinates)
{
    std::vector<kx::VxGePoint3d> points;
    if (HRESULT hr = guarded(__uuidof(IVelt3DPolyline), [&] {
            points = conv::Points::in(coordinates);
            for (const kx::VxGePoint3d& p : points)
                if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) throw E_INVALIDARG;
            return S_OK;
        });
        FAILED(hr))
        return hr;
    return change3d(ref, [&](kx::VxDb3dPolyline& polyline) { check(polyline.setControlPoints(points)); });
}

HRESULT coordinate3d(VxAxObjectRef& ref, int index, VARIANT* point)
{
    if (!point) return E_POINTER;
    return read3d(ref, [&](const kx::VxDb3dPolyline& polyline) {
        const std::vector<kx::VxGePoint3d> points = polyline.controlPoints();
        if (index < 0 || size_t(index) >= points.size()) throw kx::Velt::eInvalidIndex;
        VARIANT made;
        VariantInit(&made);
        conv::Point::out(points[size_t(index)], &made);
        *point = made;
    });
}

HRESULT setCoordinate3d(VxAxObjectRef& ref, int index, VARIANT point)
{
    kx::VxGePoint3d p;
    if (HRESULT hr = guarded(__uuidof(IVelt3DPolyline), [&] { p = finitePoint3(point); return S_OK; }); FAILED(hr))
        return hr;
    return change3d(ref, [&](kx::VxDb3dPolyline& polyline) { check(polyline.setControlPointAt(index, p)); });
}

HRESULT appendVertex3d(VxAxObjectRef& ref, VARIANT vertex)
{
    kx::VxGePoint3d p;
    if (HRESULT hr = guarded(__uuidof(IVelt3DPolyline), [&] { p = finitePoint3(vertex); return S_OK; }); FAILED(hr))
        return hr;
    return change3d(ref, [&](kx::VxDb3dPolyline& polyline) {
        check(polyline.appendVertex(std::make_unique<kx::VxDb3dPolylineVertex>(p)));
    });
}

HRESULT type3d(VxAxObjectRef& ref, Vx3DPolylineType* type)
{
    if (!type) return E_POINTER;
    return read3d(ref, [&](const kx::VxDb3dPolyline& polyline) { *type = Vx3DPolylineType(polyline.polyType()); });
}

// As the 2D polyline's: the type is recorded and performed, the statuses ignored.
HRESULT setType3d(VxAxObjectRef& ref, Vx3DPolylineType type)
{
    return change3d(ref, [&](kx::VxDb3dPolyline& polyline) {
        polyline.setPolyType(kx::VxDb::Poly3dType(type));
        polyline.convertToPolyType(kx::VxDb::Poly3dType(type));
    });
}

// ---- meshes ----

namespace {

std::vector<kx::VxGePoint3d> finitePoints(const VARIANT& v)
{
    std::vector<kx::VxGePoint3d> points = conv::Points::in(v);
    for (const kx::VxGePoint3d& p : points)
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) throw E_INVALIDARG;
    return points;
}

void pointsOut(const std::vector<kx::VxGePoint3d>& points, VARIANT* out)
{
    VARIANT made;
    VariantInit(&made);
    conv::Points::out(points, &made);
    *out = made;
}

void pointOut(const std::vector<kx::VxGePoint3d>& points, int index, VARIANT* out)
{
    if (index < 0 || size_t(index) >= points.size()) throw kx::Velt::eInvalidIndex;
    VARIANT made;
    VariantInit(&made);
    conv::Point::out(points[size_t(index)], &made);
    *out = made;
}

using PolygonMesh = kx::VxDbPolygonMesh;
using FaceMesh = kx::VxDbPolyFaceMesh;

}  // namespace

HRESULT meshCoordinates(VxAxObjectRef& ref, VARIANT* coordinates)
{
    if (!coordinates) return E_POINTER;
    return readObject<PolygonMesh>(ref, __uuidof(IVeltPolygonMesh),
                                 [&](const PolygonMesh& mesh) { pointsOut(mesh.controlPoints(), coordinates); });
}

HRESULT setMeshCoordinates(VxAxObjectRef& ref, VARIANT coordinates)
{
    std::vector<kx::VxGePoint3d> points;
    if (HRESULT hr = guarded(__uuidof(IVeltPolygonMesh), [&] { points = finitePoints(coordinates); return S_OK; });
        FAILED(hr))
        return hr;
    return changeObject<PolygonMesh>(ref, __uuidof(IVeltPolygonMesh),
                                   [&](PolygonMesh& mesh) { check(mesh.setControlPoints(points)); });
}

// A row of N points makes the grid one row longer; anything else is the host's invalid input.
HRESULT appendMeshRow(VxAxObjectRef& ref, VARIANT row)
{
    std::vector<kx::VxGePoint3d> points;
    if (HRESULT hr = guarded(__uuidof(IVeltPolygonMesh), [&] { points = finitePoints(row); return S_OK; }); FAILED(hr))
        return hr;
    return changeObject<PolygonMesh>(ref, __uuidof(IVeltPolygonMesh),
                                   [&](PolygonMesh& mesh) { check(mesh.appendRow(points)); });
}

HRESULT meshCoordinate(VxAxObjectRef& ref, int index, VARIANT* point)
{
    if (!point) return E_POINTER;
    return readObject<PolygonMesh>(ref, __uuidof(IVeltPolygonMesh),
                                 [&](const PolygonMesh& mesh) { pointOut(mesh.controlPoints(), index, point); });
}

HRESULT setMeshCoordinate(VxAxObjectRef& ref, int index, VARIANT point)
{
    kx::VxGePoint3d p;
    if (HRESULT hr = guarded(__uuidof(IVeltPolygonMesh), [&] { p = finitePoint3(point); return S_OK; }); FAILED(hr))
        return hr;
    return changeObject<PolygonMesh>(ref, __uuidof(IVeltPolygonMesh),
                                   [&](PolygonMesh& mesh) { check(mesh.setControlPointAt(index, p)); });
}

HRESULT meshType(VxAxObjectRef& ref, VxPolymeshType* type)
{
    if (!type) return E_POINTER;
    return readObject<PolygonMesh>(ref, __uuidof(IVeltPolygonMesh),
                                 [&](const PolygonMesh& mesh) { *type = VxPolymeshType(mesh.polyMeshType()); });
}

// Records and performs the smoothing, as the polylines' Type does; a type the host has not
// changes nothing.
HRESULT setMeshType(VxAxObjectRef& ref, VxPolymeshType type)
{
    return changeObject<PolygonMesh>(ref, __uuidof(IVeltPolygonMesh), [&](PolygonMesh& mesh) {
        mesh.convertToPolyMeshType(kx::VxDb::PolyMeshType(type));
    });
}

HRESULT faceMeshCoordinates(VxAxObjectRef& ref, VARIANT* coordinates)
{
    if (!coordinates) return E_POINTER;
    return readObject<FaceMesh>(ref, __uuidof(IVeltPolyfaceMesh),
                              [&](const FaceMesh& mesh) { pointsOut(mesh.vertexPositions(), coordinates); });
}

HRESULT setFaceMeshCoordinates(VxAxObjectRef& ref, VARIANT coordinates)
{
    std::vector<kx::VxGePoint3d> points;
    if (HRESULT hr = guarded(__uuidof(IVeltPolyfaceMesh), [&] { points = finitePoints(coordinates); return S_OK; });
        FAILED(hr))
        return hr;
    return changeObject<FaceMesh>(ref, __uuidof(IVeltPolyfaceMesh),
                                [&](FaceMesh& mesh) { check(mesh.setVertexPositions(points)); });
}

HRESULT faceMeshCoordinate(VxAxObjectRef& ref, int index, VARIANT* point)
{
    if (!point) return E_POINTER;
    return readObject<FaceMesh>(ref, __uuidof(IVeltPolyfaceMesh),
                              [&](const FaceMesh& mesh) { pointOut(mesh.vertexPositions(), index, point); });
}

HRESULT setFaceMeshCoordinate(VxAxObjectRef& ref, int index, VARIANT point)
{
    kx::VxGePoint3d p;
    if (HRESULT hr = guarded(__uuidof(IVeltPolyfaceMesh), [&] { p = finitePoint3(point); return S_OK; }); FAILED(hr))
        return hr;
    return changeObject<FaceMesh>(ref, __uuidof(IVeltPolyfaceMesh),
                                [&](FaceMesh& mesh) { check(mesh.setVertexPositionAt(index, p)); });
}

// Four 16-bit vertex numbers a face, as the mesh keeps them.
HRESULT faces(VxAxObjectRef& ref, VARIANT* faces)
{
    if (!faces) return E_POINTER;
    return readObject<FaceMesh>(ref, __uuidof(IVeltPolyfaceMesh), [&](const FaceMesh& mesh) {
        const std::vector<int16_t> numbers = mesh.faceNumbers();
        SAFEARRAY* sa = SafeArrayCreateVector(VT_I2, 0, ULONG(numbers.size()));
        if (!sa) throw E_OUTOFMEMORY;
        for (LONG i = 0; i < LONG(numbers.size()); ++i) {
            short value = numbers[size_t(i)];
            SafeArrayPutElement(sa, &i, &value);
        }
        V_VT(faces) = VT_ARRAY | VT_I2;
        V_ARRAY(faces) = sa;
    });
}

}  // namespace nk::polylines
