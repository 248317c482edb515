#pragma once
// The script checker: a copy of a script that drives the automation object, with every member that
// the object does not know marked under it. A text scan, not a parser. It reads scripts that make
// the object with "Set x = CreateObject("Tornel.ImageSolver")", and Python scripts that take it from
// the bus with "x = bus.get_object("org.tornel.ImageSolver", ...)".
#include <cstdint>
#include <string>
#include <string_view>

#include "comun/context.h"

namespace tornel {

// Whether `nombre` (any case) is one of the members the checker knows.
bool PropiedadExiste(std::string_view nombre);

// The report of `script`: its path up to the extension's point, then "CHECK.txt"; a name without
// an extension keeps the whole path as its stem.
std::string ScriptReportPath(const std::string& script);

struct ScriptCheck {
    bool done = false;         // the report was written to its end
    bool objectFound = false;  // a line made the object
    int32_t doubtful = 0;      // members marked
    std::string report;
};

// Checks `script` and writes its report beside it; file errors go to the trap. Shows the closing
// message when gMostrarAvisos.
ScriptCheck CheckScriptFile(Context& c, const std::string& script);

// The menu's command: asks for the script, then checks it. A cancelled dialog does nothing.
void CompruebaScript(Context& c);

}  // namespace tornel
