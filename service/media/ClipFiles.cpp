#include "media/ClipFiles.h"

#include "base/FileTools.h"
#include "base/Text.h"
#include "files/HeldDirectory.h"
#include "media/PictureKinds.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <xxhash.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <unordered_map>

namespace krxservice::clipfiles {

namespace {

using filetools::Descriptor;

constexpr std::array<const char*, 8> kSidecarEnds = {".xml",  ".xmp", ".srt", ".cdl",
                                                     ".cube", ".ale", ".edl", ".txt"};

std::string directoryOf(const std::string& path)
{
    return path.substr(0, path.rfind('/'));
}

/// The directory that holds \a path, reached from \a root without following a link.
Descriptor openDirectoryOf(const std::string& path, const std::string& root)
{
    const std::string directory = directoryOf(path);
    std::string from = root;
    while (from.size() > 1 && from.back() == '/')
        from.pop_back();
    const bool isBelow = !from.empty() && text::isBelow(directory, from);
    if (!isBelow)
        from = directory.empty() ? "/" : directory;
    const HeldDirectory held(from);
    if (!held.isOpen())
        return Descriptor(-1);
    const std::string below =
        directory.size() > from.size() ? directory.substr(from == "/" ? 1 : from.size() + 1) : std::string();
    return held.open(isBelow ? below : std::string(), O_RDONLY | O_DIRECTORY);
}

std::optional<FileStamp> stampAt(int directory, const std::string& name)
{
    struct stat facts
    {
    };
    if (::fstatat(directory, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(facts.st_mode))
        return std::nullopt;
    return filetools::stampOf(facts);
}

Descriptor openAt(int directory, const std::string& name)
{
    return Descriptor(
        ::openat(directory, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
}

void forEachName(const Descriptor& directory, const std::function<void(const std::string& name)>& each)
{
    const int again =
        directory.isOpen() ? ::openat(directory.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(again >= 0 ? ::fdopendir(again) : nullptr, &::closedir);
    if (!stream) {
        const Descriptor unused(again);
        return;
    }
    while (const dirent* entry = ::readdir(stream.get()))
        each(entry->d_name);
}

/// "shot_" and "shot" are both what a person calls the pictures.
std::string trimmed(const std::string& stem)
{
    const auto end = stem.find_last_not_of("._- ");
    return end == std::string::npos ? std::string() : stem.substr(0, end + 1);
}

std::uint64_t hashOf(const std::string& name, const FileStamp& stamp)
{
    const std::string text = name + '\n' + std::to_string(stamp.size) + ' ' + std::to_string(stamp.modified) +
                             ' ' + std::to_string(stamp.inode);
    return XXH3_64bits(text.data(), text.size());
}

/// Sidecars of a single file: asked for by name, so that a large directory is not read for each of its files.
std::vector<std::string> sidecarsOf(const Descriptor& directory, const std::string& path)
{
    std::vector<std::string> found;
    const std::string name = text::baseName(path);
    const std::string stem(picturekinds::stem(name));
    for (const char* end : kSidecarEnds) {
        std::string upper = end;
        for (char& c : upper)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        for (const std::string& extension : {std::string(end), upper}) {
            const std::string candidate = stem + extension;
            if (candidate != name && text::isPlainText(candidate) && stampAt(directory.get(), candidate))
                found.push_back(directoryOf(path) + '/' + candidate);
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

struct Picture
{
    std::string file;
    FileStamp stamp;
};

/// The pictures of one stem and extension, and the sidecars beside them.
class Shelf
{
public:
    Shelf(const Descriptor& directory, const std::string& path, const PictureName& like,
          const std::function<bool()>& goesOn = {})
        : m_path(directoryOf(path))
    {
        const std::string plain = trimmed(like.stem);
        forEachName(directory, [&](const std::string& name) {
            m_isWhole = m_isWhole && (!goesOn || goesOn());
            if (!m_isWhole || name.compare(0, plain.size(), plain) != 0)
                return;
            if (picturekinds::isSidecar(name)) {
                if (text::isPlainText(name) && stampAt(directory.get(), name))
                    m_sidecars.push_back(name);
                return;
            }
            const auto picture = sequence::parse(name);
            if (!picture || picture->stem != like.stem || picture->extension != like.extension)
                return;
            const auto stamp = stampAt(directory.get(), name);
            if (!stamp || stamp->size == 0)
                return;
            const Descriptor file = openAt(directory.get(), name);
            m_pictures.push_back(
                {*picture, file.isOpen() ? PictureHeader::read(file.get(), name).size() : 0});
            m_stamps.emplace(name, *stamp);
        });
        std::sort(m_sidecars.begin(), m_sidecars.end());
    }

    std::vector<ClipFiles> clips() const
    {
        std::vector<ClipFiles> result;
        if (m_pictures.empty() || !m_isWhole)
            return result;
        for (auto& facts : sequence::split(m_path, m_pictures)) {
            ClipFiles clip;
            clip.path = sequence::path(facts, facts.firstNumber);
            std::vector<std::pair<std::string, FileStamp>> stamps;
            sequence::forEach(facts, [&](std::int64_t number) {
                const std::string name = sequence::name(facts, number);
                if (const auto found = m_stamps.find(name); found != m_stamps.end())
                    stamps.emplace_back(name, found->second);
                return true;
            });
            clip.stamp = together(stamps);
            clip.sidecars = sidecars(facts);
            if (stamps.size() > 1)
                clip.sequence = std::move(facts);
            result.push_back(std::move(clip));
        }
        return result;
    }

private:
    std::vector<std::string> sidecars(const SequenceFacts& facts) const
    {
        std::vector<std::string> found;
        for (const auto& name : m_sidecars) {
            const std::string stem(picturekinds::stem(name));
            const auto picture = sequence::parse(stem + facts.extension);
            const bool isOfOne =
                picture && m_stamps.count(stem + facts.extension) > 0 &&
                std::any_of(facts.present.begin(), facts.present.end(), [&](const auto& range) {
                    return picture->number >= range.first && picture->number <= range.last;
                });
            if (isOfOne || (!stem.empty() && (stem == facts.stem || stem == trimmed(facts.stem))))
                found.push_back(m_path + '/' + name);
        }
        return found;
    }

    std::string m_path;
    bool m_isWhole = true; ///< nobody ended it
    std::vector<NumberedPicture> m_pictures;
    std::unordered_map<std::string, FileStamp> m_stamps; ///< of the pictures, by name
    std::vector<std::string> m_sidecars;
};

} // namespace

FileStamp together(const std::vector<std::pair<std::string, FileStamp>>& files)
{
    if (files.size() == 1)
        return files.front().second;
    FileStamp sum;
    std::uint64_t mixed = 0;
    for (const auto& [name, stamp] : files) {
        sum.size += stamp.size;
        sum.modified = std::max(sum.modified, stamp.modified);
        sum.changed = std::max(sum.changed, stamp.changed);
        mixed += hashOf(name, stamp);
    }
    sum.inode = static_cast<std::int64_t>(mixed >> 1 | 1);
    return sum;
}

ClipFiles of(const std::string& path, const std::string& root, bool joinsAllPictures)
{
    const Descriptor directory = openDirectoryOf(path, root);
    const std::string name = text::baseName(path);
    const auto picture =
        picturekinds::isJoined(name, joinsAllPictures) ? sequence::parse(name) : std::nullopt;
    if (picture && directory.isOpen()) {
        for (auto& clip : Shelf(directory, path, *picture).clips()) {
            if (!clip.sequence && clip.path == path)
                return std::move(clip);
            const auto& facts = clip.sequence;
            const bool isIn =
                facts && sequence::name(*facts, picture->number) == name &&
                std::any_of(facts->present.begin(), facts->present.end(), [&](const auto& range) {
                    return picture->number >= range.first && picture->number <= range.last;
                });
            if (isIn)
                return std::move(clip);
        }
    }
    ClipFiles clip;
    clip.path = path;
    if (const auto stamp = directory.isOpen() ? stampAt(directory.get(), name) : std::nullopt)
        clip.stamp = *stamp;
    if (directory.isOpen())
        clip.sidecars = sidecarsOf(directory, path);
    return clip;
}

std::vector<ClipFiles> allLike(const std::string& path, const std::string& root,
                               const std::function<bool()>& goesOn)
{
    const Descriptor directory = openDirectoryOf(path, root);
    const auto picture = sequence::parse(text::baseName(path));
    return picture && directory.isOpen() ? Shelf(directory, path, *picture, goesOn).clips()
                                         : std::vector<ClipFiles>();
}

std::vector<std::string> clips(const std::vector<std::string>& paths, const std::string& root,
                               bool joinsAllPictures)
{
    std::vector<std::string> result;
    std::set<std::string> done;
    for (const auto& path : paths) {
        const std::string name = text::baseName(path);
        const auto picture =
            picturekinds::isJoined(name, joinsAllPictures) ? sequence::parse(name) : std::nullopt;
        if (picturekinds::isSidecar(name))
            continue;
        if (!picture) {
            result.push_back(path);
        } else if (done.insert(directoryOf(path) + '/' + picture->stem + '\n' + picture->extension).second) {
            for (const auto& clip : allLike(path, root))
                result.push_back(clip.path);
        }
    }
    return result;
}

std::optional<FileStamp> stampOf(const SequenceFacts& sequence, const std::string& root)
{
    const Descriptor directory = openDirectoryOf(sequence.directory + "/x", root);
    std::vector<std::pair<std::string, FileStamp>> stamps;
    bool isWhole = directory.isOpen();
    sequence::forEach(sequence, [&](std::int64_t number) {
        const std::string name = sequence::name(sequence, number);
        const auto stamp = isWhole ? stampAt(directory.get(), name) : std::nullopt;
        isWhole = stamp.has_value();
        if (isWhole)
            stamps.emplace_back(name, *stamp);
        return isWhole;
    });
    return isWhole && !stamps.empty() ? std::optional(together(stamps)) : std::nullopt;
}

std::optional<std::string> fingerprint(const SequenceFacts& sequence, const std::string& root,
                                       std::int64_t size, const CancelToken& cancel, std::string& error)
{
    const Descriptor directory = openDirectoryOf(sequence.directory + "/x", root);
    const bool isWhole = size <= filetools::kLargestReadWhole;
    std::string lines;
    error.clear();
    sequence::forEach(sequence, [&](std::int64_t number) {
        const std::string name = sequence::name(sequence, number);
        const Descriptor file = openAt(directory.get(), name);
        if (!file.isOpen()) {
            error = name + ": " + text::errnoText(errno);
            return false;
        }
        const auto checksum =
            filetools::fingerprint(file.get(), cancel, error, isWhole ? filetools::kLargestReadWhole : 0);
        if (checksum)
            lines += name + ' ' + *checksum + '\n';
        else if (error.empty())
            error = "cancelled";
        return checksum.has_value();
    });
    if (!error.empty())
        return std::nullopt;
    char text[64];
    std::snprintf(text, sizeof text, "%s%016llx", isWhole ? "xxh3-64-sequence:" : "xxh3-64-sequence-sampled:",
                  static_cast<unsigned long long>(XXH3_64bits(lines.data(), lines.size())));
    return text;
}

PictureHeader headerOf(const std::string& path, const std::string& root)
{
    const Descriptor directory = openDirectoryOf(path, root);
    const std::string name = text::baseName(path);
    const Descriptor file = directory.isOpen() ? openAt(directory.get(), name) : Descriptor(-1);
    return file.isOpen() ? PictureHeader::read(file.get(), name) : PictureHeader();
}

bool linkedStands(const Clip& clip)
{
    const auto stamp = clip.sequence ? stampOf(*clip.sequence, {}) : filetools::stampOf(clip.linked.path);
    return stamp == std::optional(clip.linked.stamp);
}

} // namespace krxservice::clipfiles
