#pragma once
// Angular distance and inclination of a pair of stars. Angles are degrees at the interface. The
// results of the catalogue forms go to gDistanciaAngular, gInclinacion, gDeclinacionMedia and
// gTanMediaDistancia, read by the caller right after the call.
#include <cstdint>

#include "comun/context.h"

namespace tornel {

// Answers of the code-returning pair routines.
enum PairCode : int32_t {
    kParHecho = 0,         // done
    kParFaltaPrimera = 1,  // the first star is not in the catalogue
    kParFaltaSegunda = 2,  // the second star is not in the catalogue
    kParError = 3          // a floating-point or reading error, reported by the routine's trap
};

// Distance (degrees) between (ra1, dec1) and (ra2, dec2), degrees, by the two-norm form
// 2*atan(|P1 - P2| / |P1 + P2|). Antipodal points answer 0, by decision. 0 after an error.
double CalculaDistancia(Context& c, double ra1, double dec1, double ra2, double dec2);

// Distance between two catalogue stars by the half-chord form, into gDistanciaAngular (degrees).
// Answers a PairCode; a missing star leaves gDistanciaAngular as it was.
int32_t CalculaDistanciaDeCatalogo(Context& c, int32_t estrella1, int32_t estrella2);

// Distance, inclination 0..180 and mean declination of a catalogue pair, as the distance files hold
// them: the pair is first ordered west to east on the shorter way round; the inclination is the angle
// at the midpoint between the pole and the eastern star. A star with itself gives 0, 0 and its own
// declination. Answers a PairCode.
int32_t CalculaAnguloEinclinacion_0a180_DeCatalogo(Context& c, int32_t estrella1, int32_t estrella2);

// The same measure of two distinct positions (degrees) instead of two catalogue stars, for a writer
// of the distance files: gDistanciaAngular, gInclinacion, gDeclinacionMedia. Answers kParHecho, or
// kParError after an error (reported by the trap of CalculaAnguloEinclinacion_0a180_DeCatalogo).
int32_t PairInclinationFromCoordinates(Context& c, double ra1, double dec1, double ra2, double dec2);

// Distance, inclination 0..360 and tan(distance / 2) of the pair of points 1 -> 2 (degrees), in
// this order. A distance of exactly 0 ends at once, leaving gInclinacion and gTanMediaDistancia as
// they were. Answers kParHecho, or kParError after an error.
int32_t CalculaAnguloEinclinacion_0a360_DeCoordenadas(Context& c, double ra1, double dec1, double ra2,
                                                      double dec2);

}  // namespace tornel
