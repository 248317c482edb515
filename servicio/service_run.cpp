#include "servicio/service_run.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QTimer>
#include <iostream>

#include "core/startup.h"
#include "servicio/solver_object.h"

namespace tornel {

int RunAutomationService(Context& c, ConsolePlatform& platform, TimerLoop& timers) {
    int argc = 1;
    char name[] = "tornel-cli";
    char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        std::cerr << "tornel-cli: no session bus: " << bus.lastError().message().toStdString() << "\n";
        return 2;
    }
    SolverObject solver(c, bus);
    if (!solver.Publish()) {
        std::cerr << "tornel-cli: another program serves " << kSolverService << "\n";
        return 2;
    }
    solver.SetOnLastClientGone([&c] { c.mProgramaTerminado = true; });
    // Calls come in wherever the engine lets events run, an analysis's DoEvents included.
    platform.SetEventHook([&timers] {
        timers.RunDue();
        QCoreApplication::processEvents();
    });
    // The engine's timers and the signals, looked at every 20 ms as the window does; a look
    // already under way (an analysis runs inside it) is not entered again.
    bool looking = false;
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, [&] {
        if (looking) return;
        looking = true;
        platform.WaitForSignal(0);
        timers.RunDue();
        // A bus that went away (the session ended) ends the program too.
        if (c.mProgramaTerminado || c.endWithoutClosing || !bus.isConnected()) QCoreApplication::quit();
        looking = false;
    });
    tick.start(20);
    QCoreApplication::exec();
    if (!c.endWithoutClosing) Form_Unload(c);
    return 0;
}

}  // namespace tornel
