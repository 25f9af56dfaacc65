#include "activities/Copier.h"

#include "activities/Transfer.h"
#include "base/Text.h"
#include "files/HeldDirectory.h"
#include "files/SourceFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>

namespace krxservice {

namespace {

using filetools::Descriptor;

constexpr int kMostNames = 10000; ///< how many taken names are tried
constexpr int kMostLooks = 3;     ///< at a source that is touched again and again
constexpr int kWritten = 90;      ///< percent, when all is written and the comparison begins
/// From so many files on the volume is told to write all it has, instead of one file after the other.
constexpr std::size_t kManyFiles = 16;
constexpr char kScratchStart[] = ".krx-";
constexpr char kScratchEnd[] = ".part";

/// Thrown where a copy ends early.
struct Ended
{
    CopyResult result;
};

[[noreturn]] void fail(const std::string& reason)
{
    CopyResult result;
    result.error = reason;
    throw Ended{result};
}

[[noreturn]] void fail(const std::string& path, int error)
{
    fail(path + ": " + text::errnoText(error));
}

[[noreturn]] void endCancelled()
{
    CopyResult result;
    result.cancelled = true;
    result.error = "cancelled";
    throw Ended{result};
}

[[noreturn]] void endChanged(const std::string& source)
{
    CopyResult result;
    result.sourceChanged = true;
    result.error = source + " changed while it was copied";
    throw Ended{result};
}

/// The stem of the \a number th sequence of that name: "shot (2)." of "shot.".
std::string numberedStem(const std::string& stem, int number)
{
    if (number == 1)
        return stem;
    const auto end = stem.find_last_not_of("._- ");
    const std::size_t at = end == std::string::npos ? 0 : end + 1;
    return stem.substr(0, at) + (at == 0 ? "(" : " (") + std::to_string(number) + ')' +
           (at == stem.size() ? "_" : stem.substr(at));
}

/// One file of the clip.
struct Item
{
    std::string source;
    std::string name; ///< the source's
    std::string scratch;
    FileStamp seen; ///< of the source, when it was read
    std::int64_t size = 0;
    std::string checksum;
    bool existed = false;
    FileStamp stamp;     ///< of the copy
    std::string renamed; ///< the name that it got here
};

/// One copy on its way.
class Run
{
public:
    explicit Run(const CopyOrder& order)
        : m_order(order)
        , m_root(order.directory)
    {
        add(order.source);
        for (const auto& companion : order.companions)
            add(companion);
    }

    CopyResult run()
    {
        try {
            open();
            for (auto& item : m_items)
                take(item);
            bringToDisk();
            for (auto& item : m_items)
                verify(item);
            for (const auto& item : m_items) {
                if (!stands(item))
                    endChanged(item.source);
            }
            CopyResult result = finish();
            removeScratch();
            return result;
        } catch (const Ended& ended) {
            for (const auto& item : m_items) {
                if (!item.renamed.empty() && !item.existed)
                    ::unlinkat(m_place.get(), item.renamed.c_str(), 0);
            }
            removeScratch();
            return ended.result;
        }
    }

private:
    void add(const std::string& source)
    {
        Item item;
        item.source = source;
        item.name = text::baseName(source);
        m_items.push_back(std::move(item));
    }

    SourceFile opened(const Item& item) const { return SourceFile(item.source, m_order.sourceRoot); }

    void open()
    {
        const SourceFile first = opened(m_items.front());
        if (!first.isOpen())
            fail(m_order.source + ": " + first.error());
        const std::string below = m_order.keepsPath ? first.directoryBelow() : m_order.below;
        m_directory = m_order.directory + (below.empty() ? "" : '/' + below);
        if (!m_root.isOpen())
            fail(m_order.directory, errno);
        m_place = m_root.makeDirectories(below, first.directoryReach());
        if (!m_place.isOpen())
            fail(m_directory, errno);
        for (auto& item : m_items) {
            struct stat facts
            {
            };
            if (::stat(item.source.c_str(), &facts) == 0)
                m_allBytes += facts.st_size;
        }
        const std::string start = kScratchStart + text::newGuid().substr(0, 8) + '-';
        const std::string end = kScratchEnd;
        m_longest = filetools::longestName(m_place.get());
        const std::size_t room = m_longest - start.size() - end.size();
        m_scratch = start + std::string(filetools::cutText(m_items.front().name, room)) + end;
    }

