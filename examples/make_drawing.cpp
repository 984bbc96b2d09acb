// An early-bound client: makes a drawing without an editor. It creates a document, adds
// layers and a small floor plan in model space (outer walls as a closed polyline, inner walls and door leaves as lines, door swings
// as arcs, columns as circles), fills the columns' sections and tiles the store's floor with
// hatches, gives each its layer and colour, reads them back through the
// model space's enumerator and saves the drawing. The rooms are named with texts and a note;
// the title block is a drawing of its own (titleblock.dxf beside the plan): a frame with
// attribute definitions, inserted into the plan and filled in.
//
//   make_drawing [file.dxf]        (default: plan.dxf in the current folder)
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <cwchar>
#include <iterator>
#include <initializer_list>
#include <string>
#include <vector>

#include "frame/com.h"
#include "kxauto.h"

using nk::Bstr;
using nk::ComPtr;
using nk::Variant;

namespace {

// Stops at the first failure with what was being done and the error's text.
struct Failure {
    const wchar_t* what;
    HRESULT hr;
};

void check(HRESULT hr, const wchar_t* what)
{
    if (FAILED(hr)) throw Failure{what, hr};
}

// A point as the server takes it: an array of three doubles.
void setPoint(Variant& point, double x, double y)
{
    SAFEARRAY* values = SafeArrayCreateVector(VT_R8, 0, 3);
    if (!values) throw Failure{L"making a point", E_OUTOFMEMORY};
    nk::SafeArrayAccess access(values);
    double* xyz = access.data<double>();
    xyz[0] = x;
    xyz[1] = y;
    xyz[2] = 0.0;
    point.clear();
    V_VT(point.get()) = VT_ARRAY | VT_R8;
    V_ARRAY(point.get()) = values;
}

// The layers of the plan, each with its colour.
struct LayerUse {
    const wchar_t* name;
    VxColor color;
};
const LayerUse kLayers[] = {{L"Walls", vxRed}, {L"Doors", vxBlue}, {L"Columns", vxGreen}, {L"Floor", VxColor(8)}};

struct Wall {
    double x1, y1, x2, y2;
    const wchar_t* layer;
};
// The outer walls: one closed polyline as thick as the walls are.
const double kOutline[] = {0, 0, 12, 0, 12, 8, 0, 8};
const double kWallThickness = 0.24;
// An inner wall and two door leaves.
const Wall kWalls[] = {
    {7, 0, 7, 5, L"Walls"},
    {7, 5, 8, 6, L"Doors"},
    {3, 8, 4, 7, L"Doors"},
};

// The doors' swings: centred on the hinge, from the open leaf to the closed position.
struct Swing {
    double x, y, radius, start, end;  // angles in radians
};
const double kPi = 3.14159265358979323846;
const Swing kSwings[] = {{7, 5, 1.4142135623730951, kPi / 4, kPi / 2}, {3, 8, 1.4142135623730951, -kPi / 4, 0}};

// Two columns.
const double kColumns[][2] = {{5, 2}, {10, 6}};
const double kColumnRadius = 0.25;
// The store's floor between the walls' inner faces (the inner wall is drawn as its middle line).
const double kStoreFloor[] = {7, 0.12, 11.88, 0.12, 11.88, 7.88, 7, 7.88};

// A flat array of doubles as the server takes lists of points.
void setDoubles(Variant& list, const double* values, size_t count)
{
    list.clear();
    V_VT(list.get()) = VT_ARRAY | VT_R8;
    V_ARRAY(list.get()) = SafeArrayCreateVector(VT_R8, 0, ULONG(count));
    if (!V_ARRAY(list.get())) check(E_OUTOFMEMORY, L"making a list of points");
    for (LONG i = 0; i < LONG(count); ++i)
        check(SafeArrayPutElement(V_ARRAY(list.get()), &i, const_cast<double*>(&values[i])), L"making a list of points");
}

// An array of entities, as a hatch takes the loop they form.
void setObjects(Variant& list, std::initializer_list<IUnknown*> objects)
{
    list.clear();
    V_VT(list.get()) = VT_ARRAY | VT_DISPATCH;
    V_ARRAY(list.get()) = SafeArrayCreateVector(VT_DISPATCH, 0, ULONG(objects.size()));
    if (!V_ARRAY(list.get())) check(E_OUTOFMEMORY, L"making a list of entities");
    LONG i = 0;
    for (IUnknown* object : objects) {
        ComPtr<IDispatch> dispatch = ComPtr<IUnknown>(object).as<IDispatch>();
        check(SafeArrayPutElement(V_ARRAY(list.get()), &i, dispatch.get()), L"making a list of entities");
        ++i;
    }
}

VxColor colorOf(const wchar_t* layer)
{
    for (const LayerUse& use : kLayers)
        if (std::wcscmp(use.name, layer) == 0) return use.color;
    return vxByLayer;
}

// Puts an entity on its layer in that layer's colour.
void place(IVeltEntity* entity, const wchar_t* layer)
{
    check(entity->put_Layer(Bstr(layer).get()), L"setting the layer");
    ComPtr<IVeltVxCmColor> color;
    check(entity->get_TrueColor(color.put()), L"reading the colour");
    check(color->put_ColorIndex(colorOf(layer)), L"choosing the colour");
    check(entity->put_TrueColor(color.get()), L"setting the colour");
}

// What an entity is, told by a property of its own kind.
void describe(IVeltEntity* entity)
{
    Bstr name, handle, layer;
    check(entity->get_ObjectName(name.put()), L"reading a kind");
    check(entity->get_Handle(handle.put()), L"reading a handle");
    check(entity->get_Layer(layer.put()), L"reading a layer");
    std::wprintf(L"  %-10ls %-4ls layer %-8ls", name.c_str(), handle.c_str(), layer.c_str());
    double value = 0;
    if (ComPtr<IVeltLine> line = ComPtr<IVeltEntity>(entity).as<IVeltLine>()) {
        check(line->get_Length(&value), L"reading a length");
        std::wprintf(L"length %g\n", value);
    } else if (ComPtr<IVeltArc> arc = ComPtr<IVeltEntity>(entity).as<IVeltArc>()) {
        check(arc->get_ArcLength(&value), L"reading an arc length");
        std::wprintf(L"arc length %g\n", value);
    } else if (ComPtr<IVeltCircle> circle = ComPtr<IVeltEntity>(entity).as<IVeltCircle>()) {
        check(circle->get_Radius(&value), L"reading a radius");
        std::wprintf(L"radius %g\n", value);
    } else if (ComPtr<IVeltHatch> hatch = ComPtr<IVeltEntity>(entity).as<IVeltHatch>()) {
        Bstr pattern;
        check(hatch->get_PatternName(pattern.put()), L"reading a pattern");
        check(hatch->get_Area(&value), L"reading an area");
        std::wprintf(L"pattern %ls, area %g\n", pattern.c_str(), value);
    } else if (ComPtr<IVeltText> text = ComPtr<IVeltEntity>(entity).as<IVeltText>()) {
        Bstr string;
        check(text->get_TextString(string.put()), L"reading a text");
        std::wprintf(L"text %ls\n", string.c_str());
    } else {
        std::wprintf(L"\n");
    }
}

ComPtr<IKxDbDocument> newDocument()
{
    CLSID clsid;
    check(CLSIDFromProgID(L"NkAuto.Document", &clsid), L"finding NkAuto.Document (run nkreg.exe first)");
    ComPtr<IKxDbDocument> document;
    check(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IKxDbDocument), document.putVoid()),
          L"creating the document");
    return document;
}

