#pragma once
// The user of a test: message boxes recorded, questions and file dialogs answered from queues given
// in advance, the safe answer or a cancel when they run out.
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "comun/platform.h"

namespace tornel::testing {

struct UserAnswers {
    void Box(const std::string& text) { messages.push_back(text); }
    bool Ask(const std::string& text, bool safeDefault) {
        questions.push_back(text);
        if (answers.empty()) return safeDefault;
        const bool a = answers.front();
        answers.pop_front();
        return a;
    }
    std::optional<std::string> Choose(const FileDialogRequest& request) {
        dialogs.push_back(request);
        if (chosenFiles.empty()) return std::nullopt;
        std::string f = chosenFiles.front();
        chosenFiles.pop_front();
        return f;
    }

    std::vector<std::string> messages, questions;
    std::vector<FileDialogRequest> dialogs;
    std::deque<bool> answers;
    std::deque<std::string> chosenFiles;
};

}  // namespace tornel::testing
