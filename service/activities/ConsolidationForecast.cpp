#include "activities/ClipCopy.h"
#include "activities/ConsolidateActivity.h"
#include "activities/ConsolidationPlan.h"
#include "activities/CopyForecast.h"
#include "activities/MediaTarget.h"
#include "base/FileTools.h"
#include "base/Text.h"
#include "files/SourceFile.h"
#include "media/ClipFiles.h"
#include "media/TargetIndex.h"

#include <optional>
#include <utility>
#include <vector>

namespace krxservice {

namespace {

std::string extensionOf(const std::string& path)
{
    const std::string name = text::baseName(path);
    const auto dot = name.rfind('.');
    return dot == std::string::npos ? std::string() : name.substr(dot + 1);
}

/// What becomes of the pictures, or of sound alone.
struct Way
{
    std::string extension;
    std::string reason;
    bool isBarred = false;
    bool isCopied = false; ///< the very files go over
};

Way wayOf(const Clip& clip, const MediaOptions& options, bool goesApart)
{
    const bool hasPicture = consolidation::hasPicture(clip.media);
    const bool converts = consolidation::hasSound(clip.media) && consolidation::convertsSound(options);
    const std::string asItIs = extensionOf(clip.linked.path);
    if (clip.sequence || clip.media.kind == "image" || !clip.parts.empty() || (!hasPicture && !converts))
        return {asItIs, "it goes over as it is", false, true};
    if (!hasPicture)
        return {"wav", {}};
    std::string note;
    const std::string own = consolidation::ownWrapper(clip.linked.path, note);
    const bool isRemade = converts || goesApart;
    if (own == "mxf" && !isRemade)
        return {asItIs, "it goes over as it is", false, true};
    const std::string reason = consolidation::whyNotMxf(options, clip.media);
    if (reason.empty())
        return {"mxf", {}};
    if (own == "mxf" || (isRemade && own.empty()))
        return {{}, reason, true};
    return {isRemade ? own : asItIs, reason + ": it keeps its own wrapper", false, !isRemade};
}

constexpr std::int64_t kLargestRead = 1024LL * 1024 * 1024; ///< bytes; beyond nobody waits for it

/// What tells the clip's contents apart, as the targets' indexes have it; empty when it is not to be had.
std::string fingerprintOf(const Clip& clip, const CancelToken& cancel)
{
    if (clip.linked.stamp.size > kLargestRead)
        return {};
    std::string error;
    if (clip.sequence)
        return clipfiles::fingerprint(*clip.sequence, clip.watched, clip.linked.stamp.size, cancel, error)
            .value_or(std::string());
    const SourceFile source(clip.linked.path, clip.watched);
    return source.isOpen() ? filetools::fingerprint(source.get(), cancel, error).value_or(std::string())
                           : std::string();
}

/// The files that are made of the same already, when the indexes of the targets know all of them.
std::vector<Forecast::Result> presentOnTarget(const Clip& clip, const MediaOptions& options, bool goesApart,
                                              bool hasPicture, const CancelToken& cancel)
{
    const std::string checksum = fingerprintOf(clip, cancel);
    if (checksum.empty())
        return {};
    std::vector<std::pair<std::string, std::string>> pieces; // kind and volume
    if (goesApart)
        pieces = {{"picture", options.videoVolume}, {"sound", options.audioVolume}};
    else
        pieces = {{"clip", hasPicture ? options.videoVolume : options.audioVolume}};
    std::vector<Forecast::Result> present;
    for (const auto& [kind, volume] : pieces) {
        const auto file = TargetIndex(profiledocument::mediaFolder(volume)).findKept({kind, checksum});
        if (!file)
            return {};
        present.push_back({file->path, file->stamp.size});
    }
    return present;
}

} // namespace

Forecast ConsolidateActivity::foresee(const Clip& clip, const ActivityRecipe& recipe,
                                      const CancelToken& cancel) const
{
    const MediaOptions options = MediaOptions::read(recipe.element);
    const bool hasPicture = consolidation::hasPicture(clip.media);
    const bool isStill = clip.sequence || clip.media.kind == "image";
    const bool goesApart = options.isApart() && hasPicture && consolidation::hasSound(clip.media) && !isStill;
    const Way way = wayOf(clip, options, goesApart);
    if (options.skipsOnTarget) {
        auto present = presentOnTarget(clip, options, goesApart, hasPicture, cancel);
        if (!present.empty())
            return {Forecast::Verdict::WillSkip, "the same media lie on the target already",
                    std::move(present)};
    }
    const MediaTarget main(hasPicture ? options.videoVolume : options.audioVolume, clip);
    const MediaTarget sound(options.audioVolume, clip);
    std::optional<Refusal> refusal = main.refusal(clip.linked.stamp.size);
    if (goesApart && !refusal)
        refusal = sound.refusal(0);
    if (refusal)
        return {Forecast::Verdict::Cannot, refusal->text, {}};
    if (way.isBarred) {
        if (options.transcodesOtherwise)
            return {Forecast::Verdict::WillDo, way.reason + ": it is transcoded instead", {}};
        return {Forecast::Verdict::Cannot, way.reason, {}};
    }
    Forecast forecast;
    forecast.reason = way.reason;
    if (options.skipsOnTarget)
        forecast.reason += std::string(way.reason.empty() ? "" : "; ") +
                           "skipped when the same media lie on the target already";
    if (way.isCopied && clip.parts.empty()) {
        CopyOrder order = clipcopy::order(clip);
        order.directory = (hasPicture ? options.videoVolume : options.audioVolume) + '/' + main.below();
        CopyForecast copy = CopyForecast::of(order, cancel);
        if (!copy.refusal.empty())
            return {Forecast::Verdict::Cannot, copy.refusal, {}};
        forecast.reason += copy.reason.empty() ? std::string() : "; " + copy.reason;
        forecast.results = std::move(copy.results);
        return forecast;
    }
    forecast.results.push_back({main.path(way.extension), goesApart ? -1 : clip.linked.stamp.size});
    if (goesApart)
        forecast.results.push_back({sound.path("wav"), -1});
    return forecast;
}

} // namespace krxservice
