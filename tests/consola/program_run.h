#pragma once
// A console program run to its end on a program folder, the smallest folder that reaches a search,
// and a field to search there.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "herramientas/render/render.h"
#include "tests/support/temp_folder.h"

namespace tornel::testing {

inline std::string Quoted(const std::string& s) {
    return "'" + s + "'";
}

struct ProgramRun {
    int status = -1;
    std::string out, err;
};

// `program` of the build's consola folder with `args`, each quoted, on the folder `home`.
inline ProgramRun RunProgram(const TempFolder& home, const std::string& program,
                             const std::vector<std::string>& args) {
    std::string command = "TORNEL_HOME=" + Quoted(home.Path()) + " " +
                          Quoted(std::string(TORNEL_BINARY_DIR) + "/consola/" + program);
    for (const auto& a : args)
        command += " " + Quoted(a);
    command += " >" + Quoted(home.File("out.txt")) + " 2>" + Quoted(home.File("err.txt"));
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, home.Read("out.txt"), home.Read("err.txt")};
}

// A program folder from a first start, with empty database files: enough to reach the search.
inline bool EmptyDatabases(const TempFolder& home) {
    if (RunProgram(home, "tornel-cli", {}).status != 0) return false;
    for (const char* name : {"est.bin", "pgc.bin", "ani090.bin", "pole000.bin", "pole179.bin",
                             "estDEC_ID1x1g.bin", "tri2g02.bin"})
        home.Write(name, "");
    return true;
}

// A 500 x 400 star field as FITS with `cards` in its header, of no sky any database holds.
inline std::string SmallField(const TempFolder& home, const std::string& name,
                              const std::vector<std::string>& cards) {
    render::Field field;
    field.width = 500, field.height = 400, field.psfSigma = 2.5;
    field.stars = render::RandomStars(8, 500, 400, 30, 60, 250000, 350000, 5);
    EXPECT_TRUE(
        render::WriteFits(home.File(name), render::Render(field), render::FitsStorage::Unsigned, cards));
    return home.File(name);
}

}  // namespace tornel::testing
