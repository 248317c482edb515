#pragma once
// The two guidance labels (`LabelDestinoX`, `LabelDestinoY`) over the frame of the image. They stand
// against the edges of the part of the image in view, and keep there while it is scrolled or resized.
#include <QLabel>
#include <QObject>
#include <QScrollArea>

#include "comun/platform.h"

namespace tornel {

class GuidanceView : public QObject {
    Q_OBJECT
  public:
    // `image` is the widget that `frame` scrolls.
    GuidanceView(QScrollArea* frame, QWidget* image);

    void Show(const GuidanceLabel& first, const GuidanceLabel& second);
    void Hide();
    QLabel* First() const { return first_; }
    QLabel* Second() const { return second_; }
    // The part of the image in view, in the coordinates of the frame's viewport.
    QRect VisiblePart() const;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void Place();
    QScrollArea* frame_;
    QWidget* image_;
    QLabel* first_;
    QLabel* second_;
    GuidanceEdge firstEdge_ = GuidanceEdge::Left, secondEdge_ = GuidanceEdge::Bottom;
};

}  // namespace tornel
