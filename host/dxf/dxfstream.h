#pragma once

// The group-code layer of drawing exchange files: a reader that turns ASCII
// or binary files into (code, value) pairs, and a writer of ASCII files.
// Neither knows anything about the database.

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "db/status.h"
#include "ge/point.h"

namespace kx::dxf {

// What a group code carries; decides how binary files store the value and
// how text is parsed.
enum class ValueKind : uint8_t { kString, kDouble, kInt16, kInt32, kInt64, kBool, kHandle, kBinary };
ValueKind valueKindOf(int code);
// Codes whose value is a handle of another object.
bool isReferenceCode(int code);
// The highest group code a file may use.
constexpr int kMaxGroupCode = 1071;

// Reads groups from a whole file held in memory (the caller keeps it alive).
// Every value is handed out as text; binary files have their numbers turned
// into text. A malformed group stops the reader with a status, a message and
// the line (ASCII) or byte offset (binary) where it went wrong.
class GroupReader {
public:
    explicit GroupReader(std::string_view data);

    bool isBinary() const { return mBinary; }
    // Moves to the next group; false at the end of the data or on an error.
    bool next();
    // Makes the next call of next() hand out the current group again.
    void pushBack() { mPushedBack = true; }

    int code() const { return mCode; }
    std::string_view value() const { return mValue; }
    // The number of a group whose code holds one, parsed once while reading.
    bool hasNumber() const { return mHasNumber; }
    double number() const { return mNumber; }
    // Whether value() points into the data (it stays valid as long as the
    // data), not into the reader's scratch (valid until the next group).
    bool valueInData() const { return mValueInData; }
    // The value without surrounding blanks, as numbers are written.
    std::string_view trimmedValue() const;

    // Typed reads of the current value; false when the text is not one.
    bool toDouble(double& out) const;
    bool toInt(int64_t& out) const;
    bool toHandle(uint64_t& out) const;

    // Where the current group starts: its line (1-based) in an ASCII file,
    // its byte offset in a binary one.
    size_t position() const { return mGroupPosition; }
    bool atEnd() const { return mPos >= mData.size() && !mPushedBack; }

    bool failed() const { return mStatus != Velt::eOk; }
    Velt::ErrorStatus status() const { return mStatus; }
    const std::string& message() const { return mMessage; }
    // Stops reading with a status; the first failure is the one kept.
    bool fail(Velt::ErrorStatus status, std::string_view what);

private:
    bool nextAscii();
    bool readValue(int code);  // the value line of an ASCII group of that code
    bool nextBinary();
    bool readLine(std::string_view& line);

    std::string_view mData;
    size_t mPos = 0;
    size_t mLine = 0;
    size_t mGroupPosition = 0;
    int mCode = 0;
    std::string_view mValue;
    double mNumber = 0.0;
    bool mHasNumber = false;
    bool mValueInData = true;
    std::string mScratch;  // binary values turned into text
    bool mBinary = false;
    bool mOneByteCodes = false;  // binary files of R12 and before
    bool mPushedBack = false;
    Velt::ErrorStatus mStatus = Velt::eOk;
    std::string mMessage;
};

// Writes a real of a few decimals in its shortest form, as std::to_chars does, and answers
// the end; null, writing nothing, for any other value. Up to 24 characters.
char* writeShortDecimal(char* at, double value);

// Parses a number the way the reader does (blanks around it allowed).
bool parseDouble(std::string_view text, double& out);
bool parseInt(std::string_view text, int64_t& out);
bool parseHandle(std::string_view text, uint64_t& out);

// Writes groups as ASCII text into a buffer that is flushed to a file in
// large pieces. Real values are written with the shortest text that reads
// back to the same value, or with a given number of significant digits.
class GroupWriter {
public:
    // precision 0: exact; 1 ... 17: that many significant digits.
    explicit GroupWriter(int precision = 0);
    ~GroupWriter();
    GroupWriter(const GroupWriter&) = delete;
    GroupWriter& operator=(const GroupWriter&) = delete;

    // Sends the output to a file from now on (the writer does not close it).
    void setFile(std::FILE* file) { mFile = file; }
    // Text produced so far and not yet flushed. The caller may change it; the
    // writer goes on after whatever it holds at the next group.
    std::string& buffer();
    bool flush();
    bool ok() const { return !mFileError; }

    void text(int code, std::string_view value);
    void real(int code, double value);
    void point(int code, const VxGePoint3d& p);
    void point2d(int code, double x, double y);
    void integer(int code, int64_t value);
    void handle(int code, uint64_t value);

private:
    // Room for n more characters at the end of the text; the caller then
    // advances mSize by what it wrote.
    char* room(size_t n)
    {
        if (mExposed || mSize + n > mBuffer.size()) [[unlikely]]
            return grow(n);
        return mBuffer.data() + mSize;
    }
    char* grow(size_t n);
    char* writeCode(char* at, int code);
    void maybeFlush()
    {
        if (mFile && mSize >= kFlushSize)
            flush();
    }
    static constexpr size_t kFlushSize = size_t(1) << 20;

    // The text is mBuffer's first mSize characters; the rest is room ahead.
    std::string mBuffer;
    size_t mSize = 0;
    bool mExposed = false;  // buffer() handed out the string itself
    std::FILE* mFile = nullptr;
    int mPrecision = 0;
    bool mFileError = false;
};

}  // namespace kx::dxf
