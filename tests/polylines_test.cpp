// Lightweight polylines as a client drives them, through IDispatch as a script does: the
// Coordinates put that keeps what kept vertices carry, indices taken as given, refused
// arrays that change nothing, exact areas and lengths with arcs, offsets and explode, and
// the factory's count rule. What was made is saved for ezdxf (polylines_in_ezdxf).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "db/polylines.h"
#include "drawing_fixture.h"
#include "dxf/dxffile.h"

using drawing::doubles;
using drawing::Value;
using drawing::invoke;
using nk::ComPtr;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.14159265358979323846;

std::vector<double> numbers(const VARIANT& v)
{
    std::vector<double> out;
    if (V_VT(&v) != (VT_ARRAY | VT_R8)) return out;
    SAFEARRAY* sa = V_ARRAY(&v);
    LONG lo = 0, hi = -1;
    SafeArrayGetLBound(sa, 1, &lo);
    SafeArrayGetUBound(sa, 1, &hi);
    for (LONG i = lo; i <= hi; ++i) {
        double d = 0;
        SafeArrayGetElement(sa, &i, &d);
        out.push_back(d);
    }
    return out;
}

Value integer(int n) { return drawing::number(n); }
using drawing::real;

// How many pieces Explode hands back; 0 when it answers no array.
ULONG piecesOnExplode(IDispatch* d)
{
    Value pieces;
    EXPECT_EQ(invoke(d, L"Explode", DISPATCH_METHOD, {}, &pieces), S_OK);
    return V_VT(pieces.get()) == (VT_ARRAY | VT_VARIANT) ? V_ARRAY(pieces.get())->rgsabound[0].cElements : 0;
}

LONG countOf(IVeltModelSpace* space)
{
    LONG count = -1;
    EXPECT_EQ(space->get_Count(&count), S_OK);
    return count;
}

class Polylines : public drawing::Drawing {
protected:
    ComPtr<IVeltLWPolyline> add(std::initializer_list<double> pairs)
    {
        ComPtr<IVeltLWPolyline> polyline;
        Value list = doubles(pairs);
        EXPECT_EQ(modelSpace()->AddLightWeightPolyline(*list, polyline.put()), S_OK);
        return polyline;
    }

    static std::vector<double> get(IDispatch* object, const wchar_t* name, std::vector<VARIANT*> args = {})
    {
        Value v;
        EXPECT_EQ(invoke(object, name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, args, &v), S_OK) << "get";
        if (V_VT(v.get()) == VT_R8) return {V_R8(v.get())};
        return numbers(*v);
    }

    // A 10 x 4 rectangle, of either kind of polyline, made into the figure the area and length
    // tests know by hand: its right side bulges out in a half circle and its top is an arc of an
    // eighth of a turn.
    template <class Polyline>
    static void bulgeIntoFigure(Polyline* polyline)
    {
        IDispatch* d = polyline;
        const double theta = kPi / 4;
        Value one = integer(1), two = integer(2), half = real(1.0), eighth = real(std::tan(theta / 4));
        ASSERT_EQ(invoke(d, L"SetBulge", DISPATCH_METHOD, {one.get(), half.get()}), S_OK);
        ASSERT_EQ(invoke(d, L"SetBulge", DISPATCH_METHOD, {two.get(), eighth.get()}), S_OK);
        ASSERT_EQ(polyline->put_Closed(VARIANT_TRUE), S_OK);
        const double r = 10.0 / (2.0 * std::sin(theta / 2));
        const double area = 40.0 + kPi * 2.0 * 2.0 / 2.0 + r * r / 2.0 * (theta - std::sin(theta));
        const double length = 10.0 + kPi * 2.0 + r * theta + 4.0;
        EXPECT_NEAR(get(d, L"Area")[0], area, 1e-12 * area);
        EXPECT_NEAR(get(d, L"Length")[0], length, 1e-12 * length);
    }

    // Each vertex's x, y, bulge, start and end width, read from the host.
    std::vector<double> vertices(IVeltLWPolyline* polyline)
    {
        std::vector<double> out;
        kx::VxDbObjectPointer<kx::VxDbPolyline> p(idOf(polyline), kx::VxDb::kForRead);
        for (int i = 0; p.openStatus() == kx::Velt::eOk && i < p->numVerts(); ++i) {
            kx::VxGePoint2d q;
            double b = 0, s = 0, e = 0;
            p->getPointAt(i, q);
            p->getBulgeAt(i, b);
            p->getWidthsAt(i, s, e);
            out.insert(out.end(), {q.x, q.y, b, s, e});
        }
        return out;
    }
};

