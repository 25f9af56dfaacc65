#pragma once

#include "ServiceMonitor.h"

#include "KRXJobManager.h"

#include <QObject>
#include <QTimer>

#include <memory>

/// The monitor's worker: lives in the monitor's thread and is the only user of its job manager.
class ServicePoller : public QObject
{
    Q_OBJECT

public:
    explicit ServicePoller(int interval);

    /// Call in the poller's own thread.
    void start();
    void ask();
    void stop();

signals:
    void reported(const ServiceReport& report);

private:
    ServiceReport report();

    QTimer m_timer;
    std::unique_ptr<KRXJobManager> m_jobs;
};
