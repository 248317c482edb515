#include "interfaz/qt_platform.h"
#include "interfaz/qt_text.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QStringList>
#include <QVBoxLayout>

#include "interfaz/form_principal.h"

namespace tornel {

namespace {

// Lines beyond which a message box would not fit on the screen.
constexpr qsizetype kLongestBox = 30;

QColor ColourOf(OverlayColour colour) {
    switch (colour) {
        case OverlayColour::Red:
            return Qt::red;
        case OverlayColour::Blue:
            return QColor(80, 140, 255);
        case OverlayColour::Green:
            return QColor(0, 230, 0);
        case OverlayColour::Yellow:
            return Qt::yellow;
        case OverlayColour::White:
            return Qt::white;
        case OverlayColour::Cyan:
            return Qt::cyan;
        case OverlayColour::Magenta:
            return Qt::magenta;
    }
    return Qt::white;
}

}  // namespace

QString QtFilter(const std::string& filter) {
    const QStringList items = Q(filter).split('|');
    QStringList out;
    for (qsizetype i = 0; i + 1 < items.size(); i += 2) {
        QString description = items[i];
        QString patterns = items[i + 1];
        patterns.replace(';', ' ');
        // Qt reads the patterns from the last brackets of the item.
        description.remove(QRegularExpression("\\s*\\([^)]*\\)\\s*$"));
        out << description + " (" + patterns + ")";
    }
    return out.join(";;");
}

void QtPlatform::MessageBox(const std::string& text) {
    const QString shown = Q(text).replace("\r\n", "\n");
    if (shown.count('\n') < kLongestBox) {
        QMessageBox::information(window_, "Tornel", shown);
        return;
    }
    // A long text (the search summary) scrolls, so that the box fits on the screen.
    QDialog box(window_);
    box.setWindowTitle("Tornel");
    box.resize(720, 520);
    auto* edit = new QPlainTextEdit(shown);
    edit->setReadOnly(true);
    edit->setLineWrapMode(QPlainTextEdit::NoWrap);
    auto* ok = new QDialogButtonBox(QDialogButtonBox::Ok);
    QObject::connect(ok, &QDialogButtonBox::accepted, &box, &QDialog::accept);
    auto* layout = new QVBoxLayout(&box);
    layout->addWidget(edit);
    layout->addWidget(ok);
    box.exec();
}

bool QtPlatform::AskYesNo(const std::string& text, const std::string& title, bool safeDefault) {
    auto answer = QMessageBox::question(window_, Q(title), Q(text), QMessageBox::Yes | QMessageBox::No,
                                        safeDefault ? QMessageBox::Yes : QMessageBox::No);
    return answer == QMessageBox::Yes;
}

void QtPlatform::SetTitle(const std::string& text) {
    if (window_) window_->setWindowTitle(Q(text));
}

void QtPlatform::SetResultLabel(const std::string& text) {
    if (window_) window_->SetResultLabel(Q(text));
}

void QtPlatform::ShowPosition(const std::string& ra, const std::string& dec, const std::string& raOfDate,
                              const std::string& decOfDate) {
    if (window_) window_->SetPosition(Q(ra), Q(dec), Q(raOfDate), Q(decOfDate));
}

void QtPlatform::SummaryLineAdded(const std::string& line) {
    if (window_) window_->AppendSummary(Q(line));
}

void QtPlatform::DoEvents() {
    if (sinceLastPump_.isValid()) {
        longestGap_ = std::max(longestGap_, static_cast<double>(sinceLastPump_.nsecsElapsed()) / 1e6);
    }
    ++pumps_;
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    if (pumpHook_) pumpHook_();
    sinceLastPump_.start();
}

void QtPlatform::ResetPumpGaps() {
    longestGap_ = 0;
    pumps_ = 0;
    sinceLastPump_.invalidate();
}

std::optional<std::string> QtPlatform::ChooseFile(const FileDialogRequest& request) {
    QString path;
    QString proposed = Q(request.proposedName);
    if (request.kind == FileDialogKind::Save) {
        QFileDialog dialog(window_, Q(request.title), proposed, QtFilter(request.filter));
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setDefaultSuffix(Q(request.defaultExtension));
        if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
        path = dialog.selectedFiles().first();
    } else {
        path = QFileDialog::getOpenFileName(window_, Q(request.title), proposed, QtFilter(request.filter));
    }
    if (path.isEmpty()) return std::nullopt;
    return path.toStdString();
}

// An editable list: the user picks a telescope found or types an identifier by hand.
std::optional<std::string> QtPlatform::ChooseFromList(
    const std::string& title, const std::vector<std::pair<std::string, std::string>>& items,
    const std::string& current) {
    QStringList texts;
    int selected = -1;
    for (const auto& [value, description] : items) {
        if (value == current) selected = static_cast<int>(texts.size());
        texts << Q(value + "    " + description);
    }
    if (selected < 0) {
        texts.prepend(Q(current));
        selected = 0;
    }
    bool ok = false;
    const QString chosen = QInputDialog::getItem(window_, Q(title), Q(title), texts, selected, true, &ok);
    if (!ok) return std::nullopt;
    for (size_t i = 0; i < items.size(); ++i)
        if (chosen == Q(items[i].first + "    " + items[i].second)) return items[i].first;
    return chosen.trimmed().toStdString();
}

void QtPlatform::SetBusy(bool busy) {
    if (busy && busy_ == 0) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        busy_ = 1;
    } else if (!busy && busy_ == 1) {
        QApplication::restoreOverrideCursor();
        busy_ = 0;
    }
}

