#include "interfaz/timer_driver.h"

#include <cstring>

#include "core/timers.h"

namespace tornel {

namespace {
// How often the enabled flags are looked at besides the event pumps and the handlers' ends: a flag
// that a click sets is seen well within the shortest period of the engine's timers.
constexpr int kWatchMilliseconds = 20;
}  // namespace

TimerDriver::TimerDriver(Context& c, QObject* parent) : QObject(parent), c_(c) {
    auto table = TimerTable();
    running_.assign(table.size(), false);
    for (size_t i = 0; i < table.size(); ++i) {
        auto* t = new QTimer(this);
        t->setObjectName(table[i].name);
        t->setTimerType(Qt::PreciseTimer);
        connect(t, &QTimer::timeout, this, [this, i] { Fire(i); });
        timers_.push_back(t);
    }
    connect(&watch_, &QTimer::timeout, this, &TimerDriver::Sync);
    watch_.start(kWatchMilliseconds);
}

void TimerDriver::Sync() {
    auto table = TimerTable();
    for (size_t i = 0; i < table.size(); ++i) {
        const Timer& t = c_.timers.*table[i].timer;
        QTimer* q = timers_[i];
        if (t.Enabled && !q->isActive())
            q->start(t.Interval);
        else if (!t.Enabled && q->isActive())
            q->stop();
    }
}

void TimerDriver::Fire(size_t index) {
    auto table = TimerTable();
    const Timer& t = c_.timers.*table[index].timer;
    if (!t.Enabled || running_[index] || ended_) return;
    running_[index] = true;
    table[index].handler(c_);
    running_[index] = false;
    Sync();
    if (c_.mProgramaTerminado && !ended_) {
        ended_ = true;
        if (onEnd_) onEnd_();
    }
}

bool TimerDriver::Running(const char* name) const {
    auto table = TimerTable();
    for (size_t i = 0; i < table.size(); ++i)
        if (std::strcmp(table[i].name, name) == 0) return running_[i];
    return false;
}

}  // namespace tornel
