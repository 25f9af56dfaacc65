#pragma once

#include "KRXExport.h"

#include <QComboBox>

/// Chooses what a row's action does. The index of an entry is the value of its ActionType.
class KRX_EXPORT ActionTypeBox : public QComboBox
{
    Q_OBJECT

public:
    explicit ActionTypeBox(QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
    /// Leaves the wheel to the editor, which scrolls.
    void wheelEvent(QWheelEvent* event) override;
};
