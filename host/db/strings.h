#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kx {

// Names of records, dictionary keys and the like compare without regard to
// case. Folding covers ASCII, Latin-1, Latin Extended-A, Greek and Cyrillic,
// which is what drawing names use in practice.
wchar_t vxFoldChar(wchar_t c);
std::wstring vxFoldCase(std::wstring_view text);
int vxCompareNoCase(std::wstring_view a, std::wstring_view b);
inline bool vxEqualNoCase(std::wstring_view a, std::wstring_view b) { return vxCompareNoCase(a, b) == 0; }

// Hash and equality of folded names, for unordered containers keyed by name.
struct VxNoCaseHash {
    using is_transparent = void;
    size_t operator()(std::wstring_view text) const;
};
struct VxNoCaseEqual {
    using is_transparent = void;
    bool operator()(std::wstring_view a, std::wstring_view b) const { return vxEqualNoCase(a, b); }
};

// UTF-8 <-> wide text. wchar_t is UTF-16 on Windows and UTF-32 elsewhere;
// malformed input becomes U+FFFD instead of failing.
std::string vxToUtf8(std::wstring_view text);
std::wstring vxFromUtf8(std::string_view text);

// Paths from and to wide text without depending on the C locale.
std::filesystem::path vxToPath(std::wstring_view text);
std::wstring vxFromPath(const std::filesystem::path& path);

// A symbol name: 1 to 255 characters, no control characters and none of
// <>/\":;?*,=` ("|" is allowed: it separates an external reference's name
// from the name of its dependent records).
bool vxIsValidSymbolName(std::wstring_view name);

// Null-safe view of a C string.
inline std::wstring_view vxView(const wchar_t* text) { return text ? std::wstring_view(text) : std::wstring_view(); }

}  // namespace kx
