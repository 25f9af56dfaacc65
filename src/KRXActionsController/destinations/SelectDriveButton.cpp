#include "SelectDriveButton.h"

SelectDriveButton::SelectDriveButton(QWidget* parent)
    : ArrowButton(parent)
{
    setState(Open);
}

QString SelectDriveButton::getResGroup() const
{
    return QStringLiteral("icons/KRX");
}

QString SelectDriveButton::getResID() const
{
    // Host icon icons/KRX/multi_arrow.png; without it: a triangle is drawn.
    // Host icon icons/KRX/one_arrow.png; without it: a triangle is drawn.
    return getButtonState() == Open ? QStringLiteral("multi_arrow.png") : QStringLiteral("one_arrow.png");
}
