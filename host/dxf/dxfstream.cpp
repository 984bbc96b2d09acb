#include "dxf/dxfstream.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace kx::dxf {

ValueKind valueKindOf(int code)
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

bool isReferenceCode(int code)
{
    return (code >= 320 && code <= 369) || (code >= 390 && code <= 399) || code == 480 || code == 481;
}

namespace {

std::string_view trim(std::string_view text)
{
    size_t begin = 0;
    size_t end = text.size();
    while (begin < end && (text[begin] == ' ' || text[begin] == '\t'))
        ++begin;
    while (end > begin && (text[end - 1] == ' ' || text[end - 1] == '\t' || text[end - 1] == '\r'))
        --end;
    return text.substr(begin, end - begin);
}

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
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, out, 16);
    return ec == std::errc() && ptr == end;
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
    const void* newline = std::memchr(begin, '\n', left);
    size_t length = newline ? size_t(static_cast<const char*>(newline) - begin) : left;
    mPos += newline ? length + 1 : length;
    if (length > 0 && begin[length - 1] == '\r')
        --length;
    line = std::string_view(begin, length);
    ++mLine;
    return true;
}

bool GroupReader::nextAscii()
{
    std::string_view codeLine;
    if (!readLine(codeLine))
        return false;
    mGroupPosition = mLine;
    // A last line of blanks is no group.
    std::string_view codeText = trim(codeLine);
    if (codeText.empty() && mPos >= mData.size())
        return false;
    int code = 0;
    const char* end = codeText.data() + codeText.size();
    auto [ptr, ec] = std::from_chars(codeText.data(), end, code);
    if (codeText.empty() || ec != std::errc() || ptr != end || code < 0 || code > kMaxGroupCode)
        return fail(Velt::eInvalidDxfCode, "not a group code");
    if (!readLine(mValue))
        return fail(Velt::eEndOfFile, "the file ends inside a group");
    // A number that is none would otherwise be taken as 0 further up.
    if (const ValueKind kind = valueKindOf(code); kind != ValueKind::kString && kind != ValueKind::kHandle &&
                                                   kind != ValueKind::kBinary) {
        double number = 0.0;
        if (!parseDouble(mValue, number)) {
            mGroupPosition = mLine;
            return fail(Velt::eInvalidDxfCode, "not a number");
        }
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
        mPos += 1 + length;
        return true;
    }
    }
    return fail(Velt::eInvalidDxfCode, "not a group code");
}

// ---- writing ----

GroupWriter::GroupWriter(int precision) : mPrecision(precision) { mBuffer.reserve(kFlushSize + 4096); }

GroupWriter::~GroupWriter() { flush(); }

bool GroupWriter::flush()
{
    if (!mFile || mBuffer.empty())
        return !mFileError;
    if (std::fwrite(mBuffer.data(), 1, mBuffer.size(), mFile) != mBuffer.size())
        mFileError = true;
    mBuffer.clear();
    return !mFileError;
}

void GroupWriter::writeCode(int code)
{
    char digits[8];
    auto [ptr, ec] = std::to_chars(digits, digits + sizeof(digits), code);
    (void)ec;
    const size_t length = size_t(ptr - digits);
    // Codes stand right-aligned in three columns, as most programs write them.
    for (size_t i = length; i < 3; ++i)
        mBuffer.push_back(' ');
    mBuffer.append(digits, length);
    mBuffer.push_back('\n');
}

void GroupWriter::text(int code, std::string_view value)
{
    writeCode(code);
    // A line cannot hold a line end: control characters (which binary files
    // may carry) go in the format's caret notation, "^J" for a line feed.
    const bool plain = std::find_if(value.begin(), value.end(), [](char c) {
                           return static_cast<unsigned char>(c) < 0x20 && c != '\t';
                       }) == value.end();
    if (plain) {
        mBuffer.append(value);
    } else {
        for (char c : value) {
            if (static_cast<unsigned char>(c) < 0x20 && c != '\t') {
                mBuffer.push_back('^');
                mBuffer.push_back(char(c + 64));
            } else {
                mBuffer.push_back(c);
            }
        }
    }
    mBuffer.push_back('\n');
    maybeFlush();
}

void GroupWriter::real(int code, double value)
{
    writeCode(code);
    if (!std::isfinite(value))
        value = 0.0;
    if (value == 0.0)
        value = 0.0;  // no "-0"
    char digits[40];
    std::to_chars_result result;
    if (mPrecision <= 0)
        result = std::to_chars(digits, digits + sizeof(digits), value);
    else
        result = std::to_chars(digits, digits + sizeof(digits), value, std::chars_format::general, mPrecision);
    std::string_view text(digits, size_t(result.ptr - digits));
    mBuffer.append(text);
    // Integral values keep a decimal point, so that they read as reals.
    if (text.find_first_of(".eE") == std::string_view::npos)
        mBuffer.append(".0");
    mBuffer.push_back('\n');
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
    writeCode(code);
    char digits[24];
    auto [ptr, ec] = std::to_chars(digits, digits + sizeof(digits), value);
    (void)ec;
    mBuffer.append(digits, size_t(ptr - digits));
    mBuffer.push_back('\n');
    maybeFlush();
}

void GroupWriter::handle(int code, uint64_t value)
{
    writeCode(code);
    char digits[24];
    auto [ptr, ec] = std::to_chars(digits, digits + sizeof(digits), value, 16);
    (void)ec;
    for (char* c = digits; c != ptr; ++c) {
        if (*c >= 'a' && *c <= 'f')
            *c = char(*c - 'a' + 'A');
    }
    mBuffer.append(digits, size_t(ptr - digits));
    mBuffer.push_back('\n');
    maybeFlush();
}

}  // namespace kx::dxf
