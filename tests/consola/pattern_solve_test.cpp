// The pattern search through tornel-cli solve on fields of the generated sky: no scale and no
// position, either parity, a wide field, the hints that narrow it, and the choice of road.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "tests/consola/program_run.h"
#include "tests/support/generated_sky.h"

namespace tornel {
namespace {

class PatternSolve : public testing::GeneratedSkyTest {
  protected:
    void SetUp() override {}

    // The database of `base` with the pattern index, and parameters whose scale and angle are wrong.
    void Databases(int32_t base) {
        Build(base, true);
        Parameters(77, false, [](Context& c) {
            c.gSegundosPorPixelX = c.gSegundosPorPixelY = 9;
            c.gFocalEnPixeles = FocalDesdeEscala(9);
            CalculaValoresDerivados(c);
        });
    }

    std::map<std::string, std::string> Solve(std::vector<std::string> args, int expectedStatus) {
        args.insert(args.begin(), "solve");
        args.push_back("--json");
        const testing::ProgramRun r = testing::RunProgram(home, "tornel-cli", args);
        EXPECT_EQ(r.status, expectedStatus) << r.out << r.err;
        std::map<std::string, std::string> json;
        // Flat JSON of numbers, strings and booleans: enough to split on commas here.
        std::string body = r.out.substr(r.out.find('{') + 1);
        body = body.substr(0, body.rfind('}'));
        size_t at = 0;
        while (at < body.size()) {
            const size_t colon = body.find(':', at), comma = body.find(", \"", colon);
            std::string key = body.substr(at, colon - at), value = body.substr(colon + 1, comma - colon - 1);
            key = key.substr(key.find('"') + 1);
            key = key.substr(0, key.find('"'));
            json[key] = value.substr(value.find_first_not_of(' '));
            if (comma == std::string::npos) break;
            at = comma + 2;
        }
        err = r.err;
        out = r.out;
        return json;
    }

    void ExpectAt(const std::map<std::string, std::string>& json, double ra, double dec, double tolerance) {
        ASSERT_EQ(json.at("solved"), "true");
        EXPECT_LT(std::fabs(std::remainder(std::stod(json.at("ra_deg")) - ra, 360.0)) *
                      std::cos(dec * std::numbers::pi / 180),
                  tolerance);
        EXPECT_LT(std::fabs(std::stod(json.at("dec_deg")) - dec), tolerance);
    }

    // The sky at the centre of the field last rendered, as the program counts its pixels.
    void Centre(double& ra, double& dec) {
        const double y =
            geometry.mirror ? geometry.height + 1 - geometry.height / 2.0 : geometry.height / 2.0;
        db::PixelToSky(geometry, geometry.width / 2.0, y, ra, dec);
    }

    std::string err, out;
};

TEST_F(PatternSolve, NoScaleNoPositionAnyAngleEitherParity) {
    Databases(2);
    for (const bool mirror : {false, true}) {
        const std::string image = Render({150.2, -29.7, 0, mirror ? 211.0 : 33.0, 0, 0, mirror});
        double ra = 0, dec = 0;
        Centre(ra, dec);
        const auto json = Solve({image}, 0);
        ExpectAt(json, ra, dec, 3 * scale / 3600);
        EXPECT_EQ(json.at("road"), "\"patterns\"");
        EXPECT_NEAR(std::stod(json.at("scale_arcsec")), scale, 0.01 * scale);
        EXPECT_NE(err.find("the pattern search runs alone"), std::string::npos) << err;
    }
    // Without the patterns a scale is needed.
    Solve({home.File("field.fit"), "--no-patterns"}, 2);
}

TEST_F(PatternSolve, AWideFieldSolvesFirstByPatternsAndHintsNarrowTheSearch) {
    Databases(2);
    scale = 25;  // 7.1 x 6.3 degrees: the whole cap and the sparse sky around it
    const std::string image = Render({0.5, 9.5, 0, 120, 0, 0, false});
    double ra = 0, dec = 0;
    Centre(ra, dec);
    // A position: the field is too wide for the distance road, which is not tried.
    auto json =
        Solve({image, "--scale-low", "20", "--scale-high", "30", "--ra", "1", "--dec", "10", "--verbose"}, 0);
    ExpectAt(json, ra, dec, 3 * scale / 3600);
    EXPECT_EQ(json.at("road"), "\"patterns\"");
    // The patterns make their own stars: the database roads' extraction was never needed.
    EXPECT_EQ(out.find("Stars extraction time"), std::string::npos) << out;
    // A scale range that excludes the true one, or a position far away within a small radius, and
    // nothing is found; the triangle road, tried after the patterns, extracted its stars first.
    Solve({image, "--scale-low", "40", "--scale-high", "60", "--no-mirror", "--verbose"}, 1);
    EXPECT_LT(out.find("** PATTERNS **"), out.find("Stars extraction time")) << out;
    EXPECT_NE(out.find("Searching triangles", out.find("Stars extraction time")), std::string::npos) << out;
    Solve({image, "--ra", "150", "--dec", "-30", "--radius", "5", "--no-mirror"}, 1);
    // The same position within 5 degrees is enough.
    json = Solve({image, "--ra", "3", "--dec", "12", "--radius", "5"}, 0);
    ExpectAt(json, ra, dec, 3 * scale / 3600);
}

TEST_F(PatternSolve, ANarrowFieldWithAPositionGoesToTheDistanceRoadFirst) {
    Databases(1);
    const std::string image = Render({0.05, 10.2, 0, 0, 0, 0, false});
    double ra = 0, dec = 0;
    Centre(ra, dec);
    auto json =
        Solve({image, "--scale", "2", "--angle", "0.3", "--ra", "0", "--dec", "10", "--radius", "2.5"}, 0);
    ExpectAt(json, ra, dec, 3 * scale / 3600);
    EXPECT_EQ(json.at("road"), "\"distances\"");
    // With the wrong angle and parity the distance road fails, and the patterns find it.
    json = Solve(
        {image, "--scale", "2", "--angle", "200", "--mirror", "--ra", "0", "--dec", "10", "--radius", "2.5"},
        0);
    ExpectAt(json, ra, dec, 3 * scale / 3600);
    EXPECT_EQ(json.at("road"), "\"patterns\"");
}

TEST_F(PatternSolve, ASolvedFieldListsTheObjectsOnIt) {
    // Objects at the centre of the field to come and in its corner, one a degree off.
    objects = {{150.2f, -29.7f, 5, "NGC 1"}, {150.2f, -28.7f, 5, "NGC 2"}};
    Databases(2);
    const std::string image = Render({150.2, -29.7, 0, 33.0, 0, 0, false});
    const testing::ProgramRun r = testing::RunProgram(home, "tornel-cli", {"solve", image});
    ASSERT_EQ(r.status, 0) << r.out << r.err;
    const size_t at = r.out.find("Objects in the image");
    ASSERT_NE(at, std::string::npos) << r.out;
    EXPECT_NE(r.out.find("NGC 1", at), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("NGC 2"), std::string::npos) << r.out;
}

}  // namespace
}  // namespace tornel
