#pragma once
// The plate model: one 3 x 3 matrix, solved exactly from three stars, turns image pixels into sky
// coordinates and back. The image vector of pixel (x, y) is (x - W/2, y - H/2, F) made unit, with
// W, H = gAnchoImagen, gAltoImagen (square pixels) and F = gFocalEnPixeles; the sky vector of
// (ra, dec) is (cos dec cos ra, cos dec sin ra, sin dec). The model is S = u1*row1 + u2*row2 + u3*row3.
// Scale, rotation, a mirrored image and any small shear are all absorbed by the nine numbers.
// Every routine does nothing when mFinAnalisis is set. Three collinear or repeated stars are a
// division by zero, reported by the routine's trap, which sets mFinAnalisis.
#include <array>
#include <cstdint>
#include <vector>

#include "comun/context.h"

namespace tornel {

// A star tied to the sky: pixel (square pixels) and catalogue position (degrees).
struct PlateStar {
    double x = 0, y = 0;
    double ra = 0, dec = 0;
};

// Solves Cij from three vertices of a polygon. Cij stays as it was when the system has no solution.
void ResuelveSistema(Context& c, const std::array<PlateStar, 3>& vertices);

// Cij fitted by least squares to four or more stars: for each sky component the three coefficients
// that best carry the image vectors to the sky vectors. With three stars it is ResuelveSistema's
// solution. Cij stays as it was when the stars cannot fix it (fewer than three, or in a line).
void RefinePlate(Context& c, const std::vector<PlateStar>& stars);
// Cij as the similarity (a rotation and a scale) that best carries the image to the stars: no shear is
// taken in, so that a few stars in a narrow strip still give the true turn of the camera, and the scale
// is measured, so that an error in the parameters' scale moves neither the centre nor the corners. The
// parity (a mirror) is the one the stars show.
void RotatePlate(Context& c, const std::vector<PlateStar>& stars);

// Solves Dij from three selected stars (indices into mSeleccionadasCuadradas) and the catalogue stars
// tied to them, in the same order. Answers 1 when solved, 0 after an error.
int32_t ResuelveSistemaPara3estrellasCoefDij(Context& c, int32_t i, int32_t j, int32_t k, int32_t estrellaI,
                                             int32_t estrellaJ, int32_t estrellaK);

// Pixel (x, y) of sky position (ra, dec), degrees, with Cij. A position on the image plane's horizon
// goes ten image widths out; one behind the camera gets a mirrored pixel, untested.
void CoordenadasCatalogoAimagen(Context& c, double ra, double dec, double& x, double& y);

// The scale of Cij at the image centre, arcseconds per pixel: the mean of its sides along x and y over
// a hundred pixels. 0 after an error.
double PlateScaleAtCentre(Context& c);

// The sky-to-image side of a plate, inverted once so that many stars are projected without a system
// each: SkyToPixel answers the pixel (square pixels) of (ra, dec), degrees; false behind the camera.
using PlateInverse = std::array<std::array<double, 3>, 3>;
PlateInverse InvertPlate(const PlateMatrix& plate);
bool SkyToPixel(const Context& c, const PlateInverse& inverse, double ra, double dec, double& x, double& y);

// Sky position of pixel (x, y) with Cij into mRAconvertida, mDECconvertida (degrees).
void CoordenadasImagenAesfericas(Context& c, double x, double y);
// The same with Dij.
void CoordenadasImagenAesfericasConCoefDij(Context& c, double x, double y);

}  // namespace tornel
