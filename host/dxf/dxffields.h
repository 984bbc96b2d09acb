#pragma once

// Reading and writing the described fields of database objects (db/fields.h): one engine
// for every kind that has a description.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "db/fields.h"
#include "dxf/dxffile.h"

namespace kx {
class VxRxClass;
}

namespace kx::dxf {

class GroupWriter;

// The described class that a record type names ("LINE", "3DFACE" ...); null for any other.
const VxRxClass* describedClassOfDxfName(std::string_view type);

// The name of a record as the file spells it; empty for none.
using RecordNamer = std::function<std::string(VxDbObjectId)>;

// Writes the object's fields in the kind's order, each subclass marker before its first
// field; fields of later versions and optional fields at their default are left out. Ids of
// records are written as the namer names them; with no namer, or no name, not at all. Without
// markers the groups go as they are (an object embedded in another's record). The kind's own
// groups (its writeGroups hook) follow.
void writeFields(GroupWriter& out, const VxDbObject& object, const VxDbKind& kind, VxDbDxfVersion version,
                 bool utf8File, const RecordNamer& namer = {}, bool markers = true);

struct FieldGroup {
    int code;
    std::string_view value;
    const double* number = nullptr;  // the value already parsed, when the reader did
};

// A record that follows an object's own (a VERTEX after its POLYLINE): its type, its handle
// (0: none) and its own groups, the common entity groups and subclass markers taken out.
struct SubRecord {
    std::string_view type;
    uint64_t handle = 0;
    std::vector<FieldGroup> groups;
};

// An object written as a record after its owner's: the record type, the subclass marker
// that comes before its own (null: none), the object (its kind's fields are its groups).
struct SubObject {
    const char* type;
    const char* leadingSubclass;
    const VxDbObject* object;
};

// Reads the groups of a record's own part (subclass markers among them) into a new object
// of the kind; groups no field takes go to the kind's readGroup hook. False when a group is
// not one of the kind's, a number group holds no number, or a value or the whole is
// refused: the record is then kept as it is, not modelled.
// Fields that name records are left null and listed in *names (field index, name) for the
// reader to resolve once the records are resident; without names they are refused.
struct NamedRecord {
    size_t field;
    std::wstring name;
};
bool readFields(VxDbObject& object, const VxDbKind& kind, const std::vector<FieldGroup>& groups, bool utf8File,
                std::vector<NamedRecord>* names = nullptr);
// The same through the fields' values (get, then set with its check): slower, the reference
// the direct reading above must agree with.
bool readFieldsThroughValues(VxDbObject& object, const VxDbKind& kind, const std::vector<FieldGroup>& groups,
                             bool utf8File, std::vector<NamedRecord>* names = nullptr);

}  // namespace kx::dxf
