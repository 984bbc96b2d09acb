#include <map>
#include <memory>
#include <mutex>

#include "db/database.h"
#include "db/strings.h"
#include "dxf/dxfinternal.h"

namespace kx::dxf {

namespace {

// cp1252's characters 0x80 ... 0x9F; the rest of the upper half is Latin-1.
constexpr uint16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

// The cp1252 byte of a character; -1 when the code page has none.
int cp1252Byte(uint32_t cp)
{
    if (cp >= 0xA0 && cp <= 0xFF)
        return int(cp);
    for (int i = 0; i < 32; ++i) {
        if (kCp1252High[i] == cp && !(cp >= 0x80 && cp < 0xA0))
            return 0x80 + i;
    }
    return -1;
}

bool isAscii(std::string_view text)
{
    for (char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    }
    return true;
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

void appendWide(std::wstring& out, uint32_t cp)
{
    if constexpr (sizeof(wchar_t) == 2) {
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out.push_back(wchar_t(0xD800 + (cp >> 10)));
            out.push_back(wchar_t(0xDC00 + (cp & 0x3FF)));
            return;
        }
    }
    out.push_back(wchar_t(cp));
}

// Decodes "\U+XXXX" escapes in wide text; a pair of escaped surrogates
// makes one character.
std::wstring unescape(std::wstring text)
{
    if (text.find(L"\\U+") == std::wstring::npos && text.find(L"\\u+") == std::wstring::npos)
        return text;
    auto escapeAt = [&](size_t i, uint32_t& cp) {
        if (i + 7 > text.size() || text[i] != L'\\' || (text[i + 1] != L'U' && text[i + 1] != L'u') || text[i + 2] != L'+')
            return false;
        cp = 0;
        for (size_t k = 0; k < 4; ++k) {
            const wchar_t c = text[i + 3 + k];
            const int v = uint32_t(c) < 128 ? hexValue(char(c)) : -1;
            if (v < 0)
                return false;
            cp = cp * 16 + uint32_t(v);
        }
        return true;
    };
    std::wstring out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        uint32_t cp = 0;
        if (!escapeAt(i, cp)) {
            out.push_back(text[i]);
            continue;
        }
        i += 6;
        uint32_t low = 0;
        if (cp >= 0xD800 && cp <= 0xDBFF && escapeAt(i + 1, low) && low >= 0xDC00 && low <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
            i += 7;
        }
        appendWide(out, cp);
    }
    return out;
}

}  // namespace

std::wstring decodeText(std::string_view raw, bool utf8File)
{
    std::wstring out;
    if (isAscii(raw)) {
        out.assign(raw.begin(), raw.end());
    } else if (utf8File) {
        out = vxFromUtf8(raw);
    } else {
        out.reserve(raw.size());
        for (char c : raw) {
            const auto byte = static_cast<unsigned char>(c);
            out.push_back(wchar_t(byte >= 0x80 && byte < 0xA0 ? kCp1252High[byte - 0x80] : byte));
        }
    }
    return unescape(std::move(out));
}

std::string toUtf8Text(std::string_view raw, bool utf8File)
{
    if (isAscii(raw) || utf8File)
        return std::string(raw);
    std::wstring wide;
    wide.reserve(raw.size());
    for (char c : raw) {
        const auto byte = static_cast<unsigned char>(c);
        wide.push_back(wchar_t(byte >= 0x80 && byte < 0xA0 ? kCp1252High[byte - 0x80] : byte));
    }
    return vxToUtf8(wide);
}

void appendEncoded(std::string& out, std::wstring_view text, bool utf8File)
{
    bool ascii = true;
    for (wchar_t c : text) {
        if (uint32_t(c) >= 0x80) {
            ascii = false;
            break;
        }
    }
    if (ascii) {
        for (wchar_t c : text)
            out.push_back(char(c));
        return;
    }
    if (utf8File) {
        out += vxToUtf8(text);
        return;
    }
    static const char kHex[] = "0123456789ABCDEF";
    for (wchar_t c : text) {
        const uint32_t cp = uint32_t(c);
        if (cp < 0x80) {
            out.push_back(char(cp));
        } else if (const int byte = cp1252Byte(cp); byte >= 0) {
            out.push_back(char(byte));
        } else if (cp <= 0xFFFF) {
            out += "\\U+";
            for (int shift = 12; shift >= 0; shift -= 4)
                out.push_back(kHex[(cp >> shift) & 15]);
        } else {
            // Outside the basic plane: as a surrogate pair of escapes.
            const uint32_t v = cp - 0x10000;
            for (uint32_t unit : {0xD800 + (v >> 10), 0xDC00 + (v & 0x3FF)}) {
                out += "\\U+";
                for (int shift = 12; shift >= 0; shift -= 4)
                    out.push_back(kHex[(unit >> shift) & 15]);
            }
        }
    }
}

void appendEncodedUtf8(std::string& out, std::string_view utf8, bool utf8File)
{
    if (utf8File || isAscii(utf8)) {
        out += utf8;
        return;
    }
    appendEncoded(out, vxFromUtf8(utf8), false);
}

// ---- side data ----

namespace {

struct SideEntry {
    VxDbObjectId anchor;  // the block table: tells a live database from a new one at the same address
    std::unique_ptr<SideData> data;
};

std::mutex& sideMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::map<const VxDbDatabase*, SideEntry>& sideMap()
{
    static std::map<const VxDbDatabase*, SideEntry> map;
    return map;
}

void purgeStale()
{
    auto& map = sideMap();
    for (auto it = map.begin(); it != map.end();) {
        if (it->second.anchor.database() != it->first)
            it = map.erase(it);
        else
            ++it;
    }
}

}  // namespace

const SideData* sideDataOf(const VxDbDatabase* database)
{
    std::lock_guard lock(sideMutex());
    purgeStale();
    auto it = sideMap().find(database);
    return it == sideMap().end() ? nullptr : it->second.data.get();
}

SideData& sideDataFor(VxDbDatabase* database)
{
    std::lock_guard lock(sideMutex());
    purgeStale();
    SideEntry& entry = sideMap()[database];
    entry.anchor = database->blockTableId();
    if (!entry.data)
        entry.data = std::make_unique<SideData>();
    return *entry.data;
}

void dropSideData(const VxDbDatabase* database)
{
    std::lock_guard lock(sideMutex());
    sideMap().erase(database);
    purgeStale();
}

const VxDbDxfGroups* residueOf(const SideData* side, VxDbObjectId id)
{
    if (!side)
        return nullptr;
    auto it = side->residues.find(id);
    return it == side->residues.end() ? nullptr : &it->second;
}

}  // namespace kx::dxf
