#include "ServicePoller.h"

#include "KRXServiceStatus.h"

ServicePoller::ServicePoller(int interval)
    : m_timer(this)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, &ServicePoller::ask);
}

void ServicePoller::start()
{
    m_jobs = std::make_unique<KRXJobManager>();
    ask();
}

void ServicePoller::ask()
{
    if (!m_jobs)
        return;
    emit reported(report());
    m_timer.start();
}

ServiceReport ServicePoller::report()
{
    ServiceReport report;
    // A record that was in error once stays in error, so each question gets a fresh one.
    KRXServiceStatus status;
    report.online = m_jobs->getKRXServiceStatus(status);
    if (!report.online) {
        report.failure = m_jobs->lastError();
        return report;
    }
    report.active = status.isActive();
    status.getReadyFolderIDList(report.readyFolders);
    if (status.isError())
        m_jobs->getErrorList(report.errors, false);
    return report;
}
