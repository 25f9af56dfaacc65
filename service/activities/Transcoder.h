#pragma once

#include "activities/Activity.h"
#include "activities/EncodingPlan.h"
#include "activities/MediaOptions.h"
#include "base/Outcome.h"

#include <functional>
#include <string>

namespace krxservice {

/// Encodes a clip's pictures and sound anew.
namespace transcoder {

/// What is made of a clip, and the words for it.
struct Making
{
    std::string doing = "Transcoding";
    std::string done = "transcoded";
    /// The plan for what a look at the medium found; empty for encoding anew.
    std::function<Outcome<EncodingPlan>(const MediaFacts& media)> plan;
};

/// Does to what \a clip links to what \a options order: one new file, or one of pictures and one of sound,
/// which are looked at before anybody can see them. \return the clip that links to them, with \a note filled
/// in and added, or why it could not be done; then nothing is left.
Outcome<Clip> run(const Clip& clip, const MediaOptions& options, ActivityNote note,
                  const ActivityProgress& progress, const CancelToken& cancel, const Making& making = {});

} // namespace transcoder

} // namespace krxservice
