#include "ClipIntake.h"

#include "DeskProject.h"
#include "LinkDocument.h"

#include "HostCore.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>
#include <QTimer>

namespace {

constexpr int kAtOnce = 10; ///< clips that are taken on the spot, however long that takes
constexpr int kBurst = 10;  ///< milliseconds in which more are: the folder was just read, which took its time
constexpr int kSlice = 45;  ///< milliseconds in which clips are taken before events are handled again

} // namespace

ClipIntake::ClipIntake(DeskProject& project, QObject* parent)
    : QObject(parent)
    , m_project(project)
    , m_save([&project](QString& error) { return project.save(error); })
{
}

bool ClipIntake::take(const QString& linkDocument, Loudness loudness)
{
    if (!m_refusal.isEmpty()) {
        if (loudness == Loudly)
            tellRefusal();
        return false;
    }
    // One that waits for a save, or for its removal after it, is offered again and again.
    if (m_toRemoveSet.contains(linkDocument) || m_savedSet.contains(linkDocument)) {
        scheduleFinish();
        return true;
    }
    LinkDocument document;
    QString error;
    if (!LinkDocument::read(linkDocument, document, error)) {
        if (loudness == Loudly)
            emit failed(tr("%1 was not acquired: %2").arg(linkDocument, error));
        return false;
    }
    const bool doubled = m_project.contains(document.id);
    QString binName;
    if (!doubled) {
        const QString where = document.folderPath.isEmpty() ? document.sourcePath : document.folderPath;
        binName = ClipIntake::binName(document, m_project.name(), labelOf(where));
        const int bin = binName.isEmpty() ? m_project.activeBin() : m_project.binNamed(binName);
        binName = m_project.bins().at(bin).name;
        DeskClip clip;
        clip.id = document.id;
        clip.name = document.clipName;
        clip.kind = document.kind;
        clip.duration = document.duration;
        clip.media = document.mediaPath;
        clip.source = document.sourcePath;
        clip.linkDocument = linkDocument;
        clip.checked = document.checked;
        clip.start = document.start;
        clip.reel = document.reel;
        clip.details = document.details.join(QLatin1Char('\n'));
        clip.acquired = QDateTime::currentDateTime();
        m_project.addClip(bin, clip);
        m_batch.clip = clip.name;
        ++m_batch.added;
        if (!m_batch.bins.contains(binName))
            m_batch.bins.append(binName);
    } else {
        ++m_batch.doubled;
        m_batch.doubledClip = document.clipName;
    }
    m_toRemove.append(linkDocument);
    m_toRemoveSet.insert(linkDocument);
    emit taken(document.clipName, binName, doubled);
    scheduleFinish();
    return true;
}

void ClipIntake::takeSoon(const QString& linkDocument)
{
    if (m_soonSet.contains(linkDocument))
        return;
    // A few are taken on the spot; the event loop begins the next time.
    if (!m_burst.isValid()) {
        m_burst.start();
        m_burstClips = 0;
        QTimer::singleShot(0, this, [this] { m_burst.invalidate(); });
    }
    if (m_soon.isEmpty() && (++m_burstClips <= kAtOnce || m_burst.elapsed() < kBurst)) {
        take(linkDocument);
        return;
    }
    m_soonSet.insert(linkDocument);
    m_soon.enqueue(linkDocument);
    ++m_soonAll;
    scheduleSlice();
}

void ClipIntake::scheduleSlice()
{
    if (m_sliceScheduled)
        return;
    m_sliceScheduled = true;
    QTimer::singleShot(0, this, [this] { takeSlice(); });
}

void ClipIntake::takeSlice()
{
    m_sliceScheduled = false;
    QElapsedTimer time;
    time.start();
    while (!m_soon.isEmpty() && time.elapsed() < kSlice) {
        const QString document = m_soon.dequeue();
        m_soonSet.remove(document);
        take(document);
    }
    const int all = m_soonAll;
    if (!m_soon.isEmpty()) {
        scheduleSlice();
    } else {
        m_soonAll = 0;
        // The last of them may have failed, and the others wait.
        if (!m_toRemove.isEmpty())
            scheduleFinish();
    }
    if (all > 0)
        emit progressed(all - m_soon.size(), all);
}

void ClipIntake::scheduleFinish()
{
    // What still waits is saved with it.
    if (m_finishScheduled || !m_soon.isEmpty())
        return;
    m_finishScheduled = true;
    QTimer::singleShot(0, this, [this] { finishInSlices(); });
}

bool ClipIntake::finish(Loudness loudness)
{
    while (!m_soon.isEmpty()) {
        const QString document = m_soon.dequeue();
        m_soonSet.remove(document);
        take(document, loudness);
    }
    m_finishScheduled = false;
    return saveTaken(loudness) && removeSaved(QDeadlineTimer(QDeadlineTimer::Forever));
}

