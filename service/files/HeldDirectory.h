#pragma once

#include "base/FileTools.h"

#include <sys/types.h>

#include <string>

namespace krxservice {

/// A directory that is held open. What lies below is reached from there and not by its path, so that nobody
/// can lead the service elsewhere by putting a link in a directory's place while it works: a link below is
/// refused, and so is every way out.
class HeldDirectory
{
public:
    /// Opens \a path. Links in it are followed: it is what a person chose. When it cannot be opened, errno
    /// says why.
    explicit HeldDirectory(const std::string& path);

    bool isOpen() const { return m_directory.isOpen(); }
    int get() const { return m_directory.get(); }
    const std::string& path() const { return m_path; }

    /// Opens \a below, a path without a leading slash; empty means the directory itself. \a flags and \a mode
    /// are those of open(2); the descriptor closes on exec, and neither a pipe nor a device makes this wait.
    /// Not open with errno set on failure: ELOOP for a link, EXDEV for a way out.
    filetools::Descriptor open(const std::string& below, int flags, mode_t mode = 0) const;

    /// Makes \a below with its parents and opens it; not open with errno set on failure. What is made has the
    /// permissions of the directory it is in as far as \a mode has them.
    filetools::Descriptor makeDirectories(const std::string& below, mode_t mode) const;

    /// True while path() leads to this very directory.
    bool isStillThere() const;

private:
    std::string m_path;
    filetools::Descriptor m_directory;
};

/// The two ways in which the above is done, each returning a descriptor or -1 with errno set.
namespace openbelow {

/// In one call of the system; ENOSYS on one that cannot (before Linux 5.6).
int atOnce(int directory, const std::string& below, int flags, mode_t mode);
/// Directory by directory.
int stepByStep(int directory, const std::string& below, int flags, mode_t mode);

} // namespace openbelow

} // namespace krxservice
