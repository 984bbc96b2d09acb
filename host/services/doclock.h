#pragma once

#include "db/objectid.h"
#include "db/status.h"

namespace kx {

class VxDbDatabase;

// The document lock taken around every change made through automation. A
// database without an editor document locks without contention; an editor
// can decide itself through the lock hook. Locks nest.
class VxAxDocLock {
public:
    enum LockType : int { kWrite = 0, kRead = 1 };
    using LockHook = Velt::ErrorStatus (*)(VxDbDatabase* database, int lockType);

    // The lock of the database that holds the object. An object that is in
    // no database needs no lock; an id whose database is gone fails.
    explicit VxAxDocLock(VxDbObjectId id, int lockType = kWrite);
    explicit VxAxDocLock(VxDbDatabase* database, int lockType = kWrite);
    ~VxAxDocLock();
    VxAxDocLock(const VxAxDocLock&) = delete;
    VxAxDocLock& operator=(const VxAxDocLock&) = delete;

    Velt::ErrorStatus lockStatus() const { return mStatus; }

    // The editor's say on each lock; null for none.
    static void setLockHook(LockHook hook);
    // How many locks are held on the database now.
    static int lockDepth(const VxDbDatabase* database);
    static void forgetDatabase(const VxDbDatabase* database);

private:
    void acquire(VxDbDatabase* database, int lockType);
    VxDbObjectId mDrawing;  // the locked drawing; resolves to nothing once it is gone
    Velt::ErrorStatus mStatus = Velt::eOk;
};

}  // namespace kx
