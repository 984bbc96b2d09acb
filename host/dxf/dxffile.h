#pragma once

// Drawing files. The host stores drawings as drawing exchange files (DXF):
// it reads ASCII and binary files of R12 to R2018, and writes ASCII files of
// R2000 to R2018. Kinds the host does not model are kept and written back
// unchanged.

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "db/status.h"

namespace kx {

class VxDbDatabase;

enum class VxDbDxfVersion : uint8_t { kR12, kR13, kR14, kR2000, kR2004, kR2007, kR2010, kR2013, kR2018 };

// "AC1009" ... "AC1032".
const char* vxdbDxfVersionName(VxDbDxfVersion version);
bool vxdbDxfVersionFromName(std::string_view name, VxDbDxfVersion& version);

namespace VxDb {
// The version codes of the host's save calls. Codes between two of these
// are maintenance releases of the lower one.
enum SaveVersion : int {
    kSaveR2000 = 23,
    kSaveR2004 = 25,
    kSaveR2007 = 27,
    kSaveR2010 = 29,
    kSaveR2013 = 31,
    kSaveR2018 = 33,
    kSaveCurrent = kSaveR2018,
};
}  // namespace VxDb

// The file version a save code writes; eInvalidInput for codes of versions
// the host cannot write.
Velt::ErrorStatus vxdbDxfVersionOfSaveCode(int code, VxDbDxfVersion& version);

// What a read found: the version, where and why it failed, and what it had
// to repair or leave out.
struct VxDbDxfReadInfo {
    VxDbDxfVersion version = VxDbDxfVersion::kR12;
    bool binary = false;
    size_t position = 0;  // line (ASCII) or byte offset (binary) of a failure
    std::string message;
    size_t entities = 0;
    size_t opaqueEntities = 0;
    size_t objects = 0;
    size_t opaqueObjects = 0;
    size_t remappedHandles = 0;  // objects that could not keep their handle
    std::vector<std::string> warnings;  // the first ones only
};

// Reads drawing-exchange data into a database that holds no objects yet
// (one made without its default drawing); eInvalidInput for one that does.
// The data is checked as a whole before anything is added, so a failure
// (eBadFileFormat: not a drawing exchange file, eEndOfFile: cut short,
// eInvalidDxfCode: garbled) leaves the database as it was.
Velt::ErrorStatus vxdbReadDxf(VxDbDatabase* database, std::string_view data, VxDbDxfReadInfo* info = nullptr);

// Writes the whole database. precision 0 writes every real exactly (the
// shortest text that reads back to the same value); 1 ... 16 that many
// significant digits.
Velt::ErrorStatus vxdbWriteDxf(VxDbDatabase* database, std::string& out,
                               VxDbDxfVersion version = VxDbDxfVersion::kR2018, int precision = 0);
Velt::ErrorStatus vxdbWriteDxf(VxDbDatabase* database, std::FILE* file,
                               VxDbDxfVersion version = VxDbDxfVersion::kR2018, int precision = 0);

// ---- files ----

// Reads a drawing file (eFileNotFound, eFileAccessErr, or a status of
// vxdbReadDxf). The share mode, code-page flag and password have no use for
// exchange files and are accepted as given. The database keeps the name.
Velt::ErrorStatus vxdbReadDwgFile(VxDbDatabase* database, const wchar_t* fileName, int shareMode = 0x20,
                                  bool allowCPConversion = false, const wchar_t* password = nullptr);
// The same, writing what the read found to a log file when one is named.
Velt::ErrorStatus vxdbDxfIn(VxDbDatabase* database, const wchar_t* fileName, const wchar_t* logFileName = nullptr);
// Writes an exchange file at a save version code; precision as above, and
// 16 or more is exact. The file is replaced only when the whole drawing was
// written.
Velt::ErrorStatus vxdbDxfOut(VxDbDatabase* database, const wchar_t* fileName, int precision = 16,
                             int version = VxDb::kSaveCurrent, bool saveThumbnailImage = false);
// Saves the drawing. The file is written beside the target under a
// temporary name and renamed into place; with bakAndRename the previous file
// is kept as "<name>.bak". On success the database takes the new name.
Velt::ErrorStatus vxdbSaveAs(VxDbDatabase* database, const wchar_t* fileName, bool bakAndRename = true,
                             int version = VxDb::kSaveCurrent, const void* securityParams = nullptr);

}  // namespace kx