TEST_F(Polylines, CoordinatesPutKeepsWhatKeptVerticesCarry)
{
    ComPtr<IVeltLWPolyline> polyline = add({0, 0, 1, 0, 2, 0, 3, 0, 4, 0});
    ASSERT_TRUE(polyline);
    IDispatch* d = polyline.get();
    for (int i = 0; i < 5; ++i) {
        Value index = integer(i), bulge = real(0.1 * (i + 1)), start = real(i), end = real(i + 0.5);
        ASSERT_EQ(invoke(d, L"SetBulge", DISPATCH_METHOD, {index.get(), bulge.get()}), S_OK);
        ASSERT_EQ(invoke(d, L"SetWidth", DISPATCH_METHOD, {index.get(), start.get(), end.get()}), S_OK);
    }
    // Five vertices to two: the first two move and keep bulges and widths, 2 ... 4 go.
    Value two = doubles({10, 10, 20, 20});
    ASSERT_EQ(invoke(d, L"Coordinates", DISPATCH_PROPERTYPUT, {two.get()}), S_OK);
    EXPECT_EQ(vertices(polyline.get()), (std::vector<double>{10, 10, 0.1, 0, 0.5, 20, 20, 0.2, 1, 1.5}));
    // Two to four: the new ones plain, bulge 0 and no widths of their own.
    Value four = doubles({10, 10, 20, 20, 30, 30, 40, 40});
    ASSERT_EQ(invoke(d, L"Coordinates", DISPATCH_PROPERTYPUT, {four.get()}), S_OK);
    EXPECT_EQ(vertices(polyline.get()), (std::vector<double>{10, 10, 0.1, 0, 0.5, 20, 20, 0.2, 1, 1.5, 30, 30, 0, -1,
                                                             -1, 40, 40, 0, -1, -1}));
    EXPECT_EQ(get(d, L"Coordinates"), (std::vector<double>{10, 10, 20, 20, 30, 30, 40, 40}));
    Value one = integer(1);
    EXPECT_EQ(get(d, L"Coordinate", {one.get()}), (std::vector<double>{20, 20}));
}

// Out of range: S_OK, zeros read, nothing changed. Malformed arrays: the conversion's error,
// nothing changed.
TEST_F(Polylines, IndicesAreTakenAsGivenAndBadArraysChangeNothing)
{
    ComPtr<IVeltLWPolyline> polyline = add({0, 0, 4, 0, 4, 3});
    IDispatch* d = polyline.get();
    const std::vector<double> before = vertices(polyline.get());
    Value outside = integer(99), negative = integer(-1), bulge = real(0.5), where = doubles({7, 7});
    EXPECT_EQ(get(d, L"Coordinate", {outside.get()}), (std::vector<double>{0, 0}));
    EXPECT_EQ(get(d, L"GetBulge", {outside.get()}), (std::vector<double>{0}));
    EXPECT_EQ(invoke(d, L"SetBulge", DISPATCH_METHOD, {outside.get(), bulge.get()}), S_OK);
    EXPECT_EQ(invoke(d, L"SetWidth", DISPATCH_METHOD, {negative.get(), bulge.get(), bulge.get()}), S_OK);
    EXPECT_EQ(invoke(d, L"AddVertex", DISPATCH_METHOD, {outside.get(), where.get()}), S_OK);
    EXPECT_EQ(invoke(d, L"Coordinate", DISPATCH_PROPERTYPUT, {outside.get(), where.get()}), S_OK);
    double start = 1, end = 1;
    EXPECT_EQ(polyline->GetWidth(99, &start, &end), S_OK);
    EXPECT_EQ(start, 0.0);
    EXPECT_EQ(end, 0.0);
    EXPECT_EQ(vertices(polyline.get()), before);

    Value odd = doubles({1, 2, 3}), variants = doubles({1, 2, 3, 4}, VT_VARIANT), notANumber = doubles({1, 2, kNaN, 4}),
          nanPoint = doubles({kNaN, 1});
    for (Value* bad : {&odd, &variants, &notANumber}) {
        const HRESULT hr = invoke(d, L"Coordinates", DISPATCH_PROPERTYPUT, {bad->get()});
        EXPECT_TRUE(FAILED(hr));
        EXPECT_EQ(vertices(polyline.get()), before);
    }
    Value zero = integer(0);
    EXPECT_TRUE(FAILED(invoke(d, L"Coordinate", DISPATCH_PROPERTYPUT, {zero.get(), nanPoint.get()})));
    EXPECT_TRUE(FAILED(invoke(d, L"AddVertex", DISPATCH_METHOD, {zero.get(), variants.get()})));
    EXPECT_EQ(vertices(polyline.get()), before);

    // In range, the vertex members do what they say.
    Value mid = doubles({2, -1}), one = integer(1);
    EXPECT_EQ(invoke(d, L"AddVertex", DISPATCH_METHOD, {one.get(), mid.get()}), S_OK);
    EXPECT_EQ(get(d, L"Coordinates"), (std::vector<double>{0, 0, 2, -1, 4, 0, 4, 3}));
}

