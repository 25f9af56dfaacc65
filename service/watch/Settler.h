#pragma once

#include "base/FileStamp.h"

namespace krxservice {

/// Decides when one file is finished: pure logic, fed with readings. A file is finished when its size and
/// time stood still for at least three readings and for the settle time, and nobody has it open for writing.
class Settler
{
public:
    static constexpr int kLeastReadings = 3;

    /// \a settle is the time to stand still; the same unit (nanoseconds) as \a now below, which comes from a
    /// clock that never goes back.
    explicit Settler(std::int64_t settle)
        : m_settle(settle)
    {
    }

    /// A reading of the file. True when it stood still for long enough; then the caller looks for writers.
    bool reading(const FileStamp& stamp, std::int64_t now);

    /// True when the file stood still up to the last reading at \a now, whatever its size.
    bool stoodStill(std::int64_t now) const
    {
        return m_readings >= kLeastReadings && now - m_since >= m_settle;
    }

    /// True when the last reading was as the one before.
    bool isStill() const { return m_readings > 1; }

    std::int64_t settleTime() const { return m_settle; }

    /// The earliest moment at which the file can be finished.
    std::int64_t dueAt() const { return m_since + m_settle; }

    /// Somebody wrote, closed or replaced the file, or has it open for writing: the wait begins again.
    void disturbed();

private:
    std::int64_t m_settle;
    FileStamp m_stamp;
    std::int64_t m_since = 0;
    int m_readings = 0;
};

} // namespace krxservice
