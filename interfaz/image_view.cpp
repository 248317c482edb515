#include "interfaz/image_view.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cstring>

#include "imagen/pixel/tornel_pixel.h"

namespace tornel {

namespace {

// Levels as the view maps them: a tie paints as 10 and 100.
void Levels(int32_t& black, int32_t& white, double& factor) {
    if (white == black) {
        white = 100;
        black = 10;
    }
    factor = 255.0 / (white - black);
}

bool Fits(const Context& c, size_t held) {
    return c.gPixelesX > 0 && c.gPixelesY > 0 &&
           held == static_cast<size_t>(c.gPixelesX) * static_cast<size_t>(c.gPixelesY);
}

}  // namespace

QImage VisualizaImagenFit(const Context& c, int32_t black, int32_t white) {
    if (!Fits(c, c.mImagenFit.size())) return {};
    double factor = 0;
    Levels(black, white, factor);
    const int w = c.gPixelesX, h = c.gPixelesY;
    const int row = (w + 3) / 4 * 4;
    QImage grey(w, h, QImage::Format_Grayscale8);
    std::vector<uint8_t> visu(static_cast<size_t>(row) * static_cast<size_t>(h));
    fit_a_visu8(c.mImagenFit.data(), visu.data(), static_cast<int16_t>(w), static_cast<int16_t>(h), factor,
                black);
    // Row 1 of the image is the bottom row of the picture.
    for (int y = 0; y < h; ++y)
        std::memcpy(grey.scanLine(h - 1 - y), visu.data() + static_cast<size_t>(y) * static_cast<size_t>(row),
                    static_cast<size_t>(w));
    return grey;
}

QImage VisualizaImagenBMP(const Context& c, int32_t black, int32_t white) {
    if (!Fits(c, c.mPixelesBMP.size())) return {};
    double factor = 0;
    Levels(black, white, factor);
    const int w = c.gPixelesX, h = c.gPixelesY;
    std::vector<uint32_t> visu(c.mPixelesBMP.size());
    bmp32_a_visu32(c.mPixelesBMP.data(), visu.data(), static_cast<int16_t>(w), static_cast<int16_t>(h),
                   factor, black);
    QImage colour(w, h, QImage::Format_RGB32);
    for (int y = 0; y < h; ++y)
        std::memcpy(colour.scanLine(h - 1 - y), visu.data() + static_cast<size_t>(y) * static_cast<size_t>(w),
                    static_cast<size_t>(w) * sizeof(uint32_t));
    return colour;
}

ImageView::ImageView(QWidget* parent) : QWidget(parent) {
    setObjectName("PictureImagen");
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    Resize();
}

void ImageView::SetPicture(QImage picture) {
    picture_ = std::move(picture);
    Resize();
    update();
}

void ImageView::ClearPicture() {
    picture_ = {};
    Resize();
    update();
}

void ImageView::SetReduction(int reduction) {
    reduction_ = reduction == 2 || reduction == 4 ? reduction : 1;
    Resize();
    update();
}

void ImageView::Resize() {
    if (picture_.isNull()) {
        setFixedSize(1, 1);
        return;
    }
    setFixedSize(std::max(1, picture_.width() / reduction_), std::max(1, picture_.height() / reduction_));
}

void ImageView::DibujaLinea(double x1, double y1, double x2, double y2, QColor colour) {
    Add({Item::Kind::Line, {x1, y1}, {x2, y2}, 0, 1, {}, colour});
}

void ImageView::DibujaCirculo(double x, double y, double radius, QColor colour, int lineWidth) {
    Add({Item::Kind::Circle, {x, y}, {}, radius, lineWidth, {}, colour});
}

void ImageView::DibujaTexto(double x, double y, const QString& text, QColor colour) {
    Add({Item::Kind::Text, {x, y}, {}, 0, 1, text, colour});
}

void ImageView::DibujaPunto(double x, double y, QColor colour) {
    Add({Item::Kind::Point, {x, y}, {}, 0, 1, {}, colour});
}

void ImageView::Add(Item item) {
    item.layer = layer_;
    overlay_.push_back(std::move(item));
    update();
}

void ImageView::BorraCapa(OverlayLayer layer) {
    std::erase_if(overlay_, [layer](const Item& item) { return item.layer == layer; });
    update();
}

size_t ImageView::OverlaySize(OverlayLayer layer) const {
    return static_cast<size_t>(std::count_if(overlay_.begin(), overlay_.end(),
                                             [layer](const Item& item) { return item.layer == layer; }));
}

QStringList ImageView::OverlayTexts(OverlayLayer layer) const {
    QStringList texts;
    for (const Item& item : overlay_)
        if (item.layer == layer && item.kind == Item::Kind::Text) texts << item.text;
    return texts;
}

void ImageView::MarcaEstrella(const QString& letter, double x, double y, QColor colour) {
    std::erase_if(marks_, [&](const auto& m) { return m.first == letter; });
    marks_.push_back({letter, {Item::Kind::Line, {x - 10, y}, {x + 10, y}, 0, 2, {}, colour}});
    marks_.push_back({letter, {Item::Kind::Line, {x, y - 10}, {x, y + 10}, 0, 2, {}, colour}});
    marks_.push_back({letter, {Item::Kind::Text, {x + 12, y - 12}, {}, 0, 1, letter, colour}});
    update();
}

void ImageView::BorraOverlay() {
    overlay_.clear();
    marks_.clear();
    update();
}

void ImageView::DibujaRectangulo(QRectF rectangle) {
    hasRectangle_ = true;
    rectangle_ = rectangle.normalized();
    update();
}

void ImageView::BorraRectangulo() {
    hasRectangle_ = false;
    update();
}

QPointF ImageView::ToImage(QPointF widgetPoint) const {
    return widgetPoint * reduction_;
}

void ImageView::paintEvent(QPaintEvent*) {
    QPainter p(this);
    if (picture_.isNull()) {
        p.fillRect(rect(), Qt::black);
        return;
    }
    p.setRenderHint(QPainter::SmoothPixmapTransform, reduction_ > 1);
    p.drawImage(rect(), picture_);
    const double f = reduction_;
    p.setRenderHint(QPainter::Antialiasing);
    // The calibration marks go last, over the drawing; the overlay is copied only while there are some.
    std::vector<Item> withMarks;
    if (!marks_.empty()) {
        withMarks = overlay_;
        for (const auto& mark : marks_)
            withMarks.push_back(mark.second);
    }
    for (const Item& item : marks_.empty() ? overlay_ : withMarks) {
        // Circles and texts keep their screen size; positions follow the reduction.
        QPen pen(item.colour, item.width);
        p.setPen(pen);
        p.setBrush(Qt::NoBrush);
        switch (item.kind) {
            case Item::Kind::Line:
                p.drawLine(item.a / f, item.b / f);
                break;
            case Item::Kind::Circle:
                p.drawEllipse(item.a / f, item.radius, item.radius);
                break;
            case Item::Kind::Text:
                // A dark shadow keeps a name readable over a bright star or a nebula.
                p.setPen(QPen(QColor(0, 0, 0, 200), 1));
                p.drawText(item.a / f + QPointF(1, 1), item.text);
                p.setPen(pen);
                p.drawText(item.a / f, item.text);
                break;
            case Item::Kind::Point:
                p.drawPoint(item.a / f);
                break;
        }
    }
    if (hasRectangle_) {
        // An inverting pen: the band shows on any field.
        p.setRenderHint(QPainter::Antialiasing, false);
        p.setCompositionMode(QPainter::CompositionMode_Difference);
        p.setPen(QPen(Qt::white, 1));
        QRectF r(rectangle_.topLeft() / f, rectangle_.bottomRight() / f);
        p.drawRect(r);
    }
}

void ImageView::mousePressEvent(QMouseEvent* event) {
    if (onPress) onPress(event->button(), ToImage(event->position()));
}

void ImageView::mouseMoveEvent(QMouseEvent* event) {
    Qt::MouseButton held = (event->buttons() & Qt::LeftButton) ? Qt::LeftButton : Qt::NoButton;
    if (onMove) onMove(held, ToImage(event->position()));
}

void ImageView::mouseReleaseEvent(QMouseEvent* event) {
    if (onRelease) onRelease(event->button(), ToImage(event->position()));
}

}  // namespace tornel
