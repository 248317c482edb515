#pragma once
// Sidereal time, the short precession step from J2000 to the date, and equatorial to horizontal
// coordinates with refraction. Every angle at these interfaces is in degrees; radians live only
// inside the formulas, converted with the program's gPi. Each routine that takes the context checks
// its floating point: an invalid operation, a division by zero or an overflow is reported by its
// own trap (gMostrarAvisos), which sets mFinAnalisis.
#include <cstdint>

#include "comun/context.h"

namespace tornel {

// angle (degrees) brought into 0 <= a < 360 at once: the very value that repeated addition or
// subtraction of 360 reaches, rounding included, for any angle below 2^56 in size (some 2 x 10^14
// turns); beyond, the exact remainder. A value that is not finite is returned as it is.
double GradosEntre0y360(double angle);

// Greenwich sidereal time of a civil date and time.
//   anio, mes, dia: the date; segundos: seconds since the midnight of that date, in zone time;
//   zona: hours that zone time is ahead of universal time.
//   out diasJ2000: days since J2000.0 (universal time); out sidereo: sidereal time, degrees 0..360.
// Returns true.
bool HoraGST(Context& c, int32_t anio, int32_t mes, int32_t dia, double segundos, double zona,
             double& diasJ2000, double& sidereo);

// First-order precession from J2000 to a date, linear in the days.
//   dias: days since J2000.0; ra, dec: J2000, degrees.
//   out raFecha (0..360), decFecha: of the date, degrees; a declination past a pole is folded back
//   without touching the right ascension.
void J2000aEpocaFecha(Context& c, double dias, double ra, double dec, double& raFecha, double& decFecha);

// Equatorial to horizontal coordinates.
//   longitud: observatory longitude, degrees, positive towards the west; latitud: degrees;
//   sidereo: Greenwich sidereal time, degrees; ra, dec: degrees.
//   out altura: altitude, degrees, corrected by CorrigeRefraccion;
//   out azimut: degrees 0..360 from north through east, written only when conAzimut.
void EcuatorialAaltaz(Context& c, double longitud, double latitud, double sidereo, double ra, double dec,
                      double& altura, double& azimut, bool conAzimut);

// Refraction at pressure 1000 and temperature 283 added to an altitude (degrees). Only altitudes
// above 60 degrees are corrected; any other comes back as it is.
double CorrigeRefraccion(double altura);

// Altitude (degrees) at the observatory (gLongitud, gLatitud) of catalogue star `estrella` at
// sidereal time `sidereo` (degrees).
double AlturaDeEstrella(Context& c, int32_t estrella, double sidereo);

}  // namespace tornel
