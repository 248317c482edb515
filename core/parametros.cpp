#include "core/parametros.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <vector>

#include "astrometria/sky_maths.h"
#include "comun/errors.h"
#include "comun/files.h"
#include "comun/numbers.h"
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

const PairSpec kPairs[kParameterPairs] = {
    {"job to do: extract = 1, extract + solve = 2",
     [](Context& c, ReadState&, const std::string& v) {
         c.gTrabajo = TextToLong(v);
         if (c.gTrabajo < 1 || c.gTrabajo > 2) c.gTrabajo = 2;
     },
     [](Context& c) -> std::string { return IntText(c.gTrabajo); }},
    {"focal distance in pixels",
     [](Context& c, ReadState&, const std::string& v) {
         c.gFocalEnPixeles = TextToLong(v);
         if (c.gFocalEnPixeles > 0) ScaleFromFocal(c);
     },
     [](Context& c) -> std::string { return IntText(c.gFocalEnPixeles); }},
    {"language: spanish = 1 ; english = 0 ; french = 2",
     [](Context& c, ReadState&, const std::string& v) {
         c.gIdioma = TextToLong(v);
         if (c.gIdioma < 0 || c.gIdioma > 2) c.gIdioma = 0;
     },
     [](Context& c) -> std::string { return IntText(c.gIdioma); }},
    {"brightness threshold (double)",
     [](Context& c, ReadState&, const std::string& v) { c.gUmbral = TextToDouble(v); },
     [](Context& c) -> std::string { return ShortestText(c.gUmbral); }},
    {"Min contours perimeter (integer)",
     [](Context& c, ReadState&, const std::string& v) { c.gPerimetroMin = TextToLong(v); },
     [](Context& c) -> std::string { return IntText(c.gPerimetroMin); }},
    {"Max contours perimeter (integer)",
     [](Context& c, ReadState&, const std::string& v) {
         c.gPerimetroMax = TextToLong(v);
         if (c.gPerimetroMax < 10 || c.gPerimetroMax > 100) c.gPerimetroMax = 100;
     },
     [](Context& c) -> std::string {
         if (c.gPerimetroMax < 10 || c.gPerimetroMax > 100) c.gPerimetroMax = 100;
         return IntText(c.gPerimetroMax);
     }},
    {"maxContours (integer) for analysis",
     [](Context& c, ReadState&, const std::string& v) { c.gMaxContornos = TextToInteger(v); },
     [](Context& c) -> std::string { return IntText(c.gMaxContornos); }},
    {"stars to be selected (integer)",
     [](Context& c, ReadState&, const std::string& v) {
         c.gEstrellasSeleccionar = TextToInteger(v);
         if (c.gEstrellasSeleccionar < 5 || c.gEstrellasSeleccionar > 10) c.gEstrellasSeleccionar = 10;
     },
     [](Context& c) -> std::string { return IntText(c.gEstrellasSeleccionar); }},
    {"percent (integer) % error for distances search",
     [](Context& c, ReadState&, const std::string& v) {
         c.gPorcentajeError = TextToInteger(v);
         c.gErrorDistancias = c.gPorcentajeError / 100.0;
     },
     [](Context& c) -> std::string { return IntText(c.gPorcentajeError); }},
    {"+/- error for inclination in degrees (integer)",
     [](Context& c, ReadState&, const std::string& v) { c.gErrorInclinacion = TextToInteger(v); },
     [](Context& c) -> std::string { return IntText(c.gErrorInclinacion); }},
    {"width of the searching window in degrees (integer)",
     [](Context& c, ReadState&, const std::string& v) { c.gAnchoVentana = TextToLong(v); },
     [](Context& c) -> std::string { return ShortestText(c.gAnchoVentana); }},
    {"height of the searching window in degrees (integer)",
     [](Context& c, ReadState&, const std::string& v) { c.gAltoVentana = TextToLong(v); },
     [](Context& c) -> std::string { return ShortestText(c.gAltoVentana); }},
    {"Image path (text)", [](Context& c, ReadState&, const std::string& v) { ExtraeNombreDeRuta(c, v); },
     [](Context& c) -> std::string { return c.gRutaImagen; }},
    {"Image angle (double)",
     [](Context& c, ReadState&, const std::string& v) {
         c.gAnguloImagen = GradosEntre0y360(TextToDouble(v));
     },
     [](Context& c) -> std::string { return ShortestText(c.gAnguloImagen); }},
    {"Distances database folder path (text)",
     [](Context& c, ReadState&, const std::string& v) { c.gCarpetaDistancias = WithTrailingSlash(v); },
     [](Context& c) -> std::string { return c.gCarpetaDistancias; }},
    {"Stars and objects databases path (text)",
     [](Context& c, ReadState&, const std::string& v) { c.gCarpetaEstrellas = WithTrailingSlash(v); },
     [](Context& c) -> std::string { return c.gCarpetaEstrellas; }},
    {"Last image file type = 'fit' or 'bmp' or 'jpg'",
     [](Context& c, ReadState&, const std::string& v) {
         std::string t = v.substr(0, 3);
         t.resize(3, ' ');
         c.gTipoImagen = t;
     },
     [](Context& c) -> std::string { return c.gTipoImagen; }},
    {"object coordinates are in 0, 1, 2, 3, ... (integer)",
     [](Context& c, ReadState&, const std::string& v) { c.gOrigenCoordenadas = TextToInteger(v); },
     [](Context& c) -> std::string { return IntText(c.gOrigenCoordenadas); }},
    {"automatic threshold (integer)",
     [](Context& c, ReadState&, const std::string& v) { c.gUmbralAutomatico = TextToInteger(v); },
     [](Context& c) -> std::string { return IntText(c.gUmbralAutomatico); }},
    {"ring from DEC", [](Context& c, ReadState&, const std::string& v) { c.gAnilloDesde = TextToInteger(v); },
     [](Context& c) -> std::string { return " " + IntText(c.gAnilloDesde) + " "; }},
    {"ring to DEC", [](Context& c, ReadState&, const std::string& v) { c.gAnilloHasta = TextToInteger(v); },
     [](Context& c) -> std::string { return " " + IntText(c.gAnilloHasta) + " "; }},
    {"black visu for BMP",
     [](Context& c, ReadState&, const std::string& v) { c.gNegroBMP = TextToInteger(v); },
     [](Context& c) -> std::string { return IntText(c.gNegroBMP); }},
    {"white visu for BMP",
     [](Context& c, ReadState&, const std::string& v) { c.gBlancoBMP = TextToInteger(v); },
     [](Context& c) -> std::string { return IntText(c.gBlancoBMP); }},
    {"black visu for FIT", [](Context& c, ReadState&, const std::string& v) { c.gNegroFit = TextToLong(v); },
     [](Context& c) -> std::string { return IntText(c.gNegroFit); }},
    {"white visu for FIT", [](Context& c, ReadState&, const std::string& v) { c.gBlancoFit = TextToLong(v); },
     [](Context& c) -> std::string { return IntText(c.gBlancoFit); }},
    {"ASCOM telescope", [](Context& c, ReadState&, const std::string& v) { c.gTelescopioAscom = v; },
     [](Context& c) -> std::string { return c.gTelescopioAscom; }},
    {"telescope to synchronize (integer)",
     [](Context& c, ReadState&, const std::string& v) {
         if (IsNumeric(v)) c.gTelescopioSincro = TextToInteger(v);
     },
     [](Context& c) -> std::string { return IntText(c.gTelescopioSincro); }},
    {"searching centre (RA combo in hours) NOT USED", nullptr, [](Context&) -> std::string { return " "; }},
    {"(listIndex of RA combo in minutes) NOT USED", nullptr, [](Context&) -> std::string { return " "; }},
    {"(listIndex of DEC combo in degrees) NOT USED", nullptr, [](Context&) -> std::string { return " "; }},
    {"Image origin ",
     [](Context& c, ReadState&, const std::string& v) { c.gOrigenImagen = TextToInteger(v); },
     [](Context& c) -> std::string { return IntText(c.gOrigenImagen); }},
    {"Image folder used in the 'WAIT FOR' automatic mode",
     [](Context& c, ReadState&, const std::string& v) { c.gCarpetaMensajes = WithTrailingSlash(v); },
     [](Context& c) -> std::string { return c.gCarpetaMensajes; }},
    {"minimal number of sides to stop the search",
     [](Context& c, ReadState&, const std::string& v) { c.gLadosParaParar = TextToLong(v); },
     [](Context& c) -> std::string { return IntText(c.gLadosParaParar); }},
    {"the image is reversed: 0 = NO, 1 = YES",
     [](Context& c, ReadState&, const std::string& v) { c.gImagenInvertida = TextToInteger(v); },
     [](Context& c) -> std::string { return IntText(c.gImagenInvertida); }},
    {"minimal number of sides for auto synchronizing the telescope",
     [](Context& c, ReadState&, const std::string& v) {
         c.gLadosParaSincro = TextToInteger(v);
         if (c.gLadosParaSincro == 0) c.gLadosParaSincro = 20;
     },
     [](Context& c) -> std::string { return IntText(c.gLadosParaSincro); }},
    {"Synchronize the telescope automatically",
     [](Context& c, ReadState&, const std::string& v) { c.gSincroAutomatica = TextToInteger(v); },
     [](Context& c) -> std::string { return IntText(c.gSincroAutomatica); }},
    {"Show MessageBoxes: 0 = NO, 1 = YES",
     [](Context& c, ReadState&, const std::string& v) { c.gMostrarAvisos = BooleanLine(v); },
     [](Context& c) -> std::string { return BooleanText(c.gMostrarAvisos); }},
    {"Synchronize the scope using current equinox coord",
     [](Context& c, ReadState&, const std::string& v) { c.gSincroEquinoccioActual = TextToInteger(v); },
     [](Context& c) -> std::string { return IntText(c.gSincroEquinoccioActual); }},
    {" not used (obsolete fixed angle search)", nullptr, [](Context&) -> std::string { return "1"; }},
    {" search window type",
     [](Context& c, ReadState&, const std::string& v) { c.gTipoVentana = TextToLong(v); },
     [](Context& c) -> std::string { return IntText(c.gTipoVentana); }},
    {" RA searching centre in combos (double)",
     [](Context& c, ReadState&, const std::string& v) { c.gCentroCombosRA = TextToDouble(v); },
     [](Context& c) -> std::string { return ShortestText(c.gCentroCombosRA); }},
    {" DEC searching centre in combos (double)",
     [](Context& c, ReadState&, const std::string& v) { c.gCentroCombosDEC = TextToDouble(v); },
     [](Context& c) -> std::string { return ShortestText(c.gCentroCombosDEC); }},
    {"minimal number of sides for auto writing WCS in header",
     [](Context& c, ReadState&, const std::string& v) {
         c.gLadosParaWCS = TextToLong(v);
         if (c.gLadosParaWCS == 0) c.gLadosParaWCS = 20;
     },
     [](Context& c) -> std::string { return IntText(c.gLadosParaWCS); }},
    {"add WCS in FITS header automatically: 0 = NO, 1 = YES",
     [](Context& c, ReadState&, const std::string& v) { c.gWCSAutomatico = TextToLong(v); },
     [](Context& c) -> std::string { return IntText(c.gWCSAutomatico); }},
    {" main window Top",
     [](Context& c, ReadState&, const std::string& v) { c.gVentanaArriba = TextToLong(v); },
     [](Context& c) -> std::string { return IntText(c.gVentanaArriba); }},
    {" main window Left",
     [](Context& c, ReadState&, const std::string& v) { c.gVentanaIzquierda = TextToLong(v); },
     [](Context& c) -> std::string { return IntText(c.gVentanaIzquierda); }},
    {" main window Width",
     [](Context& c, ReadState&, const std::string& v) { c.gVentanaAncho = TextToLong(v); },
     [](Context& c) -> std::string { return IntText(c.gVentanaAncho); }},
    {" main window Height",
     [](Context& c, ReadState&, const std::string& v) { c.gVentanaAlto = TextToLong(v); },
     [](Context& c) -> std::string { return IntText(c.gVentanaAlto); }},
    {" arcsec per pixel X", [](Context&, ReadState& s, const std::string& v) { s.scaleX = TextToDouble(v); },
     [](Context& c) -> std::string { return ShortestText(c.gSegundosPorPixelX); }},
    {" arcsec per pixel Y", [](Context&, ReadState& s, const std::string& v) { s.scaleY = TextToDouble(v); },
     [](Context& c) -> std::string { return ShortestText(c.gSegundosPorPixelY); }},
    {" Database number",
     [](Context& c, ReadState&, const std::string& v) {
         c.gBaseDatosPedida = TextToLong(v);
         if (c.gBaseDatosPedida != 1 && c.gBaseDatosPedida != 2) c.gBaseDatosPedida = 1;
     },
     [](Context& c) -> std::string { return IntText(c.gBaseDatos); }},
    {" Observatory longitude",
     [](Context& c, ReadState&, const std::string& v) { c.gLongitud = TextToDouble(v); },
     [](Context& c) -> std::string { return ShortestText(c.gLongitud); }},
    {" Observatory latitude",
     [](Context& c, ReadState&, const std::string& v) { c.gLatitud = TextToDouble(v); },
     [](Context& c) -> std::string { return ShortestText(c.gLatitud); }},
    {" Observatory Time Zone",
     [](Context& c, ReadState&, const std::string& v) { c.gZonaHoraria = TextToDouble(v); },
     [](Context& c) -> std::string { return ShortestText(c.gZonaHoraria); }},
    {" Useful horizon ",
     [](Context& c, ReadState&, const std::string& v) {
         c.gHorizonte = TextToLong(v);
         if (c.gHorizonte < 0) c.gHorizonte = 0;
     },
     [](Context& c) -> std::string { return ShortestText(c.gHorizonte); }},
    {" 1 = Show advises for guidance to the target",
     [](Context& c, ReadState&, const std::string& v) { c.gAvisosGuiado = BooleanLine(v); },
     [](Context& c) -> std::string { return BooleanText(c.gAvisosGuiado); }},
    {" Size of the Advices for guidance",
     [](Context& c, ReadState&, const std::string& v) {
         c.gTamanioAvisos = TextToLong(v);
         if (c.gTamanioAvisos < 1 || c.gTamanioAvisos > 3) c.gTamanioAvisos = 1;
     },
     [](Context& c) -> std::string { return IntText(c.gTamanioAvisos); }},
    {" Mount type: 0 = equatorial, 1 = Alt-AZ",
     [](Context& c, ReadState&, const std::string& v) { c.gMontura = TextToInteger(v); },
     [](Context& c) -> std::string { return IntText(c.gMontura); }},
    {" 1 = search in the visible sky only",
     [](Context& c, ReadState&, const std::string& v) { c.gSoloCieloVisible = BooleanLine(v); },
     [](Context& c) -> std::string { return BooleanText(c.gSoloCieloVisible); }},
    {" 1= Target coordinates are J2000 equinox",
     [](Context& c, ReadState&, const std::string& v) { c.gDestinoJ2000 = BooleanLine(v); },
     [](Context& c) -> std::string { return BooleanText(c.gDestinoJ2000); }},
    {" Display image un-zoomed 1, 2, 4 times",
     [](Context& c, ReadState&, const std::string& v) {
         c.gFactorReduccion = TextToLong(v);
         if (c.gFactorReduccion != 2 && c.gFactorReduccion != 4) c.gFactorReduccion = 1;
     },
     [](Context& c) -> std::string { return IntText(c.gFactorReduccion); }},
    // Files written before the pattern search have this pair empty: the search is on for them too.
    {" 1 = Pattern search when the database roads fail or can not work",
     [](Context& c, ReadState&, const std::string& v) {
         c.gBusquedaPorPatrones = Trim(v).empty() ? 1 : (TextToLong(v) != 0 ? 1 : 0);
     },
     [](Context& c) -> std::string { return IntText(c.gBusquedaPorPatrones); }},
    {" ", nullptr, [](Context&) -> std::string { return ""; }},
    {" ", nullptr, [](Context&) -> std::string { return ""; }},
    {" ", nullptr, [](Context&) -> std::string { return ""; }},
};

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
    auto endsWith = [&](std::string_view e) {
        return lower.size() >= e.size() && lower.compare(lower.size() - e.size(), e.size(), e) == 0;
    };
    if (endsWith(".fits"))
        c.gExtensionImagen = "fits";
    else if (endsWith(".tiff"))
        c.gExtensionImagen = "tiff";
    else if (endsWith(".fz"))  // a tile-compressed FITS file, "name.fits.fz"
        c.gExtensionImagen = "fz";
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
    if (c.parametersForThisRunOnly) return;
    WithTrap(c, "GrabaParametros", [&] {
        std::string text = TextoParametros(c);
        if (!WriteFileAtomically(RutaParametros(c), text)) Raise(kErrPathFileAccess);
    });
}

void SaveChangedParameters(Context& c) {
    if (!c.parametersChanged) return;
    c.parametersChanged = false;
    GrabaParametros(c);
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
