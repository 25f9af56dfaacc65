#pragma once

#include "media/Clip.h"

#include <string>
#include <string_view>

/// What the finished actions made of a clip, as the database keeps it until the last of them is done: a retry
/// or the next start goes on from there.
namespace krxservice::clipmemory {

/// All of \a clip but its watched folder and `linked`, which the record has columns for.
std::string write(const Clip& clip);

/// Puts what write() wrote into \a clip. False, and \a clip as it was, when \a text is something else.
bool read(std::string_view text, Clip& clip);

} // namespace krxservice::clipmemory
