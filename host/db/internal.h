#pragma once

// Pieces shared by the host's own sources; not for users of the host.

#include <string>
#include <vector>

#include "db/database.h"
#include "db/object.h"
#include "db/resbuf.h"
#include "ge/matrix.h"

namespace kx::detail {

// Data few objects have, kept out of line so that an object stays small.
struct ObjectExtras {
    ObjectExtras() = default;
    ~ObjectExtras() { vxutRelRb(xdata); }
    ObjectExtras(const ObjectExtras&) = delete;
    ObjectExtras& operator=(const ObjectExtras&) = delete;

    VxResBuf* xdata = nullptr;
    VxDbObjectId extensionDictionary;
    std::vector<VxDbObjectId> reactors;
    // Colour-book names of an entity's colour.
    std::wstring colorName;
    std::wstring bookName;
};

// Id packing: [0][generation:7][serial:16][slot:40].
constexpr unsigned kSlotBits = 40;
constexpr uint64_t kSlotMask = (uint64_t(1) << kSlotBits) - 1;
inline uint64_t packId(uint32_t serial, uint32_t generation, uint64_t slot)
{
    return (uint64_t(generation & 0x7F) << 56) | (uint64_t(serial & 0xFFFF) << kSlotBits) | (slot & kSlotMask);
}
inline uint64_t slotOf(uint64_t idValue) { return idValue & kSlotMask; }

// Sets or clears the erase flag of an object and everything it owns,
// asking each (subErase) first; no open checks, for cascades.
Velt::ErrorStatus eraseTree(VxDbObject* object, bool erasing);

// Hooks into other parts of the host when a database goes away.
void notifyDatabaseDestroyed(VxDbDatabase* database);

// eOk when the id names a live object of the class in the database (any
// database when null); otherwise why not.
Velt::ErrorStatus checkReference(VxDbObjectId id, const VxRxClass* cls, const VxDbDatabase* database,
                                 bool allowNull = false);

// Collects the ids an object owns.
std::vector<VxDbObjectId> ownedIds(VxDbObject* object);

// An entity's thickness after a transformation: it follows a uniform scale; other
// transformations keep it.
inline double transformedThickness(const VxGeMatrix3d& xform, double thickness)
{
    return xform.isUniScaledOrtho() ? thickness * xform.scale() : thickness;
}

}  // namespace kx::detail
