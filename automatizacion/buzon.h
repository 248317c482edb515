#pragma once
// The mailbox: while the program waits (image origin 5 for a message, 6 for an image) the one-second
// timer TimerBuzon watches gCarpetaMensajes. Everything rests on polling and file time stamps.
#include <cstdint>
#include <string>

#include "comun/context.h"

namespace tornel {

// The tick: finds a new message or image and obeys it. The timer is off while it runs and comes back
// on only if the program still waits.
void TimerBuzon_Timer(Context& c);

// A new message file, tornel.txt or tornel.men: `tipo` 1 or 2 image message (fewer than 22 lines,
// 22 or more), 3 parameter message, 4 command message, 0 nothing new, busy or not recognised.
void NuevoFicheroMensajeEnBuzon(Context& c, std::string& ruta, int32_t& tipo);
// A new image that no program is still writing: `hay` 1, or 0 with `ruta` empty.
void NuevoFicheroImagenEnBuzon(Context& c, std::string& ruta, int32_t& hay);

// TimerBuzon runs exactly in the waiting modes 5 and 6, which also lock the analysis controls.
void ActualizaMenusSegunModo(Context& c);
// The menu entries that enter the waiting modes, and the way out of them (image origin 0).
void mEsperaImagenDelMensaje_Click(Context& c);
void mEsperaImagenMasReciente_Click(Context& c);
void PasaAlModoRutaImagen(Context& c);

}  // namespace tornel
