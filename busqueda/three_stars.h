#pragma once
// Three-stars: two segments that share a selected star and its catalogue star. Built by the pixel
// library from mSegmentos into mTresEstrellas; the pole road tests them further by their third side
// and by their turning sense.
#include <cstdint>

#include "comun/context.h"

namespace tornel {

// The three-stars of mSegmentos into mTresEstrellas, mNumTresEstrellas.
void Construye3estrellas(Context& c);
// Keeps the three-stars whose third side, read in the catalogue, agrees with the screen within
// twice the distance tolerance; that side becomes a checked side (2).
void CompruebaTercerLado(Context& c);
// Keeps the three-stars that turn the same way on the screen and on the sky.
void CompruebaOrientacion(Context& c);

// z of the cross product of the screen vectors a->b and a->c of selected stars a, b, c (square
// pixels, mSeleccionadasCuadradas).
void ProductoVectorialPantalla(const Context& c, int32_t a, int32_t b, int32_t k, double& resultado);
// Determinant of the unit sky vectors of catalogue stars A, B, C, rows in that order.
void ProductoVectorialEspacio(Context& c, int32_t a, int32_t b, int32_t k, double& resultado);

}  // namespace tornel
