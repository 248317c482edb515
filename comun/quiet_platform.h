#pragma once
// A platform that shows nothing and answers every question with its safe default: for work that
// runs without a user, such as the database builder's measures and the benchmarks.
#include <optional>
#include <string>

#include "comun/platform.h"

namespace tornel {

class QuietPlatform : public Platform {
  public:
    void MessageBox(const std::string&) override {}
    bool AskYesNo(const std::string&, const std::string&, bool safeDefault) override { return safeDefault; }
    void SetTitle(const std::string&) override {}
    void SetResultLabel(const std::string&) override {}
    void DoEvents() override {}
    std::optional<std::string> ChooseFile(const FileDialogRequest&) override { return std::nullopt; }
};

}  // namespace tornel
