#pragma once

#include <functional>
#include <set>
#include <string>

/// Finds the files of a folder that may be clips.
namespace krxservice::filewalk {

/// False for hidden names and for the names that programs give to unfinished files.
bool isCandidateName(const std::string& name);

/// Called while walking; each may be empty.
struct Visitor
{
    /// Each directory that is read, the root included.
    std::function<void(const std::string& directory)> directory;
    /// Each file with a candidate name, its whole path.
    std::function<void(const std::string& file)> file;
    /// What may hold clips and is not looked into, and why.
    std::function<void(const std::string& path, const std::string& reason)> leftOut;
    /// Before each step, for one who wants to know how far it came; false ends the walk.
    std::function<bool()> goesOn;
};

/// Walks over \a root and the directories below it, leaving out hidden ones, links and the directories whose
/// canonical paths are in \a skipped. Links below the root are not followed even when one takes a directory's
/// place meanwhile.
/// \return 0, ECANCELED, or the errno value that opening \a root gave.
int walk(const std::string& root, const std::set<std::string>& skipped, const Visitor& visitor);

} // namespace krxservice::filewalk
