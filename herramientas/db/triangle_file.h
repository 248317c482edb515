#pragma once
// Database 2, the triangle road: which star triangles enter tri2g02.bin, their canonical vertex
// order, and the implicit balanced 3-d tree the file is.
#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "herramientas/db/distance_files.h"
#include "herramientas/db/records.h"

namespace tornel::db {

inline constexpr double kMinTriangleSide = 0.1;   // degrees
inline constexpr double kMaxTriangleSide = 2.28;  // degrees

// A point of a plane triangulation.
struct PlanePoint {
    double x = 0, y = 0;
};
// Delaunay triangles (indices into `points`, three per triangle) by incremental insertion.
std::vector<std::array<int32_t, 3>> DelaunayTriangles(const std::vector<PlanePoint>& points);

// Gnomonic projection on the plane tangent at (ra0, dec0): x toward east, y toward north, in
// tangent units (degrees are the arc tangent). False for a point 90 degrees or more away.
bool TangentPlane(double ra0, double dec0, double ra, double dec, double& x, double& y);

// The triangle of three records of estDEC_ID1x1g.bin (numbers from 1) in canonical order: A opposite
// the smallest side, B and C turning as the image triangles do once put in their canonical form.
// False when a side lies outside 0.1 to 2.28 degrees.
bool CanonicalTriangle(const std::vector<DecRecord>& stars, int32_t n1, int32_t n2, int32_t n3,
                       TriangleRecord& out);

// Sides of a triangle of records (numbers from 1), degrees, from the coordinates the file holds:
// s(I,J), s(J,K), s(I,K) for I < J < K.
std::array<double, 3> TriangleSides(const std::vector<DecRecord>& stars, int32_t i, int32_t j, int32_t k);

struct TriangleChoice {
    std::vector<double> fieldRadii{1.25, 1.75};  // probe fields, degrees
    double spacing = 0.5;                        // probe centres this fraction of the radius apart
    int32_t brightest = 10;                      // stars of a probe field that are triangulated
    bool partial = true;                         // also the triangulations of its first 3, 4, ... brightest
};

// Triangles as a search meets them: for probe fields all over the sky, the Delaunay triangles of each
// field's brightest stars. Stars are records of estDEC_ID1x1g.bin; `brightnessRank` gives for each
// record (from 1) its rank in brightness (lower is brighter).
std::vector<TriangleRecord> ChooseTriangles(const std::vector<DecRecord>& stars,
                                            const std::vector<int32_t>& brightnessRank,
                                            const TriangleChoice& choice, const ProgressFn& progress = {});

// Lays the triangles out as the implicit tree: node (level L, position P) at record 2^L + P, split on
// side (L mod 3) + 1, the tree complete so that no empty slot is needed.
std::vector<TriangleRecord> TriangleTree(std::vector<TriangleRecord> triangles);

// The search a reader makes of that tree: from node (level, position), every record whose three
// sides lie inside [lo, hi] (limits included), in the order of the descent. visit(record number).
void VisitBox(const std::vector<TriangleRecord>& tree, const float lo[3], const float hi[3],
              const std::function<void(int64_t)>& visit, int level = 0, int64_t position = 0);

}  // namespace tornel::db
