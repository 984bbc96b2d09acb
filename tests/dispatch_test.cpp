// The server's own Invoke and GetIDsOfNames answer exactly what the type information does.
// Two identical drawings are driven side by side, one through each path, with the same
// calls: every member of every object, with good arguments and with bad ones; results,
// HRESULTs, argument error indexes and exception information must agree.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "drawing_fixture.h"
#include "frame/dispatch.h"

using drawing::Value;
using nk::ComPtr;

namespace {

// The objects of one drawing, made the same way each time.
std::vector<ComPtr<IDispatch>> makeDrawing(kx::VxDbDatabase& db)
{
    std::vector<ComPtr<IDispatch>> objects;
    auto wrapper = [&](kx::VxDbObjectId id) {
        ComPtr<IUnknown> unknown;
        EXPECT_EQ(VxAxGetIUnknownOfObject(unknown.put(), id, nullptr), S_OK);
        return unknown.as<IDispatch>();
    };
    ComPtr<IVeltModelSpace> space = wrapper(db.modelSpaceId()).as<IVeltModelSpace>();
    Value p1 = drawing::point(0, 0, 0), p2 = drawing::point(4, 1, 0), p3 = drawing::point(4, 3, 0),
          p4 = drawing::point(0, 3, 0), axis = drawing::point(2, 0, 0),
          trace = drawing::doubles({0, 0, 0, 2, 0, 0, 2, 1, 0, 0, 1, 0}),
          pairs = drawing::doubles({0, 0, 4, 0, 4, 3, 0, 3});
    auto keep = [&](auto made, HRESULT hr) {
        EXPECT_EQ(hr, S_OK);
        objects.push_back(made.template as<IDispatch>());
    };
    {
        ComPtr<IVeltLine> e;
        keep(e, space->AddLine(*p1, *p2, e.put()));
    }
    {
        ComPtr<IVeltCircle> e;
        keep(e, space->AddCircle(*p3, 1.5, e.put()));
    }
    {
        ComPtr<IVeltArc> e;
        keep(e, space->AddArc(*p1, 2, 0.25, 2.5, e.put()));
    }
    {
        ComPtr<IVeltEllipse> e;
        keep(e, space->AddEllipse(*p1, *axis, 0.5, e.put()));
    }
    {
        ComPtr<IVeltPoint> e;
        keep(e, space->AddPoint(*p4, e.put()));
    }
    {
        ComPtr<IVeltRay> e;
        keep(e, space->AddRay(*p1, *p2, e.put()));
    }
    {
        ComPtr<IVeltXline> e;
        keep(e, space->AddXline(*p1, *p3, e.put()));
    }
    {
        ComPtr<IVelt3DFace> e;
        keep(e, space->Add3DFace(*p1, *p2, *p3, *p4, e.put()));
    }
    {
        ComPtr<IVeltSolid> e;
        keep(e, space->AddSolid(*p1, *p2, *p3, *p4, e.put()));
    }
    {
        ComPtr<IVeltTrace> e;
        keep(e, space->AddTrace(*trace, e.put()));
    }
    {
        ComPtr<IVeltLWPolyline> e;
        keep(e, space->AddLightWeightPolyline(*pairs, e.put()));
    }
    {
        ComPtr<IVeltTolerance> e;
        Value code = drawing::text(L"{\\Fgdt;j}%%v0.1");
        keep(e, space->AddTolerance(V_BSTR(code.get()), *p1, *axis, e.put()));
    }
    {
        ComPtr<IDispatch> e;
        Value kind = drawing::text(L"KxDbArcAlignedText");
        keep(e, space->AddCustomObject(V_BSTR(kind.get()), e.put()));
    }
    {
        // A hatch bounded by the circle above.
        ComPtr<IVeltHatch> e;
        Value missing, ring = drawing::objects({objects[1].get()});
        V_VT(missing.get()) = VT_ERROR;
        V_ERROR(missing.get()) = DISP_E_PARAMNOTFOUND;
        keep(e, space->AddHatch(1, nk::Bstr(L"ANSI31").get(), VARIANT_FALSE, *missing, e.put()));
        if (e) {
            EXPECT_EQ(e->AppendOuterLoop(*ring), S_OK);
        }
    }
    objects.push_back(wrapper(db.layerTableId()));
    objects.push_back(space.as<IDispatch>());  // last: its factories add to both drawings alike
    return objects;
}

struct Member {
    std::wstring name;
    DISPID id;
    INVOKEKIND kind;
    std::vector<VARTYPE> params;  // [in] parameters, outermost type
};

// Every member of an object's interface and the interfaces it derives from.
void membersOf(ITypeInfo* info, std::vector<Member>& out)
{
    TYPEATTR* attr = nullptr;
    if (FAILED(info->GetTypeAttr(&attr))) return;
    for (WORD i = 0; i < attr->cFuncs; ++i) {
        FUNCDESC* f = nullptr;
        if (FAILED(info->GetFuncDesc(i, &f))) continue;
        if (f->memid < 0x60000000 || f->memid > 0x6FFFFFFF) {  // not IUnknown's or IDispatch's own
            BSTR name = nullptr;
            UINT got = 0;
            info->GetNames(f->memid, &name, 1, &got);
            Member m{name ? name : L"", f->memid, f->invkind, {}};
            SysFreeString(name);
            for (SHORT p = 0; p < f->cParams; ++p) {
                const ELEMDESC& e = f->lprgelemdescParam[p];
                if (e.paramdesc.wParamFlags & PARAMFLAG_FRETVAL) continue;
                m.params.push_back(e.tdesc.vt);
            }
            out.push_back(m);
        }
        info->ReleaseFuncDesc(f);
    }
    for (WORD i = 0; i < attr->cImplTypes; ++i) {
        HREFTYPE ref = 0;
        ComPtr<ITypeInfo> base;
        if (SUCCEEDED(info->GetRefTypeOfImplType(i, &ref)) && SUCCEEDED(info->GetRefTypeInfo(ref, base.put())))
            membersOf(base.get(), out);
    }
    info->ReleaseTypeAttr(attr);
}

enum class Args { Good, Texts, Shorts, Empty, NotANumber, OneFewer, OneMore, ByReference, Objects, Missing };

Value goodValue(VARTYPE vt)
{
    Value v;
    switch (vt) {
    case VT_R8: V_VT(v.get()) = VT_R8; V_R8(v.get()) = 0.75; break;
    case VT_R4: V_VT(v.get()) = VT_R4; V_R4(v.get()) = 0.75f; break;
    case VT_BOOL: V_VT(v.get()) = VT_BOOL; V_BOOL(v.get()) = VARIANT_TRUE; break;
    case VT_BSTR: return drawing::text(L"0");
    case VT_VARIANT: return drawing::point(1, 2, 0);
    case VT_I2: V_VT(v.get()) = VT_I2; V_I2(v.get()) = 1; break;
    default: V_VT(v.get()) = VT_I4; V_I4(v.get()) = 1; break;  // longs, ints, enumerations
    }
    return v;
}

Value argument(VARTYPE vt, Args how, IDispatch* self)
{
    Value v;
    switch (how) {
    case Args::Missing:
        V_VT(v.get()) = VT_ERROR;
        V_ERROR(v.get()) = DISP_E_PARAMNOTFOUND;
        return v;
    case Args::Objects:  // the object itself, where it fits and where it does not
        V_VT(v.get()) = VT_DISPATCH;
        V_DISPATCH(v.get()) = self;
        self->AddRef();
        return v;
    case Args::Texts: return drawing::text(L"x");
    case Args::Shorts: V_VT(v.get()) = VT_I2; V_I2(v.get()) = 2; return v;
    case Args::Empty: return v;
    case Args::NotANumber:
        V_VT(v.get()) = VT_R8;
        V_R8(v.get()) = std::numeric_limits<double>::quiet_NaN();
        return v;
    default: return goodValue(vt);
    }
}

// What a call answered, in a form two calls can be compared by.
struct Answer {
    HRESULT hr;
    UINT argErr;
    SCODE scode;
    std::wstring description, source;
    VARTYPE type;
    std::wstring value;

