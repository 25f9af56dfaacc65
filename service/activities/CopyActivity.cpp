#include "activities/CopyActivity.h"

#include "activities/Copier.h"
#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"

namespace krxservice {

namespace {

Refusal failed(const Clip& clip, const ActivityRecipe& recipe, const std::string& reason)
{
    return {500, "Copying " + clip.source.path + " to " + recipe.destination + " failed: " + reason};
}

} // namespace

Outcome<Clip> CopyActivity::run(const Clip& clip, const ActivityRecipe& recipe,
                                const ActivityProgress& progress, const CancelToken& cancel) const
{
    const std::string watched = text::canonicalPath(clip.watched);
    if (!watched.empty() && text::canonicalPath(recipe.destination) == watched)
        return failed(clip, recipe, "the destination is the watched folder itself");
    CopyOrder order;
    order.source = clip.source.path;
    order.sourceRoot = clip.watched;
    order.keepsPath = !clip.watched.empty();
    order.directory = recipe.destination;
    while (order.directory.size() > 1 && order.directory.back() == '/')
        order.directory.pop_back();
    order.cancel = cancel;
    order.willWrite = progress.willWrite;
    order.progress = progress.percent;
    const CopyResult result = Copier::copy(order);
    if (result.sourceChanged)
        return Refusal{kLookAgain, result.error};
    if (!result.ok)
        return failed(clip, recipe, result.error);
    // Between the look at it and the copy somebody wrote to it; parts of large files do not tell.
    if (clip.source.checksum.rfind(filetools::kWholeMethod, 0) == 0 &&
        clip.source.checksum != result.checksum)
        return Refusal{kLookAgain, clip.source.path + " changed before it was copied"};
    log::info("copied " + clip.source.path + " to " + result.path);
    if (progress.copied) {
        HistoryEntry entry{result.path.substr(order.directory.size() + 1),
                           result.stamp.size,
                           result.stamp.modified,
                           result.checksum,
                           text::now(),
                           result.existed};
        progress.copied(order.directory, {entry});
    }
    Clip copied = clip;
    copied.source.checksum = result.checksum;
    const auto stamp = filetools::stampOf(result.path);
    if (!stamp)
        return failed(clip, recipe, "the finished copy is gone");
    const FileFacts copy{result.path, *stamp, result.checksum};
    if (recipe.relinkAfterCopy)
        copied.linked = copy;
    copied.activities.push_back({recipe.id, recipe.name, "verified", {copy}, {}});
    return copied;
}

} // namespace krxservice
