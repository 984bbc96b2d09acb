#include "dxf/dxffields.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <unordered_map>

#include "dxf/dxfinternal.h"
#include "dxf/dxfstream.h"
#include "ge/matrix.h"
#include "rx/rxobject.h"

namespace kx::dxf {

namespace {

// The object coordinate system of a normal (the arbitrary-axis rule), both ways.
VxGePoint3d toOcs(const VxGePoint3d& p, const VxGeVector3d& normal)
{
    if (normal.x == 0.0 && normal.y == 0.0 && normal.z > 0.0)
        return p;
    VxGeMatrix3d m;
    m.setToWorldToPlane(normal);
    VxGePoint3d out = p;
    return out.transformBy(m);
}

VxGePoint3d fromOcs(const VxGePoint3d& p, const VxGeVector3d& normal)
{
    if (normal.x == 0.0 && normal.y == 0.0 && normal.z > 0.0)
        return p;
    VxGeMatrix3d m;
    m.setToPlaneToWorld(normal);
    VxGePoint3d out = p;
    return out.transformBy(m);
}

}  // namespace

const VxRxClass* describedClassOfDxfName(std::string_view type)
{
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    using ByName = std::unordered_map<std::string, const VxRxClass*, Hash, std::equal_to<>>;
    static const ByName classes = [] {
        ByName byName;
        VxRxDictionary* dictionary = vxrxClassDictionary();
        for (const std::wstring& key : dictionary->keys()) {
            const VxRxClass* cls = VxRxClass::cast(dictionary->at(key.c_str()));
            if (!cls || !cls->kind() || !*cls->dxfName())
                continue;
            std::string name;
            for (const wchar_t* c = cls->dxfName(); *c; ++c)
                name += char(*c);
            // Kinds that share a record type (a grid of insertions is an INSERT too): the
            // most general one names it; the reader picks the other by its groups.
            auto [at, added] = byName.emplace(std::move(name), cls);
            if (!added && at->second->isDerivedFrom(cls))
                at->second = cls;
        }
        return byName;
    }();
    auto it = classes.find(type);
    return it == classes.end() ? nullptr : it->second;
}

namespace {

// Whether a field's subclass marker is not the one last written; mostly the same literal, so
// its address answers before its text is compared.
bool differentMarker(const char* marker, const char* last)
{
    return marker != last && (!last || std::strcmp(marker, last) != 0);
}

}  // namespace

void writeFields(GroupWriter& out, const VxDbObject& object, const VxDbKind& kind, VxDbDxfVersion version,
                 bool utf8File, const RecordNamer& namer, bool markers)
{
    const auto& fields = kind.fields();
    VxGeVector3d normal = VxGeVector3d::kZAxis;
    if (kind.normalIndex() >= 0)
        normal = std::get<VxGeVector3d>(fields[size_t(kind.normalIndex())]->get(object));
    const char* subclass = nullptr;
    std::string text;
    for (const VxDbField* field : fields) {
        if (field->code == 0 || version < kxdxf::sinceOf(field->flags))
            continue;  // kept in memory only, or not in files this old
        const char* marker = field->subclass ? field->subclass : kind.subclass();
        if (const auto before = kind.fileHooks().writeGroupsBefore; before && field->code != 0) {
            if (markers && marker && differentMarker(marker, subclass)) {
                out.text(100, marker);
                subclass = marker;
            }
            before(object, field->code, out, version, utf8File);
        }
        if (markers && marker && (field->flags & kxdxf::kMarkerAgain)) {
            out.text(100, marker);
            subclass = marker;
        }
        const VxDbFieldValue value = field->get(object);
        if ((field->flags & kxdxf::kOptional) && vxdbSameFieldValue(value, field->defaultValue))
            continue;
        std::string recordName;
        if (const VxDbObjectId* id = std::get_if<VxDbObjectId>(&value)) {
            if (!namer || id->isNull())
                continue;
            recordName = namer(*id);
            if (recordName.empty())
                continue;
        }
        if (markers && marker && differentMarker(marker, subclass)) {
            out.text(100, marker);
            subclass = marker;
        }
        std::visit(
            [&](const auto& v) {
                using T = std::decay_t<decltype(v)>;
                if constexpr (std::is_same_v<T, double>) {
                    out.real(field->code, (field->flags & kxdxf::kDegrees) ? vxgeRadiansToDegrees(v) : v);
                } else if constexpr (std::is_same_v<T, int16_t> || std::is_same_v<T, int32_t>) {
                    out.integer(field->code, v);
                } else if constexpr (std::is_same_v<T, bool>) {
                    out.integer(field->code, v ? 1 : 0);
                } else if constexpr (std::is_same_v<T, VxGePoint3d>) {
                    out.point(field->code, (field->flags & kxdxf::kOcs) ? toOcs(v, normal) : v);
                } else if constexpr (std::is_same_v<T, VxGeVector3d>) {
                    out.point(field->code, VxGePoint3d::kOrigin + v);
                } else if constexpr (std::is_same_v<T, VxDbObjectId>) {
                    out.text(field->code, recordName);
                } else {
                    text.clear();
                    appendEncoded(text, v, utf8File);
                    if (field->flags & kxdxf::kChunked) {
                        // Whole characters of the encoded text: never split a UTF-8 sequence.
                        std::string_view rest = text;
                        while (rest.size() > 250) {
                            size_t cut = 250;
                            while (cut > 0 && (uint8_t(rest[cut]) & 0xC0) == 0x80)
                                --cut;
                            out.text(3, rest.substr(0, cut));
                            rest.remove_prefix(cut);
                        }
                        out.text(field->code, rest);
                    } else {
                        out.text(field->code, text);
                    }
                }
            },
            value);
    }
    if (const auto write = kind.fileHooks().writeGroups) {
        const char* own = kind.subclass();
        if (markers && own && differentMarker(own, subclass))
            out.text(100, own);
        write(object, out, version, utf8File);
    }
}

namespace {

// Which field takes each group code, for a kind: the first field in the kind's order whose
// code it is, or whose point it is a coordinate of (code + 10, code + 20). Built once a kind.
struct CodeTable {
    // 0: no field; else (field index << 2 | axis) + 1.
    uint16_t slot[kMaxGroupCode + 1] = {};
    int chunked = -1;  // the field of a long text, if the kind has one
    bool ocs = false;  // some field is written in the object's coordinates
};

CodeTable buildCodeTable(const VxDbKind& kind)
{
    CodeTable table;
    const auto& fields = kind.fields();
    auto take = [&](int code, size_t index, int axis) {
        if (code >= 0 && code <= kMaxGroupCode && table.slot[code] == 0)
            table.slot[code] = uint16_t(((index << 2) | size_t(axis)) + 1);
    };
    for (size_t i = 0; i < fields.size(); ++i) {
        const VxDbField& field = *fields[i];
        if (field.flags & kxdxf::kChunked)
            table.chunked = int(i);
        if (field.flags & kxdxf::kOcs)
            table.ocs = true;
        if (field.code == 0)
            continue;
        take(field.code, i, 0);
        if (std::holds_alternative<VxGePoint3d>(field.defaultValue) ||
            std::holds_alternative<VxGeVector3d>(field.defaultValue)) {
            take(field.code + 10, i, 1);
            take(field.code + 20, i, 2);
        }
    }
    return table;
}

const CodeTable& codeTableOf(const VxDbKind& kind)
{
    // A few kinds alternate while a record and its followers are read (a polyline and its
    // vertices): a small cache each thread, in front of the shared tables. Plain pointers,
    // nothing for a thread's end to destroy.
    constexpr size_t kRecent = 4;
    thread_local const VxDbKind* recentKind[kRecent] = {};
    thread_local const CodeTable* recentTable[kRecent] = {};
    thread_local size_t recentNext = 0;
    for (size_t i = 0; i < kRecent; ++i) {
        if (recentKind[i] == &kind)
            return *recentTable[i];
    }
    static std::mutex mutex;
    static std::unordered_map<const VxDbKind*, std::unique_ptr<CodeTable>> tables;
    const CodeTable* table = nullptr;
    {
        std::lock_guard<std::mutex> lock(mutex);
        std::unique_ptr<CodeTable>& slot = tables[&kind];
        if (!slot)
            slot = std::make_unique<CodeTable>(buildCodeTable(kind));
        table = slot.get();
    }
    recentKind[recentNext] = &kind;
    recentTable[recentNext] = table;
    recentNext = (recentNext + 1) % kRecent;
    return *table;
}

// The values of a record's fields while it is read, each made when the file first names its
// field (a point read in part keeps its other coordinates): a record names few of its kind's
// fields, and the others cost nothing. On the stack for the usual few fields.
class FieldValues {
public:
    FieldValues(const VxDbObject& object, const std::vector<const VxDbField*>& fields)
        : mObject(object), mFields(fields)
    {
        if (fields.size() > kLocal)
            mHeap = std::make_unique<Storage[]>(fields.size());
    }
    ~FieldValues()
    {
        for (uint64_t made = mMade; made; made &= made - 1)
            slot(size_t(std::countr_zero(made)))->~VxDbFieldValue();
    }
    FieldValues(const FieldValues&) = delete;
    FieldValues& operator=(const FieldValues&) = delete;

