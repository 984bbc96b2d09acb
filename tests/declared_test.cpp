// Every declared property of every entity kind made by a block factory, walked from the
// declarations: each value is set through the vtable, read back through IDispatch by name,
// and the values that must be refused come back as errors and leave the object as it was.
// The drawing is then written with its facts, for ezdxf to compare (declared_check).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "declared_gen.h"
#include "drawing_fixture.h"
#include "dxf/dxffile.h"
#include "core/lookup.h"
#include "frame/com.h"
#include "frame/module.h"
#include "ge/matrix.h"

using drawing::doubles;
using drawing::Value;
using drawing::flag;
using drawing::real;
using nk::ComPtr;
using nk::Variant;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// A point is a VARIANT array; any other value goes as itself.
std::vector<double> numbersOf(const VARIANT& v)
{
    std::vector<double> out;
    if (V_VT(&v) == (VT_ARRAY | VT_R8)) {
        LONG lo = 0, hi = -1;
        SafeArrayGetLBound(V_ARRAY(&v), 1, &lo);
        SafeArrayGetUBound(V_ARRAY(&v), 1, &hi);
        for (LONG i = lo; i <= hi; ++i) {
            double d = 0;
            SafeArrayGetElement(V_ARRAY(&v), &i, &d);
            out.push_back(d);
        }
    } else if (V_VT(&v) == (VT_ARRAY | VT_I2)) {  // a polyface mesh's faces
        LONG lo = 0, hi = -1;
        SafeArrayGetLBound(V_ARRAY(&v), 1, &lo);
        SafeArrayGetUBound(V_ARRAY(&v), 1, &hi);
        for (LONG i = lo; i <= hi; ++i) {
            short n = 0;
            SafeArrayGetElement(V_ARRAY(&v), &i, &n);
            out.push_back(n);
        }
    } else {
        Variant copy;
        if (SUCCEEDED(VariantChangeType(copy.get(), const_cast<VARIANT*>(&v), 0, VT_R8)))
            out.push_back(V_R8(copy.get()));
    }
    return out;
}

std::wstring textOf(const VARIANT& v) { return V_VT(&v) == VT_BSTR && V_BSTR(&v) ? V_BSTR(&v) : L""; }

// The names of an array of texts, or of a VARIANT array holding texts.
bool textsOf(const VARIANT& v, std::vector<std::wstring>& out)
{
    const VARTYPE vt = V_VT(&v);
    if (vt != (VT_ARRAY | VT_BSTR) && vt != (VT_ARRAY | VT_VARIANT)) return false;
    LONG lo = 0, hi = -1;
    SafeArrayGetLBound(V_ARRAY(&v), 1, &lo);
    SafeArrayGetUBound(V_ARRAY(&v), 1, &hi);
    for (LONG i = lo; i <= hi; ++i) {
        Variant element;
        if (vt == (VT_ARRAY | VT_BSTR)) {
            BSTR text = nullptr;
            if (FAILED(SafeArrayGetElement(V_ARRAY(&v), &i, &text))) return false;
            V_VT(element.get()) = VT_BSTR;
            V_BSTR(element.get()) = text;
        } else if (FAILED(SafeArrayGetElement(V_ARRAY(&v), &i, element.get()))) {
            return false;
        }
        if (V_VT(element.get()) != VT_BSTR) return false;
        out.push_back(textOf(*element.get()));
    }
    return true;
}

bool same(const VARIANT& a, const VARIANT& b, double tolerance)
{
    if (V_VT(&a) == VT_BSTR || V_VT(&b) == VT_BSTR) return V_VT(&a) == V_VT(&b) && textOf(a) == textOf(b);
    std::vector<std::wstring> ta, tb;
    if (textsOf(a, ta) && textsOf(b, tb)) return ta == tb;
    const std::vector<double> x = numbersOf(a), y = numbersOf(b);
    if (x.size() != y.size() || x.empty()) return false;
    for (size_t i = 0; i < x.size(); ++i)
        if (!(std::fabs(x[i] - y[i]) <= tolerance * std::max(1.0, std::fabs(y[i])))) return false;
    return true;
}

std::string narrow(const std::wstring& w) { return std::string(w.begin(), w.end()); }

