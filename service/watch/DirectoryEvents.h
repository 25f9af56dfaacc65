#pragma once

#include <map>
#include <set>
#include <string>
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
    ~DirectoryEvents();
    DirectoryEvents(const DirectoryEvents&) = delete;
    DirectoryEvents& operator=(const DirectoryEvents&) = delete;

    /// Becomes readable when there are events; -1 when the system has none to give.
    int descriptor() const { return m_descriptor; }

    /// Begins to report about \a directory to \a owner, again and again without harm. False when events do
    /// not arrive from there: then it must be polled.
    bool add(const std::string& owner, const std::string& directory);
    void remove(const std::string& owner);

    /// All events that wait.
    std::vector<Event> take();

private:
    using Listeners = std::set<std::pair<std::string, std::string>>; ///< owner and its path of the directory

    int m_descriptor;
    std::map<int, Listeners> m_watches;
};

} // namespace krxservice
