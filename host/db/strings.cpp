#include "db/strings.h"

#include <cstdint>

namespace kx {

wchar_t vxFoldChar(wchar_t c)
{
    const uint32_t u = static_cast<uint32_t>(c);
    if (u < 0x80)
        return (u >= 'A' && u <= 'Z') ? static_cast<wchar_t>(u + 32) : c;
    if (u >= 0xC0 && u <= 0xDE && u != 0xD7)
        return static_cast<wchar_t>(u + 0x20);
    if (u >= 0x100 && u <= 0x17F) {
        if (u == 0x130 || u == 0x131 || u == 0x138 || u == 0x149 || u == 0x17F)
            return c;
        if (u == 0x178)
            return static_cast<wchar_t>(0xFF);
        const bool oddUpper = (u >= 0x139 && u <= 0x148) || (u >= 0x179 && u <= 0x17E);
        if (oddUpper)
            return (u & 1) ? static_cast<wchar_t>(u + 1) : c;
        return (u & 1) ? c : static_cast<wchar_t>(u + 1);
    }
    if (u >= 0x391 && u <= 0x3A9 && u != 0x3A2)
        return static_cast<wchar_t>(u + 0x20);
    if (u >= 0x410 && u <= 0x42F)
        return static_cast<wchar_t>(u + 0x20);
    if (u >= 0x400 && u <= 0x40F)
        return static_cast<wchar_t>(u + 0x50);
    return c;
}

std::wstring vxFoldCase(std::wstring_view text)
{
    std::wstring out(text);
    for (wchar_t& c : out)
        c = vxFoldChar(c);
    return out;
}

int vxCompareNoCase(std::wstring_view a, std::wstring_view b)
{
    const size_t n = a.size() < b.size() ? a.size() : b.size();
    for (size_t i = 0; i < n; ++i) {
        const wchar_t ca = vxFoldChar(a[i]);
        const wchar_t cb = vxFoldChar(b[i]);
        if (ca != cb)
            return ca < cb ? -1 : 1;
    }
    if (a.size() == b.size())
        return 0;
    return a.size() < b.size() ? -1 : 1;
}

size_t VxNoCaseHash::operator()(std::wstring_view text) const
{
    // FNV-1a over the folded characters.
    uint64_t h = 1469598103934665603ull;
    for (wchar_t c : text) {
        h ^= static_cast<uint32_t>(vxFoldChar(c));
        h *= 1099511628211ull;
    }
    return static_cast<size_t>(h);
}

namespace {

void appendUtf8(std::string& out, uint32_t cp)
{
    if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        cp = 0xFFFD;
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

void appendWide(std::wstring& out, uint32_t cp)
{
    if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        cp = 0xFFFD;
    if constexpr (sizeof(wchar_t) == 2) {
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out.push_back(static_cast<wchar_t>(0xD800 + (cp >> 10)));
            out.push_back(static_cast<wchar_t>(0xDC00 + (cp & 0x3FF)));
            return;
        }
    }
    out.push_back(static_cast<wchar_t>(cp));
}

}  // namespace

std::string vxToUtf8(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        uint32_t cp = static_cast<uint32_t>(text[i]);
        if constexpr (sizeof(wchar_t) == 2) {
            cp &= 0xFFFF;
            if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size()) {
                const uint32_t low = static_cast<uint32_t>(text[i + 1]) & 0xFFFF;
                if (low >= 0xDC00 && low <= 0xDFFF) {
                    cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                    ++i;
                }
            }
        }
        appendUtf8(out, cp);
    }
    return out;
}

std::wstring vxFromUtf8(std::string_view text)
{
    std::wstring out;
    out.reserve(text.size());
    size_t i = 0;
    while (i < text.size()) {
        const unsigned char lead = static_cast<unsigned char>(text[i]);
        int extra = 0;
        uint32_t cp = 0;
        if (lead < 0x80) {
            cp = lead;
        } else if ((lead & 0xE0) == 0xC0) {
            cp = lead & 0x1F;
            extra = 1;
        } else if ((lead & 0xF0) == 0xE0) {
            cp = lead & 0x0F;
            extra = 2;
        } else if ((lead & 0xF8) == 0xF0) {
            cp = lead & 0x07;
            extra = 3;
        } else {
            appendWide(out, 0xFFFD);
            ++i;
            continue;
        }
        bool ok = i + static_cast<size_t>(extra) < text.size();
        for (int k = 1; ok && k <= extra; ++k) {
            const unsigned char c = static_cast<unsigned char>(text[i + k]);
            if ((c & 0xC0) != 0x80)
                ok = false;
            else
                cp = (cp << 6) | (c & 0x3F);
        }
        // Overlong forms are as bad as broken ones.
        static const uint32_t kMin[4] = {0, 0x80, 0x800, 0x10000};
        if (!ok || cp < kMin[extra]) {
            appendWide(out, 0xFFFD);
            ++i;
            continue;
        }
        appendWide(out, cp);
        i += static_cast<size_t>(extra) + 1;
    }
    return out;
}

std::filesystem::path vxToPath(std::wstring_view text)
{
#ifdef _WIN32
    return std::filesystem::path(std::wstring(text));
#else
    return std::filesystem::path(vxToUtf8(text));
#endif
}

std::wstring vxFromPath(const std::filesystem::path& path)
{
#ifdef _WIN32
    return path.wstring();
#else
    return vxFromUtf8(path.string());
#endif
}

bool vxIsValidSymbolName(std::wstring_view name)
{
    if (name.empty() || name.size() > 255)
        return false;
    for (wchar_t c : name) {
        if (static_cast<uint32_t>(c) < 0x20)
            return false;
        switch (c) {
        case L'<': case L'>': case L'/': case L'\\': case L'"': case L':':
        case L';': case L'?': case L'*': case L',': case L'=': case L'`':
            return false;
        default:
            break;
        }
    }
    return true;
}

}  // namespace kx
