// The planets against astropy's ephemeris (tests/astrometria/planet_places.py) over 1950-2050, and
// the interpolation of a day, the short way round right ascension 0.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "astrometria/planets.h"
#include "tests/support/astropy_wcs.h"

namespace tornel {
namespace {

struct Instant {
    int32_t year, month, day;
    double hour;
};

std::vector<std::vector<double>> AstropyPlaces(const std::vector<Instant>& instants) {
    std::string command = std::string(TORNEL_PYTHON) + " '" + TORNEL_SOURCE_DIR +
                          "/tests/astrometria/planet_places.py' 2>/dev/null";
    for (const Instant& t : instants)
        command += " " + std::to_string(t.year) + " " + std::to_string(t.month) + " " +
                   std::to_string(t.day) + " " + std::to_string(t.hour);
    FILE* pipe = popen(command.c_str(), "r");
    std::vector<std::vector<double>> rows;
    if (!pipe) return rows;
    std::string text;
    char buf[512];
    while (fgets(buf, sizeof buf, pipe))
        text += buf;
    EXPECT_EQ(pclose(pipe), 0) << command;
    std::istringstream in(text);
    for (size_t k = 0; k < instants.size(); ++k) {
        std::vector<double> row(14);
        for (double& v : row)
            in >> v;
        rows.push_back(row);
    }
    EXPECT_TRUE(in) << text;
    return rows;
}

TEST(Planets, AgreeWithAstropyWithinTwoArcminutesFrom1950To2050) {
    std::mt19937 random(11);
    std::uniform_int_distribution<int32_t> year(1950, 2049), month(1, 12), day(1, 28);
    std::uniform_real_distribution<double> hour(0, 24);
    std::vector<Instant> instants;
    for (int k = 0; k < 120; ++k)
        instants.push_back({year(random), month(random), day(random), hour(random)});
    instants.push_back({1950, 1, 1, 0});
    instants.push_back({2050, 12, 31, 23.5});
    const auto reference = AstropyPlaces(instants);
    ASSERT_EQ(reference.size(), instants.size());
    std::array<double, 7> worst{};
    for (size_t k = 0; k < instants.size(); ++k) {
        const Instant& t = instants[k];
        const auto places = PlanetPlaces(t.year, t.month, t.day, t.hour);
        for (size_t p = 0; p < 7; ++p) {
            const double error = testing::SeparationDegrees(places[p].ra, places[p].dec, reference[k][2 * p],
                                                            reference[k][2 * p + 1]) *
                                 60;
            worst[p] = std::max(worst[p], error);
            EXPECT_LT(error, 2) << kPlanetNames[p] << " on " << t.year << "-" << t.month << "-" << t.day
                                << " at " << t.hour << " h";
        }
    }
    for (size_t p = 0; p < 7; ++p)
        std::printf("%s: worst %.2f arcmin\n", kPlanetNames[p], worst[p]);
}

TEST(Planets, TheDayNumberAndTheHourOfTheDay) {
    EXPECT_EQ(PlanetDayNumber(2000, 1, 1), 1);  // day 0 is 1999 December 31
    EXPECT_EQ(PlanetDayNumber(1990, 4, 19), -3543);
    // The hour moves a planet between the places of its day and of the next, the short way round
    // right ascension 0 when it crosses it.
    const int32_t d = PlanetDayNumber(2024, 3, 10);
    for (size_t p = 0; p < 7; ++p) {
        const auto today = PlanetPlacesOnDay(d)[p], tomorrow = PlanetPlacesOnDay(d + 1)[p];
        const auto noon = PlanetPlaces(2024, 3, 10, 12)[p];
        const auto midnight = PlanetPlaces(2024, 3, 10, 0)[p];
        EXPECT_NEAR(midnight.ra, today.ra, 1e-9);
        const double step = std::remainder(tomorrow.ra - today.ra, 360);
        EXPECT_NEAR(std::remainder(noon.ra - today.ra, 360), step / 2, 1e-9) << kPlanetNames[p];
        EXPECT_GE(noon.ra, 0);
        EXPECT_LT(noon.ra, 360);
    }
}

}  // namespace
}  // namespace tornel
