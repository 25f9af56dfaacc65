#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>

/// Tells a person who looks elsewhere that clips became ready or failed: one notice for all of them, and the
/// next one not before some seconds have passed.
class Notifier : public QObject
{
    Q_OBJECT

public:
    /// Shows a notice. Must not wait.
    using Show = std::function<void(const QString& title, const QString& text)>;
    static constexpr int kPause = 5000; ///< milliseconds between two notices

    /// \param pause milliseconds between two notices.
    explicit Notifier(QObject* parent = nullptr, int pause = kPause);

    /// Another way to show notices than the desktop's own service.
    void setShow(const Show& show) { m_show = show; }
    /// Whether the desk is in front: then it needs no notices.
    void setInFront(bool inFront);
    /// So many clips became ready, so many failed.
    void tell(int ready, int failed);

    /// What a notice says.
    static QString textOf(int ready, int failed);

private:
    void showNow();

    Show m_show;
    QTimer m_pause{this};
    int m_ready = 0;
    int m_failed = 0;
    bool m_inFront = false;
};
