#pragma once
// `tornel-solve-field`: one solve for the programs that speak the solve-field contract, answered with
// the BASE.solved and BASE.wcs files they look for.
#include <string>
#include <vector>

namespace tornel {

// The arguments after the program's name; answers the exit status: 0 solved (or an earlier answer
// kept), 1 not solved, 2 bad usage or set-up.
int RunSolveField(const std::vector<std::string>& args);

}  // namespace tornel
