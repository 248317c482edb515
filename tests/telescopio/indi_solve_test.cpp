// The whole road with a telescope: tornel-cli analyses a field around the position the INDI
// simulator reports, and its automatic synchronisation leaves the simulator on the solved centre.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "tests/support/generated_sky.h"
#include "tests/telescopio/indi_simulator.h"

namespace tornel {
namespace {

using testing::IndiSimulator;

class TelescopeSolve : public testing::GeneratedSkyTest {};

// The J2000 centre written to tornel.pos, in degrees ("... RA= 150.3000 DE=-29.8000 ...").
bool SolvedCentre(const std::string& pos, double& ra, double& dec) {
    const size_t r = pos.find("RA= "), d = pos.find("DE=", r);
    if (r == std::string::npos || d == std::string::npos) return false;
    ra = std::atof(pos.c_str() + r + 4);
    dec = std::atof(pos.c_str() + d + 3);
    return true;
}

TEST_F(TelescopeSolve, ModeEightSearchesAroundTheTelescopeAndSynchronisesItAfterward) {
    if (!IndiSimulator::Installed()) GTEST_SKIP() << "indiserver and its simulator are not installed";
    IndiSimulator simulator;
    ASSERT_TRUE(simulator.Running());
    simulator.PointAt(150.45 / 15, -29.7);
    Parameters(0, false, [&](Context& c) {
        c.gOrigenCoordenadas = 5;
        c.gTelescopioAscom = simulator.Identifier();
        c.gTelescopioSincro = 1;
        c.gSincroAutomatica = 1;
        c.gLadosParaSincro = 5;
    });
    const std::string image = Render({150.3, -29.8, 0, 0, 0, 0, false});
    const testing::CliOutcome r = Run(image, "");
    ASSERT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_TRUE(r.Has("Searching coordinates from the ASCOM telescope:")) << r.out;

    double ra = 0, dec = 0;
    ASSERT_TRUE(SolvedCentre(home.Read("messages/tornel.pos"), ra, dec)) << home.Read("messages/tornel.pos");
    EXPECT_LT(std::fabs(ra - 150.3), 0.002);
    // Within a second of arc, less the rounding of the file's fourth decimal.
    const double tolerance = 1.0 / 3600 + 0.00005;
    EXPECT_NEAR(simulator.Number("EQUATORIAL_EOD_COORD.RA") * 15, ra, tolerance / std::cos(dec * M_PI / 180));
    EXPECT_NEAR(simulator.Number("EQUATORIAL_EOD_COORD.DEC"), dec, tolerance);
}

TEST_F(TelescopeSolve, TheCommandLineListsTheTelescopesInReach) {
    if (!IndiSimulator::Installed()) GTEST_SKIP() << "indiserver and its simulator are not installed";
    IndiSimulator simulator;
    ASSERT_TRUE(simulator.Running());
    const std::string cli = std::string(TORNEL_BINARY_DIR) + "/consola/tornel-cli";
    auto list = [&](const std::string& server) {
        const std::string command = "'" + cli + "' --list-telescopes --indi-server " + server + " >'" +
                                    home.File("list.txt") + "' 2>/dev/null";
        const int raw = std::system(command.c_str());
        return std::make_pair(WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, home.Read("list.txt"));
    };
    const auto [found, text] = list(simulator.Server());
    EXPECT_EQ(found, 0);
    EXPECT_EQ(
        text.rfind(simulator.Identifier() + "\tINDI Telescope Simulator (indi_simulator_telescope)\n", 0), 0u)
        << text;
    const auto [none, empty] = list("127.0.0.1:" + std::to_string(testing::FreeLoopbackPort()));
    EXPECT_EQ(none, 1);
    EXPECT_EQ(empty.find("indi://"), std::string::npos);
}

}  // namespace
}  // namespace tornel
