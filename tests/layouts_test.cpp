// Plot configurations, layouts and paper-space viewports driven through IDispatch by name,
// as scripts drive them. A sheet with two viewports is saved with its facts for ezdxf to
// compare (layouts_in_ezdxf).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "axsupport/errors.h"
#include "db/layout.h"
#include "db/viewport.h"
#include "drawing_fixture.h"
#include "dxf/dxffile.h"
#include "frame/com.h"
#include "objects/layouts.h"

using drawing::invoke;
using drawing::realOf;
using drawing::statusCode;
using drawing::get;
using drawing::object;
using drawing::put;
using drawing::text;
using drawing::Value;
using nk::ComPtr;

namespace {

Value names(std::vector<const wchar_t*> items)
{
    Value v;
    V_VT(v.get()) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(v.get()) = SafeArrayCreateVector(VT_VARIANT, 0, ULONG(items.size()));
    for (LONG i = 0; i < LONG(items.size()); ++i) {
        Value item = drawing::text(items[size_t(i)]);
        SafeArrayPutElement(V_ARRAY(v.get()), &i, item.get());
    }
    return v;
}
std::string narrow(const std::wstring& w) { return std::string(w.begin(), w.end()); }
std::string num(double v)
{
    char out[40];
    std::snprintf(out, sizeof(out), "%.17g", v);
    return out;
}

class Sheets : public drawing::Drawing {
protected:
    void SetUp() override
    {
        drawing::Drawing::SetUp();
        ComPtr<IUnknown> unknown = ComPtr<IUnknown>::adopt(NkAuGetIUnknownOfDatabase(db.get(), nullptr));
        database = unknown.as<IDispatch>();
        ASSERT_TRUE(database);
        layouts = object(database.get(), L"Layouts");
        ASSERT_TRUE(layouts);
    }
    ComPtr<IDispatch> layout(const wchar_t* name)
    {
        Value key = drawing::text(name);
        return object(layouts.get(), L"Item", {key.get()});
    }
    ComPtr<IDispatch> addLayout(const wchar_t* name)
    {
        Value key = drawing::text(name);
        return object(layouts.get(), L"Add", {key.get()});
    }
    // A viewport on the current sheet.
    ComPtr<IDispatch> addViewport(double x, double y, double width, double height)
    {
        ComPtr<IDispatch> paper = object(database.get(), L"PaperSpace");
        Value center = drawing::point(x, y, 0), w = drawing::real(width), h = drawing::real(height);
        return object(paper.get(), L"AddPViewport", {center.get(), w.get(), h.get()});
    }

    ComPtr<IDispatch> database, layouts;
};

}  // namespace

