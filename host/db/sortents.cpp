#include "db/sortents.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "db/blocks.h"
#include "db/dictionary.h"
#include "db/internal.h"

namespace kx {

VX_RX_DEFINE_MEMBERS(VxDbSortentsTable, VxDbObject, L"KxDbSortentsTable", &vxrxCreateInstance<VxDbSortentsTable>,
                     L"SORTENTSTABLE")

namespace {

// The live entities of a block in the block's own order.
VxDbObjectIdArray liveEntitiesOf(VxDbObjectId blockId)
{
    VxDbObjectIdArray ids;
    if (auto* block = VxDbBlockTableRecord::cast(detail::objectOf(blockId))) {
        for (VxDbObjectId id : block->entityIds()) {
            if (!id.isErased() && detail::objectOf(id))
                ids.push_back(id);
        }
    }
    return ids;
}

}  // namespace

Velt::ErrorStatus VxDbSortentsTable::setBlockId(VxDbObjectId blockId)
{
    if (Velt::ErrorStatus es = detail::checkReference(blockId, VxDbBlockTableRecord::desc(), database()))
        return es;
    if (Velt::ErrorStatus es = setField(mBlock, blockId))
        return es;
    mEntries.clear();
    return Velt::eOk;
}

VxDbHandle VxDbSortentsTable::sortHandle(VxDbObjectId entity) const
{
    for (const auto& [id, handle] : mEntries) {
        if (id == entity)
            return handle;
    }
    return entity.handle();
}

Velt::ErrorStatus VxDbSortentsTable::setSortHandle(VxDbObjectId entity, VxDbHandle handle)
{
    if (entity.isNull() || handle.isNull())
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    for (auto& entry : mEntries) {
        if (entry.first == entity) {
            entry.second = handle;
            return Velt::eOk;
        }
    }
    mEntries.emplace_back(entity, handle);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbSortentsTable::getFullDrawOrder(VxDbObjectIdArray& ids) const
{
    ids = liveEntitiesOf(mBlock);
    if (!VxDbBlockTableRecord::cast(detail::objectOf(mBlock)))
        return Velt::eNotApplicable;
    std::unordered_map<VxDbObjectId, uint64_t> keys;
    for (const auto& [id, handle] : mEntries)
        keys.emplace(id, handle.value());
    auto keyOf = [&](VxDbObjectId id) {
        auto it = keys.find(id);
        return it != keys.end() ? it->second : id.handle().value();
    };
    std::stable_sort(ids.begin(), ids.end(), [&](VxDbObjectId a, VxDbObjectId b) { return keyOf(a) < keyOf(b); });
    return Velt::eOk;
}

Velt::ErrorStatus VxDbSortentsTable::members(const VxDbObjectIdArray& ids, VxDbObjectIdArray& unique) const
{
    unique.clear();
    const VxDbObjectIdArray live = liveEntitiesOf(mBlock);
    const std::unordered_set<VxDbObjectId> inBlock(live.begin(), live.end());
    std::unordered_set<VxDbObjectId> seen;
    for (VxDbObjectId id : ids) {
        if (!inBlock.count(id))
            return Velt::eInvalidInput;
        if (seen.insert(id).second)
            unique.push_back(id);
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDbSortentsTable::getRelativeDrawOrder(VxDbObjectIdArray& ids) const
{
    VxDbObjectIdArray wanted;
    if (Velt::ErrorStatus es = members(ids, wanted))
        return es;
    VxDbObjectIdArray order;
    if (Velt::ErrorStatus es = getFullDrawOrder(order))
        return es;
    const std::unordered_set<VxDbObjectId> set(wanted.begin(), wanted.end());
    ids.clear();
    for (VxDbObjectId id : order) {
        if (set.count(id))
            ids.push_back(id);
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDbSortentsTable::apply(const VxDbObjectIdArray& order)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    std::vector<VxDbHandle> handles;
    handles.reserve(order.size());
    for (VxDbObjectId id : order)
        handles.push_back(id.handle());
    std::sort(handles.begin(), handles.end());
    mEntries.clear();
    for (size_t i = 0; i < order.size(); ++i) {
        if (handles[i] != order[i].handle())
            mEntries.emplace_back(order[i], handles[i]);
    }
    markModified();
    return Velt::eOk;
}

namespace {

// The order without the moved entities, and those in the order they are drawn now.
void takeOut(const VxDbObjectIdArray& order, const VxDbObjectIdArray& moved, VxDbObjectIdArray& rest,
             VxDbObjectIdArray& movedInOrder)
{
    const std::unordered_set<VxDbObjectId> set(moved.begin(), moved.end());
    rest.clear();
    movedInOrder.clear();
    for (VxDbObjectId id : order)
        (set.count(id) ? movedInOrder : rest).push_back(id);
}

}  // namespace

Velt::ErrorStatus VxDbSortentsTable::moveToTop(const VxDbObjectIdArray& ids)
{
    VxDbObjectIdArray moved, order, rest, inOrder;
    if (Velt::ErrorStatus es = members(ids, moved))
        return es;
    if (Velt::ErrorStatus es = getFullDrawOrder(order))
        return es;
    takeOut(order, moved, rest, inOrder);
    rest.insert(rest.end(), inOrder.begin(), inOrder.end());
    return apply(rest);
}

Velt::ErrorStatus VxDbSortentsTable::moveToBottom(const VxDbObjectIdArray& ids)
{
    VxDbObjectIdArray moved, order, rest, inOrder;
    if (Velt::ErrorStatus es = members(ids, moved))
        return es;
    if (Velt::ErrorStatus es = getFullDrawOrder(order))
        return es;
    takeOut(order, moved, rest, inOrder);
    inOrder.insert(inOrder.end(), rest.begin(), rest.end());
    return apply(inOrder);
}

Velt::ErrorStatus VxDbSortentsTable::moveAbove(const VxDbObjectIdArray& ids, VxDbObjectId target)
{
    return moveNextTo(ids, target, true);
}

Velt::ErrorStatus VxDbSortentsTable::moveBelow(const VxDbObjectIdArray& ids, VxDbObjectId target)
{
    return moveNextTo(ids, target, false);
}

Velt::ErrorStatus VxDbSortentsTable::moveNextTo(const VxDbObjectIdArray& ids, VxDbObjectId target, bool above)
{
    VxDbObjectIdArray moved, order, rest, inOrder, targets;
    if (Velt::ErrorStatus es = members(ids, moved))
        return es;
    if (Velt::ErrorStatus es = members({target}, targets))
        return es;
    if (std::find(moved.begin(), moved.end(), target) != moved.end())
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = getFullDrawOrder(order))
        return es;
    takeOut(order, moved, rest, inOrder);
    auto at = std::find(rest.begin(), rest.end(), target);
    rest.insert(above ? at + 1 : at, inOrder.begin(), inOrder.end());
    return apply(rest);
}

Velt::ErrorStatus VxDbSortentsTable::swapOrder(VxDbObjectId first, VxDbObjectId second)
{
    VxDbObjectIdArray both, order;
    if (Velt::ErrorStatus es = members({first, second}, both))
        return es;
    if (Velt::ErrorStatus es = getFullDrawOrder(order))
        return es;
    auto a = std::find(order.begin(), order.end(), first);
    auto b = std::find(order.begin(), order.end(), second);
    std::iter_swap(a, b);
    return apply(order);
}

Velt::ErrorStatus VxDbSortentsTable::setRelativeDrawOrder(const VxDbObjectIdArray& ids)
{
    VxDbObjectIdArray given, order;
    if (Velt::ErrorStatus es = members(ids, given))
        return es;
    if (Velt::ErrorStatus es = getFullDrawOrder(order))
        return es;
    const std::unordered_set<VxDbObjectId> set(given.begin(), given.end());
    size_t next = 0;
    for (VxDbObjectId& id : order) {
        if (set.count(id))
            id = given[next++];
    }
    return apply(order);
}

void VxDbSortentsTable::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbObject::visitReferences(visitor);
    if (!mBlock.isNull())
        visitor.visit(mBlock, VxDb::kSoftPointerRef);
    for (auto& entry : mEntries)
        visitor.visit(entry.first, VxDb::kSoftPointerRef);
}

void VxDbSortentsTable::copyDataFrom(const VxDbObject& other)
{
    VxDbObject::copyDataFrom(other);
    const auto& table = static_cast<const VxDbSortentsTable&>(other);
    mBlock = table.mBlock;
    mEntries = table.mEntries;
}

Velt::ErrorStatus vxdbSortentsTableOf(VxDbObjectId blockId, VxDbObjectId& tableId, bool create)
{
    tableId = VxDbObjectId();
    VxDbObjectId dictionaryId;
    {
        VxDbObjectPointer<VxDbBlockTableRecord> block(blockId, VxDb::kForRead);
        if (!block)
            return block.openStatus();
        dictionaryId = block->extensionDictionary();
        if (dictionaryId.isNull()) {
            if (!create)
                return Velt::eKeyNotFound;
            if (Velt::ErrorStatus es = block->upgradeOpen())
                return es;
            if (Velt::ErrorStatus es = block->createExtensionDictionary())
                return es;
            dictionaryId = block->extensionDictionary();
        }
    }
    VxDbObjectPointer<VxDbDictionary> dictionary(dictionaryId, VxDb::kForRead);
    if (!dictionary)
        return dictionary.openStatus();
    if (dictionary->getAt(L"ACAD_SORTENTS", tableId) == Velt::eOk) {
        if (!VxDbSortentsTable::cast(detail::objectOf(tableId))) {
            tableId = VxDbObjectId();
            return Velt::eWrongObjectType;
        }
        return Velt::eOk;
    }
    if (!create)
        return Velt::eKeyNotFound;
    if (Velt::ErrorStatus es = dictionary->upgradeOpen())
        return es;
    VxDbObjectPointer<VxDbSortentsTable> table(new VxDbSortentsTable());
    if (Velt::ErrorStatus es = dictionary->setAt(L"ACAD_SORTENTS", table.get(), tableId))
        return es;
    return table->setBlockId(blockId);
}

}  // namespace kx
