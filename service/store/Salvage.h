#pragma once

#include "store/Database.h"

#include <string>

namespace krxservice::salvage {

/// Copies every record that can be read from the damaged database \a from into the new one \a to, without
/// help of its indexes. \return true when all could be read. Throws DatabaseError when \a to cannot be
/// written.
bool copyReadable(const std::string& from, Database& to);

} // namespace krxservice::salvage
