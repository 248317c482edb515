#pragma once
// Screen geometry: pairs of selected stars turned into the angular distance and the inclination to
// the north under which the database stores its segments. The image is taken as a gnomonic
// projection about its centre.
#include "comun/context.h"

namespace tornel {

// Fills mDistanciasPantalla, mInclinacionesPantalla and mOrdenPantalla for the selected stars in
// square pixels (mSeleccionadasCuadradas, mNumSeleccionadas), for a field centred at declination
// `declinacion` (degrees) and turned by the image angle `angulo` (degrees). A star at the optical
// axis of a zero focal length ends the analysis without a message.
void CalculaParametrosDeLasDistanciasEnPantalla(Context& c, double declinacion, double angulo);
// The same for the one pair (i, j), i below j: only its cells change, with the values the whole
// table would give them.
void ComputeScreenPair(Context& c, double declinacion, double angulo, int32_t i, int32_t j);

// Distance and inclination of the pair A (x1, y1, z1), B (x2, y2, z2) of unit vectors, with the
// north pole P (xp, yp, zp), a unit vector of the same frame.
// Answers `distancia`, the arc AB in minutes of arc, and `inclinacion`, in degrees 0 to 180, the
// angle at the midpoint of AB between the arc to B and the arc to the pole. Always true.
bool CalculaDistanciaInclinacionParPantalla(Context& c, double x1, double y1, double z1, double x2, double y2,
                                            double z2, double xp, double yp, double zp, double& distancia,
                                            double& inclinacion);

// Angular distance in degrees between the image pixels (x1, y1) and (x2, y2), square pixels, with
// the focal length gFocalEnPixeles; 0 when a pixel makes no direction.
double CalculaDistanciaEnPantalla(Context& c, double x1, double y1, double x2, double y2);

}  // namespace tornel