// The type a parameter is passed as: aliases resolved, enumerations as 32-bit integers.
VARTYPE passedAs(ITypeInfo* info, const TYPEDESC& desc)
{
    if (desc.vt != VT_USERDEFINED) return desc.vt;
    ComPtr<ITypeInfo> named;
    TYPEATTR* attr = nullptr;
    if (FAILED(info->GetRefTypeInfo(desc.hreftype, named.put())) || FAILED(named->GetTypeAttr(&attr))) return VT_EMPTY;
    const VARTYPE vt = attr->typekind == TKIND_ALIAS ? passedAs(named.get(), attr->tdescAlias)
                       : attr->typekind == TKIND_ENUM ? VARTYPE(VT_I4)
                                                      : VARTYPE(VT_EMPTY);
    named->ReleaseTypeAttr(attr);
    return vt;
}

// The function of a property's put in the interface or one of its bases.
bool findPut(ITypeInfo* info, const std::wstring& name, short& offset, std::vector<VARTYPE>& types)
{
    TYPEATTR* attr = nullptr;
    if (FAILED(info->GetTypeAttr(&attr))) return false;
    const WORD funcs = attr->cFuncs, bases = attr->cImplTypes;
    info->ReleaseTypeAttr(attr);
    for (UINT i = 0; i < funcs; ++i) {
        FUNCDESC* fd = nullptr;
        if (FAILED(info->GetFuncDesc(i, &fd))) continue;
        BSTR own = nullptr;
        UINT got = 0;
        info->GetNames(fd->memid, &own, 1, &got);
        const bool match = got && own && name == own && fd->invkind == INVOKE_PROPERTYPUT;
        SysFreeString(own);
        if (match) {
            offset = fd->oVft;
            types.clear();
            for (SHORT p = 0; p < fd->cParams; ++p) types.push_back(passedAs(info, fd->lprgelemdescParam[p].tdesc));
            info->ReleaseFuncDesc(fd);
            return true;
        }
        info->ReleaseFuncDesc(fd);
    }
    for (UINT b = 0; b < bases; ++b) {
        HREFTYPE ref = 0;
        ComPtr<ITypeInfo> base;
        if (SUCCEEDED(info->GetRefTypeOfImplType(b, &ref)) && SUCCEEDED(info->GetRefTypeInfo(ref, base.put())) &&
            findPut(base.get(), name, offset, types))
            return true;
    }
    return false;
}

// A kind made by a factory, its interface and how the file shows its properties.
struct Kind {
    const wchar_t* itf;
    REFIID iid;
    const char* dxfType;
    std::function<HRESULT(IVeltModelSpace*, IDispatch**)> make;
    // property -> ezdxf attribute; "@" in front: a point in the object's coordinates,
    // "°": an angle in degrees, "*": corners as vtx0 ... vtx3.
    std::map<std::wstring, std::string> inFile;
};

class DeclaredProperties : public drawing::Drawing {
protected:
    // Sets through the vtable: the property's put function, called at its slot.
    HRESULT putThroughVtable(IUnknown* object, REFIID iid, const std::wstring& name, std::vector<VARIANT*> args)
    {
        ComPtr<IUnknown> itf;
        EXPECT_EQ(object->QueryInterface(iid, itf.putVoid()), S_OK);
        short offset = 0;
        std::vector<VARTYPE> types;
        if (!findPut(nk::Module::interfaceTypeInfo(iid), name, offset, types) || types.size() != args.size()) {
            ADD_FAILURE() << "no put of " << narrow(name);
            return E_FAIL;
        }
        // Values go by their declared types: the conversion is the member's, not the test's.
        std::vector<Variant> coerced(args.size());
        std::vector<VARIANTARG*> pointers;
        for (size_t i = 0; i < args.size(); ++i) {
            if (types[i] == VT_VARIANT || types[i] == V_VT(args[i])) {
                VariantCopy(coerced[i].get(), args[i]);
            } else if (FAILED(VariantChangeType(coerced[i].get(), args[i], 0, types[i]))) {
                ADD_FAILURE() << narrow(name) << ": a sample of the wrong type";
                return E_FAIL;
            }
            pointers.push_back(coerced[i].get());
        }
        Variant result;
        HRESULT hr = DispCallFunc(itf.get(), offset, CC_STDCALL, VT_ERROR, UINT(args.size()), types.data(),
                                  pointers.data(), result.get());
        EXPECT_EQ(hr, S_OK) << "the call itself failed";
        return V_ERROR(result.get());
    }

