#include "base/FileTools.h"

#include "base/Text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#define XXH_STATIC_LINKING_ONLY
#include <xxhash.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <vector>

namespace krxservice::filetools {

namespace {

constexpr std::int64_t kWholeLimit = 64LL * 1024 * 1024; ///< bytes read whole for a fingerprint
constexpr std::int64_t kEnd = 4LL * 1024 * 1024;         ///< bytes read at both ends of larger files
constexpr std::int64_t kPiece = 64LL * 1024;
constexpr std::int64_t kPieces = 64;
constexpr std::size_t kBuffer = 1024 * 1024;

using State = std::unique_ptr<XXH3_state_t, decltype(&XXH3_freeState)>;

State newState()
{
    State state(XXH3_createState(), &XXH3_freeState);
    XXH3_64bits_reset(state.get());
    return state;
}

std::string hex(const State& state, const char* method)
{
    char text[32];
    std::snprintf(text, sizeof text, "%016llx",
                  static_cast<unsigned long long>(XXH3_64bits_digest(state.get())));
    return std::string(method) + ':' + text;
}

/// Feeds \a length bytes from \a offset on; an empty text or the reason.
std::string feed(const State& state, int file, std::int64_t offset, std::int64_t length,
                 const CancelToken& cancel, std::vector<char>& buffer)
{
    while (length > 0) {
        if (*cancel)
            return "cancelled";
        const auto wanted = static_cast<std::size_t>(std::min<std::int64_t>(length, kBuffer));
        const ssize_t got = ::pread(file, buffer.data(), wanted, offset);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return text::errnoText(errno);
        if (got == 0)
            return "the file became shorter while it was read";
        XXH3_64bits_update(state.get(), buffer.data(), static_cast<std::size_t>(got));
        offset += got;
        length -= got;
    }
    return {};
}

std::optional<std::string> hashFile(const std::string& path, bool whole, const CancelToken& cancel,
                                    std::string& error)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat facts
    {
    };
    if (!file.isOpen() || ::fstat(file.get(), &facts) != 0) {
        error = text::errnoText(errno);
        return std::nullopt;
    }
    const State state = newState();
    std::vector<char> buffer(kBuffer);
    const std::int64_t size = facts.st_size;
    if (whole || size <= kWholeLimit) {
        error = feed(state, file.get(), 0, size, cancel, buffer);
        return error.empty() ? std::optional(hex(state, "xxh3-64")) : std::nullopt;
    }
    XXH3_64bits_update(state.get(), &size, sizeof size);
    error = feed(state, file.get(), 0, kEnd, cancel, buffer);
    const std::int64_t step = (size - 2 * kEnd - kPiece) / kPieces;
    for (std::int64_t i = 0; i < kPieces && error.empty(); ++i)
        error = feed(state, file.get(), kEnd + i * step, kPiece, cancel, buffer);
    if (error.empty())
        error = feed(state, file.get(), size - kEnd, kEnd, cancel, buffer);
    return error.empty() ? std::optional(hex(state, "xxh3-64-sampled")) : std::nullopt;
}

} // namespace

Descriptor::~Descriptor()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

std::optional<FileStamp> stampOf(const std::string& path)
{
    struct stat facts
    {
    };
    if (::stat(path.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode))
        return std::nullopt;
    return FileStamp{facts.st_size, std::int64_t(facts.st_mtim.tv_sec) * 1000000000 + facts.st_mtim.tv_nsec};
}

std::optional<std::string> checksum(const std::string& path, const CancelToken& cancel, std::string& error)
{
    return hashFile(path, true, cancel, error);
}

std::optional<std::string> fingerprint(const std::string& path, const CancelToken& cancel, std::string& error)
{
    return hashFile(path, false, cancel, error);
}

std::string makeDirectories(const std::string& directory)
{
    for (std::size_t slash = directory.find('/', 1);; slash = directory.find('/', slash + 1)) {
        const std::string part = directory.substr(0, slash);
        if (::mkdir(part.c_str(), 0777) != 0 && errno != EEXIST)
            return part + ": " + text::errnoText(errno);
        if (slash == std::string::npos)
            break;
    }
    struct stat facts
    {
    };
    if (::stat(directory.c_str(), &facts) != 0 || !S_ISDIR(facts.st_mode))
        return directory + " is no directory";
    return {};
}

std::string syncDirectory(const std::string& directory)
{
    const Descriptor file(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!file.isOpen())
        return directory + ": " + text::errnoText(errno);
    // Some network volumes cannot do this and say so; their servers keep the order themselves.
    if (::fsync(file.get()) != 0 && errno != EINVAL)
        return directory + ": " + text::errnoText(errno);
    return {};
}

std::string writeNewFile(const std::string& path, const std::string& content)
{
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!file.isOpen())
        return path + ": " + text::errnoText(errno);
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t put = ::write(file.get(), content.data() + done, content.size() - done);
        if (put < 0 && errno == EINTR)
            continue;
        if (put < 0)
            return path + ": " + text::errnoText(errno);
        done += static_cast<std::size_t>(put);
    }
    if (::fsync(file.get()) != 0)
        return path + ": " + text::errnoText(errno);
    return {};
}

int renameNoReplace(const std::string& from, const std::string& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // A volume that cannot promise it: look first.
    if (::access(to.c_str(), F_OK) == 0)
        return EEXIST;
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

} // namespace krxservice::filetools
