#include "consola/solve_field_run.h"

#include <cstdio>
#include <filesystem>
#include <iostream>

#include "comun/files.h"
#include "consola/solve_command.h"
#include "consola/solve_field_options.h"
#include "consola/wcs_file.h"

namespace tornel {
namespace {

constexpr int kExitSolved = 0;
constexpr int kExitNotSolved = 1;
constexpr int kExitUsage = 2;

void Note(const std::string& text) {
    std::cerr << "tornel-solve-field: " << text << "\n";
}

int Refuse(const std::string& error) {
    Note(error);
    std::cerr << "Run 'tornel-solve-field --help' for the options.\n";
    return kExitUsage;
}

// Neither file may pass for this run's answer until it has solved.
void RemoveAnswer(const SolveFieldFiles& files) {
    std::remove(files.solved.c_str());
    std::remove(files.wcs.c_str());
}

// The WCS with the image's sides, then the one byte the clients wait for: .solved last, so that a
// client that sees it finds the whole .wcs.
std::string WriteAnswer(const SolveFieldFiles& files, const ImageSides& sides, const SolveOutcome& o) {
    std::string header;
    if (!ReadWholeFile(files.wcs, header) || header.empty()) return "the WCS was not written to " + files.wcs;
    const int width = sides.width > 0 ? sides.width : o.width,
              height = sides.height > 0 ? sides.height : o.height;
    if (!WriteFileAtomically(files.wcs, WithImageSides(header, width, height)))
        return "cannot write " + files.wcs;
    if (!WriteFileAtomically(files.solved, std::string(1, '\x01'))) return "cannot write " + files.solved;
    return "";
}

}  // namespace

int RunSolveField(const std::vector<std::string>& args) {
    SolveFieldRequest r = ParseSolveFieldCommandLine(args);
    if (r.help) {
        std::cout << kSolveFieldHelp;
        return kExitSolved;
    }
    for (const auto& note : r.notes)
        Note(note);
    r.notes.clear();
    // Without -O an earlier answer is kept and nothing is solved (the clients pass -O); any other is
    // removed, even before a refusal, so that it cannot pass for this run's.
    const SolveFieldFiles files = OutputFiles(r);
    const bool earlier = !r.overwrite && !r.options.image.empty() && FileExists(files.solved);
    if (!earlier && !r.options.image.empty()) RemoveAnswer(files);
    if (!r.error.empty()) return Refuse(r.error);
    if (earlier) {
        Note(files.solved +
             " is there from an earlier run: kept, the image is not solved again (-O "
             "solves it again)");
        return kExitSolved;
    }
    std::error_code ec;
    if (!r.dir.empty()) std::filesystem::create_directories(r.dir, ec);

    if (!std::filesystem::is_regular_file(r.options.image, ec))
        return Refuse("cannot read the image " + r.options.image);
    const ImageSides sides = ImageSize(r.options.image);
    std::string error = SettleScaleBounds(r, sides.width, ReadHeaderHints(r.options.image).pixelSize);
    for (const auto& note : r.notes)
        Note(note);
    if (!error.empty()) return Refuse(error);

    r.options.wcs = files.wcs;
    const std::string cancel = r.cancel;
    const auto cancelled = [&cancel] { return !cancel.empty() && FileExists(cancel); };
    std::vector<std::string> notes;
    SolveResult result = SolveImage(r.options, notes, cancelled);
    for (const auto& note : notes)
        Note(note);
    SolveOutcome& o = result.outcome;
    if (!result.error.empty() && !o.solved) {
        if (result.kind != SolveError::NoScale) return Refuse(result.error);
        // Not a usage error: the clients send no scale when they know none.
        Note("the image scale is unknown: give -L and -H, or a scale in the FITS header");
        o.message = "the image scale is unknown";
        result.error.clear();
    }
    // A client that has cancelled wants no answer, even one found at the last moment.
    if (cancelled()) {
        Note("cancelled: " + cancel + " appeared");
        o.solved = false;
        o.message = "cancelled";
    }
    if (o.solved && result.error.empty()) error = WriteAnswer(files, sides, o);
    if (!o.solved || !error.empty() || !result.error.empty()) RemoveAnswer(files);
    if (!error.empty() || !result.error.empty()) return Refuse(error.empty() ? result.error : error);
    PrintSolveOutcome(o, std::cout);
    return o.solved ? kExitSolved : kExitNotSolved;
}

}  // namespace tornel
