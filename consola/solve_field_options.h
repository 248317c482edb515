#pragma once
// The command line of the solve-field contract that KStars/Ekos, CCDciel, the INDI astrometry driver
// and NINA send, read into the options of one solve and the files to leave behind.
#include <optional>
#include <string>
#include <vector>

#include "consola/solve_options.h"

namespace tornel {

extern const char* const kSolveFieldHelp;

// The units of -L/-H, by their long names.
enum class ScaleUnits { ArcsecPerPixel, ArcminWidth, DegreeWidth, FocalMm };

struct SolveFieldRequest {
    SolveOptions options;  // image, position, radius, stars, timeout; the scale once the units are settled
    std::optional<double> low, high;  // -L, -H in `units`
    ScaleUnits units = ScaleUnits::DegreeWidth;
    std::string dir, out;             // -D, -o
    std::string wcs, solved, cancel;  // -W, -S, --cancel; empty: the defaults
    bool overwrite = false, help = false;
    std::vector<std::string> notes;  // options accepted with no effect, values adjusted
    std::string error;               // names the bad item; empty when all is well
};

// The arguments after the program's name.
SolveFieldRequest ParseSolveFieldCommandLine(const std::vector<std::string>& args);

// The bounds of -L/-H in arc seconds per pixel, into the options: widths over the image's `width` in
// pixels, focal lengths (mm) with the pixel size (micrometres). Without a pixel size a focal length
// leaves the scale to the header, with a note. An error when the bounds cannot be turned.
std::string SettleScaleBounds(SolveFieldRequest& request, int width, std::optional<double> pixelSize);

// Where the answer goes: -W and -S as given, else BASE.wcs and BASE.solved, BASE being -o (default:
// the image's name without its extension) in -D (default: the image's folder).
struct SolveFieldFiles {
    std::string wcs, solved;
};
SolveFieldFiles OutputFiles(const SolveFieldRequest& request);

}  // namespace tornel
