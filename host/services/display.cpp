#include "services/display.h"

#include "db/database.h"
#include "db/entity.h"
#include "db/resbuf.h"

namespace kx {

VxHostDisplay& VxHostDisplay::instance()
{
    static VxHostDisplay display;
    return display;
}

void VxHostDisplay::setHighlight(VxDbObjectId id, bool on)
{
    std::lock_guard lock(mMutex);
    if (on)
        mHighlighted.insert(id);
    else
        mHighlighted.erase(id);
}

bool VxHostDisplay::isHighlighted(VxDbObjectId id) const
{
    std::lock_guard lock(mMutex);
    return mHighlighted.count(id) != 0;
}

size_t VxHostDisplay::highlightedCount() const
{
    std::lock_guard lock(mMutex);
    return mHighlighted.size();
}

void VxHostDisplay::requestUpdate()
{
    std::lock_guard lock(mMutex);
    ++mUpdates;
}

size_t VxHostDisplay::updateCount() const
{
    std::lock_guard lock(mMutex);
    return mUpdates;
}

void VxHostDisplay::entityUpdated(VxDbObjectId id)
{
    std::lock_guard lock(mMutex);
    ++mEntityUpdates;
    mLastEntity = id;
}

size_t VxHostDisplay::entityUpdateCount() const
{
    std::lock_guard lock(mMutex);
    return mEntityUpdates;
}

VxDbObjectId VxHostDisplay::lastUpdatedEntity() const
{
    std::lock_guard lock(mMutex);
    return mLastEntity;
}

void VxHostDisplay::forgetDatabase(const VxDbDatabase* database)
{
    std::lock_guard lock(mMutex);
    for (auto it = mHighlighted.begin(); it != mHighlighted.end();) {
        const VxDbDatabase* owner = detail::databaseOf(it->value());
        if (!owner || owner == database)
            it = mHighlighted.erase(it);
        else
            ++it;
    }
}

void VxHostDisplay::reset()
{
    std::lock_guard lock(mMutex);
    mHighlighted.clear();
    mUpdates = 0;
    mEntityUpdates = 0;
    mLastEntity = VxDbObjectId();
}

Velt::ErrorStatus vxdbGetVdsName(VxDbVdsName& name, VxDbObjectId id)
{
    name[0] = 0;
    name[1] = 0;
    if (id.isNull())
        return Velt::eNullObjectId;
    if (!id.isValid())
        return Velt::eInvalidInput;
    name[0] = id.asOldId();
    return Velt::eOk;
}

Velt::ErrorStatus vxdbGetObjectId(VxDbObjectId& id, const VxDbVdsName& name)
{
    id = VxDbObjectId::fromOldId(name[0]);
    if (id.isNull())
        return Velt::eNullObjectId;
    return id.isValid() ? Velt::eOk : Velt::eInvalidInput;
}

int vxdbEntUpd(const VxDbVdsName& name)
{
    VxDbObjectId id;
    if (vxdbGetObjectId(id, name) != Velt::eOk || id.isErased())
        return kRtError;
    VxRxClass* cls = id.objectClass();
    if (!cls || !cls->isDerivedFrom(VxDbEntity::desc()))
        return kRtError;
    VxHostDisplay::instance().entityUpdated(id);
    return kRtNorm;
}

int vxedUpdateDisplay()
{
    VxHostDisplay::instance().requestUpdate();
    return kRtNorm;
}

}  // namespace kx
