#include "astrometria/pair_geometry.h"

#include <cmath>
#include <utility>

#include "astrometria/sky_vectors.h"
#include "catalogo/star_catalogue.h"
#include "comun/errors.h"

namespace tornel {

namespace {

struct SkyPoint {
    double ra = 0, dec = 0;
};

// Reads a catalogue star; false when it reads as (0, 0), which is how a missing star is told.
bool ReadStar(Context& c, int32_t estrella, SkyPoint& p) {
    LeeCoordenadasEstrella(c, estrella);
    p = {c.gEstrellaRA, c.gEstrellaDEC};
    return !(p.ra == 0 && p.dec == 0);
}

// Both stars of a pair: kParHecho, or the code of the first one missing.
int32_t ReadPair(Context& c, int32_t estrella1, int32_t estrella2, SkyPoint& a, SkyPoint& b) {
    if (!ReadStar(c, estrella1, a)) return kParFaltaPrimera;
    if (!ReadStar(c, estrella2, b)) return kParFaltaSegunda;
    return kParHecho;
}

// Midpoint geometry shared by both inclination routines.
struct PairShape {
    double d = 0;  // distance, radians
    Vector3 m;     // unit vector of the midpoint
    double x = 0;  // cosine of the angle at the midpoint between the pole and B
};

PairShape DistanceAndMidpoint(Vector3 a, Vector3 b) {
    PairShape s;
    Vector3 mid = 0.5 * (a + b);
    s.m = (1 / Norm(mid)) * mid;
    s.d = HalfChordAngle(a, b);
    return s;
}

// Spherical cosine rule at M, between the pole and B; h is half the distance.
double CosineAtMidpoint(Vector3 b, const PairShape& s) {
    const Vector3 pole{0, 0, 1};
    double h = s.d / 2;
    double bb = HalfChordAngle(b, pole), mm = HalfChordAngle(s.m, pole);
    return (std::cos(bb) - std::cos(h) * std::cos(mm)) / (std::sin(h) * std::sin(mm));
}

// acos(x) through the arc tangent, radians.
double ArcCosineByTangent(double x) {
    return std::atan(-x / std::sqrt(1 - x * x)) + 2 * std::atan(1.0);
}

}  // namespace

double CalculaDistancia(Context& c, double ra1, double dec1, double ra2, double dec2) {
    double answer = 0;
    WithCheckedTrap(c, "CalculaDistancia", [&](const FpCheck& fp) {
        Vector3 p1 = SkyVector(c, ra1, dec1), p2 = SkyVector(c, ra2, dec2);
        double ns = Norm(p1 - p2), nc = Norm(p1 + p2);
        double s = ns * ns / 4, k = nc * nc / 4;
        // Antipodes answer 0, by decision.
        double d = std::sqrt(k) == 0 ? 0 : 2 * std::atan(std::sqrt(s) / std::sqrt(k)) * c.gRadianesAGrados;
        fp.Check();
        answer = FpCheck::Finite(d);
    });
    return answer;
}

int32_t CalculaDistanciaDeCatalogo(Context& c, int32_t estrella1, int32_t estrella2) {
    int32_t code = kParHecho;
    bool ok = WithCheckedTrap(c, "CalculaDistanciaDeCatalogo", [&](const FpCheck& fp) {
        SkyPoint a, b;
        code = ReadPair(c, estrella1, estrella2, a, b);
        if (code != kParHecho) return;
        Vector3 pa = SkyVector(c, a.ra, a.dec), pb = SkyVector(c, b.ra, b.dec);
        double d = HalfChordAngle(pa, pb) * c.gRadianesAGrados;
        fp.Check();
        c.gDistanciaAngular = FpCheck::Finite(d);
    });
    return ok ? code : kParError;
}

namespace {

// The 0..180 measure of a pair once its stars are read; the caller's trap catches the faults.
void MeasureWestToEast(Context& c, const FpCheck& fp, SkyPoint a, SkyPoint b) {
    // A west of B on the shorter way round.
    if (std::fabs(a.ra - b.ra) <= 180 ? a.ra > b.ra : a.ra < b.ra) std::swap(a, b);
    Vector3 va = SkyVector(c, a.ra, a.dec), vb = SkyVector(c, b.ra, b.dec);
    PairShape s = DistanceAndMidpoint(va, vb);
    double distance = s.d * c.gRadianesAGrados;
    double x = CosineAtMidpoint(vb, s);
    // Rounding past the pole's direction: the program's fixed 179, not 180.
    double inclination =
        1 - x * x < 0 ? (b.dec <= a.dec ? 179 : 0) : ArcCosineByTangent(x) * c.gRadianesAGrados;
    double meanDec = ArcSineByTangent(s.m.z) * c.gRadianesAGrados;
    fp.Check();
    c.gDistanciaAngular = FpCheck::Finite(distance);
    c.gInclinacion = FpCheck::Finite(inclination);
    c.gDeclinacionMedia = FpCheck::Finite(meanDec);
}

}  // namespace

int32_t CalculaAnguloEinclinacion_0a180_DeCatalogo(Context& c, int32_t estrella1, int32_t estrella2) {
    int32_t code = kParHecho;
    bool ok = WithCheckedTrap(c, "CalculaAnguloEinclinacion_0a180_DeCatalogo", [&](const FpCheck& fp) {
        SkyPoint a, b;
        code = ReadPair(c, estrella1, estrella2, a, b);
        if (code != kParHecho) return;
        if (estrella1 == estrella2) {
            c.gDistanciaAngular = 0;
            c.gInclinacion = 0;
            c.gDeclinacionMedia = a.dec;
            return;
        }
        MeasureWestToEast(c, fp, a, b);
    });
    return ok ? code : kParError;
}

int32_t PairInclinationFromCoordinates(Context& c, double ra1, double dec1, double ra2, double dec2) {
    bool ok = WithCheckedTrap(c, "CalculaAnguloEinclinacion_0a180_DeCatalogo", [&](const FpCheck& fp) {
        MeasureWestToEast(c, fp, {ra1, dec1}, {ra2, dec2});
    });
    return ok ? kParHecho : kParError;
}

int32_t CalculaAnguloEinclinacion_0a360_DeCoordenadas(Context& c, double ra1, double dec1, double ra2,
                                                      double dec2) {
    bool ok = WithCheckedTrap(c, "CalculaAnguloEinclinacion_0a360_DeCoordenadas", [&](const FpCheck& fp) {
        Vector3 va = SkyVector(c, ra1, dec1), vb = SkyVector(c, ra2, dec2);
        PairShape s = DistanceAndMidpoint(va, vb);
        double distance = s.d * c.gRadianesAGrados;
        fp.Check();
        c.gDistanciaAngular = FpCheck::Finite(distance);
        if (c.gDistanciaAngular == 0) return;
        double x = CosineAtMidpoint(vb, s);
        double inclination =
            1 - x * x < 0 ? (dec2 <= dec1 ? 180 : 0) : ArcCosineByTangent(x) * c.gRadianesAGrados;
        // Measured the other way round when the second point lies east of the first.
        double gap = std::fabs(ra1 - ra2);
        if ((gap < 180 && ra1 <= ra2) || (gap >= 180 && ra1 > ra2)) inclination = 360 - inclination;
        // tan(d/2) from the in-radius of the triangle of sides 1, 1 and the chord.
        double chord = Norm(va - vb);
        double p = (chord + 2) / 2;
        double r = std::sqrt((p - 1) * (p - 1) * (p - chord) / p);
        double tanHalf = r / (p - chord);
        fp.Check();
        c.gInclinacion = FpCheck::Finite(inclination);
        c.gTanMediaDistancia = FpCheck::Finite(tanHalf);
    });
    return ok ? kParHecho : kParError;
}

}  // namespace tornel
