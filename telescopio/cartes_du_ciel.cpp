// The planetarium link: Cartes du Ciel's TCP server, one command a line (CR LF) and one reply line
// starting "OK!", "Failed!" or "Not found!". The chart centre is kept in LabelDDEciel in the form
// "RA:05h35m17.30s DEC:+22d00m52.0s FOV:+01d00m00s", which is also how the move names it.
#include <cmath>
#include <cstdlib>

#include "comun/errors.h"
#include "comun/numbers.h"
#include "resultados/resumen.h"
#include "telescopio/link_identifier.h"
#include "telescopio/tcp_stream.h"
#include "telescopio/telescopio.h"

namespace tornel {
namespace {

constexpr const char* kNothing = "erroneo";

// Whole units, then minutes and seconds with `decimals`; a field at its rounding limit becomes 0
// and carries, so that no field shows 60.
void Sexagesimal(double value, int decimals, int& units, int& minutes, double& seconds) {
    const double step = std::pow(10.0, decimals);
    double total = RoundHalfEven(std::fabs(value) * 3600 * step) / step;
    units = static_cast<int>(std::floor(total / 3600 + 1e-12));
    total -= units * 3600.0;
    minutes = static_cast<int>(std::floor(total / 60 + 1e-12));
    seconds = total - minutes * 60.0;
    if (seconds < 0) seconds = 0;
}

std::string Signed(double value) {
    return value < 0 ? "-" : "+";
}

class ChartServer {
  public:
    explicit ChartServer(Context& c) : c_(c), wait_(LinkWaitOf(c)) {}

    // Reaches the server and reads its greeting; LinkError when it cannot.
    void Open() {
        auto id = ParseLinkIdentifier(c_.planetarium);
        if (!id || id->kind != LinkKind::CartesDuCiel)
            throw LinkError("The planetarium address " + c_.planetarium + " is not cdc://host:port.");
        stream_.Connect(id->host, id->port, wait_);
        const std::string greeting = Line(wait_.Deadline());
        if (greeting.rfind("OK!", 0) != 0) throw LinkError("Cartes du Ciel: " + greeting);
    }

    // One command and its reply line; empty when none came by the deadline.
    std::string Ask(const std::string& command, LinkWait::Clock::time_point deadline) {
        stream_.Send(command + "\r\n");
        return Line(deadline);
    }

    void Close() {
        if (!stream_.IsOpen()) return;
        try {
            stream_.Send("QUIT\r\n");
        } catch (const LinkError&) {
        }
        stream_.Close();
    }

  private:
    std::string Line(LinkWait::Clock::time_point deadline) {
        for (;;) {
            const size_t end = pending_.find('\n');
            if (end != std::string::npos) {
                std::string line = pending_.substr(0, end);
                pending_.erase(0, end + 1);
                if (!line.empty() && line.back() == '\r') line.pop_back();
                // A keep-alive line of the server carries nothing.
                if (line == ".") continue;
                return line;
            }
            if (LinkWait::Clock::now() >= deadline) return {};
            pending_ += stream_.Receive(deadline, wait_);
        }
    }

