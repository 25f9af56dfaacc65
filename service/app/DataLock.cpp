#include "app/DataLock.h"

#include "base/FileTools.h"
#include "base/Text.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace krxservice {

DataLock::~DataLock()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

std::string DataLock::acquire(const std::string& folder, bool& inUse)
{
    inUse = false;
    const bool isNew = ::access(folder.c_str(), F_OK) != 0;
    if (const auto reason = filetools::makeDirectories(folder); !reason.empty())
        return "the data folder cannot be used: " + reason;
    if (isNew)
        ::chmod(folder.c_str(), 0700);
    const std::string path = folder + "/krx-service.lock";
    m_descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (m_descriptor < 0)
        return "the data folder cannot be used: " + path + ": " + text::errnoText(errno);
    if (::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0) {
        inUse = errno == EWOULDBLOCK;
        return inUse ? "the data folder " + folder + " is in use by another instance"
                     : path + ": " + text::errnoText(errno);
    }
    return {};
}

} // namespace krxservice
