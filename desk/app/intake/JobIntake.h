#pragma once

#include "ServiceReport.h"

#include <QObject>
#include <QSet>

class ClipIntake;
class ServiceMonitor;

/// Takes the outputs of manual jobs into the project as soon as their jobs are done, and then has the service
/// forget the jobs. A job that failed or was cancelled stays until a person decides.
class JobIntake : public QObject
{
    Q_OBJECT

public:
    JobIntake(ClipIntake& clips, ServiceMonitor& monitor, QObject* parent = nullptr);

    /// \param jobs all manual jobs, as the service tells them now.
    void follow(const QVector<DeskJob>& jobs);

signals:
    /// A job came to a bad end.
    void failed(const QString& message);

private:
    bool takeOutputs(const DeskJob& job);

    ClipIntake& m_clips;
    ServiceMonitor& m_monitor;
    /// Jobs whose outputs were taken and whose deletion is on its way.
    QSet<QString> m_taken;
    /// Jobs whose bad end was told.
    QSet<QString> m_told;
};
