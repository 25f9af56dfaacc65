#pragma once

#include "HostComponentFactory.h"

#include <QList>
#include <QString>
#include <QtGlobal>

/// Texts and volumes of the host. Texts cross as QString (zero-terminated UTF-16 inside).
namespace HostCore {

/// Looks up the text that the user sees for an English key text.
/// \return the localised text, or \a english itself when the host has none. Safe to call from any thread.
/// Without it: the English text is shown.
KRX_HOST_API QString translateText(const QString& english);

/// Decodes a text in the host's multibyte encoding (UTF-8 in the stand-in host).
/// \param text zero-terminated; null gives an empty text.
/// Without it: a list of sample rates stays empty.
KRX_HOST_API QString unicodeFromMultibyte(const char* text);

/// The host's handle of one volume; meaningful only to the host, valid until the next localVolumeGroups().
using VolumeHandle = quint32;

/// Volumes that belong together for the host (for example those of one device), in the host's order.
using VolumeGroup = QList<VolumeHandle>;

/// What identifies a volume beyond its name.
struct VolumeIdentity
{
    /// Opaque to the module.
    QString identifier;
};

/// What the host knows of a mounted volume.
struct VolumeInformation
{
    /// The name shown to the user.
    QString displayName;
    /// Where the volume is mounted, without a closing separator ("/" for the root).
    QString path;
};

/// The longest volume name that the module asks for, in characters.
constexpr int kMaxVolumeNameLength = 260;

/// Lists the local volumes. Must return promptly, also when a network mount is dead.
/// \param groups receives the groups. \return false when the host has no list.
/// Without it: no drive is offered as a destination.
KRX_HOST_API bool localVolumeGroups(QList<VolumeGroup>& groups);
/// Whether media can be written to volumes of this kind at all.
/// Without it: (no) the volume is not offered.
KRX_HOST_API bool isVolumeUsable(VolumeHandle volume);
/// The volume's name, cut to \a maxLength characters.
/// Without it: the volume goes by the name in volumeInformation(), or by none.
KRX_HOST_API QString volumeName(VolumeHandle volume, int maxLength);
/// The volume's identity. \return false when it has none.
/// Without it: the volume is not offered.
KRX_HOST_API bool volumeIdentity(VolumeHandle volume, VolumeIdentity& identity);
/// Information on the volume with that identity. \return false when it is not available.
/// Without it: the volume is not offered.
KRX_HOST_API bool volumeInformation(const VolumeIdentity& identity, VolumeInformation& information);
/// Whether the volume may not be written to at present.
/// Without it: (no) the volume is taken for one that can be written to.
KRX_HOST_API bool isVolumeLocked(VolumeHandle volume);

} // namespace HostCore
