// The members every entity wrapper shares, called through the entity interface of a line's
// wrapper against a real drawing database.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

#include "axsupport/conversions.h"
#include "axsupport/errors.h"
#include "core/binding.h"
#include "core/lookup.h"
#include "db/blocks.h"
#include "db/database.h"
#include "db/entities.h"
#include "drawing_fixture.h"
#include "frame/com.h"
#include "kxauto.h"
#include "services/display.h"

using nk::Bstr;
using nk::ComPtr;
using kx::VxGePoint3d;

namespace {

using drawing::Value;

constexpr double kTol = 1e-9;

using drawing::doubles;

Value point(double x, double y, double z = 0) { return doubles({x, y, z}); }

// A rows x columns array of doubles; entry (r, c) at first index r, second index c.
Value matrix(const double (&m)[4][4], ULONG rows = 4, ULONG columns = 4)
{
    SAFEARRAYBOUND bounds[2] = {{rows, 0}, {columns, 0}};
    SAFEARRAY* sa = SafeArrayCreate(VT_R8, 2, bounds);
    for (LONG r = 0; r < LONG(rows); ++r)
        for (LONG c = 0; c < LONG(columns); ++c) {
            LONG at[2] = {r, c};
            double d = m[r][c];
            SafeArrayPutElement(sa, at, &d);
        }
    Value v;
    V_VT(v.get()) = VT_ARRAY | VT_R8;
    V_ARRAY(v.get()) = sa;
    return v;
}

std::vector<double> doublesOf(const VARIANT& v)
{
    std::vector<double> out;
    if (V_VT(&v) != (VT_ARRAY | VT_R8)) return out;
    LONG lo = 0, hi = -1;
    SafeArrayGetLBound(V_ARRAY(&v), 1, &lo);
    SafeArrayGetUBound(V_ARRAY(&v), 1, &hi);
    for (LONG i = lo; i <= hi; ++i) {
        double d = 0;
        SafeArrayGetElement(V_ARRAY(&v), &i, &d);
        out.push_back(d);
    }
    return out;
}

void expectPoint(const VxGePoint3d& p, double x, double y, double z)
{
    EXPECT_NEAR(p.x, x, kTol);
    EXPECT_NEAR(p.y, y, kTol);
    EXPECT_NEAR(p.z, z, kTol);
}

class EntityMembers : public ::testing::Test {
protected:
    void SetUp() override { db = std::make_unique<kx::VxDbDatabase>(); }

    kx::VxDbObjectId addLine(VxGePoint3d from, VxGePoint3d to)
    {
        kx::VxDbBlockTableRecord* space = nullptr;
        EXPECT_EQ(kx::vxdbOpenObject(space, db->modelSpaceId(), kx::VxDb::kForWrite), kx::Velt::eOk);
        if (!space) return {};
        auto* line = new kx::VxDbLine(from, to);
        line->setDatabaseDefaults(db.get());
        kx::VxDbObjectId id;
        EXPECT_EQ(space->appendVxDbEntity(id, line), kx::Velt::eOk);
        line->close();
        space->close();
        return id;
    }

    ComPtr<IVeltEntity> entity(kx::VxDbObjectId id)
    {
        ComPtr<IUnknown> unknown;
        EXPECT_EQ(VxAxGetIUnknownOfObject(unknown.put(), id, nullptr), S_OK);
        return unknown.as<IVeltEntity>();
    }

    ComPtr<IVeltEntity> addLineEntity(VxGePoint3d from = {0, 0, 0}, VxGePoint3d to = {1, 2, 0})
    {
        return entity(addLine(from, to));
    }

    static kx::VxDbObjectId idOf(IUnknown* wrapper)
    {
        kx::VxDbObjectId id;
        ComPtr<IUnknown> u(wrapper);
        if (auto base = u.as<IVeltBaseObject>()) base->GetObjectId(&id);
        return id;
    }

