#include "activities/Copier.h"

#include "base/FileTools.h"
#include "base/Text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

namespace krxservice {

namespace {

constexpr std::size_t kBuffer = 1024 * 1024;
constexpr int kMostNames = 10000; ///< how many taken names are tried

/// "clip.mov", 2 -> "clip (2).mov"
std::string numbered(const std::string& name, int number)
{
    if (number == 1)
        return name;
    const auto dot = name.rfind('.');
    const auto cut = dot == std::string::npos || dot == 0 ? name.size() : dot;
    return name.substr(0, cut) + " (" + std::to_string(number) + ')' + name.substr(cut);
}

/// One copy on its way.
class Run
{
public:
    explicit Run(const CopyOrder& order)
        : m_order(order)
        , m_source(::open(order.source.c_str(), O_RDONLY | O_CLOEXEC))
    {
    }

    CopyResult run()
    {
        if (!m_source.isOpen() || ::fstat(m_source.get(), &m_facts) != 0)
            return failed(m_order.source, errno);
        const std::string name = text::baseName(m_order.source);
        m_scratch =
            m_order.directory + "/.krx-" + text::newGuid().substr(0, 8) + '-' + name.substr(0, 200) + ".part";
        if (m_order.willWrite)
            m_order.willWrite(m_scratch);
        CopyResult result = write();
        if (result.ok)
            result = verify(result.checksum);
        if (result.ok)
            result = finish(name, result.checksum);
        ::unlink(m_scratch.c_str());
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
    static CopyResult done(const std::string& checksum, const std::string& path = {})
    {
        CopyResult result;
        result.ok = true;
        result.checksum = checksum;
        result.path = path;
        return result;
    }

    /// True when the source is what it was at the start.
    bool sourceStands() const
    {
        struct stat facts
        {
        };
        return ::fstat(m_source.get(), &facts) == 0 && facts.st_size == m_facts.st_size &&
               facts.st_mtim.tv_sec == m_facts.st_mtim.tv_sec &&
               facts.st_mtim.tv_nsec == m_facts.st_mtim.tv_nsec;
    }

    CopyResult write()
    {
        const filetools::Descriptor target(
            ::open(m_scratch.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
        if (!target.isOpen())
            return failed(m_order.directory, errno);
        const std::unique_ptr<XXH3_state_t, decltype(&XXH3_freeState)> state(XXH3_createState(),
                                                                             &XXH3_freeState);
        XXH3_64bits_reset(state.get());
        std::vector<char> buffer(kBuffer);
        std::int64_t copied = 0;
        for (;;) {
            if (*m_order.cancel) {
                CopyResult result = failed("cancelled");
                result.cancelled = true;
                return result;
            }
            const ssize_t got = ::read(m_source.get(), buffer.data(), buffer.size());
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                return failed(m_order.source, errno);
            if (got == 0)
                break;
            XXH3_64bits_update(state.get(), buffer.data(), static_cast<std::size_t>(got));
            if (const int error = writeAll(target.get(), buffer.data(), static_cast<std::size_t>(got)))
                return failed(m_order.directory, error);
            copied += got;
            if (m_order.progress && m_facts.st_size > 0)
                m_order.progress(static_cast<int>(copied * 90 / m_facts.st_size));
        }
        const timespec times[2] = {m_facts.st_atim, m_facts.st_mtim};
        ::futimens(target.get(), times);
        ::fchmod(target.get(), m_facts.st_mode & 0777);
        if (::fsync(target.get()) != 0)
            return failed(m_order.directory, errno);
        // So that reading it back asks the disk and not the memory that was just filled.
        ::posix_fadvise(target.get(), 0, 0, POSIX_FADV_DONTNEED);
        if (!sourceStands())
            return failed(m_order.source + " changed while it was copied");
        char text[48];
        std::snprintf(text, sizeof text, "xxh3-64:%016llx",
                      static_cast<unsigned long long>(XXH3_64bits_digest(state.get())));
        return done(text);
    }

    static int writeAll(int target, const char* data, std::size_t size)
    {
        while (size > 0) {
            const ssize_t put = ::write(target, data, size);
            if (put < 0 && errno == EINTR)
                continue;
            if (put < 0)
                return errno;
            data += put;
            size -= static_cast<std::size_t>(put);
        }
        return 0;
    }

    CopyResult verify(const std::string& expected)
    {
        std::string error;
        const auto found = filetools::checksum(m_scratch, m_order.cancel, error);
        if (!found) {
            CopyResult result = failed(m_order.directory + ": " + error);
            result.cancelled = *m_order.cancel;
            return result;
        }
        if (*found != expected)
            return failed("the copy of " + m_order.source + " in " + m_order.directory +
                          " differs from the original");
        return done(expected);
    }

    CopyResult finish(const std::string& name, const std::string& checksum)
    {
        for (int number = 1; number < kMostNames; ++number) {
            const std::string path = m_order.directory + '/' + numbered(name, number);
            const int error = filetools::renameNoReplace(m_scratch, path);
            if (error != 0 && error != EEXIST)
                return failed(path, error);
            if (error == EEXIST && !hasContent(path, checksum))
                continue;
            const auto reason = filetools::syncDirectory(m_order.directory);
            return reason.empty() ? done(checksum, path) : failed(reason);
        }
        return failed(m_order.directory + " holds too many files called " + name);
    }

    bool hasContent(const std::string& path, const std::string& checksum) const
    {
        const auto stamp = filetools::stampOf(path);
        std::string error;
        return stamp && stamp->size == m_facts.st_size &&
               filetools::checksum(path, m_order.cancel, error) == std::optional(checksum);
    }

    const CopyOrder& m_order;
    filetools::Descriptor m_source;
    struct stat m_facts
    {
    };
    std::string m_scratch;
};

} // namespace

CopyResult Copier::copy(const CopyOrder& order)
{
    return Run(order).run();
}

} // namespace krxservice
