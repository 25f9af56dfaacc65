#include "KRXTextFitter.h"

#include "KRXFittedFont.h"

#include <QApplication>
#include <QCoreApplication>
#include <QEvent>
#include <QFont>
#include <QFontMetrics>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QStyle>
#include <QStyleOptionButton>
#include <QWidget>

namespace {

/// What stays free on each side of a button's text, in pixels.
constexpr int kButtonPadding = 3;

} // namespace

KRXTextFitter::KRXTextFitter(QWidget* widget)
    : QObject(widget)
    , m_widget(widget)
{
    widget->installEventFilter(this);
}

bool KRXTextFitter::eventFilter(QObject* watched, QEvent* event)
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

void KRXTextFitter::fit()
{
    const QWidget* parent = m_widget->parentWidget();
    const QFont around = parent ? parent->font() : QApplication::font(m_widget);
    m_widget->setFont(QFont());
    const QFont own = m_widget->font();
    if (widthIn(own) <= room())
        return;
    m_widget->setFont(KRXText::fittedFont(around, room(), [this](const QFont& font) {
        m_widget->setFont(font);
        return widthIn(font);
    }));
}

int KRXTextFitter::widthIn(const QFont& font) const
{
    // A style may want every button wider than its text asks for, whatever the font.
    if (const auto* button = qobject_cast<QPushButton*>(m_widget))
        return QFontMetrics(font).horizontalAdvance(button->text());
    return m_widget->minimumSizeHint().width();
}

int KRXTextFitter::room() const
{
    if (!qobject_cast<QPushButton*>(m_widget))
        return m_widget->maximumWidth();
    QStyleOptionButton option;
    option.initFrom(m_widget);
    return m_widget->style()->subElementRect(QStyle::SE_PushButtonContents, &option, m_widget).width() -
           2 * kButtonPadding;
}
