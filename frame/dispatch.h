// The server's own IDispatch. Every interface has a generated table (build/gen/dispatch_gen.*)
// from DISPID to a call of its vtable member with the arguments converted; Invoke uses it
// when the call is one the table takes as it is (positional arguments of the exact kinds,
// all of them given) and otherwise lets the type information (DispInvoke) do the work, with
// its coercions, optional arguments, named arguments and errors. A call the table takes
// answers what the type information would: a failed member becomes DISP_E_EXCEPTION with the
// error information in EXCEPINFO.
#pragma once

#include <windows.h>
#include <oaidl.h>
#include <oleauto.h>

#include <type_traits>

#include <vector>

#include "frame/com.h"
#include "frame/pending.h"

namespace nk::dispatch {

// A call of one member: false when the arguments are not ones it takes (nothing was done);
// otherwise the member's HRESULT in hr and its result, if any, in result.
using Call = bool (*)(void* self, DISPPARAMS* params, VARIANT* result, HRESULT& hr);

struct Entry {
    DISPID id;
    WORD kind;  // INVOKE_FUNC, INVOKE_PROPERTYGET, INVOKE_PROPERTYPUT, INVOKE_PROPERTYPUTREF
    Call call;
};

struct Name {
    const wchar_t* name;
    DISPID id;
};

// One interface's own members (not its base's): entries sorted by DISPID, names sorted by
// their lower-case form.
struct Table {
    const Entry* entries;
    int entryCount;
    const Name* names;
    int nameCount;
};

template <class Itf>
const Table& tableOf();

// Off: every call goes through the type information (tests compare the two paths).
extern bool gOwnDispatch;

// Argument readers: exact kinds only, by value or by reference.
inline const VARIANT& plain(const VARIANT& v)
{
    return V_VT(&v) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(&v) ? *V_VARIANTREF(&v) : v;
}

inline bool readDouble(const VARIANT& arg, double& out)
{
    const VARIANT& v = plain(arg);
    switch (V_VT(&v)) {
    case VT_R8: out = V_R8(&v); return true;
    case VT_R8 | VT_BYREF: out = *V_R8REF(&v); return true;
    case VT_I4: out = V_I4(&v); return true;
    case VT_I2: out = V_I2(&v); return true;
    default: return false;
    }
}
inline bool readFloat(const VARIANT& arg, float& out)
{
    const VARIANT& v = plain(arg);
    if (V_VT(&v) != VT_R4) return false;
    out = V_R4(&v);
    return true;
}
inline bool readLong(const VARIANT& arg, LONG& out)
{
    const VARIANT& v = plain(arg);
    switch (V_VT(&v)) {
    case VT_I4: out = V_I4(&v); return true;
    case VT_I4 | VT_BYREF: out = *V_I4REF(&v); return true;
    case VT_I2: out = V_I2(&v); return true;
    default: return false;
    }
}
inline bool readInt(const VARIANT& arg, int& out)
{
    LONG value = 0;
    if (!readLong(arg, value)) return false;
    out = value;
    return true;
}
inline bool readShort(const VARIANT& arg, SHORT& out)
{
    const VARIANT& v = plain(arg);
    if (V_VT(&v) != VT_I2) return false;
    out = V_I2(&v);
    return true;
}
inline bool readBool(const VARIANT& arg, VARIANT_BOOL& out)
{
    const VARIANT& v = plain(arg);
    if (V_VT(&v) != VT_BOOL) return false;
    out = V_BOOL(&v);
    return true;
}
// The string stays the caller's, as an [in] BSTR does.
inline bool readText(const VARIANT& arg, BSTR& out)
{
    const VARIANT& v = plain(arg);
    if (V_VT(&v) != VT_BSTR) return false;
    out = V_BSTR(&v);
    return true;
}
// A VARIANT given by value is passed as it is (the member only reads it); references and
// missing arguments are the type information's to resolve.
// An object argument, or none: its reference for the interface goes to out. Taken here
// because the type information's path keeps that reference when the call fails.
inline bool readObject(const VARIANT& arg, REFIID iid, void** out)
{
    const VARIANT& v = plain(arg);
    IUnknown* object = nullptr;
    switch (V_VT(&v)) {
    case VT_DISPATCH: object = V_DISPATCH(&v); break;
    case VT_UNKNOWN: object = V_UNKNOWN(&v); break;
    case VT_DISPATCH | VT_BYREF: object = V_DISPATCHREF(&v) ? *V_DISPATCHREF(&v) : nullptr; break;
    case VT_UNKNOWN | VT_BYREF: object = V_UNKNOWNREF(&v) ? *V_UNKNOWNREF(&v) : nullptr; break;
    default: return false;
    }
    *out = nullptr;
    return !object || SUCCEEDED(object->QueryInterface(iid, out));
}
inline bool readVariant(const VARIANT& arg, VARIANT& out)
{
    if (V_VT(&arg) & VT_BYREF) return false;
    out = arg;  // an argument marked missing too: no parameter has a default to put in its place
    return true;
}
// An [out] argument passed by reference with exactly the member's type, else null.
template <class T>
T* readReference(const VARIANT& arg, VARTYPE vt)
{
    return V_VT(&arg) == (VT_BYREF | vt) ? static_cast<T*>(V_BYREF(&arg)) : nullptr;
}

// Results: handed to the caller, or released when the caller wants none. A member that
// failed still hands out what it left in its result (null, zero, empty), as the type
// information does.
template <class Pointer>
void give(HRESULT, Pointer value, VARIANT* result, VARTYPE vt)
{
    if constexpr (std::is_same_v<Pointer, BSTR>) {
        if (!result) return SysFreeString(value);
        V_VT(result) = VT_BSTR;
        V_BSTR(result) = value;
    } else {
        if (!result) {
            if (value) value->Release();
            return;
        }
        V_VT(result) = vt;
        if constexpr (std::is_convertible_v<Pointer, IDispatch*>) {
            if (vt == VT_DISPATCH) {
                V_DISPATCH(result) = value;
                return;
            }
        }
        V_UNKNOWN(result) = value;
    }
}
inline void giveVariant(HRESULT, VARIANT& value, VARIANT* result)
{
    if (result)
        *result = value;
    else
        VariantClear(&value);
}

// What Invoke answers for a member's HRESULT, as the type information does.
HRESULT answer(HRESULT hr, EXCEPINFO* excep);

// The entry of the member of Itf (or of an interface it derives from) with this DISPID that
// answers these flags, or null.
const Entry* find(const Table& table, DISPID id, WORD flags);
DISPID findName(const Table& table, const wchar_t* name);

template <class Itf, class Base>
const Entry* findInChain(DISPID id, WORD kind, void*& self, Itf* object)
{
    if (const Entry* e = find(tableOf<Itf>(), id, kind)) {
        self = object;
        return e;
    }
    if constexpr (!std::is_same_v<Base, IDispatch>)
        return findInChain<Base, typename BaseOf<Base>::type>(id, kind, self, static_cast<Base*>(object));
    return nullptr;
}

// True when the call was made here, with its answer in hr.
template <class Itf>
bool tryInvoke(Itf* object, DISPID id, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* excep,
               HRESULT& hr)
{
    if (!gOwnDispatch || !params || (params->cArgs && !params->rgvarg)) return false;
    WORD kind = 0;
    if (flags & DISPATCH_PROPERTYPUT) {
        // The value of a put is the named argument DISPID_PROPERTYPUT.
        if ((flags & DISPATCH_PROPERTYPUTREF) || params->cNamedArgs != 1 || !params->rgdispidNamedArgs ||
            params->rgdispidNamedArgs[0] != DISPID_PROPERTYPUT)
            return false;
        kind = INVOKE_PROPERTYPUT;
    } else if (flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET)) {
        if (params->cNamedArgs || (flags & DISPATCH_PROPERTYPUTREF)) return false;
        kind = flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET);  // the bits match INVOKE_FUNC, _PROPERTYGET
    } else {
        return false;
    }
    void* self = nullptr;
    const Entry* entry = findInChain<Itf, typename BaseOf<Itf>::type>(id, kind, self, object);
    if (!entry) return false;
    HRESULT member = S_OK;
    if (!entry->call(self, params, result, member)) return false;
    hr = answer(member, excep);
    return true;
}

