#pragma once
// tornel-cli started in the background on a program folder, for the tests that must signal it or
// stop waiting for it.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/temp_folder.h"

extern char** environ;

namespace tornel::testing {

class CliProcess {
  public:
    // Standard output goes to out.txt of the program folder, or to `stdoutFd` when one is given;
    // standard error to err.txt.
    CliProcess(const TempFolder& home, const std::vector<std::string>& args, int stdoutFd = -1) {
        std::string cli = std::string(TORNEL_BINARY_DIR) + "/consola/tornel-cli";
        std::vector<std::string> argv = {cli};
        argv.insert(argv.end(), args.begin(), args.end());
        std::vector<char*> av;
        for (auto& a : argv)
            av.push_back(a.data());
        av.push_back(nullptr);
        std::string homeVar = "TORNEL_HOME=" + home.Path();
        std::vector<char*> env = {homeVar.data()};
        for (char** e = environ; *e; ++e)
            if (std::string(*e).rfind("TORNEL_HOME=", 0) != 0) env.push_back(*e);
        env.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        if (stdoutFd >= 0)
            posix_spawn_file_actions_adddup2(&actions, stdoutFd, 1);
        else
            posix_spawn_file_actions_addopen(&actions, 1, home.File("out.txt").c_str(),
                                             O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&actions, 2, home.File("err.txt").c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (posix_spawn(&pid_, cli.c_str(), &actions, nullptr, av.data(), env.data()) != 0) pid_ = -1;
        posix_spawn_file_actions_destroy(&actions);
    }
    ~CliProcess() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }
    CliProcess(const CliProcess&) = delete;
    CliProcess& operator=(const CliProcess&) = delete;

    bool Started() const { return pid_ > 0; }
    void Signal(int signal) const { ::kill(pid_, signal); }
    // The exit status; -1 when it is still running after `limit`, -2 when a signal ended it.
    int Wait(std::chrono::milliseconds limit) {
        for (auto end = std::chrono::steady_clock::now() + limit; std::chrono::steady_clock::now() < end;) {
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : -2;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return -1;
    }

  private:
    pid_t pid_ = -1;
};

}  // namespace tornel::testing
