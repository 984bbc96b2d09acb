#include "dxf/dxfstream.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

namespace kx::dxf {

namespace {

constexpr ValueKind kindOfCode(int code)
{
    if (code < 0)
        return ValueKind::kString;
    if (code <= 9)
        return code == 5 ? ValueKind::kHandle : ValueKind::kString;
    if (code <= 59)
        return ValueKind::kDouble;
    if (code <= 79)
        return ValueKind::kInt16;
    if (code <= 89)
        return ValueKind::kString;
    if (code <= 99)
        return ValueKind::kInt32;
    if (code == 105)
        return ValueKind::kHandle;
    if (code <= 109)
        return ValueKind::kString;
    if (code <= 149)
        return ValueKind::kDouble;
    if (code <= 159)
        return ValueKind::kString;
    if (code <= 169)
        return ValueKind::kInt64;
    if (code <= 179)
        return ValueKind::kInt16;
    if (code <= 209)
        return ValueKind::kString;
    if (code <= 239)
        return ValueKind::kDouble;
    if (code <= 269)
        return ValueKind::kString;
    if (code <= 289)
        return ValueKind::kInt16;
    if (code <= 299)
        return ValueKind::kBool;
    if (code <= 309)
        return ValueKind::kString;
    if (code <= 319)
        return ValueKind::kBinary;
    if (code <= 369)
        return ValueKind::kHandle;
    if (code <= 389)
        return ValueKind::kInt16;
    if (code <= 399)
        return ValueKind::kHandle;
    if (code <= 409)
        return ValueKind::kInt16;
    if (code <= 419)
        return ValueKind::kString;
    if (code <= 429)
        return ValueKind::kInt32;
    if (code <= 439)
        return ValueKind::kString;
    if (code <= 459)
        return ValueKind::kInt32;
    if (code <= 469)
        return ValueKind::kDouble;
    if (code <= 479)
        return ValueKind::kString;
    if (code <= 481)
        return ValueKind::kHandle;
    if (code < 1000)
        return ValueKind::kString;
    if (code == 1004)
        return ValueKind::kBinary;
    if (code == 1005)
        return ValueKind::kHandle;
    if (code <= 1009)
        return ValueKind::kString;
    if (code <= 1059)
        return ValueKind::kDouble;
    if (code <= 1070)
        return ValueKind::kInt16;
    if (code == 1071)
        return ValueKind::kInt32;
    return ValueKind::kString;
}

// The kinds of every code a file may use, worked out while compiling: the reader asks for
// each group.
constexpr std::array<ValueKind, kMaxGroupCode + 1> makeValueKinds()
{
    std::array<ValueKind, kMaxGroupCode + 1> kinds{};
    for (int code = 0; code <= kMaxGroupCode; ++code)
        kinds[size_t(code)] = kindOfCode(code);
    return kinds;
}
constexpr std::array<ValueKind, kMaxGroupCode + 1> kValueKinds = makeValueKinds();

}  // namespace

ValueKind valueKindOf(int code)
{
    return code >= 0 && code <= kMaxGroupCode ? kValueKinds[size_t(code)] : kindOfCode(code);
}

bool isReferenceCode(int code)
{
    return (code >= 320 && code <= 369) || (code >= 390 && code <= 399) || code == 480 || code == 481;
}

namespace {

std::string_view trim(std::string_view text)
{
    if (!text.empty() && uint8_t(text.front()) > ' ' && uint8_t(text.back()) > ' ')
        return text;  // most values: nothing to take off
    size_t begin = 0;
    size_t end = text.size();
    while (begin < end && (text[begin] == ' ' || text[begin] == '\t'))
        ++begin;
    while (end > begin && (text[end - 1] == ' ' || text[end - 1] == '\t' || text[end - 1] == '\r'))
        --end;
    return text.substr(begin, end - begin);
}

// Plain decimals of at most 15 digits ("-12.375"), most numbers of a file: the
// digits make an exact integer and the power of ten is an exact double, so one
// division rounds correctly, to what the general parser gives. Anything else
// (more digits, an exponent) is left to it.
// Answers the end of the number at p (the first character that is not its own); null when
// there is none or it is not short.
const char* scanShortDecimal(const char* p, const char* end, double& out)
{
    static constexpr double kPowersOfTen[16] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const bool negative = p != end && *p == '-';
    if (negative)
        ++p;
    // The whole part, then the decimals: one test a digit. Too many digits wrap the mantissa,
    // which is then not used.
    uint64_t mantissa = 0;
    const char* const whole = p;
    for (unsigned digit; p != end && (digit = unsigned(*p) - unsigned('0')) <= 9; ++p)
        mantissa = mantissa * 10 + digit;
    size_t digits = size_t(p - whole);
    size_t fraction = 0;
    if (p != end && *p == '.') {
        const char* const decimals = ++p;
        for (unsigned digit; p != end && (digit = unsigned(*p) - unsigned('0')) <= 9; ++p)
            mantissa = mantissa * 10 + digit;
        fraction = size_t(p - decimals);
        digits += fraction;
    }
    if (digits == 0 || digits > 15)
        return nullptr;
    const double value = double(mantissa) / kPowersOfTen[fraction];
    out = negative ? -value : value;
    return p;
}

bool parseShortDecimal(const char* p, const char* end, double& out) { return scanShortDecimal(p, end, out) == end; }

constexpr std::string_view kBinarySentinel("AutoCAD Binary DXF\r\n\x1a\0", 22);

}  // namespace

bool parseDouble(std::string_view text, double& out)
{
    text = trim(text);
    if (text.empty())
        return false;
    if (text[0] == '+')
        text.remove_prefix(1);
    const char* end = text.data() + text.size();
    if (parseShortDecimal(text.data(), end, out))
        return true;
    auto [ptr, ec] = std::from_chars(text.data(), end, out);
    if (ec != std::errc() || ptr != end)
        return false;
    return std::isfinite(out);
}

bool parseInt(std::string_view text, int64_t& out)
{
    text = trim(text);
    if (!text.empty() && text[0] == '+')
        text.remove_prefix(1);
    if (text.empty())
        return false;
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, out);
    if (ec == std::errc() && ptr == end)
        return true;
    // Some writers put a real where an integer belongs ("1.0").
    double real = 0.0;
    if (!parseDouble(text, real) || real != std::floor(real) || std::fabs(real) > 9.2e18)
        return false;
    out = int64_t(real);
    return true;
}

