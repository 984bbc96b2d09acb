// The members of paper-space viewports written by hand (entities/viewport.members): spacings,
// the views it is tied to, its own frozen layers and its clipping.
#include <string>
#include <vector>

#include "axsupport/errors.h"
#include "core/binding.h"
#include "core/lookup.h"
#include "db/database.h"
#include "db/symtables.h"
#include "db/viewport.h"
#include "frame/com.h"
#include "members_gen.h"

namespace nk::vports {
namespace {

using kx::VxDbObjectId;
using kx::VxDbViewport;
using Access = OwnAccess<IVeltPViewport, VxDbViewport>;

// The id behind a wrapper a client passed in; none for null. Anything else: E_INVALIDARG.
VxDbObjectId idOf(IUnknown* wrapper)
{
    if (!wrapper) return VxDbObjectId();
    ComPtr<IVeltBaseObject> base;
    VxDbObjectId id;
    if (FAILED(wrapper->QueryInterface(__uuidof(IVeltBaseObject), base.putVoid())) || !base ||
        FAILED(base->GetObjectId(&id)) || id.isNull())
        throw E_INVALIDARG;
    return id;
}

// Layer names: one string, or an array of strings (or of VARIANTs holding strings).
std::vector<std::wstring> namesOf(const VARIANT& value)
{
    const VARIANT* v = &value;
    if (V_VT(v) == (VT_VARIANT | VT_BYREF)) {
        if (!V_VARIANTREF(v)) throw E_INVALIDARG;
        v = V_VARIANTREF(v);
    }
    if (V_VT(v) == VT_BSTR) return {conv::Text::in(V_BSTR(v))};
    const VARTYPE element = V_VT(v) & ~(VT_ARRAY | VT_BYREF);
    if (!(V_VT(v) & VT_ARRAY) || (element != VT_BSTR && element != VT_VARIANT)) throw E_INVALIDARG;
    SAFEARRAY* sa = (V_VT(v) & VT_BYREF) ? (V_ARRAYREF(v) ? *V_ARRAYREF(v) : nullptr) : V_ARRAY(v);
    if (!sa || SafeArrayGetDim(sa) != 1) throw E_INVALIDARG;
    LONG lo = 0, hi = -1;
    if (FAILED(SafeArrayGetLBound(sa, 1, &lo)) || FAILED(SafeArrayGetUBound(sa, 1, &hi))) throw E_INVALIDARG;
    SafeArrayAccess data(sa);
    if (FAILED(data.status())) throw E_INVALIDARG;
    std::vector<std::wstring> names;
    for (LONG i = 0; i <= hi - lo; ++i) {
        if (element == VT_BSTR) {
            names.emplace_back(conv::Text::in(data.data<BSTR>()[i]));
            continue;
        }
        const VARIANT& item = data.data<VARIANT>()[i];
        if (V_VT(&item) != VT_BSTR) throw E_INVALIDARG;
        names.emplace_back(conv::Text::in(V_BSTR(&item)));
    }
    return names;
}

// The layers of the viewport's drawing by name; a name it lacks is the caller's error.
std::vector<VxDbObjectId> layersNamed(const VxDbViewport& vp, const std::vector<std::wstring>& names)
{
    kx::VxDbDatabase* db = vp.database();
    if (!db) throw kx::Velt::eNoDatabase;
    std::vector<VxDbObjectId> layers;
    for (const std::wstring& name : names) {
        const VxDbObjectId id = db->layerId(name.c_str());
        if (id.isNull()) throw E_INVALIDARG;
        layers.push_back(id);
    }
    return layers;
}

template <class Get>
HRESULT spacing(VxAxObjectRef& ref, double* x, double* y, Get&& get)
{
    if (!x || !y) return E_POINTER;
    *x = *y = 0.0;
    return Access::read(ref, [&](const VxDbViewport& vp) {
        const kx::VxGePoint3d s = get(vp);
        *x = s.x;
        *y = s.y;
    });
}

// The wrapper of a view kept by id, as IVeltView; none when the id is null or gone.
HRESULT viewOf(VxAxObjectRef& ref, IDispatch* app, IVeltView** out, const VxDbObjectId& (VxDbViewport::*which)() const)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    VxDbObjectId id;
    HRESULT hr = Access::read(ref, [&](const VxDbViewport& vp) { id = (vp.*which)(); });
    if (FAILED(hr) || id.isNull() || !id.isValid() || id.isErased()) return hr;
    return guarded(__uuidof(IVeltPViewport), [&]() -> HRESULT {
        ComPtr<IUnknown> wrapper;
        VxAxGetIUnknownOfObject(wrapper.put(), id, app);
        if (!wrapper) return E_FAIL;
        return wrapper->QueryInterface(__uuidof(IVeltView), reinterpret_cast<void**>(out));
    });
}

// Shows a view of the drawing: its centre, height, direction, target and twist.
kx::Velt::ErrorStatus showView(VxDbViewport& vp, VxDbObjectId viewId)
{
    OpenedObject<kx::VxDbViewTableRecord> view(viewId, kx::VxDb::kForRead);
    if (!view.isOpen()) return view.status();
    const kx::VxGePoint2d c = view->centerPoint();
    if (kx::Velt::ErrorStatus es = vp.setViewCenter(kx::VxGePoint3d{c.x, c.y, 0.0})) return es;
    if (kx::Velt::ErrorStatus es = vp.setViewHeight(view->height())) return es;
    if (kx::Velt::ErrorStatus es = vp.setViewDirection(view->viewDirection())) return es;
    if (kx::Velt::ErrorStatus es = vp.setViewTarget(view->target())) return es;
    return vp.setTwistAngle(view->viewTwist());
}

// A view record, or none.
VxDbObjectId viewArgument(IVeltView* view)
{
    const VxDbObjectId id = idOf(view);
    if (!id.isNull()) {
        const kx::VxRxClass* cls = id.objectClass();
        if (!cls || !cls->isDerivedFrom(kx::VxDbViewTableRecord::desc())) throw E_INVALIDARG;
    }
    return id;
}

}  // namespace