// The lopsided enumerations, through the validator; refused values change nothing.
TEST_F(Sheets, PlotSettingsKeepTheirEnumerationRulesAndTheValidatorsChecks)
{
    ComPtr<IDispatch> plan = layout(L"Layout1");
    ASSERT_TRUE(plan);
    ASSERT_EQ(put(plan.get(), L"PlotRotation", drawing::number(2)), S_OK);
    EXPECT_EQ(realOf(plan.get(), L"PlotRotation"), 2);
    ASSERT_EQ(put(plan.get(), L"PlotRotation", drawing::number(7)), S_OK);
    EXPECT_EQ(realOf(plan.get(), L"PlotRotation"), 0) << "rotation 7 is stored as 0";
    LONG rotation = 0;
    nk::conv::PlotRotation::out(5, &rotation);
    EXPECT_EQ(rotation, 3) << "a stored rotation past 180 degrees reads as 270";
    ASSERT_EQ(put(plan.get(), L"PaperUnits", drawing::number(9)), S_OK);
    EXPECT_EQ(realOf(plan.get(), L"PaperUnits"), 0);
    ASSERT_EQ(put(plan.get(), L"PlotType", drawing::number(-3)), S_OK);
    EXPECT_EQ(realOf(plan.get(), L"PlotType"), 0);
    ASSERT_EQ(put(plan.get(), L"StandardScale", drawing::number(26)), S_OK);
    ASSERT_EQ(put(plan.get(), L"StandardScale", drawing::number(40)), S_OK);
    EXPECT_EQ(realOf(plan.get(), L"StandardScale"), 26) << "scale 40 leaves the scale";

    const std::wstring device = text(plan.get(), L"ConfigName");
    EXPECT_EQ(put(plan.get(), L"ConfigName", drawing::text(L"No Such Plotter.pc3")),
              statusCode(kx::Velt::eInvalidPlotDevice));
    EXPECT_EQ(text(plan.get(), L"ConfigName"), device);
    ASSERT_EQ(put(plan.get(), L"ConfigName", drawing::text(L"Tarsk PDF.pc3")), S_OK);
    ASSERT_EQ(put(plan.get(), L"CanonicalMediaName", drawing::text(L"ISO_A3_(297.00_x_420.00_MM)")), S_OK);
    EXPECT_EQ(put(plan.get(), L"CanonicalMediaName", drawing::text(L"Napkin")), statusCode(kx::Velt::eInvalidMediaName));
    ComPtr<IVeltPlotConfiguration> settings = plan.as<IVeltPlotConfiguration>();
    double width = 0, height = 0;
    ASSERT_EQ(settings->GetPaperSize(&width, &height), S_OK);
    EXPECT_EQ(width, 297.0);
    EXPECT_EQ(height, 420.0);
    double numerator = 0, denominator = 0;
    EXPECT_EQ(settings->SetCustomScale(1, 0), statusCode(kx::Velt::eInvalidPlotScale));
    EXPECT_EQ(settings->SetCustomScale(std::numeric_limits<double>::quiet_NaN(), 1), statusCode(kx::Velt::eInvalidPlotScale));
    ASSERT_EQ(settings->GetCustomScale(&numerator, &denominator), S_OK);
    EXPECT_EQ(numerator / denominator, 1.0);
    ASSERT_EQ(settings->SetCustomScale(1, 50), S_OK);
    VARIANT_BOOL standard = VARIANT_TRUE;
    ASSERT_EQ(settings->get_UseStandardScale(&standard), S_OK);
    EXPECT_EQ(standard, VARIANT_FALSE);
    Value lower = drawing::doubles({10, 10}), upper = drawing::doubles({5, 20});
    EXPECT_EQ(settings->SetWindowToPlot(*lower, *upper), statusCode(kx::Velt::eInvalidPlotArea));
    EXPECT_EQ(put(plan.get(), L"StyleSheet", drawing::text(L"nothing.ctb")), statusCode(kx::Velt::eInvalidStyleSheet));
    // A bare point list is refused before anything is opened.
    EXPECT_NE(put(plan.get(), L"PlotOrigin", drawing::text(L"here")), S_OK);

    Value devices;
    ASSERT_EQ(get(plan.get(), L"GetPlotDeviceNames", devices), S_OK);
    ASSERT_EQ(devices.type(), VT_ARRAY | VT_BSTR);
    bool hasPdf = false;
    for (LONG i = 0; i < LONG(V_ARRAY(devices.get())->rgsabound[0].cElements); ++i) {
        BSTR name = nullptr;
        SafeArrayGetElement(V_ARRAY(devices.get()), &i, &name);
        hasPdf = hasPdf || std::wstring(name) == L"Tarsk PDF.pc3";
        SysFreeString(name);
    }
    EXPECT_TRUE(hasPdf);
    Value canonical = drawing::text(L"ISO_A3_(297.00_x_420.00_MM)"), local;
    ASSERT_EQ(get(plan.get(), L"GetLocaleMediaName", local, {canonical.get()}), S_OK);
    EXPECT_EQ(std::wstring(V_BSTR(local.get())), L"ISO A3 (297.00 x 420.00 MM)");

    // Plain settings copy the layout's plot data, keeping their own name.
    ComPtr<IDispatch> configurations = object(database.get(), L"PlotConfigurations");
    Value key = drawing::text(L"A3");
    ComPtr<IDispatch> a3 = object(configurations.get(), L"Add", {key.get()});
    ASSERT_TRUE(a3);
    ComPtr<IVeltPlotConfiguration> copy = a3.as<IVeltPlotConfiguration>();
    ASSERT_EQ(copy->CopyFrom(settings.get()), S_OK);
    EXPECT_EQ(text(a3.get(), L"ConfigName"), L"Tarsk PDF.pc3");
    EXPECT_EQ(text(a3.get(), L"Name"), L"A3");
    EXPECT_EQ(copy->CopyFrom(nullptr), E_INVALIDARG);
}

