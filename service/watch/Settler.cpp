#include "watch/Settler.h"

namespace krxservice {

bool Settler::reading(const FileStamp& stamp, std::int64_t now)
{
    if (m_readings == 0 || stamp != m_stamp) {
        m_stamp = stamp;
        m_since = now;
        m_readings = 1;
        return false;
    }
    ++m_readings;
    return stoodStill(now) && stamp.size > 0;
}

void Settler::disturbed()
{
    m_readings = 0;
}

} // namespace krxservice
