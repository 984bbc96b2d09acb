// The Add methods of a block: each converts its arguments (a malformed one ends the call with
// its conversion's code, before anything is locked), then makes the entity in the block
// through the common append routine: the database's defaults first, then the arguments.
// Values the host refuses are the caller's: E_INVALIDARG, and nothing is added.
#include <cstdint>
#include <cmath>
#include <initializer_list>
#include <memory>
#include <type_traits>
#include <vector>

#include "containers/append.h"
#include "db/entities.h"
#include "db/hatch.h"
#include "db/polylines.h"
#include "db/symtables.h"
#include "db/texts.h"
#include "db/viewport.h"
#include "members_gen.h"
#include "rx/rxobject.h"

namespace nk::blocks {
namespace {

using kx::VxDbBlockTableRecord;
using kx::VxGePoint3d;
using kx::VxGeVector3d;

// Converts the arguments after the output was checked and cleared.
template <class Out, class Convert>
HRESULT takeArguments(Out** out, Convert&& convert)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(__uuidof(IVeltBlock), [&] {
        convert();
        return S_OK;
    });
}

// A new entity of the kind with the defaults of the block's database.
template <class T>
std::unique_ptr<T> newEntity(VxDbBlockTableRecord& block)
{
    auto made = std::make_unique<T>();
    check(made->setDatabaseDefaults(block.database()));
    return made;
}

// An argument the host refuses.
void accept(kx::Velt::ErrorStatus status)
{
    if (status != kx::Velt::eOk) throw E_INVALIDARG;
}

// The plane of a new ellipse holds its major axis and is the nearest such plane to the
// block's own: the block's normal with its part along the axis taken away.
VxGeVector3d ellipseNormal(const VxDbBlockTableRecord& block, const VxGeVector3d& majorAxis)
{
    const VxGeVector3d normal = blockNormal(block);
    if (majorAxis.isZeroLength()) return normal;
    const VxGeVector3d axis = majorAxis.normal();
    const VxGeVector3d inPlane = normal - axis * normal.dotProduct(axis);
    return inPlane.isZeroLength() ? axis.perpVector() : inPlane.normal();
}

}  // namespace

HRESULT addLine(VxAxObjectRef& block, IDispatch* app, VARIANT StartPoint, VARIANT EndPoint, IVeltLine** line)
{
    VxGePoint3d from, to;
    if (HRESULT hr = takeArguments(line, [&] {
            from = conv::Point::in(StartPoint);
            to = conv::Point::in(EndPoint);
        });
        FAILED(hr))
        return hr;
    return appendEntity(block, app, line, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbLine>(record);
        accept(made->setStartPoint(from));
        accept(made->setEndPoint(to));
        return NewEntity(std::move(made));
    });
}

HRESULT addCircle(VxAxObjectRef& block, IDispatch* app, VARIANT Center, double Radius, IVeltCircle** circle)
{
    VxGePoint3d center;
    if (HRESULT hr = takeArguments(circle, [&] { center = conv::Point::in(Center); }); FAILED(hr)) return hr;
    return appendEntity(block, app, circle, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbCircle>(record);
        accept(made->setCenter(center));
        accept(made->setRadius(Radius));
        check(made->setNormal(blockNormal(record)));
        return NewEntity(std::move(made));
    });
}

HRESULT addArc(VxAxObjectRef& block, IDispatch* app, VARIANT Center, double Radius, VELT_ANGLE StartAngle,
               VELT_ANGLE EndAngle, IVeltArc** arc)
{
    VxGePoint3d center;
    if (HRESULT hr = takeArguments(arc, [&] { center = conv::Point::in(Center); }); FAILED(hr)) return hr;
    return appendEntity(block, app, arc, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbArc>(record);
        accept(made->setCenter(center));
        accept(made->setRadius(Radius));
        accept(made->setStartAngle(StartAngle));
        accept(made->setEndAngle(EndAngle));
        check(made->setNormal(blockNormal(record)));
        return NewEntity(std::move(made));
    });
}

HRESULT addEllipse(VxAxObjectRef& block, IDispatch* app, VARIANT Center, VARIANT MajorAxis, double RadiusRatio,
                   IVeltEllipse** ellipse)
{
    VxGePoint3d center;
    VxGeVector3d axis;
    if (HRESULT hr = takeArguments(ellipse, [&] {
            center = conv::Point::in(Center);
            axis = conv::Vector::in(MajorAxis);
        });
        FAILED(hr))
        return hr;
    return appendEntity(block, app, ellipse, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbEllipse>(record);
        accept(made->set(center, ellipseNormal(record, axis), axis, RadiusRatio));
        return NewEntity(std::move(made));
    });
}

