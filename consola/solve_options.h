#pragma once
// The command line of `tornel-cli solve IMAGE [options]` and the hints an image's FITS header gives.
// Nothing here touches a context: the options are read and checked first, then applied to one run.
#include <optional>
#include <string>
#include <vector>

namespace tornel {

extern const char* const kSolveHelp;

struct SolveOptions {
    std::string image;
    std::optional<double> scale;                // arcsec per pixel
    std::optional<double> scaleLow, scaleHigh;  // arcsec per pixel
    std::optional<double> fov;                  // image width, degrees
    std::optional<double> angle;                // degrees
    std::optional<bool> mirror;                 // unset: both parities are tried, the unmirrored first
    std::optional<double> ra, dec;              // degrees
    std::optional<double> radius;               // degrees
    bool blind = false;
    bool patterns = true;  // --no-patterns: the database roads alone
    std::optional<int> database;
    std::optional<int> stars;
    std::optional<int> starsAtMost;  // a client's ceiling: lowers the parameters' count, never raises it
    std::optional<double> timeout;   // seconds
    std::string wcs;
    std::optional<bool> updateImage;  // the solution into the image's own header; param.txt when unset
    bool json = false, quiet = false, verbose = false, help = false;
};

// The options after the word "solve"; an error names the bad item, empty when all is well.
struct ParsedSolve {
    SolveOptions options;
    std::string error;
};
ParsedSolve ParseSolveOptions(const std::vector<std::string>& args);

// A whole text that is a finite number; "1e400" and "1.5x" are not.
std::optional<double> ParseNumber(const std::string& text);

// The sides in pixels of an image file (FITS, JPG, PNG, TIFF, BMP); zeros when it cannot be read.
struct ImageSides {
    int width = 0, height = 0;
};
ImageSides ImageSize(const std::string& path);

// Right ascension in degrees from "56.75" (degrees) or "03:47:00" (hours); declination in degrees
// from "24.12" or "+24:07:12". Nothing when the text is not one or is out of range.
std::optional<double> ParseRightAscension(const std::string& text);
std::optional<double> ParseDeclination(const std::string& text);

// What a FITS header says of the field; empty members when it says nothing.
struct HeaderHints {
    std::optional<double> ra, dec;    // degrees
    std::optional<double> scale;      // arcsec per pixel
    std::string scaleSource;          // the keywords that gave the scale
    std::optional<double> pixelSize;  // XPIXSZ, micrometres (binning included)
    int width = 0, height = 0;        // NAXIS1, NAXIS2
};
// The hints of a FITS file's primary header; none for a file that is not FITS.
HeaderHints ReadHeaderHints(const std::string& path);

}  // namespace tornel
