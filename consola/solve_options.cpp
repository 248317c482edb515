#include "consola/solve_options.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>

#include "comun/numbers.h"
#include "imagen/fits.h"
#include "imagen/fits_header_cards.h"
#include "imagen/picture_files.h"

namespace tornel {

const char* const kSolveHelp = R"(Usage: tornel-cli solve IMAGE [OPTIONS]

Solves one image (FITS, JPG, PNG, TIFF, BMP) and prints where it points. The options act for this run
only: param.txt is read for the folders and the search settings, and is never changed.

Scale (one of them, else the FITS header's; with none the pattern search runs alone, which needs
the pattern index of tornel-db):
  --scale ARCSEC          arc seconds per pixel; the patterns try 10 % about it (25 % about a
                          header's)                                     --scale 1.54
  --scale-low ARCSEC --scale-high ARCSEC
                          a range: the patterns try it whole, the database roads its middle
                                                                        --scale-low 1.4 --scale-high 1.7
  --fov DEG               image width in degrees                        --fov 0.44
Orientation:
  --angle DEG             the image angle expected; without it database 1
                          turns its 2x2 degree window through every
                          angle, from param.txt's outwards              --angle 90
  --mirror                the camera gives a mirrored image             --mirror
  --no-mirror             it does not (default: both are tried, the
                          unmirrored first, whatever param.txt says)    --no-mirror
Position (else the FITS header's; with none the whole sky is searched):
  --ra RA --dec DEC       degrees, or HH:MM:SS and +DD:MM:SS            --ra 03:47:00 --dec +24:07:00
  --radius DEG            search radius around it (default: half the window of param.txt for
                          the database roads, the whole sky for the patterns; 90 or more
                          searches the whole sky)                       --radius 3
  --blind                 ignore any position and search the whole sky  --blind
Search:
  --database N            only 1 (around a position) or only 2 (whole sky); default: with a
                          position, 1 then 2, but 2 first when no angle is given and the field
                          is 1.2 degrees or wider; without a position, 2. The pattern search
                          runs first for a field over 3 degrees or with no position, else
                          after database 1 fails                        --database 2
  --no-patterns           the database roads alone, no pattern search   --no-patterns
  --stars N               most star contours analysed, 5 to 1000        --stars 40
  --timeout S             stop after S seconds, not solved              --timeout 30
Output:
  --wcs FILE              write the solution's WCS there, a FITS header --wcs m42.wcs
  --json                  one JSON object instead of the text block     --json
  --quiet                 only the result line (or the JSON object)     --quiet
  --verbose               also the search summary as it is written      --verbose
  --help                  this text

The text block of a solution ends with the catalogue's objects on the image (name, RA, DEC, and
x, y in the pixels the WCS counts).

Header hints: RA/DEC, OBJCTRA/OBJCTDEC, CRVAL1/CRVAL2 for the position; CD1_1/CD2_1, CDELT1,
SECPIX1/SECPIX, PIXSCALE, SCALE, or FOCALLEN (mm) with XPIXSZ (micrometres) for the scale.
The automatic threshold is always used.

Examples:
  tornel-cli solve m42.fit --scale 1.54 --ra 83.82 --dec -5.39 --radius 3
  tornel-cli solve pleiades.jpg --fov 1.2 --blind --json
  tornel-cli solve finder.jpg
  tornel-cli solve light.fit --quiet --wcs light.wcs

Exit status: 0 solved; 1 not solved (or stopped by --timeout); 2 bad usage, an unreadable image,
no scale with --no-patterns, or folders and databases not found.
)";

std::optional<double> ParseNumber(const std::string& text) {
    if (text.empty()) return std::nullopt;
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + text.size() || !std::isfinite(v)) return std::nullopt;
    return v;
}

