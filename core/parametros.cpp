#include "core/parametros.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "astrometria/sky_maths.h"
#include "core/errors.h"
#include "core/files.h"
#include "core/numbers.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

// Lines 49 and 50 as read; they are applied only when the whole file was read.
struct ReadState {
    double scaleX = 0, scaleY = 0;
};

using Reader = void (*)(Context&, ReadState&, const std::string&);
using Writer = std::string (*)(Context&);

struct PairSpec {
    const char* comment;
    Reader read;  // null: the value line is skipped
    Writer write;
};

// "exactly 0 is false, anything else true"
bool BooleanLine(const std::string& v) {
    return Trim(v) != "0";
}
std::string BooleanText(bool b) {
    return b ? "1" : "0";
}
std::string IntText(long long v) {
    return ShortestText(v);
}

void ScaleFromFocal(Context& c) {
    double x = 206265.0 * std::atan(1.0 / c.gFocalEnPixeles);
    c.gSegundosPorPixelX = x;
    c.gSegundosPorPixelY = x;
    CalculaValoresDerivados(c);
}

#define R [](Context & c, [[maybe_unused]] ReadState & s, const std::string& v)
#define W []([[maybe_unused]] Context & c) -> std::string

const PairSpec kPairs[kParameterPairs] = {
    {"job to do: extract = 1, extract + solve = 2", R{c.gTrabajo = TextToLong(v);
if (c.gTrabajo < 1 || c.gTrabajo > 2) c.gTrabajo = 2;
}  // namespace
, W {
    return IntText(c.gTrabajo);
}
}  // namespace tornel
, {"focal distance in pixels", R{c.gFocalEnPixeles = TextToLong(v);
if (c.gFocalEnPixeles > 0) ScaleFromFocal(c);
}
, W {
    return IntText(c.gFocalEnPixeles);
}
}
, {"language: spanish = 1 ; english = 0 ; french = 2", R{c.gIdioma = TextToLong(v);
if (c.gIdioma < 0 || c.gIdioma > 2) c.gIdioma = 0;
}
, W {
    return IntText(c.gIdioma);
}
}
, {"brightness threshold (double)", R{c.gUmbral = TextToDouble(v);
}
, W {
    return ShortestText(c.gUmbral);
}
}
, {"Min contours perimeter (integer)", R{c.gPerimetroMin = TextToLong(v);
}
, W {
    return IntText(c.gPerimetroMin);
}
}
, {"Max contours perimeter (integer)", R{c.gPerimetroMax = TextToLong(v);
if (c.gPerimetroMax < 10 || c.gPerimetroMax > 100) c.gPerimetroMax = 100;
}
, W {
    if (c.gPerimetroMax < 10 || c.gPerimetroMax > 100) c.gPerimetroMax = 100;
    return IntText(c.gPerimetroMax);
}
}
, {"maxContours (integer) for analysis", R{c.gMaxContornos = TextToInteger(v);
}
, W {
    return IntText(c.gMaxContornos);
}
}
, {"stars to be selected (integer)", R{c.gEstrellasSeleccionar = TextToInteger(v);
if (c.gEstrellasSeleccionar < 5 || c.gEstrellasSeleccionar > 10) c.gEstrellasSeleccionar = 10;
}
, W {
    return IntText(c.gEstrellasSeleccionar);
}
}
, {"percent (integer) % error for distances search", R{c.gPorcentajeError = TextToInteger(v);
c.gErrorDistancias = c.gPorcentajeError / 100.0;
}
, W {
    return IntText(c.gPorcentajeError);
}
}
, {"+/- error for inclination in degrees (integer)", R{c.gErrorInclinacion = TextToInteger(v);
}
, W {
    return IntText(c.gErrorInclinacion);
}
}
, {"width of the searching window in degrees (integer)", R{c.gAnchoVentana = TextToLong(v);
}
, W {
    return ShortestText(c.gAnchoVentana);
}
}
, {"height of the searching window in degrees (integer)", R{c.gAltoVentana = TextToLong(v);
}
, W {
    return ShortestText(c.gAltoVentana);
}
}
, {"Image path (text)", R{ExtraeNombreDeRuta(c, v);
}
, W {
    return c.gRutaImagen;
}
}
, {"Image angle (double)", R{c.gAnguloImagen = GradosEntre0y360(TextToDouble(v));
}
, W {
    return ShortestText(c.gAnguloImagen);
}
}
, {"Distances database folder path (text)", R{c.gCarpetaDistancias = WithTrailingSlash(v);
}
, W {
    return c.gCarpetaDistancias;
}
}
, {"Stars and objects databases path (text)", R{c.gCarpetaEstrellas = WithTrailingSlash(v);
}
, W {
    return c.gCarpetaEstrellas;
}
}
, {"Last image file type = 'fit' or 'bmp' or 'jpg'", R{std::string t = v.substr(0, 3);
t.resize(3, ' ');
c.gTipoImagen = t;
}
, W {
    return c.gTipoImagen;
}
}
, {"object coordinates are in 0, 1, 2, 3, ... (integer)", R{c.gOrigenCoordenadas = TextToInteger(v);
}
, W {
    return IntText(c.gOrigenCoordenadas);
}
}
, {"automatic threshold (integer)", R{c.gUmbralAutomatico = TextToInteger(v);
}
, W {
    return IntText(c.gUmbralAutomatico);
}
}
, {"ring from DEC", R{c.gAnilloDesde = TextToInteger(v);
}
, W {
    return " " + IntText(c.gAnilloDesde) + " ";
}
}
, {"ring to DEC", R{c.gAnilloHasta = TextToInteger(v);
}
, W {
    return " " + IntText(c.gAnilloHasta) + " ";
}
}
, {"black visu for BMP", R{c.gNegroBMP = TextToInteger(v);
}
, W {
    return IntText(c.gNegroBMP);
}
}
, {"white visu for BMP", R{c.gBlancoBMP = TextToInteger(v);
}
, W {
    return IntText(c.gBlancoBMP);
}
}
, {"black visu for FIT", R{c.gNegroFit = TextToLong(v);
}
, W {
    return IntText(c.gNegroFit);
}
}
, {"white visu for FIT", R{c.gBlancoFit = TextToLong(v);
}
, W {
    return IntText(c.gBlancoFit);
}
}
, {"ASCOM telescope", R{c.gTelescopioAscom = v;
}
, W {
    return c.gTelescopioAscom;
}
}
, {"telescope to synchronize (integer)", R{if (IsNumeric(v)) c.gTelescopioSincro = TextToInteger(v);
}
, W {
    return IntText(c.gTelescopioSincro);
}
}
, {"searching centre (RA combo in hours) NOT USED", nullptr, W{return " ";
}
}
, {"(listIndex of RA combo in minutes) NOT USED", nullptr, W{return " ";
}
}
, {"(listIndex of DEC combo in degrees) NOT USED", nullptr, W{return " ";
}
}
, {"Image origin ", R{c.gOrigenImagen = TextToInteger(v);
}
, W {
    return IntText(c.gOrigenImagen);
}
}
, {"Image folder used in the 'WAIT FOR' automatic mode", R{c.gCarpetaMensajes = WithTrailingSlash(v);
}
, W {
    return c.gCarpetaMensajes;
}
}
, {"minimal number of sides to stop the search", R{c.gLadosParaParar = TextToLong(v);
}
, W {
    return IntText(c.gLadosParaParar);
}
}
, {"the image is reversed: 0 = NO, 1 = YES", R{c.gImagenInvertida = TextToInteger(v);
}
, W {
    return IntText(c.gImagenInvertida);
}
}
, {"minimal number of sides for auto synchronizing the telescope", R{c.gLadosParaSincro = TextToInteger(v);
if (c.gLadosParaSincro == 0) c.gLadosParaSincro = 20;
}
, W {
    return IntText(c.gLadosParaSincro);
}
}
, {"Synchronize the telescope automatically", R{c.gSincroAutomatica = TextToInteger(v);
}
, W {
    return IntText(c.gSincroAutomatica);
}
}
, {"Show MessageBoxes: 0 = NO, 1 = YES", R{c.gMostrarAvisos = BooleanLine(v);
}
, W {
    return BooleanText(c.gMostrarAvisos);
}
}
, {"Synchronize the scope using current equinox coord", R{c.gSincroEquinoccioActual = TextToInteger(v);
}
, W {
    return IntText(c.gSincroEquinoccioActual);
}
}
, {" not used (obsolete fixed angle search)", nullptr, W{return "1";
}
}
, {" search window type", R{c.gTipoVentana = TextToLong(v);
}
, W {
    return IntText(c.gTipoVentana);
}
}
, {" RA searching centre in combos (double)", R{c.gCentroCombosRA = TextToDouble(v);
}
, W {
    return ShortestText(c.gCentroCombosRA);
}
}
, {" DEC searching centre in combos (double)", R{c.gCentroCombosDEC = TextToDouble(v);
}
, W {
    return ShortestText(c.gCentroCombosDEC);
}
}
, {"minimal number of sides for auto writing WCS in header", R{c.gLadosParaWCS = TextToLong(v);
if (c.gLadosParaWCS == 0) c.gLadosParaWCS = 20;
}
, W {
    return IntText(c.gLadosParaWCS);
}
}
, {"add WCS in FITS header automatically: 0 = NO, 1 = YES", R{c.gWCSAutomatico = TextToLong(v);
}
, W {
    return IntText(c.gWCSAutomatico);
}
}
, {" main window Top", R{c.gVentanaArriba = TextToLong(v);
}
, W {
    return IntText(c.gVentanaArriba);
}
}
, {" main window Left", R{c.gVentanaIzquierda = TextToLong(v);
}
, W {
    return IntText(c.gVentanaIzquierda);
}
}
, {" main window Width", R{c.gVentanaAncho = TextToLong(v);
}
, W {
    return IntText(c.gVentanaAncho);
}
}
, {" main window Height", R{c.gVentanaAlto = TextToLong(v);
}
, W {
    return IntText(c.gVentanaAlto);
}
}
, {" arcsec per pixel X", [](Context&, ReadState& s, const std::string& v) { s.scaleX = TextToDouble(v); },
   W{return ShortestText(c.gSegundosPorPixelX);
}
}
, {" arcsec per pixel Y", [](Context&, ReadState& s, const std::string& v) { s.scaleY = TextToDouble(v); },
   W{return ShortestText(c.gSegundosPorPixelY);
}
}
, {" Database number", R{c.gBaseDatosPedida = TextToLong(v);
if (c.gBaseDatosPedida != 1 && c.gBaseDatosPedida != 2) c.gBaseDatosPedida = 1;
}
, W {
    return IntText(c.gBaseDatos);
}
}
, {" Observatory longitude", R{c.gLongitud = TextToDouble(v);
}
, W {
    return ShortestText(c.gLongitud);
}
}
, {" Observatory latitude", R{c.gLatitud = TextToDouble(v);
}
, W {
    return ShortestText(c.gLatitud);
}
}
, {" Observatory Time Zone", R{c.gZonaHoraria = TextToDouble(v);
}
, W {
    return ShortestText(c.gZonaHoraria);
}
}
, {" Useful horizon ", R{c.gHorizonte = TextToLong(v);
if (c.gHorizonte < 0) c.gHorizonte = 0;
}
, W {
    return ShortestText(c.gHorizonte);
}
}
, {" 1 = Show advises for guidance to the target", R{c.gAvisosGuiado = BooleanLine(v);
}
, W {
    return BooleanText(c.gAvisosGuiado);
}
}
, {" Size of the Advices for guidance", R{c.gTamanioAvisos = TextToLong(v);
if (c.gTamanioAvisos < 1 || c.gTamanioAvisos > 3) c.gTamanioAvisos = 1;
}
, W {
    return IntText(c.gTamanioAvisos);
}
}
, {" Mount type: 0 = equatorial, 1 = Alt-AZ", R{c.gMontura = TextToInteger(v);
}
, W {
    return IntText(c.gMontura);
}
}
, {" 1 = search in the visible sky only", R{c.gSoloCieloVisible = BooleanLine(v);
}
, W {
    return BooleanText(c.gSoloCieloVisible);
}
}
, {" 1= Target coordinates are J2000 equinox", R{c.gDestinoJ2000 = BooleanLine(v);
}
, W {
    return BooleanText(c.gDestinoJ2000);
}
}
, {" Display image un-zoomed 1, 2, 4 times", R{c.gFactorReduccion = TextToLong(v);
if (c.gFactorReduccion != 2 && c.gFactorReduccion != 4) c.gFactorReduccion = 1;
}
, W {
    return IntText(c.gFactorReduccion);
}
}
, {" ", nullptr, W{return "";
}
}
, {" ", nullptr, W{return "";
}
}
, {" ", nullptr, W{return "";
}
}
, {" ", nullptr, W{return "";
}
}
,
}
;

