#include "automatizacion/mailbox_files.h"

#include <chrono>

#include "automatizacion/busy_file.h"
#include "comun/files.h"
#include "comun/text_encoding.h"

namespace tornel {

double NowSeconds(Context& c) {
    return std::chrono::duration<double>(c.platform.Now().time_since_epoch()).count();
}

namespace {
bool HoldsAny(const std::string& line, const char* a, const char* b) {
    return line.find(a) != std::string::npos || line.find(b) != std::string::npos;
}
}  // namespace

bool IsImageMessageLine(const std::string& first) {
    return HoldsAny(first, "ruta del fichero imagen", "image file path");
}

bool IsParameterMessageLine(const std::string& first) {
    return HoldsAny(first, "ruta del fichero parametros", "parameters file path");
}

bool IsCommandMessageLine(const std::string& first) {
    return HoldsAny(first, "fichero de comandos", "command file");
}

std::vector<std::string> ReadMailboxLines(Context& c, const std::string& ruta) {
    if (FileBeingWritten(ruta, NowSeconds(c))) Raise(kErrPermissionDenied);
    std::string bytes;
    if (!ReadWholeFile(ruta, bytes)) Raise(kErrFileNotFound);
    return SplitLines(Latin1ToUtf8(bytes));
}

}  // namespace tornel
