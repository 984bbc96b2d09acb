#pragma once

// The hatch: an area bounded by loops in a plane, filled solid, with a pattern of lines or
// with a gradient. The loops and the pattern's lines repeat within the record; the rest is
// described by fields.

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "db/entity.h"
#include "db/fields.h"
#include "ge/polyline.h"

namespace kx {

// One edge of a loop, in the hatch's plane coordinates. Arcs and elliptic arcs run from
// their start parameter to their end parameter, counter-clockwise or not: the way the loop
// runs, not the way the edge was drawn.
struct VxDbHatchEdge {
    enum Type : int16_t { kLine = 1, kCircArc = 2, kEllipArc = 3 };
    Type type = kLine;
    VxGePoint2d start, end;      // a line's ends
    VxGePoint2d center;          // an arc's or an ellipse's
    VxGeVector2d majorAxis;      // an ellipse's, its length the major radius
    double radius = 0.0;         // an arc's radius; an ellipse's minor-to-major ratio
    double startParam = 0.0;
    double endParam = 0.0;
    bool ccw = true;

    static VxDbHatchEdge line(const VxGePoint2d& from, const VxGePoint2d& to);
    static VxDbHatchEdge arc(const VxGePoint2d& center, double radius, double from, double to, bool ccw);
    static VxDbHatchEdge ellipse(const VxGePoint2d& center, const VxGeVector2d& majorAxis, double ratio, double from,
                                 double to, bool ccw);
    VxGePoint2d startPoint() const;
    VxGePoint2d endPoint() const;
    // The angle swept, in (0, 2pi] (a line: 0).
    double sweep() const;
    void reverse();
};

// A boundary loop: a closed polyline (its vertices with the bulge of the segment each
// starts) or a chain of edges.
struct VxDbHatchLoop {
    int32_t type = 0;  // VxDbHatch::LoopType bits
    std::vector<VxGeBulgeVertex> vertices;
    std::vector<VxDbHatchEdge> edges;

    bool isPolyline() const { return (type & 2) != 0; }
    // Edges either way: a polyline's segments as lines and arcs.
    std::vector<VxDbHatchEdge> asEdges() const;
    // Counter-clockwise positive.
    double signedArea() const;
    // Points along the loop, arcs in steps of at most pi/32.
    std::vector<VxGePoint2d> samples() const;
    // Puts edges given in any order, each either way round, end to end from the first; false
    // (nothing changed) when they form no closed chain.
    bool chainEdges();
};

// One family of parallel dashed lines: through base, at angle (radians), the next line
// offset by offset; dashes positive drawn, negative gaps, 0 a dot; none a solid line.
struct VxDbHatchPatternLine {
    double angle = 0.0;
    VxGePoint2d base;
    VxGeVector2d offset;
    std::vector<double> dashes;
};

// Fields: the pattern (name, type 0 user-defined 1 predefined 2 custom, angle, scale, the
// spacing and crossing of a user-defined one, the point it starts from), solid fill, the
// hatch style (0 normal: nested areas alternate, 1 outer: only the outermost, 2 ignore
// islands), associativity, the normal and the gradient. The elevation is no field: files
// hold it as a point of group 10, which the loops use too.
#define KX_FIELDS_VxDbHatch(F)                                                                          \
    F(GetSet, VxGeVector3d, normal, setNormal, VxGeVector3d::kZAxis, unitVector, kOwn, 210, 0)          \
    F(Get, std::wstring, patternName, -, L"SOLID", any, kOwn, 2, 0)                                     \
    F(Get, bool, solidFill, -, true, any, kOwn, 70, 0)                                                  \
    F(GetSet, bool, associative, setAssociative, false, any, kOwn, 71, 0)                               \
    F(GetSet, int16_t, hatchStyle, setHatchStyle, 0, hatchStyle, kOwn, 75, 0)                           \
    F(Get, int16_t, patternType, -, 1, patternType, kOwn, 76, 0)                                        \
    F(Get, double, patternAngle, -, 0.0, angle, kOwn, 52, kxdxf::kDegrees)                              \
    F(Get, double, patternScale, -, 1.0, positive, kOwn, 41, 0)                                         \
    F(Get, bool, patternDouble, -, false, any, kOwn, 77, 0)                                             \
    F(Get, double, patternSpace, -, 1.0, positive, kOwn, 0, 0)                                          \
    F(Get, VxGePoint3d, origin, -, VxGePoint3d::kOrigin, finite, kOwn, 0, 0)                            \
    F(Get, int16_t, hatchObjectType, -, 0, any, kOwn, 0, 0)                                             \
    F(GetSet, int16_t, gradientType, setGradientType, 0, gradientType, kOwn, 0, 0)                      \
    F(Get, std::wstring, gradientName, -, L"LINEAR", any, kOwn, 0, 0)                                   \
    F(GetSet, double, gradientAngle, setGradientAngle, 0.0, angle, kOwn, 0, 0)                          \
    F(GetSet, bool, gradientCentered, setGradientCentered, true, any, kOwn, 0, 0)                       \
    F(Get, int32_t, gradientColor1, -, int32_t(0xC3000005), any, kOwn, 0, 0)                            \
    F(Get, int32_t, gradientColor2, -, int32_t(0xC3000002), any, kOwn, 0, 0)                            \
    F(Get, int32_t, backgroundColor, -, int32_t(0xC8000000), any, kOwn, 0, 0)

namespace fieldcheck {
inline Velt::ErrorStatus hatchStyle(int16_t& v) { return v >= 0 && v <= 2 ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus patternType(int16_t& v) { return v >= 0 && v <= 2 ? Velt::eOk : Velt::eInvalidInput; }
inline Velt::ErrorStatus gradientType(int16_t& v) { return v == 0 || v == 1 ? Velt::eOk : Velt::eInvalidInput; }
}  // namespace fieldcheck

class VxDbHatch : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbHatch)
    KX_DB_FIELDS(VxDbHatch, VxDbEntity)
public:
    enum PatternType : int16_t { kUserDefined = 0, kPreDefined = 1, kCustomDefined = 2 };
    enum LoopType : int32_t {
        kDefault = 0, kExternal = 1, kPolyline = 2, kDerived = 4, kTextbox = 8, kOutermost = 16
    };
    enum ObjectType : int16_t { kHatchObject = 0, kGradientObject = 1 };

