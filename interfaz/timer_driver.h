#pragma once
// Drives the engine's timers with QTimer: each timer of the engine has its QTimer at its period,
// started when the engine enables it and stopped when it disables it. A handler already running is
// not entered again, as the engine's one-shot timers expect.
#include <QObject>
#include <QTimer>
#include <functional>
#include <vector>

#include "comun/context.h"

namespace tornel {

class TimerDriver : public QObject {
    Q_OBJECT
  public:
    explicit TimerDriver(Context& c, QObject* parent = nullptr);
    // Brings every QTimer in line with the engine's enabled flags.
    void Sync();
    // Called after a handler when the engine asked the program to end.
    void SetOnEnd(std::function<void()> onEnd) { onEnd_ = std::move(onEnd); }
    // Whether the handler of the named timer is running now.
    bool Running(const char* name) const;

  private:
    void Fire(size_t index);
    Context& c_;
    std::vector<QTimer*> timers_;
    std::vector<bool> running_;
    QTimer watch_;
    std::function<void()> onEnd_;
    bool ended_ = false;
};

}  // namespace tornel