// A factory given fewer than two vertices adds nothing.
TEST_F(Polylines, TheFactoryWantsTwoVertices)
{
    ComPtr<IVeltModelSpace> space = modelSpace();
    LONG count = 0;
    ASSERT_EQ(space->get_Count(&count), S_OK);
    Value lists[] = {doubles({1, 2}), doubles({}), doubles({1, 2, 3}), doubles({1, 2, 3, 4}, VT_VARIANT)};
    for (Value& list : lists) {
        IVeltLWPolyline* made = reinterpret_cast<IVeltLWPolyline*>(1);
        EXPECT_TRUE(FAILED(space->AddLightWeightPolyline(*list, &made)));
        EXPECT_EQ(made, nullptr);
    }
    Value one = doubles({1, 2});
    IVeltLWPolyline* made = nullptr;
    EXPECT_EQ(space->AddLightWeightPolyline(*one, &made), E_INVALIDARG);
    LONG after = 0;
    ASSERT_EQ(space->get_Count(&after), S_OK);
    EXPECT_EQ(after, count);
    ComPtr<IVeltLWPolyline> two = add({1, 2, 3, 4});
    ASSERT_TRUE(two);
    ASSERT_EQ(space->get_Count(&after), S_OK);
    EXPECT_EQ(after, count + 1);
}

