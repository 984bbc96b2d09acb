// The members every entity wrapper shares, done once: each takes the entity's id, or a
// wrapper's reference (which also serves entities not in a database yet). Points arrive as
// VARIANTs of coordinates; new objects go back as wrappers of the caller's application.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "axsupport/export.h"
#include "core/object_ref.h"
#include "kxauto.h"

// ---- properties ----
NK_EXPORT HRESULT VxAxGetColor(const kx::VxDbObjectId& id, VxColor* color);
NK_EXPORT HRESULT VxAxGetColor(VxAxObjectRef& ref, VxColor* color);
NK_EXPORT HRESULT VxAxPutColor(const kx::VxDbObjectId& id, VxColor color);
NK_EXPORT HRESULT VxAxPutColor(VxAxObjectRef& ref, VxColor color);
NK_EXPORT HRESULT VxAxGetTrueColor(const kx::VxDbObjectId& id, IVeltVxCmColor** color);
NK_EXPORT HRESULT VxAxGetTrueColor(VxAxObjectRef& ref, IVeltVxCmColor** color);
NK_EXPORT HRESULT VxAxPutTrueColor(const kx::VxDbObjectId& id, IVeltVxCmColor* color);
NK_EXPORT HRESULT VxAxPutTrueColor(VxAxObjectRef& ref, IVeltVxCmColor* color);
NK_EXPORT HRESULT VxAxGetLayer(const kx::VxDbObjectId& id, BSTR* layer);
NK_EXPORT HRESULT VxAxGetLayer(VxAxObjectRef& ref, BSTR* layer);
NK_EXPORT HRESULT VxAxPutLayer(const kx::VxDbObjectId& id, BSTR layer);
NK_EXPORT HRESULT VxAxPutLayer(VxAxObjectRef& ref, BSTR layer);
NK_EXPORT HRESULT VxAxGetLinetype(const kx::VxDbObjectId& id, BSTR* linetype);
NK_EXPORT HRESULT VxAxGetLinetype(VxAxObjectRef& ref, BSTR* linetype);
NK_EXPORT HRESULT VxAxPutLinetype(const kx::VxDbObjectId& id, BSTR linetype);
NK_EXPORT HRESULT VxAxPutLinetype(VxAxObjectRef& ref, BSTR linetype);
NK_EXPORT HRESULT VxAxGetLinetypeScale(const kx::VxDbObjectId& id, double* scale);
NK_EXPORT HRESULT VxAxGetLinetypeScale(VxAxObjectRef& ref, double* scale);
NK_EXPORT HRESULT VxAxPutLinetypeScale(const kx::VxDbObjectId& id, double scale);
NK_EXPORT HRESULT VxAxPutLinetypeScale(VxAxObjectRef& ref, double scale);
NK_EXPORT HRESULT VxAxGetVisible(const kx::VxDbObjectId& id, VARIANT_BOOL* visible);
NK_EXPORT HRESULT VxAxGetVisible(VxAxObjectRef& ref, VARIANT_BOOL* visible);
NK_EXPORT HRESULT VxAxPutVisible(const kx::VxDbObjectId& id, VARIANT_BOOL visible);
NK_EXPORT HRESULT VxAxPutVisible(VxAxObjectRef& ref, VARIANT_BOOL visible);
NK_EXPORT HRESULT VxAxGetLineWeight(const kx::VxDbObjectId& id, VxLineWeight* weight);
NK_EXPORT HRESULT VxAxGetLineWeight(VxAxObjectRef& ref, VxLineWeight* weight);
NK_EXPORT HRESULT VxAxPutLineWeight(const kx::VxDbObjectId& id, VxLineWeight weight);
NK_EXPORT HRESULT VxAxPutLineWeight(VxAxObjectRef& ref, VxLineWeight weight);
NK_EXPORT HRESULT VxAxGetPlotStyleName(const kx::VxDbObjectId& id, BSTR* name);
NK_EXPORT HRESULT VxAxGetPlotStyleName(VxAxObjectRef& ref, BSTR* name);
// The by-layer and by-block words (any case) and the normal plot style's name choose those
// kinds; any other name must be a plot style of the drawing.
NK_EXPORT HRESULT VxAxPutPlotStyleName(const kx::VxDbObjectId& id, BSTR name);
NK_EXPORT HRESULT VxAxPutPlotStyleName(VxAxObjectRef& ref, BSTR name);
// "ByLayer", "ByBlock" or a percentage 0 ... 90. Text that is none of these is ignored and
// the call succeeds: scripts rely on it.
NK_EXPORT HRESULT VxAxGetTransparency(const kx::VxDbObjectId& id, BSTR* transparency);
NK_EXPORT HRESULT VxAxGetTransparency(VxAxObjectRef& ref, BSTR* transparency);
NK_EXPORT HRESULT VxAxPutTransparency(const kx::VxDbObjectId& id, BSTR transparency);
NK_EXPORT HRESULT VxAxPutTransparency(VxAxObjectRef& ref, BSTR transparency);
NK_EXPORT HRESULT VxAxGetMaterial(VxAxObjectRef& ref, BSTR* material);
NK_EXPORT HRESULT VxAxPutMaterial(VxAxObjectRef& ref, BSTR material);
NK_EXPORT HRESULT VxAxGetHyperlinks(const kx::VxDbObjectId& id, IDispatch* app, IVeltHyperlinks** hyperlinks);
NK_EXPORT HRESULT VxAxGetHyperlinks(VxAxObjectRef& ref, IDispatch* app, IVeltHyperlinks** hyperlinks);
// The entity's class name and its kind as a VxEntityName value (0 for kinds without one).
NK_EXPORT HRESULT VxAxGetEntityName(const kx::VxDbObjectId& id, BSTR* name);
NK_EXPORT HRESULT VxAxGetEntityName(VxAxObjectRef& ref, BSTR* name);
NK_EXPORT HRESULT VxAxGetEntityType(const kx::VxDbObjectId& id, LONG* type);
NK_EXPORT HRESULT VxAxGetEntityType(VxAxObjectRef& ref, LONG* type);

