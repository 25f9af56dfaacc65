#pragma once

#include "activities/Activity.h"

namespace krxservice {

/// "Transcode": new media of the clip on the volumes that the recipe names, to which the editor links.
class TranscodeActivity : public Activity
{
public:
    Outcome<Clip> run(const Clip& clip, const ActivityRecipe& recipe, const ActivityProgress& progress,
                      const CancelToken& cancel) const override;
    Forecast foresee(const Clip& clip, const ActivityRecipe& recipe,
                     const CancelToken& cancel) const override;
};

} // namespace krxservice