// A property without parameters called with arguments: they are its value's, as `Layers(0)`
// reads `Layers.Item(0)`. Taken here because the type information's path fails badly when the
// value is no object. False when the call is not such a one.
bool invokeOnValue(IDispatch* self, ITypeInfo* info, DISPID id, LCID lcid, WORD flags, DISPPARAMS* params,
                   VARIANT* result, EXCEPINFO* excep, UINT* argErr, HRESULT& hr);

// Arguments converted as the type information converts them, for the generated calls. That
// path keeps what it converted when a later argument fails to convert or the member fails, so
// an object inside a VARIANT was never released; converting here keeps it off that path.
// Refused: an object that does not answer its parameter's interface (E_NOINTERFACE) or a value
// that does not convert (DISP_E_TYPEMISMATCH), answered as that path answers them. NotMine:
// anything it is not certain of (by reference, left out or named arguments, [out]).
enum class Conversion { NotMine, Refused, Converted };
struct ConvertedArguments {
    std::vector<Variant> values;  // the converted ones, owned
    std::vector<VARIANT> args;    // every argument, last first
    DISPPARAMS params{};
};
Conversion convertArguments(ITypeInfo* info, DISPID id, WORD flags, const DISPPARAMS* params,
                            ConvertedArguments& out, HRESULT& hr);

// DISPID of a member name of Itf or its bases (case-insensitive), DISPID_UNKNOWN when none.
template <class Itf>
DISPID idOfName(const wchar_t* name)
{
    const DISPID id = findName(tableOf<Itf>(), name);
    if (id != DISPID_UNKNOWN) return id;
    if constexpr (!std::is_same_v<typename BaseOf<Itf>::type, IDispatch>)
        return idOfName<typename BaseOf<Itf>::type>(name);
    return DISPID_UNKNOWN;
}

}  // namespace nk::dispatch
