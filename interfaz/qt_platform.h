#pragma once
// The engine's platform in the window: message boxes, questions and file dialogs of Qt, the
// caption, labels, summary and overlay of the main window, and the event pump.
#include <QElapsedTimer>
#include <QString>
#include <functional>

#include "comun/platform.h"

namespace tornel {

class FormPrincipal;

// A "|"-separated filter of the engine ("FITS images (*.fit;*.fits)|*.fit;*.fits|...") as Qt's
// ";;"-separated one, the patterns of each item apart by blanks.
QString QtFilter(const std::string& filter);

class QtPlatform : public Platform {
  public:
    void SetWindow(FormPrincipal* window) { window_ = window; }
    // Runs in every event pump after the pending events: the timers are brought up to date.
    void SetPumpHook(std::function<void()> hook) { pumpHook_ = std::move(hook); }

    void MessageBox(const std::string& text) override;
    bool AskYesNo(const std::string& text, const std::string& title, bool safeDefault) override;
    void SetTitle(const std::string& text) override;
    void SetResultLabel(const std::string& text) override;
    void ShowPosition(const std::string& ra, const std::string& dec, const std::string& raOfDate,
                      const std::string& decOfDate) override;
    void SummaryLineAdded(const std::string& line) override;
    void DoEvents() override;
    std::optional<std::string> ChooseFile(const FileDialogRequest& request) override;
    std::optional<std::string> ChooseFromList(const std::string& title,
                                              const std::vector<std::pair<std::string, std::string>>& items,
                                              const std::string& current) override;
    void SetBusy(bool busy) override;
    void LockMenus(bool locked) override;
    bool WindowGeometry(int& left, int& top, int& width, int& height) override;
    void ShowWait(const std::string& text) override;
    void HideWait() override;
    void SetAutomaticMode(bool waiting) override;
    void ApplyLanguage() override;
    void ApplyParameters() override;
    void ShowParametersDialog() override;
    void ClearOverlay() override;
    void DrawPoint(double x, double y, OverlayColour colour) override;
    void DrawCircle(double x, double y, double radius, OverlayColour colour, int lineWidth) override;
    void DrawText(double x, double y, const std::string& text, OverlayColour colour) override;
    void DrawLine(double x1, double y1, double x2, double y2, OverlayColour colour) override;
    void SetOverlayLayer(OverlayLayer layer) override;
    void ClearOverlayLayer(OverlayLayer layer) override;
    void ShowGuidance(const GuidanceLabel& first, const GuidanceLabel& second) override;
    void HideGuidance() override;
    void DrawRectangle(double x1, double y1, double x2, double y2) override;
    void ClearRectangle() override;
    void ImageChanged() override;

    // The longest time between two event pumps since the last reset, in milliseconds: how long the
    // window could not answer during an analysis.
    void ResetPumpGaps();
    double LongestPumpGap() const { return longestGap_; }
    int64_t Pumps() const { return pumps_; }

  private:
    FormPrincipal* window_ = nullptr;
    std::function<void()> pumpHook_;
    int busy_ = 0;
    QElapsedTimer sinceLastPump_;
    double longestGap_ = 0;
    int64_t pumps_ = 0;
};

}  // namespace tornel
