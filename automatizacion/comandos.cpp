// The keys of command messages: SET and GET of the settings, EXE of the program's jobs.
#include <cmath>
#include <string>
#include <type_traits>

#include "astrometria/angle_calibration.h"
#include "astrometria/text_utilities.h"
#include "automatizacion/buzon.h"
#include "automatizacion/mensajes.h"
#include "comun/files.h"
#include "comun/numbers.h"
#include "core/analisis.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "resultados/resumen.h"
#include "resultados/status_files.h"
#include "telescopio/telescopio.h"

namespace tornel {

// A scale in arcseconds per pixel: 0.165 to 1650, and the tangent of half a pixel within its bounds.
bool ScaleAccepted(double v) {
    if (!(v >= 0.165 && v <= 1650)) return false;
    double t = std::tan(v / 412530.0);
    return t >= 4e-7 && t <= 0.004;
}

namespace {

void SetPerPixel(Context& c, double segundos) {
    c.gMinutosPorPixel = segundos / 60;
    c.gGradosPorPixel = segundos / 3600;
}

void SetPixelRatio(Context& c) {
    if (c.gSegundosPorPixelX == 0 || c.gSegundosPorPixelY == 0) return;
    c.gRelacionPixel = c.gSegundosPorPixelX / c.gSegundosPorPixelY;
    c.gRelacionPixel2 = c.gRelacionPixel;
}

}  // namespace

bool ApplyArcSecPerPixel(Context& c, double v) {
    if (!ScaleAccepted(v)) return false;
    c.gFocalEnPixeles = FocalDesdeEscala(v);
    c.gSegundosPorPixelX = c.gSegundosPorPixelY = v;
    CalculaValoresDerivados(c);
    return true;
}

bool ApplyArcSecPerPixelX(Context& c, double v) {
    if (!ScaleAccepted(v)) return false;
    c.gFocalEnPixeles = FocalDesdeEscala(v);
    c.gSegundosPorPixelX = v;
    SetPerPixel(c, v);
    SetPixelRatio(c);
    return true;
}

bool ApplyArcSecPerPixelY(Context& c, double v) {
    if (!ScaleAccepted(v)) return false;
    c.gSegundosPorPixelY = v;
    SetPixelRatio(c);
    return true;
}

void ApplyFocalInPixels(Context& c, double v) {
    c.gFocalEnPixeles = ToLong(v);
    c.gSegundosPorPixelX = c.gSegundosPorPixelY = std::atan(1.0 / c.gFocalEnPixeles) * 206265;
    CalculaValoresDerivados(c);
}

namespace {

using Setter = bool (*)(Context&, const std::string&);
using Getter = std::string (*)(Context&);

struct Key {
    const char* name;
    Setter set;  // null: not settable
    Getter get;  // null: not readable
};

template <auto Member, int32_t Lo, int32_t Hi>
bool SetInteger(Context& c, const std::string& valor) {
    int32_t v = 0;
    if (!ValidaEntero(c, valor, Lo, Hi, v)) return false;
    c.*Member = static_cast<std::remove_reference_t<decltype(c.*Member)>>(v);
    return true;
}

// Whole bounds: clang takes no floating-point template arguments before its version 18.
template <auto Member, int32_t Lo, int32_t Hi>
bool SetReal(Context& c, const std::string& valor) {
    double v = 0;
    if (!ValidaReal(c, valor, Lo, Hi, v)) return false;
    c.*Member = v;
    return true;
}

template <auto Member>
bool SetFolder(Context& c, const std::string& valor) {
    std::string folder = Trim(valor);
    if (!ExisteCarpeta(folder)) return false;
    c.*Member = folder;
    return true;
}

// Numbers answer in the general number text, texts as they stand.
template <auto Member>
std::string Get(Context& c) {
    const auto& v = c.*Member;
    using T = std::remove_cvref_t<decltype(v)>;
    if constexpr (std::is_same_v<T, std::string>)
        return v;
    else if constexpr (std::is_floating_point_v<T>)
        return GeneralText(v);
    else
        return std::to_string(v);
}

bool SetLanguage(Context& c, const std::string& valor) {
    int32_t v = 0;
    if (!ValidaEntero(c, valor, 0, 2, v)) return false;
    if (v != c.gIdioma) {
        c.gIdioma = v;
        c.platform.ApplyLanguage();
    }
    return true;
}

bool SetShowMessages(Context& c, const std::string& valor) {
    int32_t v = 0;
    if (!ValidaEntero(c, valor, 0, 1, v)) return false;
    c.gMostrarAvisos = v == 1;
    return true;
}

std::string GetShowMessages(Context& c) {
    return c.gMostrarAvisos ? "1" : "0";
}

bool SetImagePath(Context& c, const std::string& valor) {
    std::string ruta = Trim(valor);
    if (ruta.empty()) return false;
    ExtraeNombreDeRuta(c, ruta);
    return true;
}

// Whatever driver is named, "0" is what is kept, as it always was.
bool SetTelescope(Context& c, const std::string& valor) {
    if (Trim(valor).empty()) return false;
    c.gTelescopioAscom.assign(1, '0');
    return true;
}

bool SetAutomaticThreshold(Context& c, const std::string& valor) {
    if (!SetInteger<&Context::gUmbralAutomatico, 0, 1>(c, valor)) return false;
    c.platform.ApplyParameters();
    return true;
}

bool SetArcSecPerPixel(Context& c, const std::string& valor) {
    double v = 0;
    return ValidaReal(c, valor, 0.165, 1650, v) && ApplyArcSecPerPixel(c, v);
}

bool SetArcSecPerPixelX(Context& c, const std::string& valor) {
    double v = 0;
    return ValidaReal(c, valor, 0.165, 1650, v) && ApplyArcSecPerPixelX(c, v);
}

bool SetArcSecPerPixelY(Context& c, const std::string& valor) {
    double v = 0;
    return ValidaReal(c, valor, 0.165, 1650, v) && ApplyArcSecPerPixelY(c, v);
}

bool SetFocal(Context& c, const std::string& valor) {
    double v = 0;
    if (!ValidaReal(c, valor, 125, 1250000, v)) return false;
    ApplyFocalInPixels(c, v);
    return true;
}

std::string GetZero(Context&) {
    return "0";
}

const Key kKeys[] = {
    {"distancesFolder", SetFolder<&Context::gCarpetaDistancias>, Get<&Context::gCarpetaDistancias>},
    {"starsFolder", SetFolder<&Context::gCarpetaEstrellas>, Get<&Context::gCarpetaEstrellas>},
    {"mailBoxFolder", SetFolder<&Context::gCarpetaMensajes>, Get<&Context::gCarpetaMensajes>},
    {"language", SetLanguage, Get<&Context::gIdioma>},
    {"showErrorMessages", SetShowMessages, GetShowMessages},
    {"mode", nullptr, Get<&Context::gOrigenImagen>},
    {"imageAngle", SetReal<&Context::gAnguloImagen, -360, 360>, Get<&Context::gAnguloImagen>},
    {"arcSecPerPixel", SetArcSecPerPixel, Get<&Context::gSegundosPorPixelX>},
    {"arcSecPerPixelX", SetArcSecPerPixelX, nullptr},
    {"arcSecPerPixelY", SetArcSecPerPixelY, nullptr},
    {"focalInPixels", SetFocal, Get<&Context::gFocalEnPixeles>},
    {"reversedImage", SetInteger<&Context::gImagenInvertida, 0, 1>, Get<&Context::gImagenInvertida>},
    {"imagePath", SetImagePath, Get<&Context::gRutaImagen>},
    {"imageArea", SetInteger<&Context::gAreaImagen, 0, 2>, Get<&Context::gAreaImagen>},
    {"xMin", SetInteger<&Context::mMensajeX1, 0, 100000>, Get<&Context::gXMin>},
    {"xMax", SetInteger<&Context::mMensajeX2, 0, 100000>, Get<&Context::gXMax>},
    {"yMin", SetInteger<&Context::mMensajeY1, 0, 100000>, Get<&Context::gYMin>},
    {"yMax", SetInteger<&Context::mMensajeY2, 0, 100000>, Get<&Context::gYMax>},
    {"automaticThreshold", SetAutomaticThreshold, Get<&Context::gUmbralAutomatico>},
    {"threshold", SetReal<&Context::gUmbral, 0, 1>, Get<&Context::gUmbral>},
    {"minPerimeter", SetInteger<&Context::gPerimetroMin, 0, 20>, Get<&Context::gPerimetroMin>},
    {"maxPerimeter", SetInteger<&Context::gPerimetroMax, 10, 100>, Get<&Context::gPerimetroMax>},
    {"maxContours", nullptr, Get<&Context::gMaxContornos>},
    {"selectedStars", SetInteger<&Context::gEstrellasSeleccionar, 5, 10>,
     Get<&Context::gEstrellasSeleccionar>},
    {"timeOut", SetInteger<&Context::mTiempoLimite, 0, 3600>, Get<&Context::mTiempoLimite>},
    {"skyZone", SetInteger<&Context::gZonaCielo, 1, 9>, Get<&Context::gZonaCielo>},
    {"distancesError", SetInteger<&Context::gPorcentajeError, 1, 4>, Get<&Context::gPorcentajeError>},
    {"angleError", SetInteger<&Context::gErrorInclinacion, 1, 4>, Get<&Context::gErrorInclinacion>},
    {"searchingCoordinatesFrom", SetInteger<&Context::gOrigenCoordenadas, 0, 5>,
     Get<&Context::gOrigenCoordenadas>},
    {"RAsearchingCentreInMessage", SetReal<&Context::gCentroMensajeRA, 0, 360>,
     Get<&Context::gCentroMensajeRA>},
    {"DECsearchingCentreInMessage", SetReal<&Context::gCentroMensajeDEC, -90, 90>,
     Get<&Context::gCentroMensajeDEC>},
    {"searchWindowType", SetInteger<&Context::gTipoVentana, 0, 3>, Get<&Context::gTipoVentana>},
    {"skyWindowWidth", SetReal<&Context::gAnchoVentana, 0, 5>, Get<&Context::gAnchoVentana>},
    {"skyWindowHeight", SetReal<&Context::gAltoVentana, 0, 5>, Get<&Context::gAltoVentana>},
    {"skyRingFromDec", SetInteger<&Context::gAnilloDesde, -90, 89>, Get<&Context::gAnilloDesde>},
    {"skyRingToDec", SetInteger<&Context::gAnilloHasta, -89, 90>, Get<&Context::gAnilloHasta>},
    {"stopSearchingWhenSides", SetInteger<&Context::gLadosParaParar, 10, 45>, Get<&Context::gLadosParaParar>},
    {"showInImage", nullptr, GetZero},
    {"ASCOMtelescope", SetTelescope, Get<&Context::gTelescopioAscom>},
    {"telescopeToSynchronize", SetInteger<&Context::gTelescopioSincro, 0, 3>,
     Get<&Context::gTelescopioSincro>},
    {"autoSynchronize", SetInteger<&Context::gSincroAutomatica, 0, 1>, Get<&Context::gSincroAutomatica>},
    {"sidesForAutoSync", SetInteger<&Context::gLadosParaSincro, 10, 45>, Get<&Context::gLadosParaSincro>},
    {"synchronizeUsingCurrentEquinox", SetInteger<&Context::gSincroEquinoccioActual, 0, 1>,
     Get<&Context::gSincroEquinoccioActual>},
    {"autoAddWcsInHeader", SetInteger<&Context::gWCSAutomatico, 0, 1>, Get<&Context::gWCSAutomatico>},
    {"sidesForAutoAddWcsInHeader", SetInteger<&Context::gLadosParaWCS, 10, 45>, Get<&Context::gLadosParaWCS>},
    {"mainWindowTop", SetInteger<&Context::gVentanaArriba, 0, 1000000>, Get<&Context::gVentanaArriba>},
    {"mainWindowLeft", SetInteger<&Context::gVentanaIzquierda, 0, 1000000>, Get<&Context::gVentanaIzquierda>},
    {"mainWindowWidth", SetInteger<&Context::gVentanaAncho, 0, 1000000>, Get<&Context::gVentanaAncho>},
    {"mainWindowHeight", SetInteger<&Context::gVentanaAlto, 0, 1000000>, Get<&Context::gVentanaAlto>},
    {"blackVisuForBMP", SetInteger<&Context::gNegroBMP, 0, 254>, Get<&Context::gNegroBMP>},
    {"whiteVisuForBMP", SetInteger<&Context::gBlancoBMP, 1, 255>, Get<&Context::gBlancoBMP>},
    {"blackVisuForFIT", SetInteger<&Context::gNegroFit, 0, 100000>, Get<&Context::gNegroFit>},
    {"whiteVisuForFIT", SetInteger<&Context::gBlancoFit, 0, 100000>, Get<&Context::gBlancoFit>},
    // Answers the mailbox folder, not a type, as it always did.
    {"lastImageType", nullptr, Get<&Context::gCarpetaMensajes>},
    {"RAsearchingCentreInCombos", SetReal<&Context::gCentroCombosRA, 0, 360>, Get<&Context::gCentroCombosRA>},
    {"DECsearchingCentreInCombos", SetReal<&Context::gCentroCombosDEC, -90, 90>,
     Get<&Context::gCentroCombosDEC>},
};

const Key* FindKey(const std::string& name) {
    for (const Key& k : kKeys)
        if (name == k.name) return &k;
    return nullptr;
}

// Checks an EXE key and its value: 0 accepted, 1 unknown, 2 value refused. EXE mode acts at once.
int32_t CheckExecute(Context& c, const std::string& key, const std::string& valor) {
    if (key == "mode") {
        int32_t v = 0;
        if (!ValidaEntero(c, valor, 0, 7, v)) return 2;
        c.gOrigenImagen = static_cast<int16_t>(v);
        return 0;
    }
    if (key == "analyze" || key == "synchronize" || key == "fineAdjustAngle" || key == "exitTornel") return 0;
    if (key == "loadParamFile") return !valor.empty() && FileExists(valor) ? 0 : 2;
    if (key == "saveParamFile" || key == "saveSearchSummary") return valor.empty() ? 2 : 0;
    return 1;
}

void AnalyzeNow(Context& c) {
    c.mTitulo = "TORNEL - " + c.gRutaImagen + " - ";
    PoneTitulo(c, c.mTitulo);
    c.gImagenCargada = false;
    if (c.gZonaCielo == 1 || c.gZonaCielo == 2 || c.gZonaCielo == 4 || c.gZonaCielo == 8 ||
        c.gZonaCielo == 9) {
        AnalizaImagen(c);
        DespuesDeAnalizaImagen(c);
    }
}

void LoadParameterFile(Context& c, const std::string& ruta) {
    if (ruta == RutaParametros(c) || !EsFicheroDeParametros(ruta)) return;
    if (!CopiaFichero(ruta, RutaParametros(c))) return;
    CargaParametros(c, RutaParametros(c));
    DespuesDeCargaParametros(c);
    GrabaTornelSta(c, kEstadoEsperando, 0);
    c.mTitulo = "TORNEL - " + c.gRutaImagen + " - ";
    PoneTitulo(c, c.mTitulo);
}

void SaveParameterFile(Context& c, const std::string& ruta) {
    if (CopiaFichero(RutaParametros(c), ruta)) return;
    std::string es = "No se pudo copiar el fichero de parámetros en " + ruta;
    std::string fr = "Impossible de copier le fichier paramètres à " + ruta;
    std::string en = "Can't copy the parameters file to  " + ruta;
    AvisoIdioma(c, es, fr, en);
    ParaResumen(c, es, fr, en);
}

void SaveSearchSummary(Context& c, const std::string& ruta) {
    if (SalvaResumen(c, ruta)) return;
    AvisoIdioma(c, "No se pudo grabar el fichero de resumen en " + ruta,
                "Impossible de copier le fichier résumé à " + ruta,
                "Can't copy the Search Summary file to  " + ruta);
    ParaResumen(c, "No se pudo grabar el fichero de Resumen en " + ruta,
                "Impossible de copier le fichier Résumé à " + ruta,
                "Can't copy the Search Summary file to  " + ruta);
}

}  // namespace

bool ExisteCarpeta(std::string& ruta) {
    ruta = WithTrailingSlash(ruta);
    return FolderExists(ruta);
}

void DescodificaComando(Context& c, const std::string& codigo, const std::string& valor, int32_t& resultado) {
    std::string verbo = codigo.substr(0, 3);
    std::string key = codigo.size() > 6 ? Trim(codigo.substr(6, 40)) : std::string{};
    key = key.substr(0, key.find(' '));
    resultado = 1;
    if (verbo == "EXE") {
        std::string value = Trim(valor);
        resultado = CheckExecute(c, key, value);
        if (resultado == 0) {
            c.mComandoPendiente = "EXE" + key;
            c.mValorPendiente = value;
        }
        return;
    }
    const Key* k = FindKey(key);
    if (!k) return;
    if (verbo == "SET" && k->set) {
        resultado = k->set(c, valor) ? 0 : 2;
    } else if (verbo == "GET" && k->get) {
        c.mUltimoValor = k->get(c);
        resultado = 0;
    }
}

bool RunPendingCommand(Context& c) {
    const std::string& comando = c.mComandoPendiente;
    const std::string valor = c.mValorPendiente;
    if (comando == "EXEmode") {
        ActualizaMenusSegunModo(c);
    } else if (comando == "EXEanalyze") {
        if (c.gAnalizando) {
            PoneTitulo(c, "TORNEL - " + c.gRutaImagen + " - ");
            return false;
        }
        AnalyzeNow(c);
    } else if (comando == "EXEsynchronize") {
        if (c.gTelescopioSincro >= 1 && c.gTelescopioSincro <= 3) Sincroniza(c);
    } else if (comando == "EXEloadParamFile") {
        LoadParameterFile(c, valor);
    } else if (comando == "EXEsaveParamFile") {
        SaveParameterFile(c, valor);
    } else if (comando == "EXEsaveSearchSummary") {
        SaveSearchSummary(c, valor);
    } else if (comando == "EXEfineAdjustAngle") {
        AutoCalibraAngulo(c);
        SaveChangedParameters(c);
    } else if (comando == "EXEexitTornel") {
        // At once: a client's SET commands must not become the saved parameters, and nothing may
        // answer for a program that has gone.
        c.mProgramaTerminado = true;
        c.endWithoutClosing = true;
        return false;
    }
    return true;
}

}  // namespace tornel
