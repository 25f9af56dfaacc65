#include "ActionListLoad.h"

#include "HostCore.h"

#include <QDir>

#include <optional>

namespace {

struct RunningLoad
{
    int depth = 0;
    std::optional<QList<DestinationVolume>> volumes;
};

RunningLoad& running()
{
    static RunningLoad load;
    return load;
}

QString withClosingSeparator(const QString& path)
{
    const QChar separator = QDir::separator();
    return path.endsWith(separator) ? path : QString(path + separator);
}

std::optional<DestinationVolume> readVolume(HostCore::VolumeHandle volume)
{
    if (!HostCore::isVolumeUsable(volume))
        return std::nullopt;
    const QString name = HostCore::volumeName(volume, HostCore::kMaxVolumeNameLength);
    HostCore::VolumeIdentity identity;
    HostCore::VolumeInformation information;
    if (!HostCore::volumeIdentity(volume, identity) || !HostCore::volumeInformation(identity, information))
        return std::nullopt;
    DestinationVolume result;
    result.name = information.displayName.isEmpty() ? name : information.displayName;
    result.path = withClosingSeparator(information.path);
    result.locked = HostCore::isVolumeLocked(volume);
    return result;
}

QList<DestinationVolume> readVolumes()
{
    QList<DestinationVolume> result;
    QList<HostCore::VolumeGroup> groups;
    if (!HostCore::localVolumeGroups(groups))
        return result;
    for (const HostCore::VolumeGroup& group : qAsConst(groups)) {
        for (HostCore::VolumeHandle handle : group) {
            if (const std::optional<DestinationVolume> volume = readVolume(handle))
                result.append(*volume);
        }
    }
    return result;
}

} // namespace

ActionListLoad::ActionListLoad()
{
    ++running().depth;
}

ActionListLoad::~ActionListLoad()
{
    if (--running().depth == 0)
        running().volumes.reset();
}

bool ActionListLoad::isRunning()
{
    return running().depth > 0;
}

QList<DestinationVolume> ActionListLoad::volumes()
{
    if (!isRunning())
        return readVolumes();
    if (!running().volumes)
        running().volumes = readVolumes();
    return *running().volumes;
}
