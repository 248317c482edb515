#pragma once
// Calibration of the image angle from a solved image. The image angle is the direction of celestial
// north at the image centre, in degrees from +y towards +x.
#include <cstdint>
#include <string_view>

#include "comun/context.h"

namespace tornel {

// The image angle of the plate Cij (degrees) for a solution at declination gDECsolucion, from the
// pixel where the pole axis meets the image plane. codigo 0 done, 1 after an error (reported). The
// angle may come out above 360 or below 0.
void CalculaNorteCamara(Context& c, double& angulo, int32_t& codigo);

// Measures the image angle on the solution and proposes it, or in the waiting modes sets it; a new
// angle marks the parameters changed, for the run to save.
void AutoCalibraAngulo(Context& c);

// The Yes/No box titled `titulo` (Spanish, French, English) offering mAnguloHallado, found with
// gLadosSolucion sides, as the new image angle; Yes sets gAnguloImagen and marks
// the parameters changed, for the run to save.
void AskToAcceptAngleFound(Context& c, std::string_view tituloEs, std::string_view tituloFr,
                           std::string_view tituloEn);

}  // namespace tornel
