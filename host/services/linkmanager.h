#pragma once

#include <atomic>
#include <cstddef>
#include <mutex>
#include <unordered_map>

#include "db/objectid.h"

namespace kx {

class VxDbDatabase;
class VxDbObject;

// Records which automation wrapper stands for a database object or a
// database, and which document holds a database. It keeps the pointers it
// is given and never owns, dereferences or releases them; a null pointer
// clears the record. Records of a database go when it is deleted.
class VxAxOleLinkManager {
public:
    void* getIUnknown(VxDbObjectId id) const;
    void setIUnknown(VxDbObjectId id, void* wrapper);
    // By the object's id; objects not in a database have no record.
    void* getIUnknown(const VxDbObject* object) const;
    void setIUnknown(const VxDbObject* object, void* wrapper);
    // The place of an id's record, so that a caller reads and then writes it with one
    // look-up; null when the id names no slot (or, without create, when no object near it
    // has a record). setRecord writes through that place and keeps the count.
    void** recordOf(VxDbObjectId id, bool create) const;
    void setRecord(void** record, void* wrapper);
    void* getIUnknown(const VxDbDatabase* database) const;
    void setIUnknown(const VxDbDatabase* database, void* wrapper);
    void* getDocument(const VxDbDatabase* database) const;
    void setDocument(const VxDbDatabase* database, void* document);

    size_t objectRecordCount() const;
    void forgetDatabase(const VxDbDatabase* database);

private:
    mutable std::mutex mMutex;  // for the database and document records
    // Object records live beside each object's id (every lookup reads one), so they are
    // neither locked nor hashed: the automation layer works in one apartment.
    std::atomic<size_t> mObjectRecords{0};
    std::unordered_map<const VxDbDatabase*, void*> mDatabases;
    std::unordered_map<const VxDbDatabase*, void*> mDocuments;
};

VxAxOleLinkManager* VxAxGetOleLinkManager();

}  // namespace kx
