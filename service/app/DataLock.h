#pragma once

#include <string>

namespace krxservice {

/// Keeps a data folder for one process. The system gives it up when the process ends, however it ends.
///
/// Two locks are held: one on a file, which no child inherits, so that a program that was just being started
/// when the service was killed holds nobody up; and one on the folder itself, so that somebody who removes
/// the file lets no second instance onto the same data.
class DataLock
{
public:
    DataLock() = default;
    ~DataLock();
    DataLock(const DataLock&) = delete;
    DataLock& operator=(const DataLock&) = delete;

    /// Makes the folder when it is missing, sees to it that it is the own user's and nobody else's, and takes
    /// the locks. An instance that is just dying is waited for. An empty text or the reason; \a inUse tells
    /// whether another instance holds it.
    std::string acquire(const std::string& folder, bool& inUse);

private:
    int m_file = -1;
    int m_folder = -1;
};

} // namespace krxservice
