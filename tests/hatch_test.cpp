// Hatches through IDispatch, as scripts drive them: AddHatch and its refusals, loops from
// entities and their refusals, loops read back as entities, patterns and gradients; the
// file the test saves is read by ezdxf (hatches_in_ezdxf).

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "axsupport/conversions.h"
#include "db/hatch.h"
#include "drawing_fixture.h"
#include "dxf/dxffile.h"

using drawing::invoke;
using drawing::Value;
using nk::ComPtr;

namespace {

constexpr double kPi = 3.14159265358979323846;

class Hatches : public drawing::Drawing {
protected:
    // AddHatch by name; the hatch, or null and the call's error in *hr.
    ComPtr<IDispatch> addHatch(std::vector<VARIANT*> args, HRESULT* hr = nullptr)
    {
        ComPtr<IDispatch> space = modelSpace().as<IDispatch>();
        Value out;
        const HRESULT result = invoke(space.get(), L"AddHatch", DISPATCH_METHOD, std::move(args), &out);
        if (hr) *hr = result;
        if (out.type() != VT_DISPATCH || !V_DISPATCH(out.get())) return {};
        return ComPtr<IDispatch>(V_DISPATCH(out.get()));
    }
    static double number(IDispatch* object, const wchar_t* name)
    {
        Value v;
        EXPECT_EQ(drawing::get(object, name, v), S_OK) << "reading a number";
        Value d;
        VariantChangeType(d.get(), v.get(), 0, VT_R8);
        return d.type() == VT_R8 ? V_R8(d.get()) : std::nan("");
    }
    long count()
    {
        long n = 0;
        modelSpace()->get_Count(&n);
        return n;
    }
    // A D-shaped outline: two lines, a half circle and a line, the lines given backwards.
    std::vector<ComPtr<IUnknown>> outline()
    {
        ComPtr<IVeltModelSpace> space = modelSpace();
        std::vector<ComPtr<IUnknown>> out;
        ComPtr<IVeltArc> arc;
        Value c = drawing::point(4, 2, 0);
        EXPECT_EQ(space->AddArc(*c, 2.0, 1.5 * kPi, 0.5 * kPi, arc.put()), S_OK);
        out.push_back(addLine({0, 0, 0}, {4, 0, 0}).as<IUnknown>());
        out.push_back(arc.as<IUnknown>());
        out.push_back(addLine({0, 4, 0}, {4, 4, 0}).as<IUnknown>());
        out.push_back(addLine({0, 0, 0}, {0, 4, 0}).as<IUnknown>());
        return out;
    }
    ComPtr<IUnknown> circle(double x, double y, double r)
    {
        ComPtr<IVeltCircle> made;
        Value c = drawing::point(x, y, 0);
        EXPECT_EQ(modelSpace()->AddCircle(*c, r, made.put()), S_OK);
        return made.as<IUnknown>();
    }
    // An ANSI31 hatch whose outer loop is the outline, its edges in the order given, with a
    // round hole of radius 1 at (2, 2); d holds the four edges, then the hole's circle.
    void addOutlinedHatch(std::initializer_list<size_t> order, ComPtr<IDispatch>& hatch,
                          std::vector<ComPtr<IUnknown>>& d)
    {
        Value predefined = drawing::number(1), ansi = drawing::text(L"ANSI31"), no = drawing::flag(false);
        hatch = addHatch({predefined.get(), ansi.get(), no.get()});
        ASSERT_TRUE(hatch);
        d = outline();
        std::vector<IUnknown*> edges;
        for (size_t i : order) edges.push_back(d[i].get());
        Value chain = drawing::objects({edges[0], edges[1], edges[2], edges[3]});
        ASSERT_EQ(invoke(hatch.get(), L"AppendOuterLoop", DISPATCH_METHOD, {chain.get()}), S_OK);
        d.push_back(circle(2, 2, 1));
        Value hole = drawing::objects({d[4].get()});
        ASSERT_EQ(invoke(hatch.get(), L"AppendInnerLoop", DISPATCH_METHOD, {hole.get()}), S_OK);
    }
};

TEST_F(Hatches, AddHatchTakesPatternsAndGradientsAndRefusesTheRest)
{
    Value predefined = drawing::number(1), ansi = drawing::text(L"ansi31"), no = drawing::flag(false);
    ComPtr<IDispatch> hatch = addHatch({predefined.get(), ansi.get(), no.get()});
    ASSERT_TRUE(hatch);
    EXPECT_EQ(drawing::text(hatch.get(), L"PatternName"), L"ANSI31");
    EXPECT_EQ(number(hatch.get(), L"PatternType"), 1.0);
    EXPECT_EQ(number(hatch.get(), L"NumberOfLoops"), 0.0);
    EXPECT_EQ(number(hatch.get(), L"HatchObjectType"), 0.0);

    Value gradientKind = drawing::number(1), cylinder = drawing::text(L"CYLINDER"), yes = drawing::flag(true);
    ComPtr<IDispatch> gradient = addHatch({predefined.get(), cylinder.get(), yes.get(), gradientKind.get()});
    ASSERT_TRUE(gradient);
    EXPECT_EQ(drawing::text(gradient.get(), L"GradientName"), L"CYLINDER");
    EXPECT_EQ(drawing::text(gradient.get(), L"PatternName"), L"SOLID");
    EXPECT_EQ(number(gradient.get(), L"AssociativeHatch"), -1.0);

    // Each refusal: E_INVALIDARG, and nothing added.
    const long before = count();
    Value three = drawing::number(3), unknown = drawing::text(L"NO_SUCH"), two = drawing::number(2),
          word = drawing::text(L"1"), custom = drawing::number(2);
    const std::vector<std::vector<VARIANT*>> refused = {
        {three.get(), ansi.get(), no.get()},                   // no such pattern kind
        {predefined.get(), unknown.get(), no.get()},           // a pattern the host has not
        {predefined.get(), ansi.get(), no.get(), two.get()},   // no such object kind
        {predefined.get(), ansi.get(), no.get(), word.get()},  // a kind as text
        {predefined.get(), ansi.get(), no.get(), gradientKind.get()},  // a pattern as a gradient's name
        {custom.get(), cylinder.get(), no.get(), gradientKind.get()},  // no such gradient kind
    };
    for (const auto& args : refused) {
        HRESULT hr = S_OK;
        EXPECT_FALSE(addHatch(args, &hr));
        EXPECT_EQ(hr, E_INVALIDARG);
    }
    EXPECT_EQ(count(), before);
}

TEST_F(Hatches, LoopsComeFromClosedChainsOfEntitiesOfTheDrawing)
{
    ComPtr<IDispatch> hatch;
    std::vector<ComPtr<IUnknown>> d;
    ASSERT_NO_FATAL_FAILURE(addOutlinedHatch({0, 1, 2, 3}, hatch, d));
    EXPECT_EQ(number(hatch.get(), L"NumberOfLoops"), 2.0);
    EXPECT_NEAR(number(hatch.get(), L"Area"), 16.0 + kPi, 1e-9);

    // Refusals change nothing: an open chain, an object of another drawing, one that is no
    // entity, none at all, numbers.
    kx::VxDbDatabase other;
    ComPtr<IUnknown> foreign;
    {
        ComPtr<IUnknown> otherSpace;
        ASSERT_EQ(VxAxGetIUnknownOfObject(otherSpace.put(), other.modelSpaceId(), nullptr), S_OK);
        ComPtr<IVeltCircle> c;
        Value center = drawing::point(0, 0, 0);
        ASSERT_EQ(otherSpace.as<IVeltModelSpace>()->AddCircle(*center, 1.0, c.put()), S_OK);
        foreign = c.as<IUnknown>();
    }
    ComPtr<IUnknown> layer;
    ASSERT_EQ(VxAxGetIUnknownOfObject(layer.put(), db->layerZero(), nullptr), S_OK);
    Value open = drawing::objects({d[0].get(), d[1].get(), d[2].get()});
    Value elsewhere = drawing::objects({foreign.get()});
    Value notEntity = drawing::objects({layer.get()});
    Value none = drawing::objects({});
    Value numbers = drawing::doubles({0, 0, 1, 1});
    Value emptyValue;
    for (VARIANT* bad : {open.get(), elsewhere.get(), notEntity.get(), none.get(), numbers.get(), emptyValue.get()}) {
        EXPECT_EQ(invoke(hatch.get(), L"AppendOuterLoop", DISPATCH_METHOD, {bad}), E_INVALIDARG);
        EXPECT_EQ(number(hatch.get(), L"NumberOfLoops"), 2.0);
    }
    Value five = drawing::number(5), external = drawing::number(1), hole = drawing::objects({d[4].get()});
    EXPECT_TRUE(FAILED(invoke(hatch.get(), L"InsertLoopAt", DISPATCH_METHOD, {five.get(), external.get(), hole.get()})));
    EXPECT_NEAR(number(hatch.get(), L"Area"), 16.0 + kPi, 1e-9);

    // Read back, each loop is entities of no drawing that trace it, in order.
    Value first = drawing::number(0), loop;
    ASSERT_EQ(drawing::get(hatch.get(), L"GetLoopAt", loop, {first.get()}), S_OK);
    ASSERT_EQ(loop.type(), VT_ARRAY | VT_DISPATCH);
    SAFEARRAY* sa = V_ARRAY(loop.get());
    ASSERT_EQ(sa->rgsabound[0].cElements, 4u);
    const wchar_t* const kinds[] = {L"KxDbLine", L"KxDbArc", L"KxDbLine", L"KxDbLine"};
    for (LONG i = 0; i < 4; ++i) {
        ComPtr<IDispatch> e;
        SafeArrayGetElement(sa, &i, e.put());
        ASSERT_TRUE(e);
        EXPECT_EQ(drawing::text(e.get(), L"EntityName"), kinds[i]);
    }
    ComPtr<IDispatch> third;
    LONG two = 2;
    SafeArrayGetElement(sa, &two, third.put());
    Value start;
    ASSERT_EQ(drawing::get(third.get(), L"StartPoint", start), S_OK);
    EXPECT_NEAR(drawing::coordinates(*start).x, 4.0, 1e-12);  // the chain runs on from the arc
    Value second = drawing::number(1), holeBack;
    ASSERT_EQ(drawing::get(hatch.get(), L"GetLoopAt", holeBack, {second.get()}), S_OK);
    EXPECT_EQ(count(), 6);  // the hatch, the outline and the circle: nothing added
}

TEST_F(Hatches, PatternsAndGradientsThroughTheirMembersAndTheFileEzdxfReads)
{
    std::string facts;
    auto handleOf = [](IDispatch* object) { return drawing::text(object, L"Handle"); };
    auto narrow = [](const std::wstring& w) { return std::string(w.begin(), w.end()); };

    ComPtr<IDispatch> hatch;
    std::vector<ComPtr<IUnknown>> d;
    ASSERT_NO_FATAL_FAILURE(addOutlinedHatch({3, 2, 1, 0}, hatch, d));
    Value predefined = drawing::number(1), ansi = drawing::text(L"ANSI31"), no = drawing::flag(false);
    ASSERT_EQ(drawing::put(hatch.get(), L"PatternScale", drawing::real(0.05)), S_OK);
    ASSERT_EQ(drawing::put(hatch.get(), L"PatternAngle", drawing::real(kPi / 6)), S_OK);
    EXPECT_TRUE(FAILED(drawing::put(hatch.get(), L"ISOPenWidth", drawing::number(50))));
    EXPECT_EQ(number(hatch.get(), L"ISOPenWidth"), -1.0);  // not an ISO pattern
    facts += "ENTITY\t" + narrow(handleOf(hatch.get())) + "\tHATCH\t0\t256\tpattern_name=ANSI31;pattern_type=1;" +
             "pattern_scale=0.05;pattern_angle=30;hloops=1:E:1121/0:E:2;harea=" +
             std::to_string(16.0 + kPi) + "\n";

    // User-defined, crossed; a kind out of range changes nothing.
    Value user = drawing::number(0), empty = drawing::text(L"");
    ComPtr<IDispatch> lines = addHatch({user.get(), empty.get(), no.get()});
    ASSERT_TRUE(lines);
    ComPtr<IVeltLWPolyline> square;
    Value pairs = drawing::doubles({10, 0, 14, 0, 14, 4, 10, 4});
    ASSERT_EQ(modelSpace()->AddLightWeightPolyline(*pairs, square.put()), S_OK);
    ASSERT_EQ(square->put_Closed(VARIANT_TRUE), S_OK);
    Value one = drawing::objects({square.as<IUnknown>().get()});
    ASSERT_EQ(invoke(lines.get(), L"AppendOuterLoop", DISPATCH_METHOD, {one.get()}), S_OK);
    ASSERT_EQ(drawing::put(lines.get(), L"PatternSpace", drawing::real(0.5)), S_OK);
    ASSERT_EQ(drawing::put(lines.get(), L"PatternDouble", drawing::flag(true)), S_OK);
    Value bad = drawing::number(7), name = drawing::text(L"ANSI37");
    EXPECT_EQ(invoke(lines.get(), L"SetPattern", DISPATCH_METHOD, {bad.get(), name.get()}), E_INVALIDARG);
    EXPECT_EQ(drawing::text(lines.get(), L"PatternName"), L"_USER");
    EXPECT_NEAR(number(lines.get(), L"Area"), 16.0, 1e-12);
    facts += "ENTITY\t" + narrow(handleOf(lines.get())) +
             "\tHATCH\t0\t256\tpattern_name=_USER;pattern_type=0;pattern_double=1;hloops=3:P:4;" +
             "hlines=0,0,0,-0,0.5/90,0,0,-0.5,3.0616169978683831e-17;harea=16\n";

    // A gradient in two colours, turned.
    ComPtr<IDispatch> gradient = addHatch({predefined.get(), ansi.get(), no.get()});
    ASSERT_TRUE(gradient);
    Value ring = drawing::objects({circle(20, 2, 2).get()});
    ASSERT_EQ(invoke(gradient.get(), L"AppendOuterLoop", DISPATCH_METHOD, {ring.get()}), S_OK);
    ASSERT_EQ(drawing::put(gradient.get(), L"HatchObjectType", drawing::number(1)), S_OK);
    ASSERT_EQ(drawing::put(gradient.get(), L"GradientName", drawing::text(L"INVSPHERICAL")), S_OK);
    EXPECT_TRUE(FAILED(drawing::put(gradient.get(), L"GradientName", drawing::text(L"PLAID"))));
    ASSERT_EQ(drawing::put(gradient.get(), L"GradientAngle", drawing::real(kPi / 6)), S_OK);
    kx::VxCmColor red;
    red.setRGB(200, 10, 20);
    ComPtr<IVeltVxCmColor> color;
    *color.put() = NkAuToVeltVxCmColor(red);
    Value colorValue;
    V_VT(colorValue.get()) = VT_DISPATCH;
    V_DISPATCH(colorValue.get()) = color.as<IDispatch>().detach();
    ASSERT_EQ(drawing::put(gradient.get(), L"GradientColor1", std::move(colorValue)), S_OK);
    EXPECT_EQ(drawing::text(gradient.get(), L"PatternName"), L"SOLID");
    facts += "ENTITY\t" + narrow(handleOf(gradient.get())) + "\tHATCH\t0\t256\tsolid_fill=1;hloops=1:E:2;" +
             "hgradient=INVSPHERICAL,200,10,20,255,255,0,30\n";

    drawing::saveForFileCheck(db.get(), "hatches", facts);
}

}  // namespace
