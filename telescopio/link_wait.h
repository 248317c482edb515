#pragma once
// How a link waits for a server: a time limit for each answer and the event pump that keeps the
// program alive meanwhile. Links never hold the one thread longer than their limit.
#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>

namespace tornel {

struct LinkWait {
    std::chrono::milliseconds limit{3000};
    std::function<void()> pump;  // called every few tens of milliseconds while waiting

    using Clock = std::chrono::steady_clock;
    Clock::time_point Deadline() const { return Clock::now() + limit; }
    void Pump() const {
        if (pump) pump();
    }
};

// A link that failed: the server is absent, silent, or refused the operation. The text is English
// and is shown to the user after the program's own words.
class LinkError : public std::runtime_error {
  public:
    explicit LinkError(const std::string& text) : std::runtime_error(text) {}
};

// The telescope refused a sync because it is not tracking.
class NotTrackingError : public LinkError {
  public:
    using LinkError::LinkError;
};

}  // namespace tornel
