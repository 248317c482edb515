#include "herramientas/db/sky_geometry.h"

#include <cmath>
#include <numbers>

#include "astrometria/sky_maths.h"
#include "core/numbers.h"

namespace tornel::db {
namespace {

constexpr double kDegToRad = std::numbers::pi / 180.0;
// The program's short pi: inclinations must match what its own routine computes.
constexpr double kShortPi = 3.1415927;
constexpr double kShortDegToRad = kShortPi / 180.0;
constexpr double kShortRadToDeg = 180.0 / kShortPi;

Vec3 ShortUnitVector(double raDeg, double decDeg) {
    double a = raDeg * kShortDegToRad, d = decDeg * kShortDegToRad;
    return {std::cos(d) * std::cos(a), std::cos(d) * std::sin(a), std::sin(d)};
}

// 2 atan(q / sqrt(1 - q^2)) with q the half chord: the program's arc from a chord (radians).
double ArcFromHalfChord(double q) {
    return 2.0 * std::atan(q / std::sqrt(1.0 - q * q));
}

double HalfChord(const Vec3& a, const Vec3& b) {
    double dx = a.x - b.x, dy = a.y - b.y, dz = a.z - b.z;
    return std::sqrt(dx * dx + dy * dy + dz * dz) / 2.0;
}

}  // namespace

Vec3 Cross(const Vec3& a, const Vec3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double Determinant(const Vec3& a, const Vec3& b, const Vec3& c) {
    return Dot(Cross(a, b), c);
}

Vec3 UnitVector(double raDeg, double decDeg) {
    double a = raDeg * kDegToRad, d = decDeg * kDegToRad;
    return {std::cos(d) * std::cos(a), std::cos(d) * std::sin(a), std::sin(d)};
}

void VectorToRaDec(const Vec3& v, double& raDeg, double& decDeg) {
    raDeg = std::atan2(v.y, v.x) / kDegToRad;
    if (raDeg < 0) raDeg += 360.0;
    if (raDeg >= 360.0) raDeg -= 360.0;
    decDeg = std::atan2(v.z, std::hypot(v.x, v.y)) / kDegToRad;
}

double AngleBetween(const Vec3& a, const Vec3& b) {
    double q = HalfChord(a, b);
    if (q >= 1.0) return 180.0;
    return ArcFromHalfChord(q) / kDegToRad;
}

double AngularDistance(double ra1, double dec1, double ra2, double dec2) {
    return AngleBetween(UnitVector(ra1, dec1), UnitVector(ra2, dec2));
}

bool MeasurePair(double ra1, double dec1, double ra2, double dec2, PairGeometry& out) {
    // Order the pair so that A lies west of B on the shorter way round; the 0..180 inclination does
    // not depend on it, but the fallback of a rounding fault does.
    if (std::fabs(ra1 - ra2) <= 180.0 ? ra1 > ra2 : ra1 < ra2) {
        std::swap(ra1, ra2);
        std::swap(dec1, dec2);
    }
    Vec3 a = ShortUnitVector(ra1, dec1), b = ShortUnitVector(ra2, dec2);
    Vec3 m{(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2};
    double norm = std::sqrt(Dot(m, m));
    if (!(norm > 0)) return false;
    m = {m.x / norm, m.y / norm, m.z / norm};
    const Vec3 pole{0, 0, 1};
    double d = ArcFromHalfChord(HalfChord(a, b));
    double h = d / 2;
    double bp = ArcFromHalfChord(HalfChord(b, pole));
    double mp = ArcFromHalfChord(HalfChord(m, pole));
    double den = std::sin(h) * std::sin(mp);
    if (!(den != 0)) return false;
    double x = (std::cos(bp) - std::cos(h) * std::cos(mp)) / den;
    double inclination;
    if (1 - x * x <= 0) {
        // Out of range by rounding; exactly 1 (a pair along a meridian) is taken the same way
        // rather than lost.
        inclination = dec2 <= dec1 ? 179.0 : 0.0;
    } else {
        inclination = (std::atan(-x / std::sqrt(1 - x * x)) + 2 * std::atan(1.0)) * kShortRadToDeg;
    }
    double midDec = std::atan(m.z / std::sqrt(1 - m.z * m.z)) * kShortRadToDeg;
    if (!std::isfinite(inclination) || !std::isfinite(midDec) || !std::isfinite(d)) return false;
    out.distance = d * kShortRadToDeg;
    out.inclination = inclination;
    out.midDec = midDec;
    out.midRa = GradosEntre0y360(std::atan2(m.y, m.x) * kShortRadToDeg);
    return true;
}

int32_t DistanceUnits(double distanceDeg) {
    return static_cast<int32_t>(RoundHalfEven(distanceDeg * 100000.0));
}

}  // namespace tornel::db
