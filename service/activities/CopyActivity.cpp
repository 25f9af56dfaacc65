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
    if (!clip.watched.empty() && text::canonicalPath(recipe.destination) == text::canonicalPath(clip.watched))
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
    log::info("copied " + clip.source.path + " to " + result.path);
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
