#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// Groupings of audio tracks. The stored text is "None", or groups in the order of their tracks, for example
/// "1-2:Stereo;3-8:5.1": first track, last track, layout. Tracks that no group names stay mono.
namespace KRXCatalogue {

constexpr int kMaxAudioTracks = 64;
/// The stored text of no grouping.
constexpr char kNoChannelGroups[] = "None";

/// Neighbouring tracks that form one multichannel track.
struct ChannelGroup
{
    /// Counts from 1.
    int first = 0;
    int count = 0;
    /// One of channelLayouts().
    QString layout;

    int last() const { return first + count - 1; }
};

/// The names of the layouts that a group can have, the same in every language.
QStringList channelLayouts();
/// How many tracks a layout takes; 0 for an unknown one.
int channelLayoutTracks(const QString& layout);
/// Reads a stored text. \return false, and \a groups as it was, when it is none: wrong form, unknown layout,
/// a count that does not fit the layout, tracks that overlap, go down or go beyond kMaxAudioTracks.
bool parseChannelGroups(const QString& text, QList<ChannelGroup>& groups);
/// The stored text of groups; kNoChannelGroups for an empty list.
QString channelGroupsText(const QList<ChannelGroup>& groups);

} // namespace KRXCatalogue
