#include "activities/CopyActivity.h"

#include "activities/Copier.h"
#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"
#include "media/ClipFiles.h"
#include "media/Sequence.h"

#include <algorithm>
#include <utility>

namespace krxservice {

namespace {

Refusal failed(const Clip& clip, const ActivityRecipe& recipe, const std::string& reason)
{
    return {500, "Copying " + clip.source.path + " to " + recipe.destination + " failed: " + reason};
}

/// The directories between the watched folder and the file that was found in it.
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

/// All that belongs to what the action before made.
CopyOrder orderFor(const Clip& clip, const ActivityRecipe& recipe)
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
    order.below = belowWatched(clip);
    if (clip.linked.path == clip.source.path)
        order.sourceRoot = clip.watched;
    order.directory = recipe.destination;
    while (order.directory.size() > 1 && order.directory.back() == '/')
        order.directory.pop_back();
    return order;
}

std::vector<HistoryEntry> entriesOf(const CopyResult& result, const std::string& directory)
{
    std::vector<HistoryEntry> entries;
    const std::int64_t now = text::now();
    for (const auto& file : result.files)
        entries.push_back({file.path.substr(directory.size() + 1), file.stamp.size, file.stamp.modified,
                           file.checksum, now, file.existed});
    return entries;
}

FileFacts factsOf(const CopiedFile& file)
{
    return {file.path, file.stamp, file.checksum};
}

/// What the clip is as a copy: a file, or all pictures of a sequence together.
FileFacts factsOf(const CopyResult& result, const CopyOrder& order)
{
    if (order.pictures == 0)
        return {result.path, result.files.front().stamp, result.checksum};
    FileFacts facts{result.path, {}, {}};
    std::vector<std::pair<std::string, FileStamp>> stamps;
    std::string lines;
    for (std::size_t i = 0; i < order.pictures; ++i) {
        const CopiedFile& file = result.files[i];
        stamps.emplace_back(text::baseName(file.path), file.stamp);
        lines += stamps.back().first + ' ' + file.checksum + '\n';
    }
    facts.stamp = clipfiles::together(stamps);
    const std::string sum = filetools::checksumOf(lines);
    facts.checksum = "xxh3-64-sequence:" + sum.substr(sum.find(':') + 1);
    return facts;
}

/// Lets the clip be what was copied.
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

} // namespace

Outcome<Clip> CopyActivity::run(const Clip& clip, const ActivityRecipe& recipe,
                                const ActivityProgress& progress, const CancelToken& cancel) const
{
    const std::string watched = text::canonicalPath(clip.watched);
    if (!watched.empty() && text::canonicalPath(recipe.destination) == watched)
        return failed(clip, recipe, "the destination is the watched folder itself");
    CopyOrder order = orderFor(clip, recipe);
    order.cancel = cancel;
    order.willWrite = progress.willWrite;
    order.progress = progress.percent;
    const CopyResult result = Copier::copy(order);
    if (result.sourceChanged)
        return Refusal{kLookAgain, result.error};
    if (!result.ok)
        return failed(clip, recipe, result.error);
    const FileFacts copy = factsOf(result, order);
    // Between the look at it and the copy somebody wrote to it; parts of large files do not tell.
    if (clip.parts.empty() && clip.linked.checksum.rfind(filetools::kWholeMethod, 0) == 0 &&
        clip.linked.checksum != copy.checksum)
        return Refusal{kLookAgain, order.source + " changed before it was copied"};
    log::info("copied " + order.source + " to " + result.path);
    if (progress.copied)
        progress.copied(order.directory, entriesOf(result, order.directory));
    Clip copied = clip;
    if (clip.linked.path == clip.source.path && !clip.sequence)
        copied.source.checksum = copy.checksum;
    std::vector<FileFacts> made{copy};
    for (std::size_t i = std::max<std::size_t>(order.pictures, 1); i < result.files.size(); ++i)
        made.push_back(factsOf(result.files[i]));
    if (recipe.relinkAfterCopy)
        relink(copied, result, copy);
    copied.activities.push_back({recipe.id, recipe.name, "verified", std::move(made), {}});
    return copied;
}

} // namespace krxservice
