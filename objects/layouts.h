// What plot configurations, layouts and paper-space viewports have besides their declared
// members (objects/layouts.members, entities/viewport.members).
#pragma once

#include <windows.h>

#include "core/member.h"
#include "core/object_ref.h"
#include "db/layout.h"
#include "services/hostservices.h"

namespace nk {

using PlotValidator = kx::VxDbPlotSettingsValidator;

// What a plot-configuration member works on: the open settings, and the host's validator
// through which every device-dependent value is set.
struct PlotSettingsObject {
    kx::VxDbPlotSettings& s;

    static PlotValidator& validator() { return *kx::vxdbHostApplicationServices()->plotSettingsValidator(); }
    template <class... P, class... A>
    kx::Velt::ErrorStatus valid(kx::Velt::ErrorStatus (PlotValidator::*set)(kx::VxDbPlotSettings*, P...), A&&... a)
    {
        return (validator().*set)(&s, std::forward<A>(a)...);
    }
    // A device keeps the current media when it has it.
    kx::Velt::ErrorStatus setDevice(const wchar_t* name) { return validator().setPlotCfgName(&s, name); }
    // A standard scale the host does not know leaves the current one in place.
    kx::Velt::ErrorStatus setStandardScale(long type)
    {
        return type < 0 ? kx::Velt::eOk : validator().setStdScaleType(&s, static_cast<int>(type));
    }
};

// Opens the settings (a layout too) for the call; a failed open raises its status. Values
// are converted before the document is locked.
template <class Itf, class T>
struct PlotAccess : ObjectTarget<Itf>, AccessSteps<PlotAccess<Itf, T>> {
    using Object = PlotSettingsObject;
    template <class Body>
    static HRESULT withObject(VxAxObjectRef& ref, kx::VxDb::OpenMode mode, Body&& body)
    {
        OpenedObject<T> object(ref, mode);
        PlotSettingsObject settings{*object.orThrow()};
        return body(settings);
    }
};

namespace conv {

// The enumerations of plot settings, deliberately lopsided where the two ways differ.
// Paper units: 1 and 2 are themselves, anything else inches (0), both ways.
struct PlotPaperUnits : Long {
    template <class A>
    static long in(A v)
    {
        const long n = static_cast<long>(v);
        return n == 1 || n == 2 ? n : 0;
    }
    template <class H, class A>
    static void out(H v, A* o)
    {
        *o = static_cast<A>(in(static_cast<long>(v)));
    }
};
// Rotation: 0 ... 3 are set as they are, anything else as 0; 0 ... 2 read as they are,
// anything else as 3.
struct PlotRotation : Long {
    template <class A>
    static long in(A v)
    {
        const long n = static_cast<long>(v);
        return n >= 0 && n <= 3 ? n : 0;
    }
    template <class H, class A>
    static void out(H v, A* o)
    {
        const long n = static_cast<long>(v);
        *o = static_cast<A>(n >= 0 && n <= 2 ? n : 3);
    }
};
// Plot type: 1 ... 5 are themselves, anything else the display (0), both ways.
struct PlotType : Long {
    template <class A>
    static long in(A v)
    {
        const long n = static_cast<long>(v);
        return n >= 1 && n <= 5 ? n : 0;
    }
    template <class H, class A>
    static void out(H v, A* o)
    {
        *o = static_cast<A>(in(static_cast<long>(v)));
    }
};
// Standard scale: 0 ... 32 are themselves; anything else is none (-1), which keeps the
// current scale.
struct PlotScale : Long {
    template <class A>
    static long in(A v)
    {
        const long n = static_cast<long>(v);
        return n >= 0 && n <= 32 ? n : -1;
    }
};

}  // namespace conv

namespace layouts {
// Deletes a paper layout with its block through the layout manager; the model layout: E_FAIL.
HRESULT erase(VxAxObjectRef& layout);
}  // namespace layouts

// Delete and Erase of a layout's object members.
template <class Self, class Base>
class LayoutErase : public Base {
public:
    HRESULT erase()
    {
        Self& self = *static_cast<Self*>(this);
        HRESULT hr = layouts::erase(self.objectRef());
        if (SUCCEEDED(hr)) self.NullObjectId();
        return hr;
    }
};

}  // namespace nk
