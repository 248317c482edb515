// Stand-ins until the triangle database lands: nothing is mapped.
#include "catalogo/triangle_database.h"

namespace tornel {

void Tri_BaseDatosAmemoria(Context&) {}
void LiberaMemoriaBaseDatos(Context&) {}

}  // namespace tornel
