#include "consola/console_platform.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <ostream>

namespace tornel {

ConsolePlatform::ConsolePlatform(std::ostream& out, std::ostream& err) : out_(out), err_(err) {
    // Stop requests arrive through a descriptor that DoEvents polls: no handler, no shared flag.
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, SIGINT);
    sigaddset(&mask, SIGTERM);
    if (sigprocmask(SIG_BLOCK, &mask, nullptr) == 0)
        signalFd_ = signalfd(-1, &mask, SFD_NONBLOCK | SFD_CLOEXEC);
}

ConsolePlatform::~ConsolePlatform() {
    if (signalFd_ >= 0) ::close(signalFd_);
}

void ConsolePlatform::MessageBox(const std::string& text) {
    err_ << text << std::endl;
}

bool ConsolePlatform::AskYesNo(const std::string& text, const std::string& title, bool safeDefault) {
    err_ << title << ": " << text << " -> " << (safeDefault ? "yes" : "no") << std::endl;
    return safeDefault;
}

void ConsolePlatform::ShowWait(const std::string& text) {
    err_ << text << std::endl;
}

void ConsolePlatform::SummaryLineAdded(const std::string& line) {
    if (!quiet_) out_ << line << std::endl;
}

void ConsolePlatform::PollSignals(int timeoutMilliseconds) {
    if (signalFd_ < 0) return;
    pollfd p{signalFd_, POLLIN, 0};
    if (::poll(&p, 1, timeoutMilliseconds) <= 0) return;
    signalfd_siginfo info{};
    while (::read(signalFd_, &info, sizeof info) == static_cast<ssize_t>(sizeof info))
        if (signalHandler_) signalHandler_(static_cast<int>(info.ssi_signo));
}

void ConsolePlatform::DoEvents() {
    PollSignals(0);
    if (eventHook_) eventHook_();
}

void ConsolePlatform::WaitForSignal(int milliseconds) {
    PollSignals(milliseconds);
}

}  // namespace tornel
