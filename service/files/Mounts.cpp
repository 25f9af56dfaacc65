#include "files/Mounts.h"

#include <fstream>
#include <sstream>

namespace krxservice {

namespace {

/// The table writes blanks and the like as a backslash and three octal digits.
std::string decoded(const std::string& field)
{
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] != '\\' || i + 3 >= field.size()) {
            text += field[i];
            continue;
        }
        text +=
            static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0'));
        i += 3;
    }
    return text;
}

} // namespace

Mounts Mounts::present()
{
    std::ifstream file("/proc/self/mountinfo");
    std::ostringstream table;
    table << file.rdbuf();
    return read(table.str());
}

Mounts Mounts::read(const std::string& table)
{
    Mounts mounts;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string id;
        std::string parent;
        std::string device;
        std::string root;
        std::string point;
        // What is mounted on top of another stands further down.
        if (fields >> id >> parent >> device >> root >> point)
            mounts.m_keys[decoded(point)] = decoded(point) + '#' + id;
    }
    return mounts;
}

std::string Mounts::keyOf(const std::string& path) const
{
    std::string place = path;
    for (;;) {
        const auto found = m_keys.find(place.empty() ? "/" : place);
        if (found != m_keys.end())
            return found->second;
        const auto slash = place.rfind('/');
        if (place.empty() || slash == std::string::npos)
            return {};
        place.resize(slash);
    }
}

bool Mounts::hasMountIn(const std::string& path) const
{
    if (m_keys.count(path) > 0)
        return true;
    const std::string start = path == "/" ? path : path + '/';
    const auto next = m_keys.lower_bound(start);
    return next != m_keys.end() && next->first.compare(0, start.size(), start) == 0;
}

} // namespace krxservice
