// An early-bound client: makes a drawing without an editor. It creates a document, adds
// two layers and a small floor plan of lines in model space, gives each line its layer and
// colour, names the rooms, reads the lines back through the model space's enumerator and
// saves the drawing. Its title block is a drawing of its own (titleblock.dxf beside the
// plan): a frame with attribute definitions, inserted into the plan and filled in.
//
//   make_drawing [file.dxf]        (default: plan.dxf in the current folder)
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <cwchar>
#include <string>

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

struct Wall {
    double x1, y1, x2, y2;
    const wchar_t* layer;
    VxColor color;
};

// Outer walls, an inner wall and two door leaves.
const Wall kPlan[] = {
    {0, 0, 12, 0, L"Walls", vxRed},   {12, 0, 12, 8, L"Walls", vxRed},    {12, 8, 0, 8, L"Walls", vxRed},
    {0, 8, 0, 0, L"Walls", vxRed},    {7, 0, 7, 5, L"Walls", vxRed},      {7, 5, 8, 6, L"Doors", vxBlue},
    {3, 8, 4, 7, L"Doors", vxBlue},
};

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

int run(const wchar_t* file)
{
    ComPtr<IKxDbDocument> document = newDocument();

    ComPtr<IVeltLayers> layers;
    check(document->get_Layers(layers.put()), L"reading the layers");
    for (const wchar_t* name : {L"Walls", L"Doors"}) {
        ComPtr<IVeltLayer> layer;
        check(layers->Add(Bstr(name).get(), layer.put()), L"adding a layer");
        std::wprintf(L"layer %ls added\n", name);
    }

    ComPtr<IVeltModelSpace> modelSpace;
    check(document->get_ModelSpace(modelSpace.put()), L"reading model space");
    for (const Wall& wall : kPlan) {
        Variant start, end;
        setPoint(start, wall.x1, wall.y1);
        setPoint(end, wall.x2, wall.y2);
        ComPtr<IVeltLine> line;
        check(modelSpace->AddLine(*start.get(), *end.get(), line.put()), L"adding a line");
        check(line->put_Layer(Bstr(wall.layer).get()), L"setting the layer");
        ComPtr<IVeltVxCmColor> color;
        check(line->get_TrueColor(color.put()), L"reading the colour");
        check(color->put_ColorIndex(wall.color), L"choosing the colour");
        check(line->put_TrueColor(color.get()), L"setting the colour");
    }
    std::wprintf(L"%zu lines added to model space\n", sizeof(kPlan) / sizeof(kPlan[0]));

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
        ComPtr<IVeltLine> line;
        if (FAILED(V_DISPATCH(item.get())->QueryInterface(__uuidof(IVeltLine), line.putVoid()))) continue;
        Bstr handle, layer;
        ComPtr<IVeltVxCmColor> color;
        VxColor index = vxByLayer;
        double length = 0;
        check(line->get_Handle(handle.put()), L"reading a handle");
        check(line->get_Layer(layer.put()), L"reading a layer");
        check(line->get_TrueColor(color.put()), L"reading a colour");
        check(color->get_ColorIndex(&index), L"reading a colour index");
        check(line->get_Length(&length), L"reading a length");
        std::wprintf(L"  line %-4ls layer %-6ls colour %d  length %g\n", handle.c_str(), layer.c_str(),
                     static_cast<int>(index), length);
    }

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
