#pragma once
// A real indiserver running indi_simulator_telescope on a free loopback port, for as long as the
// object lives. The server gets a home of its own (the driver keeps its configuration and park
// data there) and a Unix socket of its own, so that tests may run side by side.
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "tests/support/temp_folder.h"

namespace tornel::testing {

// A port that was free a moment ago.
inline uint16_t FreeLoopbackPort() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof a;
    ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &length);
    ::close(fd);
    return ntohs(a.sin_port);
}

inline bool Accepts(uint16_t port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    a.sin_port = htons(port);
    const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
    ::close(fd);
    return ok;
}

class IndiSimulator {
  public:
    static constexpr const char* kDevice = "Telescope Simulator";

    IndiSimulator() : port_(FreeLoopbackPort()) {
        const std::string portText = std::to_string(port_), socket = home_.File("indiserver.sock");
        pid_ = ::fork();
        if (pid_ == 0) {
            // A group of its own, so that the driver goes with the server.
            ::setpgid(0, 0);
            ::setenv("HOME", home_.Path().c_str(), 1);
            std::freopen("/dev/null", "w", stdout);
            std::freopen((home_.File("server.log")).c_str(), "w", stderr);
            ::execlp("indiserver", "indiserver", "-p", portText.c_str(), "-u", socket.c_str(),
                     "indi_simulator_telescope", static_cast<char*>(nullptr));
            ::_exit(127);
        }
        for (int i = 0; i < 200 && !Accepts(port_); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
    }
    ~IndiSimulator() {
        if (pid_ <= 0) return;
        ::kill(-pid_, SIGCONT);
        ::kill(-pid_, SIGTERM);
        ::waitpid(pid_, nullptr, 0);
    }
    IndiSimulator(const IndiSimulator&) = delete;
    IndiSimulator& operator=(const IndiSimulator&) = delete;

    static bool Installed() {
        return std::system(
                   "command -v indiserver >/dev/null && command -v indi_simulator_telescope >/dev/null") == 0;
    }
    bool Running() const { return pid_ > 0 && Accepts(port_); }
    uint16_t Port() const { return port_; }
    std::string Server() const { return "127.0.0.1:" + std::to_string(port_); }
    std::string Identifier() const { return "indi://" + Server() + "/Telescope Simulator"; }

    // A property of the simulator read with indi_getprop: "EQUATORIAL_EOD_COORD.RA".
    double Number(const std::string& property) const {
        const std::string text = Run("indi_getprop -h 127.0.0.1 -p " + std::to_string(port_) + " -t 2 '" +
                                     kDevice + "." + property + "'");
        const size_t eq = text.find('=');
        return eq == std::string::npos ? -999 : std::atof(text.c_str() + eq + 1);
    }
    std::string Text(const std::string& property) const {
        std::string text = Run("indi_getprop -h 127.0.0.1 -p " + std::to_string(port_) + " -t 2 '" + kDevice +
                               "." + property + "'");
        const size_t eq = text.find('=');
        text = eq == std::string::npos ? "" : text.substr(eq + 1);
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
            text.pop_back();
        return text;
    }
    // "CONNECTION.CONNECT=On", "EQUATORIAL_EOD_COORD.RA;DEC=5.5;22" and the like, set with indi_setprop.
    void Set(const std::string& assignment) const {
        Run("indi_setprop -h 127.0.0.1 -p " + std::to_string(port_) + " '" + kDevice + "." + assignment +
            "'");
    }
    // Connected, tracking, pointing at (hours, degrees): the state a test starts from.
    void PointAt(double hours, double degrees) const {
        Set("CONNECTION.CONNECT=On");
        WaitFor([&] { return Text("CONNECTION.CONNECT") == "On"; });
        // The simulated axes move once a polling period and the sky all the time, so a position
        // read between two steps is up to a period of sidereal motion off: 3.8" at the default
        // 250 ms, 0.3" at 20 ms.
        Set("POLLING_PERIOD.PERIOD_MS=20");
        Set("TELESCOPE_TRACK_STATE.TRACK_ON=On");
        Set("ON_COORD_SET.SYNC=On");
        Set("EQUATORIAL_EOD_COORD.RA;DEC=" + std::to_string(hours) + ";" + std::to_string(degrees));
        WaitFor([&] { return std::abs(Number("EQUATORIAL_EOD_COORD.DEC") - degrees) < 1e-4; });
        Set("ON_COORD_SET.TRACK=On");
        // Else a client that connects now may still find the sync mode, and give that back.
        WaitFor([&] { return Text("ON_COORD_SET.TRACK") == "On"; });
    }
    // The server stops answering while its connections stay open, as a hung machine does.
    void Freeze() const { ::kill(-pid_, SIGSTOP); }
    void Thaw() const { ::kill(-pid_, SIGCONT); }

    template <class Condition>
    static void WaitFor(Condition done) {
        for (int i = 0; i < 100 && !done(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }

  private:
    static std::string Run(const std::string& command) {
        std::string out;
        if (FILE* p = ::popen((command + " 2>/dev/null").c_str(), "r")) {
            char buffer[512];
            while (std::fgets(buffer, sizeof buffer, p))
                out += buffer;
            ::pclose(p);
        }
        return out;
    }

    TempFolder home_;
    uint16_t port_;
    pid_t pid_ = -1;
};

}  // namespace tornel::testing
