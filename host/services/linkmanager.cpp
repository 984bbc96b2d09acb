#include "services/linkmanager.h"

#include "db/database.h"
#include "db/object.h"

namespace kx {

VxAxOleLinkManager* VxAxGetOleLinkManager()
{
    static VxAxOleLinkManager manager;
    return &manager;
}

namespace {

template <class Map, class Key>
void* lookUp(const Map& map, const Key& key)
{
    auto it = map.find(key);
    return it == map.end() ? nullptr : it->second;
}

template <class Map, class Key>
void record(Map& map, const Key& key, void* value)
{
    if (value)
        map[key] = value;
    else
        map.erase(key);
}

}  // namespace

void* VxAxOleLinkManager::getIUnknown(VxDbObjectId id) const
{
    void** slot = detail::wrapperSlotOf(id, false);
    return slot ? *slot : nullptr;
}

void VxAxOleLinkManager::setIUnknown(VxDbObjectId id, void* wrapper)
{
    // A null id, one whose database is gone, or no wrapper to forget: no place.
    if (void** record = recordOf(id, wrapper != nullptr))
        setRecord(record, wrapper);
}

void** VxAxOleLinkManager::recordOf(VxDbObjectId id, bool create) const { return detail::wrapperSlotOf(id, create); }

void VxAxOleLinkManager::setRecord(void** record, void* wrapper)
{
    if (!record)
        return;
    // Records are written from the automation layer's one apartment: the count needs no
    // locked increment, only to be readable from elsewhere.
    if (!*record && wrapper)
        mObjectRecords.store(mObjectRecords.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    else if (*record && !wrapper)
        mObjectRecords.store(mObjectRecords.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
    *record = wrapper;
}

void* VxAxOleLinkManager::getIUnknown(const VxDbObject* object) const
{
    return object ? getIUnknown(object->objectId()) : nullptr;
}

void VxAxOleLinkManager::setIUnknown(const VxDbObject* object, void* wrapper)
{
    if (object)
        setIUnknown(object->objectId(), wrapper);
}

void* VxAxOleLinkManager::getIUnknown(const VxDbDatabase* database) const
{
    std::lock_guard lock(mMutex);
    return lookUp(mDatabases, database);
}

void VxAxOleLinkManager::setIUnknown(const VxDbDatabase* database, void* wrapper)
{
    if (!database)
        return;
    std::lock_guard lock(mMutex);
    record(mDatabases, database, wrapper);
}

void* VxAxOleLinkManager::getDocument(const VxDbDatabase* database) const
{
    std::lock_guard lock(mMutex);
    return lookUp(mDocuments, database);
}

void VxAxOleLinkManager::setDocument(const VxDbDatabase* database, void* document)
{
    if (!database)
        return;
    std::lock_guard lock(mMutex);
    record(mDocuments, database, document);
}

size_t VxAxOleLinkManager::objectRecordCount() const { return mObjectRecords; }

void VxAxOleLinkManager::forgetDatabase(const VxDbDatabase* database)
{
    if (!database)
        return;
    mObjectRecords -= const_cast<VxDbDatabase*>(database)->clearWrapperRecords();
    std::lock_guard lock(mMutex);
    mDatabases.erase(database);
    mDocuments.erase(database);
}

}  // namespace kx
