#include "activities/Copier.h"

#include "activities/Transfer.h"
#include "base/HeldDirectory.h"
#include "base/SourceFile.h"
#include "base/Text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

namespace krxservice {

namespace {

using filetools::Descriptor;

constexpr int kMostNames = 10000; ///< how many taken names are tried
constexpr int kMostLooks = 3;     ///< at a source that is touched again and again
constexpr int kWritten = 90;      ///< percent, when all is written and the comparison begins

/// One copy on its way.
class Run
{
public:
    explicit Run(const CopyOrder& order)
        : m_order(order)
        , m_source(order.source, order.sourceRoot)
        , m_root(order.directory)
        , m_below(order.keepsPath ? m_source.directoryBelow() : std::string())
        , m_directory(order.directory + (m_below.empty() ? "" : '/' + m_below))
    {
    }

    CopyResult run()
    {
        if (!m_source.isOpen())
            return failed(m_order.source + ": " + m_source.error());
        if (!m_root.isOpen())
            return failed(m_order.directory, errno);
        m_place = m_root.makeDirectories(m_below, m_source.directoryReach());
        if (!m_place.isOpen())
            return failed(m_directory, errno);
        const std::string name = text::baseName(m_order.source);
        const std::string start = ".krx-" + text::newGuid().substr(0, 8) + '-';
        const std::string end = ".part";
        const std::size_t room = filetools::longestName(m_place.get()) - start.size() - end.size();
        m_scratch = start + std::string(filetools::cutText(name, room)) + end;
        if (m_order.willWrite)
            m_order.willWrite(m_directory + '/' + m_scratch);
        CopyResult result = write();
        if (result.ok)
            result = verify(result.checksum);
        if (result.ok && !sourceStands(result.checksum))
            result = changed();
        if (result.ok)
            result = finish(name, result.checksum);
        ::unlinkat(m_place.get(), m_scratch.c_str(), 0);
        return result;
    }

private:
    static CopyResult failed(const std::string& reason)
    {
        CopyResult result;
        result.error = reason;
        return result;
    }
    static CopyResult failed(const std::string& path, int error)
    {
        return failed(path + ": " + text::errnoText(error));
    }
    static CopyResult cancelled()
    {
        CopyResult result = failed("cancelled");
        result.cancelled = true;
        return result;
    }
    CopyResult changed() const
    {
        CopyResult result = failed(m_order.source + " changed while it was copied");
        result.sourceChanged = true;
        return result;
    }
    static CopyResult done(const std::string& checksum, const std::string& path = {})
    {
        CopyResult result;
        result.ok = true;
        result.checksum = checksum;
        result.path = path;
        return result;
    }

    /// True when the source still holds what was read. A changed time alone is no proof of the contrary (a
    /// rename, a new mode), nor is one that was put back: then its content decides.
    bool sourceStands(const std::string& checksum)
    {
        if (m_source.facts().st_size != m_copied)
            return false;
        for (int look = 0; look < kMostLooks; ++look) {
            if (m_source.isUnchanged())
                return true;
            std::string error;
            if (!m_source.lookAgain() || m_source.facts().st_size != m_copied ||
                filetools::checksum(m_source.get(), m_order.cancel, error) != std::optional(checksum))
                return false;
        }
        return false;
    }