    bool operator==(const Answer&) const = default;
};

std::wstring textOf(VARIANT& v)
{
    switch (V_VT(&v)) {
    case VT_R8: return std::isnan(V_R8(&v)) ? L"nan" : std::to_wstring(V_R8(&v));
    case VT_I4: return std::to_wstring(V_I4(&v));
    case VT_I2: return std::to_wstring(V_I2(&v));
    case VT_BOOL: return std::to_wstring(V_BOOL(&v));
    case VT_BSTR: return V_BSTR(&v) ? V_BSTR(&v) : L"";
    case VT_DISPATCH: return V_DISPATCH(&v) ? L"object" : L"nothing";
    default: return L"";
    }
}

Answer call(IDispatch* object, const Member& m, Args how, bool own)
{
    std::vector<Value> values;
    size_t count = m.params.size();
    if (how == Args::OneFewer && count) --count;
    for (size_t i = 0; i < count; ++i) values.push_back(argument(m.params[i], how, object));
    if (how == Args::OneMore) values.push_back(goodValue(VT_I4));
    // Arguments go last to first; by reference they point at the values.
    std::vector<VARIANT> args(values.size());
    for (size_t i = 0; i < values.size(); ++i) {
        VARIANT& a = args[values.size() - 1 - i];
        if (how == Args::ByReference) {
            VariantInit(&a);
            V_VT(&a) = VT_BYREF | VT_VARIANT;
            V_VARIANTREF(&a) = values[i].get();
        } else {
            a = *values[i];
        }
    }
    DISPID putId = DISPID_PROPERTYPUT;
    DISPPARAMS params{args.data(), nullptr, static_cast<UINT>(args.size()), 0};
    WORD flags = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
    if (m.kind == INVOKE_PROPERTYPUT || m.kind == INVOKE_PROPERTYPUTREF) {
        flags = m.kind == INVOKE_PROPERTYPUT ? DISPATCH_PROPERTYPUT : DISPATCH_PROPERTYPUTREF;
        params.rgdispidNamedArgs = &putId;
        params.cNamedArgs = 1;
    }
    Value result;
    EXCEPINFO excep{};
    UINT argErr = 12345;
    nk::dispatch::gOwnDispatch = own;
    Answer a{};
    a.hr = object->Invoke(m.id, IID_NULL, 0, flags, &params, result.get(), &excep, &argErr);
    nk::dispatch::gOwnDispatch = true;
    a.argErr = (a.hr == DISP_E_TYPEMISMATCH || a.hr == DISP_E_PARAMNOTFOUND) ? argErr : 0;
    a.scode = excep.scode;
    a.description = excep.bstrDescription ? excep.bstrDescription : L"";
    a.source = excep.bstrSource ? excep.bstrSource : L"";
    SysFreeString(excep.bstrDescription);
    SysFreeString(excep.bstrSource);
    SysFreeString(excep.bstrHelpFile);
    a.type = result.type();
    a.value = textOf(*result);
    return a;
}

std::string narrow(const std::wstring& w) { return std::string(w.begin(), w.end()); }

}  // namespace

