#pragma once

#include <unordered_map>
#include <vector>

#include "db/dbenums.h"
#include "db/objectid.h"

namespace kx {

class VxDbDatabase;

// One object of a clone: the original (key), what it became (value), and
// whether it was copied (cloned) and asked for (primary). A record that the
// destination already had is mapped without being cloned.
class VxDbIdPair {
public:
    VxDbIdPair() = default;
    VxDbIdPair(VxDbObjectId key, VxDbObjectId value, bool isCloned, bool isPrimary = false, bool isOwnerXlated = true)
        : mKey(key), mValue(value), mCloned(isCloned), mPrimary(isPrimary), mOwnerXlated(isOwnerXlated)
    {
    }

    VxDbObjectId key() const { return mKey; }
    VxDbObjectId value() const { return mValue; }
    bool isCloned() const { return mCloned; }
    bool isPrimary() const { return mPrimary; }
    bool isOwnerXlated() const { return mOwnerXlated; }
    void setKey(VxDbObjectId id) { mKey = id; }
    void setValue(VxDbObjectId id) { mValue = id; }
    void setIsCloned(bool value) { mCloned = value; }
    void setIsPrimary(bool value) { mPrimary = value; }
    void setIsOwnerXlated(bool value) { mOwnerXlated = value; }

private:
    VxDbObjectId mKey;
    VxDbObjectId mValue;
    bool mCloned = false;
    bool mPrimary = false;
    bool mOwnerXlated = true;
};

// The pairs of one clone operation, in the order they were made.
class VxDbIdMapping {
public:
    void assign(const VxDbIdPair& pair);
    // Looks up the pair of an original id.
    bool compute(VxDbIdPair& pair) const;
    bool del(VxDbObjectId key);
    const std::vector<VxDbIdPair>& pairs() const { return mPairs; }
    size_t numPairs() const { return mPairs.size(); }
    void clear();

    VxDbDatabase* origDb() const { return mOrigDb; }
    VxDbDatabase* destDb() const { return mDestDb; }
    void setOrigDb(VxDbDatabase* database) { mOrigDb = database; }
    void setDestDb(VxDbDatabase* database) { mDestDb = database; }
    VxDb::DuplicateRecordCloning duplicateRecordCloning() const { return mDrc; }
    void setDuplicateRecordCloning(VxDb::DuplicateRecordCloning drc) { mDrc = drc; }

private:
    std::vector<VxDbIdPair> mPairs;
    std::unordered_map<VxDbObjectId, size_t> mIndex;
    VxDbDatabase* mOrigDb = nullptr;
    VxDbDatabase* mDestDb = nullptr;
    VxDb::DuplicateRecordCloning mDrc = VxDb::kDrcNotApplicable;
};

}  // namespace kx