    VxDbFieldValue& at(size_t i)
    {
        if (!(mMade & (uint64_t(1) << i))) {
            new (slot(i)) VxDbFieldValue(mFields[i]->get(mObject));
            mMade |= uint64_t(1) << i;
        }
        return *slot(i);
    }

private:
    static constexpr size_t kLocal = 16;
    struct Storage {
        alignas(VxDbFieldValue) unsigned char bytes[sizeof(VxDbFieldValue)];
    };
    VxDbFieldValue* slot(size_t i)
    {
        Storage& storage = mHeap ? mHeap[i] : mLocal[i];
        return std::launder(reinterpret_cast<VxDbFieldValue*>(storage.bytes));
    }

    const VxDbObject& mObject;
    const std::vector<const VxDbField*>& mFields;
    uint64_t mMade = 0;
    Storage mLocal[kLocal];
    std::unique_ptr<Storage[]> mHeap;
};

bool groupDouble(const FieldGroup& group, double& out)
{
    if (group.number) {
        out = *group.number;
        return true;
    }
    return parseDouble(group.value, out);
}

bool groupInt(const FieldGroup& group, int64_t& out)
{
    // Integral numbers a double holds exactly read the same as their text.
    if (group.number && *group.number == std::floor(*group.number) && std::fabs(*group.number) < 9007199254740992.0) {
        out = int64_t(*group.number);
        return true;
    }
    return parseInt(group.value, out);
}

// A record's groups as both readings walk them: subclass markers skipped, the parts of a long
// text gathered, groups no field takes handed to the kind's own hook. take(group, field index,
// axis) reads one group of a field. False when a group is refused or a text's parts have no end.
template <class Take>
bool walkFieldGroups(VxDbObject& object, const VxDbKind& kind, const CodeTable& table, const VxDbField* chunked,
                     const std::vector<FieldGroup>& groups, std::string& chunks, Take&& take)
{
    for (const FieldGroup& group : groups) {
        if (group.code == 100)
            continue;
        if (chunked && group.code == 3) {
            chunks += group.value;
            continue;
        }
        const unsigned slot = group.code >= 0 && group.code <= kMaxGroupCode ? table.slot[group.code] : 0;
        if (slot == 0) {
            const auto readGroup = kind.fileHooks().readGroup;
            if (!readGroup || !readGroup(object, group.code, group.value))
                return false;  // a group this kind does not hold
            continue;
        }
        if (!take(group, size_t((slot - 1) >> 2), (slot - 1) & 3))
            return false;
    }
    return chunks.empty();
}

}  // namespace

bool readFieldsThroughValues(VxDbObject& object, const VxDbKind& kind, const std::vector<FieldGroup>& groups,
                             bool utf8File, std::vector<NamedRecord>* names)
{
    const auto& fields = kind.fields();
    if (fields.size() > 64)
        return false;  // the read mask has a bit a field
    const CodeTable& table = codeTableOf(kind);
    FieldValues values(object, fields);
    auto fetch = [&](size_t i) -> VxDbFieldValue& { return values.at(i); };
    const VxDbField* chunked = table.chunked >= 0 ? fields[size_t(table.chunked)] : nullptr;
    uint64_t readMask = 0;
    std::string chunks;  // groups 3 of a long text, until its own group

    auto readField = [&](const FieldGroup& group, size_t i, unsigned axis) {
        const VxDbField& field = *fields[i];
        VxDbFieldValue& value = fetch(i);
        readMask |= uint64_t(1) << i;
        double real = 0.0;
        int64_t integer = 0;
        bool ok = true;
        std::visit(
            [&](auto& v) {
                using T = std::decay_t<decltype(v)>;
                if constexpr (std::is_same_v<T, double>) {
                    ok = groupDouble(group, real);
                    v = real;
                } else if constexpr (std::is_same_v<T, int16_t> || std::is_same_v<T, int32_t>) {
                    ok = groupInt(group, integer) && integer >= std::numeric_limits<T>::min() &&
                         integer <= std::numeric_limits<T>::max();
                    v = T(integer);
                } else if constexpr (std::is_same_v<T, bool>) {
                    ok = groupInt(group, integer);
                    v = integer != 0;
                } else if constexpr (std::is_same_v<T, VxGePoint3d> || std::is_same_v<T, VxGeVector3d>) {
                    ok = groupDouble(group, real);
                    (axis == 0 ? v.x : axis == 1 ? v.y : v.z) = real;
                } else if constexpr (std::is_same_v<T, VxDbObjectId>) {
                    // Resolved by the reader once the records are there; an empty name is none.
                    ok = names != nullptr;
                    v = VxDbObjectId();
                    if (ok && !group.value.empty())
                        names->push_back({i, decodeText(group.value, utf8File)});
                } else if (&field == chunked && !chunks.empty()) {
                    chunks += group.value;
                    v = decodeText(chunks, utf8File);
                    chunks.clear();
                } else {
                    v = decodeText(group.value, utf8File);
                }
            },
            value);
        return ok;
    };
    if (!walkFieldGroups(object, kind, table, chunked, groups, chunks, readField))
        return false;

    VxGeVector3d normal = VxGeVector3d::kZAxis;
    if (table.ocs && kind.normalIndex() >= 0) {
        if (const VxGeVector3d* n = std::get_if<VxGeVector3d>(&fetch(size_t(kind.normalIndex()))))
            normal = n->normal();
    }
    for (size_t i = 0; i < fields.size(); ++i) {
        const VxDbField& field = *fields[i];
        // A field the file left alone keeps what the new object holds; only those the file
        // wrote, and those read in another system, go through their checks.
        if (!(readMask & (uint64_t(1) << i)) && !(field.flags & (kxdxf::kDegrees | kxdxf::kOcs)))
            continue;
        fetch(i);
        if (double* angle = std::get_if<double>(&fetch(i)); angle && (field.flags & kxdxf::kDegrees))
            *angle = vxgeDegreesToRadians(*angle);
        if (VxGePoint3d* p = std::get_if<VxGePoint3d>(&fetch(i)); p && (field.flags & kxdxf::kOcs))
            *p = fromOcs(*p, normal);
        if (field.set(object, fetch(i)) != Velt::eOk)
            return false;
    }
    return kind.checkRead(object, readMask) == Velt::eOk;
}

namespace {

// Where a read value goes: the field's own storage in the new object.
template <class T>
T& stored(const VxDbField& field, VxDbObject& object)
{
    // The object is the reader's own, not const: the storage is written as the file names it.
    return *static_cast<T*>(const_cast<void*>(field.storage(object)));
}

template <class T>
bool readInteger(const FieldGroup& group, T& out)
{
    int64_t integer = 0;
    if (!groupInt(group, integer) || integer < std::numeric_limits<T>::min() || integer > std::numeric_limits<T>::max())
        return false;
    out = T(integer);
    return true;
}

}  // namespace

// Each group goes straight to its field's storage, parsed as the field's type; the checks run
// once at the end on what the storage holds, in the kind's order, as the values' path does.
bool readFields(VxDbObject& object, const VxDbKind& kind, const std::vector<FieldGroup>& groups, bool utf8File,
                std::vector<NamedRecord>* names)
{
    const auto& fields = kind.fields();
    if (fields.size() > 64)
        return false;  // the read mask has a bit a field
    const CodeTable& table = codeTableOf(kind);
    const VxDbField* chunked = table.chunked >= 0 ? fields[size_t(table.chunked)] : nullptr;
    uint64_t readMask = 0;
    std::string chunks;  // groups 3 of a long text, until its own group

    auto readField = [&](const FieldGroup& group, size_t i, unsigned axis) {
        const VxDbField& field = *fields[i];
        readMask |= uint64_t(1) << i;
        bool ok = true;
        switch (field.type) {
        case VxDbFieldType::kDouble: ok = groupDouble(group, stored<double>(field, object)); break;
        case VxDbFieldType::kInt16: ok = readInteger(group, stored<int16_t>(field, object)); break;
        case VxDbFieldType::kInt32: ok = readInteger(group, stored<int32_t>(field, object)); break;
        case VxDbFieldType::kBool: {
            int64_t integer = 0;
            ok = groupInt(group, integer);
            stored<bool>(field, object) = integer != 0;
            break;
        }
        case VxDbFieldType::kPoint: {
            VxGePoint3d& p = stored<VxGePoint3d>(field, object);
            ok = groupDouble(group, axis == 0 ? p.x : axis == 1 ? p.y : p.z);
            break;
        }
        case VxDbFieldType::kVector: {
            VxGeVector3d& v = stored<VxGeVector3d>(field, object);
            ok = groupDouble(group, axis == 0 ? v.x : axis == 1 ? v.y : v.z);
            break;
        }
        case VxDbFieldType::kId:
            // Resolved by the reader once the records are there; an empty name is none.
            ok = names != nullptr;
            stored<VxDbObjectId>(field, object) = VxDbObjectId();
            if (ok && !group.value.empty())
                names->push_back({i, decodeText(group.value, utf8File)});
            break;
        case VxDbFieldType::kText:
            if (&field == chunked && !chunks.empty()) {
                chunks += group.value;
                stored<std::wstring>(field, object) = decodeText(chunks, utf8File);
                chunks.clear();
            } else {
                stored<std::wstring>(field, object) = decodeText(group.value, utf8File);
            }
            break;
        }
        return ok;
    };
    if (!walkFieldGroups(object, kind, table, chunked, groups, chunks, readField))
        return false;

    VxGeVector3d normal = VxGeVector3d::kZAxis;
    if (table.ocs && kind.normalIndex() >= 0) {
        const VxDbField& field = *fields[size_t(kind.normalIndex())];
        if (field.type == VxDbFieldType::kVector)
            normal = stored<VxGeVector3d>(field, object).normal();
    }
    for (size_t i = 0; i < fields.size(); ++i) {
        const VxDbField& field = *fields[i];
        // A field the file left alone keeps what the new object holds; only those the file
        // wrote, and those read in another system, go through their checks.
        if (!(readMask & (uint64_t(1) << i)) && !(field.flags & (kxdxf::kDegrees | kxdxf::kOcs)))
            continue;
        if (field.type == VxDbFieldType::kDouble && (field.flags & kxdxf::kDegrees)) {
            double& angle = stored<double>(field, object);
            angle = vxgeDegreesToRadians(angle);
        }
        if (field.type == VxDbFieldType::kPoint && (field.flags & kxdxf::kOcs)) {
            VxGePoint3d& p = stored<VxGePoint3d>(field, object);
            p = fromOcs(p, normal);
        }
        if (field.checkStored(object) != Velt::eOk)
            return false;
    }
    return kind.checkRead(object, readMask) == Velt::eOk;
}

}  // namespace kx::dxf
