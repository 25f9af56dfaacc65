#include "MountedVolumes.h"

#include <QStorageInfo>

namespace StandInHost {

QList<QList<Volume>> mountedVolumes()
{
    const QStorageInfo root = QStorageInfo::root();
    Volume volume;
    volume.name = QStringLiteral("File System");
    volume.path = QStringLiteral("/");
    volume.locked = root.isReadOnly();
    return {{volume}};
}

} // namespace StandInHost
