#include "files/Aside.h"

#include "base/FileTools.h"
#include "base/Text.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace krxservice::aside {

namespace {

/// A link that leads nowhere is there as well.
bool isThere(const std::string& path)
{
    struct stat facts
    {
    };
    return ::lstat(path.c_str(), &facts) == 0;
}

} // namespace

std::string nameFor(const std::string& path, const std::string& reason)
{
    std::string moment = text::isoTime(text::now());
    moment.resize(moment.find('.'));
    moment.erase(std::remove_if(moment.begin(), moment.end(), [](char c) { return c == '-' || c == ':'; }),
                 moment.end());
    const std::string first = path + '.' + reason + '-' + moment;
    std::string name = first;
    for (int number = 2; isThere(name); ++number)
        name = first + '-' + std::to_string(number);
    return name;
}

std::string keep(const std::string& path, const std::string& reason, std::string& error)
{
    error.clear();
    if (!isThere(path))
        return {};
    const std::string name = nameFor(path, reason);
    if (const int failure = filetools::renameNoReplace(path, name)) {
        error = path + ": " + text::errnoText(failure);
        return {};
    }
    error = filetools::syncDirectory(path.substr(0, path.rfind('/')));
    return name;
}

} // namespace krxservice::aside
