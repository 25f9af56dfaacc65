#pragma once

#include <chrono>
#include <map>
#include <set>
#include <string>

namespace krxservice::openwriters {

/// Which files are open for writing on this machine, and by whom. A look at all processes is dear: there is
/// one for all that are asked within a moment, and none while nothing is asked.
///
/// Processes of other users can only be looked into by a privileged service; for their files, and for writers
/// on other machines, standing still is all there is to go by.
class Look
{
public:
    static constexpr std::chrono::milliseconds kFresh{1000};

    /// \a holds: how long after a look its answer still counts.
    explicit Look(std::chrono::milliseconds holds = kFresh)
        : m_holds(holds)
    {
    }

    /// Those of \a canonicalPaths that a process has open for writing, and which: "name (process 1)".
    std::map<std::string, std::string> among(const std::set<std::string>& canonicalPaths);

private:
    void look();

    const std::chrono::milliseconds m_holds;
    std::chrono::steady_clock::time_point m_looked; ///< never at first
    std::map<std::string, std::string> m_open;      ///< process by path
};

/// The same by a look of its own.
std::map<std::string, std::string> among(const std::set<std::string>& canonicalPaths);

} // namespace krxservice::openwriters
