#pragma once

#include "base/Outcome.h"

#include <string>

namespace krxservice {

/// Copies of a whole data folder, and the way back.
namespace backup {

/// What was done, for a person.
struct Report
{
    std::string folder; ///< where the backup is, or the data that were taken back
    std::size_t documents = 0;
    std::string keptAs;  ///< where the former data are; empty when there were none
    std::string warning; ///< what the disk said at the very end, when all was done; empty for nothing
};

/// Copies database, output documents, folders and profiles of \a dataFolder to the new folder \a target, as
/// they are at one moment, with a list that names each file and its checksum. The service may run meanwhile,
/// and works on. The target is there whole and on the disk, or not at all.
Outcome<Report> make(const std::string& dataFolder, const std::string& target, const std::string& version);

/// Takes \a source back into \a dataFolder: everything or nothing. Refused (3) while a service runs on the
/// folder, and (1) when it holds something already, unless \a setsAside; that is then kept beside it.
Outcome<Report> restore(const std::string& source, const std::string& dataFolder, bool setsAside);

} // namespace backup

} // namespace krxservice
