#include "core/parameter_dialog.h"

#include "astrometria/sky_maths.h"
#include "comun/files.h"
#include "comun/language.h"
#include "comun/numbers.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "resultados/resumen.h"
#include "resultados/status_files.h"

namespace tornel {

namespace {

// A whole number within [lo, hi].
bool IntegerIn(const std::string& text, int lo, int hi, int& value) {
    if (!IsNumeric(text)) return false;
    double v = TextToDouble(text);
    if (v < lo || v > hi) return false;
    value = static_cast<int>(RoundHalfEven(v));
    return true;
}

Aceptacion Refuse(Context& c, const char* campo, const std::string& es, const std::string& fr,
                  const std::string& en) {
    MensajeIdioma(c, es, fr, en);
    return {false, campo};
}

std::string Text(double v) {
    return ShortestText(v);
}
std::string Text(long long v) {
    return ShortestText(v);
}

}  // namespace

CamposParametros FormParametros_Load(const Context& c) {
    CamposParametros f;
    f.VeoAnguloPixelX = Text(c.gSegundosPorPixelX);
    f.VeoAnguloPixelY = Text(c.gSegundosPorPixelY);
    f.VeoLadosSuficientes = Text(static_cast<long long>(c.gLadosParaParar));
    f.VeoLadosSincro = Text(static_cast<long long>(c.gLadosParaSincro));
    f.VeoLadosWCS = Text(static_cast<long long>(c.gLadosParaWCS));
    f.VeoNorteCamara = Text(c.gAnguloImagen);
    f.VeoCarpetaBDdistancias = c.gCarpetaDistancias;
    f.VeoCarpetaBdEstrellas = c.gCarpetaEstrellas;
    f.VeoCarpetaAutomatico = c.gCarpetaMensajes;
    f.VeoLongitud = Text(c.gLongitud);
    f.VeoLatitud = Text(c.gLatitud);
    f.VeoZonaH = Text(c.gZonaHoraria);
    f.VeoHorizonte = Text(c.gHorizonte);
    f.VeoTamanioAvisos = Text(static_cast<long long>(c.gTamanioAvisos));
    f.CheckImagenInvertida = c.gImagenInvertida == 1;
    f.CheckSincronizaTelescopio = c.gSincroAutomatica == 1;
    f.CheckQuitarMsgBox = !c.gMostrarAvisos;
    f.CheckSincronizaEquinoccio = c.gSincroEquinoccioActual == 1;
    f.CheckPonerWCSenCabecera = c.gWCSAutomatico == 1;
    f.OptionBD = c.gBaseDatos == 2 ? 2 : 1;
    f.OptionAltaz = c.gMontura == 1;
    return f;
}

CamposAvanzados FormParametrosAvanzados_Load(const Context& c) {
    CamposAvanzados f;
    f.VeoMargenDistancia = Text(static_cast<long long>(c.gPorcentajeError));
    f.VeoMargenInclinacion = Text(static_cast<long long>(c.gErrorInclinacion));
    f.VeoVentanaAncho = Text(c.gAnchoVentana);
    f.VeoVentanaAlto = Text(c.gAltoVentana);
    // The scroll bar runs from 5 to 10.
    f.HScrollNumEstrellas =
        c.gEstrellasSeleccionar >= 5 && c.gEstrellasSeleccionar <= 10 ? c.gEstrellasSeleccionar : 10;
    f.HScrollPerimetro = c.gPerimetroMax;
    return f;
}

Aceptacion AceptaParametros(Context& c, const CamposParametros& f) {
    if (!IsNumeric(f.VeoAnguloPixelX))
        return Refuse(c, "VeoAnguloPixelX", "El valor en 'Segundos de arco por pixel X' no es válido.",
                      "La valeur dans 'Secondes d'arc par pixel X' n'est pas valide.",
                      "The value in 'Arcsec per pixel X' is not valid.");
    c.gSegundosPorPixelX = TextToDouble(f.VeoAnguloPixelX);
    c.gSegundosPorPixelY = c.gSegundosPorPixelX;
    if (!IsNumeric(f.VeoAnguloPixelY))
        return Refuse(c, "VeoAnguloPixelY", "El valor en 'Segundos de arco por pixel Y' no es válido.",
                      "La valeur dans 'Secondes d'arc par pixel Y' n'est pas valide.",
                      "The value in 'Arcsec per pixel Y' is not valid.");
    c.gSegundosPorPixelY = TextToDouble(f.VeoAnguloPixelY);
    c.gFocalEnPixeles = FocalDesdeEscala(c.gSegundosPorPixelX);
    if (c.gSegundosPorPixelY == 0) c.gSegundosPorPixelY = c.gSegundosPorPixelX;
    CalculaValoresDerivados(c);

    int value = 0;
    if (!IntegerIn(f.VeoLadosSuficientes, 15, 45, value))
        return Refuse(c, "VeoLadosSuficientes", "El número de lados debe estar entre 15 y 45.",
                      "Le nombre de côtés doit être entre 15 et 45.",
                      "Sides number must be between 15 and 45.");
    c.gLadosParaParar = value;
    if (!IntegerIn(f.VeoLadosSincro, 10, 45, value))
        return Refuse(c, "VeoLadosSincro", "El número de lados debe estar entre 10 y 45.",
                      "Le nombre de côtés doit être entre 10 et 45.",
                      "Sides number must be between 10 and 45.");
    c.gLadosParaSincro = static_cast<int16_t>(value);
    c.gImagenInvertida = f.CheckImagenInvertida ? 1 : 0;
    c.gSincroAutomatica = f.CheckSincronizaTelescopio ? 1 : 0;
    c.gMostrarAvisos = !f.CheckQuitarMsgBox;
    c.gSincroEquinoccioActual = f.CheckSincronizaEquinoccio ? 1 : 0;
    if (!IntegerIn(f.VeoLadosWCS, 10, 45, value))
        return Refuse(c, "VeoLadosWCS", "El número de lados debe estar entre 10 y 45.",
                      "Le nombre de côtés doit être entre 10 et 45.",
                      "Sides number must be between 10 and 45.");
    c.gLadosParaWCS = value;
    c.gWCSAutomatico = f.CheckPonerWCSenCabecera ? 1 : 0;

    if (!IsNumeric(f.VeoNorteCamara))
        return Refuse(c, "VeoNorteCamara", "El ángulo de la imagen debe ser numérico.",
                      "L'angle de l'image doit être numérique.", "Image angle must be numeric.");
    try {
        c.gAnguloImagen = GradosEntre0y360(TextToDouble(f.VeoNorteCamara));
    } catch (...) {
        return Refuse(c, "VeoNorteCamara", "Angulo de la imagen no válido.", "Angle de l'image non valide.",
                      "Image angle not valid.");
    }

    c.gCarpetaDistancias = WithTrailingSlash(f.VeoCarpetaBDdistancias);
    c.gCarpetaEstrellas = WithTrailingSlash(f.VeoCarpetaBdEstrellas);
    c.gCarpetaMensajes = WithTrailingSlash(f.VeoCarpetaAutomatico);
    c.gBaseDatosPedida = f.OptionBD == 2 ? 2 : 1;

    struct Numeric {
        const std::string& text;
        const char* campo;
        const char *es, *fr, *en;
        double* target;
    };
    Numeric numeric[] = {
        {f.VeoLongitud, "VeoLongitud", "La longitud debe ser numérica.", "La longitude doit être numérique.",
         "Longitude must be numeric.", &c.gLongitud},
        {f.VeoLatitud, "VeoLatitud", "La latitud debe ser numérica.", "La latitude doit être numérique.",
         "Latitude must be numeric.", &c.gLatitud},
        {f.VeoZonaH, "VeoZonaH", "La zona horaria debe ser numérica.",
         "Le fuseau horaire doit être numérique.", "Time zone must be numeric.", &c.gZonaHoraria},
        {f.VeoHorizonte, "VeoHorizonte", "El horizonte debe ser numérico.", "L'horizon doit être numérique.",
         "Horizon must be numeric.", &c.gHorizonte},
    };
    for (const Numeric& n : numeric) {
        if (!IsNumeric(n.text)) return Refuse(c, n.campo, n.es, n.fr, n.en);
        *n.target = TextToDouble(n.text);
    }
    if (c.gHorizonte < 0 || c.gHorizonte > 40) c.gHorizonte = 0;
    int size = 1;
    c.gTamanioAvisos = IntegerIn(f.VeoTamanioAvisos, 1, 3, size) ? size : 1;
    c.gMontura = f.OptionAltaz ? 1 : 0;

    c.gImagenCargada = false;
    DespuesDeCargaParametros(c);
    GrabaParametros(c);
    return {true, {}};
}

Aceptacion AceptaParametrosAvanzados(Context& c, const CamposAvanzados& f) {
    if (!IsNumeric(f.VeoMargenDistancia))
        return Refuse(c, "VeoMargenDistancia", "'Porcentaje de error de distancias' no es válido.",
                      "'Pourcentage d'erreur des distances' n'est pas valide.",
                      "'Distances percent error' is not valid.");
    int16_t pct = TextToInteger(f.VeoMargenDistancia);
    c.gPorcentajeError = pct > 5 ? int16_t{5} : pct;
    c.gErrorDistancias = c.gPorcentajeError / 100.0;
    if (!IsNumeric(f.VeoMargenInclinacion))
        return Refuse(c, "VeoMargenInclinacion", "El 'Porcentaje de error de inclinación' no es válido.",
                      "Le 'Pourcentage d'erreur d'inclinaison' n'est pas valide.",
                      "The 'Inclination percent error' is not valid.");
    int16_t inc = TextToInteger(f.VeoMargenInclinacion);
    c.gErrorInclinacion = inc > 5 ? int16_t{5} : inc;
    if (!IsNumeric(f.VeoVentanaAncho))
        return Refuse(c, "VeoVentanaAncho", "La anchura de la ventana de búsqueda no es válida.",
                      "La largeur de la fenêtre de recherche n'est pas valide.",
                      "The width of the Searching window is not valid.");
    c.gAnchoVentana = TextToDouble(f.VeoVentanaAncho);
    if (!IsNumeric(f.VeoVentanaAlto))
        return Refuse(c, "VeoVentanaAlto", "La altura de la ventana de búsqueda no es válida.",
                      "La hauteur de la fenêtre de recherche n'est pas valide.",
                      "The height of the Searching window is not valid.");
    c.gAltoVentana = TextToDouble(f.VeoVentanaAlto);
    if (c.gAltoVentana == 1) c.gAltoVentana = 2;
    c.gEstrellasSeleccionar = static_cast<int16_t>(f.HScrollNumEstrellas);
    c.gPerimetroMax = f.HScrollPerimetro;
    return {true, {}};
}

Aceptacion CommandoFabrica_Click(Context& c) {
    CamposAvanzados f{"2", "1", "5", "5", 10, 100};
    c.mTitulo = "TORNEL";
    PoneTitulo(c, "TORNEL");
    PoneLabelResultado(c, "");
    return AceptaParametrosAvanzados(c, f);
}

bool PerfilSalvar(Context& c, const std::string& destino) {
    GrabaParametros(c);
    return CopyFileAtomically(RutaParametros(c), destino);
}

bool PerfilCargar(Context& c, const std::string& origen) {
    if (!EsFicheroDeParametros(origen)) {
        MensajeIdioma(c, "El fichero " + origen + " no es un fichero de parámetros.",
                      origen + " n'est pas un fichier de paramètres.", origen + " is not a parameters file.");
        return false;
    }
    if (!CopyFileAtomically(origen, RutaParametros(c))) return false;
    CargaParametros(c, RutaParametros(c));
    DespuesDeCargaParametros(c);
    GrabaTornelSta(c, kEstadoEsperando, 0);
    auto slash = origen.find_last_of('/');
    PoneTitulo(c, "TORNEL - " + (slash == std::string::npos ? origen : origen.substr(slash + 1)));
    return true;
}

namespace {
FileDialogRequest ProfileDialog(const Context& c, FileDialogKind kind) {
    FileDialogRequest r;
    r.kind = kind;
    r.filter = "Profiles TXT (*.txt)|*.txt";
    r.defaultExtension = "txt";
    if (kind == FileDialogKind::Save) {
        r.title = Pick(c, "Salvar el perfil de parámetros", "Sauver le profil de paramètres",
                       "Save parameters profile");
        r.proposedName = "param.txt";
    } else {
        r.title = Pick(c, "Cargar perfil de parámetros", "Charger un profil de paramètres", "Load profile");
    }
    return r;
}
}  // namespace

void mPerfilSalvar_Click(Context& c) {
    GrabaParametros(c);
    if (auto ruta = c.platform.ChooseFile(ProfileDialog(c, FileDialogKind::Save))) PerfilSalvar(c, *ruta);
}

void mPerfilCargar_Click(Context& c) {
    if (auto ruta = c.platform.ChooseFile(ProfileDialog(c, FileDialogKind::Open))) PerfilCargar(c, *ruta);
}

}  // namespace tornel
