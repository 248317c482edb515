#pragma once
// State of the mailbox and of the message commands.
#include <cstdint>
#include <string>

namespace tornel {

struct AutomationState {
    // Command and value of the last command message, written to tornel.sta and emptied there.
    std::string mUltimoComando;
    std::string mUltimoValor;
    // The EXE command of the last command message (verb and key, "EXEanalyze"), run after the file.
    std::string mComandoPendiente;
    std::string mValorPendiente;
    // Dates, seconds since the epoch: the last mailbox file dealt with, and the moments the waits
    // for a message and for an image began.
    double gUltimaFechaBuzon = 0;
    double mFechaUltimoMensaje = 0;
    double mFechaUltimaImagen = 0;
    // Seconds given by the message key timeOut; nothing reads it.
    int32_t mTiempoLimite = 0;
    // tornel.sta writes so far: a message that wrote none is answered with the waiting state.
    int64_t statusWrites = 0;

    // The automation object: live clients, and why the last analysis failed. That a client set the
    // estimated centre is gCoordenadasScript, which the search honours.
    int32_t gConexiones = 0;
    std::string gCausaFallo;
};

}  // namespace tornel