    CopyResult write()
    {
        m_target = Descriptor(::openat(m_place.get(), m_scratch.c_str(),
                                       O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!m_target.isOpen())
            return failed(m_directory, errno);
        ::posix_fadvise(m_source.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
        const std::int64_t size = m_source.facts().st_size;
        const auto moved = transfer(m_source.get(), m_target.get(), m_order.cancel, [&](std::int64_t bytes) {
            if (m_order.progress && bytes <= size)
                m_order.progress(static_cast<int>(bytes * kWritten / size));
        });
        if (moved.cancelled)
            return cancelled();
        if (moved.readError != 0)
            return failed(m_order.source, moved.readError);
        if (moved.writeError != 0)
            return failed(m_directory, moved.writeError);
        m_copied = moved.bytes;
        if (!sourceStands(moved.checksum))
            return changed();
        takeOverFacts();
        if (::fsync(m_target.get()) != 0)
            return failed(m_directory, errno);
        return done(moved.checksum);
    }

    /// Times and permissions of the source.
    void takeOverFacts()
    {
        const struct stat& source = m_source.facts();
        struct stat copy
        {
        };
        mode_t mode = m_source.reach();
        const bool sameGroup = ::fstat(m_target.get(), &copy) == 0 &&
                               (copy.st_gid == source.st_gid ||
                                ::fchown(m_target.get(), static_cast<uid_t>(-1), source.st_gid) == 0);
        // To another group belong other people: they may do what everybody may.
        if (!sameGroup)
            mode = (mode & 0707) | ((mode & 0007) << 3);
        ::fchmod(m_target.get(), mode);
        const timespec times[2] = {source.st_atim, source.st_mtim};
        ::futimens(m_target.get(), times);
    }

    CopyResult verify(const std::string& expected)
    {
        // So that reading it back asks the disk and not the memory that was just filled.
        ::posix_fadvise(m_target.get(), 0, 0, POSIX_FADV_DONTNEED);
        std::string error;
        const auto found = filetools::checksum(m_target.get(), m_order.cancel, error);
        if (*m_order.cancel)
            return cancelled();
        if (!found)
            return failed(m_directory + ": " + error);
        if (*found != expected)
            return failed("the copy of " + m_order.source + " in " + m_directory +
                          " differs from the original");
        return done(expected);
    }

    CopyResult finish(const std::string& name, const std::string& checksum)
    {
        const std::size_t longest = filetools::longestName(m_place.get());
        for (int number = 1; number < kMostNames; ++number) {
            const std::string free = filetools::numberedName(name, number, longest);
            const int error = filetools::renameNoReplace(m_place.get(), m_scratch, free);
            if (error != 0 && error != EEXIST)
                return failed(m_directory + '/' + free, error);
            if (error == EEXIST) {
                const Descriptor existing(
                    ::openat(m_place.get(), free.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
                if (!hasContent(existing, checksum))
                    continue;
                CopyResult result = offer(free, existing, checksum);
                result.existed = true;
                return result;
            }
            CopyResult result = offer(free, m_target, checksum);
            if (!result.ok)
                ::unlinkat(m_place.get(), free.c_str(), 0);
            return result;
        }
        return failed(m_directory + " holds too many files called " + name);
    }

    bool hasContent(const Descriptor& file, const std::string& checksum) const
    {
        struct stat facts
        {
        };
        std::string error;
        return file.isOpen() && ::fstat(file.get(), &facts) == 0 && S_ISREG(facts.st_mode) &&
               facts.st_size == m_copied &&
               filetools::checksum(file.get(), m_order.cancel, error) == std::optional(checksum);
    }

    /// The end: the name is on the disk, and the path that will be offered leads to the very file.
    CopyResult offer(const std::string& name, const Descriptor& file, const std::string& checksum) const
    {
        if (::fsync(m_place.get()) != 0 && errno != EINVAL)
            return failed(m_directory, errno);
        const std::string path = m_directory + '/' + name;
        struct stat held
        {
        };
        struct stat named
        {
        };
        if (::fstat(file.get(), &held) != 0 || ::stat(path.c_str(), &named) != 0 ||
            held.st_dev != named.st_dev || held.st_ino != named.st_ino)
            return failed("the folder " + m_directory + " was replaced while it was copied into");
        CopyResult result = done(checksum, path);
        result.stamp = filetools::stampOf(held);
        return result;
    }

    const CopyOrder& m_order;
    SourceFile m_source;
    HeldDirectory m_root;
    std::string m_below;     ///< directories that the copy keeps
    std::string m_directory; ///< the copy's, as a path
    Descriptor m_place{-1};  ///< the same, held
    std::string m_scratch;   ///< name in it
    Descriptor m_target{-1};
    std::int64_t m_copied = 0; ///< bytes
};

} // namespace

CopyResult Copier::copy(const CopyOrder& order)
{
    return Run(order).run();
}

} // namespace krxservice
