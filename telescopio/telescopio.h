#pragma once
// What the analysis run asks of the telescope and planetarium links.
#include "comun/context.h"

namespace tornel {

// Reads the search centre from the planetarium; 0 when it answered.
int LeeCentroBusquedaDeCartesDuCielDDE(Context& c);
// Reads the telescope position in degrees. 0 read, 2 no telescope chosen, 3 invalid RA, 4 invalid
// DEC, any other value could not read.
int LeeCoordenadasTelescopio(Context& c, double& ra, double& dec);
// Sends the solution to the telescope or planetarium chosen by gTelescopioSincro; nothing without one.
void Sincroniza(Context& c);

}  // namespace tornel
