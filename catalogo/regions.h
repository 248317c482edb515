#pragma once
// The region index region.bin: which regions of est.bin a view of the image touches, where a region
// starts in est.bin, and the rebuild of the index from est.bin.
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "catalogo/star_records.h"
#include "comun/context.h"

namespace tornel {

// The view of an image on the sky: a box of right ascension and declination, degrees. When `wrap`, the
// view straddles right ascension 0 and holds the right ascensions at or below arMin and at or above
// arMax.
struct SkyView {
    double arMin = 0, arMax = 0, deMin = 0, deMax = 0;
    bool wrap = false;
};

// The view of the image through Cij, from its corners and the middles of its edges; every right
// ascension when a pole is near. False when a conversion failed.
bool ViewOfImage(Context& c, SkyView& v);

// Least and greatest of the values, from a sentinel far beyond any angle.
double MinimoDe(std::initializer_list<double> values);
double MaximoDe(std::initializer_list<double> values);

// First record of est.bin (read through gCanalEstrellas with 12-byte records) whose Id is above
// `regionPorCienMil` (a region number x 100000); 0, with the box "Region not found " when
// gMostrarAvisos, when no record is. Nothing is done when mFinAnalisis is set.
int32_t PosicionEmpiezaRegion(Context& c, int32_t regionPorCienMil);

// Regions (number x 100000) that the view of the image through the plate Cij touches, from
// gCarpetaEstrellas + region.bin. regiones[0] is the count, entries from 1. A view that straddles
// right ascension 0 may list a region twice; a view that reaches a pole takes every right ascension.
// The limits of the view come out in degrees: arMin, arMax (at most 360), deMin, deMax.
void DeterminaRegionesPorMirar(Context& c, std::vector<int32_t>& regiones, double& arMin, double& arMax,
                               double& deMin, double& deMax);

// Builds gCarpetaEstrellas + region.bin from est.bin, showing "Wait..." with the regions left every
// 100 regions and letting events run at each new region. Answers true when the file was written.
bool FabricaFicheroRegiones(Context& c);
// Sorts elements desde..hasta of a working array of regions on DeMin, by recursive partition.
void OrdenaRegiones(std::vector<RegRegion>& regiones, int32_t desde, int32_t hasta);

// Path of region.bin in the stars folder.
std::string RegionFilePath(const Context& c);

}  // namespace tornel
