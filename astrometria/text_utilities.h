#pragma once
// Text utilities shared by the parameter dialog, the message commands and the mailbox: the decimal
// separator rule, the tests on typed numbers, the comparison of file dates and a file copy.
#include <cstdint>
#include <string>
#include <string_view>

#include "comun/context.h"

namespace tornel {

// With gDecimalConComa off every "," becomes "."; with it on every "." becomes ",".
std::string AjustaSeparadorDecimal(const Context& c, std::string_view texto);
// Text to a 32-bit integer, rounding ties to even; error 13 on bad text, 6 out of range.
int32_t LeeEnteroDeTexto(std::string_view texto);
// AjustaSeparadorDecimal, then text to double; error 13 on bad text.
double LeeRealDeTexto(const Context& c, std::string_view texto);

// A typed number: trimmed, every character outside "0123456789.,-+ " blanked, trimmed again, cut at
// the first blank, separator adjusted. When what is left is numeric its value goes to `valor` (the
// integer form rounds ties to even) and the answer is minimo <= valor <= maximo; otherwise false and
// `valor` is untouched.
bool ValidaEntero(const Context& c, std::string_view texto, int32_t minimo, int32_t maximo, int32_t& valor);
bool ValidaReal(const Context& c, std::string_view texto, double minimo, double maximo, double& valor);

// Whether date a is later than date b (seconds since the epoch), by whole seconds of local time:
// years first, then month, day, hour, minute and second within the year.
bool FechaEsPosterior(double a, double b);

// Copies file `origen` to `destino`; false, and nothing else, when it cannot.
bool CopiaFichero(const std::string& origen, const std::string& destino);

}  // namespace tornel
