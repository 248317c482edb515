#pragma once
// `tornel-cli solve IMAGE [options]`: one image solved with the hints of its command line and header,
// on the parameters of the program folder changed for this run only.
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "consola/solve_options.h"

namespace tornel {

// What one solve found.
struct SolveOutcome {
    bool solved = false;
    double ra = 0, dec = 0;  // J2000 centre, degrees
    double scale = 0;        // measured, arcsec per pixel
    double angle = 0;        // image angle, degrees
    double seconds = 0;      // wall time of the run
    bool mirror = false;
    int sides = 0, database = 0;
    std::string road;           // "patterns", "distances" or "triangles": the search that solved
    int width = 0, height = 0;  // image pixels
    std::string message;        // the result label, or why there is no solution
    // The catalogue's deep-sky objects on the solved image, at pixels of the file (x from 1 at the
    // left, y from 1 at the bottom row, as the WCS counts them).
    struct Object {
        std::string name;
        double ra = 0, dec = 0, x = 0, y = 0;
    };
    std::vector<Object> objects;
};

// What stood in the way of a solve, for the front ends whose exit codes tell them apart.
enum class SolveError { None, NoScale, Hints, Image, Setup, Output };

struct SolveResult {
    SolveOutcome outcome;
    std::string error;  // the set-up, files or hints that stood in the way (a usage error)
    SolveError kind = SolveError::None;
    bool stopped = false;  // by the time limit, a signal or the caller
};

// One image solved as `tornel-cli solve` does it, for the front ends that speak other command lines:
// the hints of the options and the FITS header settled (how, into `notes`), then runs on the
// parameters of the program folder changed for this run only, one database and parity after another
// until one solves (each failed run is a line of `notes`). `stopWanted`, when given, is asked
// while the search runs and stops it when it answers true.
SolveResult SolveImage(const SolveOptions& options, std::vector<std::string>& notes,
                       const std::function<bool()>& stopWanted);

// The readable block of an outcome: the centre in sexagesimal and in degrees, the scale, the angle.
void PrintSolveOutcome(const SolveOutcome& outcome, std::ostream& out);

// The arguments after "solve"; answers the exit status: 0 solved, 1 not solved, 2 bad usage or set-up.
int RunSolve(const std::vector<std::string>& args);

}  // namespace tornel
