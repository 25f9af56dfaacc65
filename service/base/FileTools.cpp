#include "base/FileTools.h"

#include "base/Text.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#define XXH_STATIC_LINKING_ONLY
#include <xxhash.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <limits>
#include <memory>
#include <vector>

namespace krxservice::filetools {

namespace {

constexpr std::int64_t kEnd = 4LL * 1024 * 1024; ///< bytes read at both ends of files not read whole
constexpr std::int64_t kPiece = 64LL * 1024;
constexpr std::int64_t kPieces = 64;
constexpr std::size_t kBuffer = std::size_t{1024} * 1024;

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
        const auto wanted = static_cast<std::size_t>(
            std::min<std::int64_t>(length, static_cast<std::int64_t>(buffer.size())));
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

/// Both ends and pieces between; an empty text or the reason.
std::string feedSamples(const State& state, int file, const struct stat& facts, const CancelToken& cancel,
                        std::vector<char>& buffer)
{
    const FileStamp stamp = stampOf(facts);
    const std::int64_t identity[] = {stamp.size, stamp.modified, static_cast<std::int64_t>(facts.st_ino)};
    XXH3_64bits_update(state.get(), identity, sizeof identity);
    const std::int64_t end = std::min(kEnd, stamp.size);
    std::string error = feed(state, file, 0, end, cancel, buffer);
    const std::int64_t step = std::max<std::int64_t>(0, (stamp.size - 2 * end - kPiece) / kPieces);
    for (std::int64_t i = 0; i < kPieces && step > 0 && error.empty(); ++i)
        error = feed(state, file, end + i * step, kPiece, cancel, buffer);
    return error.empty() ? feed(state, file, stamp.size - end, end, cancel, buffer) : error;
}

std::optional<std::string> hashFile(int file, std::int64_t largestReadWhole, const CancelToken& cancel,
                                    std::string& error)
{
    struct stat facts
    {
    };
    if (::fstat(file, &facts) != 0) {
        error = text::errnoText(errno);
        return std::nullopt;
    }
    const State state = newState();
    std::vector<char> buffer(static_cast<std::size_t>(std::clamp<std::int64_t>(facts.st_size, 1, kBuffer)));
    const bool whole = facts.st_size <= largestReadWhole;
    error = whole ? feed(state, file, 0, facts.st_size, cancel, buffer)
                  : feedSamples(state, file, facts, cancel, buffer);
    return error.empty() ? std::optional(hex(state, whole ? "xxh3-64" : "xxh3-64-sampled")) : std::nullopt;
}

/// Opens a regular file; when it cannot be, \a error says why.
Descriptor openRegular(const std::string& path, std::string& error)
{
    error.clear();
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat facts
    {
    };
    if (!file.isOpen() || ::fstat(file.get(), &facts) != 0)
        error = text::errnoText(errno);
    else if (!S_ISREG(facts.st_mode))
        error = "it is no regular file";
    return error.empty() ? std::move(file) : Descriptor(-1);
}

std::int64_t nanoseconds(const timespec& time)
{
    constexpr std::int64_t kSecond = 1000000000;
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kLast = kMost / kSecond - 1;
    const std::int64_t seconds = time.tv_sec;
    if (seconds >= -kLast && seconds <= kLast)
        return seconds * kSecond + time.tv_nsec;
    const auto mixed =
        static_cast<std::uint64_t>(seconds) * 1000000007ULL + static_cast<std::uint64_t>(time.tv_nsec);
    const auto within = static_cast<std::int64_t>(mixed % static_cast<std::uint64_t>(kSecond));
    return seconds > 0 ? kMost - within : within - kMost;
}

bool isInsideCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

} // namespace

Descriptor::~Descriptor()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

int Descriptor::release()
{
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    return descriptor;
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    if (this != &other) {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        m_descriptor = other.release();
    }
    return *this;
}

FileStamp stampOf(const struct stat& facts)
{
    return {facts.st_size, nanoseconds(facts.st_mtim), nanoseconds(facts.st_ctim),
            static_cast<std::int64_t>(facts.st_ino)};
}

std::optional<FileStamp> stampOf(const std::string& path)
{
    struct stat facts
    {
    };
    if (::stat(path.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode))
        return std::nullopt;
    return stampOf(facts);
}

std::optional<FileStamp> stampOfUnlinked(const std::string& path)
{
    struct stat facts
    {
    };
    if (::lstat(path.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode))
        return std::nullopt;
    return stampOf(facts);
}

std::optional<std::string> checksum(int file, const CancelToken& cancel, std::string& error)
{
    return hashFile(file, std::numeric_limits<std::int64_t>::max(), cancel, error);
}

std::optional<std::string> checksum(const std::string& path, const CancelToken& cancel, std::string& error)
{
    const Descriptor file = openRegular(path, error);
    return file.isOpen() ? checksum(file.get(), cancel, error) : std::nullopt;
}

std::string checksumOf(std::string_view bytes)
{
    const State state = newState();
    XXH3_64bits_update(state.get(), bytes.data(), bytes.size());
    return hex(state, "xxh3-64");
}

std::optional<std::string> fingerprint(int file, const CancelToken& cancel, std::string& error,
                                       std::int64_t largestReadWhole)
{
    return hashFile(file, largestReadWhole, cancel, error);
}

std::optional<std::string> fingerprint(const std::string& path, const CancelToken& cancel, std::string& error,
                                       std::int64_t largestReadWhole)
{
    const Descriptor file = openRegular(path, error);
    return file.isOpen() ? fingerprint(file.get(), cancel, error, largestReadWhole) : std::nullopt;
}

std::size_t longestName(int directory)
{
    const long longest = ::fpathconf(directory, _PC_NAME_MAX);
    return longest > 0 ? static_cast<std::size_t>(longest) : NAME_MAX;
}

std::string_view cutText(std::string_view text, std::size_t bytes)
{
    if (text.size() <= bytes)
        return text;
    while (bytes > 0 && isInsideCharacter(text[bytes]))
        --bytes;
    return text.substr(0, bytes);
}

std::string numberedName(const std::string& name, int number, std::size_t longest)
{
    const std::string suffix = number > 1 ? " (" + std::to_string(number) + ')' : std::string();
    const auto dot = name.rfind('.');
    const auto cut = dot == std::string::npos || dot == 0 ? name.size() : dot;
    if (name.size() + suffix.size() <= longest)
        return name.substr(0, cut) + suffix + name.substr(cut);
    // Something of the stem is left, even when what follows the dot is nearly all of the name.
    const std::string_view all = name;
    const std::size_t room = longest > suffix.size() ? longest - suffix.size() : 0;
    const std::string_view extension = cutText(all.substr(cut), room / 2);
    return std::string(cutText(all.substr(0, cut), room - extension.size())) + suffix +
           std::string(extension);
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

int writeAll(int file, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t put = ::write(file, content.data(), content.size());
        if (put < 0 && errno == EINTR)
            continue;
        if (put < 0)
            return errno;
        content.remove_prefix(static_cast<std::size_t>(put));
    }
    return 0;
}

std::string syncFile(const std::string& path)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return !file.isOpen() || ::fsync(file.get()) != 0 ? path + ": " + text::errnoText(errno) : std::string();
}

