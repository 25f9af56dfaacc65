#include "KRXSkin.h"

#include <QPainter>
#include <QPolygonF>
#include <QWidget>

namespace {

constexpr qreal kOpaque = 255;

/// Points are given in a square of this edge, which is fitted into the room there is.
constexpr qreal kUnit = 10;

void draw(QPainter* painter, KRXSkin::Drawing drawing)
{
    switch (drawing) {
    case KRXSkin::Drawing::ArrowRight:
        painter->drawPolygon(QPolygonF({{3, 1}, {8, 5}, {3, 9}}));
        break;
    case KRXSkin::Drawing::ArrowDown:
        painter->drawPolygon(QPolygonF({{1, 3}, {9, 3}, {5, 8}}));
        break;
    case KRXSkin::Drawing::ClipsReady:
        // Something to be fetched: an arrow onto a tray.
        painter->drawPolygon(QPolygonF({{4, 0}, {6, 0}, {6, 3}, {8, 3}, {5, 7}, {2, 3}, {4, 3}}));
        painter->drawRect(QRectF(1, 8, 8, 2));
        break;
    case KRXSkin::Drawing::ClipsOnTheirWay:
        for (const qreal x : {2.0, 5.0, 8.0})
            painter->drawEllipse(QPointF(x, 5), 1.2, 1.2);
        break;
    }
}

} // namespace

namespace KRXSkin {

QColor color(const QString& name, const QWidget* widget, QPalette::ColorRole instead)
{
    const QColor skinned = HostQtShell::paletteColor(name);
    return skinned.isValid() ? skinned : widget->palette().color(instead);
}

QColor highlightColor(const QString& name, const QWidget* widget, QPalette::ColorRole instead)
{
    const QColor skinned = HostQtShell::highlightPaletteColor(name);
    return skinned.isValid() ? skinned : widget->palette().color(instead);
}

void drawIcon(QPainter* painter, const QRect& rect, const Icon& icon, Drawing instead, const QColor& ink)
{
    if (!HostQtShell::skinnedPixmap(icon.id, icon.group).isNull()) {
        HostQtShell::drawSkinnedIcon(painter, rect, icon.id, icon.group, icon.tint, icon.alpha, icon.variant);
        return;
    }
    const qreal edge = qMin(rect.width(), rect.height());
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setOpacity(painter->opacity() * icon.alpha / kOpaque);
    painter->setPen(Qt::NoPen);
    painter->setBrush(ink);
    painter->translate(rect.x() + (rect.width() - edge) / 2, rect.y() + (rect.height() - edge) / 2);
    painter->scale(edge / kUnit, edge / kUnit);
    draw(painter, instead);
    painter->restore();
}

} // namespace KRXSkin
