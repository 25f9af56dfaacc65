#include "activities/Activity.h"

#include "activities/ConsolidateActivity.h"
#include "activities/CopyActivity.h"
#include "activities/TranscodeActivity.h"
#include "base/Text.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace krxservice {

namespace {

/// Stands for what this version cannot do.
class MissingActivity : public Activity
{
public:
    Outcome<Clip> run(const Clip& /*clip*/, const ActivityRecipe& recipe,
                      const ActivityProgress& /*progress*/, const CancelToken& /*cancel*/) const override
    {
        return Refusal{501,
                       "The action \"" + recipe.id + "\" is not available in this version of the service"};
    }

    Forecast foresee(const Clip& /*clip*/, const ActivityRecipe& recipe,
                     const CancelToken& /*cancel*/) const override
    {
        return {Forecast::Verdict::Cannot,
                "The action \"" + recipe.id + "\" is not available in this version of the service",
                {}};
    }
};

template <typename Kind>
const Activity& only()
{
    static const Kind activity;
    return activity;
}

struct Entry
{
    std::string_view id;
    const Activity& (*activity)();
};

/// A new kind of action is a class and a line here.
constexpr std::array<Entry, 3> kActivities = {{
    {profiledocument::kCopy, &only<CopyActivity>},
    {profiledocument::kTranscode, &only<TranscodeActivity>},
    {profiledocument::kConsolidate, &only<ConsolidateActivity>},
}};

const Entry* find(std::string_view id)
{
    const auto entry = std::find_if(kActivities.begin(), kActivities.end(),
                                    [id](const Entry& candidate) { return candidate.id == id; });
    return entry == kActivities.end() ? nullptr : &*entry;
}

} // namespace

Forecast Activity::foresee(const Clip& /*clip*/, const ActivityRecipe& /*recipe*/,
                           const CancelToken& /*cancel*/) const
{
    return {Forecast::Verdict::WillDo, "what it makes cannot be told before", {}};
}

std::optional<Refusal> Activity::check(const ActivityRecipe& /*recipe*/) const
{
    return std::nullopt;
}

const Activity& Activity::forId(const std::string& id)
{
    const Entry* entry = find(id);
    return entry ? entry->activity() : only<MissingActivity>();
}

std::optional<Refusal> Activity::checkAll(const std::vector<ActivityRecipe>& activities)
{
    for (const auto& activity : activities) {
        const Entry* entry = find(activity.id);
        if (!entry)
            return Refusal{400, "the service knows no activity \"" + text::oneLine(activity.id) + "\""};
        if (auto refusal = entry->activity().check(activity))
            return refusal;
    }
    return std::nullopt;
}

} // namespace krxservice
