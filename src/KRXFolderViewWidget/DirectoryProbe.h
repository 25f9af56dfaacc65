#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>

/// Looks whether directories exist without making anybody wait for a file system that does not answer.
///
/// The paths of one mount are looked at one after the other, on a thread of their own, so that a dead mount
/// holds up its own paths alone. Where a single path of a mount hangs, as a link into a dead one does,
/// another thread goes on with the others. A path that is being looked at is not looked at again, so asking
/// often costs no more threads than asking once. Public functions are for the thread that the probe lives in.
class DirectoryProbe : public QObject
{
    Q_OBJECT

public:
    /// Answers whether a path exists; runs on any thread and may take for ever.
    using Look = std::function<bool(const QString& path)>;

    explicit DirectoryProbe(Look look, QObject* parent = nullptr);
    /// Waits for nobody. A thread that hangs is left to itself and touches nothing of the probe any more.
    ~DirectoryProbe() override;

    /// Has paths looked at; seen() brings the answers as they come.
    void ask(const QStringList& paths);
    /// Waits for the answers that come quickly, and brings them at once: until all are there but those of
    /// paths that hang, two seconds at most. A path that hangs already is not waited for.
    void waitBriefly();

Q_SIGNALS:
    /// Answers by path, several at a time.
    void seen(const QHash<QString, bool>& answers);

private:
    struct Shared;

    static void work(const std::shared_ptr<Shared>& shared, const QString& mount);
    void startWorkers();
    void deliver();

    std::shared_ptr<Shared> m_shared;
    /// Looks after paths that hang while others wait behind them.
    QTimer m_stallTimer;
};