    // Reads through IDispatch by name.
    HRESULT getByName(IDispatch* object, const std::wstring& name, Value& out, std::vector<VARIANT*> args = {})
    {
        return drawing::invoke(object, name.c_str(), DISPATCH_PROPERTYGET, std::move(args), &out);
    }

    // Every declared property of the kind and of the entities, readable ones by name.
    // Table records, which have no entity members and are not entities of the file.
    static bool isRecord(const wchar_t* itf)
    {
        for (const wchar_t* record : {L"IVeltLayer", L"IVeltTextStyle", L"IVeltView", L"IVeltViewport"})
            if (std::wstring(itf) == record) return true;
        return false;
    }

    static std::vector<const nk::DeclaredMember*> propertiesOf(const wchar_t* itf)
    {
        std::vector<const nk::DeclaredMember*> out;
        for (const nk::DeclaredMember& m : nk::kDeclaredMembers)
            if (m.property &&
                (std::wstring(m.itf) == itf || (std::wstring(m.itf) == L"IVeltEntity" && !isRecord(itf))))
                out.push_back(&m);
        return out;
    }

    // The values of every readable property without arguments: what "unchanged" compares.
    std::map<std::wstring, std::pair<HRESULT, Value>> snapshot(IDispatch* object, const wchar_t* itf)
    {
        std::map<std::wstring, std::pair<HRESULT, Value>> values;
        for (const nk::DeclaredMember* m : propertiesOf(itf)) {
            if (!m->get || m->extraArguments) continue;
            Value v;
            HRESULT hr = getByName(object, m->name, v);
            if (v.type() == VT_DISPATCH) continue;  // a new object each time: not a value
            values.emplace(m->name, std::make_pair(hr, std::move(v)));
        }
        return values;
    }
};

// The value each conversion is tried with, and those it must refuse.
std::vector<Value> samples(const nk::DeclaredMember& m, const VARIANT& current)
{
    const std::string conv = m.conversion;
    const std::wstring name = m.name;
    std::vector<Value> out;
    if (name == L"MajorAxis") out.push_back(doubles({3, 4, 0}));  // in the ellipse's plane
    else if (name == L"ObliqueAngle") out.push_back(real(0.25));  // within 85 degrees
    else if (name == L"SecondPoint") out.push_back(doubles({7, 8, 9}));  // not the base point
    else if (name == L"Layer") out.push_back(drawing::text(L"Walls"));
    else if (name == L"ObliqueAngle") out.push_back(real(0.5));  // within 85 degrees
    else if (name == L"Linetype") out.push_back(drawing::text(L"Continuous"));
    else if (name == L"Material") out.push_back(drawing::text(L"Global"));
    else if (name == L"color" || name == L"TextColor" || name == L"DimensionLineColor") out.push_back(drawing::number(3));
    else if (name == L"DirectionVector") out.push_back(doubles({0.6, 0.8, 0}));  // in a frame's plane
    else if (name == L"Lineweight") out.push_back(drawing::number(50));
    else if (conv == "double" || conv == "length") out.push_back(real(2.5));
    else if (conv == "ratio") out.push_back(real(0.5));
    else if (conv == "point") out.push_back(doubles({1.5, -2.25, 3.125}));
    else if (conv == "vector") out.push_back(doubles({0, 0.6, 0.8}));
    else if (conv == "points") out.push_back(doubles({0, 0, 0, 4, 0, 1, 4, 3, 2, 0, 3, 1}));
    else if (conv == "bool" || conv == "negated") out.push_back(flag(V_VT(&current) == VT_BOOL && !V_BOOL(&current)));
    return out;
}

