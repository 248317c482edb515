#include "comun/numbers.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

#include "comun/errors.h"

namespace tornel {

double RoundHalfEven(double x) {
    // The default rounding mode of the C library is to nearest, ties to even.
    return std::nearbyint(x);
}

int32_t ToLong(double x) {
    if (!std::isfinite(x)) Raise(kErrOverflow);
    double r = RoundHalfEven(x);
    if (r < -2147483648.0 || r > 2147483647.0) Raise(kErrOverflow);
    return static_cast<int32_t>(r);
}

int16_t ToInteger(double x) {
    if (!std::isfinite(x)) Raise(kErrOverflow);
    double r = RoundHalfEven(x);
    if (r < -32768.0 || r > 32767.0) Raise(kErrOverflow);
    return static_cast<int16_t>(r);
}

int16_t CheckInteger(long long x) {
    if (x < -32768 || x > 32767) Raise(kErrOverflow);
    return static_cast<int16_t>(x);
}

double IntFloor(double x) {
    return std::floor(x);
}

namespace {
bool IsBlank(char ch) {
    return ch == ' ' || ch == '\t';
}
}  // namespace

std::string Trim(std::string_view s) {
    size_t a = 0, b = s.size();
    while (a < b && IsBlank(s[a]))
        ++a;
    while (b > a && IsBlank(s[b - 1]))
        --b;
    return std::string(s.substr(a, b - a));
}

std::string ToLower(std::string_view s) {
    std::string r(s);
    for (char& ch : r)
        if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
    return r;
}

std::string ToUpper(std::string_view s) {
    std::string r(s);
    for (char& ch : r)
        if (ch >= 'a' && ch <= 'z') ch = static_cast<char>(ch - 'a' + 'A');
    return r;
}

namespace {

// Normalises a numeric text for strtod: trimmed, one decimal point. Empty result when not a number.
std::string NumericForm(std::string_view text) {
    std::string t = Trim(text);
    size_t i = 0;
    bool digits = false, point = false;
    if (i < t.size() && (t[i] == '+' || t[i] == '-')) ++i;
    for (; i < t.size(); ++i) {
        char ch = t[i];
        if (ch >= '0' && ch <= '9') {
            digits = true;
        } else if (ch == '.' || ch == ',') {
            if (point) return {};
            point = true;
            t[i] = '.';
        } else {
            break;
        }
    }
    if (!digits) return {};
    if (i < t.size() && (t[i] == 'e' || t[i] == 'E' || t[i] == 'd' || t[i] == 'D')) {
        t[i] = 'e';
        size_t j = i + 1;
        if (j < t.size() && (t[j] == '+' || t[j] == '-')) ++j;
        size_t start = j;
        while (j < t.size() && t[j] >= '0' && t[j] <= '9')
            ++j;
        if (j == start) return {};
        i = j;
    }
    if (i != t.size()) return {};
    return t;
}

}  // namespace

bool IsNumeric(std::string_view text) {
    return !NumericForm(text).empty();
}

double TextToDouble(std::string_view text) {
    std::string t = NumericForm(text);
    if (t.empty()) Raise(kErrTypeMismatch);
    double v = std::strtod(t.c_str(), nullptr);
    if (!std::isfinite(v)) Raise(kErrOverflow);
    return v;
}

int32_t TextToLong(std::string_view text) {
    return ToLong(TextToDouble(text));
}

int16_t TextToInteger(std::string_view text) {
    return ToInteger(TextToDouble(text));
}

std::string PointForComma(std::string_view text) {
    std::string r(text);
    for (char& ch : r)
        if (ch == ',') ch = '.';
    return r;
}

std::string ShortestText(double x) {
    if (x == 0) return "0";
    char buf[64];
    auto res = std::to_chars(buf, buf + sizeof buf, x);
    return std::string(buf, res.ptr);
}

std::string ShortestText(long long x) {
    return std::to_string(x);
}

std::string GeneralText(double x) {
    if (x == 0) return "0";
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.15G", x);
    return buf;
}

std::string FormatNumber(double x, std::string_view picture) {
    size_t dot = picture.find('.');
    std::string_view whole = picture.substr(0, dot);
    std::string_view frac = dot == std::string_view::npos ? std::string_view{} : picture.substr(dot + 1);
    int minWhole = 0;
    for (char ch : whole)
        if (ch == '0') ++minWhole;
    int fixedDecimals = 0, maxDecimals = static_cast<int>(frac.size());
    for (char ch : frac)
        if (ch == '0') ++fixedDecimals;

    bool negative = x < 0;
    double a = std::fabs(x);
    // A nudge of one unit in the last place makes exact binary ties round away from zero.
    a = std::nextafter(a, std::numeric_limits<double>::infinity());
    char buf[512];
    std::snprintf(buf, sizeof buf, "%.*f", maxDecimals, a);
    std::string s(buf);
    std::string intPart = s, fracPart;
    if (size_t p = s.find('.'); p != std::string::npos) {
        intPart = s.substr(0, p);
        fracPart = s.substr(p + 1);
    }
    while (static_cast<int>(fracPart.size()) > fixedDecimals && !fracPart.empty() && fracPart.back() == '0')
        fracPart.pop_back();
    if (intPart == "0" && minWhole == 0) intPart.clear();
    while (static_cast<int>(intPart.size()) < minWhole)
        intPart.insert(0, "0");
    std::string out = negative ? "-" : "";
    out += intPart;
    if (dot != std::string_view::npos && (!fracPart.empty() || fixedDecimals > 0 || maxDecimals > 0)) {
        if (!fracPart.empty() || fixedDecimals > 0) out += "." + fracPart;
    }
    return out;
}

std::string RightJustify(std::string_view text, int width) {
    std::string s = std::string(static_cast<size_t>(width), ' ') + std::string(text);
    return s.substr(s.size() - static_cast<size_t>(width));
}

void FpCheck::Check() const {
    if (std::fetestexcept(FE_DIVBYZERO)) Raise(kErrDivisionByZero);
    if (std::fetestexcept(FE_INVALID)) Raise(kErrInvalidCall);
    if (std::fetestexcept(FE_OVERFLOW)) Raise(kErrOverflow);
}

double FpCheck::Finite(double x) {
    if (std::isnan(x)) Raise(kErrInvalidCall);
    if (std::isinf(x)) Raise(kErrOverflow);
    return x;
}

}  // namespace tornel
