// An early-bound client: makes a drawing without an editor. It creates a document, adds
// two layers and a small floor plan of lines in model space, gives each line its layer and
// colour, reads the lines back through the model space's enumerator and saves the drawing.
//
//   make_drawing [file.dxf]        (default: plan.dxf in the current folder)
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <cwchar>

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

int run(const wchar_t* file)
{
    CLSID clsid;
    check(CLSIDFromProgID(L"NkAuto.Document", &clsid), L"finding NkAuto.Document (run nkreg.exe first)");
    ComPtr<IKxDbDocument> document;
    check(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IKxDbDocument), document.putVoid()),
          L"creating the document");

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
        check(V_DISPATCH(item.get())->QueryInterface(__uuidof(IVeltLine), line.putVoid()), L"reading a line");
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

    Variant noSecurity;  // an optional argument left out
    V_VT(noSecurity.get()) = VT_ERROR;
    V_ERROR(noSecurity.get()) = DISP_E_PARAMNOTFOUND;
    check(document->SaveAs(Bstr(file).get(), *noSecurity.get()), L"saving the drawing");
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
