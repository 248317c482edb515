#include "herramientas/db/progress.h"

#include "comun/numbers.h"

namespace tornel::db {

Progress::Progress(std::ostream* out, std::string step, std::string unit)
    : out_(out),
      step_(std::move(step)),
      unit_(std::move(unit)),
      start_(std::chrono::steady_clock::now()),
      last_(start_) {}

double Progress::Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void Progress::Update(int64_t done, int64_t total) {
    if (!out_) return;
    auto now = std::chrono::steady_clock::now();
    if (now - last_ < std::chrono::milliseconds(250) && done < total) return;
    last_ = now;
    double s = Seconds();
    double pct = total > 0 ? 100.0 * done / total : 100.0;
    *out_ << "\r  " << step_ << ": " << FormatNumber(pct, "0") << "% " << done << " " << unit_ << ", "
          << FormatNumber(s > 0 ? done / s : 0.0, "0") << " " << unit_ << "/s   " << std::flush;
}

void Progress::Finish(int64_t done) {
    if (!out_) return;
    double s = Seconds();
    *out_ << "\r  " << step_ << ": " << done << " " << unit_ << " in " << FormatNumber(s, "0.0") << " s ("
          << FormatNumber(s > 0 ? done / s : 0.0, "0") << " " << unit_ << "/s)          \n"
          << std::flush;
}

}  // namespace tornel::db