    // Start and end point of a line.
    static std::pair<VxGePoint3d, VxGePoint3d> endsOf(kx::VxDbObjectId id)
    {
        kx::VxDbLine* line = nullptr;
        if (kx::vxdbOpenObject(line, id, kx::VxDb::kForRead) != kx::Velt::eOk) return {};
        std::pair<VxGePoint3d, VxGePoint3d> ends{line->startPoint(), line->endPoint()};
        line->close();
        return ends;
    }
    static std::pair<VxGePoint3d, VxGePoint3d> endsOf(IUnknown* wrapper) { return endsOf(idOf(wrapper)); }

    size_t modelSpaceCount() const
    {
        kx::VxDbBlockTableRecord* space = nullptr;
        if (kx::vxdbOpenObject(space, db->modelSpaceId(), kx::VxDb::kForRead) != kx::Velt::eOk) return 0;
        size_t n = 0;
        for (kx::VxDbObjectId id : space->entityIds()) n += id.isErased() ? 0 : 1;
        space->close();
        return n;
    }

    template <class Read>
    static auto withEntity(kx::VxDbObjectId id, Read read)
    {
        kx::VxDbEntity* e = nullptr;
        EXPECT_EQ(kx::vxdbOpenObject(e, id, kx::VxDb::kForRead), kx::Velt::eOk);
        auto value = read(*e);
        e->close();
        return value;
    }

    // The wrappers an array method returned.
    static std::vector<ComPtr<IUnknown>> objectsOf(const VARIANT& v)
    {
        std::vector<ComPtr<IUnknown>> out;
        if (V_VT(&v) != (VT_ARRAY | VT_VARIANT)) return out;
        LONG lo = 0, hi = -1;
        SafeArrayGetLBound(V_ARRAY(&v), 1, &lo);
        SafeArrayGetUBound(V_ARRAY(&v), 1, &hi);
        for (LONG i = lo; i <= hi; ++i) {
            Value e;
            SafeArrayGetElement(V_ARRAY(&v), &i, e.get());
            out.emplace_back(V_VT(e.get()) == VT_DISPATCH ? V_DISPATCH(e.get()) : nullptr);
        }
        return out;
    }

    std::unique_ptr<kx::VxDbDatabase> db;
};

HRESULT mapped(kx::Velt::ErrorStatus status) { return RaiseVrxException(__uuidof(IVeltEntity), 0, status); }

}  // namespace

TEST_F(EntityMembers, NullOutputsAndMissingObjectsAnswerEPointer)
{
    ComPtr<IVeltEntity> line = addLineEntity();
    Value p = point(0, 0), out;
    EXPECT_EQ(line->get_Layer(nullptr), E_POINTER);
    EXPECT_EQ(line->get_color(nullptr), E_POINTER);
    EXPECT_EQ(line->get_TrueColor(nullptr), E_POINTER);
    EXPECT_EQ(line->put_TrueColor(nullptr), E_POINTER);
    EXPECT_EQ(line->get_EntityTransparency(nullptr), E_POINTER);
    EXPECT_EQ(line->Copy(nullptr), E_POINTER);
    EXPECT_EQ(line->Mirror(*p.get(), *p.get(), nullptr), E_POINTER);
    EXPECT_EQ(line->GetBoundingBox(out.get(), nullptr), E_POINTER);
    EXPECT_EQ(line->IntersectWith(nullptr, vxExtendNone, out.get()), E_POINTER);
    EXPECT_EQ(line->IntersectWith(line.get(), vxExtendNone, nullptr), E_POINTER);
    EXPECT_EQ(line->ArrayPolar(3, 1.0, *p.get(), nullptr), E_POINTER);
}

