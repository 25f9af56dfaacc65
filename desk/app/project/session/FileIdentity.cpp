#include "FileIdentity.h"

#include <QFile>

#include <sys/stat.h>

FileIdentity FileIdentity::of(const QString& path)
{
    constexpr qint64 kNanosecondsPerSecond = qint64{1000} * 1000 * 1000;
    struct stat status = {};
    FileIdentity identity;
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return identity;
    identity.exists = true;
    identity.device = status.st_dev;
    identity.inode = status.st_ino;
    identity.size = status.st_size;
    identity.changed = qint64(status.st_mtim.tv_sec) * kNanosecondsPerSecond + status.st_mtim.tv_nsec;
    return identity;
}
