// The group-code layer: reading ASCII and binary groups without trusting a
// length from the file, and writing reals exactly or to a precision.

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "dxf/dxfstream.h"

using namespace kx;
using namespace kx::dxf;

namespace {

// A binary file: the sentinel, then groups with two-byte codes.
class BinaryBuilder {
public:
    BinaryBuilder() { mData.assign("AutoCAD Binary DXF\r\n\x1a\0", 22); }
    BinaryBuilder& code(int c)
    {
        mData.push_back(char(c & 0xFF));
        mData.push_back(char((c >> 8) & 0xFF));
        return *this;
    }
    BinaryBuilder& text(int c, const char* value)
    {
        code(c);
        mData.append(value, std::strlen(value) + 1);
        return *this;
    }
    template <class T>
    BinaryBuilder& raw(int c, T value)
    {
        code(c);
        mData.append(reinterpret_cast<const char*>(&value), sizeof(value));
        return *this;
    }
    BinaryBuilder& bytes(std::string_view value)
    {
        mData.append(value);
        return *this;
    }
    const std::string& data() const { return mData; }

private:
    std::string mData;
};

}  // namespace

TEST(DxfStream, AsciiGroupsWithBlanksAndLineEnds)
{
    const std::string text = "\xEF\xBB\xBF  0\r\nSECTION\r\n  2\nHEADER\n 10\n  1.5 \n999\n  keep blanks  \n290\n1\n";
    GroupReader in(text);
    ASSERT_TRUE(in.next());
    EXPECT_EQ(in.code(), 0);
    EXPECT_EQ(in.value(), "SECTION");
    ASSERT_TRUE(in.next());
    EXPECT_EQ(in.value(), "HEADER");
    ASSERT_TRUE(in.next());
    EXPECT_EQ(in.code(), 10);
    double v = 0;
    EXPECT_TRUE(in.toDouble(v));
    EXPECT_EQ(v, 1.5);
    EXPECT_EQ(in.position(), 5u);
    in.pushBack();
    ASSERT_TRUE(in.next());
    EXPECT_EQ(in.code(), 10);
    ASSERT_TRUE(in.next());
    EXPECT_EQ(in.value(), "  keep blanks  ");  // text keeps its blanks
    EXPECT_EQ(in.trimmedValue(), "keep blanks");
    ASSERT_TRUE(in.next());
    EXPECT_FALSE(in.next());
    EXPECT_FALSE(in.failed());
}

TEST(DxfStream, AsciiErrorsTellWhere)
{
    struct Case {
        const char* text;
        Velt::ErrorStatus status;
        size_t line;
    };
    const Case cases[] = {
        {"0\nSECTION\nten\nx\n", Velt::eInvalidDxfCode, 3},
        {"0\nSECTION\n1072\nx\n", Velt::eInvalidDxfCode, 3},
        {"0\nSECTION\n-1\nx\n", Velt::eInvalidDxfCode, 3},
        {"0\nSECTION\n 1 0\nx\n", Velt::eInvalidDxfCode, 3},
        {"0\nSECTION\n+5\nx\n", Velt::eInvalidDxfCode, 3},
        {"0\nSECTION\n99999999999\nx\n", Velt::eInvalidDxfCode, 3},
        {"0\nSECTION\n \nx\n", Velt::eInvalidDxfCode, 3},
        {"0\nSECTION\n10", Velt::eEndOfFile, 3},
    };
    for (const Case& c : cases) {
        GroupReader in(c.text);
        while (in.next()) {
        }
        EXPECT_EQ(in.status(), c.status) << c.text;
        EXPECT_EQ(in.position(), c.line) << c.text;
        EXPECT_NE(in.message().find("line " + std::to_string(c.line)), std::string::npos);
        EXPECT_FALSE(in.next());  // a failed reader stays failed
    }
}

