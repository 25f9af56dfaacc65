#include "activities/MediaTarget.h"

#include "base/FileTools.h"
#include "base/Text.h"
#include "documents/ProfileDocument.h"
#include "files/SourceFile.h"
#include "media/ClipFiles.h"
#include "media/Sequence.h"

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <climits>

namespace krxservice {

namespace {

constexpr int kMostNames = 10000;           ///< how many taken names are tried
constexpr mode_t kMostOfDirectories = 0755; ///< where others may write, they may take clips away

/// Errors of a volume that may be there again.
bool isAway(int error)
{
    return error == ENOENT || error == EIO || error == ENODEV || error == ENXIO || error == ENOTCONN ||
           error == ESTALE || error == EHOSTDOWN || error == ETIMEDOUT;
}

bool isFull(int error)
{
    return error == ENOSPC || error == EDQUOT;
}

std::string withoutExtension(const std::string& name)
{
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

/// "shot" of "shot_0001.dpx", also when an action before made a movie of the pictures.
std::string stemOf(const Clip& clip)
{
    if (!clip.sequence) {
        const bool werePictures = clip.source.checksum.rfind(clipfiles::kSequenceMethod, 0) == 0;
        return withoutExtension(text::baseName(werePictures ? clip.linked.path : clip.source.path));
    }
    std::string stem = clip.sequence->stem;
    while (!stem.empty() &&
           (stem.back() == '.' || stem.back() == '_' || stem.back() == '-' || stem.back() == ' '))
        stem.pop_back();
    return stem.empty() ? text::baseName(clip.sequence->directory) : stem;
}

/// A name that is none of those that lead elsewhere.
std::string nameOf(const std::string& path)
{
    const std::string name = text::baseName(path);
    return name.empty() || name == "." || name == ".." ? "Clips" : name;
}

std::string folderOf(const Clip& clip)
{
    if (!clip.watched.empty())
        return nameOf(text::canonicalPath(clip.watched));
    const std::size_t slash = clip.source.path.rfind('/');
    return nameOf(clip.source.path.substr(0, slash == std::string::npos ? 0 : slash));
}

} // namespace

MediaTarget::MediaTarget(const std::string& volume, const Clip& clip)
    : m_volume(volume)
    , m_folder(folderOf(clip))
    , m_stem(stemOf(clip))
{
    const SourceFile source(clip.source.path, clip.watched);
    m_reach = source.isOpen() ? source.directoryReach() & kMostOfDirectories : 0;
}

std::string MediaTarget::below() const
{
    return text::baseName(profiledocument::mediaFolder(m_volume)) + '/' + m_folder;
}

Refusal MediaTarget::full() const
{
    return {kWaitFor, "waiting for space on " + m_volume};
}

Refusal MediaTarget::failed(const HiddenFile::Failure& failure) const
{
    if (isFull(failure.error))
        return full();
    if (isAway(failure.error))
        return {kWaitFor, "waiting for the volume " + m_volume};
    return {500, failure.text};
}

std::optional<Refusal> MediaTarget::refusal(std::int64_t bytes) const
{
    if (m_volume.empty() || m_volume.front() != '/' || !text::isPlainText(m_volume))
        return Refusal{500, "the profile names no volume to write to"};
    struct stat facts
    {
    };
    if (::stat(m_volume.c_str(), &facts) != 0) {
        const int error = errno;
        return failed({error, m_volume + ": " + text::errnoText(error)});
    }
    if (!S_ISDIR(facts.st_mode))
        return Refusal{500, m_volume + " is no folder"};
    struct statvfs space
    {
    };
    if (::statvfs(m_volume.c_str(), &space) == 0 &&
        static_cast<double>(space.f_bavail) * static_cast<double>(space.f_frsize) <
            static_cast<double>(bytes))
        return full();
    return std::nullopt;
}

bool MediaTarget::isOnVolumeOf(const MediaTarget& other) const
{
    struct stat own
    {
    };
    struct stat others
    {
    };
    return ::stat(m_volume.c_str(), &own) == 0 && ::stat(other.m_volume.c_str(), &others) == 0 &&
           own.st_dev == others.st_dev;
}

std::string MediaTarget::path(const std::string& extension) const
{
    const std::string directory = profiledocument::mediaFolder(m_volume) + '/' + m_folder + '/';
    struct stat facts
    {
    };
    for (int number = 1;; ++number) {
        const std::string path =
            directory + filetools::numberedName(m_stem + '.' + extension, number, NAME_MAX);
        if (number == kMostNames || ::lstat(path.c_str(), &facts) != 0)
            return path;
    }
}

Outcome<std::shared_ptr<HiddenFile>> MediaTarget::begin(const std::string& extension,
                                                        const ActivityProgress& progress) const
{
    HiddenFile::Failure failure;
    std::shared_ptr<HiddenFile> file =
        HiddenFile::make(m_volume, below(), m_stem + '.' + extension, m_reach, progress.willWrite, failure);
    if (!file)
        return failed(failure);
    return file;
}

} // namespace krxservice