bool parseHandle(std::string_view text, uint64_t& out)
{
    text = trim(text);
    if (text.empty() || text.size() > 16)
        return false;
    // Hex digits only, no sign or prefix; sixteen of them cannot overflow. A table a byte:
    // every handle of a file comes through here.
    static constexpr auto kHex = [] {
        std::array<uint8_t, 256> table{};
        table.fill(0xFF);
        for (int c = 0; c < 10; ++c)
            table['0' + c] = uint8_t(c);
        for (int c = 0; c < 6; ++c)
            table['A' + c] = table['a' + c] = uint8_t(10 + c);
        return table;
    }();
    // As std::from_chars: digits before a stray character still give their value.
    uint64_t value = 0;
    size_t i = 0;
    for (; i < text.size(); ++i) {
        const uint8_t digit = kHex[uint8_t(text[i])];
        if (digit > 15)
            break;
        value = value << 4 | digit;
    }
    if (i > 0)
        out = value;
    return i > 0 && i == text.size();
}

// ---- reading ----

GroupReader::GroupReader(std::string_view data) : mData(data)
{
    if (data.size() >= kBinarySentinel.size() && data.substr(0, kBinarySentinel.size()) == kBinarySentinel) {
        mBinary = true;
        mPos = kBinarySentinel.size();
        // The first group is (0, "SECTION"): one code byte in old files, two in newer ones.
        mOneByteCodes = mPos + 1 < data.size() && data[mPos] == 0 && data[mPos + 1] == 'S';
    } else if (data.size() >= 3 && static_cast<unsigned char>(data[0]) == 0xEF &&
               static_cast<unsigned char>(data[1]) == 0xBB && static_cast<unsigned char>(data[2]) == 0xBF) {
        mPos = 3;  // a byte-order mark
    }
}

std::string_view GroupReader::trimmedValue() const { return trim(mValue); }