TEST(DxfStream, LinesOfEveryLength)
{
    // Line ends found a word at a time: every length, and every place of the end in a word.
    std::string text;
    for (size_t length = 0; length < 150; ++length)
        text += "  1\n" + std::string(length, char('a' + length % 26)) + (length % 3 ? "\n" : "\r\n");
    text += "  1\nlast";  // no line end at all
    GroupReader in(text);
    for (size_t length = 0; length < 150; ++length) {
        ASSERT_TRUE(in.next()) << length;
        ASSERT_EQ(in.value(), std::string(length, char('a' + length % 26)));
    }
    ASSERT_TRUE(in.next());
    EXPECT_EQ(in.value(), "last");
    EXPECT_FALSE(in.next());
    EXPECT_FALSE(in.failed());
}

TEST(DxfStream, NumbersTravelWithTheirGroups)
{
    // Codes with leading zeros and tabs; a number group's value parsed once, text groups none.
    GroupReader in("00010\n 1.5 \n\t1\t\n2.5\n 70\n007\n1071\n-12\n  5\n1F\n");
    ASSERT_TRUE(in.next());
    EXPECT_EQ(in.code(), 10);
    ASSERT_TRUE(in.hasNumber());
    EXPECT_EQ(in.number(), 1.5);
    ASSERT_TRUE(in.next());
    EXPECT_EQ(in.code(), 1);
    EXPECT_FALSE(in.hasNumber());
    EXPECT_EQ(in.value(), "2.5");
    ASSERT_TRUE(in.next());
    EXPECT_TRUE(in.hasNumber());
    EXPECT_EQ(in.number(), 7.0);
    ASSERT_TRUE(in.next());
    EXPECT_EQ(in.number(), -12.0);
    ASSERT_TRUE(in.next());
    EXPECT_FALSE(in.hasNumber());  // a handle is text
    EXPECT_TRUE(in.valueInData());
    EXPECT_FALSE(in.next());
    EXPECT_FALSE(in.failed()) << in.message();

    // Binary numbers come as text made by the reader, their number beside it.
    const std::string binary = BinaryBuilder().raw(40, 0.1).text(1, "x").raw<int16_t>(70, -3).data();
    GroupReader bin(binary);
    ASSERT_TRUE(bin.next());
    EXPECT_FALSE(bin.valueInData());
    EXPECT_EQ(bin.number(), 0.1);
    ASSERT_TRUE(bin.next());
    EXPECT_TRUE(bin.valueInData());
    EXPECT_FALSE(bin.hasNumber());
    ASSERT_TRUE(bin.next());
    EXPECT_EQ(bin.number(), -3.0);
    EXPECT_EQ(bin.value(), "-3");
}

TEST(DxfStream, BinaryGroupsAndLengthsNotTrusted)
{
    const std::string good = BinaryBuilder()
                                 .text(0, "SECTION")
                                 .raw(10, 2.25)
                                 .raw<int16_t>(70, -3)
                                 .raw<int32_t>(90, 70000)
                                 .raw<int64_t>(160, int64_t(1) << 40)
                                 .raw<uint8_t>(290, 1)
                                 .code(310)
                                 .bytes(std::string("\x03\x01\xAB\xFF", 4))
                                 .text(5, "2F")
                                 .data();
    GroupReader in(good);
    ASSERT_TRUE(in.isBinary());
    std::vector<std::string> values;
    while (in.next())
        values.push_back(std::to_string(in.code()) + "=" + std::string(in.value()));
    EXPECT_FALSE(in.failed()) << in.message();
    EXPECT_EQ(values, (std::vector<std::string>{"0=SECTION", "10=2.25", "70=-3", "90=70000", "160=1099511627776",
                                                "290=1", "310=01ABFF", "5=2F"}));

    // A chunk longer than what is left, a number cut short, a text without
    // its end, a code beyond the last one.
    const std::string broken[] = {
        BinaryBuilder().text(0, "SECTION").code(310).bytes("\xFF\x01\x02").data(),
        BinaryBuilder().text(0, "SECTION").code(10).bytes("\x01\x02\x03").data(),
        BinaryBuilder().text(0, "SECTION").code(1).bytes("no end").data(),
        BinaryBuilder().text(0, "SECTION").code(2000).data(),
        BinaryBuilder().text(0, "SECTION").bytes("\x0a").data(),
    };
    for (const std::string& data : broken) {
        GroupReader reader(data);
        while (reader.next()) {
        }
        EXPECT_TRUE(reader.failed());
        EXPECT_NE(reader.message().find("byte"), std::string::npos);
    }
    // Binary files of R12 and before: one byte per code, 255 escapes a wider one.
    std::string old("AutoCAD Binary DXF\r\n\x1a\0", 22);
    old += std::string("\0SECTION\0\xFF\xE8\x03text\0", 17);
    GroupReader oldReader(old);
    ASSERT_TRUE(oldReader.next());
    EXPECT_EQ(oldReader.value(), "SECTION");
    ASSERT_TRUE(oldReader.next());
    EXPECT_EQ(oldReader.code(), 1000);
    EXPECT_EQ(oldReader.value(), "text");
}