std::vector<Value> refused(const nk::DeclaredMember& m)
{
    const std::string conv = m.conversion;
    const std::wstring name = m.name;
    std::vector<Value> out;
    if (name == L"Layer" || name == L"Linetype" || name == L"Material") out.push_back(drawing::text(L"No such"));
    if (name == L"color" || name == L"TextColor" || name == L"DimensionLineColor") out.push_back(drawing::number(300));
    if (name == L"Lineweight") out.push_back(drawing::number(7));
    if (conv == "double" || conv == "length" || conv == "ratio") {
        out.push_back(real(kNaN));
        out.push_back(real(kInf));
    }
    if (conv == "length") {
        out.push_back(real(0));
        out.push_back(real(1e-10));
        out.push_back(real(-1));
    }
    if (conv == "ratio") {
        out.push_back(real(0));
        out.push_back(real(1.0000001));
    }
    if (conv == "point" || conv == "vector") {
        out.push_back(doubles({kNaN, 0, 1}));
        out.push_back(doubles({0, kInf, 0}));
        out.push_back(doubles({1, 2, 3}, VT_VARIANT));
    }
    if (conv == "vector") out.push_back(doubles({0, 0, 0}));
    if (conv == "points") {
        out.push_back(doubles({0, 0, 0, 1, 1, 1}));  // two corners
        out.push_back(doubles({0, 0, 0, 1, 0, 0, kNaN, 1, 0}));
    }
    return out;
}

// Where the file view of a property differs from the automation view.
kx::VxGeMatrix3d worldToObject(const std::vector<double>& normal)
{
    kx::VxGeMatrix3d m;
    const kx::VxGeVector3d n{normal[0], normal[1], normal[2]};
    if (!(n.x == 0 && n.y == 0 && n.z > 0)) m.setToWorldToPlane(n.normal());
    return m;
}

std::string number(double d)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", d);
    return text;
}

}  // namespace

