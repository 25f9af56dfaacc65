#include "activities/ConsolidateActivity.h"
#include "activities/ConsolidationPlan.h"
#include "activities/MediaTarget.h"
#include "base/Text.h"

#include <optional>

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
};

Way wayOf(const Clip& clip, const MediaOptions& options, bool goesApart)
{
    const bool hasPicture = consolidation::hasPicture(clip.media);
    const bool converts = consolidation::hasSound(clip.media) && consolidation::convertsSound(options);
    const std::string asItIs = extensionOf(clip.linked.path);
    if (clip.sequence || clip.media.kind == "image" || !clip.parts.empty() || (!hasPicture && !converts))
        return {asItIs, "it goes over as it is", false};
    if (!hasPicture)
        return {"wav", {}, false};
    std::string note;
    const std::string own = consolidation::ownWrapper(clip.linked.path, note);
    const bool isRemade = converts || goesApart;
    if (own == "mxf" && !isRemade)
        return {asItIs, "it goes over as it is", false};
    const std::string reason = consolidation::whyNotMxf(options, clip.media);
    if (reason.empty())
        return {"mxf", {}, false};
    if (own == "mxf" || (isRemade && own.empty()))
        return {{}, reason, true};
    return {isRemade ? own : asItIs, reason + ": it keeps its own wrapper", false};
}

} // namespace

Forecast ConsolidateActivity::foresee(const Clip& clip, const ActivityRecipe& recipe,
                                      const CancelToken& /*cancel*/) const
{
    const MediaOptions options = MediaOptions::read(recipe.element);
    const bool hasPicture = consolidation::hasPicture(clip.media);
    const bool isStill = clip.sequence || clip.media.kind == "image";
    const bool goesApart = options.isApart() && hasPicture && consolidation::hasSound(clip.media) && !isStill;
    const Way way = wayOf(clip, options, goesApart);
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
    forecast.results.push_back({main.path(way.extension), goesApart ? -1 : clip.linked.stamp.size});
    if (goesApart)
        forecast.results.push_back({sound.path("wav"), -1});
    return forecast;
}

} // namespace krxservice
