#include "db/group.h"

#include <algorithm>

#include "db/dictionary.h"
#include "db/entity.h"
#include "db/internal.h"

namespace kx {

namespace {

bool isLive(VxDbObjectId id)
{
    const detail::Stub* stub = detail::stubOf(id);
    return stub && stub->object() && !(stub->flags() & detail::kStubErased);
}

}  // namespace

VX_RX_DEFINE_MEMBERS(VxDbGroup, VxDbObject, L"KxDbGroup", &vxrxCreateInstance<VxDbGroup>, L"GROUP")

VxDbGroup::VxDbGroup(const wchar_t* description, bool selectable)
    : mDescription(vxView(description)), mSelectable(selectable)
{
}

std::wstring VxDbGroup::name() const
{
    std::wstring key;
    if (auto* owner = VxDbDictionary::cast(detail::objectOf(ownerId())))
        owner->nameAt(objectId(), key);
    return key;
}

Velt::ErrorStatus VxDbGroup::setDescription(const wchar_t* text)
{
    return setField(mDescription, std::wstring(vxView(text)));
}

bool VxDbGroup::isAnonymous() const
{
    const std::wstring key = name();
    return !key.empty() && key[0] == L'*';
}

Velt::ErrorStatus VxDbGroup::append(VxDbObjectId id) { return insertAt(int(mMembers.size()), id); }

Velt::ErrorStatus VxDbGroup::append(const VxDbObjectIdArray& ids)
{
    // All or nothing: check every id first.
    for (VxDbObjectId id : ids) {
        if (Velt::ErrorStatus es = detail::checkReference(id, VxDbEntity::desc(), database()))
            return es;
        if (has(id) || std::count(ids.begin(), ids.end(), id) > 1)
            return Velt::eDuplicateKey;
    }
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mMembers.insert(mMembers.end(), ids.begin(), ids.end());
    return Velt::eOk;
}

Velt::ErrorStatus VxDbGroup::insertAt(int index, VxDbObjectId id)
{
    if (index < 0 || index > int(mMembers.size()))
        return Velt::eInvalidIndex;
    if (Velt::ErrorStatus es = detail::checkReference(id, VxDbEntity::desc(), database()))
        return es;
    if (has(id))
        return Velt::eDuplicateKey;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mMembers.insert(mMembers.begin() + index, id);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbGroup::remove(VxDbObjectId id)
{
    auto it = std::find(mMembers.begin(), mMembers.end(), id);
    if (it == mMembers.end())
        return Velt::eKeyNotFound;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mMembers.erase(it);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbGroup::remove(const VxDbObjectIdArray& ids)
{
    for (VxDbObjectId id : ids) {
        if (std::find(mMembers.begin(), mMembers.end(), id) == mMembers.end())
            return Velt::eKeyNotFound;
    }
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    for (VxDbObjectId id : ids)
        mMembers.erase(std::remove(mMembers.begin(), mMembers.end(), id), mMembers.end());
    return Velt::eOk;
}

Velt::ErrorStatus VxDbGroup::removeAt(int index)
{
    if (index < 0 || index >= int(mMembers.size()))
        return Velt::eInvalidIndex;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mMembers.erase(mMembers.begin() + index);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbGroup::clear()
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mMembers.clear();
    return Velt::eOk;
}

bool VxDbGroup::has(VxDbObjectId id) const
{
    return std::find(mMembers.begin(), mMembers.end(), id) != mMembers.end();
}

int VxDbGroup::numEntities() const
{
    return int(std::count_if(mMembers.begin(), mMembers.end(), isLive));
}

VxDbObjectIdArray VxDbGroup::allEntityIds() const
{
    VxDbObjectIdArray ids;
    for (VxDbObjectId id : mMembers) {
        if (isLive(id))
            ids.push_back(id);
    }
    return ids;
}

Velt::ErrorStatus VxDbGroup::newIterator(std::unique_ptr<VxDbGroupIterator>& iterator) const
{
    if (!isResident()) {
        iterator.reset();
        return Velt::eNoIterator;
    }
    iterator = std::make_unique<VxDbGroupIterator>(objectId());
    return Velt::eOk;
}

template <class F>
Velt::ErrorStatus VxDbGroup::forEachMember(F&& change)
{
    Velt::ErrorStatus first = Velt::eOk;
    for (VxDbObjectId id : allEntityIds()) {
        VxDbObjectPointer<VxDbEntity> entity(id, VxDb::kForWrite);
        Velt::ErrorStatus es = entity ? change(entity.get()) : entity.openStatus();
        if (es != Velt::eOk && first == Velt::eOk)
            first = es;
    }
    return first;
}

Velt::ErrorStatus VxDbGroup::setColor(const VxCmColor& color)
{
    return forEachMember([&](VxDbEntity* e) { return e->setColor(color); });
}

Velt::ErrorStatus VxDbGroup::setColorIndex(int16_t index)
{
    return forEachMember([&](VxDbEntity* e) { return e->setColorIndex(index); });
}

Velt::ErrorStatus VxDbGroup::setLayer(const wchar_t* name)
{
    return forEachMember([&](VxDbEntity* e) { return e->setLayer(name); });
}

Velt::ErrorStatus VxDbGroup::setLinetype(const wchar_t* name)
{
    return forEachMember([&](VxDbEntity* e) { return e->setLinetype(name); });
}

Velt::ErrorStatus VxDbGroup::setLinetypeScale(double scale)
{
    return forEachMember([&](VxDbEntity* e) { return e->setLinetypeScale(scale); });
}

Velt::ErrorStatus VxDbGroup::setVisibility(VxDb::Visibility visibility)
{
    return forEachMember([&](VxDbEntity* e) { return e->setVisibility(visibility); });
}

Velt::ErrorStatus VxDbGroup::setHighlight(bool on)
{
    Velt::ErrorStatus first = Velt::eOk;
    for (VxDbObjectId id : allEntityIds()) {
        auto* entity = VxDbEntity::cast(detail::objectOf(id));
        Velt::ErrorStatus es = entity ? (on ? entity->highlight() : entity->unhighlight()) : Velt::eWrongObjectType;
        if (es != Velt::eOk && first == Velt::eOk)
            first = es;
    }
    return first;
}

Velt::ErrorStatus VxDbGroup::setMaterial(const wchar_t* name)
{
    return forEachMember([&](VxDbEntity* e) { return e->setMaterial(name); });
}

void VxDbGroup::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbObject::visitReferences(visitor);
    for (VxDbObjectId& id : mMembers)
        visitor.visit(id, VxDb::kHardPointerRef);
}

void VxDbGroup::copyDataFrom(const VxDbObject& other)
{
    VxDbObject::copyDataFrom(other);
    const auto& group = static_cast<const VxDbGroup&>(other);
    mMembers = group.mMembers;
    mDescription = group.mDescription;
    mSelectable = group.mSelectable;
}

VxDbGroupIterator::VxDbGroupIterator(VxDbObjectId group) : mGroup(group) { skipErased(); }

void VxDbGroupIterator::skipErased()
{
    auto* group = VxDbGroup::cast(detail::objectOf(mGroup));
    if (!group)
        return;
    const auto& members = group->memberIds();
    while (mIndex < members.size() && !isLive(members[mIndex]))
        ++mIndex;
}

bool VxDbGroupIterator::done() const
{
    auto* group = VxDbGroup::cast(detail::objectOf(mGroup));
    return !group || mIndex >= group->memberIds().size();
}

bool VxDbGroupIterator::next()
{
    if (done())
        return false;
    ++mIndex;
    skipErased();
    return !done();
}

VxDbObjectId VxDbGroupIterator::objectId() const
{
    if (done())
        return VxDbObjectId();
    return VxDbGroup::cast(detail::objectOf(mGroup))->memberIds()[mIndex];
}

Velt::ErrorStatus VxDbGroupIterator::getObject(VxDbObject*& object, VxDb::OpenMode mode) const
{
    object = nullptr;
    if (done())
        return Velt::eInvalidIndex;
    return vxdbOpenObject(object, objectId(), mode);
}

}  // namespace kx
