// The settings saved with a drawing, as the database wrapper's cached child. Every setter
// locks the document; Booleans are true only for VARIANT_TRUE; the integer settings are
// stored as 16 bits.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <cstdint>

#include "core/wrapper.h"
#include "db/database.h"
#include "frame/com.h"
#include "objects/database.h"

namespace nk {

class PreferencesCore {
public:
    void bind(const DatabaseLink& link, IDispatch* application)
    {
        link_ = link;
        app_ = application;
    }

    using GetFlag = bool (*)(const kx::VxDbDatabase&);
    using SetFlag = kx::Velt::ErrorStatus (*)(kx::VxDbDatabase&, bool);
    using GetShort = int16_t (*)(const kx::VxDbDatabase&);
    using SetShort = kx::Velt::ErrorStatus (*)(kx::VxDbDatabase&, int16_t);

    HRESULT application(IDispatch** out);
    HRESULT flag(VARIANT_BOOL* out, GetFlag get);
    HRESULT setFlag(VARIANT_BOOL value, SetFlag set);
    // One bit of the object-sort flags.
    HRESULT sortFlag(VARIANT_BOOL* out, uint8_t bit);
    HRESULT setSortFlag(VARIANT_BOOL value, uint8_t bit);
    HRESULT shortValue(LONG* out, GetShort get);
    HRESULT setShortValue(LONG value, SetShort set);
    HRESULT renderSmoothness(double* out);
    HRESULT setRenderSmoothness(double value);
    HRESULT lineweight(VELT_LWEIGHT* out);
    HRESULT setLineweight(VELT_LWEIGHT value);

private:
    DatabaseLink link_;
    ComPtr<IDispatch> app_;
};

// The host's accessors of each setting.
namespace preference {
inline bool fillmode(const kx::VxDbDatabase& d) { return d.fillmode(); }
inline kx::Velt::ErrorStatus setFillmode(kx::VxDbDatabase& d, bool v) { return d.setFillmode(v); }
inline bool xrefEdit(const kx::VxDbDatabase& d) { return d.xrefEditEnabled(); }
inline kx::Velt::ErrorStatus setXrefEdit(kx::VxDbDatabase& d, bool v) { return d.setXrefEditEnabled(v); }
inline bool visretain(const kx::VxDbDatabase& d) { return d.visretain(); }
inline kx::Velt::ErrorStatus setVisretain(kx::VxDbDatabase& d, bool v) { return d.setVisretain(v); }
inline bool oleStartUp(const kx::VxDbDatabase& d) { return d.oleStartUp(); }
inline kx::Velt::ErrorStatus setOleStartUp(kx::VxDbDatabase& d, bool v) { return d.setOleStartUp(v); }
inline bool extnames(const kx::VxDbDatabase& d) { return kx::vxdbGetExtnames(&d); }
inline kx::Velt::ErrorStatus setExtnames(kx::VxDbDatabase& d, bool v) { return kx::vxdbSetExtnames(&d, v); }
inline bool dispSilh(const kx::VxDbDatabase& d) { return d.dispSilh(); }
inline kx::Velt::ErrorStatus setDispSilh(kx::VxDbDatabase& d, bool v) { return d.setDispSilh(v); }
inline bool qtextmode(const kx::VxDbDatabase& d) { return d.qtextmode(); }
inline kx::Velt::ErrorStatus setQtextmode(kx::VxDbDatabase& d, bool v) { return d.setQtextmode(v); }
inline bool lineWeightDisplay(const kx::VxDbDatabase& d) { return d.lineWeightDisplay(); }
inline kx::Velt::ErrorStatus setLineWeightDisplay(kx::VxDbDatabase& d, bool v) { return d.setLineWeightDisplay(v); }
inline int16_t isolines(const kx::VxDbDatabase& d) { return d.isolines(); }
inline kx::Velt::ErrorStatus setIsolines(kx::VxDbDatabase& d, int16_t v) { return d.setIsolines(v); }
inline int16_t maxactvp(const kx::VxDbDatabase& d) { return d.maxactvp(); }
inline kx::Velt::ErrorStatus setMaxactvp(kx::VxDbDatabase& d, int16_t v) { return d.setMaxactvp(v); }
inline int16_t splinesegs(const kx::VxDbDatabase& d) { return d.splinesegs(); }
inline kx::Velt::ErrorStatus setSplinesegs(kx::VxDbDatabase& d, int16_t v) { return d.setSplinesegs(v); }

// The bits of the object-sort flags; 0x08 has no property of its own and is left alone.
constexpr uint8_t kSortBySelection = 0x01;
constexpr uint8_t kSortBySnap = 0x02;
constexpr uint8_t kSortByRedraws = 0x04;
constexpr uint8_t kSortByRegens = 0x10;
constexpr uint8_t kSortByPlotting = 0x20;
constexpr uint8_t kSortByPSOutput = 0x40;
}  // namespace preference

template <class Self, class Base>
class PreferencesMembers : public Base {
public:
    // Called once by the database wrapper that caches this object.
    void bindTo(const DatabaseLink& link, IDispatch* application) { core_.bind(link, application); }

