#pragma once

#include "ServiceReport.h"

#include "KRXJobManager.h"

#include <QObject>
#include <QTimer>

#include <memory>

/// The monitor's worker: lives in the monitor's thread and is the only user of its job manager. Call
/// everything in that thread.
class ServicePoller : public QObject
{
    Q_OBJECT

public:
    explicit ServicePoller(int interval);

    void start();
    void ask();

    void submitJobs(const QStringList& paths, const QString& profileId);
    void deleteJob(const QString& jobId);
    void cancelJobs();
    void retryJobs();
    void clearErrors();

signals:
    void reported(const ServiceReport& report);
    void commandFailed(const QString& message);

private:
    ServiceReport report();
    QVector<DeskJob> jobs();
    void finishCommand(bool succeeded, const QString& what);

    QTimer m_timer;
    std::unique_ptr<KRXJobManager> m_jobs;
};
