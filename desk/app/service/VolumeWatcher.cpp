#include "VolumeWatcher.h"

#include <QFile>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace {

constexpr char kMountTable[] = "/proc/self/mounts";
/// File systems that hold files of people; the rest are the system's own.
const QLatin1String kNetworkTypes[] = {QLatin1String("nfs"), QLatin1String("nfs4"), QLatin1String("cifs"),
                                       QLatin1String("smb3"), QLatin1String("fuse.sshfs")};
const QLatin1String kLocalTypes[] = {
    QLatin1String("ext2"),    QLatin1String("ext3"),    QLatin1String("ext4"),    QLatin1String("xfs"),
    QLatin1String("btrfs"),   QLatin1String("vfat"),    QLatin1String("exfat"),   QLatin1String("ntfs"),
    QLatin1String("ntfs3"),   QLatin1String("fuseblk"), QLatin1String("hfsplus"), QLatin1String("udf"),
    QLatin1String("iso9660"), QLatin1String("tmpfs"),   QLatin1String("zfs"),     QLatin1String("f2fs"),
};

template <class Types>
bool contains(const Types& types, const QString& type)
{
    return std::any_of(std::begin(types), std::end(types),
                       [&type](QLatin1String known) { return known == type; });
}

/// The table writes blanks and the like as three octal digits.
QString unescaped(const QByteArray& text)
{
    QByteArray plain;
    for (int i = 0; i < text.size(); ++i) {
        bool ok = false;
        const int code = text.at(i) == '\\' ? text.mid(i + 1, 3).toInt(&ok, 8) : 0;
        plain += ok ? static_cast<char>(code) : text.at(i);
        i += ok ? 3 : 0;
    }
    return QFile::decodeName(plain);
}

} // namespace

VolumeWatcher::VolumeWatcher(QObject* parent)
    : VolumeWatcher(QString::fromLatin1(kMountTable), parent)
{
}

VolumeWatcher::VolumeWatcher(const QString& table, QObject* parent)
    : QObject(parent)
    , m_path(table)
    , m_known(mounted())
    , m_table(::open(QFile::encodeName(table).constData(), O_RDONLY | O_CLOEXEC))
{
    if (m_table < 0)
        return;
    // The kernel marks the table as in an exceptional state whenever it changed.
    m_notifier = new QSocketNotifier(m_table, QSocketNotifier::Exception, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { look(); });
}

VolumeWatcher::~VolumeWatcher()
{
    if (m_notifier)
        m_notifier->setEnabled(false);
    if (m_table >= 0)
        ::close(m_table);
}

void VolumeWatcher::look()
{
    const QHash<QString, int> now = mounted();
    const QHash<QString, int> before = m_known;
    m_known = now;
    for (auto volume = before.begin(); volume != before.end(); ++volume) {
        if (!now.contains(volume.key()))
            emit changed(volume.key(), volume.value(), Removed);
    }
    for (auto volume = now.begin(); volume != now.end(); ++volume) {
        if (!before.contains(volume.key()))
            emit changed(volume.key(), volume.value(), Arrived);
    }
}

QHash<QString, int> VolumeWatcher::mounted() const
{
    QHash<QString, int> volumes;
    QFile table(m_path);
    if (!table.open(QIODevice::ReadOnly))
        return volumes;
    const QList<QByteArray> lines = table.readAll().split('\n');
    for (const QByteArray& line : lines) {
        const QList<QByteArray> words = line.split(' ');
        if (words.size() < 3)
            continue;
        const QString type = QString::fromLatin1(words.at(2));
        if (contains(kLocalTypes, type))
            volumes.insert(unescaped(words.at(1)), LocalVolume);
        else if (contains(kNetworkTypes, type))
            volumes.insert(unescaped(words.at(1)), NetworkVolume);
    }
    return volumes;
}
