// The line's own members, on lines added through model space.
#include <cmath>
#include <memory>
#include <numbers>

#include "axsupport/errors.h"
#include "axsupport/values.h"
#include "core/binding.h"
#include "db/entities.h"
#include "drawing_fixture.h"

using drawing::coordinates;
using drawing::point;
using drawing::Value;
using kx::VxGePoint3d;
using nk::ComPtr;

namespace {

class Line : public drawing::Drawing {};

VxGePoint3d read(IVeltLine* line, HRESULT (STDMETHODCALLTYPE IVeltLine::*get)(VARIANT*))
{
    Value v;
    EXPECT_EQ((line->*get)(v.get()), S_OK);
    return coordinates(*v);
}

}  // namespace

TEST_F(Line, LengthDeltaAndAngleFollowTheEnds)
{
    const double pi = std::numbers::pi;
    const struct {
        VxGePoint3d from, to;
        double length, angle;
    } cases[] = {
        {{0, 0, 5}, {0, 0, 9}, 4.0, 0.0},
        {{1, 1, 0}, {0, 0, 0}, std::sqrt(2.0), 5 * pi / 4},  // not -3 pi / 4
        {{1, 0, 0}, {2, -1, 1}, std::sqrt(3.0), 7 * pi / 4},  // in the world xy plane only
    };
    for (const auto& c : cases) {
        ComPtr<IVeltLine> line = addLine(c.from, c.to);
        ASSERT_TRUE(line);
        double length = -1, angle = -1;
        ASSERT_EQ(line->get_Length(&length), S_OK);
        ASSERT_EQ(line->get_Angle(&angle), S_OK);
        EXPECT_NEAR(length, c.length, 1e-12);
        EXPECT_NEAR(angle, c.angle, 1e-12);
        EXPECT_EQ(read(line.get(), &IVeltLine::get_Delta), VxGePoint3d() + (c.to - c.from));
    }
}

TEST_F(Line, SettersPassValuesToTheHostAndBadPointsChangeNothing)
{
    ComPtr<IVeltLine> line = addLine({1, 2, 3}, {4, 5, 6});
    ASSERT_TRUE(line);
    Value start = point(-1, -2, -3), normal = point(0, 0, -2), zero = point(0, 0, 0);
    ASSERT_EQ(line->put_StartPoint(*start), S_OK);
    ASSERT_EQ(line->put_Thickness(-2.5), S_OK);  // negative is the host's to judge
    ASSERT_EQ(line->put_Normal(*normal), S_OK);
    // A zero normal gets whatever the host answers.
    auto loose = std::make_unique<kx::VxDbLine>();
    EXPECT_EQ(line->put_Normal(*zero), RaiseVrxException(IID_NULL, 0, loose->setNormal({0, 0, 0})));

    kx::VxDbObjectPointer<kx::VxDbLine> stored(idOf(line.get()));
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->startPoint(), VxGePoint3d(-1, -2, -3));
    EXPECT_EQ(stored->thickness(), -2.5);
    EXPECT_EQ(read(line.get(), &IVeltLine::get_Normal), VxGePoint3d(0, 0, -1));
    stored.close();

    Value variants, words = drawing::text(L"1,2,3");
    V_VT(variants.get()) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(variants.get()) = SafeArrayCreateVector(VT_VARIANT, 0, 3);
    EXPECT_EQ(line->put_StartPoint(*variants), nk::kElementNotRead);
    EXPECT_EQ(line->put_EndPoint(*words), nk::kNotAnArray);
    EXPECT_EQ(read(line.get(), &IVeltLine::get_StartPoint), VxGePoint3d(-1, -2, -3));
    EXPECT_EQ(read(line.get(), &IVeltLine::get_EndPoint), VxGePoint3d(4, 5, 6));
}

TEST_F(Line, ALineThatDoesNotOpenAnswersEPointerEverywhere)
{
    ComPtr<IVeltLine> line = addLine({0, 0, 0}, {1, 0, 0});
    ASSERT_EQ(line->Delete(), S_OK);
    // Bound to a layer, a line wrapper does not open either.
    ComPtr<IUnknown> stranger;
    ASSERT_EQ(nk::createWrapper(CLSID_VeltLine, stranger.put()), S_OK);
    ASSERT_EQ(stranger.as<IVeltBaseObject>()->SetObjectId(db->layerZero(), {}, nullptr), S_OK);

    for (IVeltLine* l : {line.get(), stranger.as<IVeltLine>().get()}) {
        Value v, p = point(1, 1, 1);
        double d = 0;
        EXPECT_EQ(l->get_StartPoint(v.get()), E_POINTER);
        EXPECT_EQ(l->put_EndPoint(*p), E_POINTER);
        EXPECT_EQ(l->put_Thickness(1.0), E_POINTER);
        EXPECT_EQ(l->get_Angle(&d), E_POINTER);
        EXPECT_EQ(l->Offset(1.0, v.get()), E_POINTER);
        EXPECT_EQ(v.type(), VT_EMPTY);
    }
}

TEST_F(Line, OffsetAddsTheCurvesBesideTheLine)
{
    ComPtr<IVeltLine> line = addLine({0, 0, 0}, {10, 0, 0});
    Value curves;
    ASSERT_EQ(line->Offset(2.0, curves.get()), S_OK);
    ASSERT_EQ(curves.type(), VT_ARRAY | VT_VARIANT);
    ASSERT_EQ(V_ARRAY(curves.get())->rgsabound[0].cElements, 1u);
    Value first;
    LONG at = 0;
    ASSERT_EQ(SafeArrayGetElement(V_ARRAY(curves.get()), &at, first.get()), S_OK);
    ASSERT_EQ(first.type(), VT_DISPATCH);
    ComPtr<IVeltLine> offset = ComPtr<IDispatch>(V_DISPATCH(first.get())).as<IVeltLine>();
    ASSERT_TRUE(offset);
    // Positive distances go to the right, seen from the normal.
    EXPECT_EQ(read(offset.get(), &IVeltLine::get_StartPoint), VxGePoint3d(0, -2, 0));
    LONG_PTR owner = 0;
    ASSERT_EQ(offset->get_OwnerID(&owner), S_OK);
    EXPECT_EQ(owner, db->modelSpaceId().asOldId());

    // A line without length has no offset: the host's status, nothing added.
    ComPtr<IVeltLine> dot = addLine({1, 1, 0}, {1, 1, 0});
    Value none;
    EXPECT_TRUE(FAILED(dot->Offset(1.0, none.get())));
    LONG count = 0;
    ASSERT_EQ(modelSpace()->get_Count(&count), S_OK);
    EXPECT_EQ(count, 3);
}
