#pragma once

#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace krxservice {

/// Change events of directories. Not thread-safe.
class DirectoryEvents
{
public:
    struct Event
    {
        std::string owner;
        std::string directory;
        std::string name;         ///< of what changed in the directory; empty for the directory itself
        bool isDirectory = false; ///< what changed is a directory
        bool overflow = false;    ///< events were lost (no owner is named): look at everything
    };

    DirectoryEvents();
    virtual ~DirectoryEvents();
    DirectoryEvents(const DirectoryEvents&) = delete;
    DirectoryEvents& operator=(const DirectoryEvents&) = delete;

    /// Becomes readable when there are events; -1 when the system has none to give.
    int descriptor() const { return m_descriptor; }

    /// Whether events arrive from a directory.
    enum class Arrival {
        Told,   ///< they do
        Silent, ///< changes by others make none there: it must be polled
        Refused ///< the system watches no more directories for this user: it must be polled
    };
    /// Begins to report about \a directory to \a owner, again and again without harm.
    virtual Arrival add(const std::string& owner, const std::string& directory);
    void remove(const std::string& owner);

    /// All events that wait.
    std::vector<Event> take();

private:
    using Listeners = std::set<std::pair<std::string, std::string>>; ///< owner and its path of the directory

    int m_descriptor;
    std::map<int, Listeners> m_watches;
    std::unordered_map<std::string, std::set<int>> m_owned; ///< the watches of each owner
    std::unordered_set<int> m_silent;                       ///< watches of which nothing is told by others
};

} // namespace krxservice
