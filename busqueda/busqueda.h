#pragma once
// The searches that the analysis run dispatches to. Each runs only when mFinAnalisis is false and
// leaves it set when it ends without a solution.
#include "core/context.h"

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

// The pole files: the 37 tiles of pole `polo` (0 or 179), nearest the search centre first, each
// fished and grown into polygons until the sides reach gLadosParaParar. resultado is kept for the
// callers and always 0.
void TrataPolos(Context& c, int32_t polo, int32_t& resultado);
// One window of a search: the rings a1..a2 fished around right ascension `ar` (degrees), and the
// catch grown into polygons.
void WindowStep(Context& c, double ar, double a1, double a2);

}  // namespace tornel