TEST_F(EntityMembers, MalformedPointsAndMatricesChangeNothing)
{
    kx::VxDbObjectId id = addLine({0, 0, 0}, {1, 2, 0});
    ComPtr<IVeltEntity> line = entity(id);
    Value number, good = point(1, 1), shortPoint = doubles({1});
    V_VT(number.get()) = VT_I4;
    V_I4(number.get()) = 3;
    EXPECT_EQ(line->Move(*number.get(), *good.get()), E_INVALIDARG);
    EXPECT_EQ(line->Move(*good.get(), *shortPoint.get()), E_INVALIDARG);
    Value text;
    V_VT(text.get()) = VT_BSTR;
    V_BSTR(text.get()) = SysAllocString(L",3");
    EXPECT_EQ(line->Rotate(*text.get(), 1.0), E_INVALIDARG);

    const double shift[4][4] = {{1, 0, 0, 5}, {0, 1, 0, 6}, {0, 0, 1, 7}, {0, 0, 0, 1}};
    Value threeByThree = matrix(shift, 3, 3), fourByThree = matrix(shift, 4, 3);
    EXPECT_EQ(line->TransformBy(*threeByThree.get()), E_INVALIDARG);
    EXPECT_EQ(line->TransformBy(*fourByThree.get()), E_INVALIDARG);
    EXPECT_EQ(line->TransformBy(*good.get()), E_INVALIDARG);  // one dimension
    EXPECT_EQ(line->TransformBy(*number.get()), E_INVALIDARG);
    auto [start, end] = endsOf(id);
    expectPoint(start, 0, 0, 0);
    expectPoint(end, 1, 2, 0);

    // The matrix reader follows a reference to the array; row r, column c is (r, c).
    Value whole = matrix(shift);
    VARIANT byRef;
    VariantInit(&byRef);
    V_VT(&byRef) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(&byRef) = whole.get();
    EXPECT_EQ(line->TransformBy(byRef), S_OK);
    std::tie(start, end) = endsOf(id);
    expectPoint(start, 5, 6, 7);
    expectPoint(end, 6, 8, 7);
}

TEST_F(EntityMembers, ErasedEntityReportsItsStatus)
{
    kx::VxDbObjectId id = addLine({0, 0, 0}, {1, 0, 0});
    ComPtr<IVeltEntity> line = entity(id);
    ASSERT_EQ(line->Erase(), S_OK);
    const HRESULT erased = mapped(kx::Velt::eWasErased);
    ASSERT_TRUE(FAILED(erased));
    Bstr layer;
    EXPECT_EQ(line->get_Layer(layer.put()), erased);
    EXPECT_EQ(layer.get(), nullptr);
    EXPECT_EQ(line->put_Layer(Bstr(L"0").get()), erased);
    Value a = point(0, 0), b = point(1, 1), out;
    EXPECT_EQ(line->Move(*a.get(), *b.get()), erased);
    EXPECT_EQ(line->GetBoundingBox(a.get(), b.get()), erased);
    ComPtr<IDispatch> copy;
    EXPECT_EQ(line->Copy(copy.put()), E_POINTER);
    EXPECT_EQ(line->Update(), erased);
}

TEST_F(EntityMembers, PropertiesGoToTheHostAndItsRefusalsComeBack)
{
    kx::VxDbObjectId id = addLine({0, 0, 0}, {1, 0, 0});
    ComPtr<IVeltEntity> line = entity(id);

    EXPECT_EQ(line->put_Layer(Bstr(L"NoSuchLayer").get()), mapped(kx::Velt::eKeyNotFound));
    Bstr layer;
    EXPECT_EQ(line->get_Layer(layer.put()), S_OK);
    EXPECT_STREQ(layer.c_str(), L"0");

    EXPECT_EQ(line->put_color(vxRed), S_OK);
    VxColor color{};
    EXPECT_EQ(line->get_color(&color), S_OK);
    EXPECT_EQ(color, vxRed);
    EXPECT_TRUE(FAILED(line->put_color(static_cast<VxColor>(65536 + 3))));  // not a 16-bit index

    EXPECT_EQ(line->put_LinetypeScale(0.0), mapped(kx::Velt::eInvalidInput));
    EXPECT_EQ(line->put_LinetypeScale(2.5), S_OK);
    double scale = 0;
    EXPECT_EQ(line->get_LinetypeScale(&scale), S_OK);
    EXPECT_EQ(scale, 2.5);

    // Only VARIANT_TRUE is true.
    VARIANT_BOOL visible = VARIANT_TRUE;
    EXPECT_EQ(line->put_Visible(1), S_OK);
    EXPECT_EQ(line->get_Visible(&visible), S_OK);
    EXPECT_EQ(visible, VARIANT_FALSE);
    EXPECT_EQ(line->put_Visible(VARIANT_TRUE), S_OK);
    EXPECT_EQ(line->get_Visible(&visible), S_OK);
    EXPECT_EQ(visible, VARIANT_TRUE);

    EXPECT_EQ(line->put_Lineweight(vxLnWt035), S_OK);
    VxLineWeight weight{};
    EXPECT_EQ(line->get_Lineweight(&weight), S_OK);
    EXPECT_EQ(weight, vxLnWt035);
    EXPECT_EQ(line->put_Lineweight(static_cast<VxLineWeight>(36)), mapped(kx::Velt::eInvalidInput));

    Bstr name;
    LONG type = 0;
    EXPECT_EQ(line->get_EntityName(name.put()), S_OK);
    EXPECT_STREQ(name.c_str(), L"KxDbLine");
    EXPECT_EQ(line->get_EntityType(&type), S_OK);
    EXPECT_EQ(type, vxLine);
}

