// tornel: the desktop program.
#include <QApplication>
#include <QTimer>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "comun/build_info.h"
#include "comun/numbers.h"
#include "core/startup.h"
#include "imagen/pixel/tornel_pixel.h"
#include "interfaz/form_principal.h"
#include "interfaz/qt_platform.h"
#if TORNEL_SERVICE
#include <QDBusConnection>
#include <memory>

#include "servicio/solver_object.h"
#endif
#include "telescopio/line_service.h"

namespace {

const char* const kHelp = R"(Usage: tornel [OPTIONS] [IMAGE]
       tornel [OPTIONS] [MODE [IMAGE [RA [DEC]]]]

Tornel star-field solver, the desktop program. With IMAGE (a FITS, BMP, JPG, PNG or TIFF file) the
window opens on that image; Analyze (or the space bar) solves it. A first item that is a number is a
mode, as tornel-cli takes it: 0 to 4 and 7 set the image origin, 5 waits for message files in the
mailbox folder, 6 for new images there, 8 analyses the image (of the parameters, or IMAGE around RA
and DEC in degrees) and closes the window.

Options:
  --analyze           press Analyze once the window has started
  --quit-when-shown   print "shown" and close as soon as the window has started (for measuring)
  --indi-server HOST:PORT
                      an INDI server the telescope chooser asks (repeatable; default 127.0.0.1:7624)
  --planetarium cdc://HOST:PORT
                      the Cartes du Ciel TCP server (default cdc://127.0.0.1:3292)
  --line-service PORT serve the solved centre to telescope programs on 127.0.0.1:PORT (0: a free
                      port, written to $XDG_RUNTIME_DIR/tornel/tcpport)
  --version           print the program and pixel library versions
  --help              this text

Once started, the program serves the automation object org.tornel.ImageSolver on the session bus
(see tornel-cli --automation), unless another program already does; it stays when its clients leave.

Program folder: $TORNEL_HOME when set, else $XDG_DATA_HOME/tornel, else ~/.local/share/tornel. It holds
param.txt. A second program on the same folder ends at once.
)";

}  // namespace

int main(int argc, char** argv) {
    using namespace tornel;
    std::vector<std::string> items;
    StartOptions options;
    bool quitWhenShown = false;
    std::vector<std::string> indiServers;
    std::string planetarium;
    int lineServicePort = -1;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--help" || a == "-h") {
            std::cout << kHelp;
            return 0;
        }
        if (a == "--version") {
            std::cout << "tornel " << TORNEL_VERSION_TEXT << ", pixel library " << version() << "\n";
            return 0;
        }
        if (a == "--analyze")
            options.analyze = true;
        else if (a == "--quit-when-shown")
            quitWhenShown = true;
        else if ((a == "--indi-server" || a == "--planetarium" || a == "--line-service") && i + 1 < argc) {
            const std::string v = argv[++i];
            if (a == "--indi-server")
                indiServers.push_back(v);
            else if (a == "--planetarium")
                planetarium = v;
            else if (IsNumeric(v) && TextToDouble(v) >= 0 && TextToDouble(v) <= 65535)
                lineServicePort = static_cast<int>(TextToDouble(v));
            else {
                std::cerr << "tornel: --line-service takes a port from 0 to 65535, not " << v << "\n";
                return 2;
            }
        } else if (a.size() > 1 && a[0] == '-' && !IsNumeric(a)) {
            std::cerr << "tornel: unknown option " << a << "\n\n" << kHelp;
            return 2;
        } else
            items.push_back(a);
    }
    if (!items.empty() && !CommandLineMode(items[0])) {
        options.image = items[0];
    } else {
        for (const auto& item : items)
            options.commandLine += (options.commandLine.empty() ? "" : " ") + item;
    }

    QApplication app(argc, argv);
    QApplication::setApplicationName("tornel");
    QApplication::setDesktopFileName("tornel");
    std::string home = CarpetaDelPrograma();
    if (home.empty()) {
        std::cerr << "tornel: the program folder cannot be made; set TORNEL_HOME\n";
        return 2;
    }
    InstanceLock lock;
    if (!lock.Acquire(home)) return 0;

    QtPlatform platform;
    Context c(platform);
    c.gCarpetaPrograma = home;
    if (!indiServers.empty()) c.indiServers = indiServers;
    if (!planetarium.empty()) c.planetarium = planetarium;
    if (lineServicePort >= 0) OpenLineService(c, static_cast<uint16_t>(lineServicePort));
    FormPrincipal window(c, platform, options);
    window.show();
#if TORNEL_SERVICE
    // The object is published once the start-up has read the parameters, so that no client's
    // setting is overwritten by them. A second program leaves the name to the first.
    std::unique_ptr<SolverObject> solver;
    auto* publish = new QTimer(&window);
    QObject::connect(publish, &QTimer::timeout, &window, [&] {
        if (!window.Started()) return;
        publish->stop();
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected()) return;
        solver = std::make_unique<SolverObject>(c, bus);
        if (!solver->Publish()) {
            std::cerr << "tornel: another program serves " << kSolverService << "; this one does not\n";
            solver.reset();
        }
    });
    publish->start(0);
#endif
    if (quitWhenShown) {
        // Once the start-up has run and the window has been painted again.
        auto* poll = new QTimer(&window);
        QObject::connect(poll, &QTimer::timeout, &window, [&window, poll] {
            if (!window.Started()) return;
            poll->stop();
            QTimer::singleShot(0, &window, [&window] {
                std::cout << "shown" << std::endl;
                window.close();
            });
        });
        poll->start(0);
    }
    const int status = app.exec();
    CloseLineService(c);
    return status;
}