    /// The place for unfinished files, made when there is one to be written.
    int scratchPlace()
    {
        if (m_hasScratch)
            return m_hidden.isOpen() ? m_hidden.get() : m_place.get();
        if (m_order.willWrite)
            m_order.willWrite(m_directory + '/' + m_scratch);
        m_hasScratch = true;
        if (m_items.size() == 1)
            return m_place.get();
        if (::mkdirat(m_place.get(), m_scratch.c_str(), 0700) != 0)
            fail(m_directory, errno);
        m_hidden = Descriptor(
            ::openat(m_place.get(), m_scratch.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!m_hidden.isOpen())
            fail(m_directory, errno);
        return m_hidden.get();
    }

    void removeScratch()
    {
        if (!m_hasScratch)
            return;
        for (const auto& item : m_items) {
            if (!item.scratch.empty() && (item.renamed.empty() || item.existed))
                ::unlinkat(scratchPlace(), item.scratch.c_str(), 0);
        }
        if (m_hidden.isOpen())
            ::unlinkat(m_place.get(), m_scratch.c_str(), AT_REMOVEDIR);
    }

    void tell(std::int64_t bytes)
    {
        if (m_order.progress && m_allBytes > 0)
            m_order.progress(
                static_cast<int>(std::min<std::int64_t>(bytes * kWritten / m_allBytes, kWritten)));
    }

    /// Writes a copy, or finds that it is there.
    void take(Item& item)
    {
        SourceFile source = opened(item);
        if (source.isMissing() && item.source != m_order.source)
            endChanged(item.source);
        if (!source.isOpen())
            fail(item.source + ": " + source.error());
        item.size = source.facts().st_size;
        const bool isThere = this->isThere(item, source);
        if (!isThere)
            write(item, source);
        m_bytes += item.size;
        if (isThere)
            tell(m_bytes);
        item.seen = source.stamp();
    }

    /// Looks whether a file of the source's name and size holds what the source holds, before anything is
    /// written: so work that was interrupted goes on where it was.
    bool isThere(Item& item, const SourceFile& source)
    {
        const Descriptor there = existing(item.name);
        struct stat facts
        {
        };
        if (!there.isOpen() || ::fstat(there.get(), &facts) != 0 || !S_ISREG(facts.st_mode) ||
            facts.st_size != item.size)
            return false;
        std::string error;
        const auto wanted = filetools::checksum(source.get(), m_order.cancel, error);
        if (*m_order.cancel)
            endCancelled();
        if (!wanted || !source.isUnchanged() ||
            filetools::checksum(there.get(), m_order.cancel, error) != wanted)
            return false;
        item.checksum = *wanted;
        item.existed = true;
        return true;
    }

    Descriptor existing(const std::string& name) const
    {
        return Descriptor(
            ::openat(m_place.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    }

    void write(Item& item, SourceFile& source)
    {
        const int place = scratchPlace();
        item.scratch = m_hidden.isOpen() ? item.name : m_scratch;
        const Descriptor target(
            ::openat(place, item.scratch.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!target.isOpen()) {
            const int error = errno;
            item.scratch.clear();
            fail(m_directory, error);
        }
        ::posix_fadvise(source.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
        const auto moved = transfer(source.get(), target.get(), m_order.cancel,
                                    [&](std::int64_t bytes) { tell(m_bytes + std::min(bytes, item.size)); });
        if (moved.cancelled)
            endCancelled();
        if (moved.readError != 0)
            fail(item.source, moved.readError);
        if (moved.writeError != 0)
            fail(m_directory, moved.writeError);
        item.checksum = moved.checksum;
        if (moved.bytes != item.size || !holds(source, item))
            endChanged(item.source);
        takeOverFacts(source, target);
        if (m_items.size() < kManyFiles && ::fsync(target.get()) != 0)
            fail(m_directory, errno);
    }

    /// Times and permissions of the source.
    static void takeOverFacts(const SourceFile& from, const Descriptor& target)
    {
        const struct stat& source = from.facts();
        ::fchmod(target.get(), from.reachFor(target.get()));
        const timespec times[2] = {source.st_atim, source.st_mtim};
        ::futimens(target.get(), times);
    }

    /// True when the source still holds what was read. A changed time alone is no proof of the contrary (a
    /// rename, a new mode), nor is one that was put back: then its content decides.
    bool holds(SourceFile& source, const Item& item) const
    {
        for (int look = 0; look < kMostLooks; ++look) {
            if (source.isUnchanged())
                return true;
            std::string error;
            if (!source.lookAgain() || source.facts().st_size != item.size ||
                filetools::checksum(source.get(), m_order.cancel, error) != std::optional(item.checksum))
                return false;
        }
        return false;
    }

    bool stands(const Item& item) const
    {
        SourceFile source = opened(item);
        if (!source.isOpen() || source.facts().st_size != item.size)
            return false;
        if (source.stamp().isUntouched(item.seen))
            return true;
        std::string error;
        const auto now = filetools::checksum(source.get(), m_order.cancel, error);
        return now == std::optional(item.checksum) && source.isUnchanged();
    }

    void bringToDisk() const
    {
        if (m_hasScratch && m_items.size() >= kManyFiles && ::syncfs(m_place.get()) != 0)
            fail(m_directory, errno);
    }

    void verify(Item& item)
    {
        if (item.existed)
            return;
        const Descriptor copy(
            ::openat(scratchPlace(), item.scratch.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (!copy.isOpen())
            fail(m_directory, errno);
        const auto found = readBack(copy.get(), m_order.cancel);
        if (found.cancelled)
            endCancelled();
        if (found.readError != 0)
            fail(m_directory, found.readError);
        if (found.checksum != item.checksum)
            fail("the copy of " + item.source + " in " + m_directory + " differs from the original");
    }

    std::string nameOf(const Item& item, int number) const
    {
        return copiedName(m_order, static_cast<std::size_t>(&item - m_items.data()), number, m_longest);
    }

    CopyResult finish()
    {
        for (int number = 1; number < kMostNames; ++number) {
            if (!isFree(number) || !rename(number))
                continue;
            // The end: the names are on the disk, and the paths that will be offered lead to the very files.
            if (::fsync(m_place.get()) != 0 && errno != EINVAL)
                fail(m_directory, errno);
            CopyResult result;
            result.ok = true;
            result.stem = numberedStem(m_order.stem, number);
            for (const auto& item : m_items)
                result.files.push_back(offered(item));
            for (const auto& item : m_items)
                result.seen.push_back(item.seen);
            result.path = result.files.front().path;
            result.checksum = result.files.front().checksum;
            return result;
        }
        fail(m_directory + " holds too many files called " + m_items.front().name);
    }

    /// True when no file of these names holds anything else.
    bool isFree(int number)
    {
        for (auto& item : m_items) {
            const std::string name = nameOf(item, number);
            struct stat facts
            {
            };
            if (::fstatat(m_place.get(), name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) {
                if (item.existed && item.scratch.empty())
                    writeAfterAll(item); // the file that counted as its copy has another name, or is gone
                item.existed = false;
                continue;
            }
            const Descriptor there = existing(name);
            std::string error;
            if (!there.isOpen() || !S_ISREG(facts.st_mode) || facts.st_size != item.size ||
                filetools::checksum(there.get(), m_order.cancel, error) != std::optional(item.checksum))
                return false;
            item.existed = true;
        }
        return true;
    }

    /// For a file that lay there under a name that the clip cannot have.
    void writeAfterAll(Item& item)
    {
        SourceFile source = opened(item);
        if (!source.isOpen() || source.facts().st_size != item.size)
            endChanged(item.source);
        const std::string before = item.checksum;
        item.existed = false;
        write(item, source);
        bringToDisk();
        if (item.checksum != before)
            endChanged(item.source);
        verify(item);
    }

    bool rename(int number)
    {
        const int from = m_hasScratch ? scratchPlace() : m_place.get();
        for (auto& item : m_items) {
            const std::string name = nameOf(item, number);
            if (item.existed) {
                item.renamed = name;
                continue;
            }
            const int error = filetools::renameNoReplace(from, item.scratch, m_place.get(), name);
            if (error == 0) {
                item.renamed = name;
                continue;
            }
            if (error != EEXIST)
                fail(m_directory + '/' + name, error);
            putBack(from);
            return false;
        }
        return true;
    }

    /// Somebody took one of the names meanwhile.
    void putBack(int from)
    {
        for (auto& item : m_items) {
            if (!item.renamed.empty() && !item.existed)
                ::renameat(m_place.get(), item.renamed.c_str(), from, item.scratch.c_str());
            item.renamed.clear();
        }
    }

    CopiedFile offered(const Item& item) const
    {
        const Descriptor file = existing(item.renamed);
        const std::string path = m_directory + '/' + item.renamed;
        struct stat held
        {
        };
        struct stat named
        {
        };
        if (!file.isOpen() || ::fstat(file.get(), &held) != 0 || ::stat(path.c_str(), &named) != 0 ||
            held.st_dev != named.st_dev || held.st_ino != named.st_ino)
            fail("the folder " + m_directory + " was replaced while it was copied into");
        return {path, item.checksum, filetools::stampOf(held), item.existed};
    }

    const CopyOrder& m_order;
    HeldDirectory m_root;
    std::vector<Item> m_items;
    std::string m_directory;   ///< the copies', as a path
    Descriptor m_place{-1};    ///< the same, held
    std::size_t m_longest = 0; ///< name in it
    std::string m_scratch;     ///< name in it, of the unfinished file or of the directory of them
    Descriptor m_hidden{-1};   ///< that directory
    bool m_hasScratch = false;
    std::int64_t m_allBytes = 0;
    std::int64_t m_bytes = 0; ///< of the files that are written
};

} // namespace

std::string copiedName(const CopyOrder& order, std::size_t index, int number, std::size_t longest)
{
    const std::string name = text::baseName(index == 0 ? order.source : order.companions[index - 1]);
    if (index >= order.pictures)
        return filetools::numberedName(name, number, longest);
    return numberedStem(order.stem, number) + name.substr(order.stem.size());
}

CopyResult Copier::copy(const CopyOrder& order)
{
    return Run(order).run();
}

} // namespace krxservice
