#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kx {

// A 64-bit handle: the persistent name of an object within its drawing,
// written as upper-case hexadecimal without leading zeros.
class VxDbHandle {
public:
    constexpr VxDbHandle() = default;
    constexpr explicit VxDbHandle(uint64_t value) : mValue(value) {}

    bool isNull() const { return mValue == 0; }
    uint64_t value() const { return mValue; }
    void setNull() { mValue = 0; }

    // Writes the hexadecimal text, terminated; false (and an empty text when
    // there is room for one) when the buffer is too small.
    bool getIntoAsciiBuffer(wchar_t* buffer, size_t size) const;
    std::wstring toString() const;
    // Parses 1 to 16 hexadecimal digits; anything else is refused.
    static bool fromString(std::wstring_view text, VxDbHandle& handle);

    VxDbHandle& operator++() { ++mValue; return *this; }
    VxDbHandle operator+(uint64_t n) const { return VxDbHandle(mValue + n); }
    auto operator<=>(const VxDbHandle&) const = default;

private:
    uint64_t mValue = 0;
};

}  // namespace kx
