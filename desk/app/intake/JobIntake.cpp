#include "JobIntake.h"

#include "ClipIntake.h"
#include "ServiceMonitor.h"

JobIntake::JobIntake(ClipIntake& clips, ServiceMonitor& monitor, QObject* parent)
    : QObject(parent)
    , m_clips(clips)
    , m_monitor(monitor)
{
}

void JobIntake::follow(const QVector<DeskJob>& jobs)
{
    QSet<QString> known;
    for (const DeskJob& job : jobs) {
        known.insert(job.id);
        if (!job.complete)
            m_told.remove(job.id);
        else if (m_taken.contains(job.id) || m_told.contains(job.id))
            continue;
        else if (!job.isCompleted()) {
            m_told.insert(job.id);
            emit failed(tr("%1 was not linked (%2)").arg(job.path, job.state));
        } else if (takeOutputs(job)) {
            m_taken.insert(job.id);
            m_monitor.deleteJob(job.id);
        } else {
            m_told.insert(job.id);
        }
    }
    m_taken.intersect(known);
    m_told.intersect(known);
}

bool JobIntake::takeOutputs(const DeskJob& job)
{
    bool all = true;
    for (const QString& output : job.outputs)
        all = m_clips.take(output) && all;
    // The service forgets the outputs with the job, so the job stays while one of its clips is not safe.
    return m_clips.finish() && all;
}
