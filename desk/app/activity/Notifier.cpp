#include "Notifier.h"

#include <QDBusConnection>
#include <QDBusMessage>

namespace {

constexpr int kShownFor = 8000; ///< milliseconds

/// Asks the desktop's service and does not wait for it: where there is none, or one that hangs, nothing
/// happens.
void showOnDesktop(const QString& title, const QString& text)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    // The text may be taken for markup.
    call << QStringLiteral("KRX Desk") << 0U << QStringLiteral("krx-desk") << title << text.toHtmlEscaped()
         << QStringList() << QVariantMap() << kShownFor;
    bus.send(call);
}

} // namespace

Notifier::Notifier(QObject* parent, int pause)
    : QObject(parent)
    , m_show(&showOnDesktop)
{
    m_pause.setSingleShot(true);
    m_pause.setInterval(pause);
    connect(&m_pause, &QTimer::timeout, this, &Notifier::showNow);
}

void Notifier::setInFront(bool inFront)
{
    m_inFront = inFront;
    if (inFront)
        m_ready = m_failed = 0;
}

void Notifier::tell(int ready, int failed)
{
    if (m_inFront || ready + failed == 0)
        return;
    m_ready += ready;
    m_failed += failed;
    if (!m_pause.isActive())
        showNow();
}

QString Notifier::textOf(int ready, int failed)
{
    const QString readyText = ready == 1 ? tr("1 clip is ready") : tr("%1 clips are ready").arg(ready);
    const QString failedText = failed == 1 ? tr("1 clip failed") : tr("%1 clips failed").arg(failed);
    if (failed == 0)
        return readyText;
    return ready == 0 ? failedText : tr("%1, %2").arg(readyText, failedText);
}

void Notifier::showNow()
{
    if (m_ready + m_failed == 0)
        return;
    m_show(tr("KRX Folders"), textOf(m_ready, m_failed));
    m_ready = m_failed = 0;
    m_pause.start();
}
