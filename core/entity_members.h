// The members of the entity interface, for every entity wrapper: each forwards to the shared
// function with the wrapper's reference and, where new objects come back, its application.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "core/entity_ops.h"

namespace nk {

template <class Self, class Base>
class EntityMembers : public Base {
public:
    HRESULT STDMETHODCALLTYPE get_TrueColor(IVeltVxCmColor** color) override { return VxAxGetTrueColor(ref(), color); }
    HRESULT STDMETHODCALLTYPE put_TrueColor(IVeltVxCmColor* color) override { return VxAxPutTrueColor(ref(), color); }
    HRESULT STDMETHODCALLTYPE get_Layer(BSTR* layer) override { return VxAxGetLayer(ref(), layer); }
    HRESULT STDMETHODCALLTYPE put_Layer(BSTR layer) override { return VxAxPutLayer(ref(), layer); }
    HRESULT STDMETHODCALLTYPE get_Linetype(BSTR* linetype) override { return VxAxGetLinetype(ref(), linetype); }
    HRESULT STDMETHODCALLTYPE put_Linetype(BSTR linetype) override { return VxAxPutLinetype(ref(), linetype); }
    HRESULT STDMETHODCALLTYPE get_LinetypeScale(double* scale) override { return VxAxGetLinetypeScale(ref(), scale); }
    HRESULT STDMETHODCALLTYPE put_LinetypeScale(double scale) override { return VxAxPutLinetypeScale(ref(), scale); }
    HRESULT STDMETHODCALLTYPE get_Visible(VARIANT_BOOL* visible) override { return VxAxGetVisible(ref(), visible); }
    HRESULT STDMETHODCALLTYPE put_Visible(VARIANT_BOOL visible) override { return VxAxPutVisible(ref(), visible); }
    HRESULT STDMETHODCALLTYPE ArrayPolar(int count, double fillAngle, VARIANT center, VARIANT* objects) override
    {
        return VxAxArrayPolar(ref(), app(), count, fillAngle, center, objects);
    }
    HRESULT STDMETHODCALLTYPE ArrayRectangular(int rows, int columns, int levels, double rowSpacing,
                                               double columnSpacing, double levelSpacing, VARIANT* objects) override
    {
        return VxAxArrayRectangular(ref(), app(), rows, columns, levels, rowSpacing, columnSpacing, levelSpacing,
                                    objects);
    }
    HRESULT STDMETHODCALLTYPE Highlight(VARIANT_BOOL on) override { return VxAxHighlight(ref(), on); }
    HRESULT STDMETHODCALLTYPE Copy(IDispatch** copy) override { return VxAxCopy(ref(), app(), copy); }
    HRESULT STDMETHODCALLTYPE Move(VARIANT from, VARIANT to) override { return VxAxMove(ref(), from, to); }
    HRESULT STDMETHODCALLTYPE Rotate(VARIANT base, double angle) override { return VxAxRotate(ref(), base, angle); }
    HRESULT STDMETHODCALLTYPE Rotate3D(VARIANT point1, VARIANT point2, double angle) override
    {
        return VxAxRotate3D(ref(), point1, point2, angle);
    }
    HRESULT STDMETHODCALLTYPE Mirror(VARIANT point1, VARIANT point2, IDispatch** mirrored) override
    {
        return VxAxMirror(ref(), app(), point1, point2, mirrored);
    }
    HRESULT STDMETHODCALLTYPE Mirror3D(VARIANT point1, VARIANT point2, VARIANT point3, IDispatch** mirrored) override
    {
        return VxAxMirror3D(ref(), app(), point1, point2, point3, mirrored);
    }
    HRESULT STDMETHODCALLTYPE ScaleEntity(VARIANT base, double factor) override
    {
        return VxAxScaleEntity(ref(), base, factor);
    }
    HRESULT STDMETHODCALLTYPE TransformBy(VARIANT matrix) override { return VxAxTransformBy(ref(), matrix); }
    HRESULT STDMETHODCALLTYPE Update() override { return VxAxUpdate(ref()); }
    HRESULT STDMETHODCALLTYPE GetBoundingBox(VARIANT* minPoint, VARIANT* maxPoint) override
    {
        return VxAxGetBoundingBox(ref(), minPoint, maxPoint);
    }
    HRESULT STDMETHODCALLTYPE IntersectWith(IDispatch* other, VxExtendOption option, VARIANT* points) override
    {
        return VxAxIntersectWith(ref(), other, option, points);
    }
    HRESULT STDMETHODCALLTYPE get_PlotStyleName(BSTR* name) override { return VxAxGetPlotStyleName(ref(), name); }
    HRESULT STDMETHODCALLTYPE put_PlotStyleName(BSTR name) override { return VxAxPutPlotStyleName(ref(), name); }
    HRESULT STDMETHODCALLTYPE get_Lineweight(VxLineWeight* weight) override { return VxAxGetLineWeight(ref(), weight); }
    HRESULT STDMETHODCALLTYPE put_Lineweight(VxLineWeight weight) override { return VxAxPutLineWeight(ref(), weight); }
    HRESULT STDMETHODCALLTYPE get_EntityTransparency(BSTR* value) override { return VxAxGetTransparency(ref(), value); }
    HRESULT STDMETHODCALLTYPE put_EntityTransparency(BSTR value) override { return VxAxPutTransparency(ref(), value); }
    HRESULT STDMETHODCALLTYPE get_Hyperlinks(IVeltHyperlinks** hyperlinks) override
    {
        return VxAxGetHyperlinks(ref(), app(), hyperlinks);
    }
    HRESULT STDMETHODCALLTYPE get_Material(BSTR* material) override { return VxAxGetMaterial(ref(), material); }
    HRESULT STDMETHODCALLTYPE put_Material(BSTR material) override { return VxAxPutMaterial(ref(), material); }
    HRESULT STDMETHODCALLTYPE get_EntityName(BSTR* name) override { return VxAxGetEntityName(ref(), name); }
    HRESULT STDMETHODCALLTYPE get_EntityType(LONG* type) override { return VxAxGetEntityType(ref(), type); }
    HRESULT STDMETHODCALLTYPE get_color(VxColor* color) override { return VxAxGetColor(ref(), color); }
    HRESULT STDMETHODCALLTYPE put_color(VxColor color) override { return VxAxPutColor(ref(), color); }

private:
    Self& self() { return *static_cast<Self*>(this); }
    VxAxObjectRef& ref() { return self().objectRef(); }
    IDispatch* app() { return self().application(); }
};

}  // namespace nk