TEST_F(EntityMembers, TransparencyTakesKeywordsAndPercentagesAndIgnoresTheRest)
{
    kx::VxDbObjectId id = addLine({0, 0, 0}, {1, 0, 0});
    ComPtr<IVeltEntity> line = entity(id);
    auto stored = [&] { return withEntity(id, [](const kx::VxDbEntity& e) { return e.transparency(); }); };

    ASSERT_EQ(line->put_EntityTransparency(Bstr(L"90").get()), S_OK);
    EXPECT_TRUE(stored().isByAlpha());
    EXPECT_EQ(stored().alpha(), 25);
    Bstr text;
    EXPECT_EQ(line->get_EntityTransparency(text.put()), S_OK);
    EXPECT_STREQ(text.c_str(), L"90");

    for (const wchar_t* bad : {L"91", L"-1", L"abc", L"00", L"", L"1 0"}) {
        EXPECT_EQ(line->put_EntityTransparency(Bstr(bad).get()), S_OK) << bad;
        EXPECT_EQ(stored().alpha(), 25) << bad;
    }
    EXPECT_EQ(line->put_EntityTransparency(nullptr), S_OK);

    EXPECT_EQ(line->put_EntityTransparency(Bstr(L"0").get()), S_OK);
    EXPECT_EQ(stored().alpha(), 255);
    EXPECT_EQ(line->put_EntityTransparency(Bstr(L"bYbLoCk").get()), S_OK);
    EXPECT_TRUE(stored().isByBlock());
    EXPECT_EQ(line->get_EntityTransparency(text.put()), S_OK);
    EXPECT_STREQ(text.c_str(), L"ByBlock");
    EXPECT_EQ(line->put_EntityTransparency(Bstr(L"BYLAYER").get()), S_OK);
    EXPECT_TRUE(stored().isByLayer());
}

TEST_F(EntityMembers, PlotStyleWordsChooseTheirKindInAnyCase)
{
    kx::VxDbObjectId id = addLine({0, 0, 0}, {1, 0, 0});
    ComPtr<IVeltEntity> line = entity(id);
    auto kind = [&] {
        return withEntity(id, [](const kx::VxDbEntity& e) {
            kx::VxDbObjectId style;
            return e.getPlotStyleNameId(style);
        });
    };
    for (const wchar_t* word : {L"BYBLOCK", L"byblock", L"ByBlock"}) {
        EXPECT_EQ(line->put_PlotStyleName(Bstr(word).get()), S_OK) << word;
        EXPECT_EQ(kind(), kx::VxDb::kPlotStyleNameByBlock) << word;
        EXPECT_EQ(line->put_PlotStyleName(Bstr(L"bylayer").get()), S_OK);
        EXPECT_EQ(kind(), kx::VxDb::kPlotStyleNameByLayer);
    }
    EXPECT_EQ(line->put_PlotStyleName(Bstr(L"NORMAL").get()), S_OK);
    EXPECT_EQ(kind(), kx::VxDb::kPlotStyleNameIsDictDefault);
    EXPECT_TRUE(FAILED(line->put_PlotStyleName(Bstr(L"No such style").get())));
    EXPECT_EQ(kind(), kx::VxDb::kPlotStyleNameIsDictDefault);
}

