#include "frame/dispatch.h"

#include <cwctype>

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

}  // namespace nk::dispatch
