#include "JobIntake.h"

#include "ClipIntake.h"

JobIntake::JobIntake(ClipIntake& clips, QObject* parent)
    : QObject(parent)
    , m_clips(clips)
{
}

void JobIntake::follow(const QVector<DeskJob>& jobs)
{
    QSet<QString> known;
    QSet<QString> outputs;
    for (const DeskJob& job : jobs) {
        known.insert(job.id);
        for (const QString& output : job.outputs)
            outputs.insert(output);
        if (!job.complete) {
            m_told.remove(job.id);
        } else if (m_taken.contains(job.id)) {
            continue;
        } else if (!job.isCompleted()) {
            if (m_told.contains(job.id))
                continue;
            m_told.insert(job.id);
            // Whoever cancelled it knows.
            if (!job.isCancelled())
                emit failed(tr("%1 was not linked: its job failed").arg(job.path));
        } else if (takeOutputs(job)) {
            m_told.remove(job.id);
            m_taken.insert(job.id);
            emit taken(job.id);
        } else {
            m_told.insert(job.id);
        }
    }
    m_taken.intersect(known);
    m_told.intersect(known);
    m_safe.intersect(outputs);
}

bool JobIntake::takeOutputs(const DeskJob& job)
{
    const auto loudness = m_told.contains(job.id) ? ClipIntake::Quietly : ClipIntake::Loudly;
    QSet<QString> taken;
    bool all = true;
    for (const QString& output : job.outputs) {
        if (m_safe.contains(output))
            continue;
        if (m_clips.take(output, loudness))
            taken.insert(output);
        else
            all = false;
    }
    // The service forgets the outputs with the job, so the job stays while one of its clips is not safe.
    if (!m_clips.finish(loudness))
        return false;
    m_safe.unite(taken);
    return all;
}
