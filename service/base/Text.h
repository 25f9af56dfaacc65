#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Small helpers for texts, shared by all of the service. Texts are UTF-8.
namespace krxservice::text {

/// True for a non-empty id of letters, digits and hyphens: the only form that the service issues.
bool isLegalId(std::string_view id);

/// True when \a text is well-formed UTF-8 and holds only characters that XML 1.0 can carry.
bool isXmlText(std::string_view text);

/// True when \a text can travel in a document and come back letter for letter: XML text without control
/// characters (XML parsers turn line ends of other systems into their own).
bool isPlainText(std::string_view text);

/// \a text with everything that XML cannot carry replaced by U+FFFD.
std::string xmlClean(std::string_view text);

/// \a text on one line: control characters, and what else ends lines or turns round what follows, become
/// blanks.
std::string oneLine(std::string_view text);

/// A new random identifier in the 8-4-4-4-12 form, lower case.
std::string newGuid();

/// Nanoseconds since 1970 as ISO 8601 in UTC with milliseconds.
std::string isoTime(std::int64_t nanoseconds);

/// The present time, nanoseconds since 1970.
std::int64_t now();

/// \a text with a great first letter, as far as that is one of ASCII.
std::string asSentence(std::string text);

/// The last segment of \a path.
std::string baseName(std::string_view path);

/// True when \a path is \a directory or lies below it. Both are canonical paths.
bool isBelow(std::string_view path, std::string_view directory);

/// The canonical form of an existing \a path, or empty with errno set.
std::string canonicalPath(const std::string& path);

/// The text of an errno value, thread-safe.
std::string errnoText(int error);

} // namespace krxservice::text
