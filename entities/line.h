// The line's own members. Each opens the line for the length of the call; a line that does
// not open (erased, of another class, not bound) answers E_POINTER from every one of them.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "core/object_ref.h"
#include "kxauto.h"

namespace nk::lines {

enum class End { Start, End };

HRESULT getPoint(VxAxObjectRef& ref, End end, VARIANT* point);
HRESULT putPoint(VxAxObjectRef& ref, End end, const VARIANT& point);
HRESULT getNormal(VxAxObjectRef& ref, VARIANT* normal);
HRESULT putNormal(VxAxObjectRef& ref, const VARIANT& normal);
HRESULT getThickness(VxAxObjectRef& ref, double* thickness);
HRESULT putThickness(VxAxObjectRef& ref, double thickness);
// The offset curves go into the block that owns the line; their wrappers come back as a
// VARIANT array of IDispatch.
HRESULT offset(VxAxObjectRef& ref, IDispatch* app, double distance, VARIANT* curves);
HRESULT getDelta(VxAxObjectRef& ref, VARIANT* delta);
HRESULT getLength(VxAxObjectRef& ref, double* length);
HRESULT getAngle(VxAxObjectRef& ref, double* angle);

}  // namespace nk::lines

namespace nk {

template <class Self, class Base>
class LineMembers : public Base {
public:
    HRESULT STDMETHODCALLTYPE get_StartPoint(VARIANT* point) override { return lines::getPoint(ref(), lines::End::Start, point); }
    HRESULT STDMETHODCALLTYPE put_StartPoint(VARIANT point) override { return lines::putPoint(ref(), lines::End::Start, point); }
    HRESULT STDMETHODCALLTYPE get_EndPoint(VARIANT* point) override { return lines::getPoint(ref(), lines::End::End, point); }
    HRESULT STDMETHODCALLTYPE put_EndPoint(VARIANT point) override { return lines::putPoint(ref(), lines::End::End, point); }
    HRESULT STDMETHODCALLTYPE get_Normal(VARIANT* normal) override { return lines::getNormal(ref(), normal); }
    HRESULT STDMETHODCALLTYPE put_Normal(VARIANT normal) override { return lines::putNormal(ref(), normal); }
    HRESULT STDMETHODCALLTYPE get_Thickness(double* thickness) override { return lines::getThickness(ref(), thickness); }
    HRESULT STDMETHODCALLTYPE put_Thickness(double thickness) override { return lines::putThickness(ref(), thickness); }
    HRESULT STDMETHODCALLTYPE Offset(double distance, VARIANT* curves) override
    {
        return lines::offset(ref(), self().application(), distance, curves);
    }
    HRESULT STDMETHODCALLTYPE get_Delta(VARIANT* delta) override { return lines::getDelta(ref(), delta); }
    HRESULT STDMETHODCALLTYPE get_Length(double* length) override { return lines::getLength(ref(), length); }
    HRESULT STDMETHODCALLTYPE get_Angle(VELT_ANGLE* angle) override { return lines::getAngle(ref(), angle); }

private:
    Self& self() { return *static_cast<Self*>(this); }
    VxAxObjectRef& ref() { return self().objectRef(); }
};

}  // namespace nk
