#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <memory>

class QProcess;

/// Starts the folder service when none answers, starts it again when it dies, and stops what it started.
/// A service that somebody else runs is used and never touched.
class ServiceSupervisor : public QObject
{
    Q_OBJECT

public:
    enum State {
        /// Nobody needs a service of ours, or it was stopped on request.
        Idle,
        Running,
        /// It died or could not be started and is started again after a pause.
        Waiting,
        /// It was asked to end and has not ended yet.
        Stopping,
        /// Another service has the port or the data folder. That one is used if it answers; ours is started
        /// once neither is in use any more.
        InUse,
    };

    struct Settings
    {
        /// The program; looked for beside our own program when empty.
        QString program;
        /// The service's data folder; the service's own default when empty.
        QString data;
        quint16 port = 58885;
        /// It listens at the Unix socket of this user and at no port, so that several people on one machine
        /// have a service each.
        bool bySocket = false;
        /// Further arguments.
        QStringList arguments;
        /// Milliseconds before the first new start; doubled at each failure, up to 32 times.
        int restartPause = 1000;
        /// Milliseconds that a run takes at least to count as healthy: what fails after it is the first
        /// failure again.
        int healthyRun = 30000;
        /// Milliseconds that a service gets to end by itself before it is killed.
        int stopWait = 10000;
    };

    explicit ServiceSupervisor(const Settings& settings, QObject* parent = nullptr);
    /// Stops what was started.
    ~ServiceSupervisor() override;

    State state() const { return m_state; }
    /// Whether a service that we started is running.
    bool owns() const { return m_state == Running; }
    /// Whether a service of ours needs the port.
    bool usesPort() const { return !m_settings.bySocket; }
    /// The process id of the service that we started; 0 when there is none.
    qint64 processId() const;

    /// Tells that no service answers: one is started unless that was forbidden by stop().
    void needService();
    /// Tells that a service answers, ours or another's: none is started, and failures are forgotten that were
    /// another one's doing.
    void serviceAnswered();
    /// Starts one on a person's wish; lifts what stop() forbade.
    void start();
    /// Asks what was started to end, and starts none by itself until start() is called. Does not wait.
    void stop();

    /// Milliseconds from the last end to the next start, while one is waited for.
    int currentPause() const { return m_restart.interval(); }
    /// The program that is started; empty when there is none.
    QString program() const;
    QStringList arguments() const;

    /// The port that the service listens on: KRX_CONNECT_PORT when it is set, else the service's own.
    static quint16 portFromEnvironment();

signals:
    void stateChanged(ServiceSupervisor::State state);
    /// Something that a person should know.
    void message(const QString& text);
    /// One line that the service wrote.
    void line(const QString& text);

private:
    void launch();
    void ended(const QString& reason);
    void foundInUse();
    bool isPortTaken() const;
    int pause() const;
    void forgetProcess();
    void setState(State state);
    void readLines();
    void endProcess();

    Settings m_settings;
    QProcess* m_process = nullptr;
    QTimer m_restart;
    QTimer m_patience;
    QElapsedTimer m_sinceStart;
    QElapsedTimer m_sinceEnd;
    int m_failures = 0;
    bool m_inUseTold = false;
    bool m_forbidden = false;
    State m_state = Idle;
    QString m_lastLine;
};