bool GroupReader::toDouble(double& out) const { return parseDouble(mValue, out); }
bool GroupReader::toInt(int64_t& out) const { return parseInt(mValue, out); }
bool GroupReader::toHandle(uint64_t& out) const { return parseHandle(mValue, out); }

bool GroupReader::fail(Velt::ErrorStatus status, std::string_view what)
{
    if (mStatus == Velt::eOk) {
        mStatus = status;
        mMessage = std::string(what) + (mBinary ? " at byte " : " at line ") + std::to_string(mGroupPosition);
    }
    mPos = mData.size();
    mPushedBack = false;
    return false;
}

bool GroupReader::next()
{
    if (mStatus != Velt::eOk)
        return false;
    if (mPushedBack) {
        mPushedBack = false;
        return true;
    }
    return mBinary ? nextBinary() : nextAscii();
}

bool GroupReader::readLine(std::string_view& line)
{
    if (mPos >= mData.size())
        return false;
    const char* begin = mData.data() + mPos;
    const size_t left = mData.size() - mPos;
    // Most lines are a few characters: eight at a time, looking for a zero byte
    // in the word xor-ed with line feeds, finds their end before a call to
    // memchr would have started. The lowest flagged byte is always a true one.
    const char* newline = nullptr;
    constexpr uint64_t kOnes = 0x0101010101010101ull;
    size_t i = 0;
    for (; i + 8 <= left && i < 64; i += 8) {
        uint64_t word;
        std::memcpy(&word, begin + i, 8);
        if constexpr (std::endian::native == std::endian::big)
            word = __builtin_bswap64(word);
        const uint64_t x = word ^ (kOnes * '\n');
        const uint64_t found = (x - kOnes) & ~x & (kOnes * 0x80);
        if (found) {
            newline = begin + i + size_t(std::countr_zero(found) / 8);
            break;
        }
    }
    if (!newline && i < left)
        newline = static_cast<const char*>(std::memchr(begin + i, '\n', left - i));
    size_t length = newline ? size_t(newline - begin) : left;
    mPos += newline ? length + 1 : length;
    if (length > 0 && begin[length - 1] == '\r')
        --length;
    line = std::string_view(begin, length);
    ++mLine;
    return true;
}

bool GroupReader::nextAscii()
{
    const size_t size = mData.size();
    if (mPos >= size)
        return false;
    ++mLine;
    mGroupPosition = mLine;
    // The code: digits between blanks, read here in one walk over its line (every second
    // line of a file is one) rather than found first and parsed after.
    const char* c = mData.data() + mPos;
    const char* const stop = mData.data() + size;
    int code = 0;
    // Most files write codes right-aligned in three columns ("  0", " 10", "330"): read at
    // once. Any other form takes the general walk.
    if (stop - c >= 4 && c[3] == '\n') {
        const unsigned a = unsigned(c[0]) - unsigned('0');
        const unsigned b = unsigned(c[1]) - unsigned('0');
        const unsigned d = unsigned(c[2]) - unsigned('0');
        const bool blankA = c[0] == ' ';
        if (d <= 9 && (b <= 9 || (blankA && c[1] == ' ')) && (a <= 9 || blankA)) {
            code = int((a <= 9 ? a * 100 : 0) + (b <= 9 ? b * 10 : 0) + d);
            mPos += 4;
            return readValue(code);
        }
    }
    while (c != stop && (*c == ' ' || *c == '\t'))
        ++c;
    const char* const digits = c;
    for (; c != stop; ++c) {
        const unsigned digit = unsigned(*c) - unsigned('0');
        if (digit > 9)
            break;
        code = code * 10 + int(digit);
        if (code > kMaxGroupCode)
            return fail(Velt::eInvalidDxfCode, "not a group code");
    }
    const bool none = c == digits;
    while (c != stop && (*c == ' ' || *c == '\t' || *c == '\r'))
        ++c;
    if (c != stop && *c != '\n')
        return fail(Velt::eInvalidDxfCode, "not a group code");
    mPos = size_t(c - mData.data()) + (c != stop ? 1 : 0);
    if (none) {
        // A last line of blanks is no group.
        if (mPos >= size)
            return false;
        return fail(Velt::eInvalidDxfCode, "not a group code");
    }
    return readValue(code);
}

