// Rounding, checked conversions, numeric text and the picture formats of the user's texts.
#include "comun/numbers.h"

#include <gtest/gtest.h>

#include <cmath>

#include "comun/errors.h"
#include "comun/text_encoding.h"

namespace tornel {
namespace {

int ErrorOf(void (*f)()) {
    try {
        f();
    } catch (const NumberedError& e) {
        return e.number();
    }
    return 0;
}

TEST(Numbers, RoundHalfToEvenAndCheckedRanges) {
    EXPECT_EQ(ToLong(2.5), 2);
    EXPECT_EQ(ToLong(3.5), 4);
    EXPECT_EQ(ToLong(-2.5), -2);
    EXPECT_EQ(ToLong(2147483647.4), 2147483647);
    EXPECT_EQ(ToInteger(32767.4), 32767);
    EXPECT_EQ(ToInteger(-32768), -32768);
    EXPECT_EQ(ErrorOf([] { ToInteger(32767.5); }), kErrOverflow);
    EXPECT_EQ(ErrorOf([] { ToLong(2147483647.5); }), kErrOverflow);
    EXPECT_EQ(ErrorOf([] { ToLong(NAN); }), kErrOverflow);
    EXPECT_EQ(ErrorOf([] { CheckInteger(40000); }), kErrOverflow);
    EXPECT_DOUBLE_EQ(IntFloor(-1.5), -2);
}

TEST(Numbers, NumericTextAcceptsEitherSeparator) {
    EXPECT_DOUBLE_EQ(TextToDouble(" 12.5 "), 12.5);
    EXPECT_DOUBLE_EQ(TextToDouble("-12,5"), -12.5);
    EXPECT_DOUBLE_EQ(TextToDouble("+.5"), 0.5);
    EXPECT_DOUBLE_EQ(TextToDouble("3.2768E4"), 32768);
    EXPECT_DOUBLE_EQ(TextToDouble("1d2"), 100);
    for (const char* bad : {"", " ", "1.2.3", "1,2.3", "abc", "12a", "e5", "1e", "--1", "1 2"}) {
        EXPECT_FALSE(IsNumeric(bad)) << bad;
        EXPECT_THROW(TextToDouble(bad), NumberedError) << bad;
    }
    EXPECT_EQ(ErrorOf([] { TextToDouble("x"); }), kErrTypeMismatch);
    EXPECT_EQ(TextToLong("6.5"), 6);
    EXPECT_EQ(ErrorOf([] { TextToInteger("70000"); }), kErrOverflow);
    EXPECT_EQ(PointForComma("1,5;2,5"), "1.5;2.5");
}

TEST(Numbers, ShortestTextReadsBack) {
    EXPECT_EQ(ShortestText(0.5), "0.5");
    EXPECT_EQ(ShortestText(12.0), "12");
    EXPECT_EQ(ShortestText(-0.0), "0");
    EXPECT_EQ(ShortestText(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(ShortestText(7LL), "7");
    double x = 206265 * std::atan(1.0 / 133928);
    EXPECT_EQ(TextToDouble(ShortestText(x)), x);
}

TEST(Numbers, PictureFormats) {
    EXPECT_EQ(FormatNumber(83.82214, "000.0000"), "083.8221");
    EXPECT_EQ(FormatNumber(-5.39114, "00.0000"), "-05.3911");
    EXPECT_EQ(FormatNumber(5.0, "00"), "05");
    EXPECT_EQ(FormatNumber(123.0, "00"), "123");
    EXPECT_EQ(FormatNumber(0.25, "0.0"), "0.3");  // ties away from zero
    EXPECT_EQ(FormatNumber(-0.25, "0.0"), "-0.3");
    EXPECT_EQ(FormatNumber(2.0, "000.00"), "002.00");
    EXPECT_EQ(FormatNumber(12.34, "#00.0"), "12.3");
    EXPECT_EQ(FormatNumber(1.5, "#.#"), "1.5");
    EXPECT_EQ(FormatNumber(2.0, "#.#"), "2");
    EXPECT_EQ(FormatNumber(0.9996, "0.000"), "1.000");
    EXPECT_EQ(RightJustify("3.25", 8), "    3.25");
    EXPECT_EQ(RightJustify("123456789", 8), "23456789");
}

TEST(Numbers, CheckedFloatingPointRaisesTheRoutinesError) {
    volatile double zero = 0;
    EXPECT_EQ(ErrorOf([] {
                  FpCheck check;
                  volatile double z = 0;
                  volatile double r = 1 / z;
                  (void)r;
                  check.Check();
              }),
              kErrDivisionByZero);
    EXPECT_EQ(ErrorOf([] {
                  FpCheck check;
                  volatile double m = -1;
                  volatile double r = std::sqrt(m);
                  (void)r;
                  check.Check();
              }),
              kErrInvalidCall);
    EXPECT_EQ(ErrorOf([] { FpCheck::Finite(HUGE_VAL); }), kErrOverflow);
    EXPECT_DOUBLE_EQ(FpCheck::Finite(2.0 + zero), 2.0);
}

TEST(TextEncoding, Latin1AtTheFileBoundary) {
    EXPECT_EQ(Utf8ToLatin1("05°23' é"), std::string("05\xB0"
                                                    "23' \xE9"));
    EXPECT_EQ(Latin1ToUtf8(std::string("05\xB0"
                                       "23'")),
              "05°23'");
    EXPECT_EQ(Utf8ToLatin1("€"), "?");
}

}  // namespace
}  // namespace tornel