// ---- transformations ----
NK_EXPORT HRESULT VxAxMove(const kx::VxDbObjectId& id, VARIANT fromPoint, VARIANT toPoint);
NK_EXPORT HRESULT VxAxMove(VxAxObjectRef& ref, VARIANT fromPoint, VARIANT toPoint);
// About the z axis of the current UCS through the base point.
NK_EXPORT HRESULT VxAxRotate(const kx::VxDbObjectId& id, VARIANT basePoint, double angle);
NK_EXPORT HRESULT VxAxRotate(VxAxObjectRef& ref, VARIANT basePoint, double angle);
NK_EXPORT HRESULT VxAxRotate3D(const kx::VxDbObjectId& id, VARIANT point1, VARIANT point2, double angle);
NK_EXPORT HRESULT VxAxRotate3D(VxAxObjectRef& ref, VARIANT point1, VARIANT point2, double angle);
NK_EXPORT HRESULT VxAxScaleEntity(const kx::VxDbObjectId& id, VARIANT basePoint, double factor);
NK_EXPORT HRESULT VxAxScaleEntity(VxAxObjectRef& ref, VARIANT basePoint, double factor);
// A 4x4 array of doubles, entry (row r, column c) at first index r and second index c.
NK_EXPORT HRESULT VxAxTransformBy(const kx::VxDbObjectId& id, VARIANT matrix);
NK_EXPORT HRESULT VxAxTransformBy(VxAxObjectRef& ref, VARIANT matrix);

// ---- copies ----
// A copy mirrored about the line through the two points, both taken onto the UCS plane.
NK_EXPORT HRESULT VxAxMirror(const kx::VxDbObjectId& id, IDispatch* app, VARIANT point1, VARIANT point2,
                             IDispatch** newObject);
NK_EXPORT HRESULT VxAxMirror(VxAxObjectRef& ref, IDispatch* app, VARIANT point1, VARIANT point2,
                             IDispatch** newObject);
NK_EXPORT HRESULT VxAxMirror3D(const kx::VxDbObjectId& id, IDispatch* app, VARIANT point1, VARIANT point2,
                               VARIANT point3, IDispatch** newObject);
NK_EXPORT HRESULT VxAxMirror3D(VxAxObjectRef& ref, IDispatch* app, VARIANT point1, VARIANT point2, VARIANT point3,
                               IDispatch** newObject);
NK_EXPORT HRESULT VxAxCopy(const kx::VxDbObjectId& id, IDispatch* app, IDispatch** newObject);
NK_EXPORT HRESULT VxAxCopy(VxAxObjectRef& ref, IDispatch* app, IDispatch** newObject);
// count - 1 copies, fillAngle / (count - 1) apart: a full turn puts the last copy on the
// source. A count of 1 does nothing and leaves the output alone.
NK_EXPORT HRESULT VxAxArrayPolar(const kx::VxDbObjectId& id, IDispatch* app, int count, double fillAngle,
                                 VARIANT centerPoint, VARIANT* objects);
NK_EXPORT HRESULT VxAxArrayPolar(VxAxObjectRef& ref, IDispatch* app, int count, double fillAngle,
                                 VARIANT centerPoint, VARIANT* objects);
// A copy in every cell but the source's own, cell (0, 0, 0).
NK_EXPORT HRESULT VxAxArrayRectangular(const kx::VxDbObjectId& id, IDispatch* app, int rows, int columns,
                                       int levels, double rowSpacing, double columnSpacing, double levelSpacing,
                                       VARIANT* objects);
NK_EXPORT HRESULT VxAxArrayRectangular(VxAxObjectRef& ref, IDispatch* app, int rows, int columns, int levels,
                                       double rowSpacing, double columnSpacing, double levelSpacing,
                                       VARIANT* objects);

// ---- queries and display ----
// The points where the two meet, as one flat array of doubles.
NK_EXPORT HRESULT VxAxIntersectWith(const kx::VxDbObjectId& id, IDispatch* other, VxExtendOption option,
                                    VARIANT* points);
NK_EXPORT HRESULT VxAxIntersectWith(VxAxObjectRef& ref, IDispatch* other, VxExtendOption option, VARIANT* points);
NK_EXPORT HRESULT VxAxGetBoundingBox(const kx::VxDbObjectId& id, VARIANT* minPoint, VARIANT* maxPoint);
NK_EXPORT HRESULT VxAxGetBoundingBox(VxAxObjectRef& ref, VARIANT* minPoint, VARIANT* maxPoint);
NK_EXPORT HRESULT VxAxHighlight(const kx::VxDbObjectId& id, VARIANT_BOOL highlight);
NK_EXPORT HRESULT VxAxHighlight(VxAxObjectRef& ref, VARIANT_BOOL highlight);
NK_EXPORT HRESULT VxAxUpdate(const kx::VxDbObjectId& id);
NK_EXPORT HRESULT VxAxUpdate(VxAxObjectRef& ref);