TEST_F(EntityMembers, TrueColorTravelsThroughAColourObject)
{
    kx::VxDbObjectId id = addLine({0, 0, 0}, {1, 0, 0});
    ComPtr<IVeltEntity> line = entity(id);
    ComPtr<IVeltVxCmColor> color;
    ASSERT_EQ(line->get_TrueColor(color.put()), S_OK);
    ASSERT_TRUE(color);
    VxColorMethod method{};
    EXPECT_EQ(color->get_ColorMethod(&method), S_OK);
    EXPECT_EQ(method, vxColorMethodByLayer);

    EXPECT_EQ(color->SetRGB(10, 20, 30), S_OK);
    EXPECT_EQ(line->put_TrueColor(color.get()), S_OK);
    kx::VxCmColor stored = withEntity(id, [](const kx::VxDbEntity& e) { return e.color(); });
    EXPECT_EQ(stored.colorMethod(), kx::VxCmEntityColor::kByColor);
    EXPECT_EQ(stored.red(), 10);
    EXPECT_EQ(stored.green(), 20);
    EXPECT_EQ(stored.blue(), 30);

    // Each read makes a new object: changing it changes nothing until it is put.
    ComPtr<IVeltVxCmColor> again;
    ASSERT_EQ(line->get_TrueColor(again.put()), S_OK);
    EXPECT_NE(again.get(), color.get());
    EXPECT_EQ(again->put_ColorIndex(vxGreen), S_OK);
    EXPECT_EQ(withEntity(id, [](const kx::VxDbEntity& e) { return e.color(); }).blue(), 30);
}

TEST_F(EntityMembers, MoveRotateAndScaleTransformInPlace)
{
    kx::VxDbObjectId id = addLine({1, 0, 0}, {2, 0, 0});
    ComPtr<IVeltEntity> line = entity(id);
    Value origin = point(0, 0), shift = point(1, 1, 1);
    ASSERT_EQ(line->Move(*origin.get(), *shift.get()), S_OK);
    auto [start, end] = endsOf(id);
    expectPoint(start, 2, 1, 1);
    expectPoint(end, 3, 1, 1);

    // A quarter turn about the z axis of the UCS through (2, 1).
    Value base = point(2, 1, 0);
    ASSERT_EQ(line->Rotate(*base.get(), std::numbers::pi / 2), S_OK);
    std::tie(start, end) = endsOf(id);
    expectPoint(start, 2, 1, 1);
    expectPoint(end, 2, 2, 1);

    // With the UCS standing up (its z along world x) the turn is about world x.
    ASSERT_EQ(db->setUcs({0, 0, 0}, {0, 1, 0}, {0, 0, 1}), kx::Velt::eOk);
    ASSERT_EQ(line->Rotate(*origin.get(), std::numbers::pi / 2), S_OK);
    std::tie(start, end) = endsOf(id);
    expectPoint(start, 2, -1, 1);
    expectPoint(end, 2, -1, 2);

    Value p1 = point(0, 0, 0), p2 = point(0, 0, 5);
    ASSERT_EQ(line->Rotate3D(*p1.get(), *p2.get(), std::numbers::pi), S_OK);
    std::tie(start, end) = endsOf(id);
    expectPoint(start, -2, 1, 1);

    ASSERT_EQ(line->ScaleEntity(*origin.get(), 2.0), S_OK);
    std::tie(start, end) = endsOf(id);
    expectPoint(start, -4, 2, 2);
    expectPoint(end, -4, 2, 4);
}

