#pragma once
// FITS images: the header cards the program knows, and the 16-bit data read by the pixel library.
#include <cstdint>
#include <string>
#include <string_view>

#include "comun/context.h"

namespace tornel {

// Reads the header of gRutaImagen: size, centre, display levels, BZERO and BSCALE. Answers in
// `bloques` the number of 2880-byte blocks before the data, 0 on any failure.
void LeeCabeceraFit(Context& c, int32_t& bloques);
// The whole reading: header, data, brightness. Failures set mFinAnalisis with their message.
void CargaFit(Context& c);

// Whether a FITS file is one for the 16-bit reader (CargaFit): its primary HDU an image of BITPIX 16
// with BZERO 0 or 32768, BSCALE 1 and no BAYERPAT; or a file CFITSIO cannot open, which the 16-bit
// reader refuses with its messages. Every other FITS file is read by LoadFitsWithLibrary.
bool TakesSixteenBitReader(const std::string& path);
// The first image of gRutaImagen through CFITSIO (first plane of a cube, a Bayer mosaic binned 2 x 2),
// brought to the engine's brightness by the mapping of imagen/level_mapping.h, with the header cards
// of the 16-bit reader; the WCS writer is told to write beside the file.
void LoadFitsWithLibrary(Context& c);

// Number of a card value: blanks and a comment behind "/" allowed, digits, sign, one decimal
// separator, exponent E or D. `valor` is changed only when `ok`.
void SacaNumericoDeFits(std::string_view texto, double& valor, bool& ok);
// Right ascension of a card, degrees 0 to 360 (360 becomes 0): a plain number in degrees or a quoted
// 'HH MM SS'. -1 and ok false when it cannot be read.
void LeeRAdeFits(std::string_view texto, double& valor, bool& ok);
// Declination of a card plus 90, degrees 0 to 180: a plain number in degrees or a quoted
// '+DD MM SS'. -1 and ok false when it cannot be read.
void LeeDECdeFits(std::string_view texto, double& valor, bool& ok);
// "HH MM SS" or "HH:MM:SS" in degrees, 0 to below 360. The seconds weigh 0.00417 degree, as the
// program has always read them.
void LeeRAsexagesimal(std::string_view texto, double& valor, bool& ok);
// "DD MM SS" or "DD:MM:SS" in degrees plus 90, 0 to 180. The sign is that of the degrees field, so
// a zero degree field gives exactly 0 (90 here).
void LeeDECsexagesimal(std::string_view texto, double& valor, bool& ok);
// Plain numbers of a card, quoted or not, without range; `valor` is left as it was on failure.
void LeeEnteroDeFits(std::string_view texto, int32_t& valor);
void LeeRealDeFits(std::string_view texto, double& valor);

}  // namespace tornel
