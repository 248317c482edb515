#pragma once
// State of the triangle road: the triangle file held in memory, the query triangles of the image,
// the catalogue triangles that answer them and the solutions grown from these.
#include <array>
#include <cstdint>
#include <vector>

namespace tornel {

// A record of tri2g01.bin / tri2g02.bin, 24 bytes little-endian. Lado1 is the side BC opposite
// vertex A (the smallest), Lado2 the side CA, Lado3 the side AB, in degrees.
struct RegTriangulo {
    float Lado1 = 0, Lado2 = 0, Lado3 = 0;
    int32_t Estrella1 = 0, Estrella2 = 0, Estrella3 = 0;
};
static_assert(sizeof(RegTriangulo) == 24, "RegTriangulo is its record byte for byte");

// A catalogue triangle given to three image stars. Lados(i, j), i below j, image stars from 1: 1 for a
// side of the database triangle, 2 for a side added by prediction. Estrellas(k): the catalogue star of
// image star k, or 0. ZonaOLados: 0, 1, 2 by the distance to the search centre until the candidate is
// tried, then its sides.
struct CandidatoTriangulo {
    std::array<int16_t, 100> Lados{};
    std::array<int32_t, 10> Estrellas{};
    int32_t ZonaOLados = 0;
};

// A candidate grown into a solution.
struct SolucionTriangulo : CandidatoTriangulo {
    std::array<int32_t, 3> TrianguloBase{};    // the image stars that gave Dij
    std::array<int32_t, 20> EstrellasExtra{};  // catalogue stars of the further image stars, 0 where none
    int32_t LadosTotales = 0;                  // sides of the selected stars + 3 per further star found
    double RAcentro = 0, DECcentro = 0;        // sky position of the image centre, degrees
    double DistanciaAlCentro = 0;              // from the search centre, degrees
};

inline int16_t& Lado(CandidatoTriangulo& t, int32_t i, int32_t j) {
    return t.Lados.at(static_cast<size_t>((i - 1) + 10 * (j - 1)));
}
inline int16_t Lado(const CandidatoTriangulo& t, int32_t i, int32_t j) {
    return t.Lados.at(static_cast<size_t>((i - 1) + 10 * (j - 1)));
}
inline int32_t& Estrella(CandidatoTriangulo& t, int32_t k) {
    return t.Estrellas.at(static_cast<size_t>(k - 1));
}
inline int32_t Estrella(const CandidatoTriangulo& t, int32_t k) {
    return t.Estrellas.at(static_cast<size_t>(k - 1));
}

// One query triangle of the image: the box of its three sides (degrees) and its stars, in canonical
// order (A opposite the smallest side, B and C turning positively on the screen) and ascending.
struct TrianguloImagen {
    double Lado1Min = 0, Lado1Max = 0;
    double Lado2Min = 0, Lado2Max = 0;
    double Lado3Min = 0, Lado3Max = 0;
    int32_t EstrellaA = 0, EstrellaB = 0, EstrellaC = 0;
    int32_t EstrellaI = 0, EstrellaJ = 0, EstrellaK = 0;
};

// The box of a query in single precision: lower and upper limit of each side.
using CajaTriangulo = std::array<std::array<double, 2>, 3>;

struct TriangleState {
    // The triangle file in force, read whole into memory: a file cut short under the program can
    // then never fault a walk of the tree.
    std::vector<RegTriangulo> mVistaTriangulos;
    int64_t mBytesTriangulos = 0;
    int32_t mNumTriangulosBD = 0;

    // The database search of one image.
    CajaTriangulo mCaja{};
    std::vector<CandidatoTriangulo> mCandidatos;  // from 1
    int32_t mNumCandidatos = 0;
    bool mSolucionHallada = false;
    int32_t mIntentos = 0;

    // Query triangles, from 1: the final list and the one the database search works through.
    std::vector<TrianguloImagen> mTriangulosImagen;
    int32_t mNumTriangulosImagen = 0;
    std::vector<TrianguloImagen> mTriangulosBusqueda;
    int32_t mNumTriangulosBusqueda = 0;

    // Solutions of the run (mSoluciones of the distance road is another list), from 1.
    std::vector<SolucionTriangulo> mSolucionesTriangulo;
    int32_t mNumSoluciones = 0;
    std::vector<CandidatoTriangulo> mPosibles;
    SolucionTriangulo mSolucion;

    // est.ele has not been read since the database was chosen.
    bool mEsperaTriangulo = false;
};

}  // namespace tornel