void save(IKxDbDocument* document, const wchar_t* file)
{
    Variant noSecurity;  // an optional argument left out
    V_VT(noSecurity.get()) = VT_ERROR;
    V_ERROR(noSecurity.get()) = DISP_E_PARAMNOTFOUND;
    check(document->SaveAs(Bstr(file).get(), *noSecurity.get()), L"saving the drawing");
}

// The title block: a frame, a fixed label, the company as a constant attribute and two
// attributes each sheet fills in.
void makeTitleBlock(const std::wstring& file)
{
    ComPtr<IKxDbDocument> document = newDocument();
    ComPtr<IVeltModelSpace> space;
    check(document->get_ModelSpace(space.put()), L"reading model space");
    const double frame[][4] = {{0, 0, 6, 0}, {6, 0, 6, 2}, {6, 2, 0, 2}, {0, 2, 0, 0}, {0, 1, 6, 1}};
    for (const auto& f : frame) {
        Variant start, end;
        setPoint(start, f[0], f[1]);
        setPoint(end, f[2], f[3]);
        ComPtr<IVeltLine> line;
        check(space->AddLine(*start.get(), *end.get(), line.put()), L"drawing the frame");
    }
    Variant at;
    setPoint(at, 0.2, 1.6);
    ComPtr<IVeltText> label;
    check(space->AddText(Bstr(L"PROJECT").get(), *at.get(), 0.2, label.put()), L"adding the label");
    struct Field {
        const wchar_t* tag;
        const wchar_t* prompt;
        const wchar_t* value;
        VxAttributeMode mode;
        double x, y;
    };
    const Field fields[] = {{L"PROJECT", L"Project", L"-", vxAttributeModeNormal, 1.5, 1.3},
                            {L"DRAWN", L"Drawn by", L"-", vxAttributeModePreset, 0.2, 0.3},
                            {L"COMPANY", L"", L"NkAuto Works", vxAttributeModeConstant, 3.2, 0.3}};
    for (const Field& f : fields) {
        setPoint(at, f.x, f.y);
        ComPtr<IVeltAttribute> definition;
        check(space->AddAttribute(0.3, f.mode, Bstr(f.prompt).get(), *at.get(), Bstr(f.tag).get(),
                                  Bstr(f.value).get(), definition.put()),
              L"adding an attribute definition");
    }
    save(document.get(), file.c_str());
    std::wprintf(L"title block saved as %ls\n", file.c_str());
}

