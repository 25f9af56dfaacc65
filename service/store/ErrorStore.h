#pragma once

#include "store/Database.h"

#include <string>
#include <vector>

namespace krxservice {

/// What a person should know, kept until a client clears it. Thread-safe; throws DatabaseError.
class ErrorStore
{
public:
    static constexpr int kMostErrors = 1000; ///< the oldest are forgotten beyond this

    explicit ErrorStore(Database& database)
        : m_database(database)
    {
    }

    /// Adds \a text to the list (and the log) unless the list holds it already. Never throws: what the list
    /// cannot take stands in the log.
    void add(const std::string& text);
    /// What \a text told is over: takes it from the list.
    void remove(const std::string& text);
    /// The same for every text that begins with \a start.
    void removeStarting(const std::string& start);
    /// The start of the entry about the file \a path that is not offered, whatever the reason.
    static std::string refusedStart(const std::string& path);
    /// The start of the entries about a clip at \a path that is offered all the same.
    static std::string notedStart(const std::string& path);
    /// Oldest first.
    std::vector<std::string> list();
    /// The list, emptied in the same moment, so that no error is lost between the two.
    std::vector<std::string> takeAll();

private:
    Database& m_database;
};

} // namespace krxservice
