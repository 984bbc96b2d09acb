// Registration of the type library, per machine or per user; the module writes nothing else.
#pragma once

#include <windows.h>

namespace nk {

HRESULT registerServer();
HRESULT unregisterServer();
HRESULT installServer(bool install, const wchar_t* cmdLine);

}  // namespace nk