namespace {

// "A:B:C" with one to three fields, the first carrying the sign; the value in units of the first.
std::optional<double> Sexagesimal(const std::string& text) {
    std::vector<std::string> parts;
    for (size_t start = 0;;) {
        const size_t colon = text.find(':', start);
        parts.push_back(text.substr(start, colon == std::string::npos ? colon : colon - start));
        if (colon == std::string::npos) break;
        start = colon + 1;
    }
    if (parts.size() > 3) return std::nullopt;
    const bool negative = !parts[0].empty() && parts[0][0] == '-';
    double value = 0, weight = 1;
    for (size_t i = 0; i < parts.size(); ++i, weight /= 60) {
        const std::string digits =
            i == 0 && !parts[0].empty() && (negative || parts[0][0] == '+') ? parts[0].substr(1) : parts[i];
        const auto v = ParseNumber(digits);
        if (!v || *v < 0 || (i > 0 && *v >= 60) || digits.find_first_of("+-eE") != std::string::npos)
            return std::nullopt;
        value += *v * weight;
    }
    return negative ? -value : value;
}

std::optional<double> Angle(const std::string& text, double hoursFactor) {
    if (text.find(':') == std::string::npos) return ParseNumber(text);
    const auto v = Sexagesimal(text);
    if (!v) return std::nullopt;
    return *v * hoursFactor;
}

using Handler = std::function<std::string(SolveOptions&, const std::string&)>;

std::string Range(const std::string& name, const std::string& value, const std::string& range) {
    return "the value of " + name + " must be " + range + ", not \"" + value + "\"";
}

// A number option within (low, high], or [low, high] when `lowIncluded`.
Handler NumberIn(std::optional<double> SolveOptions::*member, const std::string& name, double low,
                 double high, bool lowIncluded, const std::string& range) {
    return [=](SolveOptions& o, const std::string& value) -> std::string {
        const auto v = ParseNumber(value);
        if (!v || *v > high || *v < low || (*v == low && !lowIncluded)) return Range(name, value, range);
        o.*member = *v;
        return "";
    };
}

Handler IntegerIn(std::optional<int> SolveOptions::*member, const std::string& name, int low, int high,
                  const std::string& range) {
    return [=](SolveOptions& o, const std::string& value) -> std::string {
        const auto v = ParseNumber(value);
        if (!v || *v != std::floor(*v) || *v < low || *v > high) return Range(name, value, range);
        o.*member = static_cast<int>(*v);
        return "";
    };
}

const std::map<std::string, Handler>& ValueOptions() {
    static const std::map<std::string, Handler> options = {
        {"--scale",
         NumberIn(&SolveOptions::scale, "--scale", 0, 3600, false, "arc seconds above 0, to 3600")},
        {"--scale-low",
         NumberIn(&SolveOptions::scaleLow, "--scale-low", 0, 3600, false, "arc seconds above 0, to 3600")},
        {"--scale-high",
         NumberIn(&SolveOptions::scaleHigh, "--scale-high", 0, 3600, false, "arc seconds above 0, to 3600")},
        {"--fov", NumberIn(&SolveOptions::fov, "--fov", 0, 180, false, "degrees above 0, to 180")},
        {"--angle", NumberIn(&SolveOptions::angle, "--angle", -360, 360, true, "degrees from -360 to 360")},
        {"--radius", NumberIn(&SolveOptions::radius, "--radius", 0, 180, false, "degrees above 0, to 180")},
        {"--timeout", NumberIn(&SolveOptions::timeout, "--timeout", 0, 1e6, false, "seconds above 0")},
        {"--database", IntegerIn(&SolveOptions::database, "--database", 1, 2, "1 or 2")},
        {"--stars", IntegerIn(&SolveOptions::stars, "--stars", 5, 1000, "a whole number from 5 to 1000")},
        {"--ra",
         [](SolveOptions& o, const std::string& value) -> std::string {
             o.ra = ParseRightAscension(value);
             return o.ra ? "" : Range("--ra", value, "degrees from 0 to 360 or HH:MM:SS");
         }},
        {"--dec",
         [](SolveOptions& o, const std::string& value) -> std::string {
             o.dec = ParseDeclination(value);
             return o.dec ? "" : Range("--dec", value, "degrees from -90 to 90 or +DD:MM:SS");
         }},
        {"--wcs",
         [](SolveOptions& o, const std::string& value) -> std::string {
             o.wcs = value;
             return value.empty() ? "--wcs needs a file name" : "";
         }},
    };
    return options;
}

bool TakeFlag(SolveOptions& o, const std::string& a) {
    static const std::map<std::string, bool SolveOptions::*> flags = {
        {"--blind", &SolveOptions::blind}, {"--json", &SolveOptions::json},
        {"--quiet", &SolveOptions::quiet}, {"--help", &SolveOptions::help},
        {"-h", &SolveOptions::help},       {"--verbose", &SolveOptions::verbose}};
    if (a == "--no-patterns") {
        o.patterns = false;
        return true;
    }
    if (a == "--mirror" || a == "--no-mirror") {
        o.mirror = a == "--mirror";
        return true;
    }
    const auto f = flags.find(a);
    if (f == flags.end()) return false;
    o.*(f->second) = true;
    return true;
}

// The options that only make sense together or alone.
std::string CheckCombinations(const SolveOptions& o) {
    if (o.image.empty()) return "no IMAGE given";
    if (o.scaleLow.has_value() != o.scaleHigh.has_value()) return "--scale-low and --scale-high go together";
    if (o.scaleLow && *o.scaleLow > *o.scaleHigh) return "--scale-low is above --scale-high";
    if ((o.scale ? 1 : 0) + (o.scaleLow ? 1 : 0) + (o.fov ? 1 : 0) > 1)
        return "give one of --scale, --scale-low/--scale-high and --fov";
    if (o.ra.has_value() != o.dec.has_value()) return "--ra and --dec go together";
    if (o.blind && o.database == 1) return "--blind searches the whole sky, which needs database 2";
    return "";
}

}  // namespace

