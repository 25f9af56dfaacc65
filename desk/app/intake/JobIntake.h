#pragma once

#include "ServiceReport.h"

#include <QObject>
#include <QSet>

class ClipIntake;

/// Takes the outputs of manual jobs into the project as soon as their jobs are done, and then tells that the
/// service may forget the jobs. A job that failed or was cancelled stays until a person decides; one whose
/// outputs cannot be taken or saved now is tried again with every answer of the service.
class JobIntake : public QObject
{
    Q_OBJECT

public:
    explicit JobIntake(ClipIntake& clips, QObject* parent = nullptr);

    /// \param jobs all manual jobs, as the service tells them now.
    void follow(const QVector<DeskJob>& jobs);

signals:
    /// All outputs of a job are in the project's file: the service may forget it.
    void taken(const QString& jobId);
    /// A job came to a bad end.
    void failed(const QString& message);

private:
    bool takeOutputs(const DeskJob& job);

    ClipIntake& m_clips;
    /// Jobs whose outputs were taken and whose deletion is on its way.
    QSet<QString> m_taken;
    /// Jobs whose bad end, or whose outputs' trouble, was told.
    QSet<QString> m_told;
    /// Outputs that are in the project's file, of jobs that have others which are not.
    QSet<QString> m_safe;
};
