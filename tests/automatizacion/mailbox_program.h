#pragma once
// A program waiting on its mailbox folder, with message files written at chosen ages.
#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <cmath>
#include <string>
#include <vector>

#include "automatizacion/buzon.h"
#include "comun/files.h"
#include "tests/support/test_program.h"

namespace tornel::testing {

inline double SecondsNow() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// Sets the time of last change of a file, seconds since the epoch.
inline void SetStamp(const std::string& path, double t) {
    timespec ts{static_cast<time_t>(std::floor(t)), static_cast<long>((t - std::floor(t)) * 1e9)};
    timespec both[2] = {ts, ts};
    ::utimensat(AT_FDCWD, path.c_str(), both, 0);
}

inline void SetAge(const std::string& path, double secondsAgo) {
    SetStamp(path, SecondsNow() - secondsAgo);
}

struct MailboxProgram : TestProgram {
    MailboxProgram() {
        c.gCarpetaMensajes = home.MakeFolder("messages");
        // The last file dealt with is a minute old: anything newer is new.
        c.gUltimaFechaBuzon = SecondsNow() - 60;
        c.gOrigenImagen = 5;
        c.timers.TimerBuzon.Enabled = true;
    }
    // A message file of these lines (CR LF), `secondsAgo` old, in the mailbox folder.
    std::string Message(const std::vector<std::string>& lines, double secondsAgo = 10,
                        const std::string& name = "tornel.txt") {
        std::string text;
        for (const auto& line : lines)
            text += line + "\r\n";
        std::string path = home.Write("messages/" + name, text);
        SetAge(path, secondsAgo);
        return path;
    }
    std::string Commands(const std::vector<std::string>& pairs, double secondsAgo = 10) {
        std::vector<std::string> lines = {"command file", "from a test"};
        lines.insert(lines.end(), pairs.begin(), pairs.end());
        return Message(lines, secondsAgo);
    }
    std::vector<std::string> Status() const { return SplitLines(home.Read("messages/tornel.sta")); }
    void Tick() { TimerBuzon_Timer(c); }
};

}  // namespace tornel::testing
