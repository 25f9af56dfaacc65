#pragma once

#include <map>
#include <string>

namespace krxservice {

/// Which mounted file system a path lies on, told by the system's table and without touching the path: a
/// file system that does not answer holds up nobody who only wants to know where it begins.
class Mounts
{
public:
    /// The present table of this process.
    static Mounts present();
    /// \a table in the form of /proc/self/mountinfo.
    static Mounts read(const std::string& table);

    /// A text that is the same for all paths on one mounted file system; mounting it anew changes it. \a path
    /// is canonical.
    std::string keyOf(const std::string& path) const;
    /// True when a file system is mounted on \a path or below it.
    bool hasMountIn(const std::string& path) const;

private:
    std::map<std::string, std::string> m_keys; ///< by mount point
};

} // namespace krxservice
