#pragma once

#include "HostQtShell.h"

#include <QPalette>

class QWidget;

/// The host's colours and pictures, and what takes their place where a skin lacks them.
namespace KRXSkin {

/// A colour of the skin. \param widget gives its palette's \a instead when the skin has no such colour.
QColor color(const QString& name, const QWidget* widget, QPalette::ColorRole instead);
/// The same, adjusted to the user's choice of highlight.
QColor highlightColor(const QString& name, const QWidget* widget, QPalette::ColorRole instead);

/// What is drawn by hand when the skin has no picture.
enum class Drawing { ArrowRight, ArrowDown, ClipsReady, ClipsOnTheirWay };

/// One picture of the skin; names as HostQtShell::drawSkinnedIcon() takes them.
struct Icon
{
    QString id;
    QString group;
    HostQtShell::IconTintColors tint;
    /// Opacity, 0 to 255.
    int alpha = 255;
    HostQtShell::IconVariant variant = HostQtShell::IconVariant::Normal;
};

/// Draws a picture of the skin into \a rect, or \a instead in the colour \a ink when there is none.
void drawIcon(QPainter* painter, const QRect& rect, const Icon& icon, Drawing instead, const QColor& ink);

} // namespace KRXSkin
