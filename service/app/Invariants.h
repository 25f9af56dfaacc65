#pragma once

#include "store/Database.h"

#include <string>
#include <vector>

namespace krxservice::invariants {

/// What must hold whenever nothing is being worked on, also after a crash at any moment: no clip twice, no
/// output without its clip, no clip without an owner, nothing in a state that its data contradict.
/// \return one line for each fault found in the database and in the outputs below \a outputRoot.
std::vector<std::string> faults(Database& database, const std::string& outputRoot);

/// The same for the data folder of a service that does not run; nothing is changed there. Throws
/// DatabaseError when the database cannot be read.
std::vector<std::string> faultsIn(const std::string& dataFolder);

} // namespace krxservice::invariants
