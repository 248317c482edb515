#pragma once
// A camera's view of the catalogue: the gnomonic projection of sky positions into the pixels of an
// image, as the solver's screen geometry reads them back: pixel x from 1 at the left, y from 1 at the
// bottom row, pixel n covering n - 0.5 to n + 0.5; the optical centre at (width / 2, height / 2) as the
// solver takes it.
// With angle 0 and no mirror, north lies toward +y and east toward -x; a positive angle turns north
// from +y toward +x; a mirror flips x.
#include <cstdint>
#include <string>
#include <vector>

#include "herramientas/db/catalog.h"

namespace tornel::db {

struct FieldGeometry {
    double ra = 0, dec = 0;              // centre, degrees
    double arcsecPerPixel = 2;           // scale at the centre
    double angle = 0;                    // image angle, degrees
    int32_t width = 1024, height = 768;  // pixels
    bool mirror = false;
};

// Focal length in pixels of a scale: one pixel at the centre spans `arcsecPerPixel`.
double FocalPixels(double arcsecPerPixel);

// Pixel position (x, y) of a sky position; false when it lies 90 degrees or more from the centre.
bool SkyToPixel(const FieldGeometry& g, double ra, double dec, double& x, double& y);
// Sky position of a pixel.
void PixelToSky(const FieldGeometry& g, double x, double y, double& ra, double& dec);

struct FieldStar {
    double x = 0, y = 0;     // pixels
    double ra = 0, dec = 0;  // degrees
    float mag = 0;
    bool inCatalogue = true;  // false for a star added to the image that the catalogue lacks
};

struct FieldOptions {
    double missingFraction = 0;  // catalogue stars left out of the image
    int32_t addedStars = 0;      // stars in the image that the catalogue lacks
    double magnitudeJitter = 0;  // sigma of the magnitude error of the camera's passband
    uint64_t seed = 1;
};

// The catalogue stars that fall inside the image (stars sorted brightest first in the result),
// with stars taken away and added as asked.
std::vector<FieldStar> ProjectField(const std::vector<CatalogStar>& catalogue, const FieldGeometry& g,
                                    const FieldOptions& options);

}  // namespace tornel::db

namespace tornel::db {

// How the stars of a field look on the sensor, for the image writers.
struct SensorOptions {
    double magnitudeZero = 20;      // a star of this magnitude gives one count in all
    double psfSigma = 1.5;          // pixels
    double sky = 1000, noise = 10;  // counts
    double gradient = 0;            // counts added across the frame, corner to corner
    int32_t hotPixels = 0;
    double pictureScale = 0.04;  // counts to 0..255 levels of BMP and JPG
    uint32_t seed = 1;
};

// Renders the field and writes it by the name's extension: .fit/.fits (unsigned 16-bit), .bmp
// (24-bit) or .jpg; a FITS header also gets `fitsCards`, as an earlier program may have left them.
// False with a sentence when the name has none of them or cannot be written.
bool WriteFieldImage(const std::string& path, const FieldGeometry& g, const std::vector<FieldStar>& stars,
                     const SensorOptions& sensor, std::string& error,
                     const std::vector<std::string>& fitsCards = {});

// The truth of a rendered field: its geometry in "# key value" lines, then one line per star
// "x,y,ra_deg,dec_deg,mag,in_catalogue", brightest first. False when it cannot be written.
bool WriteTruthFile(const std::string& path, const FieldGeometry& g, const std::vector<FieldStar>& stars);

}  // namespace tornel::db
