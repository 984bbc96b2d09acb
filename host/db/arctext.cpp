#include "db/arctext.h"

#include <algorithm>
#include <cmath>

#include "db/database.h"
#include "db/entities.h"
#include "db/internal.h"
#include "dxf/dxfstream.h"

namespace kx {

KX_DB_DEFINE_KIND(VxDbArcAlignedText, VxDbEntity, L"KxDbArcAlignedText", &vxrxCreateInstance<VxDbArcAlignedText>,
                  L"ARCALIGNEDTEXT", "AcDbArcAlignedText")

Velt::ErrorStatus VxDbArcAlignedText::setArc(const VxDbArc& arc)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const VxDbObjectId id = arc.objectId();
    if (!id.isNull() && database() && id.database() != database())
        return Velt::eWrongDatabase;
    mFields.center = arc.center();
    mFields.radius = arc.radius();
    mFields.startAngle = arc.startAngle();
    mFields.endAngle = arc.endAngle();
    mFields.normal = arc.normal();
    mArc = id;
    mArcHandle = 0;
    markModified();
    return Velt::eOk;
}

VxDbObjectId VxDbArcAlignedText::arcId() const
{
    VxDbObjectId id = mArc;
    VxDbDatabase* db = database();
    if (id.isNull() && mArcHandle && db)
        db->getVxDbObjectId(id, false, VxDbHandle(mArcHandle));
    if (id.isNull() || detail::checkReference(id, VxDbArc::desc(), db) != Velt::eOk)
        return VxDbObjectId();
    return id;
}

VxGeCircArc3d VxDbArcAlignedText::geArc() const
{
    const Fields& f = mFields;
    return VxGeCircArc3d(f.center, f.normal, VxGeVector3d{}, f.radius, f.startAngle,
                         f.startAngle + vxgeSweep(f.startAngle, f.endAngle));
}

Velt::ErrorStatus VxDbArcAlignedText::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!xform.isUniScaledOrtho())
        return Velt::eCannotScaleNonUniformly;
    VxGeCircArc3d arc = geArc();
    if (!arc.transformBy(xform) || !(arc.radius() > 0.0))
        return Velt::eInvalidInput;
    arc.rebaseAngles(VxGeVector3d{});
    const double scale = xform.scale();
    Fields& f = mFields;
    f.center = arc.center();
    f.normal = arc.normal();
    f.radius = arc.radius();
    f.startAngle = vxgeNormalizeAngle(arc.startAng());
    f.endAngle = vxgeNormalizeAngle(arc.endAng());
    // The lettering scales with its arc.
    f.textHeight *= scale;
    f.offsetFromArc *= scale;
    f.leftOffset *= scale;
    f.rightOffset *= scale;
    f.charSpacing *= scale;
    markModified();
    return Velt::eOk;
}

// The ring one text height either side of the letters' base line (the arc moved by the
// offset), over the arc's sweep and sampled along it: without font metrics, the box holds
// every letter on either side of the arc.
Velt::ErrorStatus VxDbArcAlignedText::getGeomExtents(VxGeExtents3d& extents) const
{
    const Fields& f = mFields;
    const double base = f.radius + f.offsetFromArc;
    const double inner = std::max(0.0, base - f.textHeight);
    const double outer = std::max(0.0, base + f.textHeight);
    const double sweep = vxgeSweep(f.startAngle, f.endAngle);
    constexpr int kSteps = 64;
    for (double r : {inner, outer}) {
        VxGeCircArc3d ring(f.center, f.normal, VxGeVector3d{}, std::max(r, 1e-12), f.startAngle, f.startAngle + sweep);
        for (int i = 0; i <= kSteps; ++i)
            extents.addPoint(ring.evalPoint(f.startAngle + sweep * i / kSteps));
        // The quadrant points the sweep passes hold the ring's farthest reach.
        for (int q = 0; q < 4; ++q) {
            const double along = vxgeSweep(f.startAngle, q * kPi / 2);
            if (along < sweep)
                extents.addPoint(ring.evalPoint(f.startAngle + along));
        }
    }
    return Velt::eOk;
}

void VxDbArcAlignedText::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbEntity::visitReferences(visitor);
    if (mArc.isNull() && mArcHandle)
        mArc = arcId();
    if (!mArc.isNull())
        visitor.visit(mArc, VxDb::kSoftPointerRef);
}

bool VxDbArcAlignedText::readDxfGroup(int code, std::string_view value)
{
    if (code != 330)
        return false;
    uint64_t handle = 0;
    if (!dxf::parseHandle(value, handle))
        return false;
    mArc = VxDbObjectId();
    mArcHandle = handle;
    return true;
}

void VxDbArcAlignedText::writeDxfGroups(dxf::GroupWriter& out, VxDbDxfVersion, bool) const
{
    const VxDbObjectId arc = arcId();
    if (!arc.isNull())
        out.handle(330, arc.handle().value());
}

void VxDbArcAlignedText::copyExtraData(const VxDbArcAlignedText& other)
{
    mArc = other.mArc;
    mArcHandle = other.mArcHandle;
}

}  // namespace kx
