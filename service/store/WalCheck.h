#pragma once

#include <string>

namespace krxservice::walcheck {

/// True when the write-ahead log of a database holds changes behind a damaged place. SQLite would pass over
/// them without a word. A log whose end was cut off by a crash is not damaged.
bool isDamaged(const std::string& logFile);

} // namespace krxservice::walcheck
