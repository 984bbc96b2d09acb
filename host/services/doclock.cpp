#include "services/doclock.h"

#include <atomic>
#include <mutex>
#include <unordered_map>

#include "db/database.h"

namespace kx {

namespace {

struct LockTable {
    std::mutex mutex;
    std::unordered_map<const VxDbDatabase*, int> depth;
};

LockTable& lockTable()
{
    static LockTable table;
    return table;
}

std::atomic<VxAxDocLock::LockHook> gHook{nullptr};

}  // namespace

VxAxDocLock::VxAxDocLock(VxDbObjectId id, int lockType)
{
    if (id.isNull())
        return;
    VxDbDatabase* database = id.database();
    if (!database) {
        mStatus = Velt::eNoDatabase;
        return;
    }
    acquire(database, lockType);
}

VxAxDocLock::VxAxDocLock(VxDbDatabase* database, int lockType)
{
    if (!database) {
        mStatus = Velt::eNoDatabase;
        return;
    }
    acquire(database, lockType);
}

void VxAxDocLock::acquire(VxDbDatabase* database, int lockType)
{
    if (lockType != kWrite && lockType != kRead) {
        mStatus = Velt::eInvalidInput;
        return;
    }
    if (LockHook hook = gHook.load()) {
        mStatus = hook(database, lockType);
        if (mStatus != Velt::eOk)
            return;
    }
    LockTable& table = lockTable();
    std::lock_guard lock(table.mutex);
    ++table.depth[database];
    mDatabase = database;
}

VxAxDocLock::~VxAxDocLock()
{
    if (!mDatabase)
        return;
    LockTable& table = lockTable();
    std::lock_guard lock(table.mutex);
    // The entry stays at zero until its database goes: locking is on every call's path.
    auto it = table.depth.find(mDatabase);
    if (it != table.depth.end() && it->second > 0)
        --it->second;
}

void VxAxDocLock::setLockHook(LockHook hook) { gHook.store(hook); }

int VxAxDocLock::lockDepth(const VxDbDatabase* database)
{
    LockTable& table = lockTable();
    std::lock_guard lock(table.mutex);
    auto it = table.depth.find(database);
    return it == table.depth.end() ? 0 : it->second;
}

void VxAxDocLock::forgetDatabase(const VxDbDatabase* database)
{
    LockTable& table = lockTable();
    std::lock_guard lock(table.mutex);
    table.depth.erase(database);
}

}  // namespace kx
