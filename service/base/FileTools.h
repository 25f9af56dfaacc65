#pragma once

#include "base/CancelToken.h"
#include "base/FileStamp.h"

#include <functional>
#include <optional>
#include <string>

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

    bool isOpen() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

/// Size and time of a regular file; nothing for everything else.
std::optional<FileStamp> stampOf(const std::string& path);

/// The checksum of a whole file, "xxh3-64:" and 16 hexadecimal digits; nothing with \a error set when it
/// cannot be read or \a cancel was set.
std::optional<std::string> checksum(const std::string& path, const CancelToken& cancel, std::string& error);

/// The checksum that tells the contents of a file apart: of the whole file up to 64 MB, beyond that of its
/// size, both ends and 64 pieces between ("xxh3-64-sampled:"), because reading a long take twice would hold
/// up the clip for minutes.
std::optional<std::string> fingerprint(const std::string& path, const CancelToken& cancel,
                                       std::string& error);

/// Makes \a directory with its parents; an empty text or the reason.
std::string makeDirectories(const std::string& directory);

/// Writes the names in \a directory to the disk; an empty text or the reason.
std::string syncDirectory(const std::string& directory);

/// Writes \a content to a file that must not exist yet and to the disk; an empty text or the reason.
std::string writeNewFile(const std::string& path, const std::string& content);

/// Gives a file a new name unless that name is taken. \return 0 or an errno value (EEXIST when taken).
int renameNoReplace(const std::string& from, const std::string& to);

} // namespace krxservice::filetools