TEST(DxfStream, NumbersParseStrictly)
{
    double d = 0;
    int64_t i = 0;
    uint64_t h = 0;
    EXPECT_TRUE(parseDouble(" -1.5e3 ", d));
    EXPECT_EQ(d, -1500.0);
    EXPECT_TRUE(parseDouble("+2", d));
    for (const char* bad : {"", "1.5x", "nan", "inf", "1e999", "--1"})
        EXPECT_FALSE(parseDouble(bad, d)) << bad;
    EXPECT_TRUE(parseInt("   42", i));
    EXPECT_EQ(i, 42);
    EXPECT_TRUE(parseInt("3.0", i));  // some writers put reals where integers go
    EXPECT_EQ(i, 3);
    EXPECT_FALSE(parseInt("3.5", i));
    EXPECT_FALSE(parseInt("1e300", i));
    EXPECT_TRUE(parseHandle("2aF", h));
    EXPECT_EQ(h, 0x2AFu);
    EXPECT_FALSE(parseHandle("12345678901234567", h));
    EXPECT_FALSE(parseHandle("G1", h));
    EXPECT_EQ(valueKindOf(290), ValueKind::kBool);
    EXPECT_EQ(valueKindOf(1071), ValueKind::kInt32);
    EXPECT_TRUE(isReferenceCode(330) && isReferenceCode(390) && isReferenceCode(481));
    EXPECT_FALSE(isReferenceCode(5) || isReferenceCode(1005) || isReferenceCode(370));
}

TEST(DxfStream, DecimalsReadAsTheGeneralParserReadsThem)
{
    // Short decimals take a quicker way than long ones: both must give the same bits.
    std::mt19937_64 random(15);
    for (int i = 0; i < 200000; ++i) {
        const int digits = 1 + int(random() % 17);
        std::string text = random() % 2 ? "-" : "";
        for (int d = 0; d < digits; ++d)
            text += char('0' + random() % 10);
        if (random() % 4)
            text.insert(text.size() - size_t(random() % digits), ".");
        double general = 0.0;
        ASSERT_TRUE(std::from_chars(text.data(), text.data() + text.size(), general).ec == std::errc()) << text;
        double ours = 0.0;
        ASSERT_TRUE(parseDouble(text, ours)) << text;
        ASSERT_EQ(std::memcmp(&ours, &general, sizeof(double)), 0) << text;
    }
    double v = 0.0;
    EXPECT_TRUE(parseDouble("-.5", v) && v == -0.5);
    EXPECT_TRUE(parseDouble("7.", v) && v == 7.0);
    EXPECT_TRUE(parseDouble("-0", v) && std::signbit(v));
    EXPECT_FALSE(parseDouble(".", v) || parseDouble("-", v) || parseDouble("1..2", v) || parseDouble("1.2.3", v));
}

