#pragma once

#include "base/FileStamp.h"
#include "store/Records.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace krxservice {

/// The ASC MHL history of a folder: numbered lists of files with their hashes ("generations") in the folder
/// "ascmhl" in it, and a chain there that holds the hash of each list. What is there is continued, whoever
/// made it, and never rewritten. Not for several threads at once.
class HashHistory
{
public:
    /// \a folder must exist when add() is called.
    explicit HashHistory(const std::string& folder)
        : m_folder(folder)
    {
    }

    /// Adds a generation with \a entries, but for those that are in one already (a crash may have come
    /// between the chain and the caller's note of it). \a now: nanoseconds since 1970.
    /// \return an empty text, or the reason why not all are listed; then it can be tried again later.
    std::string add(const std::vector<HistoryEntry>& entries, std::int64_t now);

private:
    class Run;

    std::string m_folder;
    std::map<std::string, FileStamp> m_checked; ///< lists that agreed with the chain, as they were then
};

} // namespace krxservice
