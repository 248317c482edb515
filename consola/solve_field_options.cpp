#include "consola/solve_field_options.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>

#include "comun/numbers.h"

namespace tornel {

const char* const kSolveFieldHelp =
    R"(Usage: tornel-solve-field [OPTIONS] IMAGE
The solve-field command line that imaging programs send to a local solver, answered with BASE.solved
(one byte, value 1, only when solved) and BASE.wcs (the solution as a FITS header). Point the client's
solver path at tornel-solve-field. It runs on the program folder (TORNEL_HOME) and its databases.

Scale (else the FITS header's; with neither the image is not solved):
  -L, --scale-low L        lower bound of the scale, in the units of -u
  -H, --scale-high H       upper bound (one bound alone is taken as the scale)
  -u, --scale-units U      arcsecperpix (app), arcminwidth (amw, aw), degwidth (dw, degw, the
                           default) or focalmm (needs XPIXSZ in the FITS header); widths are
                           of the image, over its width in pixels
Position (else the FITS header's; with none the whole sky is searched):
  -3, --ra RA              degrees, or HH:MM:SS
  -4, --dec DEC            degrees, or +DD:MM:SS
  -5, --radius DEG         search radius; 90 or more searches the whole sky
Search:
  -l, --cpulimit S         stop after S seconds, not solved
      --objs N             most stars to use, taken within 5 to 1000; it lowers the count
                           of the parameters (line 7), never raises it
      --cancel FILE        stop soon after FILE appears, not solved
Output:
  -D, --dir DIR            folder of the output files (default: the image's)
  -o, --out BASE           base name of the output files (default: the image's name without
                           its extension)
  -W, --wcs FILE           the WCS file (default: BASE.wcs)
  -S, --solved FILE        the solved file (default: BASE.solved)
  -O, --overwrite          solve again when BASE.solved is there; without it an earlier answer
                           is kept and the image is not solved again
  -v, --verbose            also the search summary as it is written
  -h, --help               this text
Accepted with no effect (the value is read and dropped):
  -p --no-plots, --no-verify, --crpix-center (the reference pixel is at the image centre
  anyway, within half a pixel),
  -r --resort, -9 --no-remove-lines, -2 --no-fits2fits, -y --no-background-subtraction,
  -T --no-tweak, -g --guess-scale, --temp-axy and other flags;
  -N --new-fits, -M --match, -B --corr, -R --rdls, -U --index-xyls, -z --downsample, -d --depth,
  -b --backend-config, --config, --uniformize, --odds-to-solve, -t --tweak-order, --parity,
  -m --temp-dir and other options of that command line that take a value.
  Any other option is ignored with a note on standard error; its value, if it has one, must be
  written --option=value.
One image per run: a second one is refused.

Example (as KStars/Ekos runs it):
  tornel-solve-field -O --no-plots --no-verify --crpix-center --match none --corr none
      --new-fits none --rdls none --resort --depth 20,30 --objs 100 --downsample 2 -L 1.2 -H 1.8
      -u app -3 83.82 -4 -5.39 -5 5 --cancel /tmp/solver.cancel -W /tmp/solver.wcs m42.fits

Exit status: 0 solved (or an earlier answer kept without -O), 1 not solved, stopped or cancelled,
2 bad usage, an unreadable image, or no program folder or databases.
)";

namespace {

using Apply = std::function<std::string(SolveFieldRequest&, const std::string&)>;

struct Option {
    std::string shortName, longName;  // either may be empty
    bool takesValue;
    Apply apply;  // none: accepted with no effect
};

std::string Bad(const std::string& name, const std::string& value, const std::string& what) {
    return "the value of " + name + " must be " + what + ", not \"" + value + "\"";
}

Apply Above0(std::optional<double> SolveFieldRequest::*member, const std::string& name) {
    return [=](SolveFieldRequest& r, const std::string& value) -> std::string {
        const auto v = ParseNumber(value);
        if (!v || *v <= 0) return Bad(name, value, "a number above 0");
        r.*member = *v;
        return "";
    };
}

Apply Path(std::string SolveFieldRequest::*member, const std::string& name) {
    return [=](SolveFieldRequest& r, const std::string& value) -> std::string {
        r.*member = value;
        return value.empty() ? name + " needs a name" : "";
    };
}

std::string Units(SolveFieldRequest& r, const std::string& value) {
    static const std::vector<std::pair<std::vector<std::string>, ScaleUnits>> names = {
        {{"arcsecperpix", "app"}, ScaleUnits::ArcsecPerPixel},
        {{"arcminwidth", "amw", "aw"}, ScaleUnits::ArcminWidth},
        {{"degwidth", "degw", "dw"}, ScaleUnits::DegreeWidth},
        {{"focalmm"}, ScaleUnits::FocalMm}};
    for (const auto& [aliases, units] : names)
        for (const auto& alias : aliases)
            if (ToLower(value) == alias) {
                r.units = units;
                return "";
            }
    return Bad("-u/--scale-units", value,
               "arcsecperpix (app), arcminwidth (amw, aw), degwidth (dw, degw) or focalmm");
}

const std::vector<Option>& Options() {
    static const std::vector<Option> options = {
        {"-L", "--scale-low", true, Above0(&SolveFieldRequest::low, "-L/--scale-low")},
        {"-H", "--scale-high", true, Above0(&SolveFieldRequest::high, "-H/--scale-high")},
        {"-u", "--scale-units", true, Units},
        {"-3", "--ra", true,
         [](SolveFieldRequest& r, const std::string& value) -> std::string {
             r.options.ra = ParseRightAscension(value);
             return r.options.ra ? "" : Bad("-3/--ra", value, "degrees from 0 to 360 or HH:MM:SS");
         }},
        {"-4", "--dec", true,
         [](SolveFieldRequest& r, const std::string& value) -> std::string {
             r.options.dec = ParseDeclination(value);
             return r.options.dec ? "" : Bad("-4/--dec", value, "degrees from -90 to 90 or +DD:MM:SS");
         }},
        {"-5", "--radius", true,
         [](SolveFieldRequest& r, const std::string& value) -> std::string {
             const auto v = ParseNumber(value);
             if (!v || *v <= 0 || *v > 180) return Bad("-5/--radius", value, "degrees above 0, to 180");
             r.options.radius = *v;
             return "";
         }},
        {"-l", "--cpulimit", true,
         [](SolveFieldRequest& r, const std::string& value) -> std::string {
             const auto v = ParseNumber(value);
             if (!v || *v <= 0) return Bad("-l/--cpulimit", value, "seconds above 0");
             r.options.timeout = *v;
             return "";
         }},
        {"", "--objs", true,
         [](SolveFieldRequest& r, const std::string& value) -> std::string {
             const auto v = ParseNumber(value);
             if (!v || *v < 1 || *v != std::floor(*v)) return Bad("--objs", value, "a whole number above 0");
             const int stars = static_cast<int>(std::clamp(*v, 5.0, 1000.0));
             if (stars != *v) r.notes.push_back("--objs " + value + " taken as " + std::to_string(stars));
             r.options.starsAtMost = stars;
             return "";
         }},
        {"", "--cancel", true, Path(&SolveFieldRequest::cancel, "--cancel")},
        {"-D", "--dir", true, Path(&SolveFieldRequest::dir, "-D/--dir")},
        {"-o", "--out", true, Path(&SolveFieldRequest::out, "-o/--out")},
        {"-W", "--wcs", true, Path(&SolveFieldRequest::wcs, "-W/--wcs")},
        {"-S", "--solved", true, Path(&SolveFieldRequest::solved, "-S/--solved")},
        {"-N", "--new-fits", true,
         [](SolveFieldRequest& r, const std::string& value) -> std::string {
             if (value != "none") r.notes.push_back("--new-fits: no new FITS file is written");
             return "";
         }},
        {"", "--parity", true,
         [](SolveFieldRequest& r, const std::string&) -> std::string {
             r.notes.push_back("--parity: both parities are tried");
             return "";
         }},
        {"-O", "--overwrite", false,
         [](SolveFieldRequest& r, const std::string&) { return (r.overwrite = true, std::string()); }},
        {"-h", "--help", false,
         [](SolveFieldRequest& r, const std::string&) { return (r.help = true, std::string()); }},
        {"-v", "--verbose", false,
         [](SolveFieldRequest& r, const std::string&) { return (r.options.verbose = true, std::string()); }},
        // Search settings and extra outputs that mean nothing here.
        {"-p", "--no-plots", false, {}},
        {"", "--no-verify", false, {}},
        {"", "--crpix-center", false, {}},
        {"-r", "--resort", false, {}},
        {"-9", "--no-remove-lines", false, {}},
        {"-2", "--no-fits2fits", false, {}},
        {"-y", "--no-background-subtraction", false, {}},
        {"-T", "--no-tweak", false, {}},
        {"-g", "--guess-scale", false, {}},
        {"", "--temp-axy", false, {}},
        {"", "--fits-image", false, {}},
        {"", "--timestamp", false, {}},
        {"", "--no-delete-temp", false, {}},
        {"", "--dont-augment", false, {}},
        {"", "--just-augment", false, {}},
        {"", "--tag-all", false, {}},
        {"", "--use-source-extractor", false, {}},
        {"", "--no-verify-uniformize", false, {}},
        {"", "--no-verify-dedup", false, {}},
        {"", "--invert", false, {}},
        {"-M", "--match", true, {}},
        {"-B", "--corr", true, {}},
        {"-R", "--rdls", true, {}},
        {"-U", "--index-xyls", true, {}},
        {"-z", "--downsample", true, {}},
        {"-d", "--depth", true, {}},
        {"-b", "--backend-config", true, {}},
        {"", "--config", true, {}},
        {"", "--uniformize", true, {}},
        {"", "--odds-to-solve", true, {}},
        {"", "--odds-to-tune-up", true, {}},
        {"", "--odds-to-reject", true, {}},
        {"", "--odds-to-stop-looking", true, {}},
        {"-t", "--tweak-order", true, {}},
        {"-m", "--temp-dir", true, {}},
        {"", "--sigma", true, {}},
        {"", "--nsigma", true, {}},
        {"", "--crpix-x", true, {}},
        {"", "--crpix-y", true, {}},
        {"", "--axy", true, {}},
        {"", "--keep-xylist", true, {}},
        {"", "--pnm", true, {}},
        {"", "--solved-in", true, {}},
        {"", "--plot-scale", true, {}},
        {"", "--plot-bg", true, {}},
        {"", "--sort-rdls", true, {}},
        {"", "--tag", true, {}},
        {"", "--x-column", true, {}},
        {"", "--y-column", true, {}},
        {"", "--sort-column", true, {}},
        {"", "--width", true, {}},
        {"", "--height", true, {}},
        {"", "--extension", true, {}},
        {"", "--kmz", true, {}},
        {"", "--scamp", true, {}},
        {"", "--scamp-config", true, {}},
        {"", "--code-tolerance", true, {}},
        {"", "--pixel-error", true, {}},
        {"", "--quad-size-min", true, {}},
        {"", "--quad-size-max", true, {}},
        {"", "--verify", true, {}},
        {"", "--verify-ext", true, {}},
        {"", "--source-extractor-config", true, {}},
        {"", "--source-extractor-path", true, {}},
    };
    return options;
}

const Option* Find(const std::string& name) {
    for (const Option& o : Options())
        if (name == o.shortName || name == o.longName) return &o;
    return nullptr;
}

std::string Checked(const SolveFieldRequest& r, const std::vector<std::string>& images) {
    if (images.empty()) return "no IMAGE given";
    if (images.size() > 1) return "one IMAGE at a time; \"" + images[1] + "\" is a second one";
    if (r.low && r.high && *r.low > *r.high) return "-L/--scale-low is above -H/--scale-high";
    if (r.options.ra.has_value() != r.options.dec.has_value()) return "-3/--ra and -4/--dec go together";
    return "";
}

}  // namespace

SolveFieldRequest ParseSolveFieldCommandLine(const std::vector<std::string>& args) {
    SolveFieldRequest r;
    std::vector<std::string> images;
    for (size_t i = 0; i < args.size() && r.error.empty(); ++i) {
        std::string name = args[i], value;
        const size_t equals = name.find('=');
        const bool inline_ = name.rfind("--", 0) == 0 && equals != std::string::npos;
        if (inline_) value = name.substr(equals + 1), name = name.substr(0, equals);
        if (name.size() < 2 || name[0] != '-') {
            images.push_back(args[i]);
            continue;
        }
        const Option* option = Find(name);
        if (!option || (inline_ && !option->takesValue)) {
            // Its value, if it takes one, would pass for an image: hence --option=value.
            r.notes.push_back("ignored the unknown option " + args[i]);
            continue;
        }
        if (option->takesValue && !inline_) {
            if (i + 1 >= args.size()) {
                r.error = name + " needs a value";
                break;
            }
            value = args[++i];
        }
        if (option->apply) r.error = option->apply(r, value);
    }
    if (r.error.empty() && !r.help) r.error = Checked(r, images);
    if (!images.empty()) r.options.image = images[0];
    return r;
}

std::string SettleScaleBounds(SolveFieldRequest& r, int width, std::optional<double> pixelSize) {
    if (!r.low && !r.high) return "";
    // One bound alone is the scale.
    const double low = r.low.value_or(*r.high), high = r.high.value_or(*r.low);
    double perPixelLow = low, perPixelHigh = high;
    std::string how;
    if (r.units == ScaleUnits::ArcminWidth || r.units == ScaleUnits::DegreeWidth) {
        if (width <= 0) return "the width of " + r.options.image + " cannot be read for -u/--scale-units";
        const double arcsec = r.units == ScaleUnits::ArcminWidth ? 60 : 3600;
        perPixelLow = low * arcsec / width, perPixelHigh = high * arcsec / width;
        how = std::string(r.units == ScaleUnits::ArcminWidth ? "arc minutes" : "degrees") + " over " +
              std::to_string(width) + " pixels";
    } else if (r.units == ScaleUnits::FocalMm) {
        if (!pixelSize) {
            r.notes.push_back(
                "-u focalmm needs the pixel size, XPIXSZ in the FITS header: the scale is "
                "left to the header");
            return "";
        }
        // The longer focal length gives the finer scale.
        constexpr double kArcsecPerRadian = 206264.806;
        perPixelLow = kArcsecPerRadian * *pixelSize / 1000 / high;
        perPixelHigh = kArcsecPerRadian * *pixelSize / 1000 / low;
        how = "mm of focal length with pixels of " + ShortestText(*pixelSize) + " micrometres";
    }
    if (perPixelLow <= 0 || perPixelHigh > 3600)
        return "the scale of -L/-H, up to " + ShortestText(perPixelHigh) +
               " arcsec per pixel, is above the 3600 that can be searched";
    if (!how.empty())
        r.notes.push_back("-L/-H in " + how + ": " + FormatNumber(perPixelLow, "0.0000") + " to " +
                          FormatNumber(perPixelHigh, "0.0000") + " arcsec per pixel");
    r.options.scaleLow = perPixelLow;
    r.options.scaleHigh = perPixelHigh;
    return "";
}

SolveFieldFiles OutputFiles(const SolveFieldRequest& r) {
    const std::filesystem::path image(r.options.image);
    const std::filesystem::path folder = !r.dir.empty()            ? std::filesystem::path(r.dir)
                                         : image.has_parent_path() ? image.parent_path()
                                                                   : std::filesystem::path(".");
    const std::string base = (folder / (r.out.empty() ? image.stem().string() : r.out)).string();
    return {r.wcs.empty() ? base + ".wcs" : r.wcs, r.solved.empty() ? base + ".solved" : r.solved};
}

}  // namespace tornel