TEST_F(EntityMembers, MirrorProjectsItsLineOntoTheUcsPlane)
{
    kx::VxDbObjectId id = addLine({1, 0, 0}, {2, 1, 0});
    ComPtr<IVeltEntity> line = entity(id);
    const size_t before = modelSpaceCount();
    // The points lie above the plane; the mirror line is the y axis.
    Value p1 = point(0, 0, 3), p2 = point(0, 5, -2);
    ComPtr<IDispatch> mirrored;
    ASSERT_EQ(line->Mirror(*p1.get(), *p2.get(), mirrored.put()), S_OK);
    ASSERT_TRUE(mirrored);
    EXPECT_TRUE(mirrored.as<IVeltLine>());
    EXPECT_EQ(modelSpaceCount(), before + 1);
    auto [start, end] = endsOf(mirrored.get());
    expectPoint(start, -1, 0, 0);
    expectPoint(end, -2, 1, 0);
    std::tie(start, end) = endsOf(id);
    expectPoint(start, 1, 0, 0);  // the source stays

    // Points that fall together on the plane give no mirror line.
    Value above = point(1, 1, 9);
    Value below = point(1, 1, -9);
    EXPECT_EQ(line->Mirror(*above.get(), *below.get(), mirrored.put()), mapped(kx::Velt::eInvalidInput));
    EXPECT_EQ(modelSpaceCount(), before + 1);

    Value a = point(0, 0, 1), b = point(1, 0, 1), c = point(0, 1, 1);
    ASSERT_EQ(line->Mirror3D(*a.get(), *b.get(), *c.get(), mirrored.put()), S_OK);
    std::tie(start, end) = endsOf(mirrored.get());
    expectPoint(start, 1, 0, 2);
    expectPoint(end, 2, 1, 2);
}

TEST_F(EntityMembers, CopyAddsAnEqualEntityToTheSameBlock)
{
    kx::VxDbObjectId id = addLine({1, 2, 3}, {4, 5, 6});
    ComPtr<IVeltEntity> line = entity(id);
    ASSERT_EQ(line->put_color(vxBlue), S_OK);
    ComPtr<IDispatch> copy;
    ASSERT_EQ(line->Copy(copy.put()), S_OK);
    ASSERT_TRUE(copy);
    kx::VxDbObjectId copyId = idOf(copy.get());
    EXPECT_NE(copyId, id);
    auto [start, end] = endsOf(copyId);
    expectPoint(start, 1, 2, 3);
    expectPoint(end, 4, 5, 6);
    EXPECT_EQ(withEntity(copyId, [](const kx::VxDbEntity& e) { return e.ownerId(); }), db->modelSpaceId());
    VxColor color{};
    EXPECT_EQ(copy.as<IVeltEntity>()->get_color(&color), S_OK);
    EXPECT_EQ(color, vxBlue);
}

TEST_F(EntityMembers, ArrayPolarMakesCountLessOneCopiesOverTheFillAngle)
{
    kx::VxDbObjectId id = addLine({1, 0, 0}, {2, 0, 0});
    ComPtr<IVeltEntity> line = entity(id);
    Value center = point(0, 0);
    const size_t before = modelSpaceCount();

    Value untouched;
    V_VT(untouched.get()) = VT_I4;
    V_I4(untouched.get()) = 123;
    EXPECT_EQ(line->ArrayPolar(0, 1.0, *center.get(), untouched.get()), E_INVALIDARG);
    EXPECT_EQ(line->ArrayPolar(1, 1.0, *center.get(), untouched.get()), S_OK);
    EXPECT_EQ(untouched.type(), VT_I4);
    EXPECT_EQ(V_I4(untouched.get()), 123);
    EXPECT_EQ(modelSpaceCount(), before);

    Value copies;
    ASSERT_EQ(line->ArrayPolar(4, 2 * std::numbers::pi, *center.get(), copies.get()), S_OK);
    std::vector<ComPtr<IUnknown>> objects = objectsOf(*copies.get());
    ASSERT_EQ(objects.size(), 3u);
    EXPECT_EQ(modelSpaceCount(), before + 3);
    const double third = 2 * std::numbers::pi / 3;
    auto [start, end] = endsOf(objects[0].get());
    expectPoint(start, std::cos(third), std::sin(third), 0);
    std::tie(start, end) = endsOf(objects[2].get());
    expectPoint(start, 1, 0, 0);  // the last copy lands on the source
    expectPoint(end, 2, 0, 0);
}

