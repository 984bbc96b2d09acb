#pragma once

#include <utility>
#include <vector>

#include "db/handle.h"
#include "db/object.h"

namespace kx {

// The draw order of a block's entities, kept apart from the block's own order (which
// iteration follows). Each entity is drawn by its sort handle, the entity's own handle
// unless the table gives it another; a new order hands the entities' own handles out again,
// so entities added later are drawn on top. Kept in the block's extension dictionary under
// "ACAD_SORTENTS" (vxdbSortentsTableOf).
class VxDbSortentsTable : public VxDbObject {
    VX_RX_DECLARE_MEMBERS(VxDbSortentsTable)
public:
    VxDbObjectId blockId() const { return mBlock; }
    Velt::ErrorStatus setBlockId(VxDbObjectId blockId);

    // The block's live entities, first drawn first.
    Velt::ErrorStatus getFullDrawOrder(VxDbObjectIdArray& ids) const;
    // The given entities in draw order. Every operation takes live entities of the block
    // only (eInvalidInput otherwise, and nothing changes); an entity given twice counts once.
    Velt::ErrorStatus getRelativeDrawOrder(VxDbObjectIdArray& ids) const;
    // The given entities take the places the set has now, in the order given.
    Velt::ErrorStatus setRelativeDrawOrder(const VxDbObjectIdArray& ids);
    // Moving several keeps their order among themselves.
    Velt::ErrorStatus moveToTop(const VxDbObjectIdArray& ids);
    Velt::ErrorStatus moveToBottom(const VxDbObjectIdArray& ids);
    Velt::ErrorStatus moveAbove(const VxDbObjectIdArray& ids, VxDbObjectId target);
    Velt::ErrorStatus moveBelow(const VxDbObjectIdArray& ids, VxDbObjectId target);
    Velt::ErrorStatus swapOrder(VxDbObjectId first, VxDbObjectId second);

    // The handle an entity is drawn by.
    VxDbHandle sortHandle(VxDbObjectId entity) const;
    // The entities drawn by another handle than their own, with it: what files hold.
    const std::vector<std::pair<VxDbObjectId, VxDbHandle>>& entries() const { return mEntries; }
    // For readers: an entity and the handle it is drawn by.
    Velt::ErrorStatus setSortHandle(VxDbObjectId entity, VxDbHandle handle);

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    // The ids checked and made unique, in the order given.
    Velt::ErrorStatus members(const VxDbObjectIdArray& ids, VxDbObjectIdArray& unique) const;
    // Gives the entities of the order their own handles again, in its sequence.
    Velt::ErrorStatus apply(const VxDbObjectIdArray& order);
    // Moves the ids next to the target: just above it, or just below.
    Velt::ErrorStatus moveNextTo(const VxDbObjectIdArray& ids, VxDbObjectId target, bool above);

    VxDbObjectId mBlock;
    std::vector<std::pair<VxDbObjectId, VxDbHandle>> mEntries;
};

// The draw order of a block: the table in its extension dictionary, made (with the
// dictionary) when `create` is true; eKeyNotFound when there is none and none is made.
Velt::ErrorStatus vxdbSortentsTableOf(VxDbObjectId blockId, VxDbObjectId& tableId, bool create);

}  // namespace kx