bool GroupReader::readValue(int code)
{
    const size_t size = mData.size();
    const char* const stop = mData.data() + size;
    const ValueKind kind = valueKindOf(code);
    const bool numeric = kind != ValueKind::kString && kind != ValueKind::kHandle && kind != ValueKind::kBinary;
    if (numeric && mPos < size) {
        // A short decimal alone on its line (most numbers): parsed in the walk that finds the
        // line's end. Anything else takes the general way below.
        const char* begin = mData.data() + mPos;
        const char* end = scanShortDecimal(begin, stop, mNumber);
        auto atLineEnd = [stop](const char* at) {
            return at && (at == stop || *at == '\n' || (*at == '\r' && (at + 1 == stop || at[1] == '\n')));
        };
        if (!atLineEnd(end)) {
            // Longer numbers (seventeen digits, an exponent): the general parser, still in
            // the one walk.
            const auto [ptr, ec] = std::from_chars(begin, stop, mNumber);
            end = ec == std::errc() && std::isfinite(mNumber) ? ptr : nullptr;
        }
        if (atLineEnd(end)) {
            const char* next = end != stop && *end == '\r' ? end + 1 : end;
            mValue = std::string_view(begin, size_t(end - begin));
            mPos = size_t(next - mData.data()) + (next != stop ? 1 : 0);
            ++mLine;
            mHasNumber = true;
            mCode = code;
            return true;
        }
    }
    if (!readLine(mValue))
        return fail(Velt::eEndOfFile, "the file ends inside a group");
    // A number that is none would otherwise be taken as 0 further up.
    mHasNumber = false;
    if (numeric) {
        if (!parseDouble(mValue, mNumber)) {
            mGroupPosition = mLine;
            return fail(Velt::eInvalidDxfCode, "not a number");
        }
        mHasNumber = true;
    }
    mCode = code;
    return true;
}

bool GroupReader::nextBinary()
{
    const size_t left = mData.size() - mPos;
    if (left == 0)
        return false;
    mGroupPosition = mPos;
    const auto byteAt = [&](size_t i) { return static_cast<unsigned char>(mData[mPos + i]); };
    int code = 0;
    if (mOneByteCodes) {
        code = byteAt(0);
        mPos += 1;
        if (code == 255) {
            if (mData.size() - mPos < 2)
                return fail(Velt::eEndOfFile, "the file ends inside a group code");
            code = byteAt(0) | (byteAt(1) << 8);
            mPos += 2;
        }
    } else {
        if (left < 2)
            return fail(Velt::eEndOfFile, "the file ends inside a group code");
        code = int16_t(uint16_t(byteAt(0) | (byteAt(1) << 8)));
        mPos += 2;
    }
    if (code < 0 || code > kMaxGroupCode)
        return fail(Velt::eInvalidDxfCode, "not a group code");
    mCode = code;
    mHasNumber = false;
    mValueInData = true;
    const size_t avail = mData.size() - mPos;
    const char* p = mData.data() + mPos;
    auto fixed = [&](size_t size) -> bool {
        if (avail < size)
            return fail(Velt::eEndOfFile, "the file ends inside a value");
        mPos += size;
        return true;
    };
    auto setNumber = [&](auto value) {
        char buffer[40];
        auto [ptr, ec] = std::to_chars(buffer, buffer + sizeof(buffer), value);
        (void)ec;
        mScratch.assign(buffer, ptr);
        mValue = mScratch;
        mValueInData = false;
        mNumber = double(value);
        mHasNumber = true;
    };
    switch (valueKindOf(code)) {
    case ValueKind::kString:
    case ValueKind::kHandle: {
        const void* zero = std::memchr(p, 0, avail);
        if (!zero)
            return fail(Velt::eEndOfFile, "the file ends inside a text");
        const size_t length = size_t(static_cast<const char*>(zero) - p);
        mValue = std::string_view(p, length);
        mPos += length + 1;
        return true;
    }
    case ValueKind::kDouble: {
        if (!fixed(8))
            return false;
        double value;
        std::memcpy(&value, p, 8);
        if (!std::isfinite(value))
            return fail(Velt::eInvalidDxfCode, "not a finite number");
        setNumber(value);
        return true;
    }
    case ValueKind::kInt16: {
        if (!fixed(2))
            return false;
        uint16_t raw;
        std::memcpy(&raw, p, 2);
        setNumber(int(int16_t(raw)));
        return true;
    }
    case ValueKind::kInt32: {
        if (!fixed(4))
            return false;
        uint32_t raw;
        std::memcpy(&raw, p, 4);
        setNumber(int32_t(raw));
        return true;
    }
    case ValueKind::kInt64: {
        if (!fixed(8))
            return false;
        uint64_t raw;
        std::memcpy(&raw, p, 8);
        setNumber(int64_t(raw));
        return true;
    }
    case ValueKind::kBool: {
        if (!fixed(1))
            return false;
        setNumber(int(static_cast<unsigned char>(p[0])));
        return true;
    }
    case ValueKind::kBinary: {
        if (avail < 1)
            return fail(Velt::eEndOfFile, "the file ends inside a value");
        const size_t length = static_cast<unsigned char>(p[0]);
        if (avail < 1 + length)
            return fail(Velt::eEndOfFile, "the file ends inside a value");
        static const char kHex[] = "0123456789ABCDEF";
        mScratch.resize(length * 2);
        for (size_t i = 0; i < length; ++i) {
            const auto byte = static_cast<unsigned char>(p[1 + i]);
            mScratch[2 * i] = kHex[byte >> 4];
            mScratch[2 * i + 1] = kHex[byte & 15];
        }
        mValue = mScratch;
        mValueInData = false;
        mPos += 1 + length;
        return true;
    }
    }
    return fail(Velt::eInvalidDxfCode, "not a group code");
}

