#include "ServiceLight.h"

#include "PlainText.h"
#include "ServiceFollower.h"

#include <QColor>

ServiceLight::ServiceLight(ServiceFollower& service, QWidget* parent)
    : QLabel(parent)
    , m_service(service)
{
    connect(&service, &ServiceFollower::reported, this, &ServiceLight::refresh);
    refresh();
}

void ServiceLight::refresh()
{
    const ServiceReport& report = m_service.lastReport();
    const bool online = m_service.isOnline();
    QString text = tr("Service: not running");
    QColor color(0x8a, 0x90, 0x99);
    if (online) {
        text = report.active ? tr("Service: working") : tr("Service: ready");
        color = report.active ? QColor(0x2f, 0x6f, 0xd0) : QColor(0x2e, 0x9e, 0x5b);
    } else if (!report.portHolder.isEmpty() && m_service.supervisor().usesPort()) {
        text = tr("Service: the port is %1's").arg(report.portHolder);
        color = QColor(0xc0, 0x39, 0x2b);
        tellPortHolder(report.portHolder);
    } else if (m_service.supervisor().owns()) {
        text = tr("Service: starting");
    }
    if (online)
        m_toldHolder.clear();
    setText(
        QStringLiteral("<span style=\"color:%1\">&#9679;</span> %2").arg(color.name(), text.toHtmlEscaped()));
    setToolTip(plainToolTip(online ? report.errors.join(QLatin1Char('\n')) : report.failure));
}

void ServiceLight::tellPortHolder(const QString& user)
{
    if (user == m_toldHolder)
        return;
    m_toldHolder = user;
    emit message(
        tr("The service's port %1 is held by a program of the user %2, which is not asked. Let them start "
           "their service with --no-port, or set KRX_CONNECT_PORT to a port that is free; if their "
           "service is meant, set KRX_CONNECT_USER to %2.")
            .arg(QString::number(ServiceSupervisor::portFromEnvironment()), user));
}
