#pragma once

#include "ServiceReport.h"

#include <QObject>
#include <QThread>

#include <memory>

class ServicePoller;
namespace StandInHost {
class RestWaits;
}

/// Asks the service again and again how it is, and carries commands about jobs to it, all on a thread of its
/// own, so that a service that is dead or slow never holds up the window. Every function returns at once.
class ServiceMonitor : public QObject
{
    Q_OBJECT

public:
    /// \param interval milliseconds between an answer and the next question.
    explicit ServiceMonitor(int interval = 1000, QObject* parent = nullptr);
    /// Cuts short a question that is under way; what was not submitted yet is let go.
    ~ServiceMonitor() override;

    void start();
    /// Asks at once instead of at the end of the interval, but not more than ten times a second.
    void askNow();

    /// Has each of the files processed with a profile.
    void submitJobs(const QStringList& paths, const QString& profileId);
    void deleteJob(const QString& jobId);
    /// Cancels what is not finished. The notice carries no job's name: it is for every manual job.
    void cancelJobs();
    /// Has what failed or was cancelled done again; for every manual job as well.
    void retryJobs();
    /// The same for some jobs, by their ids.
    void cancelTheseJobs(const QStringList& jobIds);
    void retryTheseJobs(const QStringList& jobIds);
    /// Whether somebody calls askNow() for each change: then the interval is a long one.
    void setHeardOfChanges(bool heard);
    /// Has the service forget its error messages.
    void clearErrors();

signals:
    // Delivered in the thread that the monitor lives in.
    void reported(const ServiceReport& report);
    void commandFailed(const QString& message);
    /// Files are submitted once the service answers.
    void submissionsWait(const QString& message);

private:
    QThread m_thread;
    std::shared_ptr<StandInHost::RestWaits> m_waits;
    ServicePoller* m_poller;
};
