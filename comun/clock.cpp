#include "comun/clock.h"

#include <cstdio>
#include <ctime>

namespace tornel {

LocalTime ToLocalTime(std::chrono::system_clock::time_point t) {
    using namespace std::chrono;
    std::time_t tt = system_clock::to_time_t(t);
    std::tm tm{};
    localtime_r(&tt, &tm);
    LocalTime r;
    r.year = tm.tm_year + 1900;
    r.month = tm.tm_mon + 1;
    r.day = tm.tm_mday;
    r.hour = tm.tm_hour;
    r.minute = tm.tm_min;
    r.second = tm.tm_sec;
    r.weekday = tm.tm_wday;
    auto whole = system_clock::from_time_t(tt);
    double fraction = duration<double>(t - whole).count();
    r.secondsOfDay = r.hour * 3600.0 + r.minute * 60.0 + r.second + fraction;
    return r;
}

double SecondsSinceMidnight(std::chrono::system_clock::time_point t) {
    return ToLocalTime(t).secondsOfDay;
}

std::string StampUnderscored(const LocalTime& t) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%04d%02d%02d_%02d_%02d_%02d", t.year, t.month, t.day, t.hour, t.minute,
                  t.second);
    return buf;
}

std::string StampSpaced(const LocalTime& t) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%04d%02d%02d %02d:%02d:%02d", t.year, t.month, t.day, t.hour, t.minute,
                  t.second);
    return buf;
}

std::string LongDate(const LocalTime& t) {
    static constexpr const char* kDays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                            "Thursday", "Friday", "Saturday"};
    static constexpr const char* kMonths[] = {"January",   "February", "March",    "April",
                                              "May",       "June",     "July",     "August",
                                              "September", "October",  "November", "December"};
    char buf[96];
    std::snprintf(buf, sizeof buf, "%s, %s %d, %04d", kDays[t.weekday % 7], kMonths[(t.month + 11) % 12],
                  t.day, t.year);
    return buf;
}

std::string LongTime(const LocalTime& t) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%02d:%02d:%02d", t.hour, t.minute, t.second);
    return buf;
}

double Ahora(const Context& c) {
    return SecondsSinceMidnight(c.platform.Now());
}

}  // namespace tornel
