#pragma once

#include <QMetaType>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QThread>

/// What the service answered when it was last asked.
struct ServiceReport
{
    /// The service answered.
    bool online = false;
    /// It works on something.
    bool active = false;
    /// What it has to complain about.
    QStringList errors;
    /// Folders that have outputs ready.
    QStringList readyFolders;
    /// Why it did not answer.
    QString failure;
};
Q_DECLARE_METATYPE(ServiceReport)

class ServicePoller;

/// Asks the service again and again how it is, on a thread of its own, so that a service that is dead or slow
/// never holds up the window.
class ServiceMonitor : public QObject
{
    Q_OBJECT

public:
    /// \param interval milliseconds between an answer and the next question.
    explicit ServiceMonitor(int interval = 1000, QObject* parent = nullptr);
    /// Waits until a question that is under way is over (the service client bounds that).
    ~ServiceMonitor() override;

    void start();
    /// Asks at once instead of at the end of the interval. Returns before the answer.
    void askNow();

signals:
    /// Delivered in the thread that the monitor lives in.
    void reported(const ServiceReport& report);

private:
    QThread m_thread;
    ServicePoller* m_poller;
};