TEST(DispatchPaths, EveryMemberAnswersAsTheTypeInformationDoes)
{
    kx::VxDbDatabase ownDb, typedDb;
    std::vector<ComPtr<IDispatch>> own = makeDrawing(ownDb), typed = makeDrawing(typedDb);
    ASSERT_EQ(own.size(), typed.size());
    size_t members = 0, calls = 0;
    for (size_t i = 0; i < own.size(); ++i) {
        ASSERT_TRUE(own[i] && typed[i]);
        ComPtr<ITypeInfo> info;
        ASSERT_EQ(own[i]->GetTypeInfo(0, 0, info.put()), S_OK);
        std::vector<Member> list;
        membersOf(info.get(), list);
        // An interface and its base list some members twice.
        std::stable_sort(list.begin(), list.end(), [](const Member& a, const Member& b) {
            return a.id != b.id ? a.id < b.id : a.kind < b.kind;
        });
        list.erase(std::unique(list.begin(), list.end(),
                               [](const Member& a, const Member& b) { return a.id == b.id && a.kind == b.kind; }),
                   list.end());
        // Members that end an object's life come last, so that the others see it alive.
        std::stable_partition(list.begin(), list.end(),
                              [](const Member& m) { return m.name != L"Delete" && m.name != L"Erase"; });
        for (const Member& m : list) {
            ++members;
            for (Args how : {Args::Good, Args::Texts, Args::Shorts, Args::Empty, Args::NotANumber, Args::OneFewer,
                             Args::OneMore, Args::ByReference, Args::Objects, Args::Missing}) {
                // An extra argument to a get goes to the default member of what the get returns,
                // which the type information reads without looking at whether there is one.
                if (how == Args::OneMore && m.kind == INVOKE_PROPERTYGET) continue;
                ++calls;
                const Answer a = call(own[i].get(), m, how, true);
                const Answer b = call(typed[i].get(), m, how, false);
                EXPECT_TRUE(a == b) << narrow(m.name) << " (kind " << m.kind << ", arguments " << int(how)
                                    << "): own 0x" << std::hex << a.hr << " " << a.type << " '" << narrow(a.value)
                                    << "' argErr " << a.argErr << " '" << narrow(a.description) << "'; typed 0x"
                                    << b.hr << " " << b.type << " '" << narrow(b.value) << "' argErr " << b.argErr
                                    << " '" << narrow(b.description) << "'";
            }
        }
    }
    std::printf("dispatch paths compared: %zu members, %zu calls each way\n", members, calls);
    EXPECT_GT(members, 500u);
}

