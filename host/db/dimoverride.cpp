#include "db/dimoverride.h"

#include <cmath>
#include <string_view>
#include <utility>
#include <vector>

#include "db/blocks.h"
#include "db/database.h"
#include "db/handle.h"
#include "db/internal.h"
#include "db/resbuf.h"
#include "db/strings.h"

namespace kx {
namespace {

constexpr wchar_t kApp[] = L"ACAD";
constexpr wchar_t kSection[] = L"DSTYLE";

bool isString(const VxResBuf* rb, int code, std::wstring_view text)
{
    return rb && rb->restype == code && vxView(rb->resval.rstring) == text;
}

// The items of the entity's "ACAD" group, after the name; null when there are none.
const VxResBuf* acadItems(const VxDbObject* object)
{
    for (const VxResBuf* rb = object->xDataChain(); rb; rb = rb->rbnext) {
        if (rb->restype == 1001 && vxEqualNoCase(vxView(rb->resval.rstring), kApp))
            return rb->rbnext && rb->rbnext->restype != 1001 ? rb->rbnext : nullptr;
    }
    return nullptr;
}

// Where the "DSTYLE" section lies in a group's items: its "DSTYLE" item, and the item after
// its closing brace (null at the group's end). begin is null when there is no section.
struct Section {
    const VxResBuf* begin = nullptr;
    const VxResBuf* end = nullptr;
};

Section sectionOf(const VxResBuf* items)
{
    for (const VxResBuf* rb = items; rb && rb->restype != 1001; rb = rb->rbnext) {
        if (!isString(rb, 1000, kSection) || !isString(rb->rbnext, 1002, L"{"))
            continue;
        int depth = 0;
        for (const VxResBuf* e = rb->rbnext; e && e->restype != 1001; e = e->rbnext) {
            if (e->restype == 1002)
                depth += isString(e, 1002, L"{") ? 1 : -1;
            if (depth == 0)
                return {rb, e->rbnext};
        }
        return {rb, nullptr};
    }
    return {};
}

// The (code, value) pairs of a section, in order; items that are not a pair are skipped.
std::vector<std::pair<int, const VxResBuf*>> pairsOf(const Section& section)
{
    std::vector<std::pair<int, const VxResBuf*>> pairs;
    if (!section.begin)
        return pairs;
    for (const VxResBuf* rb = section.begin->rbnext->rbnext; rb && rb != section.end; rb = rb->rbnext) {
        if (rb->restype == 1070 && rb->rbnext && rb->rbnext != section.end && rb->rbnext->restype != 1002) {
            pairs.emplace_back(rb->resval.rint, rb->rbnext);
            rb = rb->rbnext;
        }
    }
    return pairs;
}

const VxRxClass* recordClassOf(VxDbDimVar var)
{
    if (var == VxDbDimVar::kDimTxSty)
        return VxDbTextStyleTableRecord::desc();
    if (var == VxDbDimVar::kDimLType || var == VxDbDimVar::kDimLtEx1 || var == VxDbDimVar::kDimLtEx2)
        return VxDbLinetypeTableRecord::desc();
    return VxDbBlockTableRecord::desc();
}

// The value item of a variable, in the form the file keeps.
VxResBuf* newValue(const VxDbDimVarInfo& info, const VxDbDimValue& value)
{
    switch (info.kind) {
    case VxDbDimVarInfo::kInt16: return vxutNewInt16(1070, int16_t(value.number));
    case VxDbDimVarInfo::kReal: return vxutNewReal(1040, value.number);
    case VxDbDimVarInfo::kString: return vxutNewString(1000, value.text);
    case VxDbDimVarInfo::kObjectId: return vxutNewString(1005, value.id.handle().toString());
    }
    return nullptr;
}

// Writes the "ACAD" group again with the section's pairs (none: no section).
Velt::ErrorStatus rewrite(VxDbObject* object, const std::vector<std::pair<int, const VxResBuf*>>& pairs,
                          VxResBuf* replacement, int replacedCode)
{
    VxResBufPtr owned(replacement);
    const VxResBuf* items = acadItems(object);
    const Section section = sectionOf(items);
    VxResBufPtr chain(vxutNewString(1001, kApp));
    VxResBuf* tail = chain.get();
    auto append = [&tail](VxResBuf* rb) {
        tail->rbnext = rb;
        while (tail->rbnext)
            tail = tail->rbnext;
    };
    // The group's other items keep their places around the section.
    const VxResBuf* groupEnd = items;
    while (groupEnd && groupEnd->restype != 1001)
        groupEnd = groupEnd->rbnext;
    if (items && items != section.begin)
        append(vxutDupRange(items, section.begin ? section.begin : groupEnd));
    bool any = owned != nullptr;
    for (const auto& pair : pairs)
        any = any || pair.first != replacedCode;
    if (any) {
        append(vxutNewString(1000, kSection));
        append(vxutNewString(1002, L"{"));
        for (const auto& [code, value] : pairs) {
            if (code == replacedCode)
                continue;
            append(vxutNewInt16(1070, int16_t(code)));
            append(vxutDupRange(value, value->rbnext));
        }
        if (owned) {
            append(vxutNewInt16(1070, int16_t(replacedCode)));
            append(owned.release());
        }
        append(vxutNewString(1002, L"}"));
    }
    if (section.begin && section.end && section.end != groupEnd)
        append(vxutDupRange(section.end, groupEnd));
    return object->setXData(chain.get());
}

}  // namespace

bool vxdbGetDimOverride(const VxDbObject* object, VxDbDimVar var, VxDbDimValue& value)
{
    if (!object || size_t(var) >= size_t(VxDbDimVar::kCount))
        return false;
    const VxDbDimVarInfo& info = vxdbDimVarInfo(var);
    for (const auto& [code, rb] : pairsOf(sectionOf(acadItems(object)))) {
        if (code != info.groupCode)
            continue;
        switch (info.kind) {
        case VxDbDimVarInfo::kInt16:
            if (rb->restype != 1070)
                return false;
            value.number = rb->resval.rint;
            return true;
        case VxDbDimVarInfo::kReal:
            if (rb->restype != 1040 || !std::isfinite(rb->resval.rreal))
                return false;
            value.number = rb->resval.rreal;
            return true;
        case VxDbDimVarInfo::kString:
            if (rb->restype != 1000)
                return false;
            value.text = vxView(rb->resval.rstring);
            return true;
        case VxDbDimVarInfo::kObjectId: {
            VxDbHandle handle;
            VxDbDatabase* db = object->database();
            VxDbObjectId id;
            if (rb->restype != 1005 || !db || !VxDbHandle::fromString(vxView(rb->resval.rstring), handle) ||
                db->getVxDbObjectId(id, false, handle) != Velt::eOk ||
                detail::checkReference(id, recordClassOf(var), db) != Velt::eOk)
                return false;
            value.id = id;
            return true;
        }
        }
    }
    return false;
}

Velt::ErrorStatus vxdbSetDimOverride(VxDbObject* object, VxDbDimVar var, const VxDbDimValue& value)
{
    if (!object || size_t(var) >= size_t(VxDbDimVar::kCount))
        return Velt::eInvalidInput;
    const VxDbDimVarInfo& info = vxdbDimVarInfo(var);
    if (info.kind == VxDbDimVarInfo::kObjectId) {
        if (Velt::ErrorStatus es = detail::checkReference(value.id, recordClassOf(var), object->database()))
            return es;
        if (!object->database())
            return Velt::eNoDatabase;
    } else {
        // The style's own checks, on a record of no drawing.
        VxDbDimStyleTableRecord probe;
        Velt::ErrorStatus es = Velt::eOk;
        if (info.kind == VxDbDimVarInfo::kReal)
            es = probe.setDimReal(var, value.number);
        else if (info.kind == VxDbDimVarInfo::kString)
            es = probe.setDimText(var, value.text.c_str());
        else if (!(value.number >= INT16_MIN && value.number <= INT16_MAX) || value.number != std::floor(value.number))
            es = Velt::eOutOfRange;
        else
            es = probe.setDimInt(var, int16_t(value.number));
        if (es)
            return es;
    }
    return rewrite(object, pairsOf(sectionOf(acadItems(object))), newValue(info, value), info.groupCode);
}

Velt::ErrorStatus vxdbRemoveDimOverride(VxDbObject* object, VxDbDimVar var)
{
    if (!object || size_t(var) >= size_t(VxDbDimVar::kCount))
        return Velt::eInvalidInput;
    const int code = vxdbDimVarInfo(var).groupCode;
    const auto pairs = pairsOf(sectionOf(acadItems(object)));
    bool found = false;
    for (const auto& pair : pairs)
        found = found || pair.first == code;
    return found ? rewrite(object, pairs, nullptr, code) : Velt::eOk;
}

VxDbDimValue vxdbDimVarInEffect(const VxDbObject* object, const std::wstring& styleName, VxDbDimVar var)
{
    VxDbDimValue value;
    if (vxdbGetDimOverride(object, var, value))
        return value;
    value.number = vxdbDimVarInfo(var).defaultValue;
    VxDbDatabase* db = object ? object->database() : nullptr;
    auto* table = db ? VxDbSymbolTable::cast(detail::objectOf(db->dimStyleTableId())) : nullptr;
    if (!table)
        return value;
    VxDbObjectId id;
    if (table->getAt(styleName.c_str(), id) != Velt::eOk && table->getAt(L"Standard", id) != Velt::eOk)
        return value;
    if (auto* style = VxDbDimStyleTableRecord::cast(detail::objectOf(id))) {
        value.number = style->dimReal(var);
        value.text = style->dimText(var);
        value.id = style->dimId(var);
    }
    return value;
}

}  // namespace kx
