#pragma once
// The distance database: catalogue pairs of stars stored by inclination band and distance in one
// file per declination ring (Ani001.bin .. Ani178.bin), and by distance in 37 tiles around each pole
// (pole000.bin, pole179.bin). Fishing turns the screen pairs of the selected stars into segments
// (mSegmentos): screen pairs tied to catalogue pairs of about the same length and inclination.
#include <cstdint>
#include <string>
#include <vector>

#include "comun/context.h"

namespace tornel {

// Distance record, 14 bytes unpadded.
struct RegDistancia {
    int32_t Clave = 0;      // ring: band x 100000 + distance; pole: distance; pole head: a record number
    int32_t EstrellaA = 0;  // the star farther from the north pole
    int32_t EstrellaB = 0;
    int16_t ArMedia10 = 0;  // right ascension of the midpoint, tenths of a degree (rings only)
};
constexpr int32_t kLongitudRegDistancia = 14;
constexpr int32_t kTejasPorPolo = 37;

// Centre of tile `teja` (1 to 37) around pole `polo` (0 south, 179 north), degrees.
void CentroDeTeja(int32_t polo, int32_t teja, double& ra, double& dec);

// Right ascension window of ring `anillo` around `arCentro` (degrees) for a window `ancho` whole
// degrees wide at the ring's edge nearer the pole. One window [desde1, hasta1) when hayDos is false
// (the second repeats it); otherwise the two pieces on either side of right ascension 0.
void CalculaArDesdeHasta(Context& c, double anillo, double arCentro, double ancho, bool& hayDos,
                         double& desde1, double& hasta1, double& desde2, double& hasta2);

// Fishes the rings anilloDesde to anilloHasta (held to 1..178, rounded) around arCentro, with the
// pair tables recomputed for each ring at the image angle `angulo` (degrees). Appends to mSegmentos;
// resultado is 0 unless a fault ended it. An empty catch ends the analysis in a window search.
void PescaEnVentana(Context& c, double angulo, double arCentro, double anilloDesde, double anilloHasta,
                    int32_t& resultado);

// The fishing of an explicit window [arDesde, arHasta) with tables already computed. Answers 0 done,
// 1 a fault, 2 more than maxSegmentos segments, 3 a prefix shorter than 4 characters. anilloFalta
// ends positive when a ring was found; its magnitude is 1000 or the last missing ring.
int32_t PescaDLL_VB(Context& c, int32_t numEstrellas, const std::string& prefijo, int32_t& anilloFalta,
                    double arDesde, double arHasta, int32_t anilloDesde, int32_t anilloHasta, double error,
                    int32_t errorInclinacion, std::vector<Segmento>& segmentos, int32_t& numSegmentos,
                    int32_t maxSegmentos);
// PescaDLL_VB over mArDesde..mArHasta and mAnilloDesde..mAnilloHasta, with its reports.
void AporPescaDLL(Context& c);

// Fills the tile centres; the second call does nothing.
void RellenaCentrosDeTejasParaPolos(Context& c);
// mOrdenTejas: the tiles of `polo` by distance of their centres from the search centre.
void CalculaOrdenDeTejasParaPolos(Context& c, int32_t polo);
// Fishes tile `teja` of pole `polo` with the screen distances alone (1 percent). An empty tile ends
// the analysis.
void PescaEnTejas(Context& c, int32_t polo, int32_t teja, int32_t& resultado);

// Empties mSegmentos (margin element 0 kept) for a new fishing.
void VaciaSegmentos(Context& c);

}  // namespace tornel
