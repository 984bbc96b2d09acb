// The Add methods of a block for the simple kinds: what each entity takes from the block,
// what each refuses (and that a refusal adds nothing), and the custom object's class look-up.
#include <cmath>

#include "axsupport/values.h"
#include "db/entities.h"
#include "drawing_fixture.h"

using drawing::coordinates;
using drawing::doubles;
using drawing::point;
using drawing::Value;
using kx::VxGePoint3d;
using kx::VxGeVector3d;
using nk::ComPtr;

namespace {

class Factories : public drawing::Drawing {
protected:
    LONG count()
    {
        LONG n = -1;
        modelSpace()->get_Count(&n);
        return n;
    }
    template <class Itf>
    VxGePoint3d normalOf(Itf* entity)
    {
        Value v;
        EXPECT_EQ(entity->get_Normal(v.get()), S_OK);
        return coordinates(*v);
    }
};

bool closeTo(const VxGePoint3d& a, const VxGePoint3d& b) { return a.distanceTo(b) < 1e-12; }

}  // namespace

// Circles, arcs and traces lie in the plane of the space they are added to: the user
// coordinate system's in model space, the world's in a block.
TEST_F(Factories, EntitiesWithANormalTakeTheBlocksPlane)
{
    ASSERT_EQ(db->setUcs({0, 0, 0}, VxGeVector3d{1, 0, 0}, VxGeVector3d{0, 0.8, 0.6}), kx::Velt::eOk);
    const VxGePoint3d ucsNormal{0, -0.6, 0.8};
    Value center = point(1, 2, 3), corners = doubles({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0});

    ComPtr<IVeltCircle> circle;
    ASSERT_EQ(modelSpace()->AddCircle(*center, 2.0, circle.put()), S_OK);
    EXPECT_TRUE(closeTo(normalOf(circle.get()), ucsNormal));
    ComPtr<IVeltArc> arc;
    ASSERT_EQ(modelSpace()->AddArc(*center, 2.0, 0.0, 1.0, arc.put()), S_OK);
    EXPECT_TRUE(closeTo(normalOf(arc.get()), ucsNormal));
    ComPtr<IVeltTrace> trace;
    ASSERT_EQ(modelSpace()->AddTrace(*corners, trace.put()), S_OK);
    EXPECT_TRUE(closeTo(normalOf(trace.get()), ucsNormal));

    ComPtr<IVeltBlock> block = wrapperOf<IVeltBlock>(addBlock(L"PART"));
    ComPtr<IVeltCircle> inBlock;
    ASSERT_EQ(block->AddCircle(*center, 2.0, inBlock.put()), S_OK);
    EXPECT_TRUE(closeTo(normalOf(inBlock.get()), {0, 0, 1}));

    // The centre is where it was given, in the world.
    Value c;
    ASSERT_EQ(circle->get_Center(c.get()), S_OK);
    EXPECT_TRUE(closeTo(coordinates(*c), {1, 2, 3}));
}

// An ellipse lies in the plane of its major axis that is nearest to the block's.
TEST_F(Factories, EllipsesTakeTheirAxisAndRatio)
{
    Value center = point(0, 0, 0), axis = point(3, 4, 0), upright = point(0, 0, 2);
    ComPtr<IVeltEllipse> ellipse;
    ASSERT_EQ(modelSpace()->AddEllipse(*center, *axis, 0.5, ellipse.put()), S_OK);
    double major = 0, minor = 0;
    ellipse->get_MajorRadius(&major);
    ellipse->get_MinorRadius(&minor);
    EXPECT_DOUBLE_EQ(major, 5.0);
    EXPECT_DOUBLE_EQ(minor, 2.5);
    EXPECT_TRUE(closeTo(normalOf(ellipse.get()), {0, 0, 1}));

    ComPtr<IVeltEllipse> standing;
    ASSERT_EQ(modelSpace()->AddEllipse(*center, *upright, 1.0, standing.put()), S_OK);
    Value n;
    standing->get_Normal(n.get());
    EXPECT_NEAR(coordinates(*n).z, 0.0, 1e-12);  // square to its upright axis
}

TEST_F(Factories, RefusedInputAddsNothing)
{
    Value center = point(1, 1, 0), same = point(1, 1, 0), zero = point(0, 0, 0);
    Value scriptArray;  // what a script makes: an array of VARIANTs
    V_VT(scriptArray.get()) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(scriptArray.get()) = SafeArrayCreateVector(VT_VARIANT, 0, 3);
    const LONG before = count();

    ComPtr<IVeltCircle> circle;
    EXPECT_EQ(modelSpace()->AddCircle(*center, 0.0, circle.put()), E_INVALIDARG);
    EXPECT_EQ(modelSpace()->AddCircle(*center, std::nan(""), circle.put()), E_INVALIDARG);
    EXPECT_EQ(modelSpace()->AddCircle(*scriptArray, 1.0, circle.put()), nk::kElementNotRead);
    EXPECT_EQ(modelSpace()->AddCircle(*center, 1.0, nullptr), E_POINTER);
    EXPECT_FALSE(circle);
    ComPtr<IVeltArc> arc;
    EXPECT_EQ(modelSpace()->AddArc(*center, -2.0, 0.0, 1.0, arc.put()), E_INVALIDARG);
    ComPtr<IVeltEllipse> ellipse;
    EXPECT_EQ(modelSpace()->AddEllipse(*center, *zero, 0.5, ellipse.put()), E_INVALIDARG);
    EXPECT_EQ(modelSpace()->AddEllipse(*center, *center, 1.5, ellipse.put()), E_INVALIDARG);
    ComPtr<IVeltRay> ray;
    EXPECT_EQ(modelSpace()->AddRay(*center, *same, ray.put()), E_INVALIDARG);
    ComPtr<IVeltXline> xline;
    EXPECT_EQ(modelSpace()->AddXline(*center, *same, xline.put()), E_INVALIDARG);
    ComPtr<IVeltTrace> trace;
    Value threeCorners = doubles({0, 0, 0, 1, 0, 0, 0, 1, 0});
    EXPECT_EQ(modelSpace()->AddTrace(*threeCorners, trace.put()), E_INVALIDARG);
    ComPtr<IVeltPoint> pointEntity;
    EXPECT_EQ(modelSpace()->AddPoint(*scriptArray, pointEntity.put()), nk::kElementNotRead);
    EXPECT_EQ(count(), before);

    // A block that is gone takes nothing: E_POINTER, as for every Add method.
    kx::VxDbObjectId partId = addBlock(L"GONE");
    ComPtr<IVeltBlock> part = wrapperOf<IVeltBlock>(partId);
    ASSERT_EQ(part->Delete(), S_OK);
    EXPECT_EQ(part->AddCircle(*center, 1.0, circle.put()), E_POINTER);
}