HRESULT addPoint(VxAxObjectRef& block, IDispatch* app, VARIANT Point, IVeltPoint** point)
{
    VxGePoint3d position;
    if (HRESULT hr = takeArguments(point, [&] { position = conv::Point::in(Point); }); FAILED(hr)) return hr;
    return appendEntity(block, app, point, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbPoint>(record);
        accept(made->setPosition(position));
        return NewEntity(std::move(made));
    });
}

namespace {

// Rays and construction lines: from the first point through the second.
template <class T, class Out>
HRESULT addLinear(VxAxObjectRef& block, IDispatch* app, const VARIANT& point1, const VARIANT& point2, Out** out)
{
    VxGePoint3d base, through;
    if (HRESULT hr = takeArguments(out, [&] {
            base = conv::Point::in(point1);
            through = conv::Point::in(point2);
        });
        FAILED(hr))
        return hr;
    return appendEntity(block, app, out, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<T>(record);
        accept(made->setBasePoint(base));
        // The unit direction towards the second point, which reads back as given; the same
        // point twice is refused.
        accept(made->setSecondPoint(through));
        return NewEntity(std::move(made));
    });
}

}  // namespace

HRESULT addRay(VxAxObjectRef& block, IDispatch* app, VARIANT Point1, VARIANT Point2, IVeltRay** ray)
{
    return addLinear<kx::VxDbRay>(block, app, Point1, Point2, ray);
}

HRESULT addXline(VxAxObjectRef& block, IDispatch* app, VARIANT Point1, VARIANT Point2, IVeltXline** xline)
{
    return addLinear<kx::VxDbXline>(block, app, Point1, Point2, xline);
}

namespace {

// Faces and solids: four corners, each a point of its own.
template <class T, class Out>
HRESULT addFourCorners(VxAxObjectRef& block, IDispatch* app, std::initializer_list<const VARIANT*> points, Out** out)
{
    std::vector<VxGePoint3d> corners;
    if (HRESULT hr = takeArguments(out, [&] {
            for (const VARIANT* p : points) corners.push_back(conv::Point::in(*p));
        });
        FAILED(hr))
        return hr;
    return appendEntity(block, app, out, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<T>(record);
        if constexpr (std::is_same_v<T, kx::VxDbFace>)
            accept(made->setVertices(corners));
        else
            accept(made->setPoints(corners));
        return NewEntity(std::move(made));
    });
}

}  // namespace

HRESULT add3DFace(VxAxObjectRef& block, IDispatch* app, VARIANT Point1, VARIANT Point2, VARIANT point3,
                  VARIANT Point4, IVelt3DFace** face)
{
    return addFourCorners<kx::VxDbFace>(block, app, {&Point1, &Point2, &point3, &Point4}, face);
}

HRESULT addSolid(VxAxObjectRef& block, IDispatch* app, VARIANT Point1, VARIANT Point2, VARIANT point3, VARIANT Point4,
                 IVeltSolid** solid)
{
    return addFourCorners<kx::VxDbSolid>(block, app, {&Point1, &Point2, &point3, &Point4}, solid);
}

// Four corners, as one flat array of twelve doubles; any other count is refused.
HRESULT addTrace(VxAxObjectRef& block, IDispatch* app, VARIANT PointsArray, IVeltTrace** trace)
{
    std::vector<VxGePoint3d> corners;
    if (HRESULT hr = takeArguments(trace, [&] { corners = conv::Points::in(PointsArray); }); FAILED(hr)) return hr;
    if (corners.size() != 4) return E_INVALIDARG;
    return appendEntity(block, app, trace, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbTrace>(record);
        accept(made->setPoints(corners));
        check(made->setNormal(blockNormal(record)));
        return NewEntity(std::move(made));
    });
}

// Vertices as one flat array of x, y pairs: at least two, else E_INVALIDARG; each plain
// (bulge 0, no widths of its own).
HRESULT addLightWeightPolyline(VxAxObjectRef& block, IDispatch* app, VARIANT VerticesList,
                               IVeltLWPolyline** polyline)
{
    std::vector<kx::VxGePoint2d> vertices;
    if (HRESULT hr = takeArguments(polyline, [&] {
            VxAxPoint2dArray array;
            array.append(VerticesList);
            vertices.assign(array.begin(), array.end());
        });
        FAILED(hr))
        return hr;
    if (vertices.size() < 2) return E_INVALIDARG;
    return appendEntity(block, app, polyline, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbPolyline>(record);
        for (size_t i = 0; i < vertices.size(); ++i)
            accept(made->addVertexAt(int(i), vertices[i], 0.0, -1.0, -1.0, 0));
        return NewEntity(std::move(made));
    });
}