TEST_F(Sheets, LayoutsRenameReorderAndKeepTheModel)
{
    ComPtr<IDispatch> second = addLayout(L"Second"), third = addLayout(L"Third");
    ASSERT_TRUE(second && third);
    // Renaming to a taken or an empty name: the layout manager's status, nothing changed.
    EXPECT_EQ(put(third.get(), L"Name", drawing::text(L"second")), statusCode(kx::Velt::eDuplicateKey));
    EXPECT_EQ(put(third.get(), L"Name", drawing::text(L"")), statusCode(kx::Velt::eInvalidLayoutName));
    EXPECT_EQ(text(third.get(), L"Name"), L"Third");
    ASSERT_EQ(put(third.get(), L"Name", drawing::text(L"Sections")), S_OK);
    EXPECT_TRUE(layout(L"sections"));

    // The model layout cannot be deleted.
    ComPtr<IDispatch> model = layout(L"Model");
    ASSERT_TRUE(model);
    EXPECT_EQ(realOf(model.get(), L"ModelType"), -1);
    const double count = realOf(layouts.get(), L"Count");
    EXPECT_EQ(invoke(model.get(), L"Delete", DISPATCH_METHOD), E_FAIL);
    EXPECT_EQ(realOf(layouts.get(), L"Count"), count);

    // The others move first; a layout that then will not open for write answers E_POINTER.
    ASSERT_EQ(put(third.get(), L"TabOrder", drawing::number(1)), S_OK);
    EXPECT_EQ(realOf(third.get(), L"TabOrder"), 1);
    EXPECT_EQ(realOf(layout(L"Layout1").get(), L"TabOrder"), 2);
    {
        kx::VxDbObjectPointer<kx::VxDbLayout> held(idOf(second.as<IVeltObject>().get()), kx::VxDb::kForWrite);
        ASSERT_TRUE(held);
        EXPECT_EQ(put(second.get(), L"TabOrder", drawing::number(1)), E_POINTER);
    }
    EXPECT_EQ(realOf(second.get(), L"TabOrder"), 1);
    EXPECT_EQ(realOf(third.get(), L"TabOrder"), 2);

    ComPtr<IDispatch> block = object(second.get(), L"Block");
    ASSERT_TRUE(block);
    EXPECT_EQ(realOf(block.get(), L"IsLayout"), -1);
    ASSERT_EQ(invoke(second.get(), L"Delete", DISPATCH_METHOD), S_OK);
    EXPECT_EQ(realOf(layouts.get(), L"Count"), count - 1);
}

