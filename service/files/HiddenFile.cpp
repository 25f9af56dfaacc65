#include "files/HiddenFile.h"

#include "base/Text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <sstream>

namespace krxservice {

namespace {

constexpr int kMostNames = 10000; ///< how many taken names are tried
constexpr char kEnd[] = ".part";
constexpr char kNoted = '@'; ///< begins a note, and no path

bool fail(HiddenFile::Failure& failure, const std::string& path, int error)
{
    failure = {error, path + ": " + text::errnoText(error)};
    return false;
}

} // namespace

std::unique_ptr<HiddenFile> HiddenFile::make(const std::string& root, const std::string& below,
                                             const std::string& name, mode_t directoryMode,
                                             const std::function<void(const std::string&)>& willWrite,
                                             Failure& failure)
{
    std::unique_ptr<HiddenFile> made(new HiddenFile);
    const HeldDirectory held(root);
    if (!held.isOpen()) {
        fail(failure, root, errno);
        return nullptr;
    }
    made->m_directory = (root == "/" ? "" : root) + (below.empty() ? "" : '/' + below);
    made->m_place = held.makeDirectories(below, directoryMode);
    if (!made->m_place.isOpen()) {
        fail(failure, made->m_directory, errno);
        return nullptr;
    }
    const std::string start = ".krx-" + text::newGuid().substr(0, 8) + '-';
    const std::size_t room = filetools::longestName(made->m_place.get()) - start.size() - (sizeof kEnd - 1);
    made->m_name = name;
    const std::string hidden = start + std::string(filetools::cutText(name, room)) + kEnd;
    if (willWrite)
        willWrite(made->m_directory + '/' + hidden);
    made->m_file = filetools::Descriptor(::openat(made->m_place.get(), hidden.c_str(),
                                                  O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!made->m_file.isOpen()) {
        fail(failure, made->m_directory, errno);
        return nullptr;
    }
    made->m_hidden = hidden;
    return made;
}

HiddenFile::~HiddenFile()
{
    if (!m_hidden.empty())
        ::unlinkat(m_place.get(), m_hidden.c_str(), 0);
}

std::string HiddenFile::path() const
{
    return m_directory + '/' + (m_final.empty() ? m_hidden : m_final);
}

bool HiddenFile::removeNamed(const std::string& note)
{
    if (note.empty() || note.front() != kNoted)
        return false;
    std::istringstream text(note.substr(1));
    std::uintmax_t device = 0;
    std::uintmax_t inode = 0;
    std::string path;
    struct stat facts
    {
    };
    if (text >> device >> inode && text.get() == ' ' && std::getline(text, path) &&
        ::lstat(path.c_str(), &facts) == 0 && facts.st_dev == device && facts.st_ino == inode)
        ::unlink(path.c_str());
    return true;
}

bool HiddenFile::finish(mode_t mode, Failure& failure,
                        const std::function<void(const std::string&)>& willName)
{
    if (::fchmod(m_file.get(), mode) != 0 || ::fsync(m_file.get()) != 0)
        return fail(failure, m_directory, errno);
    struct stat held
    {
    };
    if (::fstat(m_file.get(), &held) != 0)
        return fail(failure, m_directory, errno);
    const std::size_t longest = filetools::longestName(m_place.get());
    int error = EEXIST;
    std::string free;
    for (int number = 1; error == EEXIST && number < kMostNames; ++number) {
        free = filetools::numberedName(m_name, number, longest);
        if (::faccessat(m_place.get(), free.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0)
            continue;
        if (willName)
            willName(kNoted + std::to_string(held.st_dev) + ' ' + std::to_string(held.st_ino) + ' ' +
                     m_directory + '/' + free);
        error = filetools::renameNoReplace(m_place.get(), m_hidden, free);
    }
    if (error != 0)
        return fail(failure, m_directory + '/' + free, error);
    m_final = free;
    m_hidden.clear();
    struct stat named
    {
    };
    const bool isSynced = ::fsync(m_place.get()) == 0 || errno == EINVAL;
    if (!isSynced || ::stat(path().c_str(), &named) != 0) {
        fail(failure, path(), errno);
    } else if (held.st_dev != named.st_dev || held.st_ino != named.st_ino) {
        failure = {ESTALE, "the folder " + m_directory + " was replaced while it was written into"};
    } else {
        return true;
    }
    undo();
    return false;
}

void HiddenFile::undo()
{
    if (!m_final.empty())
        ::unlinkat(m_place.get(), m_final.c_str(), 0);
    m_final.clear();
}

} // namespace krxservice
