#include "activities/ActivityTimes.h"

#include <algorithm>

namespace krxservice {

namespace {

constexpr double kFade = 0.7; ///< what earlier ones count for beside the newest: disks and loads change

} // namespace

ActivityTimes::ActivityTimes(const ActivityTimes& other)
{
    const std::lock_guard lock(other.m_mutex);
    m_sums = other.m_sums;
}

void ActivityTimes::note(const std::string& id, std::int64_t bytes, double seconds)
{
    const std::lock_guard lock(m_mutex);
    Sum& sum = m_sums[id];
    sum.bytes = sum.bytes * kFade + static_cast<double>(std::max<std::int64_t>(bytes, 1));
    sum.seconds = sum.seconds * kFade + std::max(seconds, 0.0);
}

std::optional<double> ActivityTimes::estimate(const std::string& id, std::int64_t bytes) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_sums.find(id);
    if (found == m_sums.end())
        return std::nullopt;
    return found->second.seconds / found->second.bytes * static_cast<double>(bytes);
}

} // namespace krxservice
