#include "activities/ClipCopy.h"

#include "base/FileTools.h"
#include "base/Text.h"
#include "media/ClipFiles.h"
#include "media/Sequence.h"
#include "store/ClipStore.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace krxservice::clipcopy {

namespace {

FileFacts factsOf(const CopiedFile& file)
{
    return {file.path, file.stamp, file.checksum};
}

/// \a names: what each of the pictures is called.
std::string checksumOfPictures(const CopyResult& result, const std::vector<std::string>& names)
{
    std::string lines;
    for (std::size_t i = 0; i < names.size(); ++i)
        lines += names[i] + ' ' + result.files[i].checksum + '\n';
    const std::string sum = filetools::checksumOf(lines);
    return "xxh3-64-sequence:" + sum.substr(sum.find(':') + 1);
}

} // namespace

std::string belowWatched(const Clip& clip)
{
    std::string root = clip.watched;
    while (!root.empty() && root.back() == '/')
        root.pop_back();
    const std::string& path = clip.source.path;
    const auto end = path.rfind('/');
    const bool isBelow = !clip.watched.empty() && path.compare(0, root.size() + 1, root + '/') == 0;
    return isBelow && end > root.size() ? path.substr(root.size() + 1, end - root.size() - 1) : std::string();
}

CopyOrder order(const Clip& clip)
{
    CopyOrder order;
    if (clip.sequence) {
        const auto paths = sequence::paths(*clip.sequence);
        order.source = paths.front();
        order.companions.assign(paths.begin() + 1, paths.end());
        order.pictures = paths.size();
        order.stem = clip.sequence->stem;
    } else if (!clip.parts.empty()) {
        order.source = clip.parts.front().file.path;
        for (auto part = clip.parts.begin() + 1; part != clip.parts.end(); ++part)
            order.companions.push_back(part->file.path);
    } else {
        order.source = clip.linked.path;
    }
    for (const auto& sidecar : clip.sidecars)
        order.companions.push_back(sidecar.path);
    if (clip.linked.path == clip.source.path)
        order.sourceRoot = clip.watched;
    return order;
}

FileFacts facts(const CopyResult& result, const CopyOrder& order)
{
    if (order.pictures == 0)
        return {result.path, result.files.front().stamp, result.checksum};
    std::vector<std::pair<std::string, FileStamp>> stamps;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < order.pictures; ++i) {
        names.push_back(text::baseName(result.files[i].path));
        stamps.emplace_back(names.back(), result.files[i].stamp);
    }
    return {result.path, clipfiles::together(stamps), checksumOfPictures(result, names)};
}

std::string sourceChecksum(const CopyResult& result, const CopyOrder& order)
{
    if (order.pictures == 0)
        return result.checksum;
    std::vector<std::string> names{text::baseName(order.source)};
    for (std::size_t i = 1; i < order.pictures; ++i)
        names.push_back(text::baseName(order.companions[i - 1]));
    return checksumOfPictures(result, names);
}

std::vector<FileFacts> made(const CopyResult& result, const CopyOrder& order)
{
    std::vector<FileFacts> files{facts(result, order)};
    for (std::size_t i = std::max<std::size_t>(order.pictures, 1); i < result.files.size(); ++i)
        files.push_back(factsOf(result.files[i]));
    return files;
}

bool isOther(const Clip& clip, const CopyResult& result, const CopyOrder& order)
{
    if (!clip.parts.empty())
        return false;
    if (!ClipStore::isProvisional(clip.linked.checksum))
        // Parts of large files do not tell.
        return clip.linked.checksum.rfind(filetools::kWholeMethod, 0) == 0 &&
               clip.linked.checksum != sourceChecksum(result, order);
    if (order.pictures == 0)
        return !clip.linked.stamp.isUntouched(result.seen.front());
    std::vector<std::pair<std::string, FileStamp>> stamps{{text::baseName(order.source), result.seen[0]}};
    for (std::size_t i = 1; i < order.pictures; ++i)
        stamps.emplace_back(text::baseName(order.companions[i - 1]), result.seen[i]);
    return !clip.linked.stamp.isUntouched(clipfiles::together(stamps));
}

void undo(const CopyResult& result)
{
    for (const auto& file : result.files) {
        const auto now = filetools::stampOfUnlinked(file.path);
        if (!file.existed && now && file.stamp.isUntouched(*now))
            ::unlink(file.path.c_str());
    }
}

void learnSidecars(Clip& clip, const CopyResult& result)
{
    auto file = result.files.end() - static_cast<std::ptrdiff_t>(clip.sidecars.size());
    for (auto& sidecar : clip.sidecars)
        sidecar.checksum = (file++)->checksum;
}

void relink(Clip& clip, const CopyResult& result, const FileFacts& copy)
{
    clip.linked = copy;
    if (clip.sequence) {
        clip.sequence->directory = result.path.substr(0, result.path.rfind('/'));
        clip.sequence->stem = result.stem;
    }
    auto file = result.files.begin();
    for (auto& part : clip.parts)
        part.file = factsOf(*file++);
    file = result.files.end() - static_cast<std::ptrdiff_t>(clip.sidecars.size());
    for (auto& sidecar : clip.sidecars)
        sidecar = factsOf(*file++);
}

} // namespace krxservice::clipcopy