// Vertices as one flat array of x, y, z triples: at least two, else E_INVALIDARG. They are
// points of the polyline's plane (the block's normal): x and y place each vertex, the first
// one's z is the elevation.
HRESULT addPolyline(VxAxObjectRef& block, IDispatch* app, VARIANT VerticesList, IVeltPolyline** polyline)
{
    std::vector<VxGePoint3d> vertices;
    if (HRESULT hr = takeArguments(polyline, [&] { vertices = conv::Points::in(VerticesList); }); FAILED(hr))
        return hr;
    if (vertices.size() < 2) return E_INVALIDARG;
    for (const VxGePoint3d& p : vertices)
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) return E_INVALIDARG;
    return appendEntity(block, app, polyline, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDb2dPolyline>(record);
        check(made->setNormal(blockNormal(record)));
        check(made->setElevation(vertices.front().z));
        for (const VxGePoint3d& p : vertices)
            check(made->appendVertex(std::make_unique<kx::VxDb2dVertex>(p)));
        return NewEntity(std::move(made));
    });
}

// Points as one flat array of x, y, z triples in world coordinates: at least two, else
// E_INVALIDARG.
HRESULT add3DPoly(VxAxObjectRef& block, IDispatch* app, VARIANT PointsArray, IVelt3DPolyline** polyline)
{
    std::vector<VxGePoint3d> vertices;
    if (HRESULT hr = takeArguments(polyline, [&] { vertices = conv::Points::in(PointsArray); }); FAILED(hr))
        return hr;
    if (vertices.size() < 2) return E_INVALIDARG;
    for (const VxGePoint3d& p : vertices)
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) return E_INVALIDARG;
    return appendEntity(block, app, polyline, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDb3dPolyline>(record);
        for (const VxGePoint3d& p : vertices)
            check(made->appendVertex(std::make_unique<kx::VxDb3dPolylineVertex>(p)));
        return NewEntity(std::move(made));
    });
}

// M x N points (each 2 ... 256) as one flat array of x, y, z triples, row by row; any other
// count is refused with E_INVALIDARG.
HRESULT add3DMesh(VxAxObjectRef& block, IDispatch* app, int M, int N, VARIANT PointsMatrix, IVeltPolygonMesh** mesh)
{
    std::vector<VxGePoint3d> points;
    if (HRESULT hr = takeArguments(mesh, [&] { points = conv::Points::in(PointsMatrix); }); FAILED(hr)) return hr;
    if (M < 2 || N < 2 || M > kx::VxDbPolygonMesh::kMaxSize || N > kx::VxDbPolygonMesh::kMaxSize ||
        points.size() != size_t(M) * size_t(N))
        return E_INVALIDARG;
    for (const VxGePoint3d& p : points)
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) return E_INVALIDARG;
    return appendEntity(block, app, mesh, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbPolygonMesh>(record);
        accept(made->setGrid(M, N, points));
        return NewEntity(std::move(made));
    });
}

