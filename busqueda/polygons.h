#pragma once
// Polygons: three-stars merged into larger figures of selected stars tied one to one to catalogue
// stars, completed with the sides the catalogue confirms, pruned, freed of repeats, and the best
// of them kept for the whole analysis in mMejores.
#include <cstdint>

#include "comun/context.h"

namespace tornel {

// Two figures are compatible when they agree wherever both have a star, no catalogue star stands
// in both under different selected stars, and they share at least one star.
bool PoligonosCompatibles(const Poligono& a, const Poligono& b, int32_t numEstrellas);

// Merges mTresEstrellas into mPoligonos, pass after pass, until a pass reduces nothing (at most 10).
void ConstruyePoligonosFinales(Context& c);
// One pass of the merge: mTresEstrellas into mPoligonos.
void ConstruyePoligonos(Context& c);
// Completes mPoligonos with the sides whose catalogue distance and inclination agree with the screen
// at image angle `angulo` (degrees), then LimpiaPoligonos, QuitaDuplicados and the side counts.
void CompletaPoligonos(Context& c, double angulo);
// The same by distance alone, for the figures of a pole.
void CompletaPoligonosSoloDistancias(Context& c);
// Drops from each polygon, repeatedly, every star that hangs by fewer than two sides.
void LimpiaPoligonos(Context& c);
// mPoligonos without empty figures and repeats into mPoligonosLimpios.
void QuitaDuplicados(Context& c);
// The polygons of this step with the most sides join mMejores when they reach mMejorLados.
void AnalisisParcial(Context& c);
// Record numbers of est.bin in mPoligonosLimpios become integral star numbers.
void CambiaIDsAnumerosID_GSC(Context& c);

}  // namespace tornel
