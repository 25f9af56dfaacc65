#pragma once

#include "base/Outcome.h"

#include <string>
#include <vector>

namespace krxservice {

/// A configuration file, in TOML, before anybody asked what its keys mean.
struct ConfigFile
{
    struct Entry
    {
        std::string key;
        std::vector<std::string> values; ///< one, unless it is an array
        unsigned line = 0;
    };

    std::vector<Entry> entries;

    /// Reads \a path. A missing file is an empty one unless \a mustExist. A refusal names file and line: for
    /// a file that is no TOML, that holds tables, or that somebody else could have written.
    static Outcome<ConfigFile> read(const std::string& path, bool mustExist);
};

} // namespace krxservice
