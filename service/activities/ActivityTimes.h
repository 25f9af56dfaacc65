#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace krxservice {

class Database;

/// How long actions took, so that it can be told how long the next one will. Thread-safe.
class ActivityTimes
{
public:
    ActivityTimes() = default;
    ActivityTimes(const ActivityTimes& other);
    ActivityTimes& operator=(const ActivityTimes&) = delete;

    /// An action of the kind \a id took \a seconds for a clip of \a bytes.
    void note(const std::string& id, std::int64_t bytes, double seconds);
    /// How long one would take for \a bytes; nothing when there was none yet.
    std::optional<double> estimate(const std::string& id, std::int64_t bytes) const;

    /// Takes what an earlier run kept for those of which nothing is known yet. Throws DatabaseError.
    void load(Database& database);
    /// Keeps what is new since the last time. Throws DatabaseError.
    void keep(Database& database);

private:
    struct Sum
    {
        double bytes = 0;
        double seconds = 0;
    };

    mutable std::mutex m_mutex;
    std::map<std::string, Sum> m_sums;
    bool m_isNew = false; ///< something was noted since it was kept
};

} // namespace krxservice
