#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

/// The log that a person follows: one line per event with time and level, on the standard error stream and in
/// a file, or in the system's journal when that is where the standard error stream leads.
///
/// May be used from every thread, and never makes one wait: lines are handed to a thread of the log's own,
/// and when nobody takes them from it, the newest are dropped and counted. No text is ever a format, and
/// whatever it holds stays on its line.
namespace krxservice::log {

enum class Level { Info, Warning, Error };

/// \a clip is the id of the clip that the line is about, if it is about one: all lines of a clip are found by
/// it.
void info(std::string_view text, std::string_view clip = {});
void warning(std::string_view text, std::string_view clip = {});
void error(std::string_view text, std::string_view clip = {});

/// While it lives, lines of this thread that name no clip are about the one it was given.
class AboutClip
{
public:
    explicit AboutClip(std::string clip);
    ~AboutClip();
    AboutClip(const AboutClip&) = delete;
    AboutClip& operator=(const AboutClip&) = delete;

    /// It is another clip after all.
    void is(const std::string& clip);

private:
    std::string m_before;
};

/// Lines below \a level are not logged. Info at first.
void setLevel(Level level);

/// Logs into the file \a path, too, unless the journal takes the lines. It is made when missing, 0600, and
/// begun anew at 5 MB, with three older ones beside it. An empty path ends that. An empty text or the reason.
std::string setFile(const std::string& path);

/// How many lines were dropped since the start.
std::uint64_t dropped();

/// Waits until all lines so far are written, but no longer than \a patience.
void flush(std::chrono::milliseconds patience);

} // namespace krxservice::log
