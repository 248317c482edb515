#pragma once
// Everything the engine asks of a user interface. The window implements it with Qt, the console
// program with standard streams, and tests with a recording platform. Texts are UTF-8.
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tornel {

enum class OverlayColour : uint8_t { Red, Blue, Green, Yellow, White, Cyan, Magenta };

// What a file dialog is for: choosing a file to read or a name to write.
enum class FileDialogKind : uint8_t { Open, Save };

// The overlay is drawn in two layers: what the analysis marks on the way (contours, candidates) and
// the drawing of a solution, which is cleared and drawn again alone when a Show flag, the zoom or the
// levels change.
enum class OverlayLayer : uint8_t { Analysis, Solution };

// The edge of the visible part of the image that a guidance label stands against.
enum class GuidanceEdge : uint8_t { Left, Right, Top, Bottom };

// One of the two guidance labels: how far the mount still has to move along one axis.
struct GuidanceLabel {
    std::string text;
    OverlayColour colour = OverlayColour::Yellow;
    int pointSize = 8;
    GuidanceEdge edge = GuidanceEdge::Left;
};

struct FileDialogRequest {
    FileDialogKind kind = FileDialogKind::Open;
    std::string title;
    std::string filter;            // items separated by "|": "FITS images (*.fit)|*.fit|..."
    std::string defaultExtension;  // without the point
    std::string proposedName;
};

class Platform {
  public:
    virtual ~Platform() = default;

    // A message box with one OK button.
    virtual void MessageBox(const std::string& text) = 0;
    // A yes/no question; a platform without a user answers `safeDefault`.
    virtual bool AskYesNo(const std::string& text, const std::string& title, bool safeDefault) = 0;
    // Window caption and the result label under the image.
    virtual void SetTitle(const std::string& text) = 0;
    virtual void SetResultLabel(const std::string& text) = 0;
    // The labels of the solved centre: J2000 and of date, each right ascension and declination.
    virtual void ShowPosition(const std::string& /*ra*/, const std::string& /*dec*/,
                              const std::string& /*raOfDate*/, const std::string& /*decOfDate*/) {}
    // A line has just been appended to the search summary.
    virtual void SummaryLineAdded(const std::string& /*line*/) {}
    // Lets pending events run: clicks, timer ticks, calls of the automation service, signals.
    virtual void DoEvents() = 0;
    // File choice; empty when the user cancels.
    virtual std::optional<std::string> ChooseFile(const FileDialogRequest& request) = 0;

    // A choice among (value, description) pairs, or a value typed by hand, starting at `current`;
    // empty when the user cancels or there is no user.
    virtual std::optional<std::string> ChooseFromList(
        const std::string& /*title*/, const std::vector<std::pair<std::string, std::string>>& /*items*/,
        const std::string& /*current*/) {
        return std::nullopt;
    }

    // Busy pointer over the window and the image; menus locked during an analysis.
    virtual void SetBusy(bool /*busy*/) {}
    virtual void LockMenus(bool /*locked*/) {}
    // Position and size of the main window, when there is one and it is not minimised.
    virtual bool WindowGeometry(int& /*left*/, int& /*top*/, int& /*width*/, int& /*height*/) {
        return false;
    }
    // The small wait window with its label, shown or relabelled, and its removal; it has no button.
    virtual void ShowWait(const std::string& /*text*/) {}
    virtual void HideWait() {}
    // A waiting mode (5 or 6) began (true) or ended: the analyse button and the search menus are
    // locked while the mailbox is watched.
    virtual void SetAutomaticMode(bool /*waiting*/) {}
    // Languages of menus and controls were changed.
    virtual void ApplyLanguage() {}
    // The parameters changed: the window shows them again.
    virtual void ApplyParameters() {}
    // The parameters window, modal, for an automation client; a program without one does nothing.
    virtual void ShowParametersDialog() {}

    // Overlay drawing on the image, in display pixels with y growing downwards.
    virtual void ClearOverlay() {}
    virtual void DrawPoint(double /*x*/, double /*y*/, OverlayColour /*colour*/) {}
    virtual void DrawCircle(double /*x*/, double /*y*/, double /*radius*/, OverlayColour /*colour*/,
                            int /*lineWidth*/) {}
    virtual void DrawText(double /*x*/, double /*y*/, const std::string& /*text*/, OverlayColour /*colour*/) {
    }
    virtual void DrawLine(double /*x1*/, double /*y1*/, double /*x2*/, double /*y2*/,
                          OverlayColour /*colour*/) {}
    // The layer that the drawing calls go to from now on (Analysis at first), and the removal of
    // one layer alone; ClearOverlay clears both.
    virtual void SetOverlayLayer(OverlayLayer /*layer*/) {}
    virtual void ClearOverlayLayer(OverlayLayer /*layer*/) {}
    // The two guidance labels over the visible part of the image: the first against the left or
    // right edge, the second against the top or bottom edge; and their removal.
    virtual void ShowGuidance(const GuidanceLabel& /*first*/, const GuidanceLabel& /*second*/) {}
    virtual void HideGuidance() {}
    // The analysis rectangle (display pixels) and its removal.
    virtual void DrawRectangle(double /*x1*/, double /*y1*/, double /*x2*/, double /*y2*/) {}
    virtual void ClearRectangle() {}

    // The image in memory was (re)computed and should be shown again.
    virtual void ImageChanged() {}

    // The clock of the program, so that tests can fix it.
    virtual std::chrono::system_clock::time_point Now() { return std::chrono::system_clock::now(); }
};

}  // namespace tornel
