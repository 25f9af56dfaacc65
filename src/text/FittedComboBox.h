#pragma once

#include <QComboBox>

/// A combo box of a fixed, narrow width that keeps its texts whole: the current text is set smaller and
/// narrower as far as it must, and the list is as wide as its items.
class FittedComboBox : public QComboBox
{
    Q_OBJECT

public:
    explicit FittedComboBox(QWidget* parent);

    void showPopup() override;

protected:
    void paintEvent(QPaintEvent* event) override;
};