std::string writeNewFile(const std::string& path, const std::string& content)
{
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file.isOpen())
        return path + ": " + text::errnoText(errno);
    int error = writeAll(file.get(), content);
    if (error == 0 && ::fsync(file.get()) != 0)
        error = errno;
    if (error == 0)
        return {};
    ::unlink(path.c_str());
    return path + ": " + text::errnoText(error);
}

int renameNoReplace(int fromDirectory, const std::string& from, int toDirectory, const std::string& to)
{
    if (::renameat2(fromDirectory, from.c_str(), toDirectory, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // A volume that cannot promise it: look first.
    if (::faccessat(toDirectory, to.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0)
        return EEXIST;
    return ::renameat(fromDirectory, from.c_str(), toDirectory, to.c_str()) == 0 ? 0 : errno;
}

int renameNoReplace(int directory, const std::string& from, const std::string& to)
{
    return renameNoReplace(directory, from, directory, to);
}

void removeScratch(const std::string& path)
{
    constexpr std::string_view kStart = ".krx-";
    if (path.empty() || ::unlink(path.c_str()) == 0 || (errno != EISDIR && errno != EPERM) ||
        text::baseName(path).compare(0, kStart.size(), kStart) != 0)
        return;
    // Some file systems say EPERM of a directory.
    const Descriptor directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    DIR* const names = directory.isOpen() ? ::fdopendir(::dup(directory.get())) : nullptr;
    if (!names)
        return;
    while (const dirent* entry = ::readdir(names))
        ::unlinkat(directory.get(), entry->d_name, 0);
    ::closedir(names);
    ::rmdir(path.c_str());
}

int renameNoReplace(const std::string& from, const std::string& to)
{
    return renameNoReplace(AT_FDCWD, from, to);
}

} // namespace krxservice::filetools
