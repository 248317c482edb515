// Parsers of FITS card values. They take the 70 characters behind "= " and answer through their
// out-arguments; none of them raises.
#include <cmath>
#include <string>

#include "comun/numbers.h"
#include "imagen/fits.h"

namespace tornel {

namespace {

// The text before the first "/", the comment mark of a card.
std::string_view BeforeComment(std::string_view t) {
    return t.substr(0, t.find('/'));
}

// Position of the first " " or ":" at or after `from`.
size_t NextSeparator(std::string_view t, size_t from) {
    return t.find_first_of(" :", from);
}

// The three fields of a sexagesimal text; false when any is missing or not a number.
bool ThreeFields(std::string_view texto, double& a, double& b, double& s) {
    std::string t = Trim(PointForComma(texto));
    size_t p1 = NextSeparator(t, 0);
    if (p1 == std::string::npos) return false;
    std::string first = t.substr(0, p1);
    size_t p2 = NextSeparator(t, p1 + 1);
    // The text ends after the second number: the seconds are missing.
    if (p2 == std::string::npos) return false;
    std::string second = t.substr(p1 + 1, p2 - p1 - 1);
    std::string third = t.substr(p2 + 1);
    if (!IsNumeric(first) || !IsNumeric(second) || !IsNumeric(third)) return false;
    a = TextToDouble(first);
    b = TextToDouble(second);
    s = TextToDouble(third);
    return true;
}

// The part between the first and the second quote, or nothing when there is no quote.
bool Quoted(std::string_view t, std::string_view& inside) {
    size_t q1 = t.find('\'');
    if (q1 == std::string_view::npos) return false;
    size_t q2 = t.find('\'', q1 + 1);
    inside = t.substr(q1 + 1, q2 == std::string_view::npos ? std::string_view::npos : q2 - q1 - 1);
    return true;
}

// A card value as a number text for LeeEnteroDeFits and LeeRealDeFits; empty when there is none.
std::string PlainNumberText(std::string_view texto) {
    std::string_view t = texto;
    if (size_t q = t.find('\''); q != std::string_view::npos) {
        t = t.substr(q + 1);
        // An empty quoted value ('') holds no number.
        if (!t.empty() && t.front() == '\'') return {};
        t = t.substr(0, t.find('\''));
    }
    t = BeforeComment(t);
    size_t start = t.find_first_not_of(' ');
    if (start == std::string_view::npos) return {};
    t = t.substr(start);
    t = t.substr(0, t.find(' '));
    return PointForComma(t);
}

bool IsInteger(std::string_view t) {
    size_t i = (!t.empty() && (t[0] == '+' || t[0] == '-')) ? 1 : 0;
    if (i == t.size()) return false;
    for (; i < t.size(); ++i)
        if (t[i] < '0' || t[i] > '9') return false;
    return true;
}

// A number without exponent, as the mantissa and exponent of LeeRealDeFits must be.
bool IsPlainDecimal(std::string_view t) {
    return IsNumeric(t) && t.find_first_of("eEdD") == std::string_view::npos;
}

}  // namespace

void SacaNumericoDeFits(std::string_view texto, double& valor, bool& ok) {
    ok = false;
    if (texto.empty()) return;
    std::string t = Trim(texto);
    size_t slash = t.find('/');
    if (slash == 0) return;
    t = ToUpper(Trim(t.substr(0, slash)));
    // The allowed characters as the program has always listed them, zero twice.
    constexpr std::string_view kAllowed = "01234567890-+.,ED";
    int separators = 0;
    for (char ch : t) {
        if (kAllowed.find(ch) == std::string_view::npos) return;
        if (ch == '.' || ch == ',') ++separators;
    }
    if (separators >= 2) return;
    if (!IsNumeric(t)) return;
    valor = TextToDouble(t);
    ok = true;
}

void LeeRAsexagesimal(std::string_view texto, double& valor, bool& ok) {
    ok = false;
    valor = -1;
    double h = 0, m = 0, s = 0;
    if (!ThreeFields(texto, h, m, s)) return;
    double v = h * 15 + m * 0.25 + s * 0.00417;
    if (!(v >= 0 && v < 360)) return;
    valor = v;
    ok = true;
}

void LeeDECsexagesimal(std::string_view texto, double& valor, bool& ok) {
    ok = false;
    valor = -1;
    double d = 0, m = 0, s = 0;
    if (!ThreeFields(texto, d, m, s)) return;
    double sign = d > 0 ? 1 : (d < 0 ? -1 : 0);
    double v = sign * (std::fabs(d) + m / 60 + s / 3600) + 90;
    if (!(v >= 0 && v <= 180)) return;
    valor = v;
    ok = true;
}

namespace {

// The common road of LeeRAdeFits and LeeDECdeFits: plain degrees (plus `offset`) or a quoted
// sexagesimal text, within lo..hi.
template <class Sexagesimal>
void ReadCentre(std::string_view texto, double& valor, bool& ok, double offset, double hi,
                Sexagesimal sexagesimal) {
    valor = -1;
    ok = false;
    size_t slash = texto.find('/');
    if (slash == 0) return;
    std::string_view t = texto.substr(0, slash);
    std::string_view inside;
    double v = -1;
    bool read = false;
    if (!Quoted(t, inside)) {
        SacaNumericoDeFits(t, v, read);
        v += offset;
    } else {
        sexagesimal(inside, v, read);
    }
    if (!read || !(v >= 0 && v <= hi)) return;
    valor = v;
    ok = true;
}

}  // namespace

void LeeRAdeFits(std::string_view texto, double& valor, bool& ok) {
    ReadCentre(texto, valor, ok, 0, 360, LeeRAsexagesimal);
    if (ok && valor == 360) valor = 0;
}

void LeeDECdeFits(std::string_view texto, double& valor, bool& ok) {
    ReadCentre(texto, valor, ok, 90, 180, LeeDECsexagesimal);
}

void LeeEnteroDeFits(std::string_view texto, int32_t& valor) {
    std::string t = PlainNumberText(texto);
    if (!IsInteger(t) || !IsNumeric(t)) return;
    double v = TextToDouble(t);
    if (v < -2147483648.0 || v > 2147483647.0) return;
    valor = static_cast<int32_t>(v);
}

void LeeRealDeFits(std::string_view texto, double& valor) {
    std::string t = PlainNumberText(texto);
    if (t.empty()) return;
    size_t e = t.find_first_of("Ee");
    if (e == std::string::npos) {
        if (IsPlainDecimal(t)) valor = TextToDouble(t);
        return;
    }
    std::string mantissa = t.substr(0, e), exponent = t.substr(e + 1);
    if (!IsPlainDecimal(mantissa) || !IsPlainDecimal(exponent)) return;
    double v = TextToDouble(mantissa) * std::pow(10.0, TextToDouble(exponent));
    if (std::isfinite(v)) valor = v;
}

}  // namespace tornel
