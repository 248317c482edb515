#pragma once
// The status files of the mailbox folder: tornel.pos, tornel.aqi and tornel.sta.
#include "core/context.h"

namespace tornel {

// Codes of the program state written to tornel.sta.
enum EstadoTornel : int {
    kEstadoSolucion = 1,
    kEstadoSinSolucion = 2,
    kEstadoEsperando = 3,
    kEstadoAnalizando = 4,
    kEstadoFinal = 0,  // the analysis ended: solution or not, by gHaySolucion
};

void GrabaTornelPos(Context& c);
void GrabaTornelSta(Context& c, int estado);

}  // namespace tornel
