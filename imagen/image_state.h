#pragma once
// State of the image in memory, its extraction and the selected stars.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tornel {

// A star of the image: pixel position and brightness (sum above the background).
struct EstrellaImagen {
    double x = 0;
    double y = 0;
    double brillo = 0;
};

struct ImageState {
    // Candidates in brightness order and their square-pixel copies; used from index 1.
    std::vector<EstrellaImagen> mEstrellas;
    std::vector<EstrellaImagen> mEstrellasCuadradas;
    // Selected stars, slots 1 to 10; slot 0 is a margin.
    std::array<EstrellaImagen, 11> mSeleccionadas{};
    std::array<EstrellaImagen, 11> mSeleccionadasVisu{};
    std::array<EstrellaImagen, 11> mSeleccionadasCuadradas{};
    int32_t mNumSeleccionadas = 0;
    int32_t mNumCandidatas = 0;
    int32_t mNumContornos = 0;

    // Star clicks of the calibration, invalidated by each extraction.
    double mCalibracionX1 = 0, mCalibracionY1 = 0;
    double mCalibracionX2 = 0, mCalibracionY2 = 0;
    double mCalibracionX3 = 0, mCalibracionY3 = 0;

    // Drift against the image before and against the reference.
    std::array<double, 11> mAnteriorX{}, mAnteriorY{};
    int32_t mNumAnteriores = 0;
    std::array<double, 11> mReferenciaX{}, mReferenciaY{};
    int32_t mNumReferencia = 0;
    int32_t mEstrellasDesdeAnterior = 0;
    double mDeltaXAnterior = 0, mDeltaYAnterior = 0;
    int32_t mEstrellasDesdeReferencia = 0;
    double mDeltaXReferencia = 0, mDeltaYReferencia = 0;

    // Display levels in force.
    int32_t gNegroActual = 1, gBlancoActual = 12000;
};

}  // namespace tornel
