#include "HostCore.h"
#include "MountedVolumes.h"
#include "StandInHost.h"

#include <QHash>

namespace {

/// Where volumes come from, and the ones that were listed last.
struct Volumes
{
    bool mounted = true;
    bool available = true;
    QList<QList<StandInHost::Volume>> fixed;
    QHash<HostCore::VolumeHandle, StandInHost::Volume> listed;
    /// Goes on over all listings, so that a handle of an older listing is never taken for one of the newest.
    HostCore::VolumeHandle lastHandle = 0;
    int listCount = 0;
};

Volumes& volumes()
{
    static Volumes theVolumes;
    return theVolumes;
}

void setFixedVolumes(bool available, const QList<QList<StandInHost::Volume>>& groups)
{
    volumes().mounted = false;
    volumes().available = available;
    volumes().fixed = groups;
}

} // namespace

namespace HostCore {

bool localVolumeGroups(QList<VolumeGroup>& groups)
{
    Volumes& state = volumes();
    ++state.listCount;
    state.listed.clear();
    groups.clear();
    if (!state.available)
        return false;
    const QList<QList<StandInHost::Volume>> all = state.mounted ? StandInHost::mountedVolumes() : state.fixed;
    for (const QList<StandInHost::Volume>& group : all) {
        VolumeGroup handles;
        for (const StandInHost::Volume& volume : group) {
            state.listed.insert(++state.lastHandle, volume);
            handles.append(state.lastHandle);
        }
        groups.append(handles);
    }
    return true;
}

bool isVolumeUsable(VolumeHandle volume)
{
    return volumes().listed.contains(volume) && volumes().listed.value(volume).usable;
}

QString volumeName(VolumeHandle volume, int maxLength)
{
    return volumes().listed.value(volume).name.left(qMax(0, maxLength));
}

bool volumeIdentity(VolumeHandle volume, VolumeIdentity& identity)
{
    const auto found = volumes().listed.constFind(volume);
    if (found == volumes().listed.constEnd())
        return false;
    // What a host leaves behind when it says no is worth nothing.
    identity.identifier = QString::number(volume);
    return found->hasIdentity;
}

bool volumeInformation(const VolumeIdentity& identity, VolumeInformation& information)
{
    const auto found = volumes().listed.constFind(identity.identifier.toUInt());
    if (found == volumes().listed.constEnd() || !found->hasInformation)
        return false;
    information.displayName = found->displayName.isNull() ? found->name : found->displayName;
    information.path = found->path;
    return true;
}

bool isVolumeLocked(VolumeHandle volume)
{
    return volumes().listed.value(volume).locked;
}

} // namespace HostCore

namespace StandInHost {

void setVolumes(const QList<QList<Volume>>& groups)
{
    setFixedVolumes(true, groups);
}

void setNoVolumes()
{
    setFixedVolumes(false, {});
}

void useMountedVolumes()
{
    volumes().mounted = true;
    volumes().available = true;
    volumes().fixed.clear();
}

int volumeListCount()
{
    return volumes().listCount;
}

} // namespace StandInHost