TEST_F(EntityMembers, ArrayRectangularSkipsTheSourceCell)
{
    kx::VxDbObjectId id = addLine({0, 0, 0}, {1, 0, 0});
    ComPtr<IVeltEntity> line = entity(id);
    const size_t before = modelSpaceCount();
    Value out;
    EXPECT_EQ(line->ArrayRectangular(0, 1, 1, 1, 1, 1, out.get()), E_INVALIDARG);
    EXPECT_EQ(line->ArrayRectangular(1, 1, -1, 1, 1, 1, out.get()), E_INVALIDARG);

    ASSERT_EQ(line->ArrayRectangular(1, 1, 1, 5, 5, 5, out.get()), S_OK);
    EXPECT_EQ(out.type(), VT_ARRAY | VT_VARIANT);
    EXPECT_TRUE(objectsOf(*out.get()).empty());
    EXPECT_EQ(modelSpaceCount(), before);

    // Columns outside, then rows, then levels.
    ASSERT_EQ(line->ArrayRectangular(2, 2, 2, 10, 100, 1000, out.get()), S_OK);
    std::vector<ComPtr<IUnknown>> objects = objectsOf(*out.get());
    ASSERT_EQ(objects.size(), 7u);
    EXPECT_EQ(modelSpaceCount(), before + 7);
    const double expected[7][3] = {{0, 0, 1000}, {0, 10, 0},    {0, 10, 1000},  {100, 0, 0},
                                   {100, 0, 1000}, {100, 10, 0}, {100, 10, 1000}};
    for (size_t i = 0; i < objects.size(); ++i) {
        SCOPED_TRACE(i);
        expectPoint(endsOf(objects[i].get()).first, expected[i][0], expected[i][1], expected[i][2]);
    }
}

TEST_F(EntityMembers, IntersectWithAnswersAFlatListOfPoints)
{
    ComPtr<IVeltEntity> first = addLineEntity({0, 0, 0}, {2, 2, 0});
    ComPtr<IVeltEntity> second = addLineEntity({0, 2, 0}, {2, 0, 0});
    ComPtr<IVeltEntity> parallel = addLineEntity({0, 1, 0}, {2, 3, 0});
    Value points;
    ASSERT_EQ(first->IntersectWith(second.get(), vxExtendNone, points.get()), S_OK);
    std::vector<double> flat = doublesOf(*points.get());
    ASSERT_EQ(flat.size(), 3u);
    EXPECT_NEAR(flat[0], 1, kTol);
    EXPECT_NEAR(flat[1], 1, kTol);
    EXPECT_NEAR(flat[2], 0, kTol);

    ASSERT_EQ(first->IntersectWith(parallel.get(), vxExtendBoth, points.get()), S_OK);
    EXPECT_EQ(points.type(), VT_ARRAY | VT_R8);
    EXPECT_TRUE(doublesOf(*points.get()).empty());

    // Extending the short one reaches the other.
    ComPtr<IVeltEntity> shortLine = addLineEntity({5, 0, 0}, {5, 1, 0});
    ComPtr<IVeltEntity> crossing = addLineEntity({0, 3, 0}, {10, 3, 0});
    ASSERT_EQ(shortLine->IntersectWith(crossing.get(), vxExtendNone, points.get()), S_OK);
    EXPECT_TRUE(doublesOf(*points.get()).empty());
    ASSERT_EQ(shortLine->IntersectWith(crossing.get(), vxExtendThisEntity, points.get()), S_OK);
    EXPECT_EQ(doublesOf(*points.get()).size(), 3u);

    // An object that is no wrapper of a database object.
    ComPtr<IVeltVxCmColor> color;
    ASSERT_EQ(first->get_TrueColor(color.put()), S_OK);
    EXPECT_EQ(first->IntersectWith(color.get(), vxExtendNone, points.get()), E_NOINTERFACE);
}

TEST_F(EntityMembers, BoundingBoxHighlightAndUpdate)
{
    kx::VxDbObjectId id = addLine({3, -1, 2}, {1, 2, 0});
    ComPtr<IVeltEntity> line = entity(id);
    Value low, high;
    ASSERT_EQ(line->GetBoundingBox(low.get(), high.get()), S_OK);
    EXPECT_EQ(doublesOf(*low.get()), (std::vector<double>{1, -1, 0}));
    EXPECT_EQ(doublesOf(*high.get()), (std::vector<double>{3, 2, 2}));

    kx::VxHostDisplay& display = kx::VxHostDisplay::instance();
    EXPECT_EQ(line->Highlight(VARIANT_TRUE), S_OK);
    EXPECT_TRUE(display.isHighlighted(id));
    EXPECT_EQ(line->Highlight(1), S_OK);  // not VARIANT_TRUE: off
    EXPECT_FALSE(display.isHighlighted(id));

    const size_t updates = display.entityUpdateCount();
    EXPECT_EQ(line->Update(), S_OK);
    EXPECT_EQ(display.entityUpdateCount(), updates + 1);
    EXPECT_EQ(display.lastUpdatedEntity(), id);
}

