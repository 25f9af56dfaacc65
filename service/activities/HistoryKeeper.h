#pragma once

#include "media/HashHistory.h"
#include "store/ErrorStore.h"
#include "store/HistoryStore.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace krxservice {

/// Writes what was copied into the histories of the folders: one generation for what came together, which
/// ends when nothing came for a while or there is much of it. What cannot be written now is kept. On one
/// thread only.
class HistoryKeeper
{
public:
    /// \param seconds without a copy into a folder after which its generation is written
    /// \param now the present time, nanoseconds since 1970
    HistoryKeeper(HistoryStore& copied, ErrorStore& errors, double seconds,
                  std::function<std::int64_t()> now);

    /// Writes what is due; meant to be called every few seconds.
    void writeDue();

    /// How many clips a generation holds at most.
    static constexpr int kMostClips = 1000;

private:
    struct Kept
    {
        HashHistory history;
        std::string reason;         ///< why it could not be written the last time, if so
        std::int64_t notBefore = 0; ///< after a failure, nanoseconds since 1970
    };

    bool isDue(const HistoryStore::Waiting& waiting) const;
    bool write(const std::string& folder);

    HistoryStore& m_copied;
    ErrorStore& m_errors;
    std::int64_t m_pause; ///< nanoseconds
    std::function<std::int64_t()> m_now;
    std::map<std::string, Kept> m_kept; ///< by folder
};

} // namespace krxservice
