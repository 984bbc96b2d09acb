#include "frame/host_info.h"

#include <vector>

#include "services/hostservices.h"

namespace nk {

std::wstring hostProductPrefix()
{
    std::vector<wchar_t> buffer(2048, L'\0');
    size_t n = kx::getVeltProductPreName(buffer.data(), buffer.size());
    return std::wstring(buffer.data(), n);
}

}  // namespace nk
