#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace krxservice {

/// Replaces what only the person who works here needs to know in a text that is to be shown to others: names
/// of people, profiles, folders and files. The same name gets the same stand-in everywhere; what the system
/// itself is made of keeps its name, and so do the extensions of files.
class Redactor
{
public:
    /// A name that is replaced wherever it stands as a whole.
    void addName(const std::string& name);
    /// A path whose parts are replaced wherever they stand in a path.
    void addPath(const std::string& path);

    /// \a text, line by line. A path that was not added is replaced as well; since nobody can tell where a
    /// name with blanks ends, so is all that follows it on its line.
    std::string redact(const std::string& text);

private:
    const std::string& standInFor(const std::string& part);
    void learnPeople(const std::string& text);
    std::string redactLine(const std::string& line);
    std::string knownReplaced(const std::string& line) const;

    std::map<std::string, std::string> m_standIns;
    std::set<std::string> m_names; ///< those that count outside of paths, too
};

} // namespace krxservice
