#pragma once

#include "DeskApi.h"

#include <QObject>
#include <QString>
#include <QStringList>

class DeskProject;
struct LinkDocument;

/// Takes finished outputs into the project: reads the link document, records the clip, saves the project and
/// only then removes the document. A crash between any two of these steps loses no clip, and the clip's id
/// keeps it from being taken twice.
class KRX_DESK_API ClipIntake : public QObject
{
    Q_OBJECT

public:
    explicit ClipIntake(DeskProject& project, QObject* parent = nullptr);

    /// Reads the document and records its clip. The project is saved and the documents are removed once for
    /// all files that were taken before control returned to the event loop, so that a folder with many
    /// outputs costs one save. A document that cannot be read stays where it is and is reported. \return
    /// whether the clip is in the project.
    bool take(const QString& linkDocument);
    /// Saves and removes now what take() left for later. \return false when the project could not be saved;
    /// the documents then stay.
    bool finish();

    /// The bin's name that a document asks for.
    /// \param projectName the name of the project. \param volumeLabel the label of the folder's volume.
    /// \return empty for the active bin.
    static QString binName(const LinkDocument& document, const QString& projectName,
                           const QString& volumeLabel);
    /// The label of the volume that a path lies on, as the host knows it; the mount point's name, or the
    /// computer's name for the root, when it has none.
    static QString volumeLabel(const QString& path);

signals:
    /// A clip came into a bin. \param doubled its id was known already, so nothing was added.
    void taken(const QString& clipName, const QString& binName, bool doubled);
    /// A document could not be read or removed, or the project could not be saved.
    void failed(const QString& message);

private:
    DeskProject& m_project;
    /// Documents whose clips are in the project but maybe not yet in its file.
    QStringList m_toRemove;
    bool m_finishScheduled = false;
};