std::optional<double> ParseRightAscension(const std::string& text) {
    const auto v = Angle(text, 15);
    if (!v || *v < 0 || *v > 360) return std::nullopt;
    return *v == 360 ? 0 : *v;
}

std::optional<double> ParseDeclination(const std::string& text) {
    const auto v = Angle(text, 1);
    if (!v || *v < -90 || *v > 90) return std::nullopt;
    return v;
}

ParsedSolve ParseSolveOptions(const std::vector<std::string>& args) {
    ParsedSolve p;
    SolveOptions& o = p.options;
    for (size_t i = 0; i < args.size() && p.error.empty(); ++i) {
        std::string a = args[i], value;
        const size_t equals = a.find('=');
        const bool inline_ = a.rfind("--", 0) == 0 && equals != std::string::npos;
        if (inline_) value = a.substr(equals + 1), a = a.substr(0, equals);
        if (!inline_ && TakeFlag(o, a)) continue;
        if (const auto h = ValueOptions().find(a); h != ValueOptions().end()) {
            if (!inline_ && i + 1 >= args.size()) {
                p.error = a + " needs a value";
                break;
            }
            p.error = h->second(o, inline_ ? value : args[++i]);
        } else if (a.size() > 1 && a[0] == '-') {
            p.error = "unknown option " + args[i];
        } else if (!o.image.empty()) {
            p.error = "one IMAGE only; \"" + a + "\" is a second one";
        } else {
            o.image = a;
        }
    }
    if (p.error.empty() && !o.help) p.error = CheckCombinations(o);
    return p;
}

