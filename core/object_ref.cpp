#include "core/object_ref.h"

VxAxObjectRef::VxAxObjectRef(kx::VxDbObject* owned) : owned_(owned)
{
    if (owned && owned->isResident()) {
        id_ = owned->objectId();
        owned_.release();
    }
}

VxAxObjectRef::~VxAxObjectRef() = default;

kx::VxDbObjectId VxAxObjectRef::ownedObjectId() const
{
    return owned_->isResident() ? owned_->objectId() : id_;
}

void VxAxObjectRef::setObjectId(kx::VxDbObjectId id)
{
    // An owned object that went into a database belongs to the database now.
    if (owned_ && owned_->isResident()) owned_.release();
    owned_.reset();
    id_ = id;
}


void VxAxObjectRef::Deleter::operator()(kx::VxDbObject* object) const
{
    // Once appended, the object is its database's.
    if (object && !object->isResident()) delete object;
}
