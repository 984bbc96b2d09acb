// A drawing database and the wrappers of its objects, for tests that drive blocks and
// entities through their interfaces (the module is set up by core_test.cpp's environment).
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "axsupport/errors.h"
#include "core/lookup.h"
#include "db/blocks.h"
#include "db/database.h"
#include "dxf/dxffile.h"
#include "frame/com.h"
#include "kxauto.h"

namespace drawing {

// A VARIANT the test owns; movable, so helpers can return one.
class Value {
public:
    Value() { VariantInit(&v_); }
    Value(Value&& other) noexcept : v_(other.v_) { VariantInit(&other.v_); }
    ~Value() { VariantClear(&v_); }
    VARIANT* get() { return &v_; }
    VARIANT& operator*() { return v_; }
    const VARIANT& operator*() const { return v_; }
    VARTYPE type() const { return V_VT(&v_); }

private:
    VARIANT v_;
};

// A VARIANT array of numbers: doubles as clients send points, or VARIANTs as scripts make
// arrays (which points must not be read from).
inline Value doubles(std::initializer_list<double> values, VARTYPE vt = VT_R8)
{
    Value v;
    SAFEARRAY* sa = SafeArrayCreateVector(vt, 0, static_cast<ULONG>(values.size()));
    LONG i = 0;
    for (double d : values) {
        if (vt == VT_R8) {
            SafeArrayPutElement(sa, &i, &d);
        } else {
            VARIANT e;
            VariantInit(&e);
            V_VT(&e) = VT_R8;
            V_R8(&e) = d;
            SafeArrayPutElement(sa, &i, &e);
        }
        ++i;
    }
    V_VT(v.get()) = VT_ARRAY | vt;
    V_ARRAY(v.get()) = sa;
    return v;
}

// An array of 16-bit integers (a polyface mesh's faces).
inline Value shorts(std::initializer_list<short> values)
{
    Value v;
    SAFEARRAY* sa = SafeArrayCreateVector(VT_I2, 0, static_cast<ULONG>(values.size()));
    LONG i = 0;
    for (short n : values) {
        SafeArrayPutElement(sa, &i, &n);
        ++i;
    }
    V_VT(v.get()) = VT_ARRAY | VT_I2;
    V_ARRAY(v.get()) = sa;
    return v;
}

// A point as clients send it: an array of three doubles.
inline Value point(double x, double y, double z)
{
    Value v;
    V_VT(v.get()) = VT_ARRAY | VT_R8;
    V_ARRAY(v.get()) = SafeArrayCreateVector(VT_R8, 0, 3);
    double c[3] = {x, y, z};
    for (LONG i = 0; i < 3; ++i) SafeArrayPutElement(V_ARRAY(v.get()), &i, &c[i]);
    return v;
}

// An index or a name as clients send them.
inline Value number(LONG n)
{
    Value v;
    V_VT(v.get()) = VT_I4;
    V_I4(v.get()) = n;
    return v;
}
inline Value real(double d)
{
    Value v;
    V_VT(v.get()) = VT_R8;
    V_R8(v.get()) = d;
    return v;
}
inline Value flag(bool on)
{
    Value v;
    V_VT(v.get()) = VT_BOOL;
    V_BOOL(v.get()) = on ? VARIANT_TRUE : VARIANT_FALSE;
    return v;
}
inline Value text(const wchar_t* s)
{
    Value v;
    V_VT(v.get()) = VT_BSTR;
    V_BSTR(v.get()) = SysAllocString(s);
    return v;
}

// An array of objects, as a script's array of entities reaches a member.
inline Value objects(std::initializer_list<IUnknown*> items)
{
    Value v;
    SAFEARRAY* sa = SafeArrayCreateVector(VT_DISPATCH, 0, static_cast<ULONG>(items.size()));
    LONG i = 0;
    for (IUnknown* item : items) {
        IDispatch* d = nullptr;
        if (item) item->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&d));
        SafeArrayPutElement(sa, &i, d);
        ++i;
        if (d) d->Release();
    }
    V_VT(v.get()) = VT_ARRAY | VT_DISPATCH;
    V_ARRAY(v.get()) = sa;
    return v;
}

// As a script calls a member by name: arguments in order, a property put as a put; the
// error of a failed member (raised as an exception) as its code.
inline HRESULT invoke(IDispatch* object, const wchar_t* name, WORD flags, std::vector<VARIANT*> args = {},
                      Value* result = nullptr)
{
    DISPID id = 0;
    LPOLESTR text = const_cast<LPOLESTR>(name);
    if (FAILED(object->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id))) return DISP_E_UNKNOWNNAME;
    std::vector<VARIANTARG> reversed;
    for (auto it = args.rbegin(); it != args.rend(); ++it) reversed.push_back(**it);
    DISPID named = DISPID_PROPERTYPUT;
    const bool put = flags == DISPATCH_PROPERTYPUT;
    DISPPARAMS params = {reversed.data(), put ? &named : nullptr, UINT(reversed.size()), put ? 1u : 0u};
    EXCEPINFO excep = {};
    Value ignored;
    HRESULT hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params,
                                result ? result->get() : ignored.get(), &excep, nullptr);
    if (hr == DISP_E_EXCEPTION) {
        hr = excep.scode;
        SysFreeString(excep.bstrSource);
        SysFreeString(excep.bstrDescription);
        SysFreeString(excep.bstrHelpFile);
    }
    return hr;
}