    Context& c_;
    LinkWait wait_;
    TcpStream stream_;
    std::string pending_;
};

// The value of a reply "OK! 5.58814"; false for any other reply.
bool ReplyValue(const std::string& reply, double& value) {
    if (reply.rfind("OK! ", 0) != 0) return false;
    char* end = nullptr;
    value = std::strtod(reply.c_str() + 4, &end);
    return end != reply.c_str() + 4 && std::isfinite(value);
}

std::string CentreText(double raHours, double decDegrees, double fovDegrees) {
    int h = 0, m = 0, g = 0, mi = 0, fg = 0, fm = 0;
    double s = 0, se = 0, fs = 0;
    Sexagesimal(raHours, 2, h, m, s);
    Sexagesimal(decDegrees, 1, g, mi, se);
    Sexagesimal(fovDegrees, 0, fg, fm, fs);
    return "RA:" + FormatNumber(h, "00") + "h" + FormatNumber(m, "00") + "m" + FormatNumber(s, "00.00") +
           "s DEC:" + Signed(decDegrees) + FormatNumber(g, "00") + "d" + FormatNumber(mi, "00") + "m" +
           FormatNumber(se, "00.0") + "s FOV:+" + FormatNumber(fg, "00") + "d" + FormatNumber(fm, "00") +
           "m" + FormatNumber(fs, "00") + "s";
}

void NoAnswer(Context& c, int n, const char* tail = "") {
    const std::string k = std::to_string(n) + tail;
    LabelResul(c, "Cartes du Ciel no contesta " + k, "Cartes du Ciel ne répond pas " + k,
               "No answer from Cartes du Ciel " + k);
    ParaResumen(c, "Cartes du Ciel no contesta " + k, "Cartes du Ciel ne répond pas " + k,
                "No answer from Cartes du Ciel " + k);
}

void ReportFailure(Context& c, const std::string& text, const char* procedure) {
    const std::string report = "Error " + std::to_string(kErrAutomation) + " " + ErrorText(kErrAutomation) +
                               ": " + text + " " + procedure;
    AvisoIdioma(c, report, report, report);
}

// The first steps of both client procedures: the chart centre into LabelDDEciel. True when a
// centre came; the failures have been told.
bool AskChartCentre(Context& c, ChartServer& server, const char* procedure) {
    try {
        server.Open();
    } catch (const LinkError& e) {
        ReportFailure(c, e.what(), procedure);
        return false;
    }
    c.LabelDDEciel = kNothing;
    const auto deadline = LinkWait::Clock::now() + std::chrono::milliseconds(c.planetariumWaitMs);
    try {
        const std::string a = server.Ask("GETRA F", deadline);
        const std::string b = a.empty() ? "" : server.Ask("GETDEC F", deadline);
        const std::string f = b.empty() ? "" : server.Ask("GETFOV F", deadline);
        if (f.empty())
            NoAnswer(c, 1);
        else
            c.LabelDDEciel = ChartCentreLabel(a, b, f);
    } catch (const LinkError& e) {
        NoAnswer(c, 1);
        ReportFailure(c, e.what(), procedure);
    }
    if (c.LabelDDEciel == kNothing) {
        NoAnswer(c, 2, "   ");
        return false;
    }
    if (c.LabelDDEciel.empty()) {
        NoAnswer(c, 3);
        return false;
    }
    return true;
}

// Reads the number after `marker` and the two that follow it (separated by letters).
bool ThreeFields(const std::string& text, const std::string& marker, double& a, double& b, double& s,
                 bool& negative) {
    const size_t at = text.find(marker);
    if (at == std::string::npos) return false;
    const char* p = text.c_str() + at + marker.size();
    while (*p == ' ')
        ++p;
    negative = *p == '-';
    if (*p == '+' || *p == '-') ++p;
    double* fields[] = {&a, &b, &s};
    for (double* f : fields) {
        char* end = nullptr;
        *f = std::strtod(p, &end);
        if (end == p) return false;
        p = end;
        while (*p && !(*p >= '0' && *p <= '9'))
            ++p;
    }
    return true;
}

}  // namespace

std::string ChartCentreLabel(const std::string& raReply, const std::string& decReply,
                             const std::string& fovReply) {
    double ra = 0, dec = 0, fov = 0;
    // A value out of its range is no centre: it would overflow the fields of the label.
    if (ReplyValue(raReply, ra) && ReplyValue(decReply, dec) && ra >= 0 && ra <= 24 && std::fabs(dec) <= 90) {
        if (!ReplyValue(fovReply, fov) || fov < 0 || fov > 360) fov = 0;
        return CentreText(ra, dec, fov);
    }
    if (raReply == "OK!" || decReply == "OK!") return {};
    return kNothing;
}

bool ChartCentreOfLabel(const std::string& label, double& ra, double& dec) {
    double h = 0, m = 0, s = 0, g = 0, mi = 0, se = 0;
    bool westOfZero = false, south = false;
    if (!ThreeFields(label, "RA:", h, m, s, westOfZero) || !ThreeFields(label, "DEC:", g, mi, se, south))
        return false;
    ra = 15 * h + m / 4 + s / 240;
    const double d = g + mi / 60 + se / 3600;
    dec = south ? -d : d;
    return true;
}

void FabricaMovimientoCdC(Context& c, std::string& texto) {
    const bool ofDate = c.gSincroEquinoccioActual == 1;
    const double ar = ofDate ? c.gARActual : c.gARJ2000, de = ofDate ? c.gDEActual : c.gDEJ2000;
    int h = 0, m = 0, g = 0, mi = 0;
    double s = 0, se = 0;
    Sexagesimal(ar / 15, 2, h, m, s);
    Sexagesimal(de, 1, g, mi, se);
    texto = "MOVE RA: " + FormatNumber(h, "00") + "h" + FormatNumber(m, "00") + "m" +
            FormatNumber(s, "00.00") + "s DEC:" + Signed(de) + FormatNumber(g, "00") + "°" +
            FormatNumber(mi, "00") + "'" + FormatNumber(se, "00.0");
    for (char& ch : texto)
        if (ch == ',') ch = '.';
}

int LeeCentroBusquedaDeCartesDuCielDDE(Context& c) {
    ChartServer server(c);
    const bool read = AskChartCentre(c, server, " LeeCentroBusquedaDeCartesDuCielDDE");
    server.Close();
    if (!read) return 1;
    return ChartCentreOfLabel(c.LabelDDEciel, c.gCentroBusquedaRA, c.gCentroBusquedaDEC) ? 0 : 1;
}

void SincronizaCartesDuCielDDE(Context& c) {
    ChartServer server(c);
    if (AskChartCentre(c, server, " SincronizaCartesDuCielDDE")) {
        const size_t fov = c.LabelDDEciel.find(" FOV");
        const std::string field = fov == std::string::npos ? "" : c.LabelDDEciel.substr(fov);
        std::string move;
        FabricaMovimientoCdC(c, move);
        // The server splits arguments at blanks and reads d/m/s letters: the move goes in that form.
        std::string wire;
        for (size_t i = 0; i < move.size(); ++i) {
            if (move.compare(i, 4, "RA: ") == 0) {
                wire += "RA:";
                i += 3;
            } else if (move.compare(i, 2, "°") == 0) {
                wire += 'd';
                ++i;
            } else if (move[i] == '\'') {
                wire += 'm';
            } else {
                wire += move[i];
            }
        }
        try {
            server.Ask(wire + "s" + field,
                       LinkWait::Clock::now() + std::chrono::milliseconds(c.planetariumWaitMs));
        } catch (const LinkError& e) {
            ReportFailure(c, e.what(), " SincronizaCartesDuCielDDE");
        }
    }
    server.Close();
}

}  // namespace tornel
