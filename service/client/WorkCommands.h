#pragma once

#include "base/Options.h"

namespace krxservice {

/// What the running service works on, and changing that. Each writes a table, or the same for programs, and
/// returns the exit code.
namespace commands {

int jobs(const Options& options);
int clips(const Options& options);
int errors(const Options& options);
/// Jobs that failed or were cancelled are submitted again; with --all those that failed.
int retry(const Options& options);
int cancel(const Options& options);
/// What a profile would do to a file.
int dryRun(const Options& options);

} // namespace commands

} // namespace krxservice
