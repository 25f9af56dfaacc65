#pragma once

#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>

/// Shows the wait cursor over the whole application while it lives. Without a window system it does nothing.
class KRXWaitCursor
{
public:
    KRXWaitCursor()
        : m_shown(qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr)
    {
        if (m_shown)
            QGuiApplication::setOverrideCursor(QCursor(Qt::WaitCursor));
    }
    ~KRXWaitCursor()
    {
        if (m_shown)
            QGuiApplication::restoreOverrideCursor();
    }
    KRXWaitCursor(const KRXWaitCursor&) = delete;
    KRXWaitCursor& operator=(const KRXWaitCursor&) = delete;

private:
    bool m_shown;
};