HRESULT getGridSpacing(VxAxObjectRef& ref, double* XSpacing, double* YSpacing)
{
    return spacing(ref, XSpacing, YSpacing, [](const VxDbViewport& vp) { return vp.gridSpacing(); });
}

HRESULT setGridSpacing(VxAxObjectRef& ref, double XSpacing, double YSpacing)
{
    return member::call<Access>(ref, [&](VxDbViewport& vp) { return vp.setGridSpacing(XSpacing, YSpacing); });
}

HRESULT getSnapSpacing(VxAxObjectRef& ref, double* XSpacing, double* YSpacing)
{
    return spacing(ref, XSpacing, YSpacing, [](const VxDbViewport& vp) { return vp.snapSpacing(); });
}

HRESULT setSnapSpacing(VxAxObjectRef& ref, double XSpacing, double YSpacing)
{
    return member::call<Access>(ref, [&](VxDbViewport& vp) { return vp.setSnapSpacing(XSpacing, YSpacing); });
}

HRESULT modelView(VxAxObjectRef& ref, IDispatch* app, IVeltView** ModelView)
{
    return viewOf(ref, app, ModelView, &VxDbViewport::modelView);
}

HRESULT setModelView(VxAxObjectRef& ref, IVeltView* ModelView)
{
    return member::put<Access, conv::Long>(ref, 0L, [&](VxDbViewport& vp, long) {
        const VxDbObjectId view = viewArgument(ModelView);
        if (!view.isNull()) {
            if (kx::Velt::ErrorStatus es = showView(vp, view)) return es;
        }
        return vp.setModelView(view);
    });
}

HRESULT sheetView(VxAxObjectRef& ref, IDispatch* app, IVeltView** SheetView)
{
    return viewOf(ref, app, SheetView, &VxDbViewport::sheetView);
}

HRESULT setSheetView(VxAxObjectRef& ref, IVeltView* SheetView)
{
    return member::put<Access, conv::Long>(ref, 0L, [&](VxDbViewport& vp, long) {
        return vp.setSheetView(viewArgument(SheetView));
    });
}

HRESULT labelBlockId(VxAxObjectRef& ref, LONG_PTR* LabelBlockId)
{
    if (!LabelBlockId) return E_POINTER;
    *LabelBlockId = 0;
    return Access::read(ref, [&](const VxDbViewport& vp) { *LabelBlockId = vp.labelBlock().asOldId(); });
}

