#pragma once

// Entities and objects of kinds the host does not model: kept as the groups
// they were read from, so that writing the drawing gives them back
// unchanged. References among the groups are held as object ids, so that
// they follow the objects when handles change (cloning, insertion).

#include <string>
#include <vector>

#include "db/entity.h"
#include "db/object.h"

namespace kx {

// One group of a kept record. Text is UTF-8; a reference code also holds
// the id of the object its handle named (null when it named none).
struct VxDbDxfGroup {
    int16_t code = 0;
    std::string value;
    VxDbObjectId ref;
};
using VxDbDxfGroups = std::vector<VxDbDxfGroup>;

// How a file declared the class of a record in its CLASSES section.
struct VxDbDxfClassInfo {
    std::string dxfName;
    std::string cppName;
    std::string appName;
    int32_t proxyFlags = 0;
    int32_t instanceCount = 0;
    bool wasProxy = false;
    bool isEntity = false;
    bool isSet() const { return !dxfName.empty(); }
};

// A record that belongs to a kept entity and follows it in the file
// (vertices, attributes, the closing SEQEND). Its handle is reserved in the
// database by a placeholder id.
struct VxDbDxfSubRecord {
    std::string dxfName;
    VxDbObjectId handleId;
    VxDbDxfGroups groups;
};

namespace detail {
// Visits the references of kept groups with the kind their codes give.
void visitGroupReferences(VxDbDxfGroups& groups, VxDbReferenceVisitor& visitor);
}  // namespace detail

// An entity of a kind the host does not model. The common entity
// properties (layer, colour, linetype ...) live in the entity itself and
// can be changed; everything else is kept.
class VxDbDxfOpaqueEntity : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbDxfOpaqueEntity)
public:
    const std::string& dxfName() const { return mDxfName; }
    void setDxfName(std::string name) { mDxfName = std::move(name); }
    // The groups after the common ones, in file order.
    const VxDbDxfGroups& groups() const { return mGroups; }
    VxDbDxfGroups& groups() { return mGroups; }
    const std::vector<VxDbDxfSubRecord>& subRecords() const { return mSubRecords; }
    std::vector<VxDbDxfSubRecord>& subRecords() { return mSubRecords; }
    const VxDbDxfClassInfo& classInfo() const { return mClass; }
    void setClassInfo(const VxDbDxfClassInfo& info) { mClass = info; }

    // No geometry is known: no extents and no transformation.
    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    std::string mDxfName;
    VxDbDxfGroups mGroups;
    std::vector<VxDbDxfSubRecord> mSubRecords;
    VxDbDxfClassInfo mClass;
};

// A non-graphical object of a kind the host does not model.
class VxDbDxfOpaqueObject : public VxDbObject {
    VX_RX_DECLARE_MEMBERS(VxDbDxfOpaqueObject)
public:
    const std::string& dxfName() const { return mDxfName; }
    void setDxfName(std::string name) { mDxfName = std::move(name); }
    const VxDbDxfGroups& groups() const { return mGroups; }
    VxDbDxfGroups& groups() { return mGroups; }
    const VxDbDxfClassInfo& classInfo() const { return mClass; }
    void setClassInfo(const VxDbDxfClassInfo& info) { mClass = info; }

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    std::string mDxfName;
    VxDbDxfGroups mGroups;
    VxDbDxfClassInfo mClass;
};

}  // namespace kx
