#include "consola/astap_run.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>

#include "comun/files.h"
#include "comun/numbers.h"
#include "consola/astap_options.h"
#include "consola/solve_command.h"
#include "consola/wcs_file.h"

namespace tornel {
namespace {

constexpr size_t kCard = 80;
constexpr size_t kBlock = 2880;

// The numeric cards of a FITS header text up to END.
std::map<std::string, double> NumericCards(const std::string& header) {
    std::map<std::string, double> cards;
    for (size_t at = 0; at + kCard <= header.size(); at += kCard) {
        const std::string card = header.substr(at, kCard);
        if (card.compare(0, 8, "END     ") == 0) break;
        if (card.compare(8, 2, "= ") != 0) continue;
        std::string key = card.substr(0, 8);
        key.erase(key.find_last_not_of(' ') + 1);
        char* end = nullptr;
        const std::string value = card.substr(10);
        const double v = std::strtod(value.c_str(), &end);
        if (end != value.c_str()) cards[key] = v;
    }
    return cards;
}

// Dot decimals whatever the locale, as the clients read them.
std::string Decimal(double v) {
    char text[32];
    const auto r = std::to_chars(text, text + sizeof text, v, std::chars_format::general, 12);
    return std::string(text, r.ptr);
}

// The solution's keys from its WCS cards; CDELT and CROTA as the rotation and scale of the CD matrix,
// the sign of CDELT1 that of its determinant (negative for the sky seen from inside).
std::string SolvedKeys(const std::map<std::string, double>& w) {
    const auto get = [&](const char* key) {
        const auto at = w.find(key);
        return at == w.end() ? 0.0 : at->second;
    };
    const double cd11 = get("CD1_1"), cd12 = get("CD1_2"), cd21 = get("CD2_1"), cd22 = get("CD2_2");
    const double det = cd11 * cd22 - cd12 * cd21;
    const double cdelt1 = (det < 0 ? -1 : 1) * std::hypot(cd11, cd21), cdelt2 = std::hypot(cd12, cd22);
    const double crota = std::atan2(-cd12, cd22) * 180 / M_PI;
    std::string keys = "PLTSOLVD=T\n";
    for (const char* key : {"CRPIX1", "CRPIX2", "CRVAL1", "CRVAL2"})
        keys += std::string(key) + "=" + Decimal(get(key)) + "\n";
    keys += "CDELT1=" + Decimal(cdelt1) + "\nCDELT2=" + Decimal(cdelt2) + "\n";
    keys += "CROTA1=" + Decimal(crota) + "\nCROTA2=" + Decimal(crota) + "\n";
    for (const char* key : {"CD1_1", "CD1_2", "CD2_1", "CD2_2"})
        keys += std::string(key) + "=" + Decimal(get(key)) + "\n";
    return keys;
}

// One line of text for a key: the clients read up to the end of the line.
std::string OneLine(std::string text) {
    for (char& ch : text)
        if (ch == '\n' || ch == '\r') ch = ' ';
    return text;
}

struct Answer {
    int status = kAstapNotSolved;
    std::string keys;   // the .ini's keys before CMDLINE
    std::string error;  // for ERROR= and standard error
};

// The exit code of a solve that could not start: the contract tells the image from the databases.
Answer Refusal(const std::string& error, SolveError kind) {
    Answer a;
    a.error = error;
    if (kind == SolveError::Image)
        a.status = kAstapImageUnreadable;
    else if (kind == SolveError::Setup)
        a.status = kAstapNoDatabase;
    else if (kind == SolveError::NoScale)
        a.error =
            "the image scale is unknown: give -fov (the image height in degrees) or a scale in the FITS "
            "header";
    return a;
}

bool HeaderHasTornelWcs(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::string header(kBlock * 4, ' ');
    in.read(header.data(), static_cast<std::streamsize>(header.size()));
    return header.find("WCS coordinates") != std::string::npos;
}

Answer Solve(AstapRequest& r, const std::string& wcsPath, std::vector<std::string>& notes) {
    const ImageSides sides = ImageSize(r.options.image);
    if (r.fov && sides.height <= 0)
        return Refusal("cannot read the image " + r.options.image, SolveError::Image);
    SettleFieldHeight(r, sides.height);
    r.options.wcs = wcsPath;
    if (r.update) r.options.updateImage = true;
    const SolveResult result = SolveImage(r.options, notes, {});
    const SolveOutcome& o = result.outcome;
    if (!result.error.empty() && !o.solved) return Refusal(result.error, result.kind);
    Answer a;
    if (!o.solved) {
        a.error = o.message;
        return a;
    }
    std::string header;
    ReadWholeFile(wcsPath, header);
    const int width = sides.width > 0 ? sides.width : o.width,
              height = sides.height > 0 ? sides.height : o.height;
    if (!WriteFileAtomically(wcsPath, WithImageSides(header, width, height)))
        return Refusal("the WCS cannot be written to " + wcsPath, SolveError::Output);
    a.keys = SolvedKeys(NumericCards(header));
    a.status = kAstapSolved;
    if (r.update && !HeaderHasTornelWcs(r.options.image)) {
        a.status = kAstapUpdateFailed;
        a.keys += "WARNING=the solution could not be written into " + OneLine(r.options.image) + "\n";
    }
    return a;
}

void WriteLog(const AstapRequest& r, const std::vector<std::string>& notes, const Answer& a) {
    std::string log = "tornel-astap " + r.commandLine + "\n";
    for (const auto& note : notes)
        log += note + "\n";
    for (const auto& ignored : r.ignored)
        log += "accepted and ignored: " + ignored + "\n";
    log += a.status == kAstapSolved ? "solved\n" : "not solved: " + a.error + "\n";
    WriteFileAtomically(r.base + ".log", log);
}

const char* const kAstapUsage =
    R"(Usage: tornel-astap -f IMAGE [-ra HOURS -spd DEGREES] [-fov DEGREES] [-r DEGREES] [-s N]
                    [-o BASE] [-wcs] [-update] [-log]
The command line that imaging programs send to their external solver, answered with BASE.ini (and
BASE.wcs with -wcs). Point the client's solver-program path at tornel-astap.
  -f IMAGE      the image (FITS, JPG, PNG, TIFF, BMP)
  -ra H -spd D  centre: right ascension in hours, south pole distance (declination + 90)
  -fov DEG      image height in degrees (0 or absent: the scale of the FITS header)
  -r DEG        search radius; 90 or more searches the whole sky
  -s N          most stars to use (0: automatic); it lowers the parameters' count, never
                raises it
  -o BASE       base name of the output files (default: the image without its extension)
  -wcs          write BASE.wcs, the solution as a FITS header
  -update       write the solution into the FITS image's own header
  -log          write BASE.log
  -z, -speed and other options of that command line are accepted and ignored.
Example:
  tornel-astap -f m51.fits -fov 0.83 -ra 13.50 -spd 137.2 -r 5 -o /tmp/solver -wcs
Exit status: 0 solved, 1 no solution or a bad command line, 16 unreadable image, 32 no database or
program folder, 34 the image's header could not be updated.
)";

}  // namespace

