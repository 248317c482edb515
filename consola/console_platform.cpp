#include "consola/console_platform.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <ostream>

namespace tornel {

namespace {

// How long the program has, after SIGTERM, to end by itself before it is ended where it stands.
constexpr int kTerminateGraceMilliseconds = 700;

int PollRetrying(pollfd* fds, nfds_t count, int timeoutMilliseconds) {
    int r = 0;
    do {
        r = ::poll(fds, count, timeoutMilliseconds);
    } while (r < 0 && errno == EINTR);
    return r;
}

void Notify(int fd) {
    const uint64_t one = 1;
    [[maybe_unused]] ssize_t w = ::write(fd, &one, sizeof one);
}

// Runs on its own thread: passes SIGTERM on to the main thread, then gives it the grace to end
// cleanly. A program stuck where it never yields (a blocked write, a long loop) is ended here.
void WatchTerminate(int terminateFd, int noticeFd, int quitFd) {
    pollfd wait[2] = {{terminateFd, POLLIN, 0}, {quitFd, POLLIN, 0}};
    if (PollRetrying(wait, 2, -1) <= 0 || (wait[1].revents & POLLIN) != 0) return;
    signalfd_siginfo info{};
    [[maybe_unused]] ssize_t r = ::read(terminateFd, &info, sizeof info);
    Notify(noticeFd);
    pollfd quit{quitFd, POLLIN, 0};
    if (PollRetrying(&quit, 1, kTerminateGraceMilliseconds) == 0) ::_exit(128 + SIGTERM);
}

}  // namespace

ConsolePlatform::ConsolePlatform(std::ostream& out, std::ostream& err) : out_(out), err_(err) {
    // Both stop signals are blocked in every thread and arrive through descriptors, with no handler
    // and no shared flag: SIGINT is read by DoEvents; SIGTERM by a watcher thread that tells DoEvents
    // and keeps the time.
    sigset_t both, interrupt, terminate;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    sigemptyset(&terminate);
    sigaddset(&terminate, SIGTERM);
    sigemptyset(&both);
    sigaddset(&both, SIGINT);
    sigaddset(&both, SIGTERM);
    if (pthread_sigmask(SIG_BLOCK, &both, &previousMask_) != 0) return;
    maskChanged_ = true;
    interruptFd_ = signalfd(-1, &interrupt, SFD_NONBLOCK | SFD_CLOEXEC);
    terminateFd_ = signalfd(-1, &terminate, SFD_CLOEXEC);
    noticeFd_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    quitFd_ = eventfd(0, EFD_CLOEXEC);
    if (terminateFd_ >= 0 && noticeFd_ >= 0 && quitFd_ >= 0)
        watcher_ = std::thread(WatchTerminate, terminateFd_, noticeFd_, quitFd_);
}

ConsolePlatform::~ConsolePlatform() {
    if (watcher_.joinable()) {
        Notify(quitFd_);
        watcher_.join();
    }
    for (int fd : {interruptFd_, terminateFd_, noticeFd_, quitFd_})
        if (fd >= 0) ::close(fd);
    // From here on the signals do what they do by default: a program still writing its last output
    // can be ended.
    if (maskChanged_) pthread_sigmask(SIG_SETMASK, &previousMask_, nullptr);
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
    pollfd p[2] = {{interruptFd_, POLLIN, 0}, {noticeFd_, POLLIN, 0}};
    if (PollRetrying(p, 2, timeoutMilliseconds) <= 0) return;
    signalfd_siginfo info{};
    while (interruptFd_ >= 0 && ::read(interruptFd_, &info, sizeof info) == static_cast<ssize_t>(sizeof info))
        if (signalHandler_) signalHandler_(SIGINT);
    uint64_t count = 0;
    if (noticeFd_ >= 0 && ::read(noticeFd_, &count, sizeof count) == static_cast<ssize_t>(sizeof count))
        if (signalHandler_) signalHandler_(SIGTERM);
}

void ConsolePlatform::DoEvents() {
    PollSignals(0);
    if (eventHook_) eventHook_();
}

void ConsolePlatform::WaitForSignal(int milliseconds) {
    PollSignals(milliseconds);
}

}  // namespace tornel
