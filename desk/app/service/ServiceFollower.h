#pragma once

#include "DeskApi.h"
#include "ServiceMonitor.h"
#include "ServiceSupervisor.h"

#include <QObject>

/// Keeps up with the service: whether it is there, what it answered when it was last asked, and that there is
/// one at all. One missed answer may be a hiccup; after two the service counts as gone.
class KRX_DESK_API ServiceFollower : public QObject
{
    Q_OBJECT

public:
    /// \param interval milliseconds between two questions to the service.
    ServiceFollower(const ServiceSupervisor::Settings& service, int interval, QObject* parent = nullptr);

    /// Begins to ask for the service, and to start one when none answers.
    void start() { m_monitor.start(); }

    ServiceMonitor& monitor() { return m_monitor; }
    ServiceSupervisor& supervisor() { return m_supervisor; }
    const ServiceSupervisor& supervisor() const { return m_supervisor; }
    bool isOnline() const { return m_online; }
    const ServiceReport& lastReport() const { return m_lastReport; }

signals:
    /// Before reported(), when the service came or went.
    void onlineChanged(bool online);
    void reported(const ServiceReport& report);
    /// Something that a person should know.
    void message(const QString& text);
    /// The same, and it holds only until the service answers.
    void absence(const QString& text);

private:
    void take(const ServiceReport& report);

    ServiceMonitor m_monitor;
    ServiceSupervisor m_supervisor;
    ServiceReport m_lastReport;
    bool m_online = false;
    int m_unanswered = 0;
};
