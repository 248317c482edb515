// tornel-solve-field: Tornel behind the solve-field command line of KStars/Ekos, CCDciel, NINA and the
// INDI astrometry driver.
#include <string>
#include <vector>

#include "consola/solve_field_run.h"

int main(int argc, char** argv) {
    return tornel::RunSolveField(std::vector<std::string>(argv + 1, argv + argc));
}
