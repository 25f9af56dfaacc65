#include "watch/FileWalk.h"

#include "base/Text.h"
#include "files/HeldDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cctype>
#include <cerrno>
#include <climits>
#include <memory>
#include <string_view>
#include <vector>

namespace krxservice::filewalk {

namespace {

constexpr std::array<std::string_view, 6> kUnfinishedEndings = {".part", ".partial",    ".tmp",
                                                                ".temp", ".crdownload", ".filepart"};
constexpr char kHistory[] = "ascmhl"; ///< directories that hold what is said of copies, and no media
constexpr std::size_t kDeepest = 64;  ///< directories within each other

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

/// DT_DIR, DT_REG, DT_LNK, or another value.
unsigned char typeOf(int directory, const dirent& entry)
{
    struct stat facts
    {
    };
    if (entry.d_type != DT_UNKNOWN || ::fstatat(directory, entry.d_name, &facts, AT_SYMLINK_NOFOLLOW) != 0)
        return entry.d_type;
    return static_cast<unsigned char>(IFTODT(facts.st_mode));
}

struct Place
{
    std::string below; ///< the path from the root on
    std::size_t depth = 0;
};

/// One walk on its way.
class Walk
{
public:
    Walk(const std::string& root, const std::set<std::string>& skipped, const Visitor& visitor)
        : m_root(root)
        , m_skipped(skipped)
        , m_visitor(visitor)
        , m_held(root)
    {
    }

    int run()
    {
        if (!m_held.isOpen())
            return errno;
        m_waiting.push_back({});
        while (!m_waiting.empty()) {
            const Place place = m_waiting.back();
            m_waiting.pop_back();
            if (!goesOn())
                return ECANCELED;
            const std::string path = whole(place.below);
            if (!m_skipped.empty() && place.depth > 0 && m_skipped.count(text::canonicalPath(path)) > 0)
                continue;
            if (const int error = read(place, path))
                return error;
        }
        return 0;
    }

private:
    bool goesOn() const { return !m_visitor.goesOn || m_visitor.goesOn(); }
    std::string whole(const std::string& below) const
    {
        return below.empty() ? m_root : (m_root == "/" ? m_root : m_root + '/') + below;
    }
    void leaveOut(const std::string& path, const std::string& reason) const
    {
        if (m_visitor.leftOut)
            m_visitor.leftOut(path, reason);
    }

    /// 0, ECANCELED, or why the root cannot be read.
    int read(const Place& place, const std::string& path)
    {
        filetools::Descriptor file = m_held.open(place.below, O_RDONLY | O_DIRECTORY);
        const std::unique_ptr<DIR, int (*)(DIR*)> directory(file.isOpen() ? ::fdopendir(file.get()) : nullptr,
                                                            &::closedir);
        if (!directory) {
            const int error = errno;
            if (place.depth == 0)
                return error;
            // Gone or swapped for something else since its name was read.
            if (error != ENOENT && error != ELOOP && error != ENOTDIR)
                leaveOut(path, text::errnoText(error));
            return 0;
        }
        file.release();
        if (m_visitor.directory)
            m_visitor.directory(path);
        while (const dirent* entry = ::readdir(directory.get())) {
            if (!goesOn())
                return ECANCELED;
            if (entry->d_name[0] != '.')
                look(place, *entry, ::dirfd(directory.get()));
        }
        return 0;
    }

    void look(const Place& place, const dirent& entry, int directory)
    {
        const std::string name = entry.d_name;
        const unsigned char type = typeOf(directory, entry);
        const bool isFile = type == DT_REG && isCandidateName(name);
        const bool isLink = type == DT_LNK && isCandidateName(name);
        if ((type != DT_DIR && !isFile && !isLink) || (type == DT_DIR && name == kHistory))
            return;
        const std::string below = place.below.empty() ? name : place.below + '/' + name;
        const std::string path = whole(below);
        if (path.size() >= PATH_MAX)
            leaveOut(path, "its path is longer than the system takes");
        else if (isLink)
            leaveOut(path, "links are not followed");
        else if (isFile && m_visitor.file)
            m_visitor.file(path);
        else if (type == DT_DIR && place.depth >= kDeepest)
            leaveOut(path, "it is nested deeper than " + std::to_string(kDeepest) + " directories");
        else if (type == DT_DIR)
            m_waiting.push_back({below, place.depth + 1});
    }

    const std::string& m_root;
    const std::set<std::string>& m_skipped;
    const Visitor& m_visitor;
    HeldDirectory m_held;
    std::vector<Place> m_waiting;
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
    return Walk(root, skipped, visitor).run();
}

} // namespace krxservice::filewalk
