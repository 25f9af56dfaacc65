#pragma once

#include <QProxyStyle>

/// Qt's Fusion look with outlines that can be seen on dark ground. Inside the stand-in only.
///
/// Fusion outlines boxes with a darker shade of the window's colour, which vanishes in a dark skin.
class StandInStyle : public QProxyStyle
{
public:
    StandInStyle();
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget = nullptr) const override;
};
