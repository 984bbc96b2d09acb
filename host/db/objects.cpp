#include "db/objects.h"

#include <cmath>

#include "db/internal.h"
#include "db/symtables.h"

namespace kx {

// ---- extended records ----

VX_RX_DEFINE_MEMBERS(VxDbXrecord, VxDbObject, L"KxDbXrecord", &vxrxCreateInstance<VxDbXrecord>, L"XRECORD")

VxDbXrecord::~VxDbXrecord() { vxutRelRb(mData); }

Velt::ErrorStatus VxDbXrecord::rbChain(VxResBuf*& chain) const
{
    chain = vxutDupRb(mData);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbXrecord::setFromRbChain(const VxResBuf* chain)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    for (const VxResBuf* rb = chain; rb; rb = rb->rbnext) {
        const int code = rb->restype;
        if (code < 0 || code >= 1000 || code == 5 || code == 105 ||
            VxDbDxfCode::getType(code) == VxDbDxfCode::kUnknown)
            return Velt::eInvalidDxfCode;
        if (vxutStorageOf(code) == VxRbStorage::kBinary &&
            (rb->resval.rbinary.clen < 0 || (rb->resval.rbinary.clen > 0 && !rb->resval.rbinary.buf)))
            return Velt::eInvalidResBuf;
    }
    VxResBuf* copy = vxutDupRb(chain);
    vxutRelRb(mData);
    mData = copy;
    markModified();
    return Velt::eOk;
}

void VxDbXrecord::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbObject::visitReferences(visitor);
    for (VxResBuf* rb = mData; rb; rb = rb->rbnext) {
        VxDb::ReferenceKind kind;
        switch (VxDbDxfCode::getType(rb->restype)) {
        case VxDbDxfCode::kSoftPointerId: kind = VxDb::kSoftPointerRef; break;
        case VxDbDxfCode::kHardPointerId: kind = VxDb::kHardPointerRef; break;
        case VxDbDxfCode::kSoftOwnershipId: kind = VxDb::kSoftOwnershipRef; break;
        case VxDbDxfCode::kHardOwnershipId: kind = VxDb::kHardOwnershipRef; break;
        default: continue;
        }
        VxDbObjectId id = VxDbObjectId::fromOldId(rb->resval.rlname[0]);
        visitor.visit(id, kind);
        rb->resval.rlname[0] = id.asOldId();
    }
}

void VxDbXrecord::copyDataFrom(const VxDbObject& other)
{
    VxDbObject::copyDataFrom(other);
    const auto& record = static_cast<const VxDbXrecord&>(other);
    VxResBuf* copy = vxutDupRb(record.mData);
    vxutRelRb(mData);
    mData = copy;
    mMergeStyle = record.mMergeStyle;
    mXlateReferences = record.mXlateReferences;
}

// ---- simple objects ----

VX_RX_DEFINE_MEMBERS(VxDbPlaceHolder, VxDbObject, L"KxDbPlaceHolder", &vxrxCreateInstance<VxDbPlaceHolder>,
                     L"ACDBPLACEHOLDER")

VX_RX_DEFINE_MEMBERS(VxDbNamedObject, VxDbObject, L"KxDbNamedObject", nullptr, nullptr)

Velt::ErrorStatus VxDbNamedObject::setName(const wchar_t* name)
{
    if (!name || !vxIsValidSymbolName(name))
        return Velt::eInvalidSymbolName;
    return setField(mName, std::wstring(name));
}

Velt::ErrorStatus VxDbNamedObject::setDescription(const wchar_t* text)
{
    return setField(mDescription, std::wstring(vxView(text)));
}

void VxDbNamedObject::copyDataFrom(const VxDbObject& other)
{
    VxDbObject::copyDataFrom(other);
    const auto& named = static_cast<const VxDbNamedObject&>(other);
    mName = named.mName;
    mDescription = named.mDescription;
}

VX_RX_DEFINE_MEMBERS(VxDbMaterial, VxDbNamedObject, L"KxDbMaterial", &vxrxCreateInstance<VxDbMaterial>, L"MATERIAL")
VX_RX_DEFINE_MEMBERS(VxDbTableStyle, VxDbNamedObject, L"KxDbTableStyle", &vxrxCreateInstance<VxDbTableStyle>,
                     L"TABLESTYLE")
VX_RX_DEFINE_MEMBERS(VxDbMLeaderStyle, VxDbNamedObject, L"KxDbMLeaderStyle", &vxrxCreateInstance<VxDbMLeaderStyle>,
                     L"MLEADERSTYLE")
VX_RX_DEFINE_MEMBERS(VxDbMlineStyle, VxDbNamedObject, L"KxDbMlineStyle", &vxrxCreateInstance<VxDbMlineStyle>,
                     L"MLINESTYLE")

Velt::ErrorStatus VxDbMlineStyle::addElement(double offset, const VxCmColor& color, VxDbObjectId linetype)
{
    if (!std::isfinite(offset))
        return Velt::eInvalidInput;
    if (mElements.size() >= 16)
        return Velt::eOutOfRange;
    if (Velt::ErrorStatus es = detail::checkReference(linetype, VxDbLinetypeTableRecord::desc(), database(), true))
        return es;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    // Elements stay sorted by offset, largest first.
    Element element{offset, color, linetype};
    auto it = mElements.begin();
    while (it != mElements.end() && it->offset >= offset)
        ++it;
    mElements.insert(it, element);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbMlineStyle::removeElementAt(int index)
{
    if (index < 0 || index >= int(mElements.size()))
        return Velt::eInvalidIndex;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mElements.erase(mElements.begin() + index);
    return Velt::eOk;
}

namespace {

bool isCapAngle(double angle)
{
    const double tenDegrees = 0.17453292519943295;
    return std::isfinite(angle) && angle >= tenDegrees - 1e-12 && angle <= 17 * tenDegrees + 1e-12;
}

}  // namespace

Velt::ErrorStatus VxDbMlineStyle::setStartAngle(double angle)
{
    if (!isCapAngle(angle))
        return Velt::eOutOfRange;
    return setField(mStartAngle, angle);
}

Velt::ErrorStatus VxDbMlineStyle::setEndAngle(double angle)
{
    if (!isCapAngle(angle))
        return Velt::eOutOfRange;
    return setField(mEndAngle, angle);
}

void VxDbMlineStyle::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbNamedObject::visitReferences(visitor);
    for (Element& element : mElements) {
        if (!element.linetype.isNull())
            visitor.visit(element.linetype, VxDb::kHardPointerRef);
    }
}

void VxDbMlineStyle::copyDataFrom(const VxDbObject& other)
{
    VxDbNamedObject::copyDataFrom(other);
    const auto& style = static_cast<const VxDbMlineStyle&>(other);
    mElements = style.mElements;
    mFillColor = style.mFillColor;
    mStartAngle = style.mStartAngle;
    mEndAngle = style.mEndAngle;
    mFilled = style.mFilled;
}

}  // namespace kx
