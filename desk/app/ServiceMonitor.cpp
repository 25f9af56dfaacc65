#include "ServiceMonitor.h"

#include "ServicePoller.h"

ServiceMonitor::ServiceMonitor(int interval, QObject* parent)
    : QObject(parent)
    , m_poller(new ServicePoller(interval))
{
    qRegisterMetaType<ServiceReport>();
    m_thread.setObjectName(QStringLiteral("service monitor"));
    m_poller->moveToThread(&m_thread);
    connect(&m_thread, &QThread::started, m_poller, &ServicePoller::start);
    connect(&m_thread, &QThread::finished, m_poller, &QObject::deleteLater);
    connect(m_poller, &ServicePoller::reported, this, &ServiceMonitor::reported);
}

ServiceMonitor::~ServiceMonitor()
{
    if (m_thread.isRunning()) {
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
    QMetaObject::invokeMethod(m_poller, &ServicePoller::ask, Qt::QueuedConnection);
}
