#include "db/color.h"

#include <array>

namespace kx {

namespace {

// Our colour-index palette: 1-9 the classic named colours, 10-249 twenty-four
// hues in steps of 15 degrees, each at five brightness levels in a full and a
// pale shade, and 250-255 a grey ramp.
std::array<uint32_t, 256> makePalette()
{
    std::array<uint32_t, 256> rgb{};
    auto pack = [](int r, int g, int b) { return (uint32_t(r) << 16) | (uint32_t(g) << 8) | uint32_t(b); };
    rgb[1] = pack(255, 0, 0);
    rgb[2] = pack(255, 255, 0);
    rgb[3] = pack(0, 255, 0);
    rgb[4] = pack(0, 255, 255);
    rgb[5] = pack(0, 0, 255);
    rgb[6] = pack(255, 0, 255);
    rgb[7] = pack(255, 255, 255);
    rgb[8] = pack(128, 128, 128);
    rgb[9] = pack(192, 192, 192);
    static const int kLevels[5] = {255, 204, 153, 127, 76};
    for (int index = 10; index <= 249; ++index) {
        const double hue = (index / 10 - 1) * 15.0;
        const int step = index % 10;
        const double value = kLevels[step / 2] / 255.0;
        const bool pale = (step % 2) == 1;
        // Hue to a fully saturated colour.
        const double h = hue / 60.0;
        const int sector = static_cast<int>(h) % 6;
        const double f = h - static_cast<int>(h);
        double r = 0, g = 0, b = 0;
        switch (sector) {
        case 0: r = 1; g = f; b = 0; break;
        case 1: r = 1 - f; g = 1; b = 0; break;
        case 2: r = 0; g = 1; b = f; break;
        case 3: r = 0; g = 1 - f; b = 1; break;
        case 4: r = f; g = 0; b = 1; break;
        default: r = 1; g = 0; b = 1 - f; break;
        }
        if (pale) {
            r = 0.5 + 0.5 * r;
            g = 0.5 + 0.5 * g;
            b = 0.5 + 0.5 * b;
        }
        auto channel = [value](double c) { return static_cast<int>(c * value * 255.0 + 0.5); };
        rgb[size_t(index)] = pack(channel(r), channel(g), channel(b));
    }
    static const int kGreys[6] = {51, 80, 105, 130, 190, 255};
    for (int i = 0; i < 6; ++i)
        rgb[size_t(250 + i)] = pack(kGreys[i], kGreys[i], kGreys[i]);
    return rgb;
}

const std::array<uint32_t, 256>& palette()
{
    static const std::array<uint32_t, 256> table = makePalette();
    return table;
}

bool isKnownMethod(uint32_t method)
{
    switch (method) {
    case VxCmEntityColor::kByLayer:
    case VxCmEntityColor::kByBlock:
    case VxCmEntityColor::kByColor:
    case VxCmEntityColor::kByACI:
    case VxCmEntityColor::kByPen:
    case VxCmEntityColor::kForeground:
    case VxCmEntityColor::kNone:
        return true;
    default:
        return false;
    }
}

}  // namespace

VxCmEntityColor VxCmEntityColor::fromIndex(int16_t index)
{
    VxCmEntityColor color;
    color.setColorIndex(index);
    return color;
}

Velt::ErrorStatus VxCmEntityColor::setColor(uint32_t packed)
{
    if (!isKnownMethod(packed >> 24))
        return Velt::eInvalidInput;
    if ((packed >> 24) == kByACI) {
        const uint32_t index = packed & 0xFFFF;
        if (index < 1 || index > 255)
            return Velt::eOutOfRange;
    }
    mValue = packed;
    return Velt::eOk;
}

Velt::ErrorStatus VxCmEntityColor::setColorMethod(ColorMethod method)
{
    if (!isKnownMethod(method))
        return Velt::eInvalidInput;
    switch (method) {
    case kByColor: mValue = (uint32_t(method) << 24) | (mValue & 0xFFFFFF); break;
    case kByACI: mValue = (uint32_t(method) << 24) | uint32_t(colorIndex() >= 1 && colorIndex() <= 255 ? colorIndex() : 7); break;
    case kForeground: mValue = (uint32_t(method) << 24) | 7; break;
    default: mValue = uint32_t(method) << 24; break;
    }
    return Velt::eOk;
}

int16_t VxCmEntityColor::colorIndex() const
{
    switch (colorMethod()) {
    case kByLayer: return kACIbyLayer;
    case kByBlock: return kACIbyBlock;
    case kByACI: return static_cast<int16_t>(mValue & 0xFFFF);
    case kByColor: return lookUpACI(red(), green(), blue());
    case kForeground: return kACIforeground;
    default: return kACIforeground;
    }
}

Velt::ErrorStatus VxCmEntityColor::setColorIndex(int16_t index)
{
    if (index == kACIbyBlock)
        mValue = uint32_t(kByBlock) << 24;
    else if (index == kACIbyLayer)
        mValue = uint32_t(kByLayer) << 24;
    else if (index >= 1 && index <= 255)
        mValue = (uint32_t(kByACI) << 24) | uint32_t(index);
    else
        return Velt::eOutOfRange;
    return Velt::eOk;
}

Velt::ErrorStatus VxCmEntityColor::setRGB(uint8_t red, uint8_t green, uint8_t blue)
{
    mValue = (uint32_t(kByColor) << 24) | (uint32_t(red) << 16) | (uint32_t(green) << 8) | blue;
    return Velt::eOk;
}

uint8_t VxCmEntityColor::red() const
{
    if (colorMethod() == kByColor)
        return uint8_t(mValue >> 16);
    return uint8_t(lookUpRGB(colorIndex()) >> 16);
}

uint8_t VxCmEntityColor::green() const
{
    if (colorMethod() == kByColor)
        return uint8_t(mValue >> 8);
    return uint8_t(lookUpRGB(colorIndex()) >> 8);
}

uint8_t VxCmEntityColor::blue() const
{
    if (colorMethod() == kByColor)
        return uint8_t(mValue);
    return uint8_t(lookUpRGB(colorIndex()));
}

uint32_t VxCmEntityColor::lookUpRGB(int index)
{
    if (index < 1 || index > 255)
        return 0;
    return palette()[size_t(index)];
}

int16_t VxCmEntityColor::lookUpACI(uint8_t red, uint8_t green, uint8_t blue)
{
    int16_t best = 7;
    long bestDistance = -1;
    for (int index = 1; index <= 255; ++index) {
        const uint32_t rgb = palette()[size_t(index)];
        const long dr = long(rgb >> 16 & 0xFF) - red;
        const long dg = long(rgb >> 8 & 0xFF) - green;
        const long db = long(rgb & 0xFF) - blue;
        const long distance = dr * dr + dg * dg + db * db;
        if (bestDistance < 0 || distance < bestDistance) {
            bestDistance = distance;
            best = static_cast<int16_t>(index);
        }
    }
    return best;
}

Velt::ErrorStatus VxCmColor::setColorMethod(VxCmEntityColor::ColorMethod method)
{
    const Velt::ErrorStatus es = mColor.setColorMethod(method);
    if (es == Velt::eOk && method != VxCmEntityColor::kByColor) {
        mColorName.clear();
        mBookName.clear();
    }
    return es;
}

Velt::ErrorStatus VxCmColor::setColorIndex(int16_t index)
{
    const Velt::ErrorStatus es = mColor.setColorIndex(index);
    if (es == Velt::eOk) {
        mColorName.clear();
        mBookName.clear();
    }
    return es;
}

Velt::ErrorStatus VxCmColor::setRGB(uint8_t red, uint8_t green, uint8_t blue)
{
    mColorName.clear();
    mBookName.clear();
    return mColor.setRGB(red, green, blue);
}

Velt::ErrorStatus VxCmColor::setNames(const wchar_t* colorName, const wchar_t* bookName)
{
    const std::wstring color = colorName ? colorName : L"";
    const std::wstring book = bookName ? bookName : L"";
    if (color.empty() && !book.empty())
        return Velt::eInvalidInput;
    mColorName = color;
    mBookName = book;
    return Velt::eOk;
}

Velt::ErrorStatus VxCmTransparency::serializeIn(uint32_t packed)
{
    const uint32_t method = packed >> 24;
    if (method > kByAlpha)
        return Velt::eInvalidInput;
    mMethod = static_cast<TransparencyMethod>(method);
    mAlpha = method == kByAlpha ? uint8_t(packed & 0xFF) : 255;
    return Velt::eOk;
}

}  // namespace kx
