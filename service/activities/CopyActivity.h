#pragma once

#include "activities/Activity.h"

namespace krxservice {

/// "Copy to Folder": a verified copy of the source in the folder that the recipe names, to which the editor
/// links when the recipe says so.
class CopyActivity : public Activity
{
public:
    /// True when the folder is not there because the volume is away that it is on, as far as that can be
    /// told: a folder alone that is missing where all above it is there is one that nobody made.
    static bool isAway(const std::string& folder);

    Outcome<Clip> run(const Clip& clip, const ActivityRecipe& recipe, const ActivityProgress& progress,
                      const CancelToken& cancel) const override;
    Forecast foresee(const Clip& clip, const ActivityRecipe& recipe,
                     const CancelToken& cancel) const override;
    bool learnsContent() const override { return true; }
    std::optional<Refusal> check(const ActivityRecipe& recipe) const override;
};

} // namespace krxservice
