#pragma once
// The searches that the analysis run dispatches to. Each runs only when mFinAnalisis is false and
// leaves it set when it ends without a solution.
#include "comun/context.h"

namespace tornel {

void BusquedaEnVentanaFija(Context& c);
void AnalizaVentana2x2ConRotacion(Context& c);
void AnalizaVentana40mConRotacion(Context& c);
void AnalizaVentana5x5Dual(Context& c);
void BusquedaEnZonaEsferica(Context& c);
void BusquedaEnZona30x30porEspiralDeclinacionFija(Context& c);
void BusquedaEnZonaParalelo(Context& c);
void BusquedaEnZonaMeridiano(Context& c);
void BusquedaPorTriangulos(Context& c);
// Sky zone 6: the 30 x 30 degree zone searched at every angle within gAmplitudAngulo of the image
// angle, nearest first, until a polygon has enough sides; the windows are those of
// AngleSearchWindows (angle_search_walk.h), the pole files searched once, with the first angle.
void SearchZone30x30WithRotation(Context& c);

// The pole files: the 37 tiles of pole `polo` (0 or 179), nearest the search centre first, each
// fished and grown into polygons until the sides reach gLadosParaParar. resultado is kept for the
// callers and always 0.
void TrataPolos(Context& c, int32_t polo, int32_t& resultado);
// The checks and resets that every search around a position starts with: the files, a valid centre
// (and right ascension unless told not to), mMejores emptied, mMejorLados 6. False when it cannot run.
bool StartSearch(Context& c, bool checkRightAscension = true);
// A stop from outside, an end of the analysis, or a polygon with enough sides.
bool SearchMustStop(const Context& c);
// After the loop of a search: no ring file at all ends the analysis with its message.
void AfterZoneLoop(Context& c);
// TrataPolos on pole `polo` when `reached` and no polygon has enough sides yet.
void PoleWhenReached(Context& c, bool reached, int32_t polo);
// One window of a search: the rings a1..a2 fished around right ascension `ar` (degrees) with the pair
// tables at image angle `angulo` (degrees), and the catch grown into polygons.
void WindowStep(Context& c, double ar, double a1, double a2, double angulo);
// The windows of a 30 x 30 degree zone about the search centre, nearest first, fished at image angle
// `angulo` (degrees), then the end of a search without rings and the pole caps the zone reaches. False,
// ending the analysis with its message, when the window is too small for the zone.
bool SweepZone30x30(Context& c, double angulo);
// Tells that the search window leaves no window of the 30 x 30 degree zone, and ends the analysis.
void ZoneWindowTooSmall(Context& c);

}  // namespace tornel
