#pragma once
// The choice of solution at the end of a search: conflicts between the best polygons settled, each
// candidate solved, extended and scored, and the winner carried to the results.
#include <cstdint>

#include "comun/context.h"

namespace tornel {

// The closing stage of the polygon searches: "Polygons = 0" when nothing was kept, otherwise the
// winner's position, image angle, status files, presentation, synchronisation and WCS.
void AnalisisFinal(Context& c);
// Keeps in mMejores the polygons with the most sides and, from 11 sides on, settles the polygons
// that give one selected star two catalogue stars. resultado: polygons left.
void EscogeMejorPoligono(Context& c, int32_t& resultado);
// One solution per polygon of mMejores (mSoluciones), and the winner (mIndiceSolucion, mLados1,
// mLados2, mEstrellasExtendidas, gLadosSolucion); Cij is left holding the winner's plate.
void TrataSoluciones(Context& c);
// Cij from the three base stars of mSoluciones(s).
void ResuelveSistema(Context& c, int32_t s);

// Pieces of the acceptance that every road shares.
// The J2000 centre into gARJ2000, gDEJ2000 (and the solution values), the centre of date into
// gARActual, gDEActual, and the summary lines of the solution with `lados` sides.
void PublishSolutionCentre(Context& c, double ra, double dec, int32_t lados);
// The image angle of the plate in Cij into mAnguloSolucion and mAnguloHallado, with its summary line;
// false, with the box, when it cannot be computed.
bool PublishImageAngle(Context& c);
// The telescope synchronisation and the WCS rewrite, each when enabled and the sides are enough.
void SynchroniseAndWriteWcs(Context& c);
// The end of a search that kept nothing: "Polygons = 0" and "Position not found.".
void ReportNoPolygon(Context& c);

}  // namespace tornel