TEST_F(EntityMembers, HyperlinksAreKeptWithTheEntity)
{
    ComPtr<IVeltEntity> line = addLineEntity();
    ComPtr<IVeltHyperlinks> links;
    ASSERT_EQ(line->get_Hyperlinks(links.put()), S_OK);
    LONG count = -1;
    EXPECT_EQ(links->get_Count(&count), S_OK);
    EXPECT_EQ(count, 0);

    Value description, missing;
    V_VT(description.get()) = VT_BSTR;
    V_BSTR(description.get()) = SysAllocString(L"Home");
    V_VT(missing.get()) = VT_ERROR;
    V_ERROR(missing.get()) = DISP_E_PARAMNOTFOUND;
    ComPtr<IVeltHyperlink> first, second;
    ASSERT_EQ(links->Add(Bstr(L"https://a.example").get(), *description.get(), *missing.get(), first.put()), S_OK);
    ASSERT_EQ(links->Add(Bstr(L"https://b.example").get(), *missing.get(), *missing.get(), second.put()), S_OK);

    // A fresh collection reads what the entity keeps.
    ComPtr<IVeltHyperlinks> again;
    ASSERT_EQ(line->get_Hyperlinks(again.put()), S_OK);
    EXPECT_EQ(again->get_Count(&count), S_OK);
    EXPECT_EQ(count, 2);
    Value index;
    V_VT(index.get()) = VT_I2;
    V_I2(index.get()) = 1;
    ComPtr<IVeltHyperlink> item;
    ASSERT_EQ(again->Item(*index.get(), item.put()), S_OK);
    Bstr url;
    EXPECT_EQ(item->get_URL(url.put()), S_OK);
    EXPECT_STREQ(url.c_str(), L"https://b.example");
    V_I2(index.get()) = 2;
    EXPECT_EQ(again->Item(*index.get(), item.put()), E_INVALIDARG);

    ASSERT_EQ(first->Delete(), S_OK);
    EXPECT_EQ(first->get_URL(url.put()), E_FAIL);
    EXPECT_EQ(again->get_Count(&count), S_OK);
    EXPECT_EQ(count, 1);
}

TEST_F(EntityMembers, LateBoundClientsReachTheSameMembers)
{
    kx::VxDbObjectId id = addLine({0, 0, 0}, {1, 0, 0});
    ComPtr<IDispatch> line = entity(id).as<IDispatch>();
    ASSERT_TRUE(line);
    auto dispidOf = [&](const wchar_t* name) {
        DISPID dispid = 0;
        LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
        EXPECT_EQ(line->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &dispid), S_OK);
        return dispid;
    };
    EXPECT_EQ(dispidOf(L"EntityTransparency"), 0x579);
    EXPECT_EQ(dispidOf(L"color"), 0x500);

    Value value;
    V_VT(value.get()) = VT_BSTR;
    V_BSTR(value.get()) = SysAllocString(L"50");
    DISPID named = DISPID_PROPERTYPUT;
    DISPPARAMS put = {value.get(), &named, 1, 1};
    ASSERT_EQ(line->Invoke(0x579, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &put, nullptr, nullptr, nullptr),
              S_OK);
    EXPECT_EQ(withEntity(id, [](const kx::VxDbEntity& e) { return e.transparency().alpha(); }), 127);

    Value result;
    DISPPARAMS none = {nullptr, nullptr, 0, 0};
    ASSERT_EQ(line->Invoke(0x576, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, result.get(), nullptr,
                           nullptr),
              S_OK);
    EXPECT_EQ(result.type(), VT_I4);
    EXPECT_EQ(V_I4(result.get()), vxLine);
}
