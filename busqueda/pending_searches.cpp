// Stand-ins for the triangle road and its any-angle windows until they land: each ends as an
// exhausted search.
#include "busqueda/busqueda.h"

namespace tornel {

namespace {
void EndsWithoutSolution(Context& c) {
    c.mFinAnalisis = true;
}
}  // namespace

void AnalizaVentana2x2ConRotacion(Context& c) {
    EndsWithoutSolution(c);
}
void AnalizaVentana40mConRotacion(Context& c) {
    EndsWithoutSolution(c);
}
void AnalizaVentana5x5Dual(Context& c) {
    EndsWithoutSolution(c);
}
void BusquedaPorTriangulos(Context& c) {
    EndsWithoutSolution(c);
}

}  // namespace tornel
