#pragma once
// The mesh extension: the plate of a candidate solution carries each selected star that its polygon
// did not identify to the sky; a catalogue star found there whose distances to the three base stars
// agree with the screen joins the solution.
#include <cstdint>

#include "comun/context.h"

namespace tornel {

// Extends mSoluciones(s) through est.bin and region.bin with the plate in Cij.
void ExtiendeMallaGSC(Context& c, int32_t s);
// How many of the three base stars of mSoluciones(s) lie at the same distance from catalogue star
// `estrella` at (ar, de) (degrees) as from the screen point (x, y) (square pixels), within
// gPorcentajeError percent of the catalogue distance.
void DistanciasDeEstrellaAlOro(Context& c, int32_t s, int32_t estrella, double x, double y, double ar,
                               double de, int32_t& aciertos);

}  // namespace tornel
