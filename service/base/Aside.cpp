#include "base/Aside.h"

#include "base/FileTools.h"
#include "base/Text.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace krxservice::aside {

std::string nameFor(const std::string& path, const std::string& reason)
{
    std::string moment = text::isoTime(text::now());
    moment.resize(moment.find('.'));
    moment.erase(std::remove_if(moment.begin(), moment.end(), [](char c) { return c == '-' || c == ':'; }),
                 moment.end());
    const std::string first = path + '.' + reason + '-' + moment;
    std::string name = first;
    for (int number = 2; ::access(name.c_str(), F_OK) == 0; ++number)
        name = first + '-' + std::to_string(number);
    return name;
}

std::string keep(const std::string& path, const std::string& reason, std::string& error)
{
    error.clear();
    if (::access(path.c_str(), F_OK) != 0)
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
