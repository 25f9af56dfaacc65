#include "ServiceMonitor.h"

#include "ServicePoller.h"

#include "RestWaits.h"

namespace {

/// Has the poller do its \a work with \a values in its own thread, when it comes to it.
template <class... Parameters, class... Values>
void have(ServicePoller* poller, void (ServicePoller::*work)(Parameters...), const Values&... values)
{
    QMetaObject::invokeMethod(
        poller, [poller, work, values...] { (poller->*work)(values...); }, Qt::QueuedConnection);
}

} // namespace

ServiceMonitor::ServiceMonitor(int interval, QObject* parent)
    : QObject(parent)
    , m_waits(std::make_shared<StandInHost::RestWaits>())
    , m_poller(new ServicePoller(interval, m_waits))
{
    qRegisterMetaType<ServiceReport>();
    m_thread.setObjectName(QStringLiteral("service monitor"));
    m_poller->moveToThread(&m_thread);
    connect(&m_thread, &QThread::started, m_poller, &ServicePoller::start);
    connect(&m_thread, &QThread::finished, m_poller, &QObject::deleteLater);
    connect(m_poller, &ServicePoller::reported, this, &ServiceMonitor::reported);
    connect(m_poller, &ServicePoller::commandFailed, this, &ServiceMonitor::commandFailed);
    connect(m_poller, &ServicePoller::submissionsWait, this, &ServiceMonitor::submissionsWait);
}

ServiceMonitor::~ServiceMonitor()
{
    if (m_thread.isRunning()) {
        m_waits->end();
        m_thread.quit();
        m_thread.wait();
    } else {
        delete m_poller;
    }
}

void ServiceMonitor::start()
{
    m_thread.start();
}

void ServiceMonitor::askNow()
{
    have(m_poller, &ServicePoller::askSoon);
}

void ServiceMonitor::submitJobs(const QStringList& paths, const QString& profileId)
{
    have(m_poller, &ServicePoller::submitJobs, paths, profileId);
}

void ServiceMonitor::deleteJob(const QString& jobId)
{
    have(m_poller, &ServicePoller::deleteJob, jobId);
}

void ServiceMonitor::cancelJobs()
{
    have(m_poller, &ServicePoller::cancelJobs);
}

void ServiceMonitor::retryJobs()
{
    have(m_poller, &ServicePoller::retryJobs);
}

void ServiceMonitor::cancelTheseJobs(const QStringList& jobIds)
{
    have(m_poller, &ServicePoller::cancelTheseJobs, jobIds);
}

void ServiceMonitor::retryTheseJobs(const QStringList& jobIds)
{
    have(m_poller, &ServicePoller::retryTheseJobs, jobIds);
}

void ServiceMonitor::setHeardOfChanges(bool heard)
{
    have(m_poller, &ServicePoller::setHeardOfChanges, heard);
}

void ServiceMonitor::clearErrors()
{
    have(m_poller, &ServicePoller::clearErrors);
}
