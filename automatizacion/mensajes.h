#pragma once
// Message files of the mailbox: two image messages, a parameter message and a command message, each
// told by its first line. Results: 0 taken, -1 refused, 70 the file is still being written (tried
// again on the next tick), and for commands 1 after an unknown code or a refused value.
#include <cstdint>
#include <string>

#include "comun/context.h"

namespace tornel {

// Image message of fewer than 22 lines: path, a flag "coordinates from the FITS header", RA, DEC.
void TrataFicheroMensajeDeTipo1(Context& c, const std::string& ruta, int32_t& resultado);
// Image message of 22 lines or more: path, coordinates origin, RA, DEC, sky zone, window type,
// image area and rectangle, ring.
void TrataFicheroMensajeDeTipo2(Context& c, const std::string& ruta, int32_t& resultado);
// Parameter message: the parameter file named on line 2 is read and applied.
void TrataFicheroMensajeDeTipo3(Context& c, const std::string& ruta, int32_t& resultado);
// Command message: pairs of a code line and a value line from line 3 on. SET pairs act at once,
// GET pairs answer through tornel.sta, the last EXE pair waits in mComandoPendiente.
void TrataFicheroMensajeDeTipo4(Context& c, const std::string& ruta, int32_t& resultado);

// One code line ("SET", "GET" or "EXE" in columns 1-3, the key in columns 7-46 up to its first
// blank) with its value. `resultado` 0 done, 1 unknown code, 2 value refused.
void DescodificaComando(Context& c, const std::string& codigo, const std::string& valor, int32_t& resultado);

// The EXE command left by the last command message, run once the file has been read. False when
// the mailbox must stay off: an analysis is already running, or the program is to end at once.
bool RunPendingCommand(Context& c);

// The scale keys with their number already read, shared with the automation object. A scale is
// accepted from 0.165 to 1650 arcseconds a pixel while the tangent of half a pixel stays within
// bounds; a refused one changes nothing (false).
bool ScaleAccepted(double segundosPorPixel);
bool ApplyArcSecPerPixel(Context& c, double segundosPorPixel);
bool ApplyArcSecPerPixelX(Context& c, double segundosPorPixel);
bool ApplyArcSecPerPixelY(Context& c, double segundosPorPixel);
// The focal length in pixels (rounded) and both scales from it; the caller tests its range.
void ApplyFocalInPixels(Context& c, double focal);

// Adds a final "/" to `ruta` when it lacks one (the caller keeps it) and tells whether the folder
// exists.
bool ExisteCarpeta(std::string& ruta);

}  // namespace tornel