int RunAstap(const std::vector<std::string>& args) {
    if (args.empty() || args[0] == "-h" || args[0] == "--help") {
        std::cout << kAstapUsage;
        return args.empty() ? kAstapNotSolved : kAstapSolved;
    }
    AstapRequest r = ParseAstapCommandLine(args);
    if (r.base.empty()) {
        std::cerr << "tornel-astap: " << r.error << "\n";
        return kAstapNotSolved;
    }
    // Files of an earlier run must not pass for this one's answer.
    const std::string wcs = r.base + ".wcs";
    std::remove((r.base + ".ini").c_str());
    std::remove(wcs.c_str());
    std::vector<std::string> notes;
    // A bad command line is "no solution" with its reason: exit 2 would read as "not enough stars".
    Answer a = r.error.empty() ? Solve(r, r.writeWcs ? wcs : r.base + ".tornel-wcs.tmp", notes)
                               : Answer{kAstapNotSolved, "", r.error};
    if (!r.writeWcs) std::remove((r.base + ".tornel-wcs.tmp").c_str());
    std::string ini = a.status == kAstapSolved || a.status == kAstapUpdateFailed
                          ? a.keys
                          : "PLTSOLVD=F\nERROR=" + OneLine(a.error) + "\n";
    ini += "CMDLINE=" + OneLine(r.commandLine) + "\n";
    if (!WriteFileAtomically(r.base + ".ini", ini))
        std::cerr << "tornel-astap: cannot write " << r.base << ".ini\n";
    if (r.log) WriteLog(r, notes, a);
    if (!a.error.empty()) std::cerr << "tornel-astap: " << a.error << "\n";
    return a.status;
}

}  // namespace tornel
