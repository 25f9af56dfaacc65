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
{
}

bool ClipIntake::take(const QString& linkDocument)
{
    LinkDocument document;
    QString error;
    if (!LinkDocument::read(linkDocument, document, error)) {
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
    }
    m_toRemove.append(linkDocument);
    emit taken(document.clipName, binName, doubled);
    if (!m_finishScheduled) {
        m_finishScheduled = true;
        QTimer::singleShot(0, this, &ClipIntake::finish);
    }
    return true;
}

bool ClipIntake::finish()
{
    m_finishScheduled = false;
    if (m_toRemove.isEmpty())
        return true;
    QString error;
    if (m_project.isModified() && !m_project.save(error)) {
        emit failed(error);
        return false;
    }
    const QStringList documents = m_toRemove;
    m_toRemove.clear();
    for (const QString& document : documents) {
        QFile file(document);
        if (!file.remove() && file.exists())
            emit failed(tr("%1 cannot be removed: %2").arg(document, file.errorString()));
    }
    return true;
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
    for (const HostCore::VolumeGroup& group : groups) {
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