// ---- writing ----

namespace {

// Codes stand right-aligned in three columns, as most programs write them;
// each code's line is made once.
struct CodeLine {
    char text[7];
    uint8_t length;
};

// Made while compiling: no guard of a local static in front of every group.
constexpr std::array<CodeLine, kMaxGroupCode + 1> makeCodeLines()
{
    std::array<CodeLine, kMaxGroupCode + 1> lines{};
    for (int code = 0; code <= kMaxGroupCode; ++code) {
        char digits[4] = {};
        size_t length = 0;
        for (int rest = code; length == 0 || rest > 0; rest /= 10)
            digits[length++] = char('0' + rest % 10);
        CodeLine& line = lines[size_t(code)];
        size_t at = 0;
        for (size_t i = length; i < 3; ++i)
            line.text[at++] = ' ';
        while (length > 0)
            line.text[at++] = digits[--length];
        line.text[at++] = '\n';
        line.length = uint8_t(at);
    }
    return lines;
}
constexpr std::array<CodeLine, kMaxGroupCode + 1> kCodeLines = makeCodeLines();

// The longest code line: a sign and ten digits, then the line end.
constexpr size_t kMaxCodeLine = 12;

}  // namespace

GroupWriter::GroupWriter(int precision) : mPrecision(precision) { mBuffer.resize(kFlushSize + 4096); }

GroupWriter::~GroupWriter() { flush(); }

std::string& GroupWriter::buffer()
{
    if (!mExposed) {
        mBuffer.resize(mSize);
        mExposed = true;
    }
    return mBuffer;
}

char* GroupWriter::grow(size_t n)
{
    if (mExposed) {
        // The caller had the string: it holds what is written so far.
        mSize = mBuffer.size();
        mExposed = false;
    }
    if (mSize + n > mBuffer.size())
        mBuffer.resize(std::max(mBuffer.size() * 2, mSize + n + 4096));
    return mBuffer.data() + mSize;
}

bool GroupWriter::flush()
{
    if (mExposed) {
        mSize = mBuffer.size();
        mExposed = false;
    }
    if (!mFile || mSize == 0)
        return !mFileError;
    if (std::fwrite(mBuffer.data(), 1, mSize, mFile) != mSize)
        mFileError = true;
    mSize = 0;
    return !mFileError;
}

