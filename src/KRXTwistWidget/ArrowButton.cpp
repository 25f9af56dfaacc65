#include "ArrowButton.h"

#include "HostQtShell.h"
#include "KRXSkin.h"

#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int kEnabledAlpha = 255;
constexpr int kDisabledAlpha = 125;

} // namespace

ArrowButton::ArrowButton(QWidget* parent)
    : QWidget(parent)
{
}

QString ArrowButton::getResGroup() const
{
    return QStringLiteral("icons/Arrows/");
}

QString ArrowButton::getResID() const
{
    // Host icon icons/Arrows/open_arrow.png; without it: a triangle is drawn.
    // Host icon icons/Arrows/closed_arrow.png; without it: a triangle is drawn.
    return m_state == Open ? QStringLiteral("open_arrow.png") : QStringLiteral("closed_arrow.png");
}

void ArrowButton::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    m_state = m_state == Closed ? Open : Closed;
    event->accept();
    update();
    // Last, because whoever listens may take the section away.
    emit clicked();
}

void ArrowButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    KRXSkin::drawIcon(&painter, rect(),
                      {getResID(), getResGroup(), HostQtShell::iconTintColors(),
                       isEnabled() ? kEnabledAlpha : kDisabledAlpha},
                      m_state == Open ? KRXSkin::Drawing::ArrowDown : KRXSkin::Drawing::ArrowRight,
                      palette().color(QPalette::Active, QPalette::WindowText));
}
