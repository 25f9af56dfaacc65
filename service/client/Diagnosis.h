#pragma once

#include "base/Options.h"

#include <string>

namespace krxservice {

/// What somebody who is to help needs to know, in one readable text: versions, configuration and where it was
/// said, the running service, the last errors and lines of the log, the database, limits of the system,
/// volumes.
namespace diagnosis {

/// Looks at everything and changes nothing. With \a isRedacted names and paths have stand-ins.
std::string text(const Options& options, const std::string& version, bool isRedacted);

/// Writes it to the new \a file, for the own user alone. An empty text or the reason.
std::string write(const std::string& file, const Options& options, const std::string& version,
                  bool isRedacted);

} // namespace diagnosis

} // namespace krxservice