    VxDbHatch() = default;

    // The pattern by kind and name: "SOLID" (any kind) fills; a predefined name must be one
    // of the host's patterns; a user-defined one draws lines at the pattern's spacing (crossed
    // when double); a custom one keeps its name and has no lines of the host's.
    Velt::ErrorStatus setPattern(int16_t type, std::wstring_view name);
    Velt::ErrorStatus setPatternAngle(double angle);
    Velt::ErrorStatus setPatternScale(double scale);
    Velt::ErrorStatus setPatternSpace(double space);
    Velt::ErrorStatus setPatternDouble(bool crossed);
    Velt::ErrorStatus setOrigin(const VxGePoint3d& origin);
    VxGePoint2d origin2d() const { return {mFields.origin.x, mFields.origin.y}; }
    Velt::ErrorStatus setOrigin2d(const VxGePoint2d& origin) { return setOrigin({origin.x, origin.y, 0.0}); }
    double elevation() const { return mElevation; }
    Velt::ErrorStatus setElevation(double elevation);
    const std::vector<VxDbHatchPatternLine>& patternLines() const { return mLines; }
    // The ISO pen width (hundredths of a millimetre) of an ISO pattern: its scale; -1 for a
    // scale that is no pen width. Other patterns answer eNotApplicable.
    Velt::ErrorStatus isoPenWidth(int32_t& width) const;
    Velt::ErrorStatus setIsoPenWidth(int32_t width);
    // The names of the host's predefined patterns.
    static std::vector<std::wstring> predefinedPatterns();

    // Gradient fills: a gradient is a solid fill of its own name and two colours.
    Velt::ErrorStatus setHatchObjectType(int16_t type);
    Velt::ErrorStatus setGradientName(std::wstring_view name);
    Velt::ErrorStatus setGradientColor1(uint32_t packed);
    Velt::ErrorStatus setGradientColor2(uint32_t packed);
    Velt::ErrorStatus setBackgroundColor(uint32_t packed);
    static bool isGradientName(std::wstring_view name);

    // Loops, in order. Each must be closed (eInvalidInput otherwise, nothing changed).
    int numLoops() const { return int(mLoops.size()); }
    const VxDbHatchLoop& loopAt(int index) const { return mLoops[size_t(index)]; }
    Velt::ErrorStatus getLoopAt(int index, VxDbHatchLoop& loop) const;
    Velt::ErrorStatus appendLoop(const VxDbHatchLoop& loop) { return insertLoopAt(numLoops(), loop); }
    Velt::ErrorStatus insertLoopAt(int index, const VxDbHatchLoop& loop);
    Velt::ErrorStatus removeLoopAt(int index);
    // A loop from entities of a plane parallel to the hatch's (lines, arcs, circles,
    // ellipses, lightweight polylines) that meet end to end, given in order and each either
    // way round. The hatch without loops takes their plane's elevation; later loops must
    // lie in its plane. eInvalidInput for an open chain or another kind or plane.
    Velt::ErrorStatus loopFromEntities(const std::vector<const VxDbEntity*>& entities, int32_t type,
                                       VxDbHatchLoop& loop, double& elevation) const;
    // Draws the pattern afresh from its definition (after loops changed, nothing else to do).
    Velt::ErrorStatus evaluateHatch();

    // Outer areas less their islands, as the hatch style fills them.
    Velt::ErrorStatus getArea(double& area) const;
    VxGeMatrix3d planeToWorld() const;
    // Moves, turns and scales alike; scales that differ by axis are refused
    // (eCannotScaleNonUniformly).
    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;

    // Drawing files: the loops after the associativity, the pattern's lines, seed points and
    // gradient after the fields.
    bool readDxfGroup(int code, std::string_view value);
    void writeDxfGroupsBefore(int code, dxf::GroupWriter& out, VxDbDxfVersion version, bool utf8File) const;
    void writeDxfGroups(dxf::GroupWriter& out, VxDbDxfVersion version, bool utf8File) const;
    Velt::ErrorStatus checkFields(uint64_t readMask);
    void copyExtraData(const VxDbHatch& other);

private:
    void makeLines();
    void turnLines(double angle, double scale);
    // After the angle or scale changed: custom lines turn and scale, others are made anew.
    void refreshLines(double turn, double ratio);

    double mElevation = 0.0;
    std::vector<VxDbHatchLoop> mLoops;
    std::vector<VxDbHatchPatternLine> mLines;
    std::vector<VxGePoint2d> mSeeds;

    // Where a file's groups are: only while reading.
    enum class Reading : uint8_t { kHead, kLoops, kPattern, kSeeds, kGradient, kDone };
    // Values the file gives for fields: set after the fields were (they would overwrite them).
    struct ReadValues {
        double elevation = 0.0;
        int16_t objectType = 0;
        std::wstring gradientName;
        double gradientAngle = 0.0;
        bool centered = true;
        int32_t colors[2] = {0, 0};
        int color = -1;
    };
    Reading mReading = Reading::kHead;
    std::unique_ptr<ReadValues> mRead;
};

}  // namespace kx
