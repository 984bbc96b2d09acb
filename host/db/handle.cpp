#include "db/handle.h"

namespace kx {

bool VxDbHandle::getIntoAsciiBuffer(wchar_t* buffer, size_t size) const
{
    if (!buffer || size == 0)
        return false;
    const std::wstring text = toString();
    if (text.size() + 1 > size) {
        buffer[0] = L'\0';
        return false;
    }
    for (size_t i = 0; i < text.size(); ++i)
        buffer[i] = text[i];
    buffer[text.size()] = L'\0';
    return true;
}

std::wstring VxDbHandle::toString() const
{
    static const wchar_t kDigits[] = L"0123456789ABCDEF";
    wchar_t digits[17];
    int n = 0;
    uint64_t v = mValue;
    do {
        digits[n++] = kDigits[v & 0xF];
        v >>= 4;
    } while (v != 0);
    std::wstring out;
    out.reserve(static_cast<size_t>(n));
    while (n > 0)
        out.push_back(digits[--n]);
    return out;
}

bool VxDbHandle::fromString(std::wstring_view text, VxDbHandle& handle)
{
    if (text.empty() || text.size() > 16)
        return false;
    uint64_t v = 0;
    for (wchar_t c : text) {
        int digit;
        if (c >= L'0' && c <= L'9')
            digit = c - L'0';
        else if (c >= L'a' && c <= L'f')
            digit = c - L'a' + 10;
        else if (c >= L'A' && c <= L'F')
            digit = c - L'A' + 10;
        else
            return false;
        v = (v << 4) | static_cast<uint64_t>(digit);
    }
    handle = VxDbHandle(v);
    return true;
}

}  // namespace kx
