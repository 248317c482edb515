#pragma once
// `tornel-astap`: one solve for the programs that speak the `-f IMAGE` contract, answered with the
// BASE.ini (and BASE.wcs, BASE.log) files and the exit codes they read.
#include <string>
#include <vector>

namespace tornel {

// The contract's exit codes that Tornel can give.
constexpr int kAstapSolved = 0;
constexpr int kAstapNotSolved = 1;
constexpr int kAstapImageUnreadable = 16;
constexpr int kAstapNoDatabase = 32;
constexpr int kAstapUpdateFailed = 34;

// The arguments after the program's name; answers the exit status.
int RunAstap(const std::vector<std::string>& args);

}  // namespace tornel
