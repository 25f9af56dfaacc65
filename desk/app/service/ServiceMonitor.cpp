#include "ServiceMonitor.h"

#include "ServicePoller.h"

#include "RestWaits.h"

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
    QMetaObject::invokeMethod(m_poller, &ServicePoller::askSoon, Qt::QueuedConnection);
}

void ServiceMonitor::submitJobs(const QStringList& paths, const QString& profileId)
{
    QMetaObject::invokeMethod(
        m_poller, [poller = m_poller, paths, profileId] { poller->submitJobs(paths, profileId); },
        Qt::QueuedConnection);
}

void ServiceMonitor::deleteJob(const QString& jobId)
{
    QMetaObject::invokeMethod(
        m_poller, [poller = m_poller, jobId] { poller->deleteJob(jobId); }, Qt::QueuedConnection);
}

void ServiceMonitor::cancelJobs()
{
    QMetaObject::invokeMethod(m_poller, &ServicePoller::cancelJobs, Qt::QueuedConnection);
}

void ServiceMonitor::retryJobs()
{
    QMetaObject::invokeMethod(m_poller, &ServicePoller::retryJobs, Qt::QueuedConnection);
}

void ServiceMonitor::cancelTheseJobs(const QStringList& jobIds)
{
    QMetaObject::invokeMethod(
        m_poller, [poller = m_poller, jobIds] { poller->cancelTheseJobs(jobIds); }, Qt::QueuedConnection);
}

void ServiceMonitor::retryTheseJobs(const QStringList& jobIds)
{
    QMetaObject::invokeMethod(
        m_poller, [poller = m_poller, jobIds] { poller->retryTheseJobs(jobIds); }, Qt::QueuedConnection);
}

void ServiceMonitor::setHeardOfChanges(bool heard)
{
    QMetaObject::invokeMethod(
        m_poller, [poller = m_poller, heard] { poller->setHeardOfChanges(heard); }, Qt::QueuedConnection);
}

void ServiceMonitor::clearErrors()
{
    QMetaObject::invokeMethod(m_poller, &ServicePoller::clearErrors, Qt::QueuedConnection);
}
