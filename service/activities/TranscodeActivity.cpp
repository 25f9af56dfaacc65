#include "activities/TranscodeActivity.h"

#include "MediaCatalogue.h"
#include "activities/EncodingPlan.h"
#include "activities/MediaTarget.h"
#include "activities/Transcoder.h"

#include <cstdlib>

namespace krxservice {

namespace {

/// How long the result plays, as far as it is known.
double secondsOf(const Clip& clip, const EncodingPlan& plan)
{
    if (!clip.sequence && clip.media.kind != "image")
        return std::strtod(clip.media.duration.c_str(), nullptr);
    constexpr double kUsualRate = 25;
    const FrameRate rate = FrameRate::from(clip.link.frameRate);
    const double perSecond = rate.isKnown()        ? rate.value()
                             : plan.rate.isKnown() ? plan.rate.value()
                                                   : kUsualRate;
    const double pictures =
        clip.sequence ? static_cast<double>(clip.sequence->lastNumber - clip.sequence->firstNumber + 1) : 1;
    return pictures / perSecond;
}

} // namespace

Outcome<Clip> TranscodeActivity::run(const Clip& clip, const ActivityRecipe& recipe,
                                     const ActivityProgress& progress, const CancelToken& cancel) const
{
    ActivityNote note;
    note.id = recipe.id;
    note.name = recipe.name;
    return transcoder::run(clip, MediaOptions::read(recipe.element), note, progress, cancel);
}

Forecast TranscodeActivity::foresee(const Clip& clip, const ActivityRecipe& recipe,
                                    const CancelToken& /*cancel*/) const
{
    const MediaOptions options = MediaOptions::read(recipe.element);
    const auto plan = EncodingPlan::make(options, clip, clip.media, KRXCatalogue::builtInCatalogue());
    if (!plan)
        return {Forecast::Verdict::Cannot, plan.refusal().text, {}};
    Forecast forecast;
    const MediaTarget pictures(options.videoVolume, clip);
    const MediaTarget sound(options.audioVolume, clip);
    const auto bytes =
        static_cast<std::int64_t>(static_cast<double>(plan->bytesPerSecond) * secondsOf(clip, *plan));
    std::optional<Refusal> refusal;
    if (plan->hasPicture) {
        forecast.results.push_back({pictures.path(plan->extension), bytes});
        refusal = pictures.refusal(bytes);
    }
    if (plan->isSoundApart) {
        forecast.results.push_back({sound.path("wav"), -1});
        refusal = refusal ? refusal : sound.refusal(0);
    }
    for (const auto& note : plan->notes)
        forecast.reason += (forecast.reason.empty() ? "" : "; ") + note;
    if (refusal) {
        forecast.verdict = Forecast::Verdict::Cannot;
        forecast.reason = refusal->text;
    }
    return forecast;
}

} // namespace krxservice