// Viewports: size, scale and frozen layers, refused values changing nothing; then a sheet of
// two viewports saved for ezdxf.
TEST_F(Sheets, ViewportsKeepTheirScaleAndReachTheFile)
{
    ComPtr<IDispatch> walls = object(object(database.get(), L"Layers").get(), L"Add", {drawing::text(L"Walls").get()});
    Value doorsName = drawing::text(L"Doors");
    ASSERT_TRUE(object(object(database.get(), L"Layers").get(), L"Add", {doorsName.get()}));
    ComPtr<IDispatch> plan = layout(L"Layout1");
    ASSERT_EQ(put(plan.get(), L"Name", drawing::text(L"Plan")), S_OK);
    ASSERT_EQ(put(plan.get(), L"ConfigName", drawing::text(L"Tarsk PDF.pc3")), S_OK);
    ASSERT_EQ(put(plan.get(), L"CanonicalMediaName", drawing::text(L"ISO_A3_(297.00_x_420.00_MM)")), S_OK);
    ASSERT_EQ(put(plan.get(), L"PlotRotation", drawing::number(1)), S_OK);

    ComPtr<IDispatch> refused;
    {
        ComPtr<IDispatch> paper = object(database.get(), L"PaperSpace");
        Value center = drawing::point(1, 1, 0), w = drawing::real(std::numeric_limits<double>::quiet_NaN()), h = drawing::real(5);
        Value out;
        EXPECT_EQ(get(paper.get(), L"AddPViewport", out, {center.get(), w.get(), h.get()}), E_INVALIDARG);
        EXPECT_EQ(realOf(paper.get(), L"Count"), 0);
    }
    ComPtr<IDispatch> main = addViewport(150, 140, 260, 180), detail = addViewport(350, 140, 100, 80);
    ASSERT_TRUE(main && detail);
    ASSERT_EQ(put(main.get(), L"StandardScale", drawing::number(12)), S_OK);  // 1:50
    EXPECT_NEAR(realOf(main.get(), L"CustomScale"), 0.02, 1e-15);
    ASSERT_EQ(put(detail.get(), L"CustomScale", drawing::real(0.1)), S_OK);
    EXPECT_EQ(realOf(detail.get(), L"StandardScale"), 1) << "a custom scale";
    // A taller window keeps the scale.
    ASSERT_EQ(put(detail.get(), L"Height", drawing::real(90)), S_OK);
    EXPECT_NEAR(realOf(detail.get(), L"CustomScale"), 0.1, 1e-15);
    ASSERT_EQ(put(detail.get(), L"Height", drawing::real(80)), S_OK);

    EXPECT_EQ(put(main.get(), L"Width", drawing::real(std::numeric_limits<double>::quiet_NaN())),
              statusCode(kx::Velt::eInvalidInput));
    EXPECT_EQ(put(main.get(), L"CustomScale", drawing::real(0)), statusCode(kx::Velt::eInvalidInput));
    EXPECT_EQ(put(main.get(), L"CustomScale", drawing::real(-1)), statusCode(kx::Velt::eInvalidInput));
    EXPECT_EQ(put(main.get(), L"StandardScale", drawing::number(35)), E_INVALIDARG);
    EXPECT_EQ(realOf(main.get(), L"Width"), 260);
    EXPECT_NEAR(realOf(main.get(), L"CustomScale"), 0.02, 1e-15);

    Value both = names({L"Walls", L"Doors"}), nobody = names({L"Doors", L"Nobody"});
    EXPECT_EQ(invoke(detail.get(), L"FreezeLayers", DISPATCH_METHOD, {nobody.get()}), E_INVALIDARG);
    ASSERT_EQ(invoke(detail.get(), L"FreezeLayers", DISPATCH_METHOD, {both.get()}), S_OK);
    Value walls1 = drawing::text(L"Walls");
    ASSERT_EQ(invoke(detail.get(), L"ThawLayers", DISPATCH_METHOD, {walls1.get()}), S_OK);
    Value frozen;
    ASSERT_EQ(get(detail.get(), L"FrozenLayers", frozen), S_OK);
    ASSERT_EQ(frozen.type(), VT_ARRAY | VT_BSTR);
    ASSERT_EQ(V_ARRAY(frozen.get())->rgsabound[0].cElements, 1u);
    LONG first = 0;
    BSTR frozenName = nullptr;
    SafeArrayGetElement(V_ARRAY(frozen.get()), &first, &frozenName);
    EXPECT_EQ(std::wstring(frozenName), L"Doors");
    SysFreeString(frozenName);
    ASSERT_EQ(put(detail.get(), L"ViewportOn", drawing::number(-1)), S_OK);

    // The model view decides what the viewport shows.
    {
        kx::VxDbObjectPointer<kx::VxDbViewport> vp(idOf(main.as<IVeltObject>().get()), kx::VxDb::kForWrite);
        ASSERT_TRUE(vp);
        vp->setViewCenter({5000, 4000, 0});
        kx::VxDbObjectPointer<kx::VxDbViewport> other(idOf(detail.as<IVeltObject>().get()), kx::VxDb::kForWrite);
        other->setViewCenter({1200, 800, 0});
    }

    auto handle = [&](IDispatch* d) { return narrow(text(d, L"Handle")); };
    std::string facts = "LAYOUT\tPlan\t1\tplot_configuration_file=Tarsk PDF.pc3;"
                        "paper_size=ISO_A3_(297.00_x_420.00_MM);plot_rotation=1\n";
    facts += "ENTITY\t" + handle(main.get()) + "\tVIEWPORT\t0\t256\tcenter=150,140,0;width=260;height=180;"
             "view_center_point=5000,4000,0\n";
    facts += "ENTITY\t" + handle(detail.get()) + "\tVIEWPORT\t0\t256\tcenter=350,140,0;width=100;height=80;"
             "view_center_point=1200,800,0\n";
    facts += "VIEWPORT\t" + handle(main.get()) + "\t" + num(0.02) + "\t\n";
    facts += "VIEWPORT\t" + handle(detail.get()) + "\t" + num(0.1) + "\tDoors\n";

    drawing::saveForFileCheck(db.get(), "layouts", facts);
}
