#include "base/LogFile.h"

#include "base/FileTools.h"
#include "base/Text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace krxservice {

namespace {

constexpr char kOwnFolder[] =
    "krx-service"; ///< what is called so is the service's own; others are left alone
constexpr mode_t kOthers = 077;

} // namespace

LogFile::~LogFile()
{
    close();
}

void LogFile::close()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
}

std::string LogFile::open(const std::string& path)
{
    close();
    m_path = path;
    if (path.empty())
        return {};
    std::string opened; // what was open to others
    const auto slash = path.rfind('/');
    if (slash != std::string::npos && slash > 0) {
        const std::string folder = path.substr(0, slash);
        if (auto reason = filetools::makeDirectories(folder); !reason.empty())
            return reason;
        struct stat place
        {
        };
        const bool isThere = ::stat(folder.c_str(), &place) == 0;
        if (isThere && place.st_uid != ::geteuid() && place.st_uid != 0)
            return folder + " belongs to user " + std::to_string(place.st_uid) +
                   "; choose another place with --log-file";
        if (isThere && text::baseName(folder) == kOwnFolder && (place.st_mode & kOthers) != 0 &&
            ::chmod(folder.c_str(), 0700) == 0)
            opened = folder;
    }
    // Not through a link, and without blocking: a pipe would be waited for.
    m_descriptor = ::open(
        path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600);
    struct stat facts
    {
    };
    if (m_descriptor < 0 || ::fstat(m_descriptor, &facts) != 0) {
        const int error = errno;
        close();
        return path + (error == ELOOP ? " is a link" : ": " + text::errnoText(error));
    }
    if (!S_ISREG(facts.st_mode) || facts.st_uid != ::geteuid()) {
        close();
        return path + " is no file of this user's";
    }
    const bool wasOpen = (facts.st_mode & kOthers) != 0 && ::fchmod(m_descriptor, 0600) == 0;
    bool wereOpen = false;
    for (int number = 1; number <= m_older; ++number)
        wereOpen = closeToOthers(path + '.' + std::to_string(number)) || wereOpen;
    if (wasOpen || wereOpen)
        opened = path + (wereOpen ? " or an older part of it" : "");
    if (!opened.empty())
        m_note = opened + " was open to others and is closed to them now";
    m_size = static_cast<std::size_t>(facts.st_size);
    return {};
}

/// \return whether an older file of the own user's was open to others.
bool LogFile::closeToOthers(const std::string& path)
{
    const int file = ::open(path.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat facts
    {
    };
    const bool isOpen = file >= 0 && ::fstat(file, &facts) == 0 && S_ISREG(facts.st_mode) &&
                        facts.st_uid == ::geteuid() && (facts.st_mode & kOthers) != 0 &&
                        ::fchmod(file, 0600) == 0;
    if (file >= 0)
        ::close(file);
    return isOpen;
}

void LogFile::rotate()
{
    const auto numbered = [this](int number) {
        return number == 0 ? m_path : m_path + '.' + std::to_string(number);
    };
    for (int number = m_older; number > 0; --number)
        std::rename(numbered(number - 1).c_str(), numbered(number).c_str());
    open(std::string(m_path));
}

void LogFile::write(std::string_view line)
{
    if (m_descriptor < 0)
        return;
    if (m_size > 0 && m_size + line.size() > m_largest)
        rotate();
    const ssize_t put = ::write(m_descriptor, line.data(), line.size());
    m_size += put > 0 ? static_cast<std::size_t>(put) : 0;
}

} // namespace krxservice