char* GroupWriter::writeCode(char* at, int code)
{
    if (code >= 0 && code <= kMaxGroupCode) {
        const CodeLine& line = kCodeLines[size_t(code)];
        std::memcpy(at, line.text, sizeof(line.text));  // whole array: a fixed-size copy
        return at + line.length;
    }
    char digits[16];
    auto [ptr, ec] = std::to_chars(digits, digits + sizeof(digits), code);
    (void)ec;
    const size_t length = size_t(ptr - digits);
    for (size_t i = length; i < 3; ++i)
        *at++ = ' ';
    std::memcpy(at, digits, length);
    at += length;
    *at++ = '\n';
    return at;
}

void GroupWriter::text(int code, std::string_view value)
{
    // A line cannot hold a line end: control characters (which binary files
    // may carry) go in the format's caret notation, "^J" for a line feed.
    char* const begin = room(kMaxCodeLine + 2 * value.size() + 1);
    char* at = writeCode(begin, code);
    for (char c : value) {
        if (static_cast<unsigned char>(c) < 0x20 && c != '\t') {
            *at++ = '^';
            *at++ = char(c + 64);
        } else {
            *at++ = c;
        }
    }
    *at++ = '\n';
    mSize += size_t(at - begin);
    maybeFlush();
}

namespace {

constexpr double kExactPowersOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
constexpr uint64_t kPowersOfTenInt[] = {1,      10,      100,      1000,      10000,
                                        100000, 1000000, 10000000, 100000000, 1000000000};

// "00" to "99": two digits a step.
constexpr std::array<char, 200> makeDigitPairs()
{
    std::array<char, 200> pairs{};
    for (int i = 0; i < 100; ++i) {
        pairs[size_t(2 * i)] = char('0' + i / 10);
        pairs[size_t(2 * i + 1)] = char('0' + i % 10);
    }
    return pairs;
}
constexpr std::array<char, 200> kDigitPairs = makeDigitPairs();

// Exactly width digits of value (below 10^width), leading zeros included.
void writeDigits(char* at, uint32_t value, int width)
{
    char* p = at + width;
    for (; width >= 2; width -= 2) {
        p -= 2;
        std::memcpy(p, kDigitPairs.data() + 2 * (value % 100), 2);
        value /= 100;
    }
    if (width)
        *--p = char('0' + value);
}

// Values with a few decimals ("10.25", "-3", "0.001"), most of a drawing's: their shortest
// digits, found by scaling with an exact power of ten, printed as the general routine prints
// them; *integral tells whether they have no point. Null for any other value (that routine's
// work).
//
// Scaled by the largest 10^k (k <= 9) that keeps it below 2^50, a value within half a unit of
// its last place of some d / 10^j (j <= k) is within a quarter of the integer d * 10^(k - j),
// and no other integer is that near: so the value has such a short form exactly when the
// nearest integer m gives back the value on division (exact, then rounded, as reading the
// text is), and m without its trailing zeros is its shortest.
char* shortDecimal(char* at, double value, bool* integral)
{
    if (value == 0.0 && !std::signbit(value)) {
        *at = '0';
        *integral = true;
        return at + 1;
    }
    const double magnitude = std::fabs(value);
    if (!(magnitude >= 1e-5 && magnitude < 1e14))
        return nullptr;
    constexpr double kLimit = 1125899906842624.0;  // 2^50
    int k = int(std::size(kExactPowersOfTen)) - 1;
    double scaled = magnitude * kExactPowersOfTen[k];
    while (scaled >= kLimit) {
        if (k == 0)
            return nullptr;
        scaled = magnitude * kExactPowersOfTen[--k];
    }
    // Below 2^50: signed conversions, one instruction each way.
    const auto nearest = int64_t(scaled + 0.5);
    const double rounded = double(nearest);
    const auto m = uint64_t(nearest);
    // Anything farther from an integer than a few units of its last place needs no division.
    const double gap = scaled - rounded;
    if (gap > scaled * 0x1p-50 || -gap > scaled * 0x1p-50 || rounded / kExactPowersOfTen[k] != magnitude)
        return nullptr;
    // Whole part and decimals: the whole part is the value's own (no division by 10^k), and m
    // lies between it times 10^k and one more than it times 10^k, both ends included.
    uint64_t whole = uint64_t(magnitude);
    uint64_t rest = m - whole * kPowersOfTenInt[k];
    if (rest >= kPowersOfTenInt[k]) {
        rest -= kPowersOfTenInt[k];
        ++whole;
    }
    auto decimals = uint32_t(rest);
    if (decimals == 0) {
        // An integer: the general routine writes it fixed unless scientific is shorter, which
        // takes six digits or more ("1e+05").
        if (whole >= 100000) {
            int length = 0, significant = 0;
            for (uint64_t left = whole; left; left /= 10) {
                ++length;
                if (significant || left % 10)
                    ++significant;
            }
            if (length > significant + (significant > 1 ? 1 : 0) + 4)
                return nullptr;
        }
        if (value < 0)
            *at++ = '-';
        *integral = true;
        return std::to_chars(at, at + 24, whole).ptr;
    }
    // Trailing zeros off the decimals: at most eight.
    if (decimals % 100000000 == 0)
        decimals /= 100000000, k -= 8;
    if (decimals % 10000 == 0)
        decimals /= 10000, k -= 4;
    if (decimals % 100 == 0)
        decimals /= 100, k -= 2;
    if (decimals % 10 == 0)
        decimals /= 10, k -= 1;
    // With a whole part fixed notation is always the shorter; below one it is while the zeros
    // after the point are at most two, three for more than one significant digit ("0.001",
    // "0.00015", but "1e-04").
    if (whole == 0 && uint64_t(decimals) * (decimals < 10 ? 1000 : 10000) < kPowersOfTenInt[k])
        return nullptr;
    if (value < 0)
        *at++ = '-';
    *integral = false;
    at = std::to_chars(at, at + 24, whole).ptr;
    *at++ = '.';
    writeDigits(at, decimals, k);
    return at + k;
}

}  // namespace

