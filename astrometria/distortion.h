#pragma once
// The distortion of a wide field: a tangent projection whose pixel offsets are bent by SIP
// polynomials, fitted to the matched stars of a solution. Pure routines: every angle is in degrees,
// every position in the pixels of the frame the caller chose (FITS pixels, the first is 1), and
// nothing is kept between calls.
//
// The model, pixel to sky: u = x - crpix1, v = y - crpix2; U = u + A(u, v), V = v + B(u, v), where A
// and B hold the terms a[p][q] u^p v^q of total order 2 to `order`; (xi, eta) = cd (U, V) are the
// standard coordinates (degrees) of the gnomonic projection about the tangent point crval. Sky to
// pixel: (U, V) from (xi, eta), then u = U + AP(U, V), v = V + BP(U, V), with terms of total order 0
// to `inverseOrder`.
#include <array>
#include <vector>

namespace tornel {

// A star tied to the sky: its pixel (x, y) and its catalogue position (ra, dec), degrees.
struct SipStar {
    double x = 0, y = 0;
    double ra = 0, dec = 0;
};

// Highest total order of any polynomial of the model.
constexpr int kSipMaxOrder = 7;

using SipTerms = std::array<std::array<double, kSipMaxOrder + 1>, kSipMaxOrder + 1>;

struct SipModel {
    double crpix1 = 0, crpix2 = 0;  // reference pixel
    double crval1 = 0, crval2 = 0;  // tangent point: ra, dec, degrees
    double cd[2][2] = {};           // degrees per pixel
    int order = 0;                  // of A and B: 2 or 3
    int inverseOrder = 0;           // of AP and BP
    SipTerms a{}, b{}, ap{}, bp{};  // [p][q], the coefficient of u^p v^q
    int starsUsed = 0;              // stars the model was fitted to
    int starsRejected = 0;          // stars left out as outliers
    double rmsLinear = 0;           // pixels: residual of the kept stars under the best plain projection
    double rmsSip = 0;              // pixels: residual of the kept stars under the model
    double inverseError = 0;        // pixels: largest error of AP, BP against A, B over the image
};

constexpr int kSipFitted = 0;
constexpr int kSipTooFewStars = 1;     // fewer than kSipLeastStars usable stars
constexpr int kSipPoorlySpread = 2;    // the stars leave too much of the image empty
constexpr int kSipIllConditioned = 3;  // the stars cannot fix the terms (in a line, in a clump)
constexpr int kSipNoGain = 4;          // the polynomials do not lower the residual enough to be worth them
constexpr int kSipNoInverse = 5;       // AP, BP of kSipMaxOrder still miss A, B by over half a pixel
constexpr int kSipFailed = 6;          // a floating-point failure (infinite or invalid input)

// Stars needed for an order 2 model, and for an order 3 one.
constexpr int kSipLeastStars = 10;
constexpr int kSipLeastStarsOrder3 = 20;

// Standard coordinates of the gnomonic projection.
//   ra0, dec0: tangent point; ra, dec: the point; degrees.
//   out xi, eta: degrees (radians times 180 / pi), xi towards growing right ascension, eta towards
//   the north; written only when projected.
// Returns true, or false when the point is 90 degrees or more from the tangent point.
bool GnomonicProject(double ra0, double dec0, double ra, double dec, double& xi, double& eta);

// The point whose standard coordinates about (ra0, dec0) are (xi, eta); all degrees, ra in [0, 360).
void GnomonicUnproject(double ra0, double dec0, double xi, double eta, double& ra, double& dec);

// Fits the model to the stars: the CD matrix and A, B together by linear least squares on the
// standard coordinates of the stars, the tangent point moved until it falls on the reference pixel,
// stars off by more than three times the residual left out once and the rest fitted again; then AP,
// BP on a grid over the image, of the lowest order from order + 1 that follows A, B within a
// twentieth of a pixel (at most kSipMaxOrder).
//   stars: pixels and catalogue positions.
//   crpix1, crpix2: the reference pixel, normally the image centre.
//   ra0, dec0: degrees, the sky at the reference pixel as first known (a plate's centre).
//   width, height: pixels; the image spans 0.5 to width + 0.5 and 0.5 to height + 0.5.
//   out model: written only when fitted.
// Returns kSipFitted, or the reason for no model. The order is 3 with kSipLeastStarsOrder3 stars or
// more covering at least seven of the nine cells of a 3 x 3 grid over the image, 2 with
// kSipLeastStars or more covering at least five, and there is no model below.
int FitSip(const std::vector<SipStar>& stars, double crpix1, double crpix2, double ra0, double dec0,
           double width, double height, SipModel& model);

// Sky position (ra in [0, 360), dec; degrees) of pixel (x, y) by the model's forward polynomials.
void SipPixelToSky(const SipModel& model, double x, double y, double& ra, double& dec);

// Pixel (x, y) of sky position (ra, dec; degrees) by the model's inverse polynomials. Returns true, or
// false (x, y untouched) when the point is 90 degrees or more from the tangent point.
bool SipSkyToPixel(const SipModel& model, double ra, double dec, double& x, double& y);

}  // namespace tornel
