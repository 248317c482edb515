#pragma once
// Progress of a long step on the console: percent done and items per second, on one line.
#include <chrono>
#include <cstdint>
#include <ostream>
#include <string>

namespace tornel::db {

class Progress {
  public:
    // `out` may be null: nothing is printed.
    Progress(std::ostream* out, std::string step, std::string unit);
    // Items done out of total; prints at most a few times a second.
    void Update(int64_t done, int64_t total);
    // The closing line: count, time and rate.
    void Finish(int64_t done);
    double Seconds() const;

  private:
    std::ostream* out_;
    std::string step_, unit_;
    std::chrono::steady_clock::time_point start_, last_;
};

}  // namespace tornel::db
