#pragma once

#include <QEvent>
#include <QObject>

namespace KRXTest {

/// Counts the events of one type that reach an object, for as long as both live.
class EventCounter : public QObject
{
public:
    /// \param watched not owned.
    EventCounter(QObject* watched, QEvent::Type type)
        : m_type(type)
    {
        watched->installEventFilter(this);
    }

    int count() const { return m_count; }

    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == m_type)
            ++m_count;
        return false;
    }

private:
    QEvent::Type m_type;
    int m_count = 0;
};

} // namespace KRXTest
