#include "ProjectLock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("ProjectLock", text);
}

/// The one path of a file that several may lead to.
QString targetOf(const QString& path)
{
    const QFileInfo file(path);
    if (file.exists())
        return file.canonicalFilePath();
    const QString folder = QFileInfo(file.absolutePath()).canonicalFilePath();
    return folder.isEmpty() ? file.absoluteFilePath() : QDir(folder).filePath(file.fileName());
}

QString lockPath(const QString& target)
{
    return QString(target + QLatin1String(".lock"));
}

/// Who holds a lock file, as far as it can be told.
QString holder(const QLockFile& file, const QString& path)
{
    qint64 process = 0;
    QString host;
    QString program;
    const QString owner = QFileInfo(path).owner();
    const QString user = owner.isEmpty() ? tr("somebody") : owner;
    if (!file.getLockInfo(&process, &host, &program))
        return tr("%1 has it open (%2)").arg(user, path);
    return tr("%1 has it open in %2 on %3 (process %4)").arg(user, program, host, QString::number(process));
}

} // namespace

ProjectLock::ProjectLock(const QString& target)
    : m_target(target)
    , m_file(lockPath(target))
{
    // However long a project is open, its lock does not age.
    m_file.setStaleLockTime(0);
}

std::unique_ptr<ProjectLock> ProjectLock::take(const QString& path, QString& reason)
{
    const QString target = targetOf(path);
    std::unique_ptr<ProjectLock> lock(new ProjectLock(target));
    if (lock->m_file.tryLock(0))
        return lock;
    switch (lock->m_file.error()) {
    case QLockFile::LockFailedError:
        reason = holder(lock->m_file, lockPath(target));
        break;
    case QLockFile::PermissionError:
        reason = tr("the lock file %1 cannot be made: permission denied").arg(lockPath(target));
        break;
    default:
        reason = tr("the lock file %1 cannot be made").arg(lockPath(target));
        break;
    }
    return nullptr;
}

bool ProjectLock::holds(const QString& path) const
{
    return targetOf(path) == m_target;
}
