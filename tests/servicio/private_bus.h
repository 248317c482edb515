#pragma once
// A session bus of a test's own: dbus-daemon with the build's bus configuration, whose services
// folder starts the build's tornel-cli when a client calls org.tornel.ImageSolver. Programs that
// the bus starts get `home` as their program folder.
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QDBusConnection>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace tornel::testing {

class PrivateBus {
  public:
    PrivateBus(const std::string& config, const std::string& home) {
        int fds[2];
        if (::pipe(fds) != 0) return;
        std::vector<std::string> env{"TORNEL_HOME=" + home};
        for (char** e = environ; *e; ++e)
            if (std::string(*e).rfind("TORNEL_HOME=", 0) != 0) env.emplace_back(*e);
        std::vector<char*> envp;
        for (auto& e : env)
            envp.push_back(e.data());
        envp.push_back(nullptr);
        std::string configArg = "--config-file=" + config;
        char* argv[] = {const_cast<char*>("dbus-daemon"), const_cast<char*>("--nofork"), configArg.data(),
                        const_cast<char*>("--print-address=3"), nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, fds[1], 3);
        posix_spawn_file_actions_addclose(&actions, fds[0]);
        if (posix_spawnp(&pid_, "dbus-daemon", &actions, nullptr, argv, envp.data()) != 0) pid_ = -1;
        posix_spawn_file_actions_destroy(&actions);
        ::close(fds[1]);
        char ch = 0;
        while (pid_ > 0 && ::read(fds[0], &ch, 1) == 1 && ch != '\n')
            address_ += ch;
        ::close(fds[0]);
    }
    ~PrivateBus() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGTERM);
        ::waitpid(pid_, nullptr, 0);
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    const std::string& Address() const { return address_; }
    QDBusConnection Connect(const QString& name) const {
        return QDBusConnection::connectToBus(QString::fromStdString(address_), name);
    }

  private:
    pid_t pid_ = -1;
    std::string address_;
};

// Whether process `pid` has ended (gone, or a zombie its parent has not reaped yet).
inline bool ProcessEnded(uint pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(stat, line)) return true;
    size_t paren = line.rfind(')');
    return paren != std::string::npos && paren + 2 < line.size() && line[paren + 2] == 'Z';
}

}  // namespace tornel::testing