HRESULT setLabelBlockId(VxAxObjectRef& ref, LONG_PTR LabelBlockId)
{
    return member::call<Access>(ref, [&](VxDbViewport& vp) {
        const VxDbObjectId id = VxDbObjectId::fromOldId(LabelBlockId);
        // A block of the same drawing, or none.
        if (!id.isNull()) {
            OpenedObject<kx::VxDbBlockTableRecord> block(id, kx::VxDb::kForRead);
            if (!block.isOpen() || block->database() != vp.database()) throw E_INVALIDARG;
        }
        return vp.setLabelBlock(id);
    });
}

HRESULT syncModelView(VxAxObjectRef& ref)
{
    return member::call<Access>(ref, [&](VxDbViewport& vp) {
        const VxDbObjectId view = vp.modelView();
        if (view.isNull() || view.isErased()) return kx::Velt::eOk;  // tied to no view
        return showView(vp, view);
    });
}

namespace {

// Freezes or thaws the named layers in the viewport; names are read before anything opens.
HRESULT changeLayers(VxAxObjectRef& ref, VARIANT LayerNames,
                     kx::Velt::ErrorStatus (VxDbViewport::*change)(const std::vector<VxDbObjectId>&))
{
    std::vector<std::wstring> names;
    if (HRESULT hr = guarded(__uuidof(IVeltPViewport), [&] {
            names = namesOf(LayerNames);
            return S_OK;
        });
        FAILED(hr))
        return hr;
    return member::call<Access>(ref, [&](VxDbViewport& vp) { return (vp.*change)(layersNamed(vp, names)); });
}

}  // namespace

HRESULT freezeLayers(VxAxObjectRef& ref, VARIANT LayerNames)
{
    return changeLayers(ref, LayerNames, &VxDbViewport::freezeLayersInViewport);
}

HRESULT thawLayers(VxAxObjectRef& ref, VARIANT LayerNames)
{
    return changeLayers(ref, LayerNames, &VxDbViewport::thawLayersInViewport);
}

HRESULT frozenLayers(VxAxObjectRef& ref, VARIANT* FrozenLayers)
{
    if (!FrozenLayers) return E_POINTER;
    VariantInit(FrozenLayers);
    return Access::read(ref, [&](const VxDbViewport& vp) {
        std::vector<std::wstring> names;
        for (VxDbObjectId id : vp.frozenLayers()) {
            OpenedObject<kx::VxDbLayerTableRecord> layer(id, kx::VxDb::kForRead);
            if (layer.isOpen()) names.push_back(layer->name());
        }
        SafeArray array(SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(names.size())));
        if (!array.get()) throw E_OUTOFMEMORY;
        {
            SafeArrayAccess data(array.get());
            if (FAILED(data.status())) throw data.status();
            for (size_t i = 0; i < names.size(); ++i) {
                data.data<BSTR>()[i] = SysAllocStringLen(names[i].data(), static_cast<UINT>(names[i].size()));
                if (!data.data<BSTR>()[i]) throw E_OUTOFMEMORY;
            }
        }
        V_VT(FrozenLayers) = VT_ARRAY | VT_BSTR;
        V_ARRAY(FrozenLayers) = array.detach();
    });
}

HRESULT clip(VxAxObjectRef& ref, VARIANT Boundary)
{
    VxDbObjectId boundary;
    if (HRESULT hr = guarded(__uuidof(IVeltPViewport), [&] {
            const VARIANT* v = &Boundary;
            if (V_VT(v) == (VT_VARIANT | VT_BYREF)) v = V_VARIANTREF(v) ? V_VARIANTREF(v) : throw E_INVALIDARG;
            if (V_VT(v) == VT_DISPATCH || V_VT(v) == VT_UNKNOWN) {
                boundary = idOf(V_UNKNOWN(v));
                if (boundary.isNull()) return S_OK;
            } else if (V_VT(v) != VT_EMPTY && V_VT(v) != VT_ERROR) {
                throw E_INVALIDARG;
            }
            return S_OK;
        });
        FAILED(hr))
        return hr;
    return member::call<Access>(ref, [&](VxDbViewport& vp) {
        const kx::Velt::ErrorStatus es = vp.setNonRectClip(boundary);
        if (es == kx::Velt::eInvalidInput || es == kx::Velt::eWrongDatabase) throw E_INVALIDARG;
        return es;
    });
}

}  // namespace nk::vports
