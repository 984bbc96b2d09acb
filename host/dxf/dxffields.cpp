#include "dxf/dxffields.h"

#include <cstdint>
#include <cstring>
#include <limits>
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

VxGeVector3d normalOf(const VxDbKind& kind, const std::vector<VxDbFieldValue>& values)
{
    if (kind.normalIndex() < 0)
        return VxGeVector3d::kZAxis;
    const VxGeVector3d* n = std::get_if<VxGeVector3d>(&values[size_t(kind.normalIndex())]);
    return n ? n->normal() : VxGeVector3d::kZAxis;
}

}  // namespace

const VxRxClass* describedClassOfDxfName(std::string_view type)
{
    static const std::unordered_map<std::string, const VxRxClass*> classes = [] {
        std::unordered_map<std::string, const VxRxClass*> byName;
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
    auto it = classes.find(std::string(type));
    return it == classes.end() ? nullptr : it->second;
}

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
            if (markers && marker && (!subclass || std::strcmp(marker, subclass) != 0)) {
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
        if (markers && marker && (!subclass || std::strcmp(marker, subclass) != 0)) {
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
        if (markers && own && (!subclass || std::strcmp(own, subclass) != 0))
            out.text(100, own);
        write(object, out, version, utf8File);
    }
}

bool readFields(VxDbObject& object, const VxDbKind& kind, const std::vector<FieldGroup>& groups, bool utf8File,
                std::vector<NamedRecord>* names)
{
    const auto& fields = kind.fields();
    if (fields.size() > 64)
        return false;  // the read mask has a bit a field
    std::vector<VxDbFieldValue> values;
    values.reserve(fields.size());
    const VxDbField* chunked = nullptr;
    for (const VxDbField* field : fields) {
        values.push_back(field->get(object));
        if (field->flags & kxdxf::kChunked)
            chunked = field;
    }
    uint64_t readMask = 0;
    std::string chunks;  // groups 3 of a long text, until its own group

    for (const FieldGroup& group : groups) {
        if (group.code == 100)
            continue;
        if (chunked && group.code == 3) {
            chunks += group.value;
            continue;
        }
        bool taken = false;
        for (size_t i = 0; i < fields.size() && !taken; ++i) {
            const VxDbField& field = *fields[i];
            VxDbFieldValue& value = values[i];
            if (field.code == 0)
                continue;
            const int axis = (group.code - field.code) / 10;
            const bool spatial =
                std::holds_alternative<VxGePoint3d>(value) || std::holds_alternative<VxGeVector3d>(value);
            if (group.code != field.code && !(spatial && group.code > field.code && (group.code - field.code) % 10 == 0 &&
                                              axis <= 2))
                continue;
            taken = true;
            readMask |= uint64_t(1) << i;
            double real = 0.0;
            int64_t integer = 0;
            bool ok = true;
            std::visit(
                [&](auto& v) {
                    using T = std::decay_t<decltype(v)>;
                    if constexpr (std::is_same_v<T, double>) {
                        ok = parseDouble(group.value, real);
                        v = real;
                    } else if constexpr (std::is_same_v<T, int16_t> || std::is_same_v<T, int32_t>) {
                        ok = parseInt(group.value, integer) && integer >= std::numeric_limits<T>::min() &&
                             integer <= std::numeric_limits<T>::max();
                        v = T(integer);
                    } else if constexpr (std::is_same_v<T, bool>) {
                        ok = parseInt(group.value, integer);
                        v = integer != 0;
                    } else if constexpr (std::is_same_v<T, VxGePoint3d> || std::is_same_v<T, VxGeVector3d>) {
                        ok = parseDouble(group.value, real);
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
            if (!ok)
                return false;
        }
        if (!taken) {
            const auto readGroup = kind.fileHooks().readGroup;
            if (!readGroup || !readGroup(object, group.code, group.value))
                return false;  // a group this kind does not hold
        }
    }
    if (!chunks.empty())
        return false;  // parts of a text without its end

    const VxGeVector3d normal = normalOf(kind, values);
    for (size_t i = 0; i < fields.size(); ++i) {
        const VxDbField& field = *fields[i];
        if (double* angle = std::get_if<double>(&values[i]); angle && (field.flags & kxdxf::kDegrees))
            *angle = vxgeDegreesToRadians(*angle);
        if (VxGePoint3d* p = std::get_if<VxGePoint3d>(&values[i]); p && (field.flags & kxdxf::kOcs))
            *p = fromOcs(*p, normal);
        if (field.set(object, values[i]) != Velt::eOk)
            return false;
    }
    return kind.checkRead(object, readMask) == Velt::eOk;
}

}  // namespace kx::dxf
