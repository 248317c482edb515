// Stand-ins for the searches until the matching lands: each ends as an exhausted search.
#include "busqueda/busqueda.h"

namespace tornel {

namespace {
void EndsWithoutSolution(Context& c) {
    c.mFinAnalisis = true;
}
}  // namespace

void BusquedaEnVentanaFija(Context& c) {
    EndsWithoutSolution(c);
}
void AnalizaVentana2x2ConRotacion(Context& c) {
    EndsWithoutSolution(c);
}
void AnalizaVentana40mConRotacion(Context& c) {
    EndsWithoutSolution(c);
}
void AnalizaVentana5x5Dual(Context& c) {
    EndsWithoutSolution(c);
}
void BusquedaEnZonaEsferica(Context& c) {
    EndsWithoutSolution(c);
}
void BusquedaEnZona30x30porEspiralDeclinacionFija(Context& c) {
    EndsWithoutSolution(c);
}
void BusquedaEnZonaParalelo(Context& c) {
    EndsWithoutSolution(c);
}
void BusquedaEnZonaMeridiano(Context& c) {
    EndsWithoutSolution(c);
}
void BusquedaPorTriangulos(Context& c) {
    EndsWithoutSolution(c);
}

}  // namespace tornel
