#pragma once
// tornel-cli as the automation service, the way D-Bus activation starts it: no window, the object
// on the session bus, the engine's timers driven from Qt's event loop.
#include "comun/context.h"
#include "consola/console_platform.h"
#include "consola/timer_loop.h"

namespace tornel {

// Runs after Form_Load until the last client has gone (a program a client started) or SIGINT or
// SIGTERM. Answers the exit status: 0, or 2 when there is no session bus or another program
// already serves the object.
int RunAutomationService(Context& c, ConsolePlatform& platform, TimerLoop& timers);

}  // namespace tornel
