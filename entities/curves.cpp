// The members of the curve entities that are more than one value of their object: offsets,
// the line's angle and the ellipse's radii. The plain members are declared in
// entities/entities.members.
#include <vector>

#include "containers/append.h"
#include "members_gen.h"

namespace nk::curves {
namespace {

using EllipseAccess = OwnAccess<IVeltEllipse, kx::VxDbEllipse>;

// The whole of an ellipse, changed and set again in one call so that it stays consistent.
struct EllipseDefinition {
    explicit EllipseDefinition(const kx::VxDbEllipse& e) { e.get(center, normal, majorAxis, ratio, start, end); }
    kx::Velt::ErrorStatus setTo(kx::VxDbEllipse& e) const { return e.set(center, normal, majorAxis, ratio, start, end); }

    kx::VxGePoint3d center;
    kx::VxGeVector3d normal, majorAxis;
    double ratio = 1.0, start = 0.0, end = 0.0;
};

}  // namespace

// The curves go beside the curve, into the block that owns it; their wrappers come back as
// a VARIANT array of IDispatch.
HRESULT offset(VxAxObjectRef& ref, IDispatch* app, double distance, VARIANT* curves)
{
    if (!curves) return E_POINTER;
    VariantInit(curves);
    return guarded(__uuidof(IVeltEntity), [&] {
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        std::vector<NewEntity> made;
        kx::VxDbObjectId owner;
        {
            OpenedObject<kx::VxDbCurve> curve(ref, kx::VxDb::kForRead);
            if (!curve.isOpen()) return E_POINTER;
            // A curve in no block has nowhere to put them.
            if (!curve->isResident()) throw kx::Velt::eNotInDatabase;
            std::vector<kx::VxDbEntity*> raw;
            kx::Velt::ErrorStatus es = curve->getOffsetCurves(distance, raw);
            for (kx::VxDbEntity* c : raw) made.emplace_back(c);
            check(es);
            owner = curve->ownerId();
        }
        return appendWithWrappers(owner, std::move(made), app, curves);
    });
}

// In the world xy plane, whatever the line's own normal: 0 up to 2 pi.
HRESULT lineAngle(VxAxObjectRef& ref, VELT_ANGLE* angle)
{
    return member::get<OwnAccess<IVeltLine, kx::VxDbLine>, conv::Double>(ref, angle, [](const kx::VxDbLine& line) {
        kx::VxGeVector3d flat = line.delta();
        flat.z = 0.0;
        return kx::VxGeVector3d::kXAxis.angleTo(flat, kx::VxGeVector3d::kZAxis);
    });
}

// The major axis keeps its direction; the ratio follows so that the minor radius stays. A
// major radius below the minor one makes a ratio above 1, which the host refuses.
HRESULT setMajorRadius(VxAxObjectRef& ref, double radius)
{
    return member::put<EllipseAccess, conv::Length>(ref, radius, [](kx::VxDbEllipse& e, double major) {
        EllipseDefinition d(e);
        const double oldMajor = d.majorAxis.length();
        d.ratio = d.ratio * oldMajor / major;
        d.majorAxis = d.majorAxis.normal() * major;
        return d.setTo(e);
    });
}

// The major axis stays; only the ratio changes.
HRESULT setMinorRadius(VxAxObjectRef& ref, double radius)
{
    return member::put<EllipseAccess, conv::Length>(ref, radius, [](kx::VxDbEllipse& e, double minor) {
        EllipseDefinition d(e);
        d.ratio = minor / d.majorAxis.length();
        return d.setTo(e);
    });
}

}  // namespace nk::curves