#undef R
#undef W

// Lines of a text file, without their ends; CR LF and LF are both accepted.
void TellOldVersion(Context& c, const std::string& ruta) {
    AvisoIdioma(c, "Versión antigua del fichero de parámetros" + ruta + ". Compruebe los parámetros.",
                "La version du fichier " + ruta + " est obsolète. Veuillez SVP vérifier les paramètres.",
                "Old " + ruta + " version. Please check the parameters.");
}

// The scale of line 49, when given, wins over the focal distance of line 2.
void ApplyScaleLines(Context& c, const ReadState& s) {
    if (s.scaleX == 0) return;
    c.gSegundosPorPixelX = s.scaleX;
    c.gFocalEnPixeles = FocalDesdeEscala(s.scaleX);
    c.gSegundosPorPixelY = s.scaleY != 0 ? s.scaleY : s.scaleX;
    CalculaValoresDerivados(c);
}

}  // namespace

std::string ComentarioParametro(int n) {
    std::string number = std::to_string(n);
    std::string dashes(n < 10 ? 10 : 9, '-');
    return std::string(9, ' ') + number + dashes + kPairs[n - 1].comment;
}

std::string RutaParametros(const Context& c) {
    return c.gCarpetaPrograma + "param.txt";
}

void CalculaValoresDerivados(Context& c) {
    double x = c.gSegundosPorPixelX;
    c.gMinutosPorPixel = x / 60.0;
    c.gGradosPorPixel = x / 3600.0;
    c.gRelacionPixel = x / c.gSegundosPorPixelY;
    c.gRelacionPixel2 = c.gRelacionPixel;
}

