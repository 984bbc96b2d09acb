#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <unordered_set>

#include "db/objectid.h"
#include "db/status.h"

namespace kx {

class VxDbDatabase;

// The embedded host has no screen. Highlighting and display updates are
// recorded instead, so that callers can see what was asked for.
class VxHostDisplay {
public:
    static VxHostDisplay& instance();

    void setHighlight(VxDbObjectId id, bool on);
    bool isHighlighted(VxDbObjectId id) const;
    size_t highlightedCount() const;
    void requestUpdate();
    size_t updateCount() const;
    void entityUpdated(VxDbObjectId id);
    size_t entityUpdateCount() const;
    VxDbObjectId lastUpdatedEntity() const;
    void forgetDatabase(const VxDbDatabase* database);
    void reset();

private:
    mutable std::mutex mMutex;
    std::unordered_set<VxDbObjectId> mHighlighted;
    size_t mUpdates = 0;
    size_t mEntityUpdates = 0;
    VxDbObjectId mLastEntity;
};

// An entity name of the editor interface: two 64-bit words, the first the
// object id's value.
using VxDbVdsName = int64_t[2];

Velt::ErrorStatus vxdbGetVdsName(VxDbVdsName& name, VxDbObjectId id);
Velt::ErrorStatus vxdbGetObjectId(VxDbObjectId& id, const VxDbVdsName& name);
// Both answer kRtNorm, or kRtError for a name that is no entity.
int vxdbEntUpd(const VxDbVdsName& name);
int vxedUpdateDisplay();

}  // namespace kx