TEST_F(Factories, RaysAndConstructionLinesRunFromTheFirstPointThroughTheSecond)
{
    Value from = point(1, 0, 0), through = point(1, 0, 4);
    ComPtr<IVeltXline> xline;
    ASSERT_EQ(modelSpace()->AddXline(*from, *through, xline.put()), S_OK);
    Value direction, second;
    xline->get_DirectionVector(direction.get());
    xline->get_SecondPoint(second.get());
    EXPECT_TRUE(closeTo(coordinates(*direction), {0, 0, 1}));  // a unit vector
    EXPECT_TRUE(closeTo(coordinates(*second), {1, 0, 4}));

    Value copies;
    ASSERT_EQ(xline->Offset(2.0, copies.get()), S_OK);
    ASSERT_EQ(copies.type(), VT_ARRAY | VT_VARIANT);
    EXPECT_EQ(V_ARRAY(copies.get())->rgsabound[0].cElements, 1u);
}

TEST_F(Factories, FacesKeepTheirCornersAndEdges)
{
    Value p1 = point(0, 0, 0), p2 = point(1, 0, 0), p3 = point(1, 1, 1), p4 = point(0, 1, 0);
    ComPtr<IVelt3DFace> face;
    ASSERT_EQ(modelSpace()->Add3DFace(*p1, *p2, *p3, *p4, face.put()), S_OK);
    Value corner;
    ASSERT_EQ(face->get_Coordinate(2, corner.get()), S_OK);
    EXPECT_TRUE(closeTo(coordinates(*corner), {1, 1, 1}));
    Value beyond;
    EXPECT_TRUE(FAILED(face->get_Coordinate(4, beyond.get())));  // the host's invalid index

    ASSERT_EQ(face->SetInvisibleEdge(1, VARIANT_TRUE), S_OK);
    VARIANT_BOOL visible = VARIANT_TRUE, invisible = VARIANT_FALSE;
    face->get_VisibilityEdge2(&visible);
    face->GetInvisibleEdge(1, &invisible);
    EXPECT_EQ(visible, VARIANT_FALSE);
    EXPECT_EQ(invisible, VARIANT_TRUE);
    // Only VARIANT_TRUE is true: 1 makes the edge visible again.
    ASSERT_EQ(face->SetInvisibleEdge(1, 1), S_OK);
    face->GetInvisibleEdge(1, &invisible);
    EXPECT_EQ(invisible, VARIANT_FALSE);

    // Three corners make a triangle: the fourth repeats the third.
    Value three;
    V_VT(three.get()) = VT_ARRAY | VT_R8;
    V_ARRAY(three.get()) = SafeArrayCreateVector(VT_R8, 0, 9);
    double values[9] = {0, 0, 0, 2, 0, 0, 2, 2, 0};
    for (LONG i = 0; i < 9; ++i) SafeArrayPutElement(V_ARRAY(three.get()), &i, &values[i]);
    ASSERT_EQ(face->put_Coordinates(*three), S_OK);
    ASSERT_EQ(face->get_Coordinate(3, corner.get()), S_OK);
    EXPECT_TRUE(closeTo(coordinates(*corner), {2, 2, 0}));
}

TEST_F(Factories, CustomObjectsAreMadeByTheirClassName)
{
    ComPtr<IDispatch> made;
    nk::Bstr line(L"KxDbLine");
    ASSERT_EQ(modelSpace()->AddCustomObject(line.get(), made.put()), S_OK);
    EXPECT_TRUE(made.as<IVeltLine>());

    const LONG before = count();
    for (const wchar_t* name : {L"NoSuchClass", L"KxDbDictionary", L"KxDbLinearBase", L"ClassDictionary", L""}) {
        nk::Bstr text(name);
        ComPtr<IDispatch> none;
        EXPECT_EQ(modelSpace()->AddCustomObject(text.get(), none.put()), E_INVALIDARG) << std::wstring(name).size();
        EXPECT_FALSE(none);
    }
    EXPECT_EQ(modelSpace()->AddCustomObject(nullptr, made.put()), E_INVALIDARG);
    EXPECT_EQ(count(), before);
}
