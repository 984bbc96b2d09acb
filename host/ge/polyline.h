#pragma once

// Geometry of polylines: planar ones whose segments are straight or circular (a bulge per
// segment: the tangent of a quarter of its included angle, positive counter-clockwise about
// the plane's normal), and the fitting of curves and surfaces through vertices.

#include <cstdint>
#include <memory>
#include <vector>

#include "ge/curves.h"
#include "ge/point.h"

namespace kx {

// A vertex of a planar polyline in the plane's own coordinates, and the bulge of the
// segment that starts at it.
struct VxGeBulgeVertex {
    VxGePoint2d point;
    double bulge = 0.0;
};

// The circle of the segment from p0 to p1; false for a straight (or zero-length) one.
bool vxgeBulgeArc(const VxGePoint2d& p0, const VxGePoint2d& p1, double bulge, VxGePoint2d& center, double& radius);
// The length of one segment, the arc's when it bulges.
double vxgeBulgeSegmentLength(const VxGePoint2d& p0, const VxGePoint2d& p1, double bulge);
// The area between a segment's chord and its arc, signed like the bulge.
double vxgeBulgeSegmentArea(const VxGePoint2d& p0, const VxGePoint2d& p1, double bulge);

// Lengths and areas of whole polylines. An open polyline's area is that of the figure
// closed by a straight segment from its last vertex to its first; the signed area is
// positive when the figure runs counter-clockwise.
double vxgeBulgePolylineLength(const std::vector<VxGeBulgeVertex>& vertices, bool closed);
double vxgeBulgePolylineSignedArea(const std::vector<VxGeBulgeVertex>& vertices, bool closed);

// The segments as curves in space: the plane's coordinates mapped by planeToWorld, arcs
// about the plane's unit normal (clockwise ones about its opposite). Zero-length segments
// are left out.
std::vector<std::unique_ptr<VxGeCurve3d>> vxgeBulgePolylineCurves(const std::vector<VxGeBulgeVertex>& vertices,
                                                                  bool closed, const VxGeMatrix3d& planeToWorld,
                                                                  const VxGeVector3d& normal);

// The polyline at a signed distance: positive to the right of the direction of travel.
// Each segment is moved (lines sideways, arcs to the concentric radius); neighbours are
// trimmed or extended to meet, or joined by a straight segment where they cannot meet.
// Arcs that shrink to nothing are left out. source[i] is the input vertex the output
// vertex i comes from (-1 for a joining vertex). False when nothing is left.
bool vxgeOffsetBulgePolyline(const std::vector<VxGeBulgeVertex>& vertices, bool closed, double distance,
                             std::vector<VxGeBulgeVertex>& result, std::vector<int>* source = nullptr);

// A fitted vertex: the given ones come with the tangent direction (an angle in the plane)
// of the curve through them, generated ones between them.
struct VxGeFitVertex {
    VxGeBulgeVertex vertex;
    double tangent = 0.0;
    bool generated = false;
};

// The smooth curve of circular arcs through the points: at each point the direction of the
// circle through it and its neighbours, and between two points two arcs (meeting at a
// generated vertex) that leave and arrive in those directions.
std::vector<VxGeFitVertex> vxgeCurveFit(const std::vector<VxGePoint2d>& points, bool closed);

// Points along the uniform B-spline of the degree (2 or 3, less when there are too few
// points) over the control points: from the first to the last control point when open,
// a periodic loop when closed (its first point not repeated at the end).
// segmentsPerEdge segments for each edge of the control polygon.
std::vector<VxGePoint3d> vxgeSplineFitPoints(const std::vector<VxGePoint3d>& control, bool closed, int degree,
                                             int segmentsPerEdge);

enum class VxGeSurfaceType : int { kQuadratic = 5, kCubic = 6, kBezier = 8 };

// densityM x densityN points (row by row, as meshes keep their vertices) of the surface
// over an m x n grid of control points: a B-spline surface of the type's degree, periodic
// in a direction that is closed, or the Bezier surface of the whole grid.
std::vector<VxGePoint3d> vxgeSurfaceFitPoints(const std::vector<VxGePoint3d>& control, int m, int n, bool closedM,
                                              bool closedN, VxGeSurfaceType type, int densityM, int densityN);

}  // namespace kx
