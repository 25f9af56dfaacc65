#include "activities/TranscodeActivity.h"

#include "activities/Transcoder.h"

namespace krxservice {

Outcome<Clip> TranscodeActivity::run(const Clip& clip, const ActivityRecipe& recipe,
                                     const ActivityProgress& progress, const CancelToken& cancel) const
{
    ActivityNote note;
    note.id = recipe.id;
    note.name = recipe.name;
    return transcoder::run(clip, MediaOptions::read(recipe.element), note, progress, cancel);
}

} // namespace krxservice