// The figure's area and length. A slot (two half circles joined by lines) offset outwards is
// the slot grown by the distance.
TEST_F(Polylines, AreaLengthOffsetAndExplodeCountTheArcs)
{
    ComPtr<IVeltLWPolyline> polyline = add({0, 0, 10, 0, 10, 4, 0, 4});
    IDispatch* d = polyline.get();
    ASSERT_NO_FATAL_FAILURE(bulgeIntoFigure(polyline.get()));

    Value one = integer(1), half = real(1.0);
    ComPtr<IVeltLWPolyline> slot = add({0, 0, 10, 0, 10, 4, 0, 4});
    Value three = integer(3);
    ASSERT_EQ(invoke(slot.get(), L"SetBulge", DISPATCH_METHOD, {one.get(), half.get()}), S_OK);
    ASSERT_EQ(invoke(slot.get(), L"SetBulge", DISPATCH_METHOD, {three.get(), half.get()}), S_OK);
    ASSERT_EQ(slot->put_Closed(VARIANT_TRUE), S_OK);
    Value offsets, distance = real(0.5);
    ASSERT_EQ(invoke(slot.get(), L"Offset", DISPATCH_METHOD, {distance.get()}, &offsets), S_OK);
    ASSERT_EQ(V_VT(offsets.get()), VT_ARRAY | VT_VARIANT);
    ASSERT_EQ(V_ARRAY(offsets.get())->rgsabound[0].cElements, 1u);
    LONG first = 0;
    Value item;
    ASSERT_EQ(SafeArrayGetElement(V_ARRAY(offsets.get()), &first, item.get()), S_OK);
    ComPtr<IVeltLWPolyline> grown;
    ASSERT_EQ(V_DISPATCH(item.get())->QueryInterface(__uuidof(IVeltLWPolyline), grown.putVoid()), S_OK);
    const std::vector<double> corners = get(grown.get(), L"Coordinates");
    const std::vector<double> wanted{0, -0.5, 10, -0.5, 10, 4.5, 0, 4.5};
    ASSERT_EQ(corners.size(), wanted.size());
    for (size_t i = 0; i < wanted.size(); ++i) EXPECT_NEAR(corners[i], wanted[i], 1e-12) << i;
    const double grownArea = 10.0 * 5.0 + kPi * 2.5 * 2.5, grownLength = 20.0 + kPi * 5.0;
    EXPECT_NEAR(get(grown.get(), L"Area")[0], grownArea, 1e-12 * grownArea);
    EXPECT_NEAR(get(grown.get(), L"Length")[0], grownLength, 1e-12 * grownLength);
    Value index = integer(1);
    EXPECT_NEAR(get(grown.get(), L"GetBulge", {index.get()})[0], 1.0, 1e-12);

    // Explode: lines and arcs beside the polyline, which stays.
    Value pieces;
    ASSERT_EQ(invoke(d, L"Explode", DISPATCH_METHOD, {}, &pieces), S_OK);
    ASSERT_EQ(V_VT(pieces.get()), VT_ARRAY | VT_VARIANT);
    ASSERT_EQ(V_ARRAY(pieces.get())->rgsabound[0].cElements, 4u);
    int arcs = 0, lines = 0;
    for (LONG i = 0; i < 4; ++i) {
        Value piece;
        ASSERT_EQ(SafeArrayGetElement(V_ARRAY(pieces.get()), &i, piece.get()), S_OK);
        ComPtr<IVeltArc> arc;
        ComPtr<IVeltLine> line;
        if (SUCCEEDED(V_DISPATCH(piece.get())->QueryInterface(__uuidof(IVeltArc), arc.putVoid()))) ++arcs;
        if (SUCCEEDED(V_DISPATCH(piece.get())->QueryInterface(__uuidof(IVeltLine), line.putVoid()))) ++lines;
    }
    EXPECT_EQ(arcs, 2);
    EXPECT_EQ(lines, 2);
    EXPECT_EQ(vertices(polyline.get()).size(), 20u);
}

// ---- 2D polylines ----

