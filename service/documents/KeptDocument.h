#pragma once

#include "base/Outcome.h"
#include "store/Records.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace krxservice {

/// What a person made and no look at the disk brings back.
struct KeptData
{
    std::int64_t generation = 0; ///< of the database when this was read from it
    std::vector<FolderRecord> folders;
    std::vector<ProfileRecord> profiles;
};

/// The second copy of folders and profiles, plain XML beside the database.
namespace keptdocument {

std::string write(const KeptData& data);
Outcome<KeptData> read(std::string_view text);

} // namespace keptdocument

} // namespace krxservice
