#pragma once

#include "base/Outcome.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace krxservice {

/// Strictness about the bytes of a request's head, before any library reads it. Two readers that understand a
/// doubtful head differently are how a request is hidden inside another one; so doubtful heads have no
/// reader.
namespace headcheck {

constexpr std::size_t kLargestHead = std::size_t{32} * 1024; ///< bytes, with the empty line
constexpr std::size_t kMostHeaders = 100;                    ///< header lines

/// Refuses bytes that no head may hold as soon as they are there: NUL and other control characters, CR
/// without LF and LF without CR. \a head may be unfinished; the bytes before \a from have been looked at
/// already.
std::optional<Refusal> checkBytes(std::string_view head, std::size_t from);

/// Refuses lines that are no header lines: folded ones, empty or blank-padded names, a request line that is
/// not "METHOD TARGET HTTP/1.x". \a head is whole, with its empty line, and passed checkBytes().
std::optional<Refusal> checkLines(std::string_view head);

} // namespace headcheck

} // namespace krxservice
