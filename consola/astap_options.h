#pragma once
// The command line of the `-f IMAGE` solver contract that KStars/Ekos, CCDciel and NINA send, read
// into the options of one solve and the files to leave behind.
#include <optional>
#include <string>
#include <vector>

#include "consola/solve_options.h"

namespace tornel {

struct AstapRequest {
    SolveOptions options;       // image, position, radius, stars; the scale once the height is known
    std::optional<double> fov;  // image height, degrees; none for "-fov 0" or no -fov
    std::string base;           // the output files are base + ".ini", ".wcs", ".log"
    bool writeWcs = false, update = false, log = false;
    std::string commandLine;  // for the CMDLINE key
    std::vector<std::string> ignored;
    std::string error;  // names the bad item; empty when all is well
};

// The arguments after the program's name.
AstapRequest ParseAstapCommandLine(const std::vector<std::string>& args);

// The scale of `-fov` over the image's height in pixels, into the options; an error when the height
// cannot be known. Nothing to do without -fov.
std::string SettleFieldHeight(AstapRequest& request, int height);

}  // namespace tornel
