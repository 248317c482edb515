#include "astrometria/star_calibration.h"

#include <cmath>

#include "astrometria/pair_geometry.h"
#include "astrometria/sky_maths.h"
#include "astrometria/sky_vectors.h"
#include "comun/errors.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

constexpr double kLeastDistance = 0.1;  // degrees between the two stars
constexpr int32_t kMostRounds = 200;    // the bisection's guard
constexpr double kArcSecondsPerRadian = 206265;

// tan of half the angle that pixels A and B subtend at the eye, `f` pixels above the image centre.
double HalfAngleTangent(const StarCalibration& k, double cx, double cy, double f) {
    const double a = std::hypot(k.mXa - k.mXb, k.mYa - k.mYb);
    const double b = std::sqrt((k.mXa - cx) * (k.mXa - cx) + (k.mYa - cy) * (k.mYa - cy) + f * f);
    const double d = std::sqrt((k.mXb - cx) * (k.mXb - cx) + (k.mYb - cy) * (k.mYb - cy) + f * f);
    const double p = (a + b + d) / 2;
    const double r = std::sqrt((p - a) * (p - b) * (p - d) / p);
    return r / (p - a);
}

// The focal length whose half-angle tangent meets `target` within a thousandth, by bisection between
// integer limits. false when the limits stop moving at an end of the range without meeting it.
bool FocalByBisection(const StarCalibration& k, double cx, double cy, double alto, double target, double& f) {
    const double firstLow = RoundHalfEven(alto / 2), firstHigh = RoundHalfEven(alto * 2000);
    double low = firstLow, high = firstHigh;
    const double tolerance = target * 0.001;
    f = alto * 20;
    for (int32_t round = 0; round < kMostRounds; ++round) {
        const double t = HalfAngleTangent(k, cx, cy, f);
        if (std::fabs(t - target) < tolerance) return true;
        const double oldLow = low, oldHigh = high;
        if (!(t > target))
            high = RoundHalfEven(f);
        else
            low = RoundHalfEven(f);
        f = (low + high) / 2;
        // The limits no longer move: f is as near as whole pixels allow, unless it has run to an end.
        if (low == oldLow && high == oldHigh) return low > firstLow && high < firstHigh;
    }
    return false;
}

// Direction of A -> B on the screen, degrees from +y toward +x.
double ScreenAngle(const StarCalibration& k, const Context& c) {
    if (k.mYa == k.mYb) return k.mXa <= k.mXb ? 90 : 270;
    const double w = std::atan(std::fabs((k.mXa - k.mXb) / (k.mYb - k.mYa))) * c.gRadianesAGrados;
    if (k.mXa <= k.mXb) return k.mYa <= k.mYb ? w : 180 - w;
    return k.mYa <= k.mYb ? 360 - w : w + 180;
}

}  // namespace

int32_t CalibrarConCoordenadasDeEstrellas(Context& c, StarCalibration& k, const CalibrationStar& a,
                                          const CalibrationStar& b, double ancho, double alto) {
    int32_t code = kCalibracionError;
    WithCheckedTrap(c, "CalibrarConCoordenadasDeEstrellas", [&](const FpCheck& fp) {
        k.mXa = a.x, k.mXb = b.x;
        k.mYa = a.y / k.mAspecto, k.mYb = b.y / k.mAspecto;
        c.gAnchoImagen = ancho;
        c.gAltoImagen = alto / k.mAspecto;
        if (CalculaAnguloEinclinacion_0a360_DeCoordenadas(c, a.ra, a.dec, b.ra, b.dec) != kParHecho) return;
        if (c.gDistanciaAngular < kLeastDistance) {
            MensajeIdioma(c, "La distancia calculada entre las estrellas A y B es demasiado pequeña.",
                          "La distance calculée entre les étoiles A et B est trop petite.",
                          "The calculated distance between A and B stars is too small.");
            code = kCalibracionEstrellasCercanas;
            return;
        }
        double f = 0;
        if (!FocalByBisection(k, c.gAnchoImagen / 2, c.gAltoImagen / 2, c.gAltoImagen, c.gTanMediaDistancia,
                              f)) {
            MensajeIdioma(
                c,
                "Ninguna focal entre la mitad y 2000 veces la altura de la imagen se ajusta a estas "
                "estrellas.",
                "Aucune focale entre la moitié et 2000 fois la hauteur de l'image ne convient à ces étoiles.",
                "No focal length between half and 2000 times the image height fits these stars.");
            code = kCalibracionSinFocal;
            return;
        }
        const int32_t focal = ToLong(f);
        const double scale = std::atan(1.0 / focal) * kArcSecondsPerRadian;
        const double side = std::hypot(k.mXa - k.mXb, k.mYa - k.mYb);
        const double minutes = std::fabs(c.gDistanciaAngular * c.gAltoImagen / side * 60);
        const double angle = GradosEntre0y360(ScreenAngle(k, c) - c.gInclinacion);
        fp.Check();
        k.mFocal = focal;
        k.segundosPorPixelX = scale;
        k.segundosPorPixelY = scale / k.mAspecto;
        k.minutosAltoImagen = minutes;
        k.mAnguloCamara = angle;
        code = kCalibracionHecha;
    });
    return code;
}

double ProductoVectorialCielo(const Context& c, double ra1, double dec1, double ra2, double dec2, double ra3,
                              double dec3) {
    return Determinant(SkyVector(c, ra1, dec1), SkyVector(c, ra2, dec2), SkyVector(c, ra3, dec3));
}

int16_t DeterminaInvertida(const Context& c, const StarCalibration& k, const CalibrationStar& a,
                           const CalibrationStar& b, const CalibrationStar& d) {
    const double ya = a.y / k.mAspecto, yb = b.y / k.mAspecto, yd = d.y / k.mAspecto;
    const double s = (a.x - d.x) * (yb - yd) - (ya - yd) * (b.x - d.x);
    const double sky = ProductoVectorialCielo(c, a.ra, a.dec, b.ra, b.dec, d.ra, d.dec);
    if (s * sky < 0) return c.gImagenInvertida;
    return c.gImagenInvertida == 1 ? 0 : 1;
}

int32_t CalibrarConTresEstrellas(Context& c, StarCalibration& k, const CalibrationStar& a,
                                 const CalibrationStar& b, const CalibrationStar& d, double ancho,
                                 double alto) {
    auto apart = [&](const CalibrationStar& p, const CalibrationStar& q) {
        const double dx = p.x - q.x, dy = (p.y - q.y) / k.mAspecto;
        return dx * dx + dy * dy;
    };
    const double ab = apart(a, b), ad = apart(a, d), bd = apart(b, d);
    int32_t code = kCalibracionError;
    if (ab >= ad && ab >= bd)
        code = CalibrarConCoordenadasDeEstrellas(c, k, a, b, ancho, alto);
    else if (ad >= bd)
        code = CalibrarConCoordenadasDeEstrellas(c, k, a, d, ancho, alto);
    else
        code = CalibrarConCoordenadasDeEstrellas(c, k, b, d, ancho, alto);
    if (code == kCalibracionHecha) k.mInvertida = DeterminaInvertida(c, k, a, b, d);
    return code;
}

}  // namespace tornel