// Fitting adds vertices; the client sees only those it gave, three doubles each, and an
// index past them is the host's invalid index raised.
TEST_F(Polylines, TwoDimensionalPolylinesShowTheGivenVertices)
{
    ComPtr<IVeltModelSpace> space = modelSpace();
    ComPtr<IVeltPolyline> polyline;
    Value list = doubles({0, 0, 0, 4, 3, 0, 8, 0, 0, 12, 3, 0});
    ASSERT_EQ(space->AddPolyline(*list, polyline.put()), S_OK);
    IDispatch* d = polyline.get();
    const std::vector<double> given{0, 0, 0, 4, 3, 0, 8, 0, 0, 12, 3, 0};
    EXPECT_EQ(get(d, L"Coordinates"), given);
    auto hostVertices = [&] {
        kx::VxDbObjectPointer<kx::VxDb2dPolyline> p(idOf(polyline.get()), kx::VxDb::kForRead);
        return p.openStatus() == kx::Velt::eOk ? p->vertexCount() : -1;
    };

    Value fit = integer(vxFitCurvePoly);
    ASSERT_EQ(invoke(d, L"Type", DISPATCH_PROPERTYPUT, {fit.get()}), S_OK);
    VxPolylineType type = vxSimplePoly;
    ASSERT_EQ(polyline->get_Type(&type), S_OK);
    EXPECT_EQ(type, vxFitCurvePoly);
    EXPECT_EQ(hostVertices(), 7);  // recorded and performed
    EXPECT_EQ(get(d, L"Coordinates"), given);
    Value three = integer(3), four = integer(4);
    EXPECT_EQ(get(d, L"Coordinate", {three.get()}), (std::vector<double>{12, 3, 0}));
    Value ignored;
    EXPECT_TRUE(FAILED(invoke(d, L"Coordinate", DISPATCH_PROPERTYGET, {four.get()}, &ignored)));
    EXPECT_GT(get(d, L"Length")[0], 3 * 5.0);

    Value cubic = integer(vxCubicSplinePoly);
    ASSERT_EQ(invoke(d, L"Type", DISPATCH_PROPERTYPUT, {cubic.get()}), S_OK);
    EXPECT_GT(hostVertices(), 8);
    EXPECT_EQ(get(d, L"Coordinates"), given);
    // A type the host has not: S_OK, nothing changed.
    Value strange = integer(9);
    EXPECT_EQ(invoke(d, L"Type", DISPATCH_PROPERTYPUT, {strange.get()}), S_OK);
    ASSERT_EQ(polyline->get_Type(&type), S_OK);
    EXPECT_EQ(type, vxCubicSplinePoly);
    Value more = doubles({16, 0, 0});
    ASSERT_EQ(invoke(d, L"AppendVertex", DISPATCH_METHOD, {more.get()}), S_OK);
    EXPECT_EQ(get(d, L"Coordinates").size(), 15u);

    // Refused arrays change nothing.
    const int before = hostVertices();
    Value odd = doubles({1, 2, 3, 4}), variants = doubles({1, 2, 3, 4, 5, 6}, VT_VARIANT),
          notANumber = doubles({1, 2, 3, kNaN, 5, 6});
    for (Value* bad : {&odd, &variants, &notANumber}) {
        EXPECT_TRUE(FAILED(invoke(d, L"Coordinates", DISPATCH_PROPERTYPUT, {bad->get()})));
        EXPECT_EQ(hostVertices(), before);
    }
    EXPECT_TRUE(FAILED(invoke(d, L"AppendVertex", DISPATCH_METHOD, {notANumber.get()})));
    EXPECT_EQ(hostVertices(), before);

    // Back to simple, then fewer vertices: the first ones stay.
    Value simple = integer(vxSimplePoly), two = doubles({1, 1, 0, 2, 2, 0});
    ASSERT_EQ(invoke(d, L"Type", DISPATCH_PROPERTYPUT, {simple.get()}), S_OK);
    EXPECT_EQ(hostVertices(), 5);
    ASSERT_EQ(invoke(d, L"Coordinates", DISPATCH_PROPERTYPUT, {two.get()}), S_OK);
    EXPECT_EQ(get(d, L"Coordinates"), (std::vector<double>{1, 1, 0, 2, 2, 0}));

    // The factory wants two points.
    const LONG count = countOf(space.get());
    Value one = doubles({1, 2, 3});
    IVeltPolyline* made = nullptr;
    EXPECT_EQ(space->AddPolyline(*one, &made), E_INVALIDARG);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(countOf(space.get()), count);
}

// The same figure as a lightweight polyline: the same area and length, to the last bits.
TEST_F(Polylines, TwoDimensionalAreaAndLengthCountTheArcs)
{
    ComPtr<IVeltPolyline> polyline;
    Value list = doubles({0, 0, 0, 10, 0, 0, 10, 4, 0, 0, 4, 0});
    ASSERT_EQ(modelSpace()->AddPolyline(*list, polyline.put()), S_OK);
    IDispatch* d = polyline.get();
    ASSERT_NO_FATAL_FAILURE(bulgeIntoFigure(polyline.get()));
    Value one = integer(1);
    EXPECT_NEAR(get(d, L"GetBulge", {one.get()})[0], 1.0, 0.0);
    EXPECT_EQ(piecesOnExplode(d), 4u);
}

// ---- 3D polylines ----

