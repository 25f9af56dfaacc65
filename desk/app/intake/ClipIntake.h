#pragma once

#include "DeskApi.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QQueue>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

class DeskProject;
class QDeadlineTimer;
struct LinkDocument;

/// Takes finished outputs into the project: reads the link document, records the clip, saves the project and
/// only then removes the document. A crash between any two of these steps loses no clip, and the clip's id
/// keeps it from being taken twice.
class KRX_DESK_API ClipIntake : public QObject
{
    Q_OBJECT

public:
    /// Writes the project's file. \return false with a text in \a error.
    using Save = std::function<bool(QString& error)>;
    enum Loudness {
        /// Failures are told.
        Loudly,
        /// For another try at what has failed and was told.
        Quietly,
    };
    /// The clips that went into the project's file together.
    struct Batch
    {
        /// The one added last.
        QString clip;
        QStringList bins;
        int added = 0;
        /// How many were in the project already, and the name of the last of them.
        int doubled = 0;
        QString doubledClip;
    };

    /// Saves by the project itself until setSave() is called.
    explicit ClipIntake(DeskProject& project, QObject* parent = nullptr);
    void setSave(const Save& save) { m_save = save; }
    /// Refuses every document with this text; an empty one ends that. It is told once for all documents that
    /// are refused before control returns to the event loop.
    void setRefusal(const QString& reason) { m_refusal = reason; }

    /// Reads the document and records its clip. The project is saved and the documents are removed once for
    /// all files that were taken before control returned to the event loop, so that a folder with many
    /// outputs costs one save. A document that cannot be read stays where it is and is reported. \return
    /// whether the clip is in the project.
    bool take(const QString& linkDocument, Loudness loudness = Loudly);
    /// Takes the document a little later, in slices between which events are handled, so that thousands do
    /// not hold up the window. All that wait so are saved together.
    void takeSoon(const QString& linkDocument);
    /// Saves and removes now what take() and takeSoon() left for later. \return false when the project could
    /// not be saved; the documents then stay, and another finish() goes on.
    bool finish(Loudness loudness = Loudly);
    /// Whether documents wait for the project to be saved.
    bool isPending() const { return !m_toRemove.isEmpty() || !m_soon.isEmpty() || !m_saved.isEmpty(); }
    /// Leaves the documents that wait where they are, for another project or another time.
    void forget();

    /// The bin's name that a document asks for.
    /// \param projectName the name of the project. \param volumeLabel the label of the folder's volume.
    /// \return empty for the active bin.
    static QString binName(const LinkDocument& document, const QString& projectName,
                           const QString& volumeLabel);
    /// What a person is told of a batch.
    static QString batchText(const Batch& batch);
    /// The label of the volume that a path lies on, as the host knows it; the mount point's name, or the
    /// computer's name for the root, when it has none.
    static QString volumeLabel(const QString& path);

signals:
    /// How many of those that takeSoon() was told of are done; all of them: nothing is left.
    void progressed(int done, int all);
    /// A clip came into a bin. \param doubled its id was known already, so nothing was added.
    void taken(const QString& clipName, const QString& binName, bool doubled);
    /// What was taken is in the project's file, or could not be saved.
    void finished(bool saved);
    /// Clips are in the project's file.
    void batchTaken(const ClipIntake::Batch& batch);
    /// A document could not be read or removed, or the project could not be saved.
    void failed(const QString& message);

private:
    void scheduleFinish();
    bool saveTaken(Loudness loudness);
    bool removeSaved(const QDeadlineTimer& time);
    void finishInSlices();
    void scheduleSlice();
    void takeSlice();
    QString labelOf(const QString& path);
    void tellRefusal();

    DeskProject& m_project;
    Save m_save;
    QString m_refusal;
    Batch m_batch;
    /// Documents whose clips are in the project but maybe not yet in its file.
    QStringList m_toRemove;
    QSet<QString> m_toRemoveSet;
    QQueue<QString> m_saved; ///< documents whose clips are in the project's file
    QSet<QString> m_savedSet;
    QVector<Batch> m_savedBatches; ///< to be told of when those are gone
    QQueue<QString> m_soon;
    QSet<QString> m_soonSet;
    QElapsedTimer m_burst; ///< since the first of those that came without events in between
    int m_burstClips = 0;
    int m_soonAll = 0;                ///< since none waited
    QHash<QString, QString> m_labels; ///< of volumes by paths on them; for one batch
    bool m_finishScheduled = false;
    bool m_sliceScheduled = false;
    bool m_refusalTold = false;
};
Q_DECLARE_METATYPE(ClipIntake::Batch)
