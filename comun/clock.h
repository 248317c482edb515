#pragma once
// Local date and time of the program's clock, and the date texts of summaries and file names.
#include <chrono>
#include <string>

#include "comun/context.h"

namespace tornel {

struct LocalTime {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    int weekday = 0;          // 0 Sunday
    double secondsOfDay = 0;  // with the fraction
};

LocalTime ToLocalTime(std::chrono::system_clock::time_point t);
// Seconds since local midnight, with the fraction.
double SecondsSinceMidnight(std::chrono::system_clock::time_point t);
// "yyyymmdd_hh_mm_ss" and "yyyymmdd hh:mm:ss".
std::string StampUnderscored(const LocalTime& t);
std::string StampSpaced(const LocalTime& t);
// The long date and long time of the summary: "Sunday, November 22, 2026" and "10:23:45".
std::string LongDate(const LocalTime& t);
std::string LongTime(const LocalTime& t);

// Seconds since midnight of the program's clock.
double Ahora(const Context& c);

}  // namespace tornel