namespace {

// The primary header's cards up to END, keyword (blanks trimmed) to value field.
std::map<std::string, std::string> PrimaryCards(const std::string& path) {
    std::map<std::string, std::string> cards;
    std::ifstream in(path, std::ios::binary);
    char card[80];
    if (!in.read(card, 80) || std::string(card, 9) != "SIMPLE  =") return cards;
    do {
        std::string key(card, 8);
        if (key == "END     ") break;
        key.erase(key.find_last_not_of(' ') + 1);
        if (!key.empty() && cards.count(key) == 0) cards[key] = std::string(card + 10, 70);
    } while (in.read(card, 80));
    return cards;
}

std::optional<double> CardNumber(const std::map<std::string, std::string>& cards, const std::string& key) {
    const auto at = cards.find(key);
    if (at == cards.end()) return std::nullopt;
    double v = std::nan("");
    LeeRealDeFits(at->second, v);
    if (!std::isfinite(v)) return std::nullopt;
    return v;
}

// The first scale keyword of the list that gives a positive value, arcsec per pixel.
void ScaleHint(const std::map<std::string, std::string>& cards, HeaderHints& h) {
    auto take = [&](std::optional<double> v, const char* source) {
        if (h.scale || !v || !(*v > 0) || *v > 3600) return;
        h.scale = *v;
        h.scaleSource = source;
    };
    const auto cd11 = CardNumber(cards, "CD1_1"), cd21 = CardNumber(cards, "CD2_1");
    if (cd11 || cd21) take(std::hypot(cd11.value_or(0), cd21.value_or(0)) * 3600, "CD1_1/CD2_1");
    if (const auto d = CardNumber(cards, "CDELT1")) take(std::fabs(*d) * 3600, "CDELT1");
    take(CardNumber(cards, "SECPIX1"), "SECPIX1");
    take(CardNumber(cards, "SECPIX"), "SECPIX");
    take(CardNumber(cards, "PIXSCALE"), "PIXSCALE");
    take(CardNumber(cards, "SCALE"), "SCALE");
    const auto focal = CardNumber(cards, "FOCALLEN"), pixel = CardNumber(cards, "XPIXSZ");
    if (pixel && *pixel > 0) h.pixelSize = *pixel;
    // Micrometres over millimetres: the angle of one pixel.
    if (focal && pixel && *focal > 0)
        take(2 * std::atan(*pixel / (*focal * 2000)) * 180 / M_PI * 3600, "FOCALLEN/XPIXSZ");
}

// CRVAL of a tangent projection first, then the object's coordinates, then RA/DEC.
void PositionHint(const std::map<std::string, std::string>& cards, HeaderHints& h) {
    HeaderCards parsed;
    for (const auto& [key, value] : cards) {
        std::string k = key;
        k.resize(8, ' ');
        TakeCard(k, value, parsed);
    }
    const bool tangent = parsed.ctype1.find("RA---TAN") != std::string::npos;
    for (const auto& [ra, dec90] :
         {std::pair{tangent ? parsed.crval1 : -1, tangent ? parsed.crval2 : -1},
          std::pair{parsed.objctRA, parsed.objctDEC}, std::pair{parsed.ra, parsed.dec}})
        if (ra >= 0 && dec90 >= 0) {
            h.ra = ra;
            h.dec = dec90 - 90;
            return;
        }
}

}  // namespace

HeaderHints ReadHeaderHints(const std::string& path) {
    HeaderHints h;
    const auto cards = PrimaryCards(path);
    if (cards.empty()) return h;
    ScaleHint(cards, h);
    PositionHint(cards, h);
    if (const auto w = CardNumber(cards, "NAXIS1"); w && *w > 0 && *w < 1e6) h.width = static_cast<int>(*w);
    if (const auto n = CardNumber(cards, "NAXIS2"); n && *n > 0 && *n < 1e6) h.height = static_cast<int>(*n);
    return h;
}

ImageSides ImageSize(const std::string& path) {
    if (const HeaderHints h = ReadHeaderHints(path); h.height > 0) return {h.width, h.height};
    const std::string lower = ToLower(path);
    auto endsWith = [&](const std::string& tail) {
        return lower.size() >= tail.size() &&
               lower.compare(lower.size() - tail.size(), tail.size(), tail) == 0;
    };
    Picture p;
    bool ok = false;
    if (endsWith(".jpg") || endsWith(".jpeg"))
        ok = ReadJpg(path, RowOrder::TopFirst, p);
    else if (endsWith(".png"))
        ok = ReadPng(path, RowOrder::TopFirst, p);
    else if (endsWith(".tif") || endsWith(".tiff"))
        ok = ReadTiff(path, RowOrder::TopFirst, p);
    else if (endsWith(".bmp"))
        ok = ReadBmp(path, RowOrder::TopFirst, p);
    return ok ? ImageSides{p.width, p.height} : ImageSides{};
}

}  // namespace tornel
