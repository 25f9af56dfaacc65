#pragma once

#include <string_view>

/// The log that a person follows: one line per event on the standard error stream, with time and level.
/// May be used from every thread.
namespace krxservice::log {

void info(std::string_view text);
void warning(std::string_view text);
void error(std::string_view text);

} // namespace krxservice::log
