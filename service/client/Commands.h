#pragma once

#include "base/Options.h"

#include <string>

namespace krxservice {

/// What a person asks of the service by the command line, most of it by way of the service that runs.
namespace commands {

/// Exit codes beside those of the program itself.
constexpr int kDone = 0;
constexpr int kFailure = 1;
constexpr int kNotRunning = 4; ///< no service of this user runs there

/// Carries out the command in \a options, writing to the standard streams. \a version is this program's.
/// \return the exit code.
int run(const Options& options, const std::string& version);

/// Writes the diagnosis that \a options ask for. \return the exit code.
int diagnose(const Options& options, const std::string& version);

} // namespace commands

} // namespace krxservice
