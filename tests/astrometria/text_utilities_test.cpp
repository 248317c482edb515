// Typed numbers, the decimal separator rule and the order of file dates.
#include "astrometria/text_utilities.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "tests/support/test_program.h"

namespace tornel {
namespace {

using testing::TestProgram;

TEST(TextUtilities, TheDecimalSeparatorFollowsTheSystem) {
    TestProgram p;
    EXPECT_EQ(AjustaSeparadorDecimal(p.c, "1,5 2.5"), "1.5 2.5");
    EXPECT_DOUBLE_EQ(LeeRealDeTexto(p.c, "-12,25"), -12.25);
    p.c.gDecimalConComa = true;
    EXPECT_EQ(AjustaSeparadorDecimal(p.c, "1,5 2.5"), "1,5 2,5");
    EXPECT_DOUBLE_EQ(LeeRealDeTexto(p.c, "0.75"), 0.75);
    EXPECT_EQ(LeeEnteroDeTexto(" 2.5 "), 2);
    EXPECT_EQ(LeeEnteroDeTexto("3.5"), 4);
}

TEST(TextUtilities, TypedNumbers) {
    TestProgram p;
    int32_t n = -1;
    // Letters become blanks and the entry is cut at the first blank.
    EXPECT_TRUE(ValidaEntero(p.c, " 12px 7", 0, 100, n));
    EXPECT_EQ(n, 12);
    // Ties round to even; the value is given back even when it is out of range.
    EXPECT_TRUE(ValidaEntero(p.c, "x2,5", 0, 10, n));
    EXPECT_EQ(n, 2);
    EXPECT_FALSE(ValidaEntero(p.c, "-150", -100, 100, n));
    EXPECT_EQ(n, -150);
    n = 7;
    for (const char* bad : {"", "   ", "abc", "1.2.3", "--", "99999999999"})
        EXPECT_FALSE(ValidaEntero(p.c, bad, -1000, 1000, n)) << bad;
    EXPECT_EQ(n, 7);
    double v = 0;
    EXPECT_TRUE(ValidaReal(p.c, "RA=83,82deg", 0, 360, v));
    EXPECT_DOUBLE_EQ(v, 83.82);
    // An exponent is not a character of a typed number: "1e5" is cut to "1".
    EXPECT_TRUE(ValidaReal(p.c, "1e5", 0, 10, v));
    EXPECT_DOUBLE_EQ(v, 1);
}

// Seconds since the epoch of a local date and time.
double Local(int year, int month, int day, int hour, int minute, int second, double fraction = 0) {
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    tm.tm_isdst = -1;
    return static_cast<double>(std::mktime(&tm)) + fraction;
}

TEST(TextUtilities, LaterByWholeSeconds) {
    EXPECT_TRUE(FechaEsPosterior(Local(2024, 3, 1, 0, 0, 0), Local(2024, 2, 29, 23, 59, 59)));
    EXPECT_FALSE(FechaEsPosterior(Local(2024, 2, 29, 23, 59, 59), Local(2024, 3, 1, 0, 0, 0)));
    // Within one second two dates are the same: a file written in the second of the last is not new.
    EXPECT_FALSE(FechaEsPosterior(Local(2024, 5, 18, 10, 0, 7, 0.9), Local(2024, 5, 18, 10, 0, 7, 0.1)));
    EXPECT_TRUE(FechaEsPosterior(Local(2024, 5, 18, 10, 0, 8), Local(2024, 5, 18, 10, 0, 7, 0.9)));
}

TEST(TextUtilities, CopyingAFile) {
    TestProgram p;
    p.home.Write("a.txt", "stars\n");
    EXPECT_TRUE(CopiaFichero(p.home.File("a.txt"), p.home.File("b.txt")));
    EXPECT_EQ(p.home.Read("b.txt"), "stars\n");
    EXPECT_FALSE(CopiaFichero(p.home.File("a.txt"), p.home.File("no/such/folder/c.txt")));
}

}  // namespace
}  // namespace tornel
