#pragma once
// The platform of the program without a window: summary lines to standard output, messages to
// standard error, questions answered with their safe default, SIGINT and SIGTERM as stop requests.
// SIGTERM also ends the process, with status 143, when it has not ended by itself shortly after.
#include <signal.h>

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <thread>

#include "comun/platform.h"

namespace tornel {

class ConsolePlatform : public Platform {
  public:
    ConsolePlatform(std::ostream& out, std::ostream& err);
    ~ConsolePlatform() override;

    void MessageBox(const std::string& text) override;
    bool AskYesNo(const std::string& text, const std::string& title, bool safeDefault) override;
    void SetTitle(const std::string&) override {}
    void SetResultLabel(const std::string& text) override { resultLabel_ = text; }
    void SummaryLineAdded(const std::string& line) override;
    void DoEvents() override;
    std::optional<std::string> ChooseFile(const FileDialogRequest&) override { return std::nullopt; }
    // The wait window's label becomes a progress line on standard error.
    void ShowWait(const std::string& text) override;

    // What runs inside DoEvents besides the signal check: the timers.
    void SetEventHook(std::function<void()> hook) { eventHook_ = std::move(hook); }
    // Called with the signal number on SIGINT or SIGTERM, from DoEvents or WaitForSignal.
    void SetSignalHandler(std::function<void(int)> handler) { signalHandler_ = std::move(handler); }
    // Waits up to `milliseconds` for a signal, handling it when one comes.
    void WaitForSignal(int milliseconds);
    void SetQuiet(bool quiet) { quiet_ = quiet; }
    const std::string& ResultLabel() const { return resultLabel_; }

  private:
    void PollSignals(int timeoutMilliseconds);
    std::ostream& out_;
    std::ostream& err_;
    bool quiet_ = false;
    int interruptFd_ = -1;  // SIGINT
    int terminateFd_ = -1;  // SIGTERM, read by the watcher
    int noticeFd_ = -1;     // the watcher's word that SIGTERM came
    int quitFd_ = -1;       // the platform's word to the watcher that it goes away
    bool maskChanged_ = false;
    sigset_t previousMask_{};
    std::thread watcher_;
    std::string resultLabel_;
    std::function<void()> eventHook_;
    std::function<void(int)> signalHandler_;
};

}  // namespace tornel
