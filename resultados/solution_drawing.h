#pragma once
// The drawing of a solution on the overlay, by the flags of the Show menu: the identified stars and
// their catalogue identifiers, the polygon's lines, the catalogue stars where the plate puts them,
// objects and planets, the target, the compass, the guidance labels and the warning of an unsafe
// solution. It has a layer of its own, so that it can be drawn again without doubling or losing
// what the analysis marked.
#include "comun/context.h"

namespace tornel {

// Draws the solution on show (presentedRoad) afresh on the solution layer. `first` is the drawing that
// announces the solution: only then is a missing objects file said in the summary.
void DibujaSolucion(Context& c, bool first);
// The drawing again after a Show flag, the zoom, the levels or the target changed; nothing while an
// analysis runs or with no solution.
void PresentaSolucion(Context& c);
// North and east arms from the image centre, or the mark of a pole that lies within half the image's
// diagonal of the centre.
void DibujaBrujula(Context& c);
// The target (the line service's "POS", else the search centre) as a cross on the image, or a line
// towards it from the centre when it lies off the image.
void DibujaDestino(Context& c);
// The degrees per pixel of the plate on show: the measured scale of the solution when there is one.
double SolvedDegreesPerPixel(const Context& c);

}  // namespace tornel
