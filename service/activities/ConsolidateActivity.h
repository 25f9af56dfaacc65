#pragma once

#include "activities/Activity.h"

namespace krxservice {

/// "Consolidate": the clip's media on the volumes that the recipe names, without encoding the pictures anew:
/// in MXF where that can hold them, in their own wrapper otherwise. The editor links to them.
class ConsolidateActivity : public Activity
{
public:
    Outcome<Clip> run(const Clip& clip, const ActivityRecipe& recipe, const ActivityProgress& progress,
                      const CancelToken& cancel) const override;
    Forecast foresee(const Clip& clip, const ActivityRecipe& recipe,
                     const CancelToken& cancel) const override;
};

} // namespace krxservice
