#pragma once
// State of the image in memory, its extraction and the selected stars.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "comun/zeroed_allocator.h"

namespace tornel {

// A star of the image: pixel position and brightness (sum above the background).
struct EstrellaImagen {
    double x = 0;
    double y = 0;
    double brillo = 0;
};

// The header of a device-independent bitmap as the program asks for its pixels: a negative height
// asks for the rows in the other order.
struct InfoBitmap {
    int32_t size = 40;
    int32_t width = 0;
    int32_t height = 0;
    int16_t planes = 1;
    int16_t bitCount = 32;
};

// The most contours one scan keeps (slots 1 to 999; the 1000th ends the scan).
inline constexpr int32_t kMaxContornosEscaneo = 1000;
// The most stars the check of an answer takes from the image: enough for any field the catalogue
// can confirm, few enough that faint noise does not crowd the image.
inline constexpr int32_t kMaxVerificationStars = 300;

struct ImageState {
    // Image matrices. mBrillo and mContorno run x 0..W, y 0..H (row length W + 1, margins at 0);
    // mImagenFit x 1..W, y 1..H; mPixelesBMP x 1..W, y 1..H, 32-bit 0x00RRGGBB.
    ZeroedVector<int16_t> mBrillo;
    ZeroedVector<int32_t> mContorno;
    ZeroedVector<int16_t> mImagenFit;
    ZeroedVector<uint32_t> mPixelesBMP;
    InfoBitmap mInfoBMP;
    int32_t mAnchoVisu = 0, mAltoVisu = 0;
    // Marks of mContorno at or below this number belong to earlier scans: a new scan starts its
    // numbers above it instead of emptying the whole matrix.
    int32_t contourMarkBase = 0;

    // FITS header values.
    double gBZero = 0, gBScale = 1;
    // How the image in memory stands to its file: file pixels per image pixel on a side (2 for a
    // Bayer mosaic binned to luminance), and whether the WCS writer must leave the file untouched and
    // write its cards beside it (files not read by the 16-bit FITS reader).
    int32_t imageBinning = 1;
    bool wcsBesideImage = false;
    std::string mFechaObs;
    int32_t mAnioObs = 0, mMesObs = 0, mDiaObs = 0, mHoraObs = 0, mMinutoObs = 0, mSegundoObs = 0;

    // Kept contours of the last scan, slots 1 to 999.
    std::array<int32_t, kMaxContornosEscaneo + 1> mContornoX{}, mContornoY{}, mContornoPerimetro{};
    // Candidates, 0 to gMaxContornos, used from 1.
    std::vector<double> mCandidataX, mCandidataY, mCandidataBrillo;
    std::vector<int32_t> mCandidataEstado;

    // The fainter stars of the whole image for the check of an answer, from a scan below the
    // candidates' threshold, the largest outlines first, none on a candidate (the candidates'
    // pixels). Candidates and these together come to kMaxVerificationStars at most.
    std::vector<EstrellaImagen> verificationStars;
    // The extraction kept stars and the scan for verificationStars has not been made yet.
    bool verificationScanDue = false;
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
    // The pattern search goes first and makes its own stars: the database roads' extraction waits
    // until they run, which a solved pattern search spares.
    bool starsDeferred = false;

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