    HRESULT STDMETHODCALLTYPE get_Application(IDispatch** out) override { return core_.application(out); }
    HRESULT STDMETHODCALLTYPE get_SolidFill(VARIANT_BOOL* v) override { return core_.flag(v, preference::fillmode); }
    HRESULT STDMETHODCALLTYPE put_SolidFill(VARIANT_BOOL v) override
    {
        return core_.setFlag(v, preference::setFillmode);
    }
    HRESULT STDMETHODCALLTYPE get_XRefEdit(VARIANT_BOOL* v) override { return core_.flag(v, preference::xrefEdit); }
    HRESULT STDMETHODCALLTYPE put_XRefEdit(VARIANT_BOOL v) override
    {
        return core_.setFlag(v, preference::setXrefEdit);
    }
    HRESULT STDMETHODCALLTYPE get_XRefLayerVisibility(VARIANT_BOOL* v) override
    {
        return core_.flag(v, preference::visretain);
    }
    HRESULT STDMETHODCALLTYPE put_XRefLayerVisibility(VARIANT_BOOL v) override
    {
        return core_.setFlag(v, preference::setVisretain);
    }
    HRESULT STDMETHODCALLTYPE get_OLELaunch(VARIANT_BOOL* v) override { return core_.flag(v, preference::oleStartUp); }
    HRESULT STDMETHODCALLTYPE put_OLELaunch(VARIANT_BOOL v) override
    {
        return core_.setFlag(v, preference::setOleStartUp);
    }
    HRESULT STDMETHODCALLTYPE get_AllowLongSymbolNames(VARIANT_BOOL* v) override
    {
        return core_.flag(v, preference::extnames);
    }
    HRESULT STDMETHODCALLTYPE put_AllowLongSymbolNames(VARIANT_BOOL v) override
    {
        return core_.setFlag(v, preference::setExtnames);
    }
    HRESULT STDMETHODCALLTYPE get_ObjectSortBySelection(VARIANT_BOOL* v) override
    {
        return core_.sortFlag(v, preference::kSortBySelection);
    }
    HRESULT STDMETHODCALLTYPE put_ObjectSortBySelection(VARIANT_BOOL v) override
    {
        return core_.setSortFlag(v, preference::kSortBySelection);
    }
    HRESULT STDMETHODCALLTYPE get_ObjectSortBySnap(VARIANT_BOOL* v) override
    {
        return core_.sortFlag(v, preference::kSortBySnap);
    }
    HRESULT STDMETHODCALLTYPE put_ObjectSortBySnap(VARIANT_BOOL v) override
    {
        return core_.setSortFlag(v, preference::kSortBySnap);
    }
    HRESULT STDMETHODCALLTYPE get_ObjectSortByRedraws(VARIANT_BOOL* v) override
    {
        return core_.sortFlag(v, preference::kSortByRedraws);
    }
    HRESULT STDMETHODCALLTYPE put_ObjectSortByRedraws(VARIANT_BOOL v) override
    {
        return core_.setSortFlag(v, preference::kSortByRedraws);
    }
    HRESULT STDMETHODCALLTYPE get_ObjectSortByRegens(VARIANT_BOOL* v) override
    {
        return core_.sortFlag(v, preference::kSortByRegens);
    }
    HRESULT STDMETHODCALLTYPE put_ObjectSortByRegens(VARIANT_BOOL v) override
    {
        return core_.setSortFlag(v, preference::kSortByRegens);
    }
    HRESULT STDMETHODCALLTYPE get_ObjectSortByPlotting(VARIANT_BOOL* v) override
    {
        return core_.sortFlag(v, preference::kSortByPlotting);
    }
    HRESULT STDMETHODCALLTYPE put_ObjectSortByPlotting(VARIANT_BOOL v) override
    {
        return core_.setSortFlag(v, preference::kSortByPlotting);
    }
    HRESULT STDMETHODCALLTYPE get_ObjectSortByPSOutput(VARIANT_BOOL* v) override
    {
        return core_.sortFlag(v, preference::kSortByPSOutput);
    }
    HRESULT STDMETHODCALLTYPE put_ObjectSortByPSOutput(VARIANT_BOOL v) override
    {
        return core_.setSortFlag(v, preference::kSortByPSOutput);
    }
    HRESULT STDMETHODCALLTYPE put_ContourLinesPerSurface(LONG v) override
    {
        return core_.setShortValue(v, preference::setIsolines);
    }
    HRESULT STDMETHODCALLTYPE get_ContourLinesPerSurface(LONG* v) override
    {
        return core_.shortValue(v, preference::isolines);
    }
    HRESULT STDMETHODCALLTYPE put_DisplaySilhouette(VARIANT_BOOL v) override
    {
        return core_.setFlag(v, preference::setDispSilh);
    }
    HRESULT STDMETHODCALLTYPE get_DisplaySilhouette(VARIANT_BOOL* v) override
    {
        return core_.flag(v, preference::dispSilh);
    }
    HRESULT STDMETHODCALLTYPE put_MaxActiveViewports(LONG v) override
    {
        return core_.setShortValue(v, preference::setMaxactvp);
    }
    HRESULT STDMETHODCALLTYPE get_MaxActiveViewports(LONG* v) override
    {
        return core_.shortValue(v, preference::maxactvp);
    }
    HRESULT STDMETHODCALLTYPE put_RenderSmoothness(double v) override { return core_.setRenderSmoothness(v); }
    HRESULT STDMETHODCALLTYPE get_RenderSmoothness(double* v) override { return core_.renderSmoothness(v); }
    HRESULT STDMETHODCALLTYPE put_SegmentPerPolyline(LONG v) override
    {
        return core_.setShortValue(v, preference::setSplinesegs);
    }
    HRESULT STDMETHODCALLTYPE get_SegmentPerPolyline(LONG* v) override
    {
        return core_.shortValue(v, preference::splinesegs);
    }
    HRESULT STDMETHODCALLTYPE put_TextFrameDisplay(VARIANT_BOOL v) override
    {
        return core_.setFlag(v, preference::setQtextmode);
    }
    HRESULT STDMETHODCALLTYPE get_TextFrameDisplay(VARIANT_BOOL* v) override
    {
        return core_.flag(v, preference::qtextmode);
    }
    HRESULT STDMETHODCALLTYPE put_Lineweight(VELT_LWEIGHT v) override { return core_.setLineweight(v); }
    HRESULT STDMETHODCALLTYPE get_Lineweight(VELT_LWEIGHT* v) override { return core_.lineweight(v); }
    HRESULT STDMETHODCALLTYPE put_LineWeightDisplay(VARIANT_BOOL v) override
    {
        return core_.setFlag(v, preference::setLineWeightDisplay);
    }
    HRESULT STDMETHODCALLTYPE get_LineWeightDisplay(VARIANT_BOOL* v) override
    {
        return core_.flag(v, preference::lineWeightDisplay);
    }

private:
    PreferencesCore core_;
};

template <class Self, class Base>
struct Level<IVeltDatabasePreferences, Self, Base> {
    using type = PreferencesMembers<Self, Pending<IVeltDatabasePreferences, Base>>;
};

}  // namespace nk