int32_t FocalDesdeEscala(double segundosPorPixel) {
    // t is the tangent of half a pixel; the limits bound the scale to about 0.165 .. 1650 arcsec.
    double t = std::tan(segundosPorPixel / 412530.0);
    if (t < 4e-07 || t > 0.004) t = 0.001;
    return ToLong(1.0 / (2.0 * t));
}

void ExtraeNombreDeRuta(Context& c, const std::string& ruta) {
    c.gRutaImagen = ruta;
    std::string lower = ToLower(ruta);
    if (lower.size() >= 5 && lower.compare(lower.size() - 5, 5, ".fits") == 0)
        c.gExtensionImagen = "fits";
    else if (lower.size() >= 4 && lower[lower.size() - 4] == '.')
        c.gExtensionImagen = lower.substr(lower.size() - 3);
    else
        c.gExtensionImagen.clear();
    auto slash = ruta.find_last_of('/');
    c.gNombreImagen = slash == std::string::npos ? ruta : ruta.substr(slash + 1);
}

void ParametrosPorDefecto(Context& c) {
    ParameterState defaults;
    static_cast<ParameterState&>(c) = defaults;
    c.gRutaImagen = c.gCarpetaPrograma + "m39.fit";
    c.gCarpetaDistancias = c.gCarpetaPrograma;
    c.gCarpetaEstrellas = c.gCarpetaPrograma;
    c.gCarpetaMensajes = c.gCarpetaPrograma + "messages/";
    ScaleFromFocal(c);
    ExtraeNombreDeRuta(c, c.gRutaImagen);
    c.gBaseDatos = 1;
}