namespace {

// Whole numbers of a one-dimensional array of 16- or 32-bit integers, or of VARIANTs that
// hold them; anything else is refused.
std::vector<long> integers(const VARIANT& v)
{
    const VARIANT* value = V_VT(&v) == (VT_VARIANT | VT_BYREF) ? V_VARIANTREF(&v) : &v;
    if (!value || !(V_VT(value) & VT_ARRAY)) throw E_INVALIDARG;
    SAFEARRAY* sa = (V_VT(value) & VT_BYREF) ? (V_ARRAYREF(value) ? *V_ARRAYREF(value) : nullptr) : V_ARRAY(value);
    LONG lower = 0, upper = -1;
    VARTYPE vt = VT_EMPTY;
    if (!sa || SafeArrayGetDim(sa) != 1 || FAILED(SafeArrayGetLBound(sa, 1, &lower)) ||
        FAILED(SafeArrayGetUBound(sa, 1, &upper)) || FAILED(SafeArrayGetVartype(sa, &vt)))
        throw E_INVALIDARG;
    std::vector<long> out;
    for (LONG i = lower; i <= upper; ++i) {
        if (vt == VT_I2) {
            short n = 0;
            if (FAILED(SafeArrayGetElement(sa, &i, &n))) throw E_INVALIDARG;
            out.push_back(n);
        } else if (vt == VT_I4) {
            LONG n = 0;
            if (FAILED(SafeArrayGetElement(sa, &i, &n))) throw E_INVALIDARG;
            out.push_back(n);
        } else if (vt == VT_VARIANT) {
            VARIANT item;
            VariantInit(&item);
            if (FAILED(SafeArrayGetElement(sa, &i, &item))) throw E_INVALIDARG;
            const VARTYPE t = V_VT(&item);
            const long n = t == VT_I2 ? V_I2(&item) : t == VT_I4 ? V_I4(&item) : 0;
            VariantClear(&item);
            if (t != VT_I2 && t != VT_I4) throw E_INVALIDARG;
            out.push_back(n);
        } else {
            throw E_INVALIDARG;
        }
    }
    return out;
}

}  // namespace

// Vertices as x, y, z triples; faces as four vertex numbers each (1-based, 0 for a
// triangle's fourth, negative to hide the edge from that corner). A face list that is no
// whole number of faces, or names a vertex the list has not, is refused with E_INVALIDARG.
HRESULT addPolyfaceMesh(VxAxObjectRef& block, IDispatch* app, VARIANT VertexList, VARIANT FaceList,
                        IVeltPolyfaceMesh** mesh)
{
    std::vector<VxGePoint3d> points;
    std::vector<long> numbers;
    if (HRESULT hr = takeArguments(mesh, [&] {
            points = conv::Points::in(VertexList);
            numbers = integers(FaceList);
        });
        FAILED(hr))
        return hr;
    if (points.size() < 3 || points.size() > size_t(kx::VxDbPolyFaceMesh::kMaxVertices) || numbers.empty() ||
        numbers.size() % 4 != 0)
        return E_INVALIDARG;
    for (const VxGePoint3d& p : points)
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) return E_INVALIDARG;
    for (long n : numbers)
        if (n < INT16_MIN || n > INT16_MAX) return E_INVALIDARG;
    return appendEntity(block, app, mesh, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbPolyFaceMesh>(record);
        for (const VxGePoint3d& p : points) accept(made->appendVertex(p));
        for (size_t i = 0; i < numbers.size(); i += 4)
            accept(made->appendFace(int16_t(numbers[i]), int16_t(numbers[i + 1]), int16_t(numbers[i + 2]),
                                    int16_t(numbers[i + 3])));
        return NewEntity(std::move(made));
    });
}

// Any entity class of the runtime, by its name ("KxDbLine"): an unknown name, a name that is
// not a class, a class that makes nothing or makes no entity is refused.
HRESULT addCustomObject(VxAxObjectRef& block, IDispatch* app, BSTR ClassName, IDispatch** object)
{
    if (!object) return E_POINTER;
    *object = nullptr;
    if (!ClassName || !*ClassName) return E_INVALIDARG;
    const kx::VxRxClass* cls = kx::VxRxClass::cast(kx::vxrxClassDictionary()->at(ClassName));
    if (!cls) return E_INVALIDARG;
    return appendEntity(block, app, object, [&](VxDbBlockTableRecord& record) {
        std::unique_ptr<kx::VxRxObject> made(cls->create());
        auto* entity = kx::VxDbEntity::cast(made.get());
        if (!entity) throw E_INVALIDARG;
        made.release();
        NewEntity owned(entity);
        check(owned->setDatabaseDefaults(record.database()));
        return owned;
    });
}

// A single-line text in the drawing's current style: its width factor, oblique angle and
// mirroring come from the style (when the style opens).
HRESULT addText(VxAxObjectRef& block, IDispatch* app, BSTR TextString, VARIANT InsertionPoint, double Height,
                IVeltText** text)
{
    VxGePoint3d position;
    if (HRESULT hr = takeArguments(text, [&] { position = conv::Point::in(InsertionPoint); }); FAILED(hr)) return hr;
    return appendEntity(block, app, text, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbText>(record);
        accept(made->setTextString(TextString ? TextString : L""));
        accept(made->setHeight(Height));
        check(made->setNormal(blockNormal(record)));
        accept(made->setPosition(position));
        const kx::VxDbObjectId styleId = record.database()->textstyle();
        check(made->setTextStyle(styleId));
        kx::VxDbObjectPointer<kx::VxDbTextStyleTableRecord> style(styleId, kx::VxDb::kForRead);
        if (style) {
            check(made->setWidthFactor(style->xScale()));
            check(made->setOblique(style->obliquingAngle()));
            check(made->mirrorInX(style->isBackwards()));
            check(made->mirrorInY(style->isUpsideDown()));
        }
        return NewEntity(std::move(made));
    });
}

