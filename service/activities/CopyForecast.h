#pragma once

#include "activities/Copier.h"
#include "activities/Forecast.h"

#include <cstdint>
#include <string>
#include <vector>

namespace krxservice {

/// What a copy would make, found by the rules of the copy itself and without touching anything.
struct CopyForecast
{
    std::string refusal;                   ///< why it cannot be done; empty when it can
    std::string reason;                    ///< what is to be said of it
    std::vector<Forecast::Result> results; ///< of the source, then of the companions
    std::int64_t bytes = 0;                ///< that would be written
    bool isThere = false;                  ///< all of them, with the same content

    /// \a order: its directory is the one that would hold the copies, whether it is there yet or not.
    static CopyForecast of(const CopyOrder& order, const CancelToken& cancel);
};

} // namespace krxservice
