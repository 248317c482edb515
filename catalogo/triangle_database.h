#pragma once
// The triangle database, mapped into memory while database 2 is in force.
#include "core/context.h"

namespace tornel {

// Maps gCarpetaDistancias + gFicheroTriangulos; a missing file leaves the old state.
void Tri_BaseDatosAmemoria(Context& c);
// Unmaps and closes.
void LiberaMemoriaBaseDatos(Context& c);

}  // namespace tornel