// The height is the current style's fixed one, or the drawing's text size when the style has
// none (or does not open).
HRESULT addMText(VxAxObjectRef& block, IDispatch* app, VARIANT InsertionPoint, double Width, BSTR Text,
                 IVeltMText** mtext)
{
    VxGePoint3d location;
    if (HRESULT hr = takeArguments(mtext, [&] { location = conv::Point::in(InsertionPoint); }); FAILED(hr)) return hr;
    return appendEntity(block, app, mtext, [&](VxDbBlockTableRecord& record) {
        kx::VxDbDatabase* db = record.database();
        auto made = newEntity<kx::VxDbMText>(record);
        accept(made->setLocation(location));
        accept(made->setContents(Text ? Text : L""));
        accept(made->setWidth(Width));
        check(made->setNormal(blockNormal(record)));
        check(made->setRotation(0.0));  // the x axis of the plane
        const kx::VxDbObjectId styleId = db->textstyle();
        check(made->setTextStyle(styleId));
        double height = db->textsize();
        kx::VxDbObjectPointer<kx::VxDbTextStyleTableRecord> style(styleId, kx::VxDb::kForRead);
        if (style && std::abs(style->textSize()) > 1e-10) height = style->textSize();
        accept(made->setTextHeight(height));
        return NewEntity(std::move(made));
    });
}

HRESULT addAttribute(VxAxObjectRef& block, IDispatch* app, double Height, VxAttributeMode Mode, BSTR Prompt,
                     VARIANT InsertionPoint, BSTR Tag, BSTR Value, IVeltAttribute** attribute)
{
    VxGePoint3d position;
    if (HRESULT hr = takeArguments(attribute, [&] { position = conv::Point::in(InsertionPoint); }); FAILED(hr))
        return hr;
    return appendEntity(block, app, attribute, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbAttributeDefinition>(record);
        check(made->setNormal(blockNormal(record)));
        accept(made->setHeight(Height));
        const long mode = static_cast<long>(Mode);
        check(made->setInvisible((mode & 1) != 0));
        check(made->setConstant((mode & 2) != 0));
        check(made->setVerifiable((mode & 4) != 0));
        check(made->setPreset((mode & 8) != 0));
        accept(made->setPrompt(Prompt ? Prompt : L""));
        accept(made->setPosition(position));
        accept(made->setTag(Tag ? Tag : L""));
        accept(made->setTextString(Value ? Value : L""));
        check(made->setTextStyle(record.database()->textstyle()));
        return NewEntity(std::move(made));
    });
}

// The scale factor is the shape's width factor; its size stays the default.
HRESULT addShape(VxAxObjectRef& block, IDispatch* app, BSTR Name, VARIANT InsertionPoint, double ScaleFactor,
                 VELT_ANGLE RotationAngle, IVeltShape** shape)
{
    VxGePoint3d position;
    if (HRESULT hr = takeArguments(shape, [&] { position = conv::Point::in(InsertionPoint); }); FAILED(hr)) return hr;
    return appendEntity(block, app, shape, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbShape>(record);
        accept(made->setName(Name ? Name : L""));
        check(made->setNormal(blockNormal(record)));
        accept(made->setPosition(position));
        accept(made->setRotation(RotationAngle));
        accept(made->setWidthFactor(ScaleFactor));
        return NewEntity(std::move(made));
    });
}

// A direction along the block's normal, or none, is refused.
HRESULT addTolerance(VxAxObjectRef& block, IDispatch* app, BSTR Text, VARIANT InsertionPoint, VARIANT Direction,
                     IVeltTolerance** tolerance)
{
    VxGePoint3d location;
    VxGeVector3d direction;
    if (HRESULT hr = takeArguments(tolerance, [&] {
            location = conv::Point::in(InsertionPoint);
            direction = conv::Vector::in(Direction);
        });
        FAILED(hr))
        return hr;
    return appendEntity(block, app, tolerance, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbFcf>(record);
        accept(made->setText(Text ? Text : L""));
        accept(made->setLocation(location));
        check(made->setNormal(blockNormal(record)));
        accept(made->setDirection(direction));
        return NewEntity(std::move(made));
    });
}