// Straight in space; a spline shows its control points only; the factory wants two points.
TEST_F(Polylines, ThreeDimensionalPolylinesShowTheGivenVertices)
{
    ComPtr<IVeltModelSpace> space = modelSpace();
    ComPtr<IVelt3DPolyline> polyline;
    Value list = doubles({0, 0, 0, 3, 4, 0, 3, 4, 12});
    ASSERT_EQ(space->Add3DPoly(*list, polyline.put()), S_OK);
    IDispatch* d = polyline.get();
    EXPECT_EQ(get(d, L"Length"), (std::vector<double>{17}));
    ASSERT_EQ(polyline->put_Closed(VARIANT_TRUE), S_OK);
    EXPECT_EQ(get(d, L"Length"), (std::vector<double>{30}));

    Value cubic = integer(vxCubicSpline3DPoly), two = integer(2), three = integer(3);
    ASSERT_EQ(invoke(d, L"Type", DISPATCH_PROPERTYPUT, {cubic.get()}), S_OK);
    Vx3DPolylineType type = vxSimple3DPoly;
    ASSERT_EQ(polyline->get_Type(&type), S_OK);
    EXPECT_EQ(type, vxCubicSpline3DPoly);
    EXPECT_EQ(get(d, L"Coordinates"), (std::vector<double>{0, 0, 0, 3, 4, 0, 3, 4, 12}));
    EXPECT_EQ(get(d, L"Coordinate", {two.get()}), (std::vector<double>{3, 4, 12}));
    Value ignored;
    EXPECT_TRUE(FAILED(invoke(d, L"Coordinate", DISPATCH_PROPERTYGET, {three.get()}, &ignored)));
    EXPECT_LT(get(d, L"Length")[0], 30.0);

    Value more = doubles({0, 0, 12}), bad = doubles({0, kNaN, 1}), odd = doubles({1, 2, 3, 4});
    ASSERT_EQ(invoke(d, L"AppendVertex", DISPATCH_METHOD, {more.get()}), S_OK);
    EXPECT_EQ(get(d, L"Coordinates").size(), 12u);
    EXPECT_TRUE(FAILED(invoke(d, L"AppendVertex", DISPATCH_METHOD, {bad.get()})));
    EXPECT_TRUE(FAILED(invoke(d, L"Coordinates", DISPATCH_PROPERTYPUT, {odd.get()})));
    EXPECT_EQ(get(d, L"Coordinates").size(), 12u);

    Value simple = integer(vxSimple3DPoly);
    ASSERT_EQ(invoke(d, L"Type", DISPATCH_PROPERTYPUT, {simple.get()}), S_OK);
    EXPECT_EQ(get(d, L"Length"), (std::vector<double>{5 + 12 + 5 + 12}));
    EXPECT_EQ(piecesOnExplode(d), 4u);

    const LONG count = countOf(space.get());
    Value one = doubles({1, 2, 3});
    IVelt3DPolyline* made = nullptr;
    EXPECT_EQ(space->Add3DPoly(*one, &made), E_INVALIDARG);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(countOf(space.get()), count);
}

// ---- meshes ----

// A 3 x 2 grid: its points row by row, its faces on explode, the factory's count rule.
TEST_F(Polylines, PolygonMeshesHoldTheirGrid)
{
    ComPtr<IVeltModelSpace> space = modelSpace();
    ComPtr<IVeltPolygonMesh> mesh;
    const std::vector<double> points{0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 1, 0, 2, 0, 1, 2, 0};
    Value grid = doubles({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 1, 0, 2, 0, 1, 2, 0});
    ASSERT_EQ(space->Add3DMesh(3, 2, *grid, mesh.put()), S_OK);
    IDispatch* d = mesh.get();
    EXPECT_EQ(get(d, L"Coordinates"), points);
    long m = 0, n = 0;
    ASSERT_EQ(mesh->get_MVertexCount(&m), S_OK);
    ASSERT_EQ(mesh->get_NVertexCount(&n), S_OK);
    EXPECT_EQ(m, 3);
    EXPECT_EQ(n, 2);
    Value three = integer(3), six = integer(6);
    EXPECT_EQ(get(d, L"Coordinate", {three.get()}), (std::vector<double>{1, 1, 1}));
    Value ignored;
    EXPECT_TRUE(FAILED(invoke(d, L"Coordinate", DISPATCH_PROPERTYGET, {six.get()}, &ignored)));
    // A put of another count is refused and changes nothing.
    Value fewer = doubles({0, 0, 0, 1, 0, 0});
    EXPECT_TRUE(FAILED(invoke(d, L"Coordinates", DISPATCH_PROPERTYPUT, {fewer.get()})));
    EXPECT_EQ(get(d, L"Coordinates"), points);

    EXPECT_EQ(piecesOnExplode(d), 2u);

    // Smoothed: recorded and performed, the control points unchanged.
    ASSERT_EQ(mesh->put_MDensity(4), S_OK);
    ASSERT_EQ(mesh->put_NDensity(5), S_OK);
    EXPECT_TRUE(FAILED(mesh->put_MDensity(1)));
    Value cubic = integer(vxCubicSurfaceMesh);
    ASSERT_EQ(invoke(d, L"Type", DISPATCH_PROPERTYPUT, {cubic.get()}), S_OK);
    VxPolymeshType type = vxSimpleMesh;
    ASSERT_EQ(mesh->get_Type(&type), S_OK);
    EXPECT_EQ(type, vxCubicSurfaceMesh);
    EXPECT_EQ(get(d, L"Coordinates"), points);
    EXPECT_EQ(piecesOnExplode(d), 3u * 4u);

    const LONG count = countOf(space.get());
    IVeltPolygonMesh* made = nullptr;
    EXPECT_EQ(space->Add3DMesh(2, 2, *grid, &made), E_INVALIDARG);
    EXPECT_EQ(space->Add3DMesh(6, 1, *grid, &made), E_INVALIDARG);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(countOf(space.get()), count);

    // A row of N points makes the grid a row longer; one point alone changes nothing.
    Value one = doubles({0, 3, 0}), row = doubles({0, 3, 0, 1, 3, 2});
    EXPECT_TRUE(FAILED(invoke(d, L"AppendVertex", DISPATCH_METHOD, {one.get()})));
    EXPECT_EQ(get(d, L"Coordinates"), points);
    ASSERT_EQ(invoke(d, L"AppendVertex", DISPATCH_METHOD, {row.get()}), S_OK);
    ASSERT_EQ(mesh->get_MVertexCount(&m), S_OK);
    EXPECT_EQ(m, 4);
    std::vector<double> longer = points;
    longer.insert(longer.end(), {0, 3, 0, 1, 3, 2});
    EXPECT_EQ(get(d, L"Coordinates"), longer);
}