TEST_F(DeclaredProperties, EveryPropertyIsSetReadAndRefusedThroughTheInterfaces)
{
    {
        kx::VxDbObjectPointer<kx::VxDbLayerTable> layers(db->layerTableId(), kx::VxDb::kForWrite);
        auto* walls = new kx::VxDbLayerTableRecord();
        walls->setName(L"Walls");
        kx::VxDbObjectId id;
        ASSERT_EQ(layers->add(id, walls), kx::Velt::eOk);
        walls->close();
    }
    ComPtr<IVeltModelSpace> space = modelSpace();
    ASSERT_TRUE(space);
    Value p1 = drawing::point(0, 0, 0), p2 = drawing::point(4, 0, 1), p3 = drawing::point(4, 3, 2),
          p4 = drawing::point(0, 3, 1), axis = drawing::point(5, 0, 0);
    Value corners = doubles({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0});
    Value missing;
    V_VT(missing.get()) = VT_ERROR;
    V_ERROR(missing.get()) = DISP_E_PARAMNOTFOUND;
    Value pairs = doubles({0, 0, 4, 0, 4, 3});
    Value triples = doubles({0, 0, 0, 4, 0, 0, 4, 3, 0});
    Value square = doubles({0, 0, 0, 4, 0, 0, 0, 3, 1, 4, 3, 1}), quad = drawing::shorts({1, 2, -4, 3});
    const std::unique_ptr<OLECHAR, decltype(&SysFreeString)> label(SysAllocString(L"Room 12"), &SysFreeString);
    auto as = [](auto* typed, IDispatch** out) {
        if (!typed) return;
        typed->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(out));
        typed->Release();
    };
    // Records are added to their tables through the database's collections.
    ComPtr<IUnknown> unknownDatabase = ComPtr<IUnknown>::adopt(NkAuGetIUnknownOfDatabase(db.get(), nullptr));
    ComPtr<IVeltDatabase> database = unknownDatabase.as<IVeltDatabase>();
    ASSERT_TRUE(database);
    nk::Bstr probe(L"Probe");
    const Kind kinds[] = {
        {L"IVeltLine", __uuidof(IVeltLine), "LINE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltLine* e = nullptr; HRESULT hr = s->AddLine(*p1, *p2, &e); as(e, o); return hr; },
         {{L"StartPoint", "start"}, {L"EndPoint", "end"}, {L"Normal", "extrusion"}, {L"Thickness", "thickness"}}},
        {L"IVeltCircle", __uuidof(IVeltCircle), "CIRCLE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltCircle* e = nullptr; HRESULT hr = s->AddCircle(*p1, 2.0, &e); as(e, o); return hr; },
         {{L"Center", "@center"}, {L"Radius", "radius"}, {L"Normal", "extrusion"}, {L"Thickness", "thickness"}}},
        {L"IVeltArc", __uuidof(IVeltArc), "ARC",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltArc* e = nullptr; HRESULT hr = s->AddArc(*p1, 2.0, 0.5, 2.0, &e); as(e, o); return hr; },
         {{L"Center", "@center"}, {L"Radius", "radius"}, {L"StartAngle", "°start_angle"},
          {L"EndAngle", "°end_angle"}, {L"Normal", "extrusion"}, {L"Thickness", "thickness"}}},
        {L"IVeltEllipse", __uuidof(IVeltEllipse), "ELLIPSE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltEllipse* e = nullptr; HRESULT hr = s->AddEllipse(*p1, *axis, 0.5, &e); as(e, o); return hr; },
         {{L"Center", "center"}, {L"MajorAxis", "major_axis"}, {L"RadiusRatio", "ratio"},
          {L"StartParameter", "start_param"}, {L"EndParameter", "end_param"}, {L"Normal", "extrusion"}}},
        {L"IVeltPoint", __uuidof(IVeltPoint), "POINT",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltPoint* e = nullptr; HRESULT hr = s->AddPoint(*p3, &e); as(e, o); return hr; },
         {{L"Coordinates", "location"}, {L"Normal", "extrusion"}, {L"Thickness", "thickness"}}},
        {L"IVeltRay", __uuidof(IVeltRay), "RAY",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltRay* e = nullptr; HRESULT hr = s->AddRay(*p1, *p2, &e); as(e, o); return hr; },
         {{L"BasePoint", "start"}, {L"DirectionVector", "unit_vector"}}},
        {L"IVeltXline", __uuidof(IVeltXline), "XLINE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltXline* e = nullptr; HRESULT hr = s->AddXline(*p1, *p3, &e); as(e, o); return hr; },
         {{L"BasePoint", "start"}, {L"DirectionVector", "unit_vector"}}},
        {L"IVelt3DFace", __uuidof(IVelt3DFace), "3DFACE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVelt3DFace* e = nullptr; HRESULT hr = s->Add3DFace(*p1, *p2, *p3, *p4, &e); as(e, o); return hr; },
         {{L"Coordinates", "*vtx"}}},
        {L"IVeltSolid", __uuidof(IVeltSolid), "SOLID",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltSolid* e = nullptr; HRESULT hr = s->AddSolid(*p1, *p2, *p3, *p4, &e); as(e, o); return hr; },
         {{L"Coordinates", "*@vtx"}, {L"Normal", "extrusion"}, {L"Thickness", "thickness"}}},
        {L"IVeltTrace", __uuidof(IVeltTrace), "TRACE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltTrace* e = nullptr; HRESULT hr = s->AddTrace(*corners, &e); as(e, o); return hr; },
         {{L"Coordinates", "*@vtx"}, {L"Normal", "extrusion"}, {L"Thickness", "thickness"}}},
        {L"IVeltLWPolyline", __uuidof(IVeltLWPolyline), "LWPOLYLINE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltLWPolyline* e = nullptr; HRESULT hr = s->AddLightWeightPolyline(*pairs, &e); as(e, o); return hr; },
         {{L"Normal", "extrusion"}, {L"Thickness", "thickness"}, {L"ConstantWidth", "const_width"}, {L"Elevation", "elevation"}}},
        {L"IVeltPolyline", __uuidof(IVeltPolyline), "POLYLINE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltPolyline* e = nullptr; HRESULT hr = s->AddPolyline(*triples, &e); as(e, o); return hr; },
         {{L"Normal", "extrusion"}, {L"Thickness", "thickness"}, {L"ConstantWidth", "default_start_width"}}},
        {L"IVelt3DPolyline", __uuidof(IVelt3DPolyline), "POLYLINE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVelt3DPolyline* e = nullptr; HRESULT hr = s->Add3DPoly(*triples, &e); as(e, o); return hr; },
         {}},
        {L"IVeltPolygonMesh", __uuidof(IVeltPolygonMesh), "POLYLINE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltPolygonMesh* e = nullptr; HRESULT hr = s->Add3DMesh(2, 2, *square, &e); as(e, o); return hr; },
         {}},
        {L"IVeltPolyfaceMesh", __uuidof(IVeltPolyfaceMesh), "POLYLINE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltPolyfaceMesh* e = nullptr; HRESULT hr = s->AddPolyfaceMesh(*square, *quad, &e); as(e, o); return hr; },
         {}},
        {L"IVeltText", __uuidof(IVeltText), "TEXT",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltText* e = nullptr; HRESULT hr = s->AddText(label.get(), *p1, 2.0, &e); as(e, o); return hr; },
         {{L"InsertionPoint", "@insert"}, {L"Height", "height"}, {L"Rotation", "°rotation"}, {L"ScaleFactor", "width"},
          {L"Normal", "extrusion"}, {L"Thickness", "thickness"}}},
        {L"IVeltMText", __uuidof(IVeltMText), "MTEXT",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltMText* e = nullptr; HRESULT hr = s->AddMText(*p1, 10.0, label.get(), &e); as(e, o); return hr; },
         {{L"InsertionPoint", "insert"}, {L"Height", "char_height"}, {L"Width", "width"}, {L"Normal", "extrusion"}}},
        {L"IVeltAttribute", __uuidof(IVeltAttribute), "ATTDEF",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltAttribute* e = nullptr; HRESULT hr = s->AddAttribute(2.0, vxAttributeModePreset, label.get(), *p1, label.get(), label.get(), &e); as(e, o); return hr; },
         {{L"InsertionPoint", "@insert"}, {L"Height", "height"}, {L"Rotation", "°rotation"}, {L"ScaleFactor", "width"},
          {L"Normal", "extrusion"}, {L"Thickness", "thickness"}}},
        {L"IVeltShape", __uuidof(IVeltShape), "SHAPE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltShape* e = nullptr; HRESULT hr = s->AddShape(label.get(), *p1, 1.5, 0.25, &e); as(e, o); return hr; },
         {{L"InsertionPoint", "insert"}, {L"Height", "size"}, {L"Rotation", "°rotation"}, {L"Normal", "extrusion"},
          {L"Thickness", "thickness"}}},
        {L"IVeltPViewport", __uuidof(IVeltPViewport), "VIEWPORT",
         [&](IVeltModelSpace*, IDispatch** o) { IVeltPViewport* e = nullptr; HRESULT hr = wrapperOf<IVeltPaperSpace>(db->paperSpaceId())->AddPViewport(*p3, 40.0, 30.0, &e); as(e, o); return hr; },
         {{L"Center", "center"}, {L"Width", "width"}, {L"Height", "height"}, {L"Direction", "view_direction_vector"},
          {L"Target", "view_target_point"}, {L"LensLength", "perspective_lens_length"},
          {L"TwistAngle", "°view_twist_angle"}, {L"SnapRotationAngle", "°snap_angle"}}},
        {L"IVeltTolerance", __uuidof(IVeltTolerance), "TOLERANCE",
         [&](IVeltModelSpace* s, IDispatch** o) { IVeltTolerance* e = nullptr; HRESULT hr = s->AddTolerance(label.get(), *p1, *axis, &e); as(e, o); return hr; },
         {{L"InsertionPoint", "insert"}, {L"DirectionVector", "x_axis_vector"}, {L"Normal", "extrusion"}}},
        // ezdxf keeps text along an arc as its record's groups ("#" and the group code).
        {L"IArcTextObj", __uuidof(IArcTextObj), "ARCALIGNEDTEXT",
         [&](IVeltModelSpace* s, IDispatch** o) { nk::Bstr cls(L"KxDbArcAlignedText"); return s->AddCustomObject(cls.get(), o); },
         {{L"TextHeight", "#42"}, {L"WidthFactor", "#41"}, {L"OffsetFromArc", "#44"}, {L"OffsetFromLeft", "#46"},
          {L"OffsetFromRight", "#45"}}},
        {L"IVeltHatch", __uuidof(IVeltHatch), "HATCH",
         [&](IVeltModelSpace* s, IDispatch** o) {
             IVeltHatch* e = nullptr;
             ComPtr<IVeltCircle> ring;
             HRESULT hr = s->AddHatch(1, nk::Bstr(L"ANSI31").get(), VARIANT_FALSE, *missing, &e);
             if (SUCCEEDED(hr)) hr = s->AddCircle(*p1, 2.0, ring.put());
             drawing::Value loop = drawing::objects({ring.as<IUnknown>().get()});
             if (SUCCEEDED(hr)) hr = e->AppendOuterLoop(*loop);
             as(e, o);
             return hr;
         },
         {{L"PatternScale", "pattern_scale"}, {L"PatternAngle", "°pattern_angle"}, {L"Normal", "extrusion"}}},
        {L"IVeltLayer", __uuidof(IVeltLayer), "LAYER",
         [&](IVeltModelSpace*, IDispatch** o) { ComPtr<IVeltLayers> t; IVeltLayer* r = nullptr; HRESULT hr = database->get_Layers(t.put()); if (SUCCEEDED(hr)) hr = t->Add(probe.get(), &r); as(r, o); return hr; },
         {}},
        {L"IVeltTextStyle", __uuidof(IVeltTextStyle), "STYLE",
         [&](IVeltModelSpace*, IDispatch** o) { ComPtr<IVeltTextStyles> t; IVeltTextStyle* r = nullptr; HRESULT hr = database->get_TextStyles(t.put()); if (SUCCEEDED(hr)) hr = t->Add(probe.get(), &r); as(r, o); return hr; },
         {}},
        {L"IVeltView", __uuidof(IVeltView), "VIEW",
         [&](IVeltModelSpace*, IDispatch** o) { ComPtr<IVeltViews> t; IVeltView* r = nullptr; HRESULT hr = database->get_Views(t.put()); if (SUCCEEDED(hr)) hr = t->Add(probe.get(), &r); as(r, o); return hr; },
         {}},
        {L"IVeltViewport", __uuidof(IVeltViewport), "VPORT",
         [&](IVeltModelSpace*, IDispatch** o) { ComPtr<IVeltViewports> t; IVeltViewport* r = nullptr; HRESULT hr = database->get_Viewports(t.put()); if (SUCCEEDED(hr)) hr = t->Add(probe.get(), &r); as(r, o); return hr; },
         {}},
    };

    std::string facts;
    size_t walked = 0;
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(narrow(kind.itf));
        ComPtr<IDispatch> entity;
        ASSERT_EQ(kind.make(space.get(), entity.put()), S_OK);
        ASSERT_TRUE(entity);
        for (const nk::DeclaredMember* m : propertiesOf(kind.itf)) {
            if (!m->put || !m->get) continue;
            SCOPED_TRACE(narrow(m->name));
            Value index = drawing::number(2);
            std::vector<VARIANT*> leading;
            if (m->extraArguments == 1) leading.push_back(index.get());
            Value current;
            ASSERT_EQ(getByName(entity.get(), m->name, current, leading), S_OK);

            // Refused values: the member's error, and nothing changes.
            for (Value& bad : refused(*m)) {
                const auto before = snapshot(entity.get(), kind.itf);
                std::vector<VARIANT*> args = leading;
                args.push_back(bad.get());
                const HRESULT hr = putThroughVtable(entity.get(), kind.iid, m->name, args);
                EXPECT_TRUE(FAILED(hr)) << "a refused value was taken";
                // The sizes' own check comes before the host's: E_INVALIDARG, nothing locked.
                const double d = V_VT(bad.get()) == VT_R8 ? V_R8(bad.get()) : 0.0;
                if (std::string(m->conversion) == "length" && !(d > 1e-10)) {
                    EXPECT_EQ(hr, E_INVALIDARG);
                }
                if (std::string(m->conversion) == "ratio" && !(d >= 1e-6 && d <= 1.0)) {
                    EXPECT_EQ(hr, E_INVALIDARG);
                }
                const auto after = snapshot(entity.get(), kind.itf);
                for (const auto& [name, value] : before) {
                    EXPECT_EQ(after.at(name).first, value.first) << narrow(name);
                    if (SUCCEEDED(value.first)) {
                        EXPECT_TRUE(same(*after.at(name).second, *value.second, 0)) << narrow(name) << " changed";
                    }
                }
            }

            // A value it takes reads back the same by name.
            for (Value& sample : samples(*m, *current.get())) {
                std::vector<VARIANT*> args = leading;
                args.push_back(sample.get());
                ASSERT_EQ(putThroughVtable(entity.get(), kind.iid, m->name, args), S_OK);
                Value back;
                ASSERT_EQ(getByName(entity.get(), m->name, back, leading), S_OK);
                EXPECT_TRUE(same(*back.get(), *sample.get(), 1e-9)) << "read back differs";
                ++walked;
            }
        }

        // Records' values in the file are the collections' test's (collections_in_ezdxf).
        if (isRecord(kind.itf)) continue;
        // The facts ezdxf is to find in the file.
        Value handle, layer, color, normal;
        ASSERT_EQ(getByName(entity.get(), L"Handle", handle), S_OK);
        ASSERT_EQ(getByName(entity.get(), L"Layer", layer), S_OK);
        ASSERT_EQ(getByName(entity.get(), L"color", color), S_OK);
        const bool hasNormal = SUCCEEDED(getByName(entity.get(), L"Normal", normal));
        std::string attrs, tags;
        for (const auto& [property, attribute] : kind.inFile) {
            if (attribute[0] == '#') {
                Value v;
                ASSERT_EQ(getByName(entity.get(), property, v), S_OK);
                std::string value;
                for (double d : numbersOf(*v.get())) value += (value.empty() ? "" : ",") + number(d);
                tags += (tags.empty() ? "" : "|") + attribute.substr(1) + "=" + value;
                continue;
            }
            Value v;
            ASSERT_EQ(getByName(entity.get(), property, v), S_OK);
            std::vector<double> n = numbersOf(*v.get());
            std::string name = attribute;
            const bool corners = name[0] == '*';
            if (corners) name = name.substr(1);
            const bool objectCoordinates = name[0] == '@';
            if (objectCoordinates) name = name.substr(1);
            for (size_t at = 0; at + 2 < n.size() && objectCoordinates && hasNormal; at += 3) {
                kx::VxGePoint3d p{n[at], n[at + 1], n[at + 2]};
                p.transformBy(worldToObject(numbersOf(*normal.get())));
                n[at] = p.x, n[at + 1] = p.y, n[at + 2] = p.z;
            }
            if (name.rfind("°", 0) == 0) {
                n[0] = n[0] * 180.0 / 3.14159265358979323846;
                name = name.substr(std::string("°").size());
            }
            for (size_t part = 0; part < (corners ? n.size() / 3 : 1); ++part) {
                std::string value;
                const size_t from = corners ? part * 3 : 0, to = corners ? from + 3 : n.size();
                for (size_t i = from; i < to; ++i) {
                    if (!value.empty()) value += ',';
                    value += number(n[i]);
                }
                if (!attrs.empty()) attrs += ';';
                attrs += name;
                if (corners) attrs += std::to_string(part);
                attrs += '=';
                attrs += value;
            }
        }
        if (std::string(kind.dxfType) == "3DFACE") {  // the edges' flags
            int hidden = 0;
            for (int edge = 0; edge < 4; ++edge) {
                Value visible;
                ASSERT_EQ(getByName(entity.get(), L"VisibilityEdge" + std::to_wstring(edge + 1), visible), S_OK);
                if (V_BOOL(visible.get()) != VARIANT_TRUE) hidden |= 1 << edge;
            }
            attrs += ";invisible=" + std::to_string(hidden);
        }
        if (!tags.empty()) {
            facts += "TAGS\t" + narrow(textOf(*handle.get())) + "\t" + kind.dxfType + "\tAcDbArcAlignedText\t" + tags + "\n";
            continue;
        }
        facts += "ENTITY\t" + narrow(textOf(*handle.get())) + "\t" + kind.dxfType + "\t" +
                 narrow(textOf(*layer.get())) + "\t" + std::to_string(int(numbersOf(*color.get())[0])) + "\t" +
                 attrs + "\n";
    }
    EXPECT_GT(walked, 60u);

    // Saved for ezdxf: the drawing and what it must find there.
    drawing::saveForFileCheck(db.get(), "declared", facts);
}
