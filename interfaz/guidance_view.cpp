#include "interfaz/guidance_view.h"

#include <QEvent>
#include <QScrollBar>

#include "interfaz/qt_text.h"

namespace tornel {

namespace {

// Apart from the image's edge, so that a label never hides the very border.
constexpr int kMargin = 6;

QColor ColourOf(OverlayColour colour) {
    return colour == OverlayColour::Green    ? QColor(0, 255, 0)
           : colour == OverlayColour::Yellow ? QColor(255, 255, 0)
                                             : QColor(Qt::white);
}

void Apply(QLabel* label, const GuidanceLabel& g) {
    label->setText(Q(g.text));
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, ColourOf(g.colour));
    // A dark ground keeps the text readable over stars and nebulae.
    palette.setColor(QPalette::Window, QColor(0, 0, 0, 170));
    label->setPalette(palette);
    // Named, or the label takes the roles that contrast with the frame's dark ground.
    label->setForegroundRole(QPalette::WindowText);
    label->setBackgroundRole(QPalette::Window);
    label->setAutoFillBackground(true);
    label->setContentsMargins(6, 2, 6, 2);
    QFont font = label->font();
    font.setPointSize(g.pointSize);
    font.setBold(true);
    label->setFont(font);
    label->adjustSize();
}

}  // namespace

GuidanceView::GuidanceView(QScrollArea* frame, QWidget* image)
    : QObject(frame),
      frame_(frame),
      image_(image),
      first_(new QLabel(frame->viewport())),
      second_(new QLabel(frame->viewport())) {
    first_->setObjectName("LabelDestinoX");
    second_->setObjectName("LabelDestinoY");
    for (QLabel* label : {first_, second_}) {
        label->setAttribute(Qt::WA_TransparentForMouseEvents);
        label->hide();
    }
    frame_->viewport()->installEventFilter(this);
    image_->installEventFilter(this);
    connect(frame_->horizontalScrollBar(), &QScrollBar::valueChanged, this, &GuidanceView::Place);
    connect(frame_->verticalScrollBar(), &QScrollBar::valueChanged, this, &GuidanceView::Place);
}

void GuidanceView::Show(const GuidanceLabel& first, const GuidanceLabel& second) {
    Apply(first_, first);
    Apply(second_, second);
    firstEdge_ = first.edge;
    secondEdge_ = second.edge;
    Place();
    first_->show();
    second_->show();
    first_->raise();
    second_->raise();
}

void GuidanceView::Hide() {
    first_->hide();
    second_->hide();
}

QRect GuidanceView::VisiblePart() const {
    return QRect(image_->pos(), image_->size()).intersected(frame_->viewport()->rect());
}

void GuidanceView::Place() {
    const QRect v = VisiblePart().adjusted(kMargin, kMargin, -kMargin, -kMargin);
    const QSize a = first_->size(), b = second_->size();
    const int ax = firstEdge_ == GuidanceEdge::Right ? v.right() + 1 - a.width() : v.left();
    first_->move(ax, v.center().y() - a.height() / 2);
    const int by = secondEdge_ == GuidanceEdge::Top ? v.top() : v.bottom() + 1 - b.height();
    second_->move(v.center().x() - b.width() / 2, by);
}

bool GuidanceView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize || event->type() == QEvent::Move) Place();
    return QObject::eventFilter(watched, event);
}

}  // namespace tornel
