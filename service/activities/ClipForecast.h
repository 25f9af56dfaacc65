#pragma once

#include "activities/ActivityTimes.h"
#include "activities/Forecast.h"
#include "base/CancelToken.h"
#include "documents/ProfileDocument.h"
#include "media/Clip.h"

#include <optional>
#include <string>
#include <vector>

namespace krxservice {

/// What would happen to a file with a profile. Nothing is written, noted or offered.
struct ClipForecast
{
    struct Action
    {
        std::string id;
        std::string name;
        Forecast forecast;
        std::optional<double> seconds; ///< as long as past ones took
    };

    std::string path;
    std::optional<Clip> clip; ///< as it would be understood
    std::int64_t bytes = 0;   ///< of all files of the clip
    std::size_t files = 0;
    std::string reason;             ///< why it would not be offered, without a clip
    std::vector<std::string> notes; ///< what a person should know of the clip
    std::vector<Action> actions;    ///< in the profile's order; none without a clip

    /// Looks at the file \a path. Blocks as long as the disk and the media take to answer.
    /// \param watched the watched folder that the file is found in; empty when a person chooses it.
    static ClipForecast of(const std::string& path, const std::string& watched, const ProfileRecipe& profile,
                           const ActivityTimes& times, const CancelToken& cancel);
};

} // namespace krxservice
