#include "frame/dispatch.h"

#include <cwctype>
#include <vector>

#include "frame/com.h"

namespace nk::dispatch {

bool gOwnDispatch = true;

HRESULT answer(HRESULT hr, EXCEPINFO* excep)
{
    if (SUCCEEDED(hr)) return S_OK;
    if (excep) {
        excep->scode = hr;
        ComPtr<IErrorInfo> info;
        if (GetErrorInfo(0, info.put()) == S_OK) {
            info->GetDescription(&excep->bstrDescription);
            info->GetHelpFile(&excep->bstrHelpFile);
            info->GetSource(&excep->bstrSource);
            info->GetHelpContext(&excep->dwHelpContext);
        }
    }
    return DISP_E_EXCEPTION;
}

const Entry* find(const Table& table, DISPID id, WORD kind)
{
    const Entry* first = table.entries;
    const Entry* const end = first + table.entryCount;
    const Entry* last = end;
    // Tables are short and sorted: a binary search to the first entry of the id.
    while (first < last) {
        const Entry* middle = first + (last - first) / 2;
        if (middle->id < id)
            first = middle + 1;
        else
            last = middle;
    }
    for (const Entry* e = first; e != end && e->id == id; ++e)
        if (e->kind & kind) return e;
    return nullptr;
}

namespace {

// Case-insensitive order of member names, which are plain ASCII.
int compareNames(const wchar_t* a, const wchar_t* b)
{
    for (;; ++a, ++b) {
        const wint_t x = std::towlower(*a), y = std::towlower(*b);
        if (x != y || !x) return x < y ? -1 : x > y ? 1 : 0;
    }
}

}  // namespace

DISPID findName(const Table& table, const wchar_t* name)
{
    if (!name) return DISPID_UNKNOWN;
    const Name* first = table.names;
    const Name* last = first + table.nameCount;
    while (first < last) {
        const Name* middle = first + (last - first) / 2;
        const int order = compareNames(middle->name, name);
        if (order == 0) return middle->id;
        if (order < 0)
            first = middle + 1;
        else
            last = middle;
    }
    return DISPID_UNKNOWN;
}


namespace {

// The description of the member a call names, found as the type information finds it: the
// interface's own members first, then its bases'.
struct MemberDescription {
    ComPtr<ITypeInfo> info;
    FUNCDESC* desc = nullptr;
    MemberDescription() = default;
    MemberDescription(const MemberDescription&) = delete;
    MemberDescription& operator=(const MemberDescription&) = delete;
    ~MemberDescription()
    {
        if (desc) info->ReleaseFuncDesc(desc);
    }
};

bool describe(ITypeInfo* info, DISPID id, WORD flags, MemberDescription& out)
{
    TYPEATTR* attr = nullptr;
    if (!info || FAILED(info->GetTypeAttr(&attr))) return false;
    const WORD funcs = attr->cFuncs, bases = attr->cImplTypes;
    info->ReleaseTypeAttr(attr);
    for (UINT i = 0; i < funcs; ++i) {
        FUNCDESC* fd = nullptr;
        if (FAILED(info->GetFuncDesc(i, &fd))) continue;
        if (fd->memid == id && (fd->invkind & flags)) {
            out.info = ComPtr<ITypeInfo>(info);
            out.desc = fd;
            return true;
        }
        info->ReleaseFuncDesc(fd);
    }
    for (UINT b = 0; b < bases; ++b) {
        HREFTYPE ref = 0;
        ComPtr<ITypeInfo> base;
        if (SUCCEEDED(info->GetRefTypeOfImplType(b, &ref)) && SUCCEEDED(info->GetRefTypeInfo(ref, base.put())) &&
            describe(base.get(), id, flags, out))
            return true;
    }
    return false;
}

// Whether a parameter is one the caller passes (not the result, not the locale).
bool passedByCaller(const ELEMDESC& e)
{
    return !(e.paramdesc.wParamFlags & (PARAMFLAG_FRETVAL | PARAMFLAG_FLCID));
}

// The number of parameters a property get of the interface or of its bases takes (its
// result not counted); -1 when it has no such get.
int getterParameters(ITypeInfo* info, DISPID id)
{
    MemberDescription getter;
    if (!describe(info, id, INVOKE_PROPERTYGET, getter)) return -1;
    int count = 0;
    for (SHORT p = 0; p < getter.desc->cParams; ++p)
        if (passedByCaller(getter.desc->lprgelemdescParam[p])) ++count;
    return count;
}

}  // namespace

bool invokeOnValue(IDispatch* self, ITypeInfo* info, DISPID id, LCID lcid, WORD flags, DISPPARAMS* params,
                   VARIANT* result, EXCEPINFO* excep, UINT* argErr, HRESULT& hr)
{
    if (!(flags & DISPATCH_PROPERTYGET) || (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) || !params ||
        !params->cArgs || params->cNamedArgs || getterParameters(info, id) != 0)
        return false;
    DISPPARAMS none{};
    Variant value;
    hr = self->Invoke(id, IID_NULL, lcid, DISPATCH_PROPERTYGET, &none, value.get(), excep, argErr);
    if (FAILED(hr)) return true;
    IDispatch* object = V_VT(value.get()) == VT_DISPATCH ? V_DISPATCH(value.get()) : nullptr;
    hr = object ? object->Invoke(DISPID_VALUE, IID_NULL, lcid, flags, params, result, excep, argErr)
                : DISP_E_BADPARAMCOUNT;
    return true;
}

namespace {

bool isObject(const VARIANT& v) { return V_VT(&v) == VT_DISPATCH || V_VT(&v) == VT_UNKNOWN; }


// What a parameter takes, as the type information converts to it: a plain type (enumerations
// as VT_I4, aliases followed), an interface named in the type library, or neither (VT_EMPTY).
VARTYPE targetOf(ITypeInfo* info, const TYPEDESC& type, IID& iid)
{
    if (type.vt < VT_PTR) return type.vt;
    const TYPEDESC* named = type.vt == VT_USERDEFINED ? &type
                            : type.vt == VT_PTR && type.lptdesc && type.lptdesc->vt == VT_USERDEFINED ? type.lptdesc
                                                                                                        : nullptr;
    if (!named) return VT_EMPTY;
    ComPtr<ITypeInfo> target;
    TYPEATTR* attr = nullptr;
    if (FAILED(info->GetRefTypeInfo(named->hreftype, target.put())) || FAILED(target->GetTypeAttr(&attr)))
        return VT_EMPTY;
    VARTYPE vt = VT_EMPTY;
    if (named == &type && attr->typekind == TKIND_ENUM) vt = VT_I4;
    if (named == &type && attr->typekind == TKIND_ALIAS && attr->tdescAlias.vt < VT_PTR) vt = attr->tdescAlias.vt;
    if (named != &type && (attr->typekind == TKIND_INTERFACE || attr->typekind == TKIND_DISPATCH)) {
        iid = attr->guid;
        vt = VT_UNKNOWN;
    }
    target->ReleaseTypeAttr(attr);
    return vt;
}

}  // namespace

Conversion convertArguments(ITypeInfo* info, DISPID id, WORD flags, const DISPPARAMS* params,
                            ConvertedArguments& out, HRESULT& hr)
{
    if (!gOwnDispatch || !params || !params->cArgs || !params->rgvarg) return Conversion::NotMine;
    const bool put = flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF);
    if (params->cNamedArgs > 1 || (params->cNamedArgs == 1 && (!put || !params->rgdispidNamedArgs ||
                                                              params->rgdispidNamedArgs[0] != DISPID_PROPERTYPUT)))
        return Conversion::NotMine;
    MemberDescription member;
    if (!describe(info, id, flags, member)) return Conversion::NotMine;
    std::vector<const ELEMDESC*> ins;
    for (SHORT p = 0; p < member.desc->cParams; ++p) {
        const ELEMDESC& e = member.desc->lprgelemdescParam[p];
        if (!passedByCaller(e)) continue;
        if (e.paramdesc.wParamFlags & PARAMFLAG_FOUT) return Conversion::NotMine;
        ins.push_back(&e);
    }
    if (ins.size() != params->cArgs) return Conversion::NotMine;
    out.values = std::vector<Variant>(ins.size());
    size_t converted = 0;
    out.args.assign(params->rgvarg, params->rgvarg + params->cArgs);
    // In the order the type information converts them; at the first argument whose fate is
    // not certain the call is left to it.
    for (size_t k = 0; k < ins.size(); ++k) {
        const UINT at = params->cArgs - 1 - UINT(k);
        const VARIANT& arg = params->rgvarg[at];
        if (V_VT(&arg) & VT_BYREF) return Conversion::NotMine;
        IID iid{};
        const VARTYPE target = targetOf(member.info.get(), ins[k]->tdesc, iid);
        if (target == VT_VARIANT) continue;  // taken as it is, a missing one's VT_ERROR too
        if (V_VT(&arg) == VT_ERROR) return Conversion::NotMine;
        if (target == VT_UNKNOWN && iid != IID_NULL) {
            if (!isObject(arg) || !V_UNKNOWN(&arg)) return Conversion::NotMine;
            ComPtr<IUnknown> fits;
            if (FAILED(V_UNKNOWN(&arg)->QueryInterface(iid, fits.putVoid())) || !fits) {
                hr = E_NOINTERFACE;  // what that path answers, naming no argument
                return Conversion::Refused;
            }
            continue;
        }
        if (target == VT_EMPTY || target == VT_UNKNOWN || target == VT_DISPATCH) return Conversion::NotMine;
        if (V_VT(&arg) == target) continue;
        Variant& value = out.values[converted++];
        if (FAILED(VariantChangeType(value.get(), const_cast<VARIANT*>(&arg), 0, target))) {
            hr = DISP_E_TYPEMISMATCH;  // naming no argument, as that path does
            return Conversion::Refused;
        }
        out.args[at] = *value.get();  // the copy stays owned by values
    }
    out.params = *params;
    out.params.rgvarg = out.args.data();
    return Conversion::Converted;
}

}  // namespace nk::dispatch
