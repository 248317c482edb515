// tornel-astap: Tornel behind the `-f IMAGE` solver command line of KStars/Ekos, CCDciel and NINA.
#include <string>
#include <vector>

#include "consola/astap_run.h"

int main(int argc, char** argv) {
    return tornel::RunAstap(std::vector<std::string>(argv + 1, argv + argc));
}