// The sheet: the first paper layout becomes "A3 Plan", an A3 sheet turned to landscape on the
// PDF device, with a viewport that shows the plan and its title block at 1:50.
void makeSheet(IKxDbDocument* document)
{
    ComPtr<IVeltLayouts> layouts;
    check(document->get_Layouts(layouts.put()), L"reading the layouts");
    Variant first;
    V_VT(first.get()) = VT_BSTR;
    V_BSTR(first.get()) = SysAllocString(L"Layout1");
    ComPtr<IVeltLayout> sheet;
    check(layouts->Item(*first.get(), sheet.put()), L"finding the first layout");
    check(sheet->put_Name(Bstr(L"A3 Plan").get()), L"naming the sheet");
    check(sheet->put_ConfigName(Bstr(L"Tarsk PDF.pc3").get()), L"choosing the plot device");
    check(sheet->put_CanonicalMediaName(Bstr(L"ISO_A3_(297.00_x_420.00_MM)").get()), L"choosing the paper");
    check(sheet->put_PaperUnits(vxMillimeters), L"setting the paper units");
    check(sheet->put_PlotRotation(vx90degrees), L"turning the sheet");
    check(sheet->put_PlotType(vxLayout), L"plotting the layout");

    ComPtr<IVeltPaperSpace> paper;
    check(document->get_PaperSpace(paper.put()), L"reading paper space");
    Variant center;
    setPoint(center, 200, 140);
    ComPtr<IVeltPViewport> viewport;
    check(paper->AddPViewport(*center.get(), 380, 250, viewport.put()), L"adding the viewport");
    // The plan is drawn in metres and the sheet in millimetres: 1:50 is 20 sheet units a metre.
    check(viewport->put_CustomScale(1000.0 / 50), L"setting the scale");
    double scale = 0;
    check(viewport->get_CustomScale(&scale), L"reading the scale");
    std::wprintf(L"sheet A3 Plan: a viewport of 380 x 250 mm at 1:%g\n", 1000 / scale);
}

