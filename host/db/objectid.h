#pragma once

#include <cstdint>
#include <functional>

#include "db/handle.h"

namespace kx {

class VxDbDatabase;
class VxRxClass;

// The identity of an object within a running session: which database and
// which slot of it. It stays meaningful after the object is erased (and
// reports that), and after its database is gone (it then resolves to
// nothing). Packed into 64 bits so that it can cross the automation
// interface as an integer: a generation and serial naming the database, and
// the slot of the object's stub.
class VxDbObjectId {
public:
    constexpr VxDbObjectId() = default;
    static const VxDbObjectId kNull;

    bool isNull() const { return mValue == 0; }
    // Not null, its database alive and the slot in use.
    bool isValid() const;
    bool isErased() const;
    bool isPermanentlyErased() const;
    VxDbDatabase* database() const;
    VxDbHandle handle() const;
    // The runtime class of the object behind the id; null when there is none.
    VxRxClass* objectClass() const;

    // The id as a 64-bit integer and back. Any integer is safe to turn back:
    // one that names no live object gives an id that is not valid.
    int64_t asOldId() const { return static_cast<int64_t>(mValue); }
    VxDbObjectId& setFromOldId(int64_t value)
    {
        mValue = static_cast<uint64_t>(value);
        return *this;
    }
    static VxDbObjectId fromOldId(int64_t value) { return VxDbObjectId().setFromOldId(value); }
    uint64_t value() const { return mValue; }
    void setNull() { mValue = 0; }

    auto operator<=>(const VxDbObjectId&) const = default;

private:
    friend class VxDbDatabase;
    friend class VxDbObject;
    constexpr explicit VxDbObjectId(uint64_t value) : mValue(value) {}
    uint64_t mValue = 0;
};

inline constexpr VxDbObjectId VxDbObjectId::kNull{};

}  // namespace kx

template <>
struct std::hash<kx::VxDbObjectId> {
    size_t operator()(const kx::VxDbObjectId& id) const noexcept { return std::hash<uint64_t>()(id.value()); }
};
