#include "FittedComboBox.h"

#include <QAbstractItemView>
#include <QFontMetrics>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QStylePainter>

namespace {

// Smaller or narrower than this nothing is legible; the text is cut off then.
constexpr qreal kSmallestShare = 0.8;
constexpr int kNarrowestPercent = 60;
constexpr int kFullPercent = 100;
// What the styles leave free on both sides of the text.
constexpr int kTextMargins = 4;
constexpr int kListMargins = 8;

QFont smaller(const QFont& font)
{
    QFont result(font);
    if (font.pixelSize() > 0)
        result.setPixelSize(qMax(1, qRound(font.pixelSize() * kSmallestShare)));
    else
        result.setPointSizeF(font.pointSizeF() * kSmallestShare);
    return result;
}

/// The font in which the text takes no more than \a room pixels.
QFont fitted(const QFont& font, const QString& text, int room)
{
    if (QFontMetrics(font).horizontalAdvance(text) <= room)
        return font;
    QFont result = smaller(font);
    const int width = QFontMetrics(result).horizontalAdvance(text);
    if (width > room)
        result.setStretch(qMax(kNarrowestPercent, kFullPercent * room / width));
    return result;
}

} // namespace

FittedComboBox::FittedComboBox(QWidget* parent)
    : QComboBox(parent)
{
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
    painter.setFont(fitted(font(), option.currentText, field.width() - kTextMargins));
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}
