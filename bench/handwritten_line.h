// The line's members as they were written by hand before members were declared: kept here
// only as the benchmark's reference, so that the generated path is measured against it in
// the same run. The same open, call, close pattern and error edge, one function a member.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "axsupport/values.h"
#include "core/call.h"
#include "core/object_ref.h"
#include "db/entities.h"
#include "kxauto.h"
#include "services/doclock.h"

namespace handwritten {

inline const IID& lineIid() { return __uuidof(IVeltLine); }

template <class Read>
HRESULT readLine(VxAxObjectRef& ref, Read&& read)
{
    nk::OpenedObject<kx::VxDbLine> line(ref, kx::VxDb::kForRead);
    if (!line.isOpen()) return E_POINTER;
    return nk::guarded(lineIid(), [&] { return read(*line.get()); });
}

template <class Write>
HRESULT writeLine(VxAxObjectRef& ref, Write&& write)
{
    return nk::guarded(lineIid(), [&] {
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        nk::check(lock.lockStatus());
        nk::OpenedObject<kx::VxDbLine> line(ref, kx::VxDb::kForWrite);
        if (!line.isOpen()) return E_POINTER;
        nk::check(write(*line.get()));
        return S_OK;
    });
}

inline HRESULT getStartPoint(VxAxObjectRef& ref, VARIANT* point)
{
    if (!point) return E_POINTER;
    VariantInit(point);
    return readLine(ref, [&](const kx::VxDbLine& line) {
        VxAxPoint3d(line.startPoint()).setVariant(*point);
        return S_OK;
    });
}

inline HRESULT putStartPoint(VxAxObjectRef& ref, const VARIANT& point)
{
    return nk::guarded(lineIid(), [&] {
        const VxAxPoint3d p(point);
        return writeLine(ref, [&](kx::VxDbLine& line) { return line.setStartPoint(p); });
    });
}

inline HRESULT getThickness(VxAxObjectRef& ref, double* thickness)
{
    if (!thickness) return E_POINTER;
    *thickness = 0.0;
    return readLine(ref, [&](const kx::VxDbLine& line) {
        *thickness = line.thickness();
        return S_OK;
    });
}

inline HRESULT putThickness(VxAxObjectRef& ref, double thickness)
{
    return writeLine(ref, [&](kx::VxDbLine& line) { return line.setThickness(thickness); });
}

// The four members behind a vtable, as the wrapper had them.
class Line {
public:
    explicit Line(kx::VxDbObjectId id) : ref_(id) {}
    virtual ~Line() = default;
    virtual HRESULT STDMETHODCALLTYPE get_StartPoint(VARIANT* point) { return getStartPoint(ref_, point); }
    virtual HRESULT STDMETHODCALLTYPE put_StartPoint(VARIANT point) { return putStartPoint(ref_, point); }
    virtual HRESULT STDMETHODCALLTYPE get_Thickness(double* thickness) { return getThickness(ref_, thickness); }
    virtual HRESULT STDMETHODCALLTYPE put_Thickness(double thickness) { return putThickness(ref_, thickness); }

private:
    VxAxObjectRef ref_;
};

}  // namespace handwritten