// A number alone on its line is parsed while its line's end is found; any other line takes
// the general way. Both give the same value, the same text and the same line count, whatever
// ends the line or the file. Handles read as std::from_chars reads them, stray digits included.
TEST(DxfStream, NumbersReadInTheWalkOverTheirLine)
{
    const char* const values[] = {"12.5",  "-0",  "7.",   "-.5",  ".",     "-",      "1..2", "1234567890123456",
                                  "1e3",   " 4",  "4 ",   "+2",   "2x",    "0.001",  "",     "99999999999999.9",
                                  "10.901000000000002", "-1.5E-3", "1e400", "nan", "inf", "1e5x", "0x10"};
    const char* const ends[] = {"\n", "\r\n", "\r", "\r\r\n", ""};
    for (const char* value : values) {
        for (const char* end : ends) {
            const std::string file = std::string(" 10\n") + value + end + (*end ? "  0\nEOF\n" : "");
            SCOPED_TRACE(file);
            if (!*value && !*end)
                continue;  // no value line at all
            GroupReader reader(file);
            double expected = 0.0;
            std::string_view line = std::string_view(file).substr(4);
            line = line.substr(0, std::min(line.find('\n'), line.size()));
            if (!line.empty() && line.back() == '\r')
                line.remove_suffix(1);
            if (!parseDouble(line, expected)) {
                EXPECT_FALSE(reader.next());
                EXPECT_EQ(reader.status(), Velt::eInvalidDxfCode);
                continue;
            }
            ASSERT_TRUE(reader.next()) << reader.message();
            EXPECT_EQ(reader.code(), 10);
            EXPECT_EQ(reader.value(), line);
            ASSERT_TRUE(reader.hasNumber());
            const double number = reader.number();
            EXPECT_EQ(std::memcmp(&expected, &number, sizeof(double)), 0);
            if (*end) {
                ASSERT_TRUE(reader.next());
                EXPECT_EQ(reader.code(), 0);
                EXPECT_EQ(reader.value(), "EOF");
                EXPECT_EQ(reader.position(), 3u);
            }
            EXPECT_FALSE(reader.next());
        }
    }
    struct Handle {
        const char* text;
        bool ok;
        uint64_t value;  // 7: left as it was
    };
    for (const Handle& h : {Handle{"2aF", true, 0x2AF}, Handle{"ffffffffffffffff", true, ~uint64_t(0)},
                            Handle{" 1A ", true, 0x1A}, Handle{"1G", false, 1}, Handle{"0x1F", false, 0},
                            Handle{"G1", false, 7}, Handle{"-1", false, 7}, Handle{"+1", false, 7},
                            Handle{"", false, 7}, Handle{"12345678901234567", false, 7}}) {
        uint64_t value = 7;
        EXPECT_EQ(parseHandle(h.text, value), h.ok) << h.text;
        EXPECT_EQ(value, h.value) << h.text;
    }
}

// Reals of a few decimals take a quicker way out than others: whatever it writes must be
// what the general routine writes, byte for byte, and what it declines that routine gets.
TEST(DxfStream, ShortDecimalsWriteAsTheGeneralRoutineWritesThem)
{
    std::mt19937_64 random(15);
    auto same = [](double value) {
        char ours[40] = {}, general[40] = {};
        char* end = writeShortDecimal(ours, value);
        if (!end)
            return true;  // declined: the general routine writes it
        const char* generalEnd = std::to_chars(general, general + sizeof(general), value).ptr;
        return std::string_view(ours, size_t(end - ours)) == std::string_view(general, size_t(generalEnd - general));
    };
    size_t taken = 0;
    for (int i = 0; i < 200000; ++i) {
        // Decimals as text (most short), sums and products as a drawing makes them, any bits.
        std::string text = random() % 2 ? "-" : "";
        const int digits = 1 + int(random() % 16);
        for (int d = 0; d < digits; ++d)
            text += char('0' + random() % 10);
        text.insert(text.size() - size_t(random() % digits), ".");
        double decimal = 0.0;
        std::from_chars(text.data(), text.data() + text.size(), decimal);
        const double made = double(random() % 100000) * 0.001 + double(random() % 1000) * 0.25;
        uint64_t bits = random();
        double any = 0.0;
        std::memcpy(&any, &bits, sizeof any);
        for (double value : {decimal, made, any, decimal * 1e-6, std::nextafter(decimal, 0.0)}) {
            ASSERT_TRUE(same(value)) << text << " " << value;
            char scratch[40];
            taken += writeShortDecimal(scratch, value) != nullptr;
        }
    }
    EXPECT_GT(taken, 200000u);  // the quick way is taken for most of them
    // Where the notation changes, and at the ends of the range.
    for (double value : {0.001, 0.0001, 0.00015, 0.000123, 0.0000123, 0.0012, 1e-5, 100000.0, 120000.0, 123000.0, 1e6,
                         1234567.0, 1e13, 99999999999999.0, 1e14, 0.5, 0.1, 0.100000001, 123456.000001, -2.0,
                         std::nextafter(3.0, 0.0), 1125899906842623.0, 0.1 + 0.2, 5e-324, 1.7976931348623157e308}) {
        EXPECT_TRUE(same(value)) << value;
        EXPECT_TRUE(same(-value)) << -value;
    }
    char out[40];
    char* end = writeShortDecimal(out, -10.25);
    ASSERT_TRUE(end);
    EXPECT_EQ(std::string_view(out, size_t(end - out)), "-10.25");
}

