#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace krxservice {

/// What an action would do to a clip, told without touching anything.
struct Forecast
{
    enum class Verdict {
        WillDo,
        WillSkip, ///< there is nothing left to do
        Cannot    ///< as things are; the reason says why
    };

    /// A file that would be made.
    struct Result
    {
        std::string path;
        std::int64_t bytes = -1; ///< -1: not known before
    };

    Verdict verdict = Verdict::WillDo;
    std::string reason; ///< for a person; may be empty when there is nothing to be said
    std::vector<Result> results;
};

} // namespace krxservice
