#include "FittedComboBox.h"

#include "KRXFittedFont.h"

#include <QAbstractItemView>
#include <QFontMetrics>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QStylePainter>

namespace {

// What the styles leave free on both sides of the text.
constexpr int kTextMargins = 4;
constexpr int kListMargins = 8;
constexpr int kNarrowest = 100;

} // namespace

FittedComboBox::FittedComboBox(QWidget* parent)
    : QComboBox(parent)
{
}

QSize FittedComboBox::minimumSizeHint() const
{
    const QSize whole = QComboBox::minimumSizeHint();
    return QSize(qMin(whole.width(), kNarrowest), whole.height());
}

void FittedComboBox::showPopup()
{
    view()->setMinimumWidth(view()->sizeHintForColumn(modelColumn()) + kListMargins);
    QComboBox::showPopup();
}

void FittedComboBox::paintEvent(QPaintEvent*)
{
    QStylePainter painter(this);
    QStyleOptionComboBox option;
    initStyleOption(&option);
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    painter.setFont(
        KRXText::fittedFont(font(), field.width() - kTextMargins, [&option](const QFont& candidate) {
            return QFontMetrics(candidate).horizontalAdvance(option.currentText);
        }));
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}
