#include "entities/line.h"

#include <vector>

#include "axsupport/values.h"
#include "containers/append.h"
#include "core/call.h"
#include "db/entities.h"
#include "services/doclock.h"

namespace nk::lines {
namespace {

const IID& kLineIid = __uuidof(IVeltLine);

// Reads the line open for read; E_POINTER when it does not open, whatever the reason.
template <class Read>
HRESULT readLine(VxAxObjectRef& ref, Read&& read)
{
    OpenedObject<kx::VxDbLine> line(ref, kx::VxDb::kForRead);
    if (!line.isOpen()) return E_POINTER;
    return guarded(kLineIid, [&] { return read(*line.get()); });
}

// Changes the line under the document lock; the host's status is thrown.
template <class Write>
HRESULT writeLine(VxAxObjectRef& ref, Write&& write)
{
    return guarded(kLineIid, [&] {
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<kx::VxDbLine> line(ref, kx::VxDb::kForWrite);
        if (!line.isOpen()) return E_POINTER;
        check(write(*line.get()));
        return S_OK;
    });
}

// Points and vectors alike leave as three doubles; out is empty.
HRESULT toVariant(double x, double y, double z, VARIANT* out)
{
    VxAxPoint3d(x, y, z).setVariant(*out);
    return S_OK;
}
HRESULT toVariant(const kx::VxGePoint3d& p, VARIANT* out) { return toVariant(p.x, p.y, p.z, out); }
HRESULT toVariant(const kx::VxGeVector3d& v, VARIANT* out) { return toVariant(v.x, v.y, v.z, out); }

kx::VxGeVector3d deltaOf(const kx::VxDbLine& line) { return line.endPoint() - line.startPoint(); }

}  // namespace

HRESULT getPoint(VxAxObjectRef& ref, End end, VARIANT* point)
{
    if (!point) return E_POINTER;
    VariantInit(point);
    return readLine(ref, [&](const kx::VxDbLine& line) {
        return toVariant(end == End::Start ? line.startPoint() : line.endPoint(), point);
    });
}

HRESULT putPoint(VxAxObjectRef& ref, End end, const VARIANT& point)
{
    return guarded(kLineIid, [&] {
        const VxAxPoint3d p(point);
        return writeLine(ref, [&](kx::VxDbLine& line) {
            return end == End::Start ? line.setStartPoint(p) : line.setEndPoint(p);
        });
    });
}

HRESULT getNormal(VxAxObjectRef& ref, VARIANT* normal)
{
    if (!normal) return E_POINTER;
    VariantInit(normal);
    return readLine(ref, [&](const kx::VxDbLine& line) { return toVariant(line.normal(), normal); });
}

HRESULT putNormal(VxAxObjectRef& ref, const VARIANT& normal)
{
    return guarded(kLineIid, [&] {
        // Passed on as it is: the host decides what a normal may be.
        const kx::VxGeVector3d n = VxAxPoint3d(normal).asVector();
        return writeLine(ref, [&](kx::VxDbLine& line) { return line.setNormal(n); });
    });
}

HRESULT getThickness(VxAxObjectRef& ref, double* thickness)
{
    if (!thickness) return E_POINTER;
    *thickness = 0.0;
    return readLine(ref, [&](const kx::VxDbLine& line) {
        *thickness = line.thickness();
        return S_OK;
    });
}

HRESULT putThickness(VxAxObjectRef& ref, double thickness)
{
    return writeLine(ref, [&](kx::VxDbLine& line) { return line.setThickness(thickness); });
}

HRESULT offset(VxAxObjectRef& ref, IDispatch* app, double distance, VARIANT* curves)
{
    if (!curves) return E_POINTER;
    VariantInit(curves);
    return guarded(kLineIid, [&] {
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        std::vector<NewEntity> made;
        kx::VxDbObjectId owner;
        {
            OpenedObject<kx::VxDbLine> line(ref, kx::VxDb::kForRead);
            if (!line.isOpen()) return E_POINTER;
            // The curves go beside the line; a line in no block has nowhere to put them.
            if (!line->isResident()) throw kx::Velt::eNotInDatabase;
            std::vector<kx::VxDbEntity*> raw;
            kx::Velt::ErrorStatus es = line->getOffsetCurves(distance, raw);
            for (kx::VxDbEntity* curve : raw) made.emplace_back(curve);
            check(es);
            owner = line->ownerId();
        }
        return appendWithWrappers(owner, std::move(made), app, curves);
    });
}

HRESULT getDelta(VxAxObjectRef& ref, VARIANT* delta)
{
    if (!delta) return E_POINTER;
    VariantInit(delta);
    return readLine(ref, [&](const kx::VxDbLine& line) { return toVariant(deltaOf(line), delta); });
}

HRESULT getLength(VxAxObjectRef& ref, double* length)
{
    if (!length) return E_POINTER;
    *length = 0.0;
    return readLine(ref, [&](const kx::VxDbLine& line) {
        *length = deltaOf(line).length();
        return S_OK;
    });
}

HRESULT getAngle(VxAxObjectRef& ref, double* angle)
{
    if (!angle) return E_POINTER;
    *angle = 0.0;
    return readLine(ref, [&](const kx::VxDbLine& line) {
        // In the world xy plane, whatever the line's own normal: 0 up to 2 pi.
        kx::VxGeVector3d flat = deltaOf(line);
        flat.z = 0.0;
        *angle = kx::VxGeVector3d::kXAxis.angleTo(flat, kx::VxGeVector3d::kZAxis);
        return S_OK;
    });
}

}  // namespace nk::lines
