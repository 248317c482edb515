#pragma once
// The FITS WCS writer: a solved FITS image gets a world coordinate system in its header, a tangent
// projection about the image centre whose CD matrix is measured on the solved plate (Cij). A field
// wider than 2 degrees whose matched stars (matchedStars) fix a distortion model gets the tangent
// projection with SIP polynomials instead, CD matrix and all fitted to those stars in the file's pixels.
#include <cstdint>
#include <string>

#include "comun/context.h"

namespace tornel {

// An image pixel (square pixels, rows as the engine reads them) in the pixels of the file, those the
// WCS counts: rows stretched back by the pixel ratio, and counted from the other end for a reversed
// image.
void InFileFrame(const Context& c, double x, double y, double& fileX, double& fileY);

// Rewrites gRutaImagen through gRutaImagen + "ConWCS.kkk" with the cards of the solution, earlier
// WCS cards kept as comments; records the new time stamp for the mailbox. Nothing when mFinAnalisis
// is set or the cards cannot be composed. An image that the rewrite must not touch (wcsBesideImage:
// read by CFITSIO, PNG or TIFF) keeps its file: the cards go to gRutaImagen + ".wcs", a FITS header
// with no data, in the pixels of the file.
void GrehacerCabeceraFits(Context& c);

// The solution's WCS as a FITS header of no data at `path`, in the pixels of the file. False when
// there is no solution, its cards cannot be composed or the file cannot be written.
bool WriteWcsHeader(Context& c, const std::string& path);

// The WCS block, 80-character cards ending in END: RA---TAN, or RA---TAN-SIP with its A, B, AP, BP
// cards for a wide field that a fit to its matched stars can bend. `longitud` is its length in
// characters, or -1 (north vector of zero length), -2 (declination 90), -3 (declination -90), -4 (not
// whole cards).
void FabricaCadenaWCS(Context& c, std::string& cadena, int32_t& longitud);

// A card whose first eight characters name a WCS keyword, SIP ones included, becomes
// "COMMENT (**) " + card, cut to 79 characters and a blank; `modificada` tells whether it did.
void CompruebaLineaWCS(std::string& linea, bool& modificada);

// A card value: the general number text, "." for the decimal separator, "E" for the exponent,
// padded with blanks to 20 characters (a longer text is kept whole).
std::string DobleAcadenaFIT(double valor);

}  // namespace tornel
