#include "ServicePoller.h"

#include "RestRequest.h"
#include "ServiceSupervisor.h"

#include "KRXServiceStatus.h"

#include "ListenerOwner.h"

#include <QHash>

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace {

constexpr int kShortestPause = 100;  ///< milliseconds between two questions
constexpr int kLongInterval = 20000; ///< the same while changes are heard of
constexpr unsigned kAnswer = 5000;   ///< milliseconds that a command may take

} // namespace

ServicePoller::ServicePoller(int interval, std::shared_ptr<StandInHost::RestWaits> waits)
    : m_interval(interval)
    , m_soon(this)
    , m_timer(this)
    , m_submitTimer(this)
    , m_waits(std::move(waits))
{
    m_submitTimer.setSingleShot(true);
    m_submitTimer.setInterval(0);
    connect(&m_submitTimer, &QTimer::timeout, this, &ServicePoller::submitNext);
    m_soon.setSingleShot(true);
    connect(&m_soon, &QTimer::timeout, this, &ServicePoller::ask);
    m_timer.setSingleShot(true);
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, &ServicePoller::ask);
}

void ServicePoller::start()
{
    StandInHost::RestWaits::follow(m_waits);
    m_jobs = std::make_unique<KRXJobManager>();
    ask();
}

void ServicePoller::ask()
{
    if (!m_jobs)
        return;
    m_asked.start();
    m_soon.stop();
    const ServiceReport now = report();
    m_isAnswered = now.online;
    emit reported(now);
    m_timer.start();
    if (m_isAnswered && !m_submissions.isEmpty())
        m_submitTimer.start();
}

void ServicePoller::askSoon()
{
    const qint64 since = m_asked.isValid() ? m_asked.elapsed() : kShortestPause;
    if (since >= kShortestPause)
        ask();
    else if (!m_soon.isActive())
        m_soon.start(static_cast<int>(kShortestPause - since));
}

void ServicePoller::setHeardOfChanges(bool heard)
{
    m_timer.setInterval(heard ? std::max(m_interval, kLongInterval) : m_interval);
    askSoon();
}

ServiceReport ServicePoller::report()
{
    ServiceReport report;
    // A record that was in error once stays in error, so each question gets a fresh one.
    KRXServiceStatus status;
    report.online = m_jobs->getKRXServiceStatus(status);
    if (!report.online) {
        report.failure = m_jobs->lastError();
        const auto holder = StandInHost::ListenerOwner::atPort(ServiceSupervisor::portFromEnvironment());
        if (!holder.mayBeAskedBy(::geteuid(), StandInHost::meantUser()))
            report.portHolder = QString::fromStdString(holder.name());
        return report;
    }
    report.active = status.isActive();
    status.getReadyFolderIDList(report.readyFolders);
    if (status.isError())
        m_jobs->getErrorList(report.errors, false);
    report.jobs = jobs();
    return report;
}

QVector<DeskJob> ServicePoller::jobs()
{
    QVector<DeskJob> found;
    // The states first: a job that is complete goes with its outputs once they are taken, so none may have
    // been added since the outputs were asked for.
    if (!m_jobs->updateJobsStatus())
        return found;
    QHash<QString, KRXJob> states;
    for (int i = 0; i < m_jobs->countJobs(); ++i) {
        KRXJob job;
        if (m_jobs->getJob(i, job))
            states.insert(job.id, job);
    }
    if (!m_jobs->updateManualJobsDetail())
        return found;
    for (int i = 0; i < m_jobs->countJobs(); ++i) {
        KRXJob job;
        // One that was submitted between the two questions has no state yet.
        if (!m_jobs->getJob(i, job) || job.path.isEmpty() || !states.contains(job.id))
            continue;
        const KRXJob state = states.value(job.id);
        found.append({job.id, job.path, state.state, state.complete, state.percentComplete, job.outputFiles});
    }
    return found;
}

void ServicePoller::submitJobs(const QStringList& paths, const QString& profileId)
{
    for (const QString& path : paths)
        m_submissions.append({path, profileId});
    tellWaiting();
    m_submitTimer.start();
}

void ServicePoller::submitNext()
{
    if (m_submissions.isEmpty() || !m_isAnswered || !m_jobs)
        return;
    const Submission next = m_submissions.takeFirst();
    QString jobId;
    if (m_jobs->submitJob(next.path, next.profileId, jobId)) {
        if (m_submissions.isEmpty())
            ask();
        else
            m_submitTimer.start();
        return;
    }
    emit commandFailed(tr("%1 could not be submitted: %2").arg(next.path, m_jobs->lastError()));
    // A refusal concerns that file only; a service that is silent would hold up all the others one by one.
    ask();
    tellWaiting();
}

void ServicePoller::tellWaiting()
{
    if (m_isAnswered || m_submissions.isEmpty())
        return;
    emit submissionsWait(
        m_submissions.size() == 1
            ? tr("1 file is submitted when the service is back")
            : tr("%1 files are submitted when the service is back").arg(m_submissions.size()));
}

void ServicePoller::deleteJob(const QString& jobId)
{
    finishCommand(m_jobs->deleteJob(jobId), tr("The job could not be removed: %1"));
}

void ServicePoller::cancelJobs()
{
    finishCommand(m_jobs->cancelJob(QString()), tr("The jobs could not be cancelled: %1"));
}

void ServicePoller::retryJobs()
{
    finishCommand(m_jobs->retryJob(QString()), tr("The jobs could not be started again: %1"));
}

void ServicePoller::cancelTheseJobs(const QStringList& jobIds)
{
    setStates(jobIds, "CANCELLED", tr("The job could not be cancelled: %1"));
}

void ServicePoller::retryTheseJobs(const QStringList& jobIds)
{
    setStates(jobIds, "SUBMITTED", tr("The job could not be started again: %1"));
}

/// The module knows no notice for one job alone.
void ServicePoller::setStates(const QStringList& jobIds, const char* state, const QString& failure)
{
    const QByteArray body = QByteArray("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<jobStatus><state>") +
                            state + "</state></jobStatus>\n";
    QString reason;
    for (const QString& id : jobIds) {
        const RestReply reply = restrequest::put(QLatin1String("jobs/") + id, body, kAnswer);
        if (!reply.succeeded)
            reason = reply.error;
        // A service that is silent would hold up all the others one by one.
        if (reply.status == 0)
            break;
    }
    if (!reason.isEmpty())
        emit commandFailed(failure.arg(reason));
    ask();
}

void ServicePoller::clearErrors()
{
    QStringList errors;
    finishCommand(m_jobs->getErrorList(errors, true), tr("The messages could not be cleared: %1"));
}

void ServicePoller::finishCommand(bool succeeded, const QString& what)
{
    if (!succeeded)
        emit commandFailed(what.arg(m_jobs->lastError()));
    ask();
}
