#pragma once
// How far the telescope still is from the target after a solution: two large labels against the
// edges of the visible image, one per axis of the mount.
#include <cstdint>
#include <utility>

#include "comun/context.h"
#include "comun/platform.h"

namespace tornel {

// Target minus solution (degrees) of two angles taken round the circle: each brought into 0..360,
// then a difference of 180 or more in size goes the other way round.
double GuidanceDifference(double target, double solution);

// The two labels for the differences `first` (right ascension, or azimuth) and `second`
// (declination, or altitude), degrees: montura 0 equatorial, 1 alt-azimuth; tamanio 1..3 the size.
// Under a degree a value is green and in minutes of arc, else yellow and in degrees.
std::pair<GuidanceLabel, GuidanceLabel> GuidanceLabels(double first, double second, int16_t montura,
                                                       int32_t tamanio);

// The target as the user gave it: the last "POS" of the line service, else the search centre of
// the analysis (degrees; J2000 when gDestinoJ2000).
void GuidanceTarget(const Context& c, double& ra, double& dec);

// The two labels for the solution on show, by gMontura and gTamanioAvisos, both in the equinox of
// the date; nothing while mFinAnalisis is set.
void GuiadoAlDestino(Context& c);

}  // namespace tornel