char* writeShortDecimal(char* at, double value)
{
    bool integral = false;
    return shortDecimal(at, value, &integral);
}

void GroupWriter::real(int code, double value)
{
    if (!std::isfinite(value))
        value = 0.0;
    if (value == 0.0)
        value = 0.0;  // no "-0"
    // Shortest form: at most 24 characters; a precision: sign, 17 digits, point, exponent.
    constexpr size_t kMaxReal = 32;
    char* const begin = room(kMaxCodeLine + kMaxReal + 3);
    char* at = writeCode(begin, code);
    bool plain = false;
    char* written = mPrecision <= 0 ? shortDecimal(at, value, &plain) : nullptr;
    if (!written) {
        if (mPrecision <= 0)
            written = std::to_chars(at, at + kMaxReal, value).ptr;
        else
            written = std::to_chars(at, at + kMaxReal, value, std::chars_format::general, mPrecision).ptr;
        plain = true;
        for (const char* c = at; c != written && plain; ++c)
            plain = *c != '.' && *c != 'e' && *c != 'E';
    }
    // Integral values keep a decimal point, so that they read as reals.
    at = written;
    if (plain) {
        *at++ = '.';
        *at++ = '0';
    }
    *at++ = '\n';
    mSize += size_t(at - begin);
    maybeFlush();
}

void GroupWriter::point(int code, const VxGePoint3d& p)
{
    real(code, p.x);
    real(code + 10, p.y);
    real(code + 20, p.z);
}

void GroupWriter::point2d(int code, double x, double y)
{
    real(code, x);
    real(code + 10, y);
}

void GroupWriter::integer(int code, int64_t value)
{
    char* const begin = room(kMaxCodeLine + 24);
    char* at = writeCode(begin, code);
    at = std::to_chars(at, at + 22, value).ptr;
    *at++ = '\n';
    mSize += size_t(at - begin);
    maybeFlush();
}

void GroupWriter::handle(int code, uint64_t value)
{
    static const char kHex[] = "0123456789ABCDEF";
    char* const begin = room(kMaxCodeLine + 18);
    char* at = writeCode(begin, code);
    char digits[16];
    size_t length = 0;
    do {
        digits[15 - length++] = kHex[value & 15];
        value >>= 4;
    } while (value);
    std::memcpy(at, digits + 16 - length, length);
    at += length;
    *at++ = '\n';
    mSize += size_t(at - begin);
    maybeFlush();
}

}  // namespace kx::dxf
