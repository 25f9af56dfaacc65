#include "ClipIntake.h"

#include "DeskProject.h"
#include "LinkDocument.h"

#include "HostCore.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>
#include <QTimer>

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
    // One that waits for a save is offered again and again.
    if (m_toRemove.contains(linkDocument)) {
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
        binName = ClipIntake::binName(document, m_project.name(), volumeLabel(where));
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
    emit taken(document.clipName, binName, doubled);
    scheduleFinish();
    return true;
}

void ClipIntake::scheduleFinish()
{
    if (m_finishScheduled)
        return;
    m_finishScheduled = true;
    QTimer::singleShot(0, this, [this] { finish(); });
}

bool ClipIntake::finish(Loudness loudness)
{
    m_finishScheduled = false;
    if (m_toRemove.isEmpty())
        return true;
    QString error;
    if (m_project.isModified() && !m_save(error)) {
        if (loudness == Loudly)
            emit failed(error);
        emit finished(false);
        return false;
    }
    const QStringList documents = m_toRemove;
    const Batch batch = m_batch;
    forget();
    for (const QString& document : documents) {
        QFile file(document);
        if (!file.remove() && file.exists())
            emit failed(tr("%1 cannot be removed: %2").arg(document, file.errorString()));
    }
    emit batchTaken(batch);
    emit finished(true);
    return true;
}

void ClipIntake::forget()
{
    m_toRemove.clear();
    m_batch = Batch();
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
