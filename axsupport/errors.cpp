#include "axsupport/errors.h"

#include <oleauto.h>

#include <cstdarg>
#include <vector>

#include "axsupport/status_table.h"
#include "frame/com.h"
#include "frame/module.h"

namespace nk {
namespace {

MessageBoxFn gMessageBox = MessageBoxW;

}  // namespace

MessageBoxFn setMessageBoxForTesting(MessageBoxFn fn)
{
    MessageBoxFn old = gMessageBox;
    gMessageBox = fn ? fn : MessageBoxW;
    return old;
}

HRESULT raiseResourceError(const CLSID& clsid, UINT stringId, const IID& iid, HINSTANCE resources)
{
    std::vector<wchar_t> text(1025, L'\0');
    if (!resources || LoadStringW(resources, stringId, text.data(), 1024) <= 0)
        wcscpy(text.data(), L"Unknown Error");
    ComPtr<ICreateErrorInfo> create;
    if (SUCCEEDED(CreateErrorInfo(create.put()))) {
        create->SetGUID(iid);
        LPOLESTR progId = nullptr;
        if (SUCCEEDED(ProgIDFromCLSID(clsid, &progId)) && progId) {
            create->SetSource(progId);
            CoTaskMemFree(progId);
        } else {
            create->SetSource(const_cast<LPOLESTR>(L""));
        }
        create->SetDescription(text.data());
        if (auto info = create.as<IErrorInfo>()) SetErrorInfo(0, info.get());
    }
    return static_cast<HRESULT>(0x80040000u | stringId);
}

}  // namespace nk

HRESULT RaiseVxAXException(const GUID&, HRESULT hr, DWORD code, ...)
{
    return hr != 0 ? hr : static_cast<HRESULT>(code);
}

HRESULT RaiseVrxException(const GUID& iid, HRESULT hr, kx::Velt::ErrorStatus status)
{
    if (status == kx::Velt::eOk) return S_OK;
    if (status == nk::kDuplicateRecordNameStatus) {
        std::vector<wchar_t> text(4096, L'\0');
        if (HINSTANCE res = nk::Module::resourceInstance()) LoadStringW(res, nk::kDuplicateRecordNameText, text.data(), 4095);
        nk::gMessageBox(nullptr, text.data(), L"TARSK+", MB_SYSTEMMODAL);
        return S_OK;
    }
    return RaiseVxAXException(iid, hr, static_cast<DWORD>(nk::mappedStatus(status)));
}
