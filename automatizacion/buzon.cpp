#include "automatizacion/buzon.h"

#include <vector>

#include "astrometria/text_utilities.h"
#include "automatizacion/busy_file.h"
#include "automatizacion/mailbox_files.h"
#include "automatizacion/mensajes.h"
#include "comun/clock.h"
#include "comun/files.h"
#include "comun/language.h"
#include "comun/numbers.h"
#include "core/analisis.h"
#include "core/parametros.h"
#include "resultados/resumen.h"
#include "resultados/status_files.h"

namespace tornel {

namespace {

bool Waiting(const Context& c) {
    return c.gOrigenImagen == 5 || c.gOrigenImagen == 6;
}

// The wait text of the result label, with the seconds since the wait began.
void ShowWaitText(Context& c, const std::string& es, const std::string& fr, const std::string& en) {
    std::string n = FormatNumber(Ahora(c) - c.gInicioEspera, "0");
    LabelResul(c, es + n + ". Clik AQUI para parar", fr + n + ". STOP en cliquant ici",
               en + n + ". Click HERE to stop");
}

// Told in a message box and in the summary.
void BoxAndSummary(Context& c, const std::string& es, const std::string& fr, const std::string& en) {
    AvisoIdioma(c, es, fr, en);
    ParaResumen(c, es, fr, en);
}

bool ShowsWaitText(const Context& c) {
    const std::string& label = c.mTextoLabelResultado;
    for (const char* start : {"Esperando ", "A l'attente ", "Waiting for "})
        if (label.rfind(start, 0) == 0) return true;
    return false;
}

// A first message line tells the kind; image messages are told apart by their length.
int32_t KindOf(const std::vector<std::string>& lines) {
    if (lines.empty()) return 0;
    const std::string& first = lines[0];
    if (IsImageMessageLine(first)) {
        if (lines.size() > 501) return 0;
        return lines.size() < 22 ? 1 : 2;
    }
    if (IsParameterMessageLine(first)) return 3;
    if (IsCommandMessageLine(first)) return 4;
    return 0;
}

void WaitForMessage(Context& c) {
    ShowWaitText(c, "Esperando mensaje ... ", "A l'attente de messages ... ", "Waiting for messages ... ");
    std::string ruta;
    int32_t tipo = 0;
    NuevoFicheroMensajeEnBuzon(c, ruta, tipo);
    if (tipo == 0) {
        c.timers.TimerBuzon.Enabled = true;
        return;
    }
    double stamp = FileStamp(ruta);
    int64_t writes = c.statusWrites;
    int32_t r = 0;
    switch (tipo) {
        case 1:
            TrataFicheroMensajeDeTipo1(c, ruta, r);
            break;
        case 2:
            TrataFicheroMensajeDeTipo2(c, ruta, r);
            break;
        case 3:
            TrataFicheroMensajeDeTipo3(c, ruta, r);
            break;
        default:
            TrataFicheroMensajeDeTipo4(c, ruta, r);
            break;
    }
    bool keepWaiting = true;
    if (tipo == 4 && r == 0) {
        keepWaiting = RunPendingCommand(c);
        if (c.endWithoutClosing) return;
    } else if (tipo == 4 && r == -1) {
        BoxAndSummary(c, "Error en el fichero de mensajes tornel.txt.",
                      "Erreur dans le fichier de massages tornel.txt.",
                      "There is an error in the message file tornel.txt.");
    }
    // A busy file is tried again on the next tick.
    if (r != kErrPermissionDenied) {
        if (stamp >= 0) c.gUltimaFechaBuzon = stamp;
        // Every message handled is answered; one that wrote no status of its own gets the wait.
        if (c.statusWrites == writes) GrabaTornelSta(c, kEstadoEsperando, 0);
    }
    if (keepWaiting && Waiting(c)) c.timers.TimerBuzon.Enabled = true;
}

void WaitForImage(Context& c) {
    ShowWaitText(c, "Esperando imagen ... ", "A l'attente d'images ... ", "Waiting for an image ... ");
    std::string ruta;
    int32_t hay = 0;
    NuevoFicheroImagenEnBuzon(c, ruta, hay);
    if (hay == 0) {
        c.timers.TimerBuzon.Enabled = true;
        return;
    }
    ExtraeNombreDeRuta(c, ruta);
    PoneTitulo(c, "TORNEL - " + ruta + " - ");
    if (c.gAnalizando) return;
    c.gImagenCargada = false;
    int32_t zona = c.gZonaCielo;
    if ((c.gBaseDatos == 1 && (zona == 1 || zona == 2 || zona == 8 || zona == 9)) || c.gBaseDatos == 2) {
        AnalizaImagen(c);
        DespuesDeAnalizaImagen(c);
    }
    // Read after the analysis: a WCS rewrite has changed the stamp, and the image is not new again.
    double stamp = FileStamp(ruta);
    if (stamp >= 0) c.gUltimaFechaBuzon = stamp;
    if (Waiting(c)) c.timers.TimerBuzon.Enabled = true;
}

void EnterWaitingMode(Context& c, int16_t modo, Txt es, Txt fr, Txt en) {
    c.gOrigenImagen = modo;
    GrabaTornelSta(c, kEstadoEsperando, 0);
    PoneTitulo(c, "TORNEL - " + Pick(c, es, fr, en));
    PoneLabelResultado(c, "");
    c.gInicioEspera = static_cast<float>(Ahora(c));
}

}  // namespace

void TimerBuzon_Timer(Context& c) {
    c.timers.TimerBuzon.Enabled = false;
    const std::string& folder = c.gCarpetaMensajes;
    if (!FolderExists(folder)) {
        BoxAndSummary(
            c, "La carpeta para modo automático " + folder + ", no existe.Actualizar la opción 'Parámetros'.",
            "Le répertoire pour le mode automatique " + folder +
                ", n'existe pas. Actualisez l'option 'Editer les paramètres'.",
            "The wait-for-mode folder " + folder + " does not exist. Update the 'Parameters' option.");
        PoneTitulo(c, c.mTitulo);
        return;
    }
    if (c.gOrigenImagen == 5)
        WaitForMessage(c);
    else if (c.gOrigenImagen == 6)
        WaitForImage(c);
}

void NuevoFicheroMensajeEnBuzon(Context& c, std::string& ruta, int32_t& tipo) {
    ruta.clear();
    tipo = 0;
    std::string txt = c.gCarpetaMensajes + "tornel.txt", men = c.gCarpetaMensajes + "tornel.men";
    bool hasTxt = FileExists(txt), hasMen = FileExists(men);
    std::string chosen;
    if (hasTxt && hasMen)
        chosen = FechaEsPosterior(FileStamp(men), FileStamp(txt)) ? men : txt;
    else if (hasTxt || hasMen)
        chosen = hasTxt ? txt : men;
    else
        return;
    if (!FechaEsPosterior(FileStamp(chosen), c.gUltimaFechaBuzon)) return;
    ruta = chosen;
    int32_t kind = MailboxTrap(c, "NuevoFicheroMensajeEnBuzon",
                               [&]() -> int32_t { return KindOf(ReadMailboxLines(c, ruta)); });
    tipo = kind >= 1 && kind <= 4 ? kind : 0;
}

void NuevoFicheroImagenEnBuzon(Context& c, std::string& ruta, int32_t& hay) {
    hay = 0;
    ruta = ImagenMasReciente(c);
    if (ruta.empty()) return;
    int32_t stable = 0;
    if (FechaEsPosterior(FileStamp(ruta), c.gUltimaFechaBuzon))
        stable = MailboxTrap(c, "NuevoFicheroImagenEnBuzon", [&]() -> int32_t {
            if (FileBeingWritten(ruta, NowSeconds(c))) Raise(kErrPermissionDenied);
            return 1;
        });
    if (stable == 1)
        hay = 1;
    else
        ruta.clear();
}

void ActualizaMenusSegunModo(Context& c) {
    c.timers.TimerBuzon.Enabled = Waiting(c);
    c.platform.SetAutomaticMode(Waiting(c));
}

void mEsperaImagenDelMensaje_Click(Context& c) {
    if (c.gOrigenImagen == 5) return;
    EnterWaitingMode(c, 5, " Esperando mensaje...", " En attente d'un message...",
                     " Waiting for a message...");
    c.mFechaUltimoMensaje = NowSeconds(c);
    ActualizaMenusSegunModo(c);
}

void mEsperaImagenMasReciente_Click(Context& c) {
    if (c.gOrigenImagen == 6) return;
    EnterWaitingMode(c, 6, " Esperando imagen ...", " En attente d'une image ...",
                     " Waiting for an image ...");
    c.mFechaUltimaImagen = NowSeconds(c);
    c.gUltimaFechaBuzon = c.mFechaUltimaImagen;
    ActualizaMenusSegunModo(c);
}

void PasaAlModoRutaImagen(Context& c) {
    if (ShowsWaitText(c)) PoneLabelResultado(c, "");
    c.timers.TimerBuzon.Enabled = false;
    c.gOrigenImagen = 0;
    GrabaTornelSta(c, kEstadoEsperando, 0);
    ActualizaMenusSegunModo(c);
}

}  // namespace tornel