// Faces by vertex number; a malformed face list adds nothing.
TEST_F(Polylines, PolyfaceMeshesCheckTheirFaces)
{
    ComPtr<IVeltModelSpace> space = modelSpace();
    Value vertices = doubles({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 2, 0, 0});
    const LONG count = countOf(space.get());
    Value bad[] = {drawing::shorts({1, 2, 3}), drawing::shorts({1, 2, 9, 0}), drawing::shorts({1, 0, 2, 0}),
                   doubles({1, 2, 3, 4}), drawing::shorts({})};
    for (Value& faces : bad) {
        IVeltPolyfaceMesh* made = nullptr;
        EXPECT_EQ(space->AddPolyfaceMesh(*vertices, *faces, &made), E_INVALIDARG);
        EXPECT_EQ(made, nullptr);
    }
    EXPECT_EQ(countOf(space.get()), count);

    ComPtr<IVeltPolyfaceMesh> mesh;
    Value faces = drawing::shorts({1, 2, -3, 4, 2, 5, 3, 0});
    ASSERT_EQ(space->AddPolyfaceMesh(*vertices, *faces, mesh.put()), S_OK);
    long number = 0;
    ASSERT_EQ(mesh->get_NumberOfVertices(&number), S_OK);
    EXPECT_EQ(number, 5);
    ASSERT_EQ(mesh->get_NumberOfFaces(&number), S_OK);
    EXPECT_EQ(number, 2);
    Value list;
    ASSERT_EQ(mesh->get_Faces(list.get()), S_OK);
    ASSERT_EQ(V_VT(list.get()), VT_ARRAY | VT_I2);
    std::vector<short> read;
    for (LONG i = 0; i < 8; ++i) {
        short n = 0;
        SafeArrayGetElement(V_ARRAY(list.get()), &i, &n);
        read.push_back(n);
    }
    EXPECT_EQ(read, (std::vector<short>{1, 2, -3, 4, 2, 5, 3, 0}));
    Value index = integer(4), outside = integer(5);
    EXPECT_EQ(get(mesh.get(), L"Coordinate", {index.get()}), (std::vector<double>{2, 0, 0}));
    Value ignored;
    EXPECT_TRUE(FAILED(invoke(mesh.get(), L"Coordinate", DISPATCH_PROPERTYGET, {outside.get()}, &ignored)));
    // The vertices move; their number stays.
    Value moved = doubles({0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1, 2, 0, 1}), fewer = doubles({0, 0, 0});
    ASSERT_EQ(invoke(mesh.get(), L"Coordinates", DISPATCH_PROPERTYPUT, {moved.get()}), S_OK);
    EXPECT_TRUE(FAILED(invoke(mesh.get(), L"Coordinates", DISPATCH_PROPERTYPUT, {fewer.get()})));
    EXPECT_EQ(get(mesh.get(), L"Coordinate", {index.get()}), (std::vector<double>{2, 0, 1}));
}

}  // namespace

