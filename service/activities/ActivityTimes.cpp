#include "activities/ActivityTimes.h"

#include "store/Database.h"

#include <algorithm>
#include <string_view>

namespace krxservice {

namespace {

constexpr double kFade = 0.7; ///< what earlier ones count for beside the newest: disks and loads change
/// Names of the numbers that are kept for a kind of action, whose id follows.
constexpr std::string_view kBytes = "timed bytes: ";
constexpr std::string_view kMilliseconds = "timed milliseconds: ";

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
    m_isNew = true;
}

void ActivityTimes::load(Database& database)
{
    std::map<std::string, Sum> kept;
    {
        const auto lock = database.lock();
        auto rows = database.prepare("SELECT name, value FROM meta");
        while (rows.step()) {
            const std::string name = rows.text(0);
            const auto value = static_cast<double>(rows.number(1));
            if (name.rfind(kBytes, 0) == 0)
                kept[name.substr(kBytes.size())].bytes = value;
            else if (name.rfind(kMilliseconds, 0) == 0)
                kept[name.substr(kMilliseconds.size())].seconds = value / 1000;
        }
    }
    const std::lock_guard lock(m_mutex);
    for (const auto& [id, sum] : kept) {
        if (sum.bytes > 0 && sum.seconds >= 0)
            m_sums.try_emplace(id, sum);
    }
}

void ActivityTimes::keep(Database& database)
{
    std::map<std::string, Sum> sums;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_isNew)
            return;
        sums = m_sums;
        m_isNew = false;
    }
    const auto lock = database.lock();
    const auto put = [&](const std::string& name, double value) {
        database.prepare("INSERT OR REPLACE INTO meta(name, value) VALUES(?, ?)")
            .bind(name)
            .bind(static_cast<std::int64_t>(value))
            .run();
    };
    Transaction transaction(database);
    for (const auto& [id, sum] : sums) {
        put(std::string(kBytes) + id, sum.bytes);
        put(std::string(kMilliseconds) + id, sum.seconds * 1000);
    }
    transaction.commit();
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
