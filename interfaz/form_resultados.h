#pragma once
// The results window: the figures of the last extraction, the selected stars, the distances between
// them and the search summary, with the button that saves the summary as a log.
#include <QDialog>
#include <QPlainTextEdit>

#include "comun/context.h"

namespace tornel {

class FormResultados : public QDialog {
    Q_OBJECT
  public:
    FormResultados(Context& c, QWidget* parent);

  private:
    void CommandoGrabarLog_Click();
    Context& c_;
    QPlainTextEdit* veoFinales_;
};

}  // namespace tornel
