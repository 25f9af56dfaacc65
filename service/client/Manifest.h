#pragma once

#include "base/Outcome.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace krxservice {

/// What a backup holds, written beside it.
struct Manifest
{
    static constexpr char kName[] = "krx-service.backup.xml";

    struct File
    {
        std::string path; ///< below the backup
        std::int64_t size = 0;
        std::string checksum;
    };

    std::string program; ///< the version that made it
    std::string created; ///< UTC
    int database = 0;    ///< the version of its tables
    std::vector<File> files;

    std::string write() const;
    /// A refusal for what is no manifest, is one of a newer form, or names a file that no backup of this
    /// program holds, for example one elsewhere.
    static Outcome<Manifest> read(std::string_view text);
};

} // namespace krxservice
