#pragma once

#include "store/Database.h"
#include "store/Records.h"

#include <cstdint>
#include <string>
#include <vector>

namespace krxservice {

/// What was copied and no history lists yet, so that neither a crash nor a volume that is away loses it.
/// Thread-safe; throws DatabaseError.
class HistoryStore
{
public:
    /// What waits for one folder.
    struct Waiting
    {
        std::string folder;
        std::int64_t clips = 0;
        std::int64_t lastFinished = 0; ///< nanoseconds since 1970
    };
    /// The oldest of it.
    struct Batch
    {
        std::vector<CopiedClip> clips;
        std::int64_t last = 0; ///< names the end of the batch for remove()
    };

    explicit HistoryStore(Database& database)
        : m_database(database)
    {
    }

    void add(const CopiedClip& clip);
    std::vector<Waiting> waiting();
    /// At most \a most clips.
    Batch oldest(const std::string& folder, int most);
    /// The clips of a batch are listed.
    void remove(const std::string& folder, std::int64_t last);

private:
    Database& m_database;
};

} // namespace krxservice
