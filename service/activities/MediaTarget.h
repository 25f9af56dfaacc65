#pragma once

#include "activities/Activity.h"
#include "base/Outcome.h"
#include "files/HiddenFile.h"

#include <memory>
#include <optional>
#include <sys/types.h>

#include <string>

namespace krxservice {

/// Where media that an activity makes go: `<volume>/KRX Media/<folder>/<clip>.<extension>`.
class MediaTarget
{
public:
    /// \a volume as the profile names it, \a clip the one that is worked on: its watched folder's name is
    /// that of the folder.
    MediaTarget(const std::string& volume, const Clip& clip);

    /// The directories below the volume.
    std::string below() const;

    /// Nothing, or why nothing can be written: the volume is away or has not \a bytes free (kWaitFor), or it
    /// is no place at all.
    std::optional<Refusal> refusal(std::int64_t bytes) const;

    /// True when both names lead to one volume.
    bool isOnVolumeOf(const MediaTarget& other) const;

    /// Where a file with this \a extension would be now: under the first name that no other file has.
    std::string path(const std::string& extension) const;

    /// A file with this \a extension, not to be seen yet.
    Outcome<std::shared_ptr<HiddenFile>> begin(const std::string& extension,
                                               const ActivityProgress& progress) const;

    /// The refusal for a volume that turned out to be full.
    Refusal full() const;
    /// The refusal for what went wrong with a file.
    Refusal failed(const HiddenFile::Failure& failure) const;

private:
    std::string m_volume;
    std::string m_folder;
    std::string m_stem;
    mode_t m_reach = 0; ///< permissions for people other than the owner that its directories may have
};

} // namespace krxservice
