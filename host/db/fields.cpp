#include "db/fields.h"

#include <cstring>

namespace kx {

bool vxdbSameFieldValue(const VxDbFieldValue& a, const VxDbFieldValue& b)
{
    if (a.index() != b.index())
        return false;
    return std::visit(
        [&](const auto& x) {
            using T = std::decay_t<decltype(x)>;
            const T& y = std::get<T>(b);
            if constexpr (std::is_same_v<T, VxGePoint3d> || std::is_same_v<T, VxGeVector3d>)
                return x.x == y.x && x.y == y.y && x.z == y.z;  // not the tolerant operator==
            else
                return x == y;
        },
        a);
}

VxDbKind::VxDbKind(const VxDbKind* parent, const char* subclass, std::vector<VxDbField> own, Check check,
                   VxDbKindFileHooks hooks, std::vector<VxDbFieldMove> moves)
    : mSubclass(subclass), mOwn(std::move(own)), mHooks(hooks)
{
    if (parent) {
        mAll = parent->mAll;
        mChecks = parent->mChecks;
        // Hooks the kind has not got of its own come from its parent.
        const VxDbKindFileHooks& inherited = parent->mHooks;
        if (!mHooks.readGroup)
            mHooks.readGroup = inherited.readGroup;
        if (!mHooks.writeGroups)
            mHooks.writeGroups = inherited.writeGroups;
        if (!mHooks.readSubRecords)
            mHooks.readSubRecords = inherited.readSubRecords;
        if (!mHooks.subObjects)
            mHooks.subObjects = inherited.subObjects;
        if (!mHooks.recordClass)
            mHooks.recordClass = inherited.recordClass;
    }
    // Moved fields are copies held here; reserved so that the pointers to them stay.
    mMoved.reserve(moves.size());
    for (const VxDbFieldMove& move : moves) {
        for (const VxDbField*& field : mAll) {
            if (std::strcmp(field->name, move.name) != 0)
                continue;
            VxDbField moved = *field;
            moved.subclass = move.subclass;
            moved.code = move.code;
            moved.flags = move.flags;
            mMoved.push_back(moved);
            field = &mMoved.back();
        }
    }
    for (const VxDbField& field : mOwn)
        mAll.push_back(&field);
    if (check)
        mChecks.push_back(check);
    for (size_t i = 0; i < mAll.size(); ++i) {
        if (std::strcmp(mAll[i]->name, "normal") == 0 &&
            std::holds_alternative<VxGeVector3d>(mAll[i]->defaultValue))
            mNormal = int(i);
    }
}

const VxDbField* VxDbKind::find(const char* name) const
{
    for (const VxDbField* field : mAll) {
        if (std::strcmp(field->name, name) == 0)
            return field;
    }
    return nullptr;
}

Velt::ErrorStatus VxDbKind::checkRead(VxDbObject& object, uint64_t readMask) const
{
    for (Check check : mChecks) {
        if (Velt::ErrorStatus es = check(object, readMask))
            return es;
    }
    return Velt::eOk;
}

const VxDbKind* vxdbKindOf(const VxRxClass* cls)
{
    for (; cls; cls = cls->myParent()) {
        if (const VxDbKind* kind = cls->kind())
            return kind;
    }
    return nullptr;
}

const VxDbKind* vxdbKindOf(const VxDbObject* object) { return object ? vxdbKindOf(object->isA()) : nullptr; }

}  // namespace kx
