#pragma once
// Drives the engine's timers without a window: each enabled timer's handler runs when its period
// has passed since it was enabled or last ran.
#include <chrono>
#include <vector>

#include "comun/context.h"

namespace tornel {

class TimerLoop {
  public:
    explicit TimerLoop(Context& c);
    // Runs the handlers that are due; a handler already running is not entered again.
    void RunDue();
    // Time until the next enabled timer is due; a second when none is enabled.
    std::chrono::milliseconds UntilNextDue() const;
    bool AnyEnabled() const;

  private:
    using Clock = std::chrono::steady_clock;
    struct Slot {
        bool wasEnabled = false;
        bool running = false;
        Clock::time_point due{};
    };
    void Refresh(Clock::time_point now);
    Context& c_;
    std::vector<Slot> slots_;
};

}  // namespace tornel
