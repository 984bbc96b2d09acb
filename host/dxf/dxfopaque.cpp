#include "dxf/dxfopaque.h"

namespace kx {

VX_RX_DEFINE_MEMBERS(VxDbDxfOpaqueEntity, VxDbEntity, L"KxDbDxfOpaqueEntity",
                     &vxrxCreateInstance<VxDbDxfOpaqueEntity>, nullptr)
VX_RX_DEFINE_MEMBERS(VxDbDxfOpaqueObject, VxDbObject, L"KxDbDxfOpaqueObject",
                     &vxrxCreateInstance<VxDbDxfOpaqueObject>, nullptr)

namespace detail {

namespace {

VxDb::ReferenceKind kindOfCode(int code)
{
    if (code >= 330 && code <= 339)
        return VxDb::kSoftPointerRef;
    if (code >= 350 && code <= 359)
        return VxDb::kSoftOwnershipRef;
    if (code >= 360 && code <= 369)
        return VxDb::kHardOwnershipRef;
    return VxDb::kHardPointerRef;
}

}  // namespace

void visitGroupReferences(VxDbDxfGroups& groups, VxDbReferenceVisitor& visitor)
{
    for (VxDbDxfGroup& group : groups) {
        if (!group.ref.isNull())
            visitor.visit(group.ref, kindOfCode(group.code));
    }
}

}  // namespace detail

Velt::ErrorStatus VxDbDxfOpaqueEntity::transformBy(const VxGeMatrix3d&) { return Velt::eNotApplicable; }

Velt::ErrorStatus VxDbDxfOpaqueEntity::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.reset();
    return Velt::eNotApplicable;
}

void VxDbDxfOpaqueEntity::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbEntity::visitReferences(visitor);
    detail::visitGroupReferences(mGroups, visitor);
    for (VxDbDxfSubRecord& record : mSubRecords)
        detail::visitGroupReferences(record.groups, visitor);
}

void VxDbDxfOpaqueEntity::copyDataFrom(const VxDbObject& other)
{
    VxDbEntity::copyDataFrom(other);
    const auto& source = static_cast<const VxDbDxfOpaqueEntity&>(other);
    mDxfName = source.mDxfName;
    mGroups = source.mGroups;
    mSubRecords = source.mSubRecords;
    // A copy must not share the handles reserved for the original's records.
    for (VxDbDxfSubRecord& record : mSubRecords)
        record.handleId = VxDbObjectId();
    mClass = source.mClass;
}

void VxDbDxfOpaqueObject::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbObject::visitReferences(visitor);
    detail::visitGroupReferences(mGroups, visitor);
}

void VxDbDxfOpaqueObject::copyDataFrom(const VxDbObject& other)
{
    VxDbObject::copyDataFrom(other);
    const auto& source = static_cast<const VxDbDxfOpaqueObject&>(other);
    mDxfName = source.mDxfName;
    mGroups = source.mGroups;
    mClass = source.mClass;
}

}  // namespace kx
