#pragma once

#include <string>

/// What the watcher tells a person, each text in one place: an entry is taken back by the text it was made
/// with.
namespace krxservice::watchtexts {

/// The folder's directory cannot be read.
std::string unavailable(const std::string& root, const std::string& reason);
/// A look at it was begun and came to no end.
std::string silent(const std::string& root);
/// The system gives no more change events.
std::string exhausted(const std::string& root);
/// Something below the folder is not looked into; a very long path is shortened in its middle.
std::string leftOut(const std::string& path, const std::string& reason);

/// True when \a text is one of these and about the folder \a root.
bool isAbout(const std::string& text, const std::string& root);

} // namespace krxservice::watchtexts