int run(const wchar_t* file)
{
    ComPtr<IKxDbDocument> document = newDocument();

    ComPtr<IVeltLayers> layers;
    check(document->get_Layers(layers.put()), L"reading the layers");
    for (const LayerUse& use : kLayers) {
        ComPtr<IVeltLayer> layer;
        check(layers->Add(Bstr(use.name).get(), layer.put()), L"adding a layer");
        std::wprintf(L"layer %ls added\n", use.name);
    }

    ComPtr<IVeltModelSpace> modelSpace;
    check(document->get_ModelSpace(modelSpace.put()), L"reading model space");
    {
        Variant outline;
        V_VT(outline.get()) = VT_ARRAY | VT_R8;
        V_ARRAY(outline.get()) = SafeArrayCreateVector(VT_R8, 0, ULONG(std::size(kOutline)));
        if (!V_ARRAY(outline.get())) check(E_OUTOFMEMORY, L"making the outline");
        for (LONG i = 0; i < LONG(std::size(kOutline)); ++i)
            check(SafeArrayPutElement(V_ARRAY(outline.get()), &i, const_cast<double*>(&kOutline[i])),
                  L"making the outline");
        ComPtr<IVeltLWPolyline> walls;
        check(modelSpace->AddLightWeightPolyline(*outline.get(), walls.put()), L"adding the outer walls");
        check(walls->put_Closed(VARIANT_TRUE), L"closing the outer walls");
        check(walls->put_ConstantWidth(kWallThickness), L"giving the walls their thickness");
        place(walls.get(), L"Walls");
    }
    for (const Wall& wall : kWalls) {
        Variant start, end;
        setPoint(start, wall.x1, wall.y1);
        setPoint(end, wall.x2, wall.y2);
        ComPtr<IVeltLine> line;
        check(modelSpace->AddLine(*start.get(), *end.get(), line.put()), L"adding a line");
        place(line.get(), wall.layer);
    }
    for (const Swing& swing : kSwings) {
        Variant center;
        setPoint(center, swing.x, swing.y);
        ComPtr<IVeltArc> arc;
        check(modelSpace->AddArc(*center.get(), swing.radius, swing.start, swing.end, arc.put()), L"adding an arc");
        place(arc.get(), L"Doors");
    }
    std::vector<ComPtr<IVeltCircle>> columns;
    for (const auto& at : kColumns) {
        Variant center;
        setPoint(center, at[0], at[1]);
        ComPtr<IVeltCircle> circle;
        check(modelSpace->AddCircle(*center.get(), kColumnRadius, circle.put()), L"adding a circle");
        place(circle.get(), L"Columns");
        columns.push_back(circle);
    }
    std::wprintf(L"outer walls, %zu inner walls and door leaves, %zu door swings and %zu columns added to model space\n",
                 std::size(kWalls), std::size(kSwings), std::size(kColumns));

    // The columns are cut: their sections filled solid, each bounded by its circle.
    Variant noObjectType;
    for (const ComPtr<IVeltCircle>& column : columns) {
        ComPtr<IVeltHatch> section;
        check(modelSpace->AddHatch(vxHatchPatternTypePreDefined, Bstr(L"SOLID").get(), VARIANT_TRUE, *noObjectType.get(),
                                   section.put()),
              L"adding a column's section");
        Variant loop;
        setObjects(loop, {column.get()});
        check(section->AppendOuterLoop(*loop.get()), L"bounding a column's section");
        place(section.get(), L"Columns");
    }
    // The store's floor is tiled: its outline drawn, hatched with the column standing in it as
    // an island, then taken away again (the hatch keeps the loops it was given).
    {
        Variant corners;
        setDoubles(corners, kStoreFloor, std::size(kStoreFloor));
        ComPtr<IVeltLWPolyline> outline;
        check(modelSpace->AddLightWeightPolyline(*corners.get(), outline.put()), L"drawing the store's floor");
        check(outline->put_Closed(VARIANT_TRUE), L"closing the store's floor");
        ComPtr<IVeltHatch> tiles;
        check(modelSpace->AddHatch(vxHatchPatternTypePreDefined, Bstr(L"NET").get(), VARIANT_FALSE, *noObjectType.get(),
                                   tiles.put()),
              L"adding the store's tiles");
        check(tiles->put_PatternScale(0.1), L"sizing the tiles");
        Variant loop, island;
        setObjects(loop, {outline.get()});
        setObjects(island, {columns.back().get()});
        check(tiles->AppendOuterLoop(*loop.get()), L"bounding the store's tiles");
        check(tiles->AppendInnerLoop(*island.get()), L"leaving out the column");
        check(tiles->Evaluate(), L"laying the tiles");
        place(tiles.get(), L"Floor");
        check(outline->Delete(), L"taking the floor's outline away");
    }
    std::wprintf(L"the columns' sections filled and the store's floor tiled\n");

    // The rooms' names, centred in each room, and a note of several lines.
    struct Room {
        const wchar_t* name;
        double x, y;
    };
    for (const Room& room : {Room{L"Office", 3.5, 4}, Room{L"Store", 9.5, 4}}) {
        Variant at;
        setPoint(at, room.x, room.y);
        ComPtr<IVeltText> text;
        check(modelSpace->AddText(Bstr(room.name).get(), *at.get(), 0.5, text.put()), L"naming a room");
        check(text->put_Alignment(vxAlignmentMiddleCenter), L"centring a room's name");
        check(text->put_TextAlignmentPoint(*at.get()), L"placing a room's name");
    }
    Variant noteAt;
    setPoint(noteAt, 0, -1);
    ComPtr<IVeltMText> note;
    check(modelSpace->AddMText(*noteAt.get(), 12, Bstr(L"Walls 240 mm\\PDoors 900 mm").get(), note.put()),
          L"adding the note");
    std::wprintf(L"room names and a note added\n");

    // The title block comes from its own drawing and is filled in here.
    std::wstring blockFile = file;
    const size_t slash = blockFile.find_last_of(L"\\/");
    blockFile = (slash == std::wstring::npos ? std::wstring() : blockFile.substr(0, slash + 1)) + L"titleblock.dxf";
    makeTitleBlock(blockFile);
    Variant corner, noPassword;
    setPoint(corner, 13, 0);
    ComPtr<IVeltBlockReference> titleBlock;
    check(modelSpace->InsertBlock(*corner.get(), Bstr(blockFile.c_str()).get(), 1, 1, 1, 0, *noPassword.get(),
                                  titleBlock.put()),
          L"inserting the title block");
    Variant attributes;
    check(titleBlock->GetAttributes(attributes.get()), L"reading the title block's attributes");
    nk::SafeArrayAccess access(V_ARRAY(attributes.get()));
    VARIANT* values = access.data<VARIANT>();
    for (ULONG i = 0; i < V_ARRAY(attributes.get())->rgsabound[0].cElements; ++i) {
        ComPtr<IVeltAttributeReference> attribute;
        check(V_DISPATCH(&values[i])->QueryInterface(__uuidof(IVeltAttributeReference), attribute.putVoid()),
              L"reading an attribute");
        Bstr tag;
        check(attribute->get_TagString(tag.put()), L"reading a tag");
        const wchar_t* value = std::wcscmp(tag.c_str(), L"PROJECT") == 0 ? L"Harbour Office" : L"NkAuto example";
        check(attribute->put_TextString(Bstr(value).get()), L"filling in the title block");
        std::wprintf(L"  title block %ls = %ls\n", tag.c_str(), value);
    }

    // Read back what the drawing now holds, as a For Each would.
    ComPtr<IUnknown> walk;
    check(modelSpace->get__NewEnum(walk.put()), L"starting the enumeration");
    ComPtr<IEnumVARIANT> items = walk.as<IEnumVARIANT>();
    if (!items) throw Failure{L"starting the enumeration", E_NOINTERFACE};
    for (;;) {
        Variant item;
        ULONG fetched = 0;
        if (items->Next(1, item.get(), &fetched) != S_OK || fetched != 1) break;
        ComPtr<IVeltEntity> entity;
        check(V_DISPATCH(item.get())->QueryInterface(__uuidof(IVeltEntity), entity.putVoid()), L"reading an entity");
        describe(entity.get());
    }

    makeSheet(document.get());
    save(document.get(), file);
    std::wprintf(L"saved as %ls\n", file);
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv)
{
    const wchar_t* file = argc > 1 ? argv[1] : L"plan.dxf";
    if (FAILED(CoInitialize(nullptr))) return 1;
    int result = 0;
    try {
        result = run(file);
    } catch (const Failure& failure) {
        std::fwprintf(stderr, L"make_drawing: %ls failed: 0x%08lX\n", failure.what,
                      static_cast<unsigned long>(failure.hr));
        result = 1;
    }
    CoUninitialize();
    return result;
}
