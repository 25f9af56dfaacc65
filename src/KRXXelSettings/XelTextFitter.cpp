#include "XelTextFitter.h"

#include <QApplication>
#include <QCoreApplication>
#include <QEvent>
#include <QFont>
#include <QScopedValueRollback>
#include <QWidget>
#include <QtMath>

namespace {

/// Smaller than this share of the surrounding font nothing is legible; the text is cut off then.
constexpr qreal kSmallestShare = 0.7;
constexpr qreal kStep = 0.05;

QFont scaled(const QFont& font, qreal share)
{
    QFont result(font);
    if (font.pixelSize() > 0)
        result.setPixelSize(qMax(1, qFloor(font.pixelSize() * share)));
    else
        result.setPointSizeF(font.pointSizeF() * share);
    return result;
}

} // namespace

XelTextFitter::XelTextFitter(QWidget* widget)
    : QObject(widget)
    , m_widget(widget)
{
    widget->installEventFilter(this);
}

bool XelTextFitter::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::Polish:
    case QEvent::FontChange:
    case QEvent::StyleChange:
    case QEvent::ParentChange:
        break;
    default:
        return false;
    }
    if (m_isFitting)
        return false;
    const QScopedValueRollback<bool> fitting(m_isFitting, true);
    // The widget first: only then does it know how wide it wants to be.
    QCoreApplication::sendEvent(watched, event);
    fit();
    return true;
}

void XelTextFitter::fit()
{
    const QWidget* parent = m_widget->parentWidget();
    const QFont around = parent ? parent->font() : QApplication::font(m_widget);
    m_widget->setFont(QFont());
    for (qreal share = 1 - kStep; share >= kSmallestShare; share -= kStep) {
        if (m_widget->minimumSizeHint().width() <= m_widget->maximumWidth())
            return;
        m_widget->setFont(scaled(around, share));
    }
}
