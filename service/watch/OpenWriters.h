#pragma once

#include <map>
#include <set>
#include <string>

namespace krxservice::openwriters {

/// Those of \a canonicalPaths that a process on this machine has open for writing, and which: "name (process
/// 1)". Processes of other users can only be looked into by a privileged service; for their files, and for
/// writers on other machines, standing still is all there is to go by.
std::map<std::string, std::string> among(const std::set<std::string>& canonicalPaths);

} // namespace krxservice::openwriters
