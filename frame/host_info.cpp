#include "frame/host_info.h"

namespace nk {

// The product prefix of the embedded host ("Nk"), which names "NkAutoRes.dll".
std::wstring hostProductPrefix() { return L"Nk"; }

}  // namespace nk
