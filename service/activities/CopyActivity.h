#pragma once

#include "activities/Activity.h"

namespace krxservice {

/// "Copy to Folder": a verified copy of the source in the folder that the recipe names, to which the editor
/// links when the recipe says so.
class CopyActivity : public Activity
{
public:
    Outcome<Clip> run(const Clip& clip, const ActivityRecipe& recipe, const ActivityProgress& progress,
                      const CancelToken& cancel) const override;
    Forecast foresee(const Clip& clip, const ActivityRecipe& recipe,
                     const CancelToken& cancel) const override;
    bool learnsContent() const override { return true; }
    std::optional<Refusal> check(const ActivityRecipe& recipe) const override;
};

} // namespace krxservice
