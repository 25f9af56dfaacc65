#include "ActionTypeBox.h"

#include "ActionType.h"
#include "KRXFittedFont.h"
#include "KRXText.h"

#include <QFontMetrics>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QStylePainter>
#include <QWheelEvent>

namespace {

constexpr int kWidth = 150;
constexpr int kHeight = 20;
// What the styles leave free on both sides of the text.
constexpr int kTextMargins = 4;

} // namespace

ActionTypeBox::ActionTypeBox(QWidget* parent)
    : QComboBox(parent)
{
    for (int type = 0; type < kActionTypeCount; ++type)
        addItem(actionTypeName(ActionType(type)));
    setFixedSize(kWidth, kHeight);
    setToolTip(KRXText::localised("Choose Action"));
}

void ActionTypeBox::paintEvent(QPaintEvent*)
{
    QStylePainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    QStyleOptionComboBox option;
    initStyleOption(&option);
    option.currentText = QStringLiteral(" %1").arg(currentText());
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    painter.setFont(
        KRXText::fittedFont(font(), field.width() - kTextMargins, [&option](const QFont& candidate) {
            return QFontMetrics(candidate).horizontalAdvance(option.currentText);
        }));
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

void ActionTypeBox::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}