// A property or method by name, a put, an object and a text read by name.
inline HRESULT get(IDispatch* object, const wchar_t* name, Value& out, std::vector<VARIANT*> args = {})
{
    return invoke(object, name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, std::move(args), &out);
}
inline HRESULT put(IDispatch* object, const wchar_t* name, Value value)
{
    return invoke(object, name, DISPATCH_PROPERTYPUT, {value.get()});
}
inline nk::ComPtr<IDispatch> object(IDispatch* from, const wchar_t* name, std::vector<VARIANT*> args = {})
{
    Value v;
    EXPECT_EQ(get(from, name, v, std::move(args)), S_OK) << "reading an object";
    if (v.type() != VT_DISPATCH || !V_DISPATCH(v.get())) return {};
    return nk::ComPtr<IDispatch>(V_DISPATCH(v.get()));
}
inline std::wstring text(IDispatch* from, const wchar_t* name)
{
    Value v;
    EXPECT_EQ(get(from, name, v), S_OK);
    return v.type() == VT_BSTR && V_BSTR(v.get()) ? V_BSTR(v.get()) : L"";
}

// The point a member returned; (-1, -1, -1) when it is not an array of three doubles.
inline kx::VxGePoint3d coordinates(VARIANT& v)
{
    kx::VxGePoint3d p{-1, -1, -1};
    if (V_VT(&v) != (VT_ARRAY | VT_R8) || V_ARRAY(&v)->rgsabound[0].cElements != 3) return p;
    for (LONG i = 0; i < 3; ++i) SafeArrayGetElement(V_ARRAY(&v), &i, &p[i]);
    return p;
}

class Drawing : public ::testing::Test {
protected:
    void SetUp() override { db = std::make_unique<kx::VxDbDatabase>(); }

    template <class Itf>
    nk::ComPtr<Itf> wrapperOf(kx::VxDbObjectId id)
    {
        nk::ComPtr<IUnknown> unknown;
        EXPECT_EQ(VxAxGetIUnknownOfObject(unknown.put(), id, nullptr), S_OK);
        return unknown.template as<Itf>();
    }
    nk::ComPtr<IVeltModelSpace> modelSpace() { return wrapperOf<IVeltModelSpace>(db->modelSpaceId()); }

    nk::ComPtr<IVeltLine> addLine(kx::VxGePoint3d from, kx::VxGePoint3d to)
    {
        nk::ComPtr<IVeltLine> line;
        Value start = point(from.x, from.y, from.z), end = point(to.x, to.y, to.z);
        EXPECT_EQ(modelSpace()->AddLine(*start, *end, line.put()), S_OK);
        return line;
    }

    static kx::VxDbObjectId idOf(IVeltObject* object)
    {
        LONG_PTR id = 0;
        object->get_ObjectID(&id);
        return kx::VxDbObjectId::fromOldId(id);
    }

    kx::VxDbObjectId addBlock(const wchar_t* name)
    {
        kx::VxDbObjectPointer<kx::VxDbBlockTable> table(db->blockTableId(), kx::VxDb::kForWrite);
        auto* record = new kx::VxDbBlockTableRecord;
        record->setName(name);
        kx::VxDbObjectId id;
        EXPECT_EQ(table->add(id, record), kx::Velt::eOk);
        record->close();
        return id;
    }

    std::unique_ptr<kx::VxDbDatabase> db;
};

// The HRESULT a member answers for a host status.
inline HRESULT statusCode(kx::Velt::ErrorStatus status) { return RaiseVrxException(IID_NULL, 0, status); }

// A property read by name as a number; -1 when it does not read or convert.
inline double realOf(IDispatch* from, const wchar_t* name)
{
    Value v;
    EXPECT_EQ(get(from, name, v), S_OK);
    nk::Variant n;
    return SUCCEEDED(VariantChangeType(n.get(), v.get(), 0, VT_R8)) ? V_R8(n.get()) : -1;
}
inline LONG integerOf(IDispatch* from, const wchar_t* name)
{
    Value v;
    EXPECT_EQ(get(from, name, v), S_OK);
    nk::Variant n;
    return SUCCEEDED(VariantChangeType(n.get(), v.get(), 0, VT_I4)) ? V_I4(n.get()) : -1;
}

// Saves the drawing as <name>.dxf in the folder NKAUTO_OUT names, with <name>.facts beside it:
// what the independent readers check the file against after the suite. Without that folder
// the test is marked skipped (call this last).
inline void saveForFileCheck(kx::VxDbDatabase* db, const std::string& name, const std::string& facts)
{
    const char* folder = std::getenv("NKAUTO_OUT");
    if (!folder) GTEST_SKIP() << "NKAUTO_OUT names no folder for the file check";
    const std::string base = std::string(folder) + "\\" + name;
    ASSERT_EQ(kx::vxdbSaveAs(db, std::wstring(base.begin(), base.end()).append(L".dxf").c_str(), false),
              kx::Velt::eOk);
    std::FILE* out = std::fopen((base + ".facts").c_str(), "wb");
    ASSERT_TRUE(out);
    std::fwrite(facts.data(), 1, facts.size(), out);
    std::fclose(out);
}

}  // namespace drawing
