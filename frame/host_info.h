// What the module asks of its host application: the product prefix that names the
// resource library.
#pragma once

#include <string>

namespace nk {

std::wstring hostProductPrefix();

}  // namespace nk
