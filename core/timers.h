#pragma once
// The timer handlers of the main window. The engine keeps whether each timer is enabled; a front
// end calls the handler of every enabled timer when its period has passed.
#include <span>

#include "comun/context.h"

namespace tornel {

struct TimerBinding {
    const char* name;
    Timer Timers::*timer;
    void (*handler)(Context&);
};

// Every timer with its handler, in the order a front end should test them.
std::span<const TimerBinding> TimerTable();

// Start-up found no region.bin: tells the user and rebuilds it from est.bin.
void TimerVarios_Timer(Context& c);
void TimerAnalizaYsale_Timer(Context& c);
void TimerExtraer_Timer(Context& c);
void TimerEventos_Timer(Context& c);
void TimerAnalizaAmbitoVentanaElemental_Timer(Context& c);
void TimerAnalizaAmbitoZonaEsferica_Timer(Context& c);
void TimerAnalizaEnZonaGeneral_Timer(Context& c);
void TimerAnalizaAmbito30x30gSinRotacion_Timer(Context& c);
// The analysis of sky zone 6: the image searched over the 30 x 30 degree zone at every angle within
// gAmplitudAngulo of the image angle.
void AnalizaAmbito30x30gConRotacion(Context& c);
// Runs that search and offers the angle found as the new image angle. The sky zone chosen before
// is kept: the search is a one-off, not a choice of where the next analyses look.
void TimerAnalizaAmbito30x30gConRotacion_Timer(Context& c);

// `FormBuscaInclinacion`'s checks. It opens only with a valid pixel size ("Invalid pixel size.").
bool AngleSearchMayOpen(Context& c);
// `CommandoAceptar_Click`: `amplitud` is 5, 10 or 15 degrees, 0 when none is chosen (told); the user
// is asked before a search of minutes, and on yes gAmplitudAngulo is set and the search's timer
// enabled. True when it starts.
bool StartAngleSearch(Context& c, int32_t amplitud);

}  // namespace tornel