void QtPlatform::LockMenus(bool locked) {
    if (window_) window_->PoneMenus(!locked);
}

bool QtPlatform::WindowGeometry(int& left, int& top, int& width, int& height) {
    if (!window_ || window_->isMinimized() || !window_->isVisible()) return false;
    const QRect g = window_->geometry();
    left = g.x();
    top = g.y();
    width = g.width();
    height = g.height();
    return true;
}

void QtPlatform::ShowWait(const std::string& text) {
    if (window_) window_->ShowWait(Q(text));
    QCoreApplication::processEvents();
}

void QtPlatform::HideWait() {
    if (window_) window_->HideWait();
}

void QtPlatform::SetAutomaticMode(bool) {
    if (window_) window_->ActualizaMenusSegunModo();
}

void QtPlatform::ApplyLanguage() {
    if (!window_) return;
    window_->IdiomaMenus();
    window_->IdiomaControles();
}

void QtPlatform::ApplyParameters() {
    if (window_) window_->ActualizaFormularioSegunParametros();
}

// The menu entry's own handler: the modal dialog, then the window set from the parameters.
void QtPlatform::ShowParametersDialog() {
    if (window_) window_->Action("mParametros")->trigger();
}

// The engine draws in display pixels, the image's pixels divided by the reduction in force; the view
// keeps image pixels.
void QtPlatform::ClearOverlay() {
    if (window_) window_->View().BorraOverlay();
}

void QtPlatform::DrawPoint(double x, double y, OverlayColour colour) {
    if (!window_) return;
    const double f = window_->View().Reduction();
    window_->View().DibujaPunto(x * f, y * f, ColourOf(colour));
}

void QtPlatform::DrawCircle(double x, double y, double radius, OverlayColour colour, int lineWidth) {
    if (!window_) return;
    const double f = window_->View().Reduction();
    window_->View().DibujaCirculo(x * f, y * f, radius, ColourOf(colour), lineWidth);
}

void QtPlatform::DrawText(double x, double y, const std::string& text, OverlayColour colour) {
    if (!window_) return;
    const double f = window_->View().Reduction();
    window_->View().DibujaTexto(x * f, y * f, Q(text), ColourOf(colour));
}

void QtPlatform::DrawLine(double x1, double y1, double x2, double y2, OverlayColour colour) {
    if (!window_) return;
    const double f = window_->View().Reduction();
    window_->View().DibujaLinea(x1 * f, y1 * f, x2 * f, y2 * f, ColourOf(colour));
}

void QtPlatform::SetOverlayLayer(OverlayLayer layer) {
    if (window_) window_->View().SetLayer(layer);
}

void QtPlatform::ClearOverlayLayer(OverlayLayer layer) {
    if (window_) window_->View().BorraCapa(layer);
}

void QtPlatform::ShowGuidance(const GuidanceLabel& first, const GuidanceLabel& second) {
    if (window_) window_->Guidance().Show(first, second);
}

void QtPlatform::HideGuidance() {
    if (window_) window_->Guidance().Hide();
}

void QtPlatform::DrawRectangle(double x1, double y1, double x2, double y2) {
    if (!window_) return;
    const double f = window_->View().Reduction();
    window_->View().DibujaRectangulo(QRectF(QPointF(x1 * f, y1 * f), QPointF(x2 * f, y2 * f)));
}

void QtPlatform::ClearRectangle() {
    if (window_) window_->View().BorraRectangulo();
}

void QtPlatform::ImageChanged() {
    if (window_) window_->RepintaImagen();
}

}  // namespace tornel
