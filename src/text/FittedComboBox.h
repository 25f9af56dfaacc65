#pragma once

#include "KRXExport.h"

#include <QComboBox>

/// A combo box that keeps its texts whole in a width that is fixed or narrow: the current text is set smaller
/// and narrower as far as it must, and the list is as wide as its items.
class KRX_EXPORT FittedComboBox : public QComboBox
{
    Q_OBJECT

public:
    explicit FittedComboBox(QWidget* parent);

    /// A layout without room may make the box narrower than its items.
    QSize minimumSizeHint() const override;
    void showPopup() override;

protected:
    void paintEvent(QPaintEvent* event) override;
};
