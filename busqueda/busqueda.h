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

}  // namespace tornel
