#pragma once

#include "ServiceReport.h"

#include "KRXJobManager.h"

#include "RestWaits.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <memory>

/// The monitor's worker: lives in the monitor's thread and is the only user of its job manager. Call
/// everything in that thread.
class ServicePoller : public QObject
{
    Q_OBJECT

public:
    /// \param waits cuts short what the poller waits for.
    ServicePoller(int interval, std::shared_ptr<StandInHost::RestWaits> waits);

    void start();
    void ask();
    /// At once, but not more than ten times a second.
    void askSoon();
    void setHeardOfChanges(bool heard);

    /// One after the other, with other commands in between. While the service does not answer, those that are
    /// left wait for it to be back.
    void submitJobs(const QStringList& paths, const QString& profileId);
    void deleteJob(const QString& jobId);
    void cancelJobs();
    void retryJobs();
    void cancelTheseJobs(const QStringList& jobIds);
    void retryTheseJobs(const QStringList& jobIds);
    void clearErrors();

signals:
    void reported(const ServiceReport& report);
    void commandFailed(const QString& message);
    void submissionsWait(const QString& message);

private:
    struct Submission
    {
        QString path;
        QString profileId;
    };

    void submitNext();
    void tellWaiting();
    ServiceReport report();
    QVector<DeskJob> jobs();
    void finishCommand(bool succeeded, const QString& what);
    void setStates(const QStringList& jobIds, const char* state, const QString& failure);

    const int m_interval;
    QElapsedTimer m_asked;
    QTimer m_soon; ///< for a question that somebody wants before the interval is over
    QTimer m_timer;
    QTimer m_submitTimer;
    QVector<Submission> m_submissions;
    bool m_isAnswered = true;
    std::shared_ptr<StandInHost::RestWaits> m_waits;
    std::unique_ptr<KRXJobManager> m_jobs;
};
