#pragma once
// The FITS WCS writer: a solved FITS image gets a world coordinate system in its header.
#include "core/context.h"

namespace tornel {

// Rewrites the header of gRutaImagen with the cards of the solution; nothing when mFinAnalisis.
void GrehacerCabeceraFits(Context& c);

}  // namespace tornel
