#include "KRXDeletionHold.h"

#include <QEvent>
#include <QWidget>

#include <algorithm>

namespace {

/// The hold that was made last; holds end in the opposite order, as the dialogs do.
KRXDeletionHold*& innermost()
{
    static KRXDeletionHold* hold = nullptr;
    return hold;
}

} // namespace

/// Deletes an object in its place: an object whose deferred delete was caught takes no second one.
class KRXDeletionHold::Deputy : public QObject
{
public:
    explicit Deputy(QObject* target)
        : m_target(target)
    {
    }
    ~Deputy() override
    {
        // Another dialog may have been opened on the way out.
        if (m_target && !(innermost() && innermost()->take(m_target)))
            delete m_target;
    }
    Deputy(const Deputy&) = delete;
    Deputy& operator=(const Deputy&) = delete;

private:
    QPointer<QObject> m_target;
};

KRXDeletionHold::KRXDeletionHold(QWidget* inside)
    : m_outer(innermost())
{
    innermost() = this;
    for (QObject* object = inside; object; object = object->parent()) {
        m_held.push_back({object});
        object->installEventFilter(this);
    }
}

KRXDeletionHold::~KRXDeletionHold()
{
    innermost() = m_outer;
    for (const Held& held : m_held) {
        if (!held.object)
            continue;
        held.object->removeEventFilter(this);
        if (held.isAsked && !(m_outer && m_outer->take(held.object)))
            // Without memory the program ends. NOLINTNEXTLINE(bugprone-unhandled-exception-at-new)
            (new Deputy(held.object))->deleteLater();
    }
}

bool KRXDeletionHold::isDeletionAsked() const
{
    return std::any_of(m_held.begin(), m_held.end(),
                       [](const Held& held) { return held.object && held.isAsked; });
}

bool KRXDeletionHold::eventFilter(QObject* watched, QEvent* event)
{
    return event->type() == QEvent::DeferredDelete && take(watched);
}

/// Notes that \a asked is to go. \return false when it is none of the held ones.
bool KRXDeletionHold::take(QObject* asked)
{
    const auto held = std::find_if(m_held.begin(), m_held.end(),
                                   [asked](const Held& candidate) { return candidate.object == asked; });
    if (held == m_held.end())
        return m_outer && m_outer->take(asked);
    held->isAsked = true;
    return true;
}