// A new viewport shows the model's extents when there are any, else the sheet's own window
// at 1:1. Its number follows the viewports the sheet has (1 is the sheet's own).
HRESULT addPViewport(VxAxObjectRef& block, IDispatch* app, VARIANT Center, double Width, double Height,
                     IVeltPViewport** pPViewport)
{
    VxGePoint3d center;
    if (HRESULT hr = takeArguments(pPViewport, [&] {
            center = conv::Point::in(Center);
            if (!(Width > 0.0) || !(Height > 0.0) || !std::isfinite(Width) || !std::isfinite(Height))
                throw E_INVALIDARG;
        });
        FAILED(hr))
        return hr;
    return appendEntity(
        block, app, pPViewport,
        [&](VxDbBlockTableRecord& record) {
            auto made = newEntity<kx::VxDbViewport>(record);
            int16_t number = 2;
            std::unique_ptr<kx::VxDbBlockTableRecordIterator> it;
            if (record.newIterator(it) == kx::Velt::eOk && it) {
                for (; !it->done(); it->step()) {
                    const kx::VxRxClass* cls = it->currentId().objectClass();
                    if (cls && cls->isDerivedFrom(kx::VxDbViewport::desc()) && number < INT16_MAX) ++number;
                }
            }
            accept(made->setCenterPoint(center));
            accept(made->setWidth(Width));
            accept(made->setHeight(Height));
            accept(made->setNumber(number));
            accept(made->setViewCenter(center));
            accept(made->setViewHeight(Height));
            return NewEntity(std::move(made));
        },
        [](kx::VxDbEntity& entity) {
            if (auto* viewport = kx::VxDbViewport::cast(&entity))
                viewport->setStandardScale(kx::VxDbViewport::kScaleToFit);
        });
}

// A hatch with no loops yet (AppendOuterLoop gives it some): its pattern by kind and name, or,
// for a gradient (HatchObjectType 1), the gradient by kind and name. The optional object
// type is a whole number 0 or 1; anything else, an unknown pattern or gradient, or a kind
// out of range is E_INVALIDARG.
HRESULT addHatch(VxAxObjectRef& block, IDispatch* app, int PatternType, BSTR PatternName, VARIANT_BOOL Associativity,
                 VARIANT HatchObjectType, IVeltHatch** pHatch)
{
    long objectType = 0;
    const std::wstring name(PatternName ? PatternName : L"", PatternName ? SysStringLen(PatternName) : 0);
    if (HRESULT hr = takeArguments(pHatch, [&] {
            VARIANT given;
            VariantInit(&given);
            if (FAILED(VariantCopyInd(&given, &HatchObjectType))) throw E_INVALIDARG;
            switch (V_VT(&given)) {
            case VT_EMPTY: break;
            case VT_ERROR: if (V_ERROR(&given) != DISP_E_PARAMNOTFOUND) throw E_INVALIDARG; break;
            case VT_I2: objectType = V_I2(&given); break;
            case VT_I4: objectType = V_I4(&given); break;
            case VT_INT: objectType = V_INT(&given); break;
            case VT_UI1: objectType = V_UI1(&given); break;
            default: VariantClear(&given); throw E_INVALIDARG;
            }
            VariantClear(&given);
            if (objectType != kx::VxDbHatch::kHatchObject && objectType != kx::VxDbHatch::kGradientObject)
                throw E_INVALIDARG;
            const bool gradient = objectType == kx::VxDbHatch::kGradientObject;
            if (PatternType < 0 || PatternType > (gradient ? 1 : 2)) throw E_INVALIDARG;
        });
        FAILED(hr))
        return hr;
    return appendEntity(block, app, pHatch, [&](VxDbBlockTableRecord& record) {
        auto made = newEntity<kx::VxDbHatch>(record);
        check(made->setNormal(blockNormal(record)));
        if (objectType == kx::VxDbHatch::kGradientObject) {
            accept(made->setHatchObjectType(kx::VxDbHatch::kGradientObject));
            accept(made->setGradientType(int16_t(PatternType)));
            accept(made->setGradientName(name));
        } else {
            accept(made->setPattern(int16_t(PatternType), name));
        }
        accept(made->setAssociative(Associativity == VARIANT_TRUE));
        return NewEntity(std::move(made));
    });
}

}  // namespace nk::blocks
