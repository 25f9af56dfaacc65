#include "KRXFittedFont.h"

#include <QtMath>

namespace KRXText {

namespace {

// Smaller than this share of the font, or narrower than this percentage, nothing is legible.
constexpr int kSmallestPercent = 70;
constexpr int kNarrowestPercent = 60;
constexpr int kStepPercent = 5;
constexpr int kFullPercent = 100;

QFont smaller(const QFont& font, int percent)
{
    QFont result(font);
    if (font.pixelSize() > 0)
        result.setPixelSize(qMax(1, qFloor(font.pixelSize() * percent / qreal(kFullPercent))));
    else
        result.setPointSizeF(font.pointSizeF() * percent / kFullPercent);
    return result;
}

} // namespace

QFont fittedFont(const QFont& font, int room, const std::function<int(const QFont&)>& widthIn)
{
    QFont result(font);
    for (int percent = kFullPercent - kStepPercent; percent >= kSmallestPercent; percent -= kStepPercent) {
        if (widthIn(result) <= room)
            return result;
        result = smaller(font, percent);
    }
    for (int percent = kFullPercent - kStepPercent; percent >= kNarrowestPercent; percent -= kStepPercent) {
        if (widthIn(result) <= room)
            return result;
        result.setStretch(percent);
    }
    return result;
}

} // namespace KRXText
