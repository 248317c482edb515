#pragma once
// A platform for tests: records every message, caption, label and summary line, answers questions
// and file dialogs from queues, and runs a hook in DoEvents.
#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "comun/platform.h"
#include "tests/support/user_answers.h"

namespace tornel::testing {

class RecordingPlatform : public Platform, public UserAnswers {
  public:
    void MessageBox(const std::string& text) override { Box(text); }
    bool AskYesNo(const std::string& text, const std::string&, bool safeDefault) override {
        return Ask(text, safeDefault);
    }
    void SetTitle(const std::string& text) override { titles.push_back(text); }
    void SetResultLabel(const std::string& text) override { labels.push_back(text); }
    void SummaryLineAdded(const std::string& line) override { summary.push_back(line); }
    void DoEvents() override {
        ++doEventsCalls;
        if (onDoEvents) onDoEvents();
    }
    std::optional<std::string> ChooseFile(const FileDialogRequest& request) override {
        return Choose(request);
    }
    std::optional<std::string> ChooseFromList(const std::string&,
                                              const std::vector<std::pair<std::string, std::string>>& items,
                                              const std::string&) override {
        listsShown.push_back(items);
        if (listChoices.empty()) return std::nullopt;
        std::string choice = listChoices.front();
        listChoices.pop_front();
        return choice;
    }
    void ShowWait(const std::string& text) override {
        waitTexts.push_back(text);
        waitShown = true;
    }
    void HideWait() override { waitShown = false; }
    void DrawText(double x, double y, const std::string& text, OverlayColour colour) override {
        texts.push_back({x, y, text});
        overlay.push_back({Drawn::Kind::Text, x, y, 0, 0, text, colour, layer});
    }
    void DrawLine(double x1, double y1, double x2, double y2, OverlayColour colour) override {
        overlay.push_back({Drawn::Kind::Line, x1, y1, x2, y2, {}, colour, layer});
    }
    void DrawCircle(double x, double y, double radius, OverlayColour colour, int) override {
        overlay.push_back({Drawn::Kind::Circle, x, y, radius, 0, {}, colour, layer});
    }
    void DrawPoint(double x, double y, OverlayColour colour) override {
        overlay.push_back({Drawn::Kind::Point, x, y, 0, 0, {}, colour, layer});
    }
    void ClearOverlay() override { overlay.clear(); }
    void SetOverlayLayer(OverlayLayer l) override { layer = l; }
    void ClearOverlayLayer(OverlayLayer l) override {
        std::erase_if(overlay, [l](const Drawn& d) { return d.layer == l; });
    }
    void ShowGuidance(const GuidanceLabel& first, const GuidanceLabel& second) override {
        guidance = {first, second};
    }
    void HideGuidance() override { guidance.reset(); }
    std::chrono::system_clock::time_point Now() override { return now ? now() : Platform::Now(); }

    bool HasMessage(const std::string& text) const {
        for (const auto& m : messages)
            if (m == text) return true;
        return false;
    }
    bool SummaryHas(const std::string& line) const {
        for (const auto& s : summary)
            if (s == line) return true;
        return false;
    }
    std::string LastLabel() const { return labels.empty() ? std::string{} : labels.back(); }

    std::vector<std::string> titles, labels, summary, waitTexts;
    struct DrawnText {
        double x = 0, y = 0;
        std::string text;
    };
    std::vector<DrawnText> texts;  // every text drawn, cleared or not
    // What the overlay holds now, layer by layer (for a line, x2 and y2 are its end; for a circle,
    // x2 is the radius).
    struct Drawn {
        enum class Kind { Line, Circle, Text, Point } kind;
        double x = 0, y = 0, x2 = 0, y2 = 0;
        std::string text;
        OverlayColour colour = OverlayColour::White;
        OverlayLayer layer = OverlayLayer::Analysis;
    };
    std::vector<Drawn> overlay;
    OverlayLayer layer = OverlayLayer::Analysis;
    std::optional<std::pair<GuidanceLabel, GuidanceLabel>> guidance;
    bool waitShown = false;
    std::vector<std::vector<std::pair<std::string, std::string>>> listsShown;
    std::deque<std::string> listChoices;
    std::function<void()> onDoEvents;
    std::function<std::chrono::system_clock::time_point()> now;
    int doEventsCalls = 0;
};

}  // namespace tornel::testing
