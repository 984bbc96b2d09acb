// How every wrapper turns a failure into one HRESULT.
#pragma once

#include <windows.h>

#include "axsupport/export.h"
#include "db/status.h"

// hr when it is not 0, otherwise code. The IID and further arguments are ignored.
NK_EXPORT HRESULT RaiseVxAXException(const GUID& iid, HRESULT hr, DWORD code, ...);

// Translates a database status through the status table. Status 0 is S_OK; the duplicate
// record name (95) is shown to the user in a message box and then reported as S_OK; an
// unknown status is added to the table and passes as hr (S_OK when hr is 0).
NK_EXPORT HRESULT RaiseVrxException(const GUID& iid, HRESULT hr, kx::Velt::ErrorStatus status);

namespace nk {

constexpr kx::Velt::ErrorStatus kDuplicateRecordNameStatus = static_cast<kx::Velt::ErrorStatus>(95);
constexpr UINT kDuplicateRecordNameText = 10000;

// The message box of status 95; tests replace it.
using MessageBoxFn = int(WINAPI*)(HWND, LPCWSTR, LPCWSTR, UINT);
MessageBoxFn setMessageBoxForTesting(MessageBoxFn fn);

// Fills IErrorInfo for a failure that a class reports with a string of its own: the text of
// resource stringId ("Unknown Error" when missing), the class's ProgID as source, the IID as
// GUID. Returns 0x80040000 | stringId.
HRESULT raiseResourceError(const CLSID& clsid, UINT stringId, const IID& iid, HINSTANCE resources);

}  // namespace nk
