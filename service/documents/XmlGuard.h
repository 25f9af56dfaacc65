#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Looks at a text before any parser does and refuses what no honest client sends.
namespace krxservice::xmlguard {

constexpr std::size_t kLargestBody = std::size_t{1024} * 1024; ///< bytes
constexpr int kDeepestNesting = 64;                            ///< elements within each other

/// Why \a text is refused, one line, or nothing when a parser may read it. Refused are: bytes that are not
/// UTF-8 or that XML cannot carry, another declared encoding, document types and entities beyond XML's five,
/// deep nesting, and a text that is too large or has not exactly one root element.
std::optional<std::string> refuse(std::string_view text);

} // namespace krxservice::xmlguard
