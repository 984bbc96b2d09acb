#pragma once

// Pieces shared by the reader and the writer of exchange files.

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "db/objectid.h"
#include "dxf/dxffile.h"
#include "dxf/dxfopaque.h"

namespace kx {
class VxDbDatabase;
}

namespace kx::dxf {

// Files before R2007 keep text in a code page (we read cp1252, the usual
// one) with "\U+XXXX" for characters outside it; later files are UTF-8.
std::wstring decodeText(std::string_view raw, bool utf8File);
// The same as UTF-8, for kept groups; ASCII text is returned unchanged.
std::string toUtf8Text(std::string_view raw, bool utf8File);
// Text for a file of the given kind: UTF-8, or cp1252 with "\U+XXXX" for
// the characters beyond it.
void appendEncoded(std::string& out, std::wstring_view text, bool utf8File);
void appendEncodedUtf8(std::string& out, std::string_view utf8, bool utf8File);
inline bool isUtf8Version(VxDbDxfVersion version) { return version >= VxDbDxfVersion::kR2007; }

// Data of a drawing that the host does not model, kept beside the database
// from reading to writing: header variables it does not know, and the full
// records of objects it models only in part.
struct SideData {
    std::vector<std::pair<std::string, VxDbDxfGroups>> headerExtras;
    std::unordered_map<VxDbObjectId, VxDbDxfGroups> residues;
};
// Null when the database has none. Entries of databases that are gone are
// dropped on each call.
const SideData* sideDataOf(const VxDbDatabase* database);
SideData& sideDataFor(VxDbDatabase* database);
void dropSideData(const VxDbDatabase* database);
const VxDbDxfGroups* residueOf(const SideData* side, VxDbObjectId id);

// Adds what a drawing must have and a file may lack: tables, standard
// records and dictionaries, layouts, the header's current records.
void completeDrawing(VxDbDatabase* db);

}  // namespace kx::dxf
