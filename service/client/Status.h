#pragma once

#include "base/Options.h"
#include "client/ServiceClient.h"

#include <string>
#include <utility>
#include <vector>

namespace krxservice {

/// What a person wants to know of the service that runs.
struct Status
{
    /// Name and value, in the order in which they are shown. A value of several lines belongs together.
    std::vector<std::pair<std::string, std::string>> rows;
    std::string version;

    /// Asks the service.
    static Outcome<Status> of(ServiceClient& client);
};

namespace commands {
/// \return the exit code: 0 only when it runs and answers.
int status(const Options& options);
} // namespace commands

} // namespace krxservice
