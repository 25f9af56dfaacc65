#pragma once

#include "ClipIntake.h"
#include "DeskApi.h"
#include "DeskProject.h"
#include "FileIdentity.h"
#include "JobIntake.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>

class ProjectLock;

/// One project that is open: its bins, the lock that keeps other desks off its file, the state of the file
/// that was loaded, and the clips on their way into it.
///
/// The file is written only while the lock is held and only over the very state that was loaded or written
/// last. A project that another desk holds is open for reading: nothing is acquired into it.
class KRX_DESK_API DeskSession : public QObject
{
    Q_OBJECT

public:
    /// \param retryPause milliseconds before a failed save is tried again; doubled at each further failure,
    /// up to 32 times.
    explicit DeskSession(int retryPause = 2000, QObject* parent = nullptr);
    /// Saves what is not saved yet, if that is possible.
    ~DeskSession() override;

    DeskProject& project() { return m_project; }
    ClipIntake& clips() { return m_clips; }
    JobIntake& jobs() { return m_jobs; }

    /// Opens a project file. One that cannot be locked is opened for reading.
    /// What was not saved of the former project is let go. \return false with a text in \a error, and the
    /// former project as it was.
    bool open(const QString& path, QString& error);
    /// Starts an empty project in \a path and writes its file, in the place of whatever stands there.
    /// No folder is made. \return false with a text in \a error, and the former project as it was.
    bool create(const QString& path, QString& error);
    /// Opens the file, or starts an empty project when there is none.
    bool openOrCreate(const QString& path, QString& error);
    /// Goes on in another file, in the place of whatever stands there. \return false with a text in
    /// \a error, and the project stays in its former file.
    bool saveAs(const QString& path, QString& error);

    /// Why the project is open for reading only; empty when it can be written.
    QString readOnlyReason() const { return m_readOnlyReason; }
    bool isReadOnly() const { return !m_readOnlyReason.isEmpty(); }
    /// What happened to the file since it was loaded or written last; empty when nothing did.
    QString conflict() const;

    /// Writes the file. \return false with a text in \a error when the project is read-only, when there is a
    /// conflict, or when writing fails.
    bool save(QString& error);
    /// Writes the file in the place of whatever stands there now.
    bool replace(QString& error);
    /// Brings everything into the file that is not there yet. \return false with a text in \a error.
    bool finish(QString& error);

signals:
    /// The project can, or can no longer, be written.
    void accessChanged();
    /// A save that nobody asked for met a file that is not the one that was loaded. Told once for each state
    /// of the file.
    void conflictFound();

private:
    bool saveClips(QString& error);
    bool write(QString& error);
    void became(std::unique_ptr<ProjectLock> lock, const QString& readOnlyReason);
    void clipsFinished(bool saved);

    DeskProject m_project;
    ClipIntake m_clips;
    JobIntake m_jobs;
    std::unique_ptr<ProjectLock> m_lock;
    QString m_readOnlyReason;
    FileIdentity m_file;
    FileIdentity m_toldConflict;
    bool m_conflictTold = false;
    QTimer m_retry;
    int m_retryPause;
    int m_failures = 0;
};
