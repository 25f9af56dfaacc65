#include "ServiceFollower.h"

namespace {

constexpr int kUnansweredLimit = 2;

} // namespace

ServiceFollower::ServiceFollower(const ServiceSupervisor::Settings& service, int interval, QObject* parent)
    : QObject(parent)
    , m_monitor(interval)
    , m_supervisor(service)
{
    connect(&m_monitor, &ServiceMonitor::reported, this, &ServiceFollower::take);
    connect(&m_monitor, &ServiceMonitor::commandFailed, this, &ServiceFollower::message);
    connect(&m_monitor, &ServiceMonitor::submissionsWait, this, &ServiceFollower::absence);
    connect(&m_supervisor, &ServiceSupervisor::message, this, &ServiceFollower::absence);
}

void ServiceFollower::take(const ServiceReport& report)
{
    m_unanswered = report.online ? 0 : m_unanswered + 1;
    if (report.online)
        m_supervisor.serviceAnswered();
    else
        m_supervisor.needService();
    const bool before = m_online;
    m_online = report.online || (m_online && m_unanswered < kUnansweredLimit);
    m_lastReport = report;
    if (m_online != before)
        emit onlineChanged(m_online);
    emit reported(report);
}
