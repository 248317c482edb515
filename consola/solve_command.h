#pragma once
// `tornel-cli solve IMAGE [options]`: one image solved with the hints of its command line and header,
// on the parameters of the program folder changed for this run only.
#include <string>
#include <vector>

namespace tornel {

// The arguments after "solve"; answers the exit status: 0 solved, 1 not solved, 2 bad usage or set-up.
int RunSolve(const std::vector<std::string>& args);

}  // namespace tornel
