#pragma once

#include <string>

/// Keeping what is not understood: nothing that a person may still need is ever deleted.
namespace krxservice::aside {

/// A name beside \a path that nothing has yet: the path, a dot, \a reason and the present time.
std::string nameFor(const std::string& path, const std::string& reason);

/// Renames \a path to such a name. \return the name, or an empty text when there was nothing to rename or it
/// failed (then \a error says why).
std::string keep(const std::string& path, const std::string& reason, std::string& error);

} // namespace krxservice::aside
