#include "activities/CopyActivity.h"

#include "activities/ClipCopy.h"
#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"
#include "base/VolumeTurn.h"

#include <cerrno>
#include <vector>

namespace krxservice {

namespace {

Refusal failed(const Clip& clip, const ActivityRecipe& recipe, const std::string& reason)
{
    return {500, "Copying " + clip.source.path + " to " + recipe.destination + " failed: " + reason};
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

/// A copy's error ends with what the system called it.
bool isAboutSpace(const std::string& error)
{
    const auto endsWith = [&](const std::string& end) {
        return error.size() >= end.size() && error.compare(error.size() - end.size(), end.size(), end) == 0;
    };
    return endsWith(text::errnoText(ENOSPC)) || endsWith(text::errnoText(EDQUOT));
}

} // namespace

Outcome<Clip> CopyActivity::run(const Clip& clip, const ActivityRecipe& recipe,
                                const ActivityProgress& progress, const CancelToken& cancel) const
{
    const std::string watched = text::canonicalPath(clip.watched);
    if (!watched.empty() && text::canonicalPath(recipe.destination) == watched)
        return failed(clip, recipe, "the destination is the watched folder itself");
    CopyOrder order = clipcopy::order(clip);
    order.below = clipcopy::belowWatched(clip);
    order.directory = recipe.destination;
    while (order.directory.size() > 1 && order.directory.back() == '/')
        order.directory.pop_back();
    order.cancel = cancel;
    order.willWrite = progress.willWrite;
    order.progress = progress.percent;
    const VolumeTurn turn(order.directory, cancel);
    const CopyResult result = Copier::copy(order);
    if (result.sourceChanged)
        return Refusal{kLookAgain, result.error};
    if (!result.ok && isAboutSpace(result.error))
        return Refusal{kWaitFor, "waiting for space on " + order.directory};
    if (!result.ok)
        return failed(clip, recipe, result.error);
    const FileFacts copy = clipcopy::facts(result, order);
    // Between the look at it and the copy somebody wrote to it.
    if (clipcopy::isOther(clip, copy))
        return Refusal{kLookAgain, order.source + " changed before it was copied"};
    log::info("copied " + order.source + " to " + result.path);
    if (progress.copied)
        progress.copied(order.directory, entriesOf(result, order.directory));
    Clip copied = clip;
    if (clip.linked.path == clip.source.path && !clip.sequence)
        copied.source.checksum = copy.checksum;
    if (recipe.relinkAfterCopy)
        clipcopy::relink(copied, result, copy);
    copied.activities.push_back({recipe.id, recipe.name, "verified", clipcopy::made(result, order), {}});
    return copied;
}

} // namespace krxservice
