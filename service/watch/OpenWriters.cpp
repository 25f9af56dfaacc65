#include "watch/OpenWriters.h"

#include "base/Text.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <climits>
#include <fstream>
#include <memory>

namespace krxservice::openwriters {

namespace {

using Directory = std::unique_ptr<DIR, int (*)(DIR*)>;

Directory openDirectory(const std::string& path)
{
    return {::opendir(path.c_str()), &::closedir};
}

/// The program that runs as \a process.
std::string nameOf(const std::string& process)
{
    std::ifstream file("/proc/" + process + "/comm");
    std::string name;
    std::getline(file, name);
    return (name.empty() ? "a program" : text::oneLine(name)) + " (process " + process + ')';
}

void lookInto(const std::string& descriptors, const std::set<std::string>& wanted, const std::string& process,
              std::map<std::string, std::string>& found)
{
    const Directory directory = openDirectory(descriptors);
    while (const dirent* entry = directory ? ::readdir(directory.get()) : nullptr) {
        if (!std::isdigit(static_cast<unsigned char>(entry->d_name[0])))
            continue;
        const std::string link = descriptors + '/' + entry->d_name;
        struct stat facts
        {
        };
        // The permission bits of these links tell how the file was opened.
        if (::lstat(link.c_str(), &facts) != 0 || !(facts.st_mode & S_IWUSR))
            continue;
        char target[PATH_MAX];
        const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
        if (length <= 0)
            continue;
        std::string path(target, static_cast<std::size_t>(length));
        if (wanted.count(path) > 0)
            found.emplace(std::move(path), nameOf(process));
    }
}

} // namespace

std::map<std::string, std::string> among(const std::set<std::string>& canonicalPaths)
{
    std::map<std::string, std::string> found;
    if (canonicalPaths.empty())
        return found;
    const Directory processes = openDirectory("/proc");
    while (const dirent* entry = processes ? ::readdir(processes.get()) : nullptr) {
        if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])))
            lookInto(std::string("/proc/") + entry->d_name + "/fd", canonicalPaths, entry->d_name, found);
    }
    return found;
}

} // namespace krxservice::openwriters
