#include "activities/CopyActivity.h"

#include "activities/ClipCopy.h"
#include "activities/CopyForecast.h"
#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"
#include "files/VolumeTurn.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
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

/// The directories in which systems let volumes appear, some with one for each user.
bool isPlaceOfVolumes(const std::string& directory)
{
    const std::string parent = directory.substr(0, directory.rfind('/'));
    return directory == "/mnt" || directory == "/media" || parent == "/media" || parent == "/run/media";
}

} // namespace

bool CopyActivity::isAway(const std::string& folder)
{
    struct stat facts
    {
    };
    if (::stat(folder.c_str(), &facts) == 0)
        return false;
    if (errno != ENOENT)
        return errno == EIO || errno == ENODEV || errno == ENXIO || errno == ENOTCONN || errno == ESTALE ||
               errno == EHOSTDOWN || errno == ETIMEDOUT;
    const std::string above = folder.substr(0, folder.rfind('/'));
    return isPlaceOfVolumes(above) ||
           (!above.empty() && ::stat(above.c_str(), &facts) != 0 && errno == ENOENT);
}

std::optional<Refusal> CopyActivity::check(const ActivityRecipe& recipe) const
{
    const std::string& path = recipe.destination;
    if (path.empty() || path.front() != '/' || !text::isPlainText(path))
        return Refusal{400, "a copy activity needs an absolute \"filesystemPath\""};
    return std::nullopt;
}

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
    const VolumeTurn turn(order.directory);
    if (!turn.waitingFor().empty())
        return Refusal{kWaitFor, turn.waitingFor()};
    const CopyResult result = Copier::copy(order);
    if (result.sourceChanged)
        return Refusal{kLookAgain, result.error};
    if (!result.ok && isAboutSpace(result.error))
        return Refusal{kWaitFor, "waiting for space on " + order.directory};
    if (!result.ok && isAway(order.directory))
        return Refusal{kWaitFor, "waiting for the volume of " + order.directory};
    if (!result.ok)
        return failed(clip, recipe, result.error);
    const FileFacts copy = clipcopy::facts(result, order);
    // Between the look at it and the copy somebody wrote to it.
    if (clipcopy::isOther(clip, result, order)) {
        clipcopy::undo(result);
        return Refusal{kLookAgain, order.source + " changed before it was copied"};
    }
    log::info("copied " + order.source + " to " + result.path);
    if (progress.copied)
        progress.copied(order.directory, entriesOf(result, order.directory));
    Clip copied = clip;
    if (clip.linked.path == clip.source.path)
        copied.source.checksum = copied.linked.checksum = clipcopy::sourceChecksum(result, order);
    clipcopy::learnSidecars(copied, result);
    if (recipe.relinkAfterCopy)
        clipcopy::relink(copied, result, copy);
    copied.activities.push_back({recipe.id, recipe.name, "verified", clipcopy::made(result, order), {}});
    return copied;
}

namespace {

Forecast cannot(const std::string& reason)
{
    return {Forecast::Verdict::Cannot, reason, {}};
}

} // namespace

Forecast CopyActivity::foresee(const Clip& clip, const ActivityRecipe& recipe,
                               const CancelToken& cancel) const
{
    CopyOrder order = clipcopy::order(clip);
    order.directory = recipe.destination;
    while (order.directory.size() > 1 && order.directory.back() == '/')
        order.directory.pop_back();
    struct stat facts
    {
    };
    if (::stat(order.directory.c_str(), &facts) != 0)
        return cannot("the destination " + order.directory + " cannot be used: " + text::errnoText(errno));
    if (!S_ISDIR(facts.st_mode))
        return cannot("the destination " + order.directory + " is no folder");
    if (::access(order.directory.c_str(), W_OK | X_OK) != 0)
        return cannot("the destination " + order.directory +
                      " cannot be written to: " + text::errnoText(errno));
    if (text::canonicalPath(order.directory) ==
        text::canonicalPath(order.source.substr(0, order.source.rfind('/') + 1)))
        return cannot("the destination is the folder that the clip is in");
    const std::string watched = text::canonicalPath(clip.watched);
    if (!watched.empty() && text::canonicalPath(order.directory) == watched)
        return cannot("the destination is the watched folder itself");
    if (const std::string below = clipcopy::belowWatched(clip); !below.empty())
        order.directory += '/' + below;

    const CopyForecast copy = CopyForecast::of(order, cancel);
    if (!copy.refusal.empty())
        return cannot(copy.refusal);
    if (copy.isThere)
        return {Forecast::Verdict::WillSkip, "it is there already, with the same content", copy.results};
    Forecast forecast{Forecast::Verdict::WillDo, copy.reason, copy.results};
    struct statvfs space
    {
    };
    if (::statvfs(recipe.destination.c_str(), &space) == 0 &&
        static_cast<double>(space.f_bavail) * static_cast<double>(space.f_frsize) <
            static_cast<double>(copy.bytes))
        return {Forecast::Verdict::Cannot,
                "there is no space for " + std::to_string(copy.bytes) + " bytes on " + recipe.destination,
                forecast.results};
    return forecast;
}

} // namespace krxservice
