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

void lookInto(const std::string& process, std::map<std::string, std::string>& found)
{
    // Of other users' processes this cannot be opened: they cost no more than that.
    const std::string descriptors = "/proc/" + process + "/fd";
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
        // Pipes, sockets and the like have no path.
        if (target[0] == '/')
            found.emplace(std::string(target, static_cast<std::size_t>(length)), process);
    }
}

} // namespace

void Look::look()
{
    m_open.clear();
    const Directory processes = openDirectory("/proc");
    while (const dirent* entry = processes ? ::readdir(processes.get()) : nullptr) {
        if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])))
            lookInto(entry->d_name, m_open);
    }
}

std::map<std::string, std::string> Look::among(const std::set<std::string>& canonicalPaths)
{
    std::map<std::string, std::string> found;
    if (canonicalPaths.empty())
        return found;
    const auto now = std::chrono::steady_clock::now();
    if (m_looked == decltype(m_looked)() || now - m_looked > m_holds) {
        look();
        m_looked = now;
    }
    for (const auto& path : canonicalPaths) {
        if (const auto writer = m_open.find(path); writer != m_open.end())
            found.emplace(path, nameOf(writer->second));
    }
    return found;
}

std::map<std::string, std::string> among(const std::set<std::string>& canonicalPaths)
{
    return Look().among(canonicalPaths);
}

} // namespace krxservice::openwriters
