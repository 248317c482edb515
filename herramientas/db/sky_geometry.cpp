#include "herramientas/db/sky_geometry.h"

#include <cmath>
#include <numbers>
#include <optional>
#include <string>

#include "astrometria/pair_geometry.h"
#include "astrometria/sky_maths.h"
#include "comun/context.h"
#include "comun/numbers.h"
#include "comun/quiet_platform.h"

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

struct PairMeter::Impl {
    QuietPlatform platform;  // the meter reports no error to anyone
    Context c{platform};
};

PairMeter::PairMeter() : impl_(std::make_unique<Impl>()) {
    impl_->c.gMostrarAvisos = false;
}
PairMeter::~PairMeter() = default;

bool PairMeter::Measure(double ra1, double dec1, double ra2, double dec2, PairGeometry& out) {
    Context& c = impl_->c;
    if (PairInclinationFromCoordinates(c, ra1, dec1, ra2, dec2) != kParHecho) return false;
    out.distance = c.gDistanciaAngular;
    out.inclination = c.gInclinacion;
    out.midDec = c.gDeclinacionMedia;
    // The midpoint's right ascension, from the same short-pi vectors.
    Vec3 a = ShortUnitVector(ra1, dec1), b = ShortUnitVector(ra2, dec2);
    out.midRa = GradosEntre0y360(std::atan2(a.y + b.y, a.x + b.x) * kShortRadToDeg);
    return std::isfinite(out.midRa);
}

int32_t DistanceUnits(double distanceDeg) {
    return static_cast<int32_t>(RoundHalfEven(distanceDeg * 100000.0));
}

}  // namespace tornel::db
