#pragma once
// The status files of the mailbox folder, the program's contract with other programs: tornel.pos
// and tornel.aqi hold the position of the last analysis (English and Spanish), tornel.sta the state
// of the program, the image and the answer to the last command message. Each is rewritten whole on
// every event, as Latin-1 text with CR LF line ends.
#include <cstdint>

#include "comun/context.h"

namespace tornel {

// States written to tornel.sta.
enum EstadoTornel : int32_t {
    kEstadoSolucion = 1,     // solution found
    kEstadoSinSolucion = 2,  // solution not found
    kEstadoEsperando = 3,    // waiting, worded by the image origin
    kEstadoAnalizando = 4,   // analysing the image
};

// tornel.aqi and tornel.pos. `tipo` 1 writes the solution with `lados` sides, 0 the texts of no
// solution, any other value leaves the three position lines empty. A failure (folder missing, file
// not writable) goes to the procedure's trap, which ends the analysis.
void GrabaTornelPos(Context& c, int32_t tipo, int32_t lados);
// tornel.sta, ten lines; `lados` counts only for state 1. Silent when the mailbox folder is missing.
// Empties mUltimoComando and mUltimoValor.
void GrabaTornelSta(Context& c, int32_t estado, int32_t lados);

}  // namespace tornel
