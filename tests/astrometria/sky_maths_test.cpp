// Sidereal time, precession to the date and horizontal coordinates, against values computed another
// way, and the fixed choices of the formulas.
#include "astrometria/sky_maths.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "tests/support/star_files.h"

namespace tornel {
namespace {

using testing::CatalogueProgram;
using testing::TestProgram;

// The rule the reduction must keep: add or subtract 360 until the angle lies in one turn.
double Stepped(double angle) {
    while (angle < 0)
        angle += 360;
    while (angle >= 360)
        angle -= 360;
    return angle;
}

// Equal as bits: the sign of a zero counts.
void ExpectSameAsStepping(double angle) {
    const double expected = Stepped(angle), got = GradosEntre0y360(angle);
    EXPECT_EQ(std::memcmp(&expected, &got, sizeof got), 0)
        << std::hexfloat << angle << " gives " << got << ", stepping " << expected;
}

TEST(SkyMaths, AnglesAreBroughtIntoOneTurnAsSteppingDoes) {
    EXPECT_EQ(GradosEntre0y360(-30), 330);
    EXPECT_EQ(GradosEntre0y360(720), 0);
    for (double a : {0.0, -0.0, 359.0, 360.0, -360.0, 720.0, -720.0, 3600.0, -3600.0, 1e-300, -1e-300,
                     -4.9e-324, -1e-14, -1e-13, 123.456, -123.456, 1e6 + 0.1, -1e6 - 0.1})
        ExpectSameAsStepping(a);
    // Exact multiples and their neighbours, where a last step up can round to 360.
    for (int turns = -2000; turns <= 2000; turns += 7) {
        const double whole = 360.0 * turns;
        ExpectSameAsStepping(whole);
        ExpectSameAsStepping(std::nextafter(whole, -1e9));
        ExpectSameAsStepping(std::nextafter(whole, 1e9));
    }
    std::mt19937_64 random(12);
    std::uniform_real_distribution<double> near(-1e4, 1e4), far(-1e7, 1e7);
    for (int i = 0; i < 3000; ++i) {
        ExpectSameAsStepping(near(random));
        ExpectSameAsStepping(far(random));
    }
    // Far out of range, where stepping would never end, it ends at once inside the turn.
    for (double a : {1e20, -1e20, 1e300, -1e300}) {
        const double r = GradosEntre0y360(a);
        EXPECT_TRUE(r >= 0 && r < 360) << a;
        if (a > 0) {
            EXPECT_EQ(r, std::fmod(a, 360.0)) << a;
        }
    }
    EXPECT_TRUE(std::isnan(GradosEntre0y360(NAN)));
    EXPECT_EQ(GradosEntre0y360(-INFINITY), -INFINITY);
}

// Greenwich mean sidereal time from astropy 5.2 (Time(t, scale="ut1").sidereal_time("mean",
// "greenwich"), IAU 2006). The program's linear formula keeps to them within 0.0005 degrees (0.12 s)
// over these four decades.
TEST(SkyMaths, SiderealTimeAgreesWithTheAlmanac) {
    TestProgram p;
    struct Case {
        int32_t y, m, d;
        double seconds, mjd, gmst;
    };
    const Case cases[] = {
        {2000, 1, 1, 43200, 51544.5, 280.4606224303974},
        {2009, 5, 18, 77400, 54969.895833333336, 199.1930002590072},
        {2024, 3, 20, 11160, 60389.129166666666, 224.64607045071787},
        {1995, 10, 31, 0, 50021.0, 38.826863760460675},
        {2030, 12, 31, 86399, 62866.99998842592, 100.44876253047158},
    };
    for (const Case& k : cases) {
        double dias = 0, sidereo = 0;
        EXPECT_TRUE(HoraGST(p.c, k.y, k.m, k.d, k.seconds, 0, dias, sidereo));
        EXPECT_NEAR(dias, k.mjd - 51544.5, 1e-9) << k.y;
        EXPECT_NEAR(sidereo, k.gmst, 0.001) << k.y;
    }
    // Zone time two hours ahead of universal time names the same instant.
    double dias = 0, sidereo = 0, diasUT = 0, sidereoUT = 0;
    HoraGST(p.c, 2009, 5, 18, 84600, 2, dias, sidereo);
    HoraGST(p.c, 2009, 5, 18, 77400, 0, diasUT, sidereoUT);
    EXPECT_DOUBLE_EQ(dias, diasUT);
    EXPECT_DOUBLE_EQ(sidereo, sidereoUT);
    // Just after midnight in zone +3 is still the day before in universal time.
    HoraGST(p.c, 2024, 3, 21, 60, 3, dias, sidereo);
    EXPECT_NEAR(dias, 60390.0 - 3.0 / 24 + 60.0 / 86400 - 51544.5, 1e-9);
}

// Positions precessed rigorously from J2000 to the mean equinox of date by astropy 5.2
// (SkyCoord(..., frame=FK5(equinox="J2000")).transform_to(FK5(equinox=date))). The first-order
// formula moves them 0.1 to 0.3 degrees and lands within 0.001 degrees for up to 25 years.
TEST(SkyMaths, FirstOrderPrecessionAgainstRigorousFK5) {
    TestProgram p;
    struct Case {
        double ra, dec, days, raDate, decDate;
    };
    const Case cases[] = {
        {10.0, 20.0, 3652.5, 10.131666444867442, 20.05481375972425},
        {250.0, -45.0, 7470.5, 250.36924494220355, -45.03859661271359},
        {83.82, -5.39, 9131.5, 84.12728083862491, -5.375390207210611},
        {180.0, 60.0, 5478.5, 180.19192963068122, 59.91649865680268},
    };
    for (const Case& k : cases) {
        double ra = 0, dec = 0;
        J2000aEpocaFecha(p.c, k.days, k.ra, k.dec, ra, dec);
        EXPECT_NEAR(ra, k.raDate, 0.001) << k.ra;
        EXPECT_NEAR(dec, k.decDate, 0.001) << k.ra;
    }
    double ra = 0, dec = 0;
    J2000aEpocaFecha(p.c, 0, -10, 33.5, ra, dec);
    EXPECT_EQ(ra, 350);
    EXPECT_EQ(dec, 33.5);
    // Past a pole the declination folds back (a century moves this star 0.5556 degrees north) and
    // the right ascension is not turned by 180.
    J2000aEpocaFecha(p.c, 36525, 0, 89.9999, ra, dec);
    EXPECT_NEAR(dec, 180 - (89.9999 + 0.5556), 1e-4);
    EXPECT_NEAR(ra, 1.2791, 1e-4);
}

// Horizontal coordinates computed by rotating the (hour angle, declination) vector about the east-west
// axis by 90 degrees minus the latitude (numpy), azimuth from north through east, longitude positive
// to the west. No refraction in these.
struct Horizon {
    double lon, lat, gst, ra, dec, alt, az;
};
const Horizon kHorizon[] = {
    {3.7, 40.4, 100.0, 50.0, 20.0, 45.7312665817, 256.7228815106},
    {-2.35, 48.85, 280.0, 10.0, 60.0, 41.7282862460, 42.0207527338},
    {0.0, 52.0, 200.0, 150.0, 80.0, 57.6460762065, 345.6070281119},
    {3.7, 40.4, 100.0, 96.3, 0.0, 49.6, 180.0},  // on the meridian, south
    {70.0, -33.9, 15.0, 300.0, -50.0, 73.4857248897, 191.3666290471},
    {3.7, 40.4, 100.0, 96.3, 50.0, 80.4, 0.0},  // on the meridian, north of the zenith
};

TEST(SkyMaths, HorizontalCoordinatesAgreeWithARotation) {
    TestProgram p;
    for (const Horizon& k : kHorizon) {
        double alt = 0, az = -1;
        EcuatorialAaltaz(p.c, k.lon, k.lat, k.gst, k.ra, k.dec, alt, az, true);
        if (k.alt <= 60) {
            EXPECT_NEAR(alt, k.alt, 1e-5) << k.ra;
        } else {
            // High stars come back refracted: a few hundredths of a degree higher.
            EXPECT_NEAR(alt, CorrigeRefraccion(k.alt), 1e-5) << k.ra;
            EXPECT_GT(alt - k.alt, 0.005);
        }
        EXPECT_NEAR(std::remainder(az - k.az, 360), 0, k.alt <= 60 ? 1e-5 : 0.05) << k.ra;
    }
    // Unasked, the azimuth is left alone. In the zenith at the equator: 90, and 180 by convention.
    double alt = 0, az = 123;
    EcuatorialAaltaz(p.c, 3.7, 40.4, 100.0, 50.0, 20.0, alt, az, false);
    EXPECT_EQ(az, 123);
    EcuatorialAaltaz(p.c, 0, 0, 0, 0, 0, alt, az, true);
    EXPECT_EQ(alt, 90);
    EXPECT_EQ(az, 180);
    EXPECT_TRUE(p.platform.messages.empty());
}

TEST(SkyMaths, RefractionOnlyAboveSixtyDegrees) {
    EXPECT_EQ(CorrigeRefraccion(45), 45);
    EXPECT_EQ(CorrigeRefraccion(60), 60);
    EXPECT_NEAR(CorrigeRefraccion(70) - 70, 0.0128, 5e-5);
    // A jump of 0.0148 degrees just above 60, and still 0.0101 at the zenith (worked out by hand).
    EXPECT_NEAR(CorrigeRefraccion(60.001) - 60.001, 0.0148, 5e-5);
    EXPECT_NEAR(CorrigeRefraccion(89.9) - 89.9, 0.0101, 5e-5);
}

TEST(SkyMaths, AltitudeOfACatalogueStarAtTheObservatory) {
    CatalogueProgram p;
    ASSERT_TRUE(p.UseDatabaseOne({{15800001, 50000000, 20000000}}));
    p.c.gLongitud = 3.7;
    p.c.gLatitud = 40.4;
    EXPECT_NEAR(AlturaDeEstrella(p.c, 15800001, 100), 45.7312665817, 1e-5);
}

TEST(SkyMaths, AFloatingPointErrorIsTheRoutinesError) {
    TestProgram p;
    double alt = 1, az = 2;
    EcuatorialAaltaz(p.c, 0, INFINITY, 0, 0, 0, alt, az, true);
    EXPECT_EQ(p.platform.messages,
              std::vector<std::string>{"Error 5 Invalid procedure call or argument EcuatorialAaltaz"});
    EXPECT_TRUE(p.c.mFinAnalisis);
    double ra = 0, dec = 0;
    // Near the pole tan(dec) is some 4e7: a long enough time overflows the step in right ascension.
    J2000aEpocaFecha(p.c, 1e308, 90, 90, ra, dec);
    EXPECT_EQ(p.platform.messages.back(), "Error 6 Overflow J2000aEpocaFecha");
}

}  // namespace
}  // namespace tornel
