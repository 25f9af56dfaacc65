#pragma once

#include <functional>
#include <set>
#include <string>

/// Finds the files of a folder that may be clips.
namespace krxservice::filewalk {

/// False for hidden names and for the names that programs give to unfinished files.
bool isCandidateName(const std::string& name);

/// Called while walking; both may be empty.
struct Visitor
{
    /// Each directory that is read, the root included.
    std::function<void(const std::string& directory)> directory;
    /// Each file with a candidate name, its whole path.
    std::function<void(const std::string& file)> file;
};

/// Walks over \a root and the directories below it, leaving out hidden ones, links and the
/// directories whose canonical paths are in \a skipped.
/// \return 0, or the errno value that opening \a root gave. Directories below that cannot be read are left
/// out.
int walk(const std::string& root, const std::set<std::string>& skipped, const Visitor& visitor);

} // namespace krxservice::filewalk
