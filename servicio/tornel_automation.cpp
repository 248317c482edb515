// tornel-automation: the automation object with no window, which `tornel-cli --automation` (the way
// D-Bus activation starts it) becomes. A program apart, so that tornel-cli, started once for every
// image that a script or an imaging program solves, never loads Qt.
#include <signal.h>

#include <iostream>
#include <string>

#include "consola/console_platform.h"
#include "consola/timer_loop.h"
#include "core/startup.h"
#include "servicio/service_run.h"

int main(int argc, char** argv) {
    using namespace tornel;
    if (argc > 1 && std::string(argv[1]) != "--automation") {
        std::cerr << "tornel-automation takes no arguments; it is started by tornel-cli --automation\n";
        return 2;
    }
    const std::string home = CarpetaDelPrograma();
    if (home.empty()) {
        std::cerr << "tornel-cli: the program folder cannot be made; set TORNEL_HOME\n";
        return 2;
    }
    InstanceLock lock;
    if (!lock.Acquire(home)) return 2;
    ConsolePlatform platform(std::cout, std::cerr);
    // Started for a client: no command line, nothing printed, and the end comes with the last client.
    platform.SetQuiet(true);
    Context c(platform);
    c.gCarpetaPrograma = home;
    TimerLoop timers(c);
    platform.SetEventHook([&] { timers.RunDue(); });
    platform.SetSignalHandler([&](int) {
        if (c.gAnalizando) c.gDetenerAnalisis = true;
        c.mProgramaTerminado = true;
    });
    c.gIniciadoPorUsuario = false;
    Form_Load(c, "");
    return RunAutomationService(c, platform, timers);
}
