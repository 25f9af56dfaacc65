#pragma once

#include "StandInHost.h"

#include <QByteArray>
#include <QList>
#include <QString>

/// The mounted file systems as volumes. Inside the stand-in only, but for its test.
namespace StandInHost {

/// One line of the kernel's table of mounts.
struct Mount
{
    /// "major:minor" of the device; the same for every mount of one file system.
    QString device;
    /// Which directory of the file system is mounted; "/" but for bind mounts.
    QString root;
    QString path;
    QString type;
    /// What is mounted, for example "/dev/sda1" or "server:/export".
    QString source;
    bool readOnly = false;
};

enum class MountKind {
    /// Nothing that media lie on: kernel interfaces, memory, boot and packaged software.
    Pseudo,
    /// Answers at once.
    Local,
    /// May hang for as long as a server is away.
    Remote
};

/// Reads the text of /proc/self/mountinfo; lines that do not look like it are left out.
KRX_HOST_API QList<Mount> parseMountInfo(const QByteArray& text);
KRX_HOST_API MountKind mountKind(const Mount& mount);
/// The mounts that media can lie on, each file system once, in the order of the table.
KRX_HOST_API QList<Mount> mediaMounts(const QList<Mount>& mounts);

/// File systems that media can lie on, those of one device together. Mounts of servers that do not answer
/// within a short time are left out, and asked again at the next call.
KRX_HOST_API QList<QList<Volume>> mountedVolumes();

} // namespace StandInHost
