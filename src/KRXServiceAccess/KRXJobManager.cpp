#include "KRXJobManager.h"

#include "KRXJobXml.h"
#include "KRXServiceAddress.h"
#include "KRXXml.h"

namespace {

// These addresses are fixed: they do not follow a changed host or port.
QString errorsUrl()
{
    return QStringLiteral(KRX_SERVICE_ADDRESS "/KRXService/errors%1");
}

QString activityUrl()
{
    return QStringLiteral(KRX_SERVICE_ADDRESS "/KRXService/activity");
}

QString outputReadyUrl()
{
    return QStringLiteral(KRX_SERVICE_ADDRESS "/KRXService/xelmediafolders?level=outputready");
}

} // namespace

KRXJobManager::KRXJobManager()
    : KRXBaseService(Acquisition::Later)
{
    m_resourcePath = QStringLiteral("KRXService/jobs");
    acquireQuietly();
}

KRXJobManager::KRXJobManager(const KRXJobManager&) = default;

KRXJobManager& KRXJobManager::operator=(const KRXJobManager&) = default;

KRXJobManager::~KRXJobManager() = default;

bool KRXJobManager::submitJob(const QString& path, const QString& profileId, QString& jobId)
{
    if (!canSend({path, profileId}))
        return false;
    QByteArray body;
    QDomDocument answer;
    if (!exchangePost(buildUrl(), KRXJobXml::submission(path, profileId), &body) ||
        !parseAnswer(body, answer))
        return false;
    const KRXJob job =
        KRXJobXml::parseJobInfoElement(KRXXml::firstElement(answer, QStringLiteral("jobInfo")));
    jobId = job.id;
    if (!job.id.isEmpty())
        cacheJob(job);
    return true;
}

bool KRXJobManager::cancelJob(const QString& id)
{
    return changeJobState(id, QStringLiteral("CANCELLED"));
}

bool KRXJobManager::retryJob(const QString& id)
{
    return changeJobState(id, QStringLiteral("SUBMITTED"));
}

bool KRXJobManager::changeJobState(const QString&, const QString& state)
{
    // The service takes state changes at the collection, without the job's identifier.
    return exchangePut(buildUrl(), KRXJobXml::stateChange(state), nullptr);
}

bool KRXJobManager::deleteJob(const QString& id)
{
    // The caller may hand in the text of the record that goes away here.
    const QString key = id; // NOLINT(performance-unnecessary-copy-initialization)
    if (!exchangeDelete(QStringLiteral("%1/%2").arg(buildUrl(), key)))
        return false;
    m_jobs.remove(key);
    return true;
}

bool KRXJobManager::updateJobsStatus()
{
    QDomDocument answer;
    if (!fetchDocument(QStringLiteral("%1/status?filter=true").arg(buildUrl()), answer))
        return false;
    for (const QDomElement& element : KRXXml::elementsByTag(answer, QStringLiteral("jobStatus"))) {
        const KRXJob job = KRXJobXml::parseJobStatusElement(element);
        const auto cached = m_jobs.find(job.id);
        if (cached == m_jobs.end()) {
            cacheJob(job);
            continue;
        }
        cached->state = job.state;
        cached->complete = job.complete;
        cached->percentComplete = job.percentComplete;
    }
    return true;
}

bool KRXJobManager::updateManualJobsDetail()
{
    QDomDocument answer;
    if (!fetchDocument(QStringLiteral("%1/detail?kind=manual&filter=true").arg(buildUrl()), answer))
        return false;
    m_jobs.clear();
    for (const QDomElement& element : KRXXml::elementsByTag(answer, QStringLiteral("jobInfo"))) {
        const KRXJob job = KRXJobXml::parseJobInfoElement(element);
        if (!job.id.isEmpty())
            cacheJob(job);
    }
    return true;
}

void KRXJobManager::cacheJob(const KRXJob& job)
{
    m_jobs.insert(job.id, job);
    // What is taken away shows in the number of jobs; what takes its place would not.
    m_order.clear();
}

int KRXJobManager::countJobs() const
{
    return m_jobs.size();
}

bool KRXJobManager::getJob(const QString& id, KRXJob& out) const
{
    const auto found = m_jobs.constFind(id);
    if (found == m_jobs.constEnd())
        return false;
    out = *found;
    return true;
}

bool KRXJobManager::getJob(int index, KRXJob& out) const
{
    if (index < 0 || index >= m_jobs.size())
        return false;
    if (m_order.size() != m_jobs.size())
        m_order = QVector<QString>(m_jobs.keyBegin(), m_jobs.keyEnd());
    return getJob(m_order.at(index), out);
}

bool KRXJobManager::isAnyJobInProgress(bool* ok)
{
    const bool updated = updateJobsStatus();
    if (ok)
        *ok = updated;
    if (!updated)
        return false;
    for (const KRXJob& job : qAsConst(m_jobs)) {
        // A job may claim to be complete and still be on its way.
        if ((job.percentComplete != 0 && job.percentComplete < 100) || !job.complete)
            return true;
    }
    return false;
}

bool KRXJobManager::getErrorList(QStringList& errors, bool clear)
{
    QDomDocument answer;
    if (!fetchDocument(errorsUrl().arg(clear ? QStringLiteral("?clear=true") : QString()), answer))
        return false;
    errors += KRXJobXml::errorMessages(answer);
    return true;
}

bool KRXJobManager::getKRXServiceStatus(KRXServiceStatus& status)
{
    QDomDocument answer;
    if (!fetchDocument(activityUrl(), answer))
        return false;
    const QString word = KRXXml::textOf(KRXXml::firstElement(answer, QStringLiteral("status")));
    if (word == QLatin1String("StatusActive"))
        status.setActive(true);
    else if (word == QLatin1String("StatusIdle"))
        status.setActive(false);
    if (!status.isError())
        status.setError(!KRXJobXml::errorMessages(answer).isEmpty());
    status.setReadyFolderIDList(KRXJobXml::readyFolderIds(answer));
    return true;
}

QStringList KRXJobManager::getFoldersOutputReady(bool* ok)
{
    QByteArray body;
    const bool answered = exchangeGet(outputReadyUrl(), &body);
    if (ok)
        *ok = answered;
    QDomDocument answer;
    // An answer that cannot be read counts as one that names no folder.
    if (!answered || !parseAnswer(body, answer, Unreadable::KeepQuiet))
        return {};
    return KRXJobXml::readyFolderIds(answer);
}