void CargaParametros(Context& c, const std::string& ruta) {
    std::string text;
    if (!ReadWholeFile(ruta, text)) {
        c.platform.MessageBox("The parameters file " + ruta +
                              " does not exist. Verify the values of the parameters.");
        return;
    }
    std::vector<std::string> lines = SplitLines(text);
    ReadState state;
    size_t next = 0;
    for (int n = 1; n <= kParameterPairs; ++n) {
        // A pair cut short is an old version of the file: what was read stands.
        if (next + 2 > lines.size()) {
            TellOldVersion(c, ruta);
            return;
        }
        const std::string& value = lines[next + 1];
        next += 2;
        if (!kPairs[n - 1].read) continue;
        try {
            kPairs[n - 1].read(c, state, value);
        } catch (...) {
            if (c.gMostrarAvisos) c.platform.MessageBox(ErrorReport(CurrentAsNumbered(), "CargaParametros"));
        }
    }
    ApplyScaleLines(c, state);
}

std::string TextoParametros(Context& c) {
    int left = 0, top = 0, width = 0, height = 0;
    if (c.platform.WindowGeometry(left, top, width, height)) {
        c.gVentanaIzquierda = left;
        c.gVentanaArriba = top;
        c.gVentanaAncho = width;
        c.gVentanaAlto = height;
    }
    std::string out;
    for (int n = 1; n <= kParameterPairs; ++n) {
        out += ComentarioParametro(n) + "\r\n";
        out += kPairs[n - 1].write(c) + "\r\n";
    }
    return out;
}

void GrabaParametros(Context& c) {
    if (c.gPerimetroMax == 0 && c.gFocalEnPixeles == 0 && c.gMaxContornos == 0) return;
    WithTrap(c, "GrabaParametros", [&] {
        std::string text = TextoParametros(c);
        if (!WriteFileAtomically(RutaParametros(c), text)) Raise(kErrPathFileAccess);
    });
}

bool EsFicheroDeParametros(const std::string& ruta) {
    if (ruta.size() < 3 || ruta.compare(ruta.size() - 3, 3, "txt") != 0) return false;
    std::ifstream in(ruta, std::ios::binary);
    if (!in) return false;
    std::string first;
    std::getline(in, first);
    return first.compare(0, 12, std::string(9, ' ') + "1--") == 0;
}

}  // namespace tornel