namespace {

// What the interfaces made, as ezdxf is to read it: every vertex with its widths and bulge.
TEST_F(Polylines, WhatWasMadeIsWhatTheFileHolds)
{
    ComPtr<IVeltLWPolyline> polyline = add({0, 0, 4, 0, 4, 3, 1, 5});
    ASSERT_TRUE(polyline);
    ASSERT_EQ(polyline->SetBulge(1, -0.5), S_OK);
    ASSERT_EQ(polyline->SetWidth(0, 0.25, 1.0), S_OK);
    ASSERT_EQ(polyline->SetWidth(2, 0.0, 0.5), S_OK);
    ASSERT_EQ(polyline->put_Elevation(1.5), S_OK);
    ASSERT_EQ(polyline->put_Closed(VARIANT_TRUE), S_OK);
    ASSERT_EQ(polyline->put_LinetypeGeneration(VARIANT_TRUE), S_OK);
    ComPtr<IVeltLWPolyline> wide = add({-3, -3, -1, -2});
    ASSERT_EQ(wide->put_ConstantWidth(0.75), S_OK);
    EXPECT_TRUE(FAILED(wide->put_ConstantWidth(-1.0)));

    std::string facts;
    for (IVeltLWPolyline* p : {polyline.get(), wide.get()}) {
        BSTR handle = nullptr;
        ASSERT_EQ(p->get_Handle(&handle), S_OK);
        std::string vertices;
        const std::vector<double> v = this->vertices(p);
        for (size_t i = 0; i < v.size(); i += 5) {
            char text[200];
            std::snprintf(text, sizeof text, "%s%.17g,%.17g,%.17g,%.17g,%.17g", i ? "," : "", v[i], v[i + 1],
                          std::max(v[i + 3], 0.0), std::max(v[i + 4], 0.0), v[i + 2]);
            vertices += text;
        }
        double width = 0, elevation = 0;
        VARIANT_BOOL closed = 0, plinegen = 0;
        p->get_ConstantWidth(&width);
        p->get_Elevation(&elevation);
        p->get_Closed(&closed);
        p->get_LinetypeGeneration(&plinegen);
        const int flags = (closed ? 1 : 0) | (plinegen ? 128 : 0);
        char attrs[200];
        std::snprintf(attrs, sizeof attrs, "flags=%d;const_width=%.17g;elevation=%.17g;count=%d;vertices=", flags,
                      width, elevation, int(v.size() / 5));
        std::wstring h(handle);
        SysFreeString(handle);
        facts += "ENTITY\t" + std::string(h.begin(), h.end()) + "\tLWPOLYLINE\t0\t256\t" + attrs + vertices + "\n";
    }
    // A cubic spline made through the interfaces: ezdxf finds its control and fit vertices.
    ComPtr<IVeltPolyline> spline;
    Value controls = doubles({0, 0, 0, 4, 4, 0, 8, 0, 0, 12, 4, 0});
    ASSERT_EQ(modelSpace()->AddPolyline(*controls, spline.put()), S_OK);
    ASSERT_EQ(spline->put_Type(vxCubicSplinePoly), S_OK);
    {
        kx::VxDbObjectPointer<kx::VxDb2dPolyline> p(idOf(spline.get()), kx::VxDb::kForRead);
        ASSERT_EQ(p.openStatus(), kx::Velt::eOk);
        std::string vertices;
        for (int i = 0; i < p->vertexCount(); ++i) {
            const kx::VxDb2dVertex* v = p->vertexAt(i);
            char text[200];
            std::snprintf(text, sizeof text, "%s%.17g,%.17g,%d,0,0,0", i ? "," : "", v->position().x,
                          v->position().y, int(v->vertexFlags()));
            vertices += text;
        }
        BSTR handle = nullptr;
        ASSERT_EQ(spline->get_Handle(&handle), S_OK);
        std::wstring h(handle);
        SysFreeString(handle);
        facts += "ENTITY\t" + std::string(h.begin(), h.end()) + "\tPOLYLINE\t0\t256\tflags=4;smooth_type=6;pvertices=" +
                 vertices + "\n";
    }
    drawing::saveForFileCheck(db.get(), "polylines", facts);
}

}  // namespace