/// \return whether all that was taken is in the project's file; its documents are to be removed then.
bool ClipIntake::saveTaken(Loudness loudness)
{
    if (m_toRemove.isEmpty())
        return true;
    QString error;
    if (m_project.isModified() && !m_save(error)) {
        if (loudness == Loudly)
            emit failed(error);
        emit finished(false);
        return false;
    }
    for (const QString& document : qAsConst(m_toRemove))
        m_saved.enqueue(document);
    m_savedSet += m_toRemoveSet;
    m_savedBatches.append(m_batch);
    forget();
    return true;
}

/// \return true when nothing is left to be removed at the end of \a time.
bool ClipIntake::removeSaved(const QDeadlineTimer& time)
{
    while (!m_saved.isEmpty() && !time.hasExpired()) {
        const QString document = m_saved.dequeue();
        m_savedSet.remove(document);
        QFile file(document);
        if (!file.remove() && file.exists())
            emit failed(tr("%1 cannot be removed: %2").arg(document, file.errorString()));
    }
    if (!m_saved.isEmpty())
        return false;
    const QVector<Batch> batches = m_savedBatches;
    m_savedBatches.clear();
    for (const Batch& batch : batches) {
        emit batchTaken(batch);
        emit finished(true);
    }
    return true;
}

/// The same with events in between.
void ClipIntake::finishInSlices()
{
    m_finishScheduled = false;
    // The last slice comes back here.
    if (!m_soon.isEmpty())
        return;
    // A save that took the slice's time leaves the removal to the next one.
    const QDeadlineTimer slice(kSlice);
    saveTaken(Loudly);
    if (!removeSaved(slice))
        scheduleFinish();
}

void ClipIntake::forget()
{
    m_toRemove.clear();
    m_toRemoveSet.clear();
    m_soon.clear();
    m_soonSet.clear();
    m_labels.clear();
    m_batch = Batch();
    if (m_soonAll > 0)
        emit progressed(m_soonAll, m_soonAll);
    m_soonAll = 0;
}

/// Looked up once for all clips of a folder: the table of mounts is read for it.
QString ClipIntake::labelOf(const QString& path)
{
    const auto known = m_labels.find(path);
    return known == m_labels.end() ? *m_labels.insert(path, volumeLabel(path)) : *known;
}

void ClipIntake::tellRefusal()
{
    if (m_refusalTold)
        return;
    m_refusalTold = true;
    emit failed(m_refusal);
    QTimer::singleShot(0, this, [this] { m_refusalTold = false; });
}

QString ClipIntake::batchText(const Batch& batch)
{
    QStringList texts;
    if (batch.added == 1)
        texts << tr("%1 is in the bin \"%2\"").arg(batch.clip, batch.bins.first());
    else if (batch.added > 1 && batch.bins.size() == 1)
        texts << tr("%1 clips are in the bin \"%2\"").arg(QString::number(batch.added), batch.bins.first());
    else if (batch.added > 1)
        texts << tr("%1 clips are in %2 bins").arg(batch.added).arg(batch.bins.size());
    if (batch.doubled == 1)
        texts << tr("%1 was acquired before").arg(batch.doubledClip);
    else if (batch.doubled > 1)
        texts << tr("%1 clips were acquired before").arg(batch.doubled);
    return texts.join(QLatin1String("; "));
}

QString ClipIntake::binName(const LinkDocument& document, const QString& projectName,
                            const QString& volumeLabel)
{
    if (document.binSelection == LinkDocument::BinSelection::UseActive)
        return QString();
    switch (document.binNaming) {
    case LinkDocument::BinNaming::Volume:
        return volumeLabel;
    case LinkDocument::BinNaming::Explicit:
        return document.explicitBin.isEmpty() ? projectName : document.explicitBin;
    case LinkDocument::BinNaming::Default:
        break;
    }
    return projectName;
}

QString ClipIntake::volumeLabel(const QString& path)
{
    QList<HostCore::VolumeGroup> groups;
    HostCore::localVolumeGroups(groups);
    HostCore::VolumeInformation best;
    for (const HostCore::VolumeGroup& group : qAsConst(groups)) {
        for (const HostCore::VolumeHandle volume : group) {
            HostCore::VolumeIdentity identity;
            HostCore::VolumeInformation information;
            if (!HostCore::volumeIdentity(volume, identity) ||
                !HostCore::volumeInformation(identity, information))
                continue;
            const QString mount = information.path;
            const bool holds = mount == QLatin1String("/") || path == mount ||
                               path.startsWith(QString(mount + QLatin1Char('/')));
            if (holds && mount.size() > best.path.size())
                best = information;
        }
    }
    if (!best.displayName.isEmpty() && best.displayName != QLatin1String("/"))
        return best.displayName;
    const QString mountName = QFileInfo(best.path).fileName();
    return mountName.isEmpty() ? QSysInfo::machineHostName() : mountName;
}
