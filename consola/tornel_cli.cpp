// tornel-cli: the program without a window.
#include <signal.h>
#include <unistd.h>

#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "automatizacion/script_checker.h"
#include "comun/build_info.h"
#include "comun/files.h"
#include "comun/numbers.h"
#include "comun/quiet_platform.h"
#include "consola/console_platform.h"
#include "consola/solve_command.h"
#include "consola/timer_loop.h"
#include "core/parametros.h"
#include "core/startup.h"
#include "resultados/resumen.h"
#include "telescopio/line_service.h"
#include "telescopio/telescopio.h"

namespace tornel {
namespace {

constexpr int kExitSolved = 0;
constexpr int kExitNotSolved = 1;
constexpr int kExitUsage = 2;

const char* const kHelp = R"(Usage: tornel-cli [OPTIONS] [MODE [IMAGE [RA [DEC]]]]
       tornel-cli solve IMAGE [OPTIONS]

Tornel star-field solver without a window. It starts as the desktop program does: it reads the
parameters of its program folder, checks the folders and the databases, then follows the command line.

Command line (the same as the desktop program's):
  (nothing)            print the start-up report and end; wait as a mailbox daemon when the
                       parameters' image origin is 5 or 6
  MODE                 0 to 4, 7: set the image origin and print the start-up report
                       5: wait for message files in the mailbox folder and obey them
                       6: wait for new images in the mailbox folder and analyse them
                       8: analyse the image of the parameters and end
  8 IMAGE              analyse IMAGE (a path without blanks) and end
  8 IMAGE RA           the same, searching around right ascension RA (degrees; brought into 0..360)
  8 IMAGE RA DEC       the same, around RA and declination DEC (degrees)
  solve IMAGE OPTIONS  solve IMAGE with the scale, position and outputs given as options, for this
                       run only (param.txt is not changed); see tornel-cli solve --help
  Items after the fourth are ignored. A MODE that is not a number from 0 to 8 is ignored with the
  rest of the line: the parameters stand, and the program starts as with no command line.

Options:
  --automation   serve the automation object org.tornel.ImageSolver on the session bus, with no
                 window, until the last client has left (D-Bus activation starts the program so)
  --check-script FILE
                 check a script that drives the automation object: FILECHECK.txt is written beside
                 it, with every member the object does not know marked; ends 0 when none was
                 marked, 1 when some were or the object is not made in it, 2 when it cannot be read
  --log[=FILE]   after an analysis write the search summary to FILE, or to
                 tornel_yyyymmdd_hh_mm_ss.log in the mailbox folder of the parameters
  --quiet        do not print the summary lines as they are added
  --version      print the program and pixel library versions
  --help         this text

Telescope and planetarium links (the telescope itself is a parameter, line 26: an identifier
indi://HOST:PORT/DEVICE, alpaca://HOST:PORT/N):
  --list-telescopes        print the telescopes in reach, one identifier and its description a
                           line, and end (status 1 when none answers): the devices of the INDI
                           servers with the telescope interface, and the telescopes of the Alpaca
                           servers that answer discovery
  --indi-server HOST:PORT  an INDI server to list (repeatable; default 127.0.0.1:7624)
  --link-timeout MS        the longest wait for one answer of a server (default 3000)
  --planetarium cdc://HOST:PORT
                           the Cartes du Ciel TCP server (default cdc://127.0.0.1:3292)
  --line-service PORT      serve the solved centre on 127.0.0.1:PORT (0: a free port); the port
                           is written to $XDG_RUNTIME_DIR/tornel/tcpport

Program folder: $TORNEL_HOME when set, else $XDG_DATA_HOME/tornel, else ~/.local/share/tornel. It holds
param.txt; it is created on the first start. A second program on the same folder ends at once.

The database of the parameters (line 51) chooses the search: database 1 searches around the position
given, or without one where the coordinate origin (line 18) says; database 2 matches star triangles over the whole sky and needs no
position (set line 18, the coordinate origin, to 0), one given only orders the candidates. Both need the
image scale of the parameters, and the reversed-image flag for a mirrored camera.

While an analysis runs, SIGINT (Ctrl-C) asks the search to stop; SIGTERM stops it and ends. A program
that has not ended 0.7 s after SIGTERM is ended where it stands, with status 143 and nothing saved.

Mailbox daemon (image origin 5 or 6): it writes tornel.sta, tornel.pos and tornel.aqi in the mailbox
folder and runs until the message command "EXE exitTornel", SIGTERM or SIGINT; an analysis under way
is stopped first. On a signal it ends saving the parameters and closing its files; "EXE exitTornel"
ends it at once, saving nothing, so that settings a client sent stay its own.

Exit status: 0 solved; 1 not solved (or nothing to solve); 2 bad usage (an unknown option, an item
with blanks), no program folder, another program on the same folder, or folders and databases not
found. As a mailbox daemon: 0 when asked to end or when a command leaves the waiting modes; 2 when
the mailbox folder is missing. 143: ended by SIGTERM before it could end by itself.
)";

struct Options {
    bool help = false, version = false, quiet = false, automation = false, listTelescopes = false;
    std::string checkScript;
    std::vector<std::string> indiServers;
    std::optional<int> linkTimeoutMs, lineServicePort;
    std::string planetarium;
    bool log = false;
    std::string logPath;
    std::vector<std::string> items;
    std::string error;
};

std::string LinkOption(Options& o, const std::string& name, const char* value) {
    if (!value) return name + " needs a value";
    const std::string v = value;
    auto number = [&](int low, int high) -> std::optional<int> {
        if (!IsNumeric(v) || v.find_first_of(".,eE") != std::string::npos) return std::nullopt;
        const double n = TextToDouble(v);
        if (n < low || n > high) return std::nullopt;
        return static_cast<int>(n);
    };
    if (name == "--indi-server") {
        o.indiServers.push_back(v);
    } else if (name == "--planetarium") {
        o.planetarium = v;
    } else if (name == "--link-timeout") {
        o.linkTimeoutMs = number(1, 600000);
        if (!o.linkTimeoutMs) return "--link-timeout takes milliseconds from 1 to 600000, not " + v;
    } else {
        o.lineServicePort = number(0, 65535);
        if (!o.lineServicePort) return "--line-service takes a port from 0 to 65535, not " + v;
    }
    return "";
}

void ApplyLinkOptions(const Options& o, Context& c) {
    if (!o.indiServers.empty()) c.indiServers = o.indiServers;
    if (o.linkTimeoutMs) c.linkTimeoutMs = *o.linkTimeoutMs;
    if (!o.planetarium.empty()) c.planetarium = o.planetarium;
}

int ListTelescopesInReach(const Options& o) {
    QuietPlatform platform;
    Context c(platform);
    ApplyLinkOptions(o, c);
    const auto list = TelescopesInReach(c);
    for (const auto& [identifier, description] : list)
        std::cout << identifier << "\t" << description << "\n";
    return list.empty() ? kExitNotSolved : kExitSolved;
}

Options ParseOptions(int argc, char** argv) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--help" || a == "-h")
            o.help = true;
        else if (a == "--version")
            o.version = true;
        else if (a == "--quiet")
            o.quiet = true;
        else if (a == "--automation")
            o.automation = true;
        else if (a == "--check-script" && i + 1 < argc)
            o.checkScript = argv[++i];
        else if (a.rfind("--check-script=", 0) == 0)
            o.checkScript = a.substr(15);
        else if (a == "--log")
            o.log = true;
        else if (a == "--list-telescopes")
            o.listTelescopes = true;
        else if (a == "--indi-server" || a == "--link-timeout" || a == "--planetarium" ||
                 a == "--line-service")
            o.error = LinkOption(o, a, i + 1 < argc ? argv[++i] : nullptr);
        else if (a.rfind("--log=", 0) == 0)
            o.log = true, o.logPath = a.substr(6);
        else if (a.size() > 1 && a[0] == '-' && !IsNumeric(a))
            o.error = "unknown option " + a;
        else
            o.items.push_back(a);
    }
    if (o.error.empty())
        for (const auto& item : o.items)
            if (item.find(' ') != std::string::npos) o.error = "items cannot hold blanks: " + item;
    return o;
}

std::string Join(const std::vector<std::string>& items) {
    std::string line;
    for (const auto& item : items)
        line += (line.empty() ? "" : " ") + item;
    return line;
}

void StartUpReport(const Context& c, std::ostream& out) {
    out << "Tornel " << TORNEL_VERSION_TEXT << ", pixel library " << c.gVersionDLL << "\n";
    out << "Program folder: " << c.gCarpetaPrograma << "\n";
    out << "Parameters: " << RutaParametros(c) << "\n";
    out << "Stars folder: " << c.gCarpetaEstrellas << "\n";
    out << "Distances folder: " << c.gCarpetaDistancias << "\n";
    out << "Mailbox folder: " << c.gCarpetaMensajes << "\n";
    if (!c.gBasesOK)
        out << "Database: " << c.gBaseDatosPedida << ", folders or files missing";
    else if (c.gCanalEstrellas->IsOpen())
        out << "Database: " << c.gBaseDatos << ", " << c.gNumEstrellasBD << " stars in "
            << c.gFicheroEstrellas;
    else
        out << "Database: none chosen (no param.txt names one)";
    out << "\n\n" << InformeConfiguracion(c);
}

// Waits on the mailbox until asked to end or until nothing is watched any more.
int RunMailboxDaemon(Context& c, ConsolePlatform& platform, TimerLoop& timers) {
    std::cerr << "tornel-cli: watching the mailbox folder " << c.gCarpetaMensajes << "\n";
    while (!c.mProgramaTerminado && timers.AnyEnabled()) {
        platform.WaitForSignal(static_cast<int>(timers.UntilNextDue().count()));
        timers.RunDue();
    }
    // The exit command ends the program where it stands: nothing is saved.
    if (c.endWithoutClosing) return kExitSolved;
    bool asked = c.mProgramaTerminado, waiting = c.gOrigenImagen == 5 || c.gOrigenImagen == 6;
    Form_Unload(c);
    if (asked) return kExitSolved;
    if (waiting) {
        std::cerr << "tornel-cli: the mailbox folder " << c.gCarpetaMensajes << " cannot be watched\n";
        return kExitUsage;
    }
    std::cerr << "tornel-cli: the program no longer waits (image origin " << c.gOrigenImagen << ")\n";
    return kExitSolved;
}

// The script checker without a window: the report beside the script and a line saying what it found.
int CheckScriptCommand(const std::string& script) {
    ConsolePlatform platform(std::cout, std::cerr);
    Context c(platform);
    c.gMostrarAvisos = false;
    // The language of the user's parameters, when there are any.
    c.gCarpetaPrograma = CarpetaDelPrograma();
    if (!c.gCarpetaPrograma.empty() && FileExists(RutaParametros(c))) {
        CargaParametros(c, RutaParametros(c));
        c.gMostrarAvisos = false;
    }
    ScriptCheck r = CheckScriptFile(c, script);
    if (!r.done) {
        std::cerr << "tornel-cli: cannot check " << script << " into " << r.report << "\n";
        return kExitUsage;
    }
    if (!r.objectFound) {
        std::cout << "The script does not make the object Tornel.ImageSolver; see " << r.report << "\n";
        return kExitNotSolved;
    }
    std::cout << r.doubtful << (r.doubtful == 1 ? " doubtful member" : " doubtful members") << " marked in "
              << r.report << "\n";
    return r.doubtful == 0 ? kExitSolved : kExitNotSolved;
}

// The automation object is a program of its own, tornel-automation (so that a solve never loads Qt):
// beside tornel-cli in the build, in the private library folder once installed.
int BecomeAutomationService() {
#if TORNEL_SERVICE
    char self[4096];
    const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    std::string folder = n > 0 ? std::string(self, static_cast<size_t>(n)) : std::string();
    folder = folder.substr(0, folder.rfind('/') + 1);
    for (const std::string& path :
         {folder + "tornel-automation", folder + "../" TORNEL_PRIVATE_LIBDIR "/tornel-automation"}) {
        char* const args[] = {const_cast<char*>("tornel-automation"), nullptr};
        execv(path.c_str(), args);
    }
    std::cerr << "tornel-cli: the automation service tornel-automation is not installed beside tornel-cli\n";
#else
    std::cerr << "tornel-cli: built without the automation service (Qt 6 DBus)\n";
#endif
    return kExitUsage;
}

int Run(int argc, char** argv) {
    if (argc > 1 && std::string(argv[1]) == "solve") return RunSolve({argv + 2, argv + argc});
    Options o = ParseOptions(argc, argv);
    if (o.help) {
        std::cout << kHelp;
        return kExitSolved;
    }
    if (!o.error.empty()) {
        std::cerr << "tornel-cli: " << o.error << "\n\n" << kHelp;
        return kExitUsage;
    }
    if (!o.checkScript.empty()) return CheckScriptCommand(o.checkScript);
    if (o.automation) return BecomeAutomationService();
    if (o.listTelescopes) return ListTelescopesInReach(o);
    std::string home = CarpetaDelPrograma();
    if (home.empty()) {
        std::cerr << "tornel-cli: the program folder cannot be made; set TORNEL_HOME\n";
        return kExitUsage;
    }
    InstanceLock lock;
    if (!lock.Acquire(home)) return kExitUsage;

    ConsolePlatform platform(std::cout, std::cerr);
    platform.SetQuiet(o.quiet);
    Context c(platform);
    c.gCarpetaPrograma = home;
    TimerLoop timers(c);
    platform.SetEventHook([&] { timers.RunDue(); });
    bool daemon = false;
    platform.SetSignalHandler([&](int signal) {
        if (c.gAnalizando) c.gDetenerAnalisis = true;
        if (daemon || signal == SIGTERM || !c.gAnalizando) c.mProgramaTerminado = true;
    });

    if (o.version) {
        CompruebaDLL(c);
        std::cout << "tornel-cli " << TORNEL_VERSION_TEXT << ", pixel library " << c.gVersionDLL << "\n";
        return kExitSolved;
    }
    // As in the desktop program, a line whose mode is not one is ignored and the parameters stand.
    if (!o.items.empty() && !CommandLineMode(o.items[0]))
        std::cerr << "tornel-cli: MODE " << o.items[0]
                  << " is not a number from 0 to 8; the command line is ignored\n";
    ApplyLinkOptions(o, c);
    Form_Load(c, Join(o.items));
    if (o.lineServicePort && !OpenLineService(c, static_cast<uint16_t>(*o.lineServicePort)))
        return kExitUsage;
    if (o.lineServicePort) std::cerr << "tornel-cli: line service on 127.0.0.1:" << c.lineServicePort << "\n";
    if (!c.gAnalizaYsale && (c.gOrigenImagen == 5 || c.gOrigenImagen == 6)) {
        daemon = true;
        return RunMailboxDaemon(c, platform, timers);
    }
    if (!c.gAnalizaYsale) {
        // A missing region index is rebuilt before the report.
        while (!c.mProgramaTerminado && c.timers.TimerVarios.Enabled) {
            platform.WaitForSignal(static_cast<int>(timers.UntilNextDue().count()));
            timers.RunDue();
        }
        StartUpReport(c, std::cout);
        Form_Unload(c);
        return c.gBasesOK ? kExitSolved : kExitUsage;
    }
    while (!c.mProgramaTerminado && timers.AnyEnabled()) {
        platform.WaitForSignal(static_cast<int>(timers.UntilNextDue().count()));
        timers.RunDue();
    }
    // A mailbox left waiting by the parameters can take the exit command before the analysis.
    if (c.endWithoutClosing) return c.gHaySolucion ? kExitSolved : kExitNotSolved;
    if (!platform.ResultLabel().empty()) std::cerr << platform.ResultLabel() << "\n";
    if (o.log) {
        std::string path = o.logPath.empty() ? c.gCarpetaMensajes + NombreFicheroLog(c) : o.logPath;
        if (!SalvaResumen(c, path)) std::cerr << "tornel-cli: cannot write the log " << path << "\n";
    }
    bool basesOK = c.gBasesOK, solved = c.gHaySolucion;
    Form_Unload(c);
    if (!basesOK) return kExitUsage;
    return solved ? kExitSolved : kExitNotSolved;
}

}  // namespace
}  // namespace tornel

int main(int argc, char** argv) {
    return tornel::Run(argc, argv);
}
