#pragma once

#include "KRXBaseService.h"
#include "KRXExport.h"
#include "KRXJob.h"
#include "KRXServiceStatus.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

/// Submits and changes jobs, keeps a cache of them, and asks for the service's activity, errors and folders
/// with output ready. Each user has its own; copies are short-lived values that share the source's reference
/// to the REST client. One thread at a time. A request that fails leaves the cache as it was and the reason
/// in lastError().
class KRX_EXPORT KRXJobManager : public KRXBaseService
{
public:
    KRXJobManager();
    KRXJobManager(const KRXJobManager&);
    KRXJobManager& operator=(const KRXJobManager&);
    ~KRXJobManager() override;

    /// Asks the service to process \a path with a profile.
    /// \param jobId receives the identifier of the new job; empty when the answer names none.
    bool submitJob(const QString& path, const QString& profileId, QString& jobId);
    bool cancelJob(const QString& id);
    bool retryJob(const QString& id);
    bool deleteJob(const QString& id);
    /// Brings the states of the cached jobs up to date; jobs not yet cached are added, without their details.
    bool updateJobsStatus();
    /// Replaces the cache by the manual jobs, without their states: follow with updateJobsStatus() before
    /// showing anything.
    bool updateManualJobsDetail();

    int countJobs() const;
    /// Copies the cached job \a id into \a out. \return false when it is not cached.
    bool getJob(const QString& id, KRXJob& out) const;
    /// Copies the job at a position in the plain order of identifiers into \a out. \return false outside 0 to
    /// countJobs() - 1.
    bool getJob(int index, KRXJob& out) const;
    /// Updates the states and tells whether any job is under way.
    /// \param ok receives whether the update succeeded; may be null.
    bool isAnyJobInProgress(bool* ok);

    /// Appends the service's error messages to \a errors. \param clear whether the service forgets them.
    bool getErrorList(QStringList& errors, bool clear);
    /// Asks what the service is up to. An error flag that is set in \a status already stays set.
    bool getKRXServiceStatus(KRXServiceStatus& status);
    /// \param ok receives whether the service answered with success; may be null.
    /// \return the identifiers of the folders that have output ready, in the service's order.
    QStringList getFoldersOutputReady(bool* ok);

private:
    bool changeJobState(const QString& id, const QString& state);
    void cacheJob(const KRXJob& job);

    QMap<QString, KRXJob> m_jobs;
    /// Identifiers by position, made on the first walk after a change so that walks are cheap.
    mutable QVector<QString> m_order;
};
