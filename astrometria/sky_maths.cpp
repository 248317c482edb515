#include "astrometria/sky_maths.h"

#include <cmath>

#include "astrometria/sky_vectors.h"
#include "catalogo/star_catalogue.h"
#include "comun/errors.h"

namespace tornel {

double GradosEntre0y360(double angle) {
    if (!std::isfinite(angle) || (angle >= 0 && angle < 360)) return angle;
    // Stepping by 360 is exact while a step stays on the value's grid (below 2^56), so the
    // remainder is what the steps reach, in one exact division; only the last step up from a
    // negative remainder rounds, and it may round to 360, which the steps then take away.
    double r = std::fmod(angle, 360.0);
    if (r < 0) r += 360;
    if (r >= 360) r -= 360;
    // A whole number of turns ends at +0, as the last step from -360 does.
    return r == 0 ? 0.0 : r;
}

bool HoraGST(Context& c, int32_t anio, int32_t mes, int32_t dia, double segundos, double zona,
             double& diasJ2000, double& sidereo) {
    WithCheckedTrap(c, "HoraGST", [&](const FpCheck& fp) {
        // Calendar arithmetic in doubles: a year far out must not overflow an integer.
        double y = anio, m = mes, d = dia;
        double ut = segundos - zona * 3600;
        double mjd =
            367 * y - 678987 +
            std::floor(std::floor(275 * m / 9) + d - std::floor(7 * (y + std::floor((m + 9) / 12)) / 4)) +
            ut / 86400;
        double days = mjd - 51544.5;
        double degrees = GradosEntre0y360(280.461 + 360.98564737 * days);
        fp.Check();
        diasJ2000 = days;
        sidereo = FpCheck::Finite(degrees);
    });
    return true;
}

void J2000aEpocaFecha(Context& c, double dias, double ra, double dec, double& raFecha, double& decFecha) {
    WithCheckedTrap(c, "J2000aEpocaFecha", [&](const FpCheck& fp) {
        double a = ra * c.gGradosARadianes, e = dec * c.gGradosARadianes;
        // Radians per day; the two coefficients differ on purpose.
        double dRA = (std::sin(a) * 2.668e-7 * std::tan(e) + 6.112e-7) * dias;
        double dDEC = std::cos(a) * 2.655e-7 * dias;
        double r = GradosEntre0y360(ra + dRA * c.gRadianesAGrados);
        double de = dec + dDEC * c.gRadianesAGrados;
        if (de < -90) de = -de - 180;
        if (de > 90) de = 180 - de;
        fp.Check();
        raFecha = FpCheck::Finite(r);
        decFecha = FpCheck::Finite(de);
    });
}

namespace {

// Azimuth (degrees from north through east) of hour angle hDeg and declination dec seen from
// latitud at altitude alt (refracted): the last steps of EcuatorialAaltaz. The polar cases set the
// altitude too.
void Azimuth(const Context& c, double hDeg, double dec, double latitud, double& alt, double& az) {
    const double k = c.gGradosARadianes;
    double h = hDeg * k, d = dec * k, lat = latitud * k;
    if (std::cos(lat) == 0) {
        alt = dec;
        az = GradosEntre0y360(hDeg + 180);
        return;
    }
    double a = alt * k;
    if (std::cos(a) == 0) {
        az = 180;
        alt = alt > 0 ? 90 : -90;
        return;
    }
    double sa = -std::sin(h) * std::cos(d) / std::cos(a);
    double ca = (std::sin(d) - std::sin(lat) * std::sin(a)) / (std::cos(lat) * std::cos(a));
    double z = 1 - sa * sa > 0 ? ArcSineByTangent(sa) * c.gRadianesAGrados : (sa > 0 ? 90 : -90);
    if (ca < 0) z = 180 - z;
    az = GradosEntre0y360(z);
}

}  // namespace

double CorrigeRefraccion(double altura) {
    // Only above 60 degrees, as the program always did: lower stars come back uncorrected.
    if (altura <= 60) return altura;
    double h = altura;
    double r = ((0.1594 + 0.0196 * h + 0.00002 * h * h) * 1000 / 283) / (1 + 0.505 * h + 0.0845 * h * h);
    return h + r;
}

void EcuatorialAaltaz(Context& c, double longitud, double latitud, double sidereo, double ra, double dec,
                      double& altura, double& azimut, bool conAzimut) {
    WithCheckedTrap(c, "EcuatorialAaltaz", [&](const FpCheck& fp) {
        const double k = c.gGradosARadianes;
        double hDeg = GradosEntre0y360(sidereo - longitud - ra);
        double h = hDeg * k, d = dec * k, lat = latitud * k;
        double s = std::sin(d) * std::sin(lat) + std::cos(lat) * std::cos(d) * std::cos(h);
        double alt, az = azimut;
        if (s == 1 || s == -1) {
            alt = s * 90;
            az = s == 1 ? 180 : 0;
        } else {
            alt = CorrigeRefraccion(ArcSineByTangent(s) * c.gRadianesAGrados);
            if (conAzimut) Azimuth(c, hDeg, dec, latitud, alt, az);
        }
        fp.Check();
        altura = FpCheck::Finite(alt);
        if (conAzimut) azimut = FpCheck::Finite(az);
    });
}

double AlturaDeEstrella(Context& c, int32_t estrella, double sidereo) {
    LeeCoordenadasEstrella(c, estrella);
    double altura = 0, azimut = 0;
    EcuatorialAaltaz(c, c.gLongitud, c.gLatitud, sidereo, c.gEstrellaRA, c.gEstrellaDEC, altura, azimut,
                     false);
    return altura;
}

}  // namespace tornel
