#include "DeskSession.h"

#include "DeskProjectFile.h"
#include "ProjectLock.h"

#include <QFileInfo>

#include <algorithm>

namespace {

constexpr int kMaxDoublings = 5;

} // namespace

DeskSession::DeskSession(int retryPause, QObject* parent)
    : QObject(parent)
    , m_clips(m_project)
    , m_jobs(m_clips)
    , m_retryPause(retryPause)
{
    m_clips.setSave([this](QString& error) { return saveClips(error); });
    connect(&m_clips, &ClipIntake::finished, this, &DeskSession::clipsFinished);
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, [this] { m_clips.finish(ClipIntake::Quietly); });
}

DeskSession::~DeskSession()
{
    QString error;
    if (!isReadOnly() && !m_project.path().isEmpty() && !finish(error))
        qWarning("%s", qUtf8Printable(error));
}

bool DeskSession::open(const QString& path, QString& error)
{
    QString reason;
    const bool isHeld = m_lock && m_lock->holds(path);
    std::unique_ptr<ProjectLock> lock = isHeld ? nullptr : ProjectLock::take(path, reason);
    const FileIdentity before = FileIdentity::of(path);
    if (!m_project.load(path, error))
        return false;
    m_clips.forget();
    // A file that was replaced while it was read counts as the one of before: the next save finds out.
    m_file = before;
    became(isHeld ? std::move(m_lock) : std::move(lock), reason);
    return true;
}

bool DeskSession::create(const QString& path, QString& error)
{
    const QFileInfo folder(QFileInfo(path).absolutePath());
    if (!folder.isDir()) {
        error =
            tr("The project %1 cannot be made: there is no folder %2.").arg(path, folder.absoluteFilePath());
        return false;
    }
    QString reason;
    const bool isHeld = m_lock && m_lock->holds(path);
    std::unique_ptr<ProjectLock> lock = isHeld ? nullptr : ProjectLock::take(path, reason);
    if ((!isHeld && !lock) || !DeskProjectFile::replaceFile(path, DeskProjectFile::toBytes({}), reason))
        error = tr("The project %1 cannot be made: %2.").arg(path, reason);
    else {
        m_clips.forget();
        m_project.create(path);
        m_file = FileIdentity::of(path);
        became(isHeld ? std::move(m_lock) : std::move(lock), QString());
        return true;
    }
    return false;
}

bool DeskSession::openOrCreate(const QString& path, QString& error)
{
    return QFileInfo::exists(path) ? open(path, error) : create(path, error);
}

bool DeskSession::saveAs(const QString& path, QString& error)
{
    QString reason;
    const bool isHeld = m_lock && m_lock->holds(path);
    std::unique_ptr<ProjectLock> lock = isHeld ? nullptr : ProjectLock::take(path, reason);
    if (!isHeld && !lock) {
        error = tr("The project %1 cannot be saved: %2.").arg(path, reason);
        return false;
    }
    if (!m_project.saveAs(path, error))
        return false;
    m_file = FileIdentity::of(path);
    became(isHeld ? std::move(m_lock) : std::move(lock), QString());
    return true;
}

QString DeskSession::conflict() const
{
    const FileIdentity now = FileIdentity::of(m_project.path());
    if (now == m_file)
        return QString();
    if (!now.exists)
        return tr("The project file %1 is no longer there.").arg(m_project.path());
    return tr("The project file %1 is not the one that was opened: it was replaced or changed meanwhile.")
        .arg(m_project.path());
}

bool DeskSession::save(QString& error)
{
    if (isReadOnly()) {
        error = tr("The project %1 is open for reading only: %2.").arg(m_project.path(), m_readOnlyReason);
        return false;
    }
    error = conflict();
    return error.isEmpty() && write(error);
}

bool DeskSession::replace(QString& error)
{
    return isReadOnly() ? save(error) : write(error);
}

bool DeskSession::finish(QString& error)
{
    // Nothing comes into a project that is open for reading.
    if (isReadOnly())
        return true;
    return (!m_project.isModified() || save(error)) && m_clips.finish(ClipIntake::Quietly);
}

bool DeskSession::saveClips(QString& error)
{
    if (save(error))
        return true;
    const FileIdentity now = FileIdentity::of(m_project.path());
    const bool isNew = now != m_file && (!m_conflictTold || now != m_toldConflict);
    if (!isReadOnly() && isNew) {
        m_conflictTold = true;
        m_toldConflict = now;
        emit conflictFound();
    }
    return false;
}

bool DeskSession::write(QString& error)
{
    if (!m_project.save(error))
        return false;
    m_file = FileIdentity::of(m_project.path());
    m_conflictTold = false;
    return true;
}

void DeskSession::became(std::unique_ptr<ProjectLock> lock, const QString& readOnlyReason)
{
    m_lock = std::move(lock);
    m_readOnlyReason = readOnlyReason;
    m_conflictTold = false;
    m_failures = 0;
    m_retry.stop();
    m_clips.setRefusal(isReadOnly() ? tr("Nothing was acquired, because the project %1 is open for reading "
                                         "only: %2.")
                                          .arg(m_project.path(), readOnlyReason)
                                    : QString());
    emit accessChanged();
}

void DeskSession::clipsFinished(bool saved)
{
    if (saved) {
        m_failures = 0;
        m_retry.stop();
        return;
    }
    m_retry.start(m_retryPause << std::min(m_failures, kMaxDoublings));
    ++m_failures;
}
