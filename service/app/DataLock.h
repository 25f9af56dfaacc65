#pragma once

#include <string>

namespace krxservice {

/// Keeps a data folder for one process. The system gives it up when the process ends, however it ends.
class DataLock
{
public:
    DataLock() = default;
    ~DataLock();
    DataLock(const DataLock&) = delete;
    DataLock& operator=(const DataLock&) = delete;

    /// Makes the folder when it is missing and takes the lock. An empty text or the reason; \a inUse tells
    /// whether another instance holds it.
    std::string acquire(const std::string& folder, bool& inUse);

private:
    int m_descriptor = -1;
};

} // namespace krxservice
