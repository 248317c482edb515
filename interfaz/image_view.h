#pragma once
// The image view: the picture of the image in memory at the display levels and reduction in force,
// the overlay layer drawn over it and the rubber-band rectangle. Positions are kept in image pixels
// (x from the left, y down from the top of the picture as shown), so that a change of reduction
// moves nothing.
#include <QImage>
#include <QString>
#include <QStringList>
#include <QWidget>
#include <functional>
#include <vector>

#include "comun/context.h"
#include "comun/platform.h"

namespace tornel {

// The grey picture of a FITS image at levels black..white, first row of the image at the bottom.
// Equal levels paint as 10 and 100. Empty when the held pixels do not fit the size.
QImage VisualizaImagenFit(const Context& c, int32_t black, int32_t white);
// The same for a BMP or JPG picture, each channel mapped alike.
QImage VisualizaImagenBMP(const Context& c, int32_t black, int32_t white);

class ImageView : public QWidget {
    Q_OBJECT
  public:
    explicit ImageView(QWidget* parent = nullptr);

    // The picture at reduction 1; shown at its size divided by the reduction.
    void SetPicture(QImage picture);
    void ClearPicture();
    bool HasPicture() const { return !picture_.isNull(); }
    void SetReduction(int reduction);
    int Reduction() const { return reduction_; }

    // Overlay primitives, in image pixels.
    void DibujaLinea(double x1, double y1, double x2, double y2, QColor colour);
    void DibujaCirculo(double x, double y, double radius, QColor colour, int lineWidth);
    void DibujaTexto(double x, double y, const QString& text, QColor colour);
    void DibujaPunto(double x, double y, QColor colour);
    void BorraOverlay();
    size_t OverlaySize() const { return overlay_.size(); }
    // The layer that new items join, the removal of one layer, and the count of its items.
    void SetLayer(OverlayLayer layer) { layer_ = layer; }
    void BorraCapa(OverlayLayer layer);
    size_t OverlaySize(OverlayLayer layer) const;
    QStringList OverlayTexts(OverlayLayer layer) const;
    // The mark of a calibration star: a cross 10 pixels each side and its letter, which takes the
    // place of the letter's mark before. Cleared with the overlay.
    void MarcaEstrella(const QString& letter, double x, double y, QColor colour);
    size_t MarkCount() const { return marks_.size(); }

    // The analysis rectangle in image pixels; the rubber band while dragging.
    void DibujaRectangulo(QRectF rectangle);
    void BorraRectangulo();
    bool HasRectangle() const { return hasRectangle_; }
    QRectF Rectangle() const { return rectangle_; }

    // Mouse events in image pixels, with the button.
    std::function<void(Qt::MouseButton, QPointF)> onPress, onMove, onRelease;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    struct Item {
        enum class Kind { Line, Circle, Text, Point } kind;
        QPointF a, b;
        double radius = 0;
        int width = 1;
        QString text;
        QColor colour;
        OverlayLayer layer = OverlayLayer::Analysis;
    };
    void Add(Item item);
    QPointF ToImage(QPointF widgetPoint) const;
    void Resize();
    QImage picture_;
    int reduction_ = 1;
    std::vector<Item> overlay_;
    OverlayLayer layer_ = OverlayLayer::Analysis;
    std::vector<std::pair<QString, Item>> marks_;
    bool hasRectangle_ = false;
    QRectF rectangle_;
};

}  // namespace tornel
