#pragma once

#include "base/CancelToken.h"
#include "base/FileStamp.h"

#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>

/// File operations that say what went wrong and whose results survive a power cut.
namespace krxservice::filetools {

/// An open file descriptor, closed at the end of its scope.
class Descriptor
{
public:
    explicit Descriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    ~Descriptor();
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept
        : m_descriptor(other.release())
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept;

    bool isOpen() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }
    /// Leaves the closing to the caller.
    int release();

private:
    int m_descriptor;
};

/// Size and time of a regular file; nothing for everything else.
std::optional<FileStamp> stampOf(const std::string& path);
/// The same of a file that is no link itself.
std::optional<FileStamp> stampOfUnlinked(const std::string& path);
/// Times that the stamp cannot hold (before 1677, after 2262) become one within a second of its limit, and
/// different ones stay different.
FileStamp stampOf(const struct stat& facts);

/// With what the checksum of a whole file begins.
constexpr char kWholeMethod[] = "xxh3-64:";

/// The checksum of a whole file, "xxh3-64:" and 16 hexadecimal digits; nothing with \a error set when it
/// cannot be read or \a cancel was set. Never waits for the other end of a pipe.
std::optional<std::string> checksum(const std::string& path, const CancelToken& cancel, std::string& error);
std::optional<std::string> checksum(int file, const CancelToken& cancel, std::string& error);

/// The same of \a bytes.
std::string checksumOf(std::string_view bytes);

/// Files above this many bytes are not read whole to tell their contents apart.
constexpr std::int64_t kLargestReadWhole = 4LL * 1024 * 1024 * 1024;

/// What tells the contents of a file apart: the checksum of all of it up to \a largestReadWhole bytes. Beyond
/// ("xxh3-64-sampled:") it is made of size, modification time, inode, both ends and 64 pieces between,
/// because reading a long take twice would hold up the clip for many minutes; so a change of time or inode
/// makes such a file a new one, whether its content changed or not.
std::optional<std::string> fingerprint(const std::string& path, const CancelToken& cancel, std::string& error,
                                       std::int64_t largestReadWhole = kLargestReadWhole);
std::optional<std::string> fingerprint(int file, const CancelToken& cancel, std::string& error,
                                       std::int64_t largestReadWhole = kLargestReadWhole);

/// The longest name that the file system of the open \a directory takes, in bytes.
std::size_t longestName(int directory);

/// \a name as it is offered when the name itself is taken: 2 makes "clip (2).mov" of "clip.mov". When that is
/// longer than \a longest bytes, the stem is cut between two characters, then the extension.
std::string numberedName(const std::string& name, int number, std::size_t longest);

/// The first characters of \a text that fit into \a bytes.
std::string_view cutText(std::string_view text, std::size_t bytes);

/// Makes \a directory with its parents; an empty text or the reason.
std::string makeDirectories(const std::string& directory);

/// Writes the names in \a directory to the disk; an empty text or the reason.
std::string syncDirectory(const std::string& directory);

/// Writes the content of a file to the disk; an empty text or the reason.
std::string syncFile(const std::string& path);

/// Writes \a content to a file that must not exist yet, which only its owner may read, and to the disk; an
/// empty text or the reason, and then what was written is removed.
std::string writeNewFile(const std::string& path, const std::string& content);

/// Writes all of \a content to an open file. \return 0 or an errno value.
int writeAll(int file, std::string_view content);

/// Gives a file a new name unless that name is taken. \return 0 or an errno value (EEXIST when taken).
int renameNoReplace(const std::string& from, const std::string& to);
/// The same for two names in the open \a directory, or in two of one volume.
int renameNoReplace(int directory, const std::string& from, const std::string& to);
int renameNoReplace(int fromDirectory, const std::string& from, int toDirectory, const std::string& to);

/// Removes what an action left unfinished: a file, or a hidden directory of files. What is not there is no
/// fault.
void removeScratch(const std::string& path);

} // namespace krxservice::filetools
