#pragma once

#include <QGroupBox>

/// A titled box in the look of the module.
class VGroupBox : public QGroupBox
{
    Q_OBJECT

public:
    explicit VGroupBox(const QString& title, QWidget* parent = nullptr);
};
