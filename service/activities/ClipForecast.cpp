#include "activities/ClipForecast.h"

#include "activities/Activity.h"
#include "base/Text.h"
#include "files/SourceFile.h"
#include "media/ClipFiles.h"
#include "media/LinkRules.h"
#include "media/LinkSettings.h"
#include "media/MediaProbe.h"

namespace krxservice {

namespace {

ClipForecast without(ClipForecast run, const std::string& reason)
{
    run.reason = reason;
    return run;
}

} // namespace

ClipForecast ClipForecast::of(const std::string& path, const std::string& watched,
                              const ProfileRecipe& profile, const ActivityTimes& times,
                              const CancelToken& cancel)
{
    ClipForecast run;
    const LinkSettings settings = LinkSettings::read(profile.settings);
    const ClipFiles files = clipfiles::of(path, {}, settings.joinsAllPictures);
    run.path = files.path.empty() ? path : files.path;
    const SourceFile source(run.path);
    if (!source.isOpen())
        return without(std::move(run), source.isMissing() ? "the file is not there" : source.error());
    if (!settings.covers(text::baseName(run.path)))
        return without(std::move(run), "the plug-in " + settings.pluginName + " does not take it");
    const ProbeResult probe = MediaProbe::probe(source, cancel);
    if (probe.verdict != ProbeResult::Verdict::Media)
        return without(std::move(run), probe.text);

    Clip clip;
    clip.source = {run.path, files.sequence ? files.stamp : source.stamp(), {}};
    clip.linked = clip.source;
    clip.media = probe.facts;
    clip.watched = watched;
    clip.sequence = files.sequence;
    run.bytes = clip.source.stamp.size;
    run.files = files.sequence ? sequence::paths(*files.sequence).size() : 1;
    for (const auto& sidecar : files.sidecars) {
        const auto stamp = filetools::stampOfUnlinked(sidecar);
        if (!stamp)
            continue;
        clip.sidecars.push_back({sidecar, *stamp, {}});
        run.bytes += stamp->size;
        ++run.files;
    }
    run.notes = linkrules::apply(settings, clip);
    for (const auto& recipe : profile.activities) {
        Action action{recipe.id, recipe.name, Activity::forId(recipe.id).foresee(clip, recipe, cancel), {}};
        if (action.forecast.verdict == Forecast::Verdict::WillDo)
            action.seconds = times.estimate(recipe.id, run.bytes);
        run.actions.push_back(std::move(action));
    }
    run.clip = std::move(clip);
    return run;
}

} // namespace krxservice
