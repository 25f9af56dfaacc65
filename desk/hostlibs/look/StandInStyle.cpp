#include "StandInStyle.h"

#include <QPainter>
#include <QPalette>
#include <QStyleOption>

namespace {

constexpr int kMiddleLightness = 128;

void outline(const QStyleOption* option, QPainter* painter, bool isRound)
{
    const bool isEnabled = option->state.testFlag(QStyle::State_Enabled);
    QColor color = option->palette.color(QPalette::WindowText);
    color.setAlphaF(isEnabled ? 0.45 : 0.3);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(color);
    painter->setBrush(Qt::NoBrush);
    // In the middle of the pixels, where Fusion's own outline lies.
    const QRectF line = QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5);
    constexpr qreal corner = 2;
    if (isRound)
        painter->drawEllipse(line);
    else
        painter->drawRoundedRect(line, corner, corner);
    painter->restore();
}

} // namespace

StandInStyle::StandInStyle()
    : QProxyStyle(QStringLiteral("fusion"))
{
    setObjectName(QStringLiteral("stand-in"));
}

void StandInStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                 const QWidget* widget) const
{
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    if (option->palette.color(QPalette::Window).lightness() >= kMiddleLightness)
        return;
    switch (element) {
    case PE_IndicatorCheckBox:
        outline(option, painter, false);
        break;
    case PE_FrameLineEdit:
        // The one with the focus has an outline in the highlight's colour.
        if (!option->state.testFlag(State_HasFocus))
            outline(option, painter, false);
        break;
    case PE_IndicatorRadioButton:
        outline(option, painter, true);
        break;
    default:
        break;
    }
}
