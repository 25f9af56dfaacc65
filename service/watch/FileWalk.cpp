#include "watch/FileWalk.h"

#include "base/Text.h"

#include <dirent.h>
#include <sys/stat.h>

#include <array>
#include <cctype>
#include <cerrno>
#include <memory>
#include <string_view>
#include <vector>

namespace krxservice::filewalk {

namespace {

constexpr std::array<std::string_view, 6> kUnfinishedEndings = {".part", ".partial",    ".tmp",
                                                                ".temp", ".crdownload", ".filepart"};
constexpr std::size_t kDeepest = 64; ///< directories within each other

bool endsWith(const std::string& name, std::string_view ending)
{
    if (name.size() < ending.size())
        return false;
    for (std::size_t i = 0; i < ending.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(name[name.size() - ending.size() + i])) != ending[i])
            return false;
    }
    return true;
}

/// DT_DIR or DT_REG, another value for all else, links included.
unsigned char typeOf(const std::string& path, unsigned char hint)
{
    struct stat facts
    {
    };
    if (hint != DT_UNKNOWN || ::lstat(path.c_str(), &facts) != 0)
        return hint;
    return static_cast<unsigned char>(IFTODT(facts.st_mode));
}

struct Place
{
    std::string path;
    std::size_t depth = 0;
};

} // namespace

bool isCandidateName(const std::string& name)
{
    if (name.empty() || name.front() == '.' || name.front() == '~' || name.back() == '~')
        return false;
    for (const auto& ending : kUnfinishedEndings) {
        if (endsWith(name, ending))
            return false;
    }
    return true;
}

int walk(const std::string& root, const std::set<std::string>& skipped, const Visitor& visitor)
{
    std::vector<Place> waiting = {{root, 0}};
    while (!waiting.empty()) {
        const Place place = waiting.back();
        waiting.pop_back();
        if (!skipped.empty() && place.depth > 0 && skipped.count(text::canonicalPath(place.path)) > 0)
            continue;
        const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(place.path.c_str()), &::closedir);
        if (!open) {
            if (place.depth == 0)
                return errno;
            continue;
        }
        if (visitor.directory)
            visitor.directory(place.path);
        while (const dirent* entry = ::readdir(open.get())) {
            const std::string name = entry->d_name;
            if (name.front() == '.')
                continue;
            const std::string path = (place.path == "/" ? "" : place.path) + '/' + name;
            const unsigned char type = typeOf(path, entry->d_type);
            if (type == DT_DIR && place.depth < kDeepest)
                waiting.push_back({path, place.depth + 1});
            else if (type == DT_REG && visitor.file && isCandidateName(name))
                visitor.file(path);
        }
    }
    return 0;
}

} // namespace krxservice::filewalk
