// The hatch's members that are more than one value: loops from entities and back, the
// pattern by kind and name, the pen width of ISO patterns and the fill's colours. The plain
// members are declared in entities/hatch.members.
#include <cmath>
#include <memory>
#include <vector>

#include "axsupport/conversions.h"
#include "core/bound_object.h"
#include "core/object_change.h"
#include "core/lookup.h"
#include "db/entities.h"
#include "db/hatch.h"
#include "db/polylines.h"
#include "members_gen.h"

namespace nk::hatch {
namespace {

const IID& kIid = __uuidof(IVeltHatch);

// A refused loop or pattern is the caller's: E_INVALIDARG.
void accept(kx::Velt::ErrorStatus status)
{
    if (status == kx::Velt::eInvalidInput) throw E_INVALIDARG;
    check(status);
}

template <class Change>
HRESULT change(VxAxObjectRef& ref, Change&& change)
{
    return changeObject<kx::VxDbHatch>(ref, kIid, std::forward<Change>(change));
}

template <class Read>
HRESULT read(VxAxObjectRef& ref, Read&& read)
{
    return readObject<kx::VxDbHatch>(ref, kIid, std::forward<Read>(read));
}

// The ids of an array of entity wrappers, as scripts make it (VARIANTs) or as compiled
// clients do (IDispatch pointers): none, or anything but wrappers, is refused.
std::vector<kx::VxDbObjectId> entityIds(const VARIANT& objects)
{
    const VARIANT& given =
        V_VT(&objects) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(&objects) ? *V_VARIANTREF(&objects) : objects;
    std::vector<kx::VxDbObjectId> out;
    if ((V_VT(&given) & ~VT_BYREF) == (VT_ARRAY | VT_DISPATCH)) {
        SAFEARRAY* sa = (V_VT(&given) & VT_BYREF) ? (V_ARRAYREF(&given) ? *V_ARRAYREF(&given) : nullptr)
                                                  : V_ARRAY(&given);
        VARTYPE vt = VT_EMPTY;
        LONG lower = 0, upper = -1;
        if (!sa || SafeArrayGetDim(sa) != 1 || FAILED(SafeArrayGetVartype(sa, &vt)) || vt != VT_DISPATCH ||
            FAILED(SafeArrayGetLBound(sa, 1, &lower)) || FAILED(SafeArrayGetUBound(sa, 1, &upper)))
            throw E_INVALIDARG;
        for (LONG i = lower; i <= upper; ++i) {
            ComPtr<IDispatch> item;
            if (FAILED(SafeArrayGetElement(sa, &i, item.put())) || !item) throw E_INVALIDARG;
            ComPtr<IVeltBaseObject> base = item.as<IVeltBaseObject>();
            kx::VxDbObjectId id;
            if (!base || FAILED(base->GetObjectId(&id))) throw E_INVALIDARG;
            out.push_back(id);
        }
    } else {
        VxArray<kx::VxDbObjectId> ids;
        NkAuToArray(given, ids);
        out.assign(ids.begin(), ids.end());
    }
    if (out.empty()) throw E_INVALIDARG;
    return out;
}

// Builds the loop of the entities and puts it at index; the first loop sets the elevation.
void insertLoop(kx::VxDbHatch& hatch, int index, int32_t type, const std::vector<kx::VxDbObjectId>& ids)
{
    std::vector<std::unique_ptr<kx::VxDbObjectPointer<kx::VxDbEntity>>> open;
    std::vector<const kx::VxDbEntity*> entities;
    for (kx::VxDbObjectId id : ids) {
        // Objects of another drawing, or that will not open (the hatch itself), are refused.
        if (id.isNull() || id.database() != hatch.database()) throw E_INVALIDARG;
        open.push_back(std::make_unique<kx::VxDbObjectPointer<kx::VxDbEntity>>(id, kx::VxDb::kForRead));
        if (!*open.back()) throw E_INVALIDARG;
        entities.push_back(open.back()->get());
    }
    kx::VxDbHatchLoop loop;
    double elevation = 0.0;
    accept(hatch.loopFromEntities(entities, type, loop, elevation));
    if (index < 0 || index > hatch.numLoops()) throw kx::Velt::eInvalidIndex;
    if (hatch.numLoops() == 0) accept(hatch.setElevation(elevation));
    accept(hatch.insertLoopAt(index, loop));
}

// A wrapper owning an entity of no drawing.
ComPtr<IDispatch> ownedWrapper(std::unique_ptr<kx::VxDbEntity> entity, IDispatch* app)
{
    ComPtr<IUnknown> made;
    if (HRESULT hr = createWrapper(wrapperClassOfObject(entity.get()), made.put()); FAILED(hr)) throw hr;
    ComPtr<IVeltBaseObject> base = made.as<IVeltBaseObject>();
    ComPtr<IDispatch> dispatch = made.as<IDispatch>();
    if (!base || !dispatch) throw E_FAIL;
    static_cast<BoundObject*>(base.get())->objectRef() = VxAxObjectRef(entity.release());
    if (ComPtr<IRetrieveApplication> retrieve = made.as<IRetrieveApplication>(); retrieve && app)
        retrieve->SetApplicationObject(app);
    return dispatch;
}

// The entities that trace a loop in the hatch's plane: one polyline for a polyline loop,
// else a line, arc, circle or ellipse an edge.
std::vector<std::unique_ptr<kx::VxDbEntity>> loopEntities(const kx::VxDbHatch& hatch, const kx::VxDbHatchLoop& loop)
{
    using kx::VxGePoint3d;
    std::vector<std::unique_ptr<kx::VxDbEntity>> out;
    const kx::VxGeVector3d n = hatch.normal();
    const kx::VxGeMatrix3d world = hatch.planeToWorld();
    auto at = [&](const kx::VxGePoint2d& p) { return world.transform(VxGePoint3d{p.x, p.y, 0.0}); };
    if (loop.isPolyline()) {
        auto polyline = std::make_unique<kx::VxDbPolyline>();
        check(polyline->setNormal(n));
        check(polyline->setElevation(hatch.elevation()));
        for (size_t i = 0; i < loop.vertices.size(); ++i)
            check(polyline->addVertexAt(int(i), loop.vertices[i].point, loop.vertices[i].bulge));
        check(polyline->setClosed(true));
        out.push_back(std::move(polyline));
        return out;
    }
    for (const kx::VxDbHatchEdge& e : loop.edges) {
        if (e.type == kx::VxDbHatchEdge::kLine) {
            out.push_back(std::make_unique<kx::VxDbLine>(at(e.start), at(e.end)));
            continue;
        }
        const bool full = e.sweep() >= kx::kTwoPi - 1e-12;
        // A clockwise edge is the same curve drawn from its end.
        const double from = e.ccw ? e.startParam : e.endParam;
        const double to = e.ccw ? e.endParam : e.startParam;
        if (e.type == kx::VxDbHatchEdge::kCircArc) {
            if (full) {
                out.push_back(std::make_unique<kx::VxDbCircle>(at(e.center), n, e.radius));
                continue;
            }
            auto arc = std::make_unique<kx::VxDbArc>(at(e.center), n, e.radius, 0.0, kx::kPi);
            // Angles in the hatch's plane are the arc's own: both take the normal's axes.
            check(arc->setStartAngle(from));
            check(arc->setEndAngle(to));
            out.push_back(std::move(arc));
        } else {
            const VxGePoint3d c = at(e.center);
            const kx::VxGeVector3d major = at(e.center + e.majorAxis) - c;
            out.push_back(std::make_unique<kx::VxDbEllipse>(c, n, major, e.radius, full ? 0.0 : from,
                                                            full ? kx::kTwoPi : to));
            auto* ellipse = static_cast<kx::VxDbEllipse*>(out.back().get());
            if (!full) {
                check(ellipse->setStartParam(from));
                check(ellipse->setEndParam(to));
            }
        }
    }
    return out;
}

IVeltVxCmColor* colorObject(int32_t packed)
{
    kx::VxCmColor color;
    check(color.setColor(uint32_t(packed)));
    IVeltVxCmColor* made = NkAuToVeltVxCmColor(color);
    if (!made) throw E_OUTOFMEMORY;
    return made;
}

// The hatch's colours travel as colour objects both ways.
template <class Get>
HRESULT readColor(VxAxObjectRef& ref, IVeltVxCmColor** color, Get get)
{
    if (!color) return E_POINTER;
    *color = nullptr;
    return read(ref, [&](const kx::VxDbHatch& hatch) { *color = colorObject((hatch.*get)()); });
}

HRESULT writeColor(VxAxObjectRef& ref, IVeltVxCmColor* color, kx::Velt::ErrorStatus (kx::VxDbHatch::*set)(uint32_t))
{
    if (!color) return E_POINTER;
    return guarded(kIid, [&]() -> HRESULT {
        const uint32_t packed = NkAuToCmColor(color).color();
        return change(ref, [&](kx::VxDbHatch& hatch) { check((hatch.*set)(packed)); });
    });
}

}  // namespace

HRESULT isoPenWidth(VxAxObjectRef& ref, VxISOPenWidth* width)
{
    if (!width) return E_POINTER;
    *width = vxPenWidthUnk;
    return read(ref, [&](const kx::VxDbHatch& hatch) {
        int32_t w = -1;
        if (hatch.isoPenWidth(w) == kx::Velt::eOk) *width = VxISOPenWidth(w);
    });
}

HRESULT setIsoPenWidth(VxAxObjectRef& ref, VxISOPenWidth width)
{
    return change(ref, [&](kx::VxDbHatch& hatch) { check(hatch.setIsoPenWidth(int32_t(width))); });
}

HRESULT appendOuterLoop(VxAxObjectRef& ref, VARIANT objects)
{
    return guarded(kIid, [&]() -> HRESULT {
        const std::vector<kx::VxDbObjectId> ids = entityIds(objects);
        return change(ref, [&](kx::VxDbHatch& hatch) {
            insertLoop(hatch, hatch.numLoops(), kx::VxDbHatch::kExternal, ids);
        });
    });
}

HRESULT appendInnerLoop(VxAxObjectRef& ref, VARIANT objects)
{
    return guarded(kIid, [&]() -> HRESULT {
        const std::vector<kx::VxDbObjectId> ids = entityIds(objects);
        return change(ref, [&](kx::VxDbHatch& hatch) {
            insertLoop(hatch, hatch.numLoops(), kx::VxDbHatch::kDefault, ids);
        });
    });
}

// The loop's kind is the bits the host knows (external, derived, text box); whether it is a
// polyline the entities say.
HRESULT insertLoopAt(VxAxObjectRef& ref, int index, VxLoopType type, VARIANT objects)
{
    if (type < 0 || type > 15) return E_INVALIDARG;
    return guarded(kIid, [&]() -> HRESULT {
        const std::vector<kx::VxDbObjectId> ids = entityIds(objects);
        return change(ref, [&](kx::VxDbHatch& hatch) { insertLoop(hatch, index, int32_t(type), ids); });
    });
}

HRESULT loopAt(VxAxObjectRef& ref, IDispatch* app, int index, VARIANT* objects)
{
    if (!objects) return E_POINTER;
    VariantInit(objects);
    return guarded(kIid, [&]() -> HRESULT {
        std::vector<std::unique_ptr<kx::VxDbEntity>> entities;
        {
            OpenedObject<kx::VxDbHatch> hatch(ref, kx::VxDb::kForRead);
            kx::VxDbHatchLoop loop;
            check(hatch.orThrow()->getLoopAt(index, loop));
            entities = loopEntities(*hatch.get(), loop);
        }
        std::vector<ComPtr<IDispatch>> wrappers;
        for (auto& entity : entities) wrappers.push_back(ownedWrapper(std::move(entity), app));
        SafeArray sa(SafeArrayCreateVector(VT_DISPATCH, 0, ULONG(wrappers.size())));
        if (!sa.get()) throw E_OUTOFMEMORY;
        for (LONG i = 0; i < LONG(wrappers.size()); ++i)
            if (HRESULT hr = SafeArrayPutElement(sa.get(), &i, wrappers[size_t(i)].get()); FAILED(hr)) throw hr;
        V_VT(objects) = VT_ARRAY | VT_DISPATCH;
        V_ARRAY(objects) = sa.detach();
        return S_OK;
    });
}

HRESULT evaluate(VxAxObjectRef& ref)
{
    return change(ref, [&](kx::VxDbHatch& hatch) { check(hatch.evaluateHatch()); });
}

HRESULT setPattern(VxAxObjectRef& ref, VxPatternType type, BSTR name)
{
    if (type < vxHatchPatternTypeUserDefined || type > vxHatchPatternTypeCustomDefined) return E_INVALIDARG;
    const std::wstring text(name ? name : L"", name ? SysStringLen(name) : 0);
    return change(ref, [&](kx::VxDbHatch& hatch) { accept(hatch.setPattern(int16_t(type), text)); });
}

HRESULT gradientColor1(VxAxObjectRef& ref, IVeltVxCmColor** color)
{
    return readColor(ref, color, &kx::VxDbHatch::gradientColor1);
}

HRESULT setGradientColor1(VxAxObjectRef& ref, IVeltVxCmColor* color)
{
    return writeColor(ref, color, &kx::VxDbHatch::setGradientColor1);
}

HRESULT gradientColor2(VxAxObjectRef& ref, IVeltVxCmColor** color)
{
    return readColor(ref, color, &kx::VxDbHatch::gradientColor2);
}

HRESULT setGradientColor2(VxAxObjectRef& ref, IVeltVxCmColor* color)
{
    return writeColor(ref, color, &kx::VxDbHatch::setGradientColor2);
}

HRESULT backgroundColor(VxAxObjectRef& ref, IVeltVxCmColor** color)
{
    return readColor(ref, color, &kx::VxDbHatch::backgroundColor);
}

HRESULT setBackgroundColor(VxAxObjectRef& ref, IVeltVxCmColor* color)
{
    return writeColor(ref, color, &kx::VxDbHatch::setBackgroundColor);
}

}  // namespace nk::hatch
