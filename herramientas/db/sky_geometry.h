#pragma once
// Sky geometry of the database builder: unit vectors, distances and the pair inclination stored in
// the distance rings. Every angle at these interfaces is in degrees.
#include <cstdint>
#include <memory>

namespace tornel::db {

struct Vec3 {
    double x = 0, y = 0, z = 0;
};

inline double Dot(const Vec3& a, const Vec3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Vec3 Cross(const Vec3& a, const Vec3& b);
// det(a, b, c) = (a x b) . c
double Determinant(const Vec3& a, const Vec3& b, const Vec3& c);

// ra, dec (degrees) to the J2000 unit vector, with full-precision pi.
Vec3 UnitVector(double raDeg, double decDeg);
// Unit vector back to ra in [0, 360) and dec, degrees.
void VectorToRaDec(const Vec3& v, double& raDeg, double& decDeg);
// Angular distance (degrees) of two unit vectors, by the half chord; exact near 0.
double AngleBetween(const Vec3& a, const Vec3& b);
// Angular distance (degrees) of two positions given in degrees.
double AngularDistance(double ra1, double dec1, double ra2, double dec2);

// Distance, inclination and midpoint of a catalogue pair, as the program measures them.
struct PairGeometry {
    double distance = 0;     // degrees
    double inclination = 0;  // degrees, 0 to 180
    double midDec = 0;       // declination of the midpoint, degrees
    double midRa = 0;        // right ascension of the midpoint, degrees, 0 to 360
};

// The program's own measure of pairs: the 0..180 inclination routine of the sky maths, given the
// coordinates (degrees) instead of star numbers, so that the rings hold what the program computes.
// The midpoint's right ascension is added. Holds a context of its own.
class PairMeter {
  public:
    PairMeter();
    ~PairMeter();
    PairMeter(const PairMeter&) = delete;
    PairMeter& operator=(const PairMeter&) = delete;
    // False on a numeric fault of the routine (a pair along a meridian, a midpoint on a pole).
    bool Measure(double ra1, double dec1, double ra2, double dec2, PairGeometry& out);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// Distance in database units (hundred-thousandths of a degree), rounded half to even.
int32_t DistanceUnits(double distanceDeg);

}  // namespace tornel::db
