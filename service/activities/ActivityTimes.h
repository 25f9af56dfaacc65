#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace krxservice {

/// How long actions took since the start of the service, so that it can be told how long the next one will.
/// Thread-safe.
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

private:
    struct Sum
    {
        double bytes = 0;
        double seconds = 0;
    };

    mutable std::mutex m_mutex;
    std::map<std::string, Sum> m_sums;
};

} // namespace krxservice
