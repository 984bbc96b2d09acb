#include "services/doclock.h"

#include <atomic>

#include "db/database.h"

namespace kx {

namespace {

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
    ++database->documentLockDepth();
    mDrawing = database->drawingId();
}

VxAxDocLock::~VxAxDocLock()
{
    if (VxDbDatabase* database = mDrawing.database())
        --database->documentLockDepth();
}

void VxAxDocLock::setLockHook(LockHook hook) { gHook.store(hook); }

int VxAxDocLock::lockDepth(const VxDbDatabase* database)
{
    return database ? const_cast<VxDbDatabase*>(database)->documentLockDepth().load() : 0;
}

// The depth goes with its database.
void VxAxDocLock::forgetDatabase(const VxDbDatabase*) {}

}  // namespace kx
