#pragma once
// What the user sees of a solution: the centre in words and numbers, then its drawing
// (resultados/solution_drawing.h), and a warning across an unsafe one.
#include <cstdint>
#include <string>

#include "comun/context.h"

namespace tornel {

// A solution of this many sides or more is safe; fewer, and it is shown with a warning.
constexpr int32_t kLeastSidesSafe = 15;
// The farthest a star of an unsafe solution may stand from where its plate puts it (pixels): the
// distance within which the mesh extension looks for a star. A chance match stands farther off.
constexpr double kResidualLimit = 3;

// Display pixel of an image point in square pixels: x from the left, y down from the top.
void ToDisplay(const Context& c, double x, double y, double& dx, double& dy);

// Degrees to "hhHmmMss.ssS" ("05h35m17.30s") and "+dd°mm'ss.s" ("+22°00'52.2").
void GradosAcadenas(double ar, double de, std::string& textoAr, std::string& textoDe);

// The result label of a candidate refused: "No solution".
void ShowNoSolution(Context& c);

// Whether solution `indice` of the distance road may be announced: a safe one, or one whose stars stand
// within the residual limit of its plate, and no failure before.
bool Dist_SolucionPasa(const Context& c, int32_t indice);

// The distance road's presentation of solution `indice` with `lados` sides: raises gHaySolucion
// unless the analysis has ended or, for a solution that is not safe, a star of it stands more than
// three pixels from where its plate puts it, then the position labels, the result line, the summary's
// "CENTRE:" line, the identified stars, the compass and, for an unsafe solution, the warning. A
// solution refused by that test shows "No solution" in the result label.
void Dist_PresentaSolucion(Context& c, int32_t indice, int32_t lados);
// The triangle road's presentation of mSolucion with gLadosSolucion sides, when gSolucionOK: raises
// gHaySolucion, then the same labels, lines and drawings as the distance road. Without gSolucionOK,
// "No solution" in the result label.
void Tri_PresentaSolucion(Context& c);
// The pattern search's presentation of the plate in Cij with gLadosSolucion sides: raises
// gHaySolucion, the labels, lines and compass of the other roads, and the warning for an unsafe one.
void PresentaSolucionPatrones(Context& c);
// The catalogue identifier beside each identified star of mSolucion, on the overlay.
void Tri_EscribeIDsEstrellas(Context& c);
// The catalogue identifier beside each identified star of solution `indice`, on the overlay.
void EscribeIDsEstrellas(Context& c, int32_t indice);
// "INVALID SOLUTION" across the image.
void AvisoSolucionNoSegura(Context& c);

}  // namespace tornel
