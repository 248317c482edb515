#include "astrometria/text_utilities.h"

#include <cmath>
#include <cstdlib>
#include <ctime>

#include "comun/files.h"
#include "comun/numbers.h"

namespace tornel {

namespace {

// The numeric part of a typed entry, or empty when nothing numeric is left.
std::string NumericEntry(const Context& c, std::string_view texto) {
    std::string t = Trim(texto);
    if (t.empty()) return {};
    for (char& ch : t)
        if (std::string_view("0123456789.,-+ ").find(ch) == std::string_view::npos) ch = ' ';
    t = Trim(t);
    if (t.empty()) return {};
    t = t.substr(0, t.find(' '));
    t = AjustaSeparadorDecimal(c, t);
    return IsNumeric(t) ? t : std::string{};
}

// Whole seconds within the year, months counted as 31 days: the order of two dates of one year.
struct YearAndSeconds {
    int year = 0;
    long long seconds = 0;
};

YearAndSeconds Split(double date) {
    auto t = static_cast<std::time_t>(std::floor(date));
    std::tm tm{};
    localtime_r(&t, &tm);
    long long s = ((static_cast<long long>(tm.tm_mon + 1) * 31 + tm.tm_mday) * 24 + tm.tm_hour) * 3600 +
                  tm.tm_min * 60 + tm.tm_sec;
    return {tm.tm_year, s};
}

}  // namespace

std::string AjustaSeparadorDecimal(const Context& c, std::string_view texto) {
    if (!c.gDecimalConComa) return PointForComma(texto);
    std::string r(texto);
    for (char& ch : r)
        if (ch == '.') ch = ',';
    return r;
}

int32_t LeeEnteroDeTexto(std::string_view texto) {
    return TextToLong(texto);
}

double LeeRealDeTexto(const Context& c, std::string_view texto) {
    return TextToDouble(AjustaSeparadorDecimal(c, texto));
}

bool ValidaEntero(const Context& c, std::string_view texto, int32_t minimo, int32_t maximo, int32_t& valor) {
    std::string t = NumericEntry(c, texto);
    if (t.empty()) return false;
    double v = RoundHalfEven(std::strtod(PointForComma(t).c_str(), nullptr));
    if (!(v >= -2147483648.0 && v <= 2147483647.0)) return false;
    valor = static_cast<int32_t>(v);
    return minimo <= valor && valor <= maximo;
}

bool ValidaReal(const Context& c, std::string_view texto, double minimo, double maximo, double& valor) {
    std::string t = NumericEntry(c, texto);
    if (t.empty()) return false;
    double v = std::strtod(PointForComma(t).c_str(), nullptr);
    if (!std::isfinite(v)) return false;
    valor = v;
    return minimo <= valor && valor <= maximo;
}

bool FechaEsPosterior(double a, double b) {
    YearAndSeconds x = Split(a), y = Split(b);
    if (x.year != y.year) return x.year > y.year;
    return x.seconds > y.seconds;
}

bool CopiaFichero(const std::string& origen, const std::string& destino) {
    return CopyFileAtomically(origen, destino);
}

}  // namespace tornel
