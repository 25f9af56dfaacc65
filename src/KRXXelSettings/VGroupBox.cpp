#include "VGroupBox.h"

VGroupBox::VGroupBox(const QString& title, QWidget* parent)
    : QGroupBox(title, parent)
{
}