TEST(DispatchPaths, NamesResolveAsTheTypeInformationDoes)
{
    kx::VxDbDatabase db;
    std::vector<ComPtr<IDispatch>> objects = makeDrawing(db);
    for (const ComPtr<IDispatch>& object : objects) {
        ComPtr<ITypeInfo> info;
        ASSERT_EQ(object->GetTypeInfo(0, 0, info.put()), S_OK);
        std::vector<Member> list;
        membersOf(info.get(), list);
        list.push_back({L"NoSuchMember", 0, INVOKE_FUNC, {}});
        list.push_back({L"QueryInterface", 0, INVOKE_FUNC, {}});
        for (const Member& m : list) {
            std::wstring upper = m.name;
            for (wchar_t& c : upper) c = static_cast<wchar_t>(towupper(c));
            for (const std::wstring& name : {m.name, upper}) {
                DISPID ids[2] = {-7, -7}, typedIds[2] = {-7, -7};
                LPOLESTR names[2] = {const_cast<LPOLESTR>(name.c_str()), const_cast<LPOLESTR>(L"Point1")};
                for (UINT count : {1u, 2u}) {
                    const HRESULT own = object->GetIDsOfNames(IID_NULL, names, count, 0, ids);
                    nk::dispatch::gOwnDispatch = false;
                    const HRESULT typed = object->GetIDsOfNames(IID_NULL, names, count, 0, typedIds);
                    nk::dispatch::gOwnDispatch = true;
                    EXPECT_EQ(own, typed) << narrow(name);
                    EXPECT_EQ(ids[0], typedIds[0]) << narrow(name);
                    if (count == 2) {
                        EXPECT_EQ(ids[1], typedIds[1]) << narrow(name);
                    }
                }
            }
        }
    }
}
