#pragma once
// The triangle database: star triangles of the whole sky by their three sides, stored as a balanced
// 3-d tree in implicit form (node at level L, position P is record 2^L + P, split on side L mod 3 + 1).
// The search asks which catalogue triangles have the sides of an image triangle, with no idea of
// where the telescope points.
#include <cstdint>

#include "comun/context.h"

namespace tornel {

// Reads gCarpetaDistancias + gFicheroTriangulos into memory and sets mNumTriangulosBD (size / 24,
// rounded). A missing file leaves the old state as it was.
void Tri_BaseDatosAmemoria(Context& c);
// Lets the triangle file go.
void LiberaMemoriaBaseDatos(Context& c);

// Walks the tree for every triangle of mTriangulosBusqueda, storing the catalogue triangles inside its
// box in mCandidatos (at most gMaxCandidatos) and trying at once those near the search centre. The
// first argument is kept for its callers and ignored. codigo 0, or 1 after "Too many selected
// triangles.".
void Tri_PescaTriangulosEnBD(Context& c, int32_t ignorado, int32_t& codigo);

// One node of the walk: record 2^nivel + posicion of the numRegistros in memory; i, j, k the query's
// image stars in ascending order. Matches inside mCaja (limits rounded to single precision) are stored.
void BuscaEnKDtreeBD(Context& c, int32_t nivel, int64_t posicion, int64_t numRegistros, int32_t i, int32_t j,
                     int32_t k, const TrianguloImagen& triangulo);

// 0 for a star nearer the search centre than gDistanciaCercaCentro, 2 from gDistanciaLejosCentro on,
// 1 between.
int32_t ZonaDeEstrella(Context& c, int32_t estrella);
// Whether a triangle stands high enough in the observatory's sky at gHoraSideral: its first star
// more than 2 degrees above the horizon (gHorizonte), or above it with the two others above it too.
bool TrianguloVisible(Context& c, const RegTriangulo& t);
// The three numbers in ascending order.
void Ordena(int32_t a, int32_t b, int32_t k, int32_t& menor, int32_t& medio, int32_t& mayor);

}  // namespace tornel
