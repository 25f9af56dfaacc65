#include "OptionLayout.h"

#include "KRXTextFitter.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int kSpacing = 2;
constexpr int kLineHeight = 20;
constexpr int kLabelHeight = 16;

template <class Widget>
void setMinimumHeights(const QWidget* options, int height)
{
    for (Widget* widget : options->findChildren<Widget*>())
        widget->setMinimumHeight(height);
}

} // namespace

QWidget* OptionLayout::makeOptions(int height)
{
    auto* options = new QWidget;
    options->setFixedHeight(height);
    auto* column = new QVBoxLayout(options);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(kSpacing);
    return options;
}

QVBoxLayout* OptionLayout::columnOf(QWidget* options)
{
    return static_cast<QVBoxLayout*>(options->layout());
}

QCheckBox* OptionLayout::makeCheck(QWidget* parent, const char* name, const QString& text,
                                   const QString& toolTip)
{
    auto* check = new QCheckBox(text, parent);
    check->setObjectName(QLatin1String(name));
    check->setToolTip(toolTip);
    check->setMaximumWidth(kRoom);
    new KRXTextFitter(check);
    return check;
}

void OptionLayout::allowCompactLines(QWidget* options)
{
    setMinimumHeights<QComboBox>(options, kLineHeight);
    setMinimumHeights<QCheckBox>(options, kLineHeight);
    setMinimumHeights<QLabel>(options, kLabelHeight);
}
