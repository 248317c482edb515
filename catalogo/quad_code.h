#pragma once
// The code of four stars on a plane that neither the scale nor the turn of the plane changes: the
// key of the pattern index. The two most distant stars, A and B, are carried to (0, 0) and (1, 1);
// the other two, C and D, are given in that frame. Both lie in the circle on AB as a diameter, or
// the quad has no code (its shape would hang on which pair is the most distant by a hair).
// The labels are made unique: C is the one of smaller x, and A is chosen so that xc + xd <= 1.
// A mirror image swaps x and y in the frame, so one lookup per parity covers both.
#include <array>
#include <cstdint>

namespace tornel {

struct PlanePoint {
    double x = 0, y = 0;
};

// (xc, yc, xd, yd)
using QuadCode = std::array<double, 4>;

struct Quad {
    std::array<int32_t, 4> order{};  // the points as A, B, C, D: indices into the four given
    QuadCode code{};
    double diameter = 0;  // |AB|, in the plane's units
};

// The code of points p. False when C or D lies outside the circle on AB, or A and B coincide.
bool MakeQuad(const std::array<PlanePoint, 4>& p, Quad& quad);

// The quad of the mirror image of the same points: the code of their reflection, labels remade.
Quad MirroredQuad(const Quad& quad);

// Squared distance between codes.
double CodeDistance2(const QuadCode& a, const QuadCode& b);

// Gnomonic projection of (ra, dec) onto the plane touching the sphere at (ra0, dec0), all in
// degrees: x to the east, y to the north, in radians of the plane. False behind the tangent point.
bool TangentPlane(double ra0, double dec0, double ra, double dec, PlanePoint& p);

// Angular distance between two positions, degrees.
double AngularDistance(double ra1, double dec1, double ra2, double dec2);

}  // namespace tornel
