// Plain non-blocking sockets, served from a timer tick: the engine's one thread never waits on a
// client, and a client that sends half a line simply keeps its half until the next tick.
#include "telescopio/line_service.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "astrometria/plate_model.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"
#include "resultados/solution_drawing.h"
#include "telescopio/telescopio.h"

namespace tornel {
namespace {

constexpr size_t kLongestLine = 1024;

void SendTo(int fd, const std::string& text) {
    // A client that cannot take a short line at once is too slow to serve; it loses the line.
    (void)::send(fd, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

void Drop(Context& c, size_t i) {
    ::close(c.lineServiceClients[i]);
    c.lineServiceClients.erase(c.lineServiceClients.begin() + static_cast<std::ptrdiff_t>(i));
    c.lineServicePending.erase(c.lineServicePending.begin() + static_cast<std::ptrdiff_t>(i));
}

// The number that starts at 1-based `position` of the text, as the fields are written: degrees
// times 100000, with an optional sign.
bool FieldAt(const std::string& text, size_t position, double& degrees) {
    if (text.size() < position) return false;
    const char* start = text.c_str() + position - 1;
    char* end = nullptr;
    const double v = std::strtod(start, &end);
    if (end == start) return false;
    degrees = v / 100000;
    return true;
}

std::string Answer(Context& c, const std::string& line) {
    if (line == "ALI?") return c.LabelDDE;
    bool cancelar = true;
    Form_LinkExecute(c, line, cancelar);
    return "OK!";
}

}  // namespace

std::string LineServicePortFile(const Context& c) {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime && *runtime) return std::string(runtime) + "/tornel/tcpport";
    return c.gCarpetaPrograma + "tcpport";
}

bool OpenLineService(Context& c, uint16_t port) {
    CloseLineService(c);
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    int yes = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    // Loopback only: the commands move what the program shows, and carry no authentication.
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(fd, 8) != 0 || ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        const std::string n = std::to_string(port);
        if (fd >= 0) ::close(fd);
        MensajeIdioma(c, "No se puede abrir el servicio de líneas en el puerto " + n + ".",
                      "Impossible d'ouvrir le service de lignes sur le port " + n + ".",
                      "Cannot open the line service on port " + n + ".");
        return false;
    }
    c.lineServiceSocket = fd;
    c.lineServicePort = ntohs(address.sin_port);
    c.timers.TimerLineService.Enabled = true;
    const std::filesystem::path file = LineServicePortFile(c);
    std::error_code ignored;
    std::filesystem::create_directories(file.parent_path(), ignored);
    std::ofstream(file) << c.lineServicePort << "\n";
    return true;
}

void CloseLineService(Context& c) {
    while (!c.lineServiceClients.empty())
        Drop(c, 0);
    if (c.lineServiceSocket >= 0) {
        ::close(c.lineServiceSocket);
        std::error_code ignored;
        std::filesystem::remove(LineServicePortFile(c), ignored);
    }
    c.lineServiceSocket = -1;
    c.lineServicePort = 0;
    c.timers.TimerLineService.Enabled = false;
}

void ServeLineClients(Context& c) {
    if (c.lineServiceSocket < 0) return;
    for (;;) {
        const int client = ::accept4(c.lineServiceSocket, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (client < 0) break;
        c.lineServiceClients.push_back(client);
        c.lineServicePending.emplace_back();
    }
    for (size_t i = 0; i < c.lineServiceClients.size();) {
        char buffer[4096];
        const ssize_t n = ::recv(c.lineServiceClients[i], buffer, sizeof buffer, MSG_DONTWAIT);
        if (n == 0 || (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
            Drop(c, i);
            continue;
        }
        if (n > 0) c.lineServicePending[i].append(buffer, static_cast<size_t>(n));
        std::string& pending = c.lineServicePending[i];
        size_t end;
        while ((end = pending.find('\n')) != std::string::npos) {
            std::string line = pending.substr(0, end);
            pending.erase(0, end + 1);
            if (!line.empty() && line.back() == '\r') line.pop_back();
            SendTo(c.lineServiceClients[i], Answer(c, line) + "\r\n");
        }
        if (pending.size() > kLongestLine) pending.clear();
        ++i;
    }
}

void SincronizaDDE(Context& c) {
    if (!c.gHaySolucion) return;
    const bool ofDate = c.gSincroEquinoccioActual == 1;
    const double ar = ofDate ? c.gARActual : c.gARJ2000, de = ofDate ? c.gDEActual : c.gDEJ2000;
    c.LabelDDE = "ALI AR=" + FormatNumber(ar * 100000, "00000000") + " DE=" + (de > 0 ? "+" : "") +
                 FormatNumber(de * 100000, "0000000") + "  ";
    for (int client : c.lineServiceClients)
        SendTo(client, c.LabelDDE + "\r\n");
}

void Form_LinkExecute(Context& c, const std::string& comando, bool& cancelar) {
    cancelar = false;
    const std::string verb = comando.substr(0, 3);
    if (verb != "POS" && verb != "CEN") return;
    double ra = 0, dec = 0;
    if (!FieldAt(comando, 8, ra) || !FieldAt(comando, 20, dec)) return;
    if (verb == "CEN") {
        c.mCentroDDERA = ra;
        c.mCentroDDEDEC = dec;
        return;
    }
    // The target relative to the image centre, in image pixels, for the guidance to it.
    if (!c.gHaySolucion) return;
    double x = 0, y = 0;
    CoordenadasCatalogoAimagen(c, ra, dec, x, y);
    c.destinoDDEX = x - c.gAnchoImagen / 2;
    c.destinoDDEY = y - c.gAltoImagen / 2;
    c.destinoDDERA = ra;
    c.destinoDDEDEC = dec;
    c.hayDestinoDDE = true;
    // The new target is shown at once: its mark and the guidance labels.
    PresentaSolucion(c);
}

}  // namespace tornel
