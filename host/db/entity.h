#pragma once

#include <memory>
#include <string>
#include <vector>

#include "db/color.h"
#include "db/object.h"
#include "ge/curves.h"
#include "ge/extents.h"
#include "ge/matrix.h"
#include "ge/point.h"

namespace kx {

namespace detail {

// The properties every entity has besides its geometry. A drawing holds millions of entities
// and few distinct sets of these, so entities share them: each holds the index of one
// interned, immutable record (index 0 the defaults), which keeps an entity's own size small.
struct EntityStyle {
    uint32_t color = uint32_t(VxCmEntityColor::kByLayer) << 24;
    uint32_t transparency = 0;  // packed, by layer
    VxDbObjectId layer;
    VxDbObjectId linetype;
    VxDbObjectId material;
    VxDbObjectId plotStyle;
    double linetypeScale = 1.0;
    int16_t lineWeight = VxDb::kLnWtByLayer;
    uint8_t plotStyleType = VxDb::kPlotStyleNameByLayer;
    uint8_t visibility = VxDb::kVisible;

    bool operator==(const EntityStyle&) const = default;
};

// The record behind an index an entity holds; stays put while any entity holds it.
const EntityStyle& entityStyleAt(uint32_t index);
// An index for the record of these values, with one reference the caller holds.
uint32_t acquireEntityStyle(const EntityStyle& style);
void addEntityStyleRef(uint32_t index);
void releaseEntityStyle(uint32_t index);
// Records in use (held by some entity), for tests.
size_t entityStyleCount();

}  // namespace detail

// Base of everything that is drawn: the properties every entity has, and the
// geometric operations each kind implements.
class VxDbEntity : public VxDbObject {
    VX_RX_DECLARE_MEMBERS(VxDbEntity)
public:
    // The block record that owns the entity.
    VxDbObjectId blockId() const { return ownerId(); }
    ~VxDbEntity() override;

    VxCmColor color() const;
    VxCmEntityColor entityColor() const { return VxCmEntityColor(style().color); }
    Velt::ErrorStatus setColor(const VxCmColor& color, bool doSubents = true);
    // 0 by block, 256 by layer, 1 ... 255 an index.
    int16_t colorIndex() const { return VxCmEntityColor(style().color).colorIndex(); }
    Velt::ErrorStatus setColorIndex(int16_t index, bool doSubents = true);

    VxDbObjectId layerId() const { return style().layer; }
    std::wstring layer() const;
    // eKeyNotFound for a name the layer table does not have; hidden layers
    // only when allowed.
    Velt::ErrorStatus setLayer(const wchar_t* name, bool doSubents = true, bool allowHiddenLayer = false);
    Velt::ErrorStatus setLayer(VxDbObjectId layerId, bool doSubents = true, bool allowHiddenLayer = false);

    VxDbObjectId linetypeId() const { return style().linetype; }
    std::wstring linetype() const;
    Velt::ErrorStatus setLinetype(const wchar_t* name, bool doSubents = true);
    Velt::ErrorStatus setLinetype(VxDbObjectId linetypeId, bool doSubents = true);
    double linetypeScale() const { return style().linetypeScale; }
    // Must be above zero.
    Velt::ErrorStatus setLinetypeScale(double scale, bool doSubents = true);

    VxDb::Visibility visibility() const { return static_cast<VxDb::Visibility>(style().visibility); }
    Velt::ErrorStatus setVisibility(VxDb::Visibility visibility, bool doSubents = true);
    VxDb::LineWeight lineWeight() const { return static_cast<VxDb::LineWeight>(style().lineWeight); }
    Velt::ErrorStatus setLineWeight(VxDb::LineWeight weight, bool doSubents = true);

    // "ByLayer", "ByBlock", the plot-style dictionary's default name, or the
    // name of the entity's own plot style.
    std::wstring plotStyleName() const;
    VxDb::PlotStyleNameType getPlotStyleNameId(VxDbObjectId& id) const;
    // By name: "ByLayer", "ByBlock" (any case) or a key of the plot-style
    // dictionary (eKeyNotFound otherwise).
    Velt::ErrorStatus setPlotStyleName(const wchar_t* name, bool doSubents = true);
    Velt::ErrorStatus setPlotStyleName(VxDb::PlotStyleNameType type, VxDbObjectId id = VxDbObjectId(),
                                       bool doSubents = true);

    VxCmTransparency transparency() const;
    Velt::ErrorStatus setTransparency(const VxCmTransparency& value, bool doSubents = true);

    VxDbObjectId materialId() const { return style().material; }
    std::wstring material() const;
    // A key of the material dictionary (eKeyNotFound otherwise).
    Velt::ErrorStatus setMaterial(const wchar_t* name, bool doSubents = true);
    Velt::ErrorStatus setMaterial(VxDbObjectId materialId, bool doSubents = true);

