#include "core/timers.h"

#include "astrometria/angle_calibration.h"
#include "automatizacion/buzon.h"
#include "busqueda/triangle_search.h"
#include "catalogo/database_choice.h"
#include "catalogo/regions.h"
#include "comun/clock.h"
#include "comun/language.h"
#include "comun/numbers.h"
#include "core/analisis.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "imagen/imagen.h"
#include "resultados/resumen.h"
#include "resultados/status_files.h"
#include "telescopio/line_service.h"

namespace tornel {

namespace {

const TimerBinding kTimers[] = {
    {"TimerVarios", &Timers::TimerVarios, TimerVarios_Timer},
    {"TimerAnalizaYsale", &Timers::TimerAnalizaYsale, TimerAnalizaYsale_Timer},
    {"TimerExtraer", &Timers::TimerExtraer, TimerExtraer_Timer},
    {"TimerEventos", &Timers::TimerEventos, TimerEventos_Timer},
    {"TimerAnalizaAmbitoVentanaElemental", &Timers::TimerAnalizaAmbitoVentanaElemental,
     TimerAnalizaAmbitoVentanaElemental_Timer},
    {"TimerAnalizaAmbitoZonaEsferica", &Timers::TimerAnalizaAmbitoZonaEsferica,
     TimerAnalizaAmbitoZonaEsferica_Timer},
    {"TimerAnalizaEnZonaGeneral", &Timers::TimerAnalizaEnZonaGeneral, TimerAnalizaEnZonaGeneral_Timer},
    {"TimerAnalizaAmbito30x30gSinRotacion", &Timers::TimerAnalizaAmbito30x30gSinRotacion,
     TimerAnalizaAmbito30x30gSinRotacion_Timer},
    {"TimerAnalizaAmbito30x30gConRotacion", &Timers::TimerAnalizaAmbito30x30gConRotacion,
     TimerAnalizaAmbito30x30gConRotacion_Timer},
    {"TimerEsperaTriangle", &Timers::TimerEsperaTriangle, TimerEsperaTriangle_Timer},
    {"TimerBuzon", &Timers::TimerBuzon, TimerBuzon_Timer},
    {"TimerLineService", &Timers::TimerLineService, ServeLineClients},
};

}  // namespace

std::span<const TimerBinding> TimerTable() {
    return kTimers;
}

void TimerVarios_Timer(Context& c) {
    c.timers.TimerVarios.Enabled = false;
    if (!DatabaseFileExists(c.gCarpetaEstrellas, "est.bin") ||
        DatabaseFileExists(c.gCarpetaEstrellas, "region.bin"))
        return;
    MensajeIdioma(
        c,
        "No se ha encontrado el fichero region.bin. Pulse Aceptar y espere unos segundos hasta que se "
        "genere automáticamente.",
        "Le fichier region.bin n'a pas été trouvé. Appuyez sur OK et attendez quelques secondes qu'il "
        "soit généré automatiquement.",
        "The region.bin file has not be found. Press OK and wait some seconds until it is "
        "automatically generated.");
    c.buildingRegionIndex = true;
    PoneMenus(c, false);
    // No analysis runs now: a failed build is told by its trap and must not stop the next analysis.
    bool finAnalisis = c.mFinAnalisis;
    FabricaFicheroRegiones(c);
    c.mFinAnalisis = finAnalisis;
    PoneMenus(c, true);
    c.buildingRegionIndex = false;
}

void TimerAnalizaYsale_Timer(Context& c) {
    // The region index comes first: the analysis waits, enabled, until it is built.
    if (c.timers.TimerVarios.Enabled || c.buildingRegionIndex) return;
    c.timers.TimerAnalizaYsale.Enabled = false;
    PoneTitulo(c, "TORNEL - " + c.gRutaImagen);
    c.gImagenCargada = false;
    AnalizaImagen(c);
    DespuesDeAnalizaImagen(c);
    c.mProgramaTerminado = true;
}

void TimerExtraer_Timer(Context& c) {
    c.timers.TimerExtraer.Enabled = false;
    if (c.gAnalizando || c.mRepintando) return;
    c.gAreaImagen = c.mRectanguloActivo ? 1 : 0;
    c.gAnalizando = true;
    c.gUltimoError.clear();
    PoneTitulo(c, "TORNEL");
    PoneLabelResultado(c, "");
    c.gInicioAnalisis = Ahora(c);
    c.timers.TimerEventos.Enabled = true;
    double inicio = Ahora(c);
    c.mFinAnalisis = false;
    PreparaNuevaImagen(c);
    ShowStopWord(c);
    CargaImagen(c);
    c.mSoloExtraer = true;
    CalculaBrilloDeFondoYumbral(c);
    c.platform.ImageChanged();
    ExtraeEstrellas(c);
    c.mSoloExtraer = false;
    AvisoResulYresumen(c, "Extracción de estrellas terminada.", "Extraction des étoiles terminée.",
                       "Star extraction finished.");
    VisuTitulo(c, "Extracción de estrellas terminada.", "Extraction des étoiles terminée.",
               "Star extraction finished.");
    std::string t = FormatNumber(Ahora(c) - inicio, "0.0");
    ParaResumen(c, "Tiempo de extracción = " + t, "Temps d'extraction = " + t,
                "Stars extraction time = " + t);
    if (!c.mFinAnalisis)
        LabelResul(c, "Extracción de estrellas terminada.", "Extraction des étoiles terminée.",
                   "Star extraction finished.");
    if (c.gDetenerAnalisis) {
        LabelResul(c, "Extracción interrumpida por el usuario.", "Extraction abandonnée par l'usager.",
                   "Extraction interrupted by the user.");
        c.gDetenerAnalisis = false;
    }
    ReportEndAndElapsed(c);
    GrabaTornelPos(c, 0, 0);
    c.timers.TimerEventos.Enabled = false;
    if (c.events.AvisoTerminado) c.events.AvisoTerminado();
    c.platform.SetBusy(false);
    PoneMenus(c, true);
    c.mFinAnalisis = false;
    c.gAnalizando = false;
    if (c.gOrigenImagen == 5 || c.gOrigenImagen == 6) {
        c.timers.TimerBuzon.Enabled = true;
        c.gInicioEspera = static_cast<float>(Ahora(c));
    }
}

void TimerEventos_Timer(Context& c) {
    double elapsed = Ahora(c) - c.gInicioAnalisis;
    if (elapsed < 0) elapsed += 86400;
    auto seconds = static_cast<int32_t>(RoundHalfEven(elapsed));
    if (c.events.AvisoTiempo) c.events.AvisoTiempo(seconds);
}

void TimerAnalizaAmbitoVentanaElemental_Timer(Context& c) {
    c.timers.TimerAnalizaAmbitoVentanaElemental.Enabled = false;
    if (!c.mRepintando) AnalizaAmbitoVentanaElemental(c);
}

void TimerAnalizaAmbitoZonaEsferica_Timer(Context& c) {
    c.timers.TimerAnalizaAmbitoZonaEsferica.Enabled = false;
    if (c.gAnalizando || c.mRepintando) return;
    c.gZonaCielo = 2;
    AnalisisGeneral(c);
}

void TimerAnalizaEnZonaGeneral_Timer(Context& c) {
    c.timers.TimerAnalizaEnZonaGeneral.Enabled = false;
    if (c.gAnalizando || c.mRepintando) return;
    AnalisisGeneral(c);
}

void TimerAnalizaAmbito30x30gSinRotacion_Timer(Context& c) {
    c.timers.TimerAnalizaAmbito30x30gSinRotacion.Enabled = false;
    if (c.mRepintando) return;
    c.gZonaCielo = 4;
    AnalizaImagen(c);
    DespuesDeAnalizaImagen(c);
}

void AnalizaAmbito30x30gConRotacion(Context& c) {
    c.gZonaCielo = 6;
    AnalizaImagen(c);
    DespuesDeAnalizaImagen(c);
}

void TimerAnalizaAmbito30x30gConRotacion_Timer(Context& c) {
    c.timers.TimerAnalizaAmbito30x30gConRotacion.Enabled = false;
    if (c.gAnalizando || c.mRepintando) return;
    c.mHayAngulo = false;
    const int32_t zone = c.gZonaCielo;
    AnalizaAmbito30x30gConRotacion(c);
    c.gZonaCielo = zone;
    if (c.gLadosSolucion > 8 && c.mHayAngulo) {
        AskToAcceptAngleFound(c, "Búsqueda en 30x30 g, con rotación", "Recherche en 30x30 d, avec rotation",
                              "Search in 30x30 d, with rotation");
        SaveChangedParameters(c);
    } else {
        MensajeIdioma(c, "No se ha encontrado solución.", "Pas de solution trouvée.", "No solution found.");
    }
}

bool AngleSearchMayOpen(Context& c) {
    if (c.gSegundosPorPixelX > 0 && c.gSegundosPorPixelY > 0) return true;
    MensajeIdioma(c, "Tamaño de pixel no válido.", "Taille de pixel non valable.", "Invalid pixel size.");
    return false;
}

bool StartAngleSearch(Context& c, int32_t amplitud) {
    if (amplitud != 5 && amplitud != 10 && amplitud != 15) {
        MensajeIdioma(c, "Debe elegir una amplitud de error para la búsqueda del ángulo de la imagen.",
                      "Vous devez choisir une amplitude d'erreur pour la recherche de l'angle de l'image.",
                      "You must choose an error amplitude for the image angle search.");
        return false;
    }
    if (!c.platform.AskYesNo(
            Pick(c,
                 "Esta búsqueda puede durar varios minutos. Pulse la etiqueta 'Detener' para "
                 "cancelarla.\n¿ Empezar ?",
                 "Cette recherche peut durer plusieurs minutes. Appuyez sur l'étiquette "
                 "'Stop' pour l'annuler.\nCommencer ?",
                 "This search can last several minutes. Press 'Stop' label to cancel.\nOK to "
                 "begin ?"),
            "Tornel", false))
        return false;
    c.gAmplitudAngulo = amplitud;
    c.timers.TimerAnalizaAmbito30x30gConRotacion.Enabled = true;
    return true;
}

}  // namespace tornel
