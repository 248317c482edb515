#pragma once
// The row of buttons at the foot of a dialog: pushed to the right, in the order given.
#include <QHBoxLayout>
#include <QWidget>
#include <initializer_list>

namespace tornel {

inline QHBoxLayout* ButtonRow(std::initializer_list<QWidget*> buttons) {
    auto* row = new QHBoxLayout;
    row->addStretch();
    for (QWidget* b : buttons)
        row->addWidget(b);
    return row;
}

}  // namespace tornel
