#pragma once
// State of the pattern matching: the pair tables of the selected stars, the catch of the distance
// database, the three-stars and polygons of a search step, and the candidates and solutions of an
// analysis.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "comun/state/astrometry_state.h"
#include "imagen/pixel/tornel_pixel.h"

namespace tornel {

// An 11 x 11 table over star indices 0 to 10, used from 1, written for i below j at (i, j).
template <class T>
using PairTable = std::array<std::array<T, 11>, 11>;

static_assert(sizeof(Segmento) == 16, "Segmento is 16 bytes");
static_assert(sizeof(Poligono) == 244, "Poligono is 244 bytes");

// Side cell (i, j) of a figure, i below j, and the catalogue star of selected star k (1 to 10).
inline int16_t& Lado(Poligono& p, int32_t i, int32_t j) {
    return p.Lados[(i - 1) + 10 * (j - 1)];
}
inline int16_t Lado(const Poligono& p, int32_t i, int32_t j) {
    return p.Lados[(i - 1) + 10 * (j - 1)];
}
inline int32_t& Estrella(Poligono& p, int32_t k) {
    return p.Estrellas[k - 1];
}
inline int32_t Estrella(const Poligono& p, int32_t k) {
    return p.Estrellas[k - 1];
}

// A star of a candidate solution: a selected star, with its catalogue star when it has one.
struct EstrellaSolucion {
    int16_t Numero = 0;     // selected star, 1 to 10; 0 for a star of the extension
    int32_t Id = 0;         // catalogue star, 0 when unidentified
    double X = 0, Y = 0;    // square pixels
    double Ar = 0, De = 0;  // degrees; 0 when unidentified
    double R = 0;           // pixels from the image centre; 1000 when left out of the base
};

// One candidate polygon turned into a plate solution, extended and scored.
struct Solucion {
    PairTable<int32_t> Lados{};
    std::array<EstrellaSolucion, 11> EstrellasSolucion{};  // from 1: the polygon's stars first
    int32_t NumEstrellas = 0;                              // entries in EstrellasSolucion
    int32_t NumEnPoligono = 0;
    double ArCentro = 0, DeCentro = 0;  // degrees
    double DistanciaBase = 0;           // degrees
    int32_t Base1 = 0, Base2 = 0, Base3 = 0;
    std::vector<EstrellaSolucion> Extendidas;  // stars identified by the extension
    int32_t NumLados1 = 0, NumLados2 = 0, NumExtendidas = 0, Puntuacion = 0;
    PlateMatrix plate{};       // the solved Cij of this candidate
    double worstResidual = 0;  // pixels: the farthest identified star from its place by the fitted plate
};

struct SearchState {
    PairTable<double> mDistanciasPantalla{};     // minutes of arc
    PairTable<double> mInclinacionesPantalla{};  // degrees, 0 to 180, from the north
    PairTable<int32_t> mOrdenPantalla{};         // 1: star i nearer the north pole than star j; 2: not

    // The catch of a fishing, from 1.
    std::vector<Segmento> mSegmentos;
    int32_t mNumSegmentos = 0;
    bool mHayAnillo = false;            // at least one ring file existed
    double mArDesde = 0, mArHasta = 0;  // right ascension window of AporPescaDLL, degrees
    int32_t mAnilloDesde = 0, mAnilloHasta = 0;
    float mInicioPesca = 0;  // seconds since midnight at the start of a fishing

    // The poles: tile centres (degrees, from 1) and the order in which the tiles are searched.
    std::array<double, 38> mCentrosTejasSurRA{}, mCentrosTejasSurDEC{};
    std::array<double, 38> mCentrosTejasNorteRA{}, mCentrosTejasNorteDEC{};
    std::array<int32_t, 38> mOrdenTejas{};
    bool tileCentresFilled = false;
    bool gEnPolos = false;  // the stages work on pole segments

    // Three-stars and polygons of a search step, from 1.
    std::vector<Poligono> mTresEstrellas;
    int32_t mNumTresEstrellas = 0;
    std::vector<Poligono> mPoligonos;
    int32_t mNumPoligonos = 0;
    std::vector<Poligono> mPoligonosLimpios;
    int32_t mNumPoligonosLimpios = 0;

    // The best polygons of the whole analysis, from 1.
    std::vector<Poligono> mMejores;
    int32_t mNumMejores = 0;
    int32_t mMejorLados = 6;

    // Candidate solutions and the winner.
    std::vector<Solucion> mSoluciones;
    int32_t mIndiceSolucion = 0;
    int32_t mLados1 = 0, mLados2 = 0, mEstrellasExtendidas = 0;
    bool gSolucionSegura = false;
    bool gMallaPorDeclinacion = false;  // only ever false: the extension goes through the regions

    // Window searches.
    int32_t gAnchoZona30 = 30;

    // The developers' trace of an analysis, written only when traceOn.
    bool traceOn = false;
    std::string mTrazaAnalisis;
};

}  // namespace tornel
