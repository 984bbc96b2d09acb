#pragma once

#include <cstdint>
#include <string>

#include "db/status.h"

namespace kx {

// A colour packed in 32 bits: the method in the top byte, then either an
// RGB triple or a colour index in the low bits.
class VxCmEntityColor {
public:
    enum ColorMethod : uint8_t {
        kByLayer = 0xC0,
        kByBlock = 0xC1,
        kByColor = 0xC2,  // true colour (RGB)
        kByACI = 0xC3,    // colour index 1 ... 255
        kByPen = 0xC4,
        kForeground = 0xC5,
        kNone = 0xC8,
    };
    // Colour indices with a meaning of their own.
    enum : int16_t { kACIbyBlock = 0, kACIforeground = 7, kACIbyLayer = 256 };

    VxCmEntityColor() = default;
    explicit VxCmEntityColor(uint32_t packed) : mValue(packed) {}
    static VxCmEntityColor fromIndex(int16_t index);

    uint32_t color() const { return mValue; }
    // Refuses a packed value whose method byte is not one of the methods.
    Velt::ErrorStatus setColor(uint32_t packed);
    ColorMethod colorMethod() const { return static_cast<ColorMethod>(mValue >> 24); }
    Velt::ErrorStatus setColorMethod(ColorMethod method);
    // 0 by block, 256 by layer, 1 ... 255 an index; a true colour answers the
    // nearest index.
    int16_t colorIndex() const;
    Velt::ErrorStatus setColorIndex(int16_t index);
    Velt::ErrorStatus setRGB(uint8_t red, uint8_t green, uint8_t blue);
    uint8_t red() const;
    uint8_t green() const;
    uint8_t blue() const;
    bool isByLayer() const { return colorMethod() == kByLayer; }
    bool isByBlock() const { return colorMethod() == kByBlock; }
    bool isByColor() const { return colorMethod() == kByColor; }
    bool isByACI() const { return colorMethod() == kByACI; }
    bool operator==(const VxCmEntityColor&) const = default;

    // The RGB of a colour index (1 ... 255; others give black) and the index
    // nearest to an RGB triple.
    static uint32_t lookUpRGB(int index);
    static int16_t lookUpACI(uint8_t red, uint8_t green, uint8_t blue);

private:
    uint32_t mValue = uint32_t(kByLayer) << 24;
};

// A colour with its optional colour-book name.
class VxCmColor {
public:
    VxCmColor() = default;
    explicit VxCmColor(const VxCmEntityColor& color) : mColor(color) {}
    static VxCmColor fromIndex(int16_t index) { return VxCmColor(VxCmEntityColor::fromIndex(index)); }

    const VxCmEntityColor& entityColor() const { return mColor; }
    uint32_t color() const { return mColor.color(); }
    Velt::ErrorStatus setColor(uint32_t packed) { return mColor.setColor(packed); }
    VxCmEntityColor::ColorMethod colorMethod() const { return mColor.colorMethod(); }
    Velt::ErrorStatus setColorMethod(VxCmEntityColor::ColorMethod method);
    int16_t colorIndex() const { return mColor.colorIndex(); }
    Velt::ErrorStatus setColorIndex(int16_t index);
    Velt::ErrorStatus setRGB(uint8_t red, uint8_t green, uint8_t blue);
    uint8_t red() const { return mColor.red(); }
    uint8_t green() const { return mColor.green(); }
    uint8_t blue() const { return mColor.blue(); }
    bool isByLayer() const { return mColor.isByLayer(); }
    bool isByBlock() const { return mColor.isByBlock(); }

    const std::wstring& colorName() const { return mColorName; }
    const std::wstring& bookName() const { return mBookName; }
    // A book name needs a colour name; both empty clears them.
    Velt::ErrorStatus setNames(const wchar_t* colorName, const wchar_t* bookName = nullptr);
    bool hasNames() const { return !mColorName.empty(); }
    bool operator==(const VxCmColor&) const = default;

private:
    VxCmEntityColor mColor;
    std::wstring mColorName;
    std::wstring mBookName;
};

// Transparency: by layer, by block, or an alpha (0 transparent ... 255 opaque).
class VxCmTransparency {
public:
    enum TransparencyMethod : uint8_t { kByLayer = 0, kByBlock = 1, kByAlpha = 2 };

    VxCmTransparency() = default;
    explicit VxCmTransparency(uint8_t alpha) : mMethod(kByAlpha), mAlpha(alpha) {}

    TransparencyMethod method() const { return mMethod; }
    void setMethod(TransparencyMethod method) { mMethod = method; }
    uint8_t alpha() const { return mAlpha; }
    void setAlpha(uint8_t alpha)
    {
        mAlpha = alpha;
        mMethod = kByAlpha;
    }
    bool isByLayer() const { return mMethod == kByLayer; }
    bool isByBlock() const { return mMethod == kByBlock; }
    bool isByAlpha() const { return mMethod == kByAlpha; }
    bool isClear() const { return mMethod == kByAlpha && mAlpha == 0; }
    bool isSolid() const { return mMethod == kByAlpha && mAlpha == 255; }

    // The method in the top byte and the alpha in the low byte, as drawings
    // store it.
    uint32_t serializeOut() const { return (uint32_t(mMethod) << 24) | mAlpha; }
    Velt::ErrorStatus serializeIn(uint32_t packed);
    bool operator==(const VxCmTransparency&) const = default;

private:
    TransparencyMethod mMethod = kByLayer;
    uint8_t mAlpha = 255;
};

}  // namespace kx