TEST(DxfStream, WriterFormatsCodesRealsAndHandles)
{
    GroupWriter exact(0);
    exact.text(0, "LINE");
    exact.real(10, 0.1);
    exact.real(20, 100.0);
    exact.real(30, -0.0);
    exact.real(40, 1.0 / 3.0);
    exact.real(41, 1e-300);
    exact.integer(1071, -2147483647);
    exact.handle(5, 0xABCDEF);
    EXPECT_EQ(exact.buffer(), "  0\nLINE\n 10\n0.1\n 20\n100.0\n 30\n0.0\n 40\n0.3333333333333333\n 41\n1e-300\n"
                              "1071\n-2147483647\n  5\nABCDEF\n");
    // Every real reads back exactly.
    GroupReader in(exact.buffer());
    while (in.next()) {
        double v = 0;
        if (in.code() == 40) {
            ASSERT_TRUE(in.toDouble(v));
            EXPECT_EQ(v, 1.0 / 3.0);
        }
    }
    // A line end inside a value (binary files can hold one) cannot break the line.
    GroupWriter control(0);
    control.text(1, "two\nlines\r\x01\tend");
    EXPECT_EQ(control.buffer(), "  1\ntwo^Jlines^M^A\tend\n");

    GroupWriter rounded(4);
    rounded.real(40, 1.0 / 3.0);
    rounded.real(41, 123456.0);
    EXPECT_EQ(rounded.buffer(), " 40\n0.3333\n 41\n1.235e+05\n");
}

TEST(DxfStream, WriterGoesOnAfterItsTextWasTaken)
{
    GroupWriter out(0);
    out.text(0, "A");
    std::string taken;
    out.buffer().swap(taken);
    out.buffer().clear();
    out.integer(70, 5);
    EXPECT_EQ(taken, "  0\nA\n");
    EXPECT_EQ(out.buffer(), " 70\n5\n");
    // What the caller adds stays, and the writer continues after it.
    out.buffer() += "999\nnote\n";
    out.real(40, 2.0);
    out.handle(5, 0);
    EXPECT_EQ(out.buffer(), " 70\n5\n999\nnote\n 40\n2.0\n  5\n0\n");
}

TEST(DxfStream, WriterToFileMatchesWriterToText)
{
    // Enough groups for several flushes, with texts longer than a flush's slack.
    auto writeAll = [](GroupWriter& out) {
        const std::string longText(5000, 'x');
        for (int i = 0; i < 60000; ++i) {
            out.real(10 + i % 3 * 10, i * 0.001);
            out.integer(i % 1072, -i);
            out.handle(5, uint64_t(i) * 0x10001);
            out.text(1, i % 997 == 0 ? std::string_view(longText) : std::string_view("a\nb"));
        }
    };
    GroupWriter inMemory(0);
    writeAll(inMemory);
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    {
        GroupWriter toFile(0);
        toFile.setFile(file);
        writeAll(toFile);
        EXPECT_TRUE(toFile.flush());
    }
    std::string written(size_t(std::ftell(file)), '\0');
    std::rewind(file);
    ASSERT_EQ(std::fread(written.data(), 1, written.size(), file), written.size());
    std::fclose(file);
    EXPECT_GT(written.size(), size_t(2) << 20);
    EXPECT_TRUE(written == inMemory.buffer());
    EXPECT_NE(written.find("  1\na^Jb\n"), std::string::npos);
}
