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
    return getButtonState() == Open ? QStringLiteral("multi_arrow.png") : QStringLiteral("one_arrow.png");
}
