#pragma once

#include "activities/Activity.h"
#include "activities/MediaOptions.h"
#include "base/Outcome.h"

namespace krxservice {

/// Encodes a clip's pictures and sound anew.
namespace transcoder {

/// Does to what \a clip links to what \a options order: one new file, or one of pictures and one of sound,
/// which are looked at before anybody can see them. \return the clip that links to them, with \a note filled
/// in and added, or why it could not be done; then nothing is left.
Outcome<Clip> run(const Clip& clip, const MediaOptions& options, ActivityNote note,
                  const ActivityProgress& progress, const CancelToken& cancel);

} // namespace transcoder

} // namespace krxservice