    // Takes the current layer, linetype, colour, scales, line weight, plot
    // style, transparency and material of the database.
    Velt::ErrorStatus setDatabaseDefaults();
    Velt::ErrorStatus setDatabaseDefaults(VxDbDatabase* database);
    // Copies the common properties of another entity.
    Velt::ErrorStatus setPropertiesFrom(const VxDbEntity* other, bool doSubents = true);
    // The common properties as one record of values, and all of them set at once, each
    // checked as its own setter checks it (nothing changes on a refusal): one shared record is
    // taken instead of one a property, for readers that make millions of entities. A null
    // layer or linetype is taken as it is (an entity not yet placed has none); material and
    // plot style stay as they are; a new colour drops the old one's names.
    const detail::EntityStyle& commonProperties() const { return style(); }
    Velt::ErrorStatus setCommonProperties(const detail::EntityStyle& values, bool allowHiddenLayer = false);
    // What each common property accepts, as its setters check it: for readers that take a
    // file's value only where the host would, and keep the default otherwise.
    static bool isValidColor(uint32_t color);  // an entity colour's packed value
    static bool isValidLineWeight(int weight);
    static bool isValidLinetypeScale(double scale);
    static bool isValidVisibility(int visibility);
    static bool isValidTransparency(uint32_t packed);
    static Velt::ErrorStatus checkLayer(VxDbObjectId layerId, const VxDbDatabase* db, bool allowHiddenLayer);
    static Velt::ErrorStatus checkLinetype(VxDbObjectId linetypeId, const VxDbDatabase* db);

    virtual Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform);
    // A new, not resident entity: this one transformed. Kinds that a
    // transformation turns into another kind (a circle scaled unevenly)
    // answer with that kind.
    virtual Velt::ErrorStatus getTransformedCopy(const VxGeMatrix3d& xform, VxDbEntity*& copy) const;
    virtual Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const;
    // Appends the points where the two entities meet; intType extends one,
    // the other or both (lines to infinite lines, arcs to circles, elliptical
    // arcs to ellipses).
    virtual Velt::ErrorStatus intersectWith(const VxDbEntity* other, VxDb::Intersect intType,
                                            std::vector<VxGePoint3d>& points, int64_t thisGsMarker = 0,
                                            int64_t otherGsMarker = 0) const;
    // The geometry as a curve, for the kinds that are curves.
    virtual std::unique_ptr<VxGeCurve3d> geCurve() const { return nullptr; }
    // Kinds made of several curves (polylines) answer them, as far as they reach when
    // extended (an open polyline's ends: its first segment backwards, its last onwards);
    // false for the others.
    virtual bool getGeCurves(std::vector<std::unique_ptr<VxGeCurve3d>>& curves, bool extended) const;
    // New, not resident entities the entity breaks into (the caller owns them);
    // eNotApplicable for kinds that do not break up.
    virtual Velt::ErrorStatus explode(std::vector<VxDbEntity*>& entities) const;
    // Called by the block once the entity has become resident: what the entity owns and
    // holds itself (a polyline's vertices) becomes resident with it.
    virtual Velt::ErrorStatus makeOwnedResident() { return Velt::eOk; }

    // No screen here: highlighting is recorded (see VxHostDisplay).
    Velt::ErrorStatus highlight() const;
    Velt::ErrorStatus unhighlight() const;

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    const detail::EntityStyle& style() const { return detail::entityStyleAt(mStyle); }
    // Takes a new record for the changed values and lets the old one go.
    void setStyle(const detail::EntityStyle& style);
    template <class Change>
    Velt::ErrorStatus changeStyle(Change&& change)
    {
        if (Velt::ErrorStatus es = assertWriteEnabled())
            return es;
        detail::EntityStyle changed = style();
        change(changed);
        setStyle(changed);
        return Velt::eOk;
    }

    // In the room the object's own members leave at their end.
    uint32_t mStyle = 0;
};

// Solid-modelling entities (none in this host yet) and their tight extents.
bool vxdbIsAcisDbEntity(const VxDbEntity* entity);
Velt::ErrorStatus vxdbGetTightVsmExtents(const VxDbEntity* entity, VxGeExtents3d& extents);

// Entities that are curves: lines, arcs, circles, ellipses, rays,
// construction lines. Parameters are those of the curve geometry: distance
// along linear curves, angle on arcs, the ellipse parameter on ellipses.
class VxDbCurve : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbCurve)
public:
    virtual bool isClosed() const;
    virtual bool isPeriodic() const { return false; }
    Velt::ErrorStatus getStartParam(double& param) const;
    Velt::ErrorStatus getEndParam(double& param) const;
    Velt::ErrorStatus getStartPoint(VxGePoint3d& point) const;
    Velt::ErrorStatus getEndPoint(VxGePoint3d& point) const;
    Velt::ErrorStatus getPointAtParam(double param, VxGePoint3d& point) const;
    // eInvalidInput when the point is not on the curve.
    Velt::ErrorStatus getParamAtPoint(const VxGePoint3d& point, double& param) const;
    Velt::ErrorStatus getDistAtParam(double param, double& dist) const;
    Velt::ErrorStatus getClosestPointTo(const VxGePoint3d& given, VxGePoint3d& closest, bool extend = false) const;
    virtual Velt::ErrorStatus getArea(double& area) const;
    // New, not resident curves at the signed distance in the curve's plane;
    // the caller owns them. Kinds without offsets answer eNotApplicable.
    virtual Velt::ErrorStatus getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const;

protected:
    // The curve extended as far as it goes (line, full circle, full ellipse).
    virtual std::unique_ptr<VxGeCurve3d> geCurveExtended() const { return geCurve(); }
};

}  // namespace kx
