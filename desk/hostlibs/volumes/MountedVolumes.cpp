#include "MountedVolumes.h"

#include "RemoteProbe.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QStringList>

#include <algorithm>
#include <iterator>
#include <sys/statvfs.h>

namespace StandInHost {
namespace {

constexpr const char* kRemoteTypes[] = {"nfs",  "nfs4", "cifs",  "smb3",      "smbfs",  "afs",
                                        "ceph", "9p",   "ncpfs", "glusterfs", "lustre", "davfs"};

/// Everything that lies on no block device is pseudo but for these.
constexpr const char* kLocalTypesWithoutDevice[] = {"overlay", "zfs", "btrfs", "virtiofs", "bcachefs"};

/// Media cannot be written to these whatever their mount says.
constexpr const char* kReadOnlyTypes[] = {"iso9660", "udf", "squashfs", "erofs", "cramfs"};

template <std::size_t count>
bool contains(const char* const (&table)[count], const QString& text)
{
    return std::any_of(std::begin(table), std::end(table),
                       [&text](const char* entry) { return text == QLatin1String(entry); });
}

/// The table writes blanks, tabs, line breaks and backslashes as three octal digits.
QString unescaped(const QByteArray& field)
{
    QByteArray plain;
    for (int i = 0; i < field.size(); ++i) {
        bool isOctal = false;
        const int code = field.at(i) == '\\' ? field.mid(i + 1, 3).toInt(&isOctal, 8) : 0;
        if (isOctal) {
            plain.append(static_cast<char>(code));
            i += 3;
        } else {
            plain.append(field.at(i));
        }
    }
    return QFile::decodeName(plain);
}

bool hasOption(const QByteArray& options, const char* option)
{
    return options.split(',').contains(QByteArray(option));
}

QList<Mount> currentMounts()
{
    QFile table(QStringLiteral("/proc/self/mountinfo"));
    if (!table.open(QIODevice::ReadOnly))
        return {};
    return parseMountInfo(table.readAll());
}

/// The labels that people gave to their file systems, by device path. Reads directory entries of /dev only.
QHash<QString, QString> labels()
{
    QHash<QString, QString> byDevice;
    const QFileInfoList links =
        QDir(QStringLiteral("/dev/disk/by-label")).entryInfoList(QDir::Files | QDir::System);
    for (const QFileInfo& link : links) {
        QByteArray label = link.fileName().toUtf8();
        // udev writes awkward characters as \xNN.
        for (int at = label.indexOf("\\x"); at >= 0; at = label.indexOf("\\x", at + 1))
            label.replace(at, 4, QByteArray::fromHex(label.mid(at + 2, 2)));
        byDevice.insert(link.symLinkTarget(), QString::fromUtf8(label));
    }
    return byDevice;
}

QString volumeTitle(const Mount& mount, const QHash<QString, QString>& labels)
{
    const QString label = labels.value(mount.source);
    if (!label.isEmpty())
        return label;
    if (mount.path == QLatin1String("/"))
        return QStringLiteral("File System");
    return mount.path.section(QLatin1Char('/'), -1);
}

/// What the volumes of one device have in common: "/dev/sda1" and "/dev/sda2" lie on one, and so do
/// "/dev/nvme0n1p1" and "/dev/nvme0n1p2".
QString deviceOf(const Mount& mount)
{
    static const QRegularExpression partition(
        QStringLiteral("^(/dev/(?:nvme\\d+n\\d+|[a-z]+\\d+(?=p\\d)|(?:sd|hd|vd|xvd)[a-z]+))p?\\d*$"));
    const QRegularExpressionMatch match = partition.match(mount.source);
    if (match.hasMatch())
        return match.captured(1);
    return mount.source.startsWith(QLatin1String("/dev/"))
               ? mount.source
               : QString(mount.type + QLatin1Char(' ') + mount.source);
}

} // namespace

QList<Mount> parseMountInfo(const QByteArray& text)
{
    QList<Mount> mounts;
    for (const QByteArray& line : text.split('\n')) {
        // 36 35 98:0 /root /mount/point rw,noatime shared:1 - ext4 /dev/sda1 rw
        const QList<QByteArray> fields = line.split(' ');
        const int separator = fields.indexOf(QByteArrayLiteral("-"));
        if (separator < 6 || fields.size() < separator + 3)
            continue;
        Mount mount;
        mount.device = QString::fromLatin1(fields.at(2));
        mount.root = unescaped(fields.at(3));
        mount.path = unescaped(fields.at(4));
        mount.type = QString::fromLatin1(fields.at(separator + 1));
        mount.source = unescaped(fields.at(separator + 2));
        mount.readOnly = hasOption(fields.at(5), "ro") || hasOption(fields.value(separator + 3), "ro");
        mounts.append(mount);
    }
    return mounts;
}

MountKind mountKind(const Mount& mount)
{
    if (contains(kRemoteTypes, mount.type))
        return MountKind::Remote;
    const bool isFuse = mount.type == QLatin1String("fuse") || mount.type == QLatin1String("fuseblk") ||
                        mount.type.startsWith(QLatin1String("fuse."));
    // File systems in user space hang with their program, so they are asked as carefully as servers.
    if (isFuse) {
        const bool isDesktop = mount.type.endsWith(QLatin1String("-fuse")) ||
                               mount.type.contains(QLatin1String("portal")) ||
                               mount.type.contains(QLatin1String("lxcfs"));
        return isDesktop ? MountKind::Pseudo : MountKind::Remote;
    }
    const bool isSystem =
        mount.path == QLatin1String("/boot") || mount.path.startsWith(QLatin1String("/boot/")) ||
        mount.path.startsWith(QLatin1String("/snap/")) || mount.path.startsWith(QLatin1String("/proc/")) ||
        mount.path.startsWith(QLatin1String("/etc/")) ||
        mount.path.startsWith(QLatin1String("/var/lib/docker/"));
    if (isSystem)
        return MountKind::Pseudo;
    if (contains(kLocalTypesWithoutDevice, mount.type) || mount.source.startsWith(QLatin1String("/dev/")))
        return MountKind::Local;
    return mount.path == QLatin1String("/") ? MountKind::Local : MountKind::Pseudo;
}

QList<Mount> mediaMounts(const QList<Mount>& mounts)
{
    QList<Mount> kept;
    QHash<QString, int> byDevice;
    for (const Mount& mount : mounts) {
        if (mountKind(mount) == MountKind::Pseudo)
            continue;
        const auto known = byDevice.constFind(mount.device);
        if (known == byDevice.constEnd()) {
            byDevice.insert(mount.device, kept.size());
            kept.append(mount);
            continue;
        }
        // Bind mounts show a part of a file system a second time: the whole of it is the volume.
        Mount& first = kept[*known];
        const bool isWhole = mount.root == QLatin1String("/");
        const bool wasWhole = first.root == QLatin1String("/");
        if (first.path != QLatin1String("/") && ((isWhole && !wasWhole) || mount.path == QLatin1String("/")))
            first = mount;
    }
    return kept;
}

QList<QList<Volume>> mountedVolumes()
{
    static RemoteProbe probe([](const QString& path) {
        // The answer may come while the program ends, so nothing is used here that could be gone by then.
        const QByteArray name = QFile::encodeName(path);
        struct statvfs status = {};
        return ::statvfs(name.constData(), &status) == 0;
    });
    const QList<Mount> mounts = mediaMounts(currentMounts());
    QStringList remote;
    for (const Mount& mount : mounts) {
        if (mountKind(mount) == MountKind::Remote)
            remote.append(mount.path);
    }
    const QSet<QString> answering = remote.isEmpty() ? QSet<QString>() : probe.answering(remote);

    QList<QList<Volume>> groups;
    QHash<QString, int> groupOfDevice;
    const QHash<QString, QString> labelOfDevice = labels();
    for (const Mount& mount : mounts) {
        const bool isRemote = mountKind(mount) == MountKind::Remote;
        // Single files can be mounted, too; they are no volumes.
        if (isRemote ? !answering.contains(mount.path) : !QFileInfo(mount.path).isDir())
            continue;
        Volume volume;
        volume.name = volumeTitle(mount, labelOfDevice);
        volume.path = mount.path;
        volume.usable = !contains(kReadOnlyTypes, mount.type);
        volume.locked = mount.readOnly;
        const QString device = deviceOf(mount);
        const auto group = groupOfDevice.constFind(device);
        if (group != groupOfDevice.constEnd()) {
            groups[*group].append(volume);
        } else {
            groupOfDevice.insert(device, groups.size());
            groups.append({volume});
        }
    }
    return groups;
}

} // namespace StandInHost
