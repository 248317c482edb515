#pragma once
// The parameter file param.txt: 65 numbered pairs of a comment line and a value line, CR LF.
#include <optional>
#include <string>

#include "comun/context.h"

namespace tornel {

inline constexpr int kParameterPairs = 65;

// Every variable of the file at its default; also ExtraeNombreDeRuta of the default image.
void ParametrosPorDefecto(Context& c);
// Reads a parameter file; failures are told to the user, never thrown.
void CargaParametros(Context& c, const std::string& ruta);
// Writes param.txt in the program folder, through a temporary file and a rename; nothing when the
// parameters in memory are for this run only.
void GrabaParametros(Context& c);
// Saves the parameters when a stage below the run marked them changed.
void SaveChangedParameters(Context& c);
// The whole text that GrabaParametros writes.
std::string TextoParametros(Context& c);
// The comment line of pair n (1 to 65), without its line end.
std::string ComentarioParametro(int n);

// A profile or parameter file: a ".txt" whose first line starts with nine blanks, "1" and two dashes.
bool EsFicheroDeParametros(const std::string& ruta);
// Stores the image path, its extension in lower case without the point, and its file name.
void ExtraeNombreDeRuta(Context& c, const std::string& ruta);

// The scale values derived from gSegundosPorPixelX and gSegundosPorPixelY.
void CalculaValoresDerivados(Context& c);
// gFocalEnPixeles from the scale: the tangent of half a pixel, kept within the accepted range.
int32_t FocalDesdeEscala(double segundosPorPixel);

// Path of param.txt in the program folder.
std::string RutaParametros(const Context& c);

}  // namespace tornel
