#pragma once
// Vectors of the celestial sphere and the arc forms that every formula of the sky shares. The arc
// sine and the half-chord angle are written with the arc tangent on purpose: the program's values
// are those of these forms, not of a library arc sine.
#include <cmath>

#include "comun/context.h"

namespace tornel {

struct Vector3 {
    double x = 0, y = 0, z = 0;
};

inline Vector3 operator+(Vector3 a, Vector3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vector3 operator-(Vector3 a, Vector3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vector3 operator*(double k, Vector3 a) {
    return {k * a.x, k * a.y, k * a.z};
}
inline double Norm(Vector3 a) {
    return std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z);
}

// Determinant of the matrix whose rows are a, b, c: positive when they turn counter-clockwise seen
// from outside.
inline double Determinant(Vector3 a, Vector3 b, Vector3 c) {
    return a.x * (b.y * c.z - b.z * c.y) - a.y * (b.x * c.z - b.z * c.x) + a.z * (b.x * c.y - b.y * c.x);
}

// Unit vector of (ra, dec), degrees, converted to radians with the program's gPi.
inline Vector3 SkyVector(const Context& c, double ra, double dec) {
    double a = ra * c.gGradosARadianes, d = dec * c.gGradosARadianes;
    return {std::cos(d) * std::cos(a), std::cos(d) * std::sin(a), std::sin(d)};
}

// Arc sine of s (radians) as atan(s / sqrt(1 - s*s)).
inline double ArcSineByTangent(double s) {
    return std::atan(s / std::sqrt(1 - s * s));
}

// Angle (radians) subtended by a chord of half-length q on the unit sphere: 2*atan(q / sqrt(1 - q*q)).
inline double HalfChordAngle(double q) {
    return 2 * ArcSineByTangent(q);
}

// Angle (radians) between two unit vectors by the half-chord form.
inline double HalfChordAngle(Vector3 a, Vector3 b) {
    return HalfChordAngle(Norm(a - b) / 2);
}

}  // namespace tornel
