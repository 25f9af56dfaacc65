#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace krxservice {

/// A log file that is begun anew when it has grown, with a few older ones beside it (PATH.1 is the newest of
/// those).
class LogFile
{
public:
    explicit LogFile(std::size_t largest, int older)
        : m_largest(largest)
        , m_older(older)
    {
    }
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /// Opens \a path for appending, makes its directory when missing. What is there already must be a file of
    /// the own user's, and is closed to others; so is a directory called "krx-service". An empty text or the
    /// reason; an empty path just closes.
    std::string open(const std::string& path);
    /// Tells which files were open to others when they were opened, and are not any more; once.
    std::string takeNote() { return std::exchange(m_note, {}); }
    /// Appends \a line, which ends in a line end. A full disk loses the line and nothing else.
    void write(std::string_view line);

private:
    bool closeToOthers(const std::string& path);
    void rotate();
    void close();

    std::size_t m_largest; ///< bytes
    int m_older;           ///< how many
    std::string m_path;
    std::string m_note;
    int m_descriptor = -1;
    std::size_t m_size = 0;
};

} // namespace krxservice
