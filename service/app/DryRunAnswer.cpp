#include "app/DryRunAnswer.h"

#include "activities/ClipForecast.h"
#include "base/Bounded.h"
#include "base/Text.h"
#include "documents/Requests.h"
#include "documents/XmlTools.h"
#include "media/LinkRules.h"

#include <array>
#include <cstdio>
#include <memory>

namespace krxservice {

namespace {

constexpr std::chrono::seconds kPatience{20};
constexpr std::size_t kMostResults = 1000; ///< of an action; a sequence may have far more pictures

std::string word(Forecast::Verdict verdict)
{
    constexpr std::array<const char*, 3> words = {"WILL_DO", "WILL_SKIP", "CANNOT"};
    return words[static_cast<std::size_t>(verdict)];
}

void addUnlessEmpty(pugi::xml_node parent, const char* name, const std::string& text)
{
    if (!text.empty())
        xmltools::append(parent, name, text);
}

void addClip(pugi::xml_node root, const ClipForecast& run)
{
    auto element = xmltools::append(root, "clip");
    xmltools::append(element, "name", linkrules::clipName(run.clip->source.path, run.clip->sequence));
    xmltools::append(element, "path", run.clip->source.path);
    xmltools::append(element, "files", std::to_string(run.files));
    xmltools::append(element, "bytes", std::to_string(run.bytes));
    const MediaFacts& media = run.clip->media;
    xmltools::append(element, "kind", media.kind);
    addUnlessEmpty(element, "format", media.format);
    addUnlessEmpty(element, "duration", media.duration);
    addUnlessEmpty(element, "timecode", media.timecode);
    for (const auto& stream : media.streams) {
        auto part = xmltools::append(element, "stream");
        xmltools::append(part, "type", stream.type);
        addUnlessEmpty(part, "codec", stream.codec);
        if (stream.width > 0)
            addUnlessEmpty(part, "raster",
                           std::to_string(stream.width) + 'x' + std::to_string(stream.height));
        addUnlessEmpty(part, "frameRate", stream.frameRate);
        if (stream.channels > 0)
            xmltools::append(part, "channels", std::to_string(stream.channels));
    }
    for (const auto& note : run.notes)
        xmltools::append(element, "note", note);
}

void addAction(pugi::xml_node root, const ClipForecast::Action& action)
{
    auto element = xmltools::append(root, "activity");
    xmltools::append(element, "id", action.id);
    xmltools::append(element, "name", action.name);
    xmltools::append(element, "verdict", word(action.forecast.verdict));
    addUnlessEmpty(element, "reason", action.forecast.reason);
    const auto& results = action.forecast.results;
    for (std::size_t i = 0; i < results.size() && i < kMostResults; ++i) {
        auto result = xmltools::append(element, "result");
        xmltools::append(result, "path", results[i].path);
        if (results[i].bytes >= 0)
            xmltools::append(result, "bytes", std::to_string(results[i].bytes));
    }
    if (results.size() > kMostResults)
        xmltools::append(element, "moreResults", std::to_string(results.size() - kMostResults));
    if (action.seconds) {
        char text[32];
        std::snprintf(text, sizeof text, "%.1f", *action.seconds);
        xmltools::append(element, "seconds", text);
    }
}

/// The innermost of the folders that the file lies in; empty when it is in none.
std::string watchedAround(const std::string& path, const std::vector<FolderRecord>& folders)
{
    std::string innermost;
    for (const auto& folder : folders) {
        for (std::string root : {folder.path, folder.canonical}) {
            while (root.size() > 1 && root.back() == '/')
                root.pop_back();
            if (root.size() > innermost.size() && text::isBelow(path, root))
                innermost = root;
        }
    }
    return innermost;
}

std::string document(const ClipForecast& run)
{
    pugi::xml_document document;
    auto root = xmltools::append(document, "dryRun");
    xmltools::append(root, "path", run.path);
    addUnlessEmpty(root, "reason", run.reason);
    if (run.clip)
        addClip(root, run);
    for (const auto& action : run.actions)
        addAction(root, action);
    return xmltools::documentText(document);
}

} // namespace

HttpAnswer dryRunAnswer(const Outcome<ProfileRecord>& profile, const std::string& body,
                        const std::vector<FolderRecord>& folders, const ActivityTimes& times)
{
    if (!profile)
        return HttpAnswer::refused(profile.refusal());
    const auto path = requests::dryRun(body);
    if (!path)
        return HttpAnswer::refused(path.refusal());
    if (path->empty() || path->front() != '/' || !text::isPlainText(*path))
        return HttpAnswer::refused({400, "the path is not absolute, or holds what no document can carry"});
    const auto recipe = profiledocument::recipe(*profile);
    if (!recipe)
        return HttpAnswer::refused({409, "the profile cannot be read: " + recipe.refusal().text});
    // Whoever has given up waiting is not worked for any more, and the times may be gone by then.
    const auto cancel = makeCancelToken();
    const auto known = std::make_shared<ActivityTimes>(times);
    const auto run = within<ClipForecast>(
        kPatience, [path = *path, watched = watchedAround(*path, folders), recipe = *recipe, known, cancel] {
            return ClipForecast::of(path, watched, recipe, *known, cancel);
        });
    if (run)
        return HttpAnswer::xml(document(*run));
    *cancel = true;
    return HttpAnswer::refused({503, "the path or the profile's volumes do not answer"});
}

} // namespace krxservice
