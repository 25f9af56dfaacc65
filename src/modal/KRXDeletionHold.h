#pragma once

#include <QObject>
#include <QPointer>

#include <vector>

class QWidget;

/// Holds back deleteLater() of a widget and of everything around it, from its parent out to the host's
/// window.
///
/// Held while a dialog is open from inside a handler. A deletion that is asked for in the dialog's own event
/// loop would happen there, below the handler and below the code of Qt that called it (a combo box that emits
/// once more, a menu that finishes its mouse press), which both go on afterwards. Held back, it happens when
/// the program is out of them: in the event loop that called them. Deletions by other ways than deleteLater()
/// are not held back. GUI thread only.
class KRXDeletionHold : public QObject
{
    Q_OBJECT

public:
    /// \param inside the innermost widget; null holds nothing.
    explicit KRXDeletionHold(QWidget* inside);
    /// Has what was held back deleted later, unless a hold around this one goes on holding it.
    ~KRXDeletionHold() override;
    KRXDeletionHold(const KRXDeletionHold&) = delete;
    KRXDeletionHold& operator=(const KRXDeletionHold&) = delete;

    /// Whether one of the held objects was to be deleted.
    bool isDeletionAsked() const;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    class Deputy;

    bool take(QObject* asked);

    struct Held
    {
        QPointer<QObject> object;
        bool isAsked = false;
    };
    std::vector<Held> m_held;
    KRXDeletionHold* m_outer;
};
