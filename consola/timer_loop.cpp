#include "consola/timer_loop.h"

#include <algorithm>

#include "core/timers.h"

namespace tornel {

TimerLoop::TimerLoop(Context& c) : c_(c), slots_(TimerTable().size()) {}

void TimerLoop::Refresh(Clock::time_point now) {
    auto table = TimerTable();
    for (size_t i = 0; i < table.size(); ++i) {
        const Timer& t = c_.timers.*table[i].timer;
        if (t.Enabled && !slots_[i].wasEnabled) slots_[i].due = now + std::chrono::milliseconds(t.Interval);
        slots_[i].wasEnabled = t.Enabled;
    }
}

void TimerLoop::RunDue() {
    auto table = TimerTable();
    for (size_t i = 0; i < table.size(); ++i) {
        Refresh(Clock::now());
        const Timer& t = c_.timers.*table[i].timer;
        Slot& slot = slots_[i];
        // After the exit command nothing more runs.
        if (c_.endWithoutClosing) return;
        if (!t.Enabled || slot.running || Clock::now() < slot.due) continue;
        slot.running = true;
        slot.due = Clock::now() + std::chrono::milliseconds(t.Interval);
        table[i].handler(c_);
        slots_[i].running = false;
    }
    Refresh(Clock::now());
}

std::chrono::milliseconds TimerLoop::UntilNextDue() const {
    auto table = TimerTable();
    auto now = Clock::now();
    auto best = std::chrono::milliseconds(1000);
    for (size_t i = 0; i < table.size(); ++i) {
        const Timer& t = c_.timers.*table[i].timer;
        if (!t.Enabled) continue;
        // A timer enabled since the last refresh is due one period from now.
        auto due = slots_[i].wasEnabled ? slots_[i].due : now + std::chrono::milliseconds(t.Interval);
        auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(due - now);
        best = std::min(best, std::max(wait, std::chrono::milliseconds(0)));
    }
    return best;
}

bool TimerLoop::AnyEnabled() const {
    for (const auto& b : TimerTable())
        if ((c_.timers.*b.timer).Enabled) return true;
    return false;
}

}  // namespace tornel
