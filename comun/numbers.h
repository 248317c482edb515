#pragma once
// Numeric and numeric-text rules shared by the whole program: rounding half to even, checked
// integer conversions, the number formats of the user's texts and the decimal separator rule.
#include <cfenv>
#include <cstdint>
#include <string>
#include <string_view>

namespace tornel {

// Nearest integer value, ties to even, as a double.
double RoundHalfEven(double x);

// Rounded (ties to even) and range-checked conversions; out of range raises error 6.
int32_t ToLong(double x);
int16_t ToInteger(double x);
// Range check of an integer that is to live in 16 bits; raises error 6.
int16_t CheckInteger(long long x);

// Floor, as a double.
double IntFloor(double x);

// Trims blanks (and tabs) at both ends.
std::string Trim(std::string_view s);
std::string ToLower(std::string_view s);
std::string ToUpper(std::string_view s);

// A number in text: blanks around it, an optional sign, digits with one decimal separator ("." or
// ","), an optional exponent. Both separators are accepted, since the program runs in the C locale.
bool IsNumeric(std::string_view text);
// Converts or raises error 13 (type mismatch).
double TextToDouble(std::string_view text);
// Converts, rounding ties to even; raises 13 on bad text and 6 out of range.
int32_t TextToLong(std::string_view text);
int16_t TextToInteger(std::string_view text);

// Every "," becomes "." (the program works with a decimal point).
std::string PointForComma(std::string_view text);

// Shortest decimal text that reads back as the same number ("0.5", "12", "1.5401385545849523").
std::string ShortestText(double x);
std::string ShortestText(long long x);
// The general number text of other programs' files: at most 15 significant digits, trailing zeros
// dropped, exponent form "1.5E-05" below 1E-04 and from 1E+15 on.
std::string GeneralText(double x);

// Picture formats of the user's texts: "0", "00", "000", "0.0", "0.00", "000.00", "#00.0", "#.#"...
// '0' is a digit always printed, '#' a digit printed when significant; the integer part keeps all its
// digits; a negative value gets a leading "-". Rounds half away from zero on the decimal digits.
std::string FormatNumber(double x, std::string_view picture);

// Rightmost `width` characters of `width` blanks joined to text.
std::string RightJustify(std::string_view text, int width);

// Checked floating point: clears the flags on construction; Check() raises 11 on a division by zero,
// 5 on an invalid operation and 6 on an overflow that happened since. The flags found on
// construction come back on destruction, so that a checked routine called inside another one
// neither hides the caller's flags nor leaves its own (already handled) behind.
class FpCheck {
  public:
    FpCheck() {
        std::fegetexceptflag(&saved_, FE_ALL_EXCEPT);
        std::feclearexcept(FE_ALL_EXCEPT);
    }
    ~FpCheck() { std::fesetexceptflag(&saved_, FE_ALL_EXCEPT); }
    FpCheck(const FpCheck&) = delete;
    FpCheck& operator=(const FpCheck&) = delete;
    void Check() const;
    // Raises when x is not finite; the guard for single results.
    static double Finite(double x);

  private:
    std::fexcept_t saved_{};
};

}  // namespace tornel
