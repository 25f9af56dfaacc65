#include "base/Log.h"

#include "base/LogFile.h"
#include "base/Text.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace krxservice::log {

namespace {

constexpr std::size_t kMostLines = 4096;      ///< that wait to be written
constexpr std::size_t kLongestLine = 8192;    ///< bytes
constexpr std::size_t kLargestFile = 5000000; ///< bytes
constexpr int kOlderFiles = 3;
constexpr int kPatience = 500; ///< milliseconds for a reader of the stream that is slow
constexpr char kJournal[] = "/run/systemd/journal/socket";

struct Line
{
    Level level = Level::Info;
    std::string time;
    std::string text;
    std::string clip;
};

/// The journal's socket when the standard error stream leads there, otherwise -1.
int openJournal()
{
    const char* stream = std::getenv("JOURNAL_STREAM");
    struct stat facts
    {
    };
    if (!stream || ::fstat(STDERR_FILENO, &facts) != 0 ||
        std::to_string(facts.st_dev) + ':' + std::to_string(facts.st_ino) != stream)
        return -1;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    static_assert(sizeof kJournal <= sizeof address.sun_path);
    std::memcpy(address.sun_path, kJournal, sizeof kJournal);
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket >= 0 && ::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
        return socket;
    ::close(socket);
    return -1;
}

/// Hands lines from everybody's threads to one of its own. Lives as long as the process does.
class Writer
{
public:
    static Writer& instance()
    {
        static Writer& writer = *new Writer;
        return writer;
    }

    void add(Line line)
    {
        if (line.level < m_level)
            return;
        {
            const std::lock_guard lock(m_mutex);
            if (m_lines.size() >= kMostLines) {
                ++m_dropped;
                return;
            }
            m_lines.push_back(std::move(line));
        }
        m_something.notify_one();
    }

    void setLevel(Level level) { m_level = level; }
    std::uint64_t dropped() const { return m_dropped; }

    std::string setFile(const std::string& path)
    {
        std::string reason;
        std::string note;
        {
            const std::lock_guard lock(m_fileMutex);
            reason = m_journal < 0 ? m_file.open(path) : std::string();
            note = m_file.takeNote();
        }
        if (!note.empty())
            add({Level::Warning, text::isoTime(text::now()), note, {}});
        return reason;
    }

    void flush(std::chrono::milliseconds patience)
    {
        std::unique_lock lock(m_mutex);
        m_nothing.wait_for(lock, patience, [this] { return m_lines.empty() && !m_writing; });
    }

private:
    Writer()
        : m_journal(openJournal())
    {
        // Signals are for the thread that waits for them.
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        std::thread([this] { run(); }).detach();
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    void run()
    {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_something.wait(lock, [this] { return !m_lines.empty(); });
            const Line line = std::move(m_lines.front());
            m_lines.pop_front();
            m_writing = true;
            const std::uint64_t lost = m_stuck ? 0 : m_dropped - m_told;
            m_told += lost;
            lock.unlock();
            if (lost > 0)
                write({Level::Warning,
                       line.time,
                       std::to_string(lost) + " lines of the log were dropped because nobody took them",
                       {}});
            write(line);
            lock.lock();
            m_writing = false;
            if (m_lines.empty())
                m_nothing.notify_all();
        }
    }

    void write(const Line& line)
    {
        if (m_journal >= 0)
            return writeToJournal(line);
        constexpr std::array<const char*, 3> names = {"info ", "warn ", "error"};
        const std::string whole = line.time + ' ' + names[static_cast<std::size_t>(line.level)] + ' ' +
                                  line.text + (line.clip.empty() ? "" : " [clip " + line.clip + ']') + '\n';
        {
            const std::lock_guard lock(m_fileMutex);
            m_file.write(whole);
        }
        writeToStream(whole);
    }

    /// Waits a moment for a reader that is slow. One that takes nothing at all is not waited for again until
    /// it does, or the file and everything behind it would stand still as well.
    void writeToStream(std::string_view rest)
    {
        int patience = m_stuck ? 0 : kPatience;
        while (!rest.empty()) {
            pollfd stream{STDERR_FILENO, POLLOUT, 0};
            const int ready = ::poll(&stream, 1, patience);
            m_stuck = ready == 0;
            if (m_stuck) {
                ++m_dropped;
                return;
            }
            // A pipe that is ready takes this much without making its writer wait.
            const ssize_t put =
                ::write(STDERR_FILENO, rest.data(), std::min<std::size_t>(rest.size(), PIPE_BUF));
            if (put < 0 && (errno == EAGAIN || errno == EINTR))
                continue;
            if (put <= 0)
                return; // nobody is there any more
            patience = kPatience;
            rest.remove_prefix(static_cast<std::size_t>(put));
        }
    }

    void writeToJournal(const Line& line)
    {
        constexpr std::array<const char*, 3> priorities = {"6", "4", "3"};
        std::string message = std::string("SYSLOG_IDENTIFIER=krx-service\nPRIORITY=") +
                              priorities[static_cast<std::size_t>(line.level)] + "\nMESSAGE=" + line.text +
                              '\n';
        if (!line.clip.empty())
            message += "KRX_CLIP=" + line.clip + '\n';
        if (::send(m_journal, message.data(), message.size(), MSG_NOSIGNAL) < 0)
            ++m_dropped;
    }

    const int m_journal;
    std::atomic<Level> m_level{Level::Info};
    std::atomic<std::uint64_t> m_dropped{0};
    std::uint64_t m_told = 0; ///< how many of the dropped lines have been told of
    std::mutex m_mutex;
    std::condition_variable m_something;
    std::condition_variable m_nothing;
    std::deque<Line> m_lines;
    bool m_writing = false;
    bool m_stuck = false; ///< the stream takes nothing at present
    std::mutex m_fileMutex;
    LogFile m_file{kLargestFile, kOlderFiles};
};

/// What lines of a thread are about unless they say it themselves.
thread_local std::string presentClip;

void add(Level level, std::string_view text, std::string_view clip)
{
    if (clip.empty())
        clip = presentClip;
    Writer::instance().add({level, text::isoTime(text::now()),
                            text::xmlClean(text::oneLine(text.substr(0, kLongestLine))),
                            text::xmlClean(text::oneLine(clip))});
}

} // namespace

AboutClip::AboutClip(std::string clip)
    : m_before(std::exchange(presentClip, std::move(clip)))
{
}

AboutClip::~AboutClip()
{
    presentClip = std::move(m_before);
}

void AboutClip::is(const std::string& clip)
{
    presentClip = clip;
}

void info(std::string_view text, std::string_view clip)
{
    add(Level::Info, text, clip);
}

void warning(std::string_view text, std::string_view clip)
{
    add(Level::Warning, text, clip);
}

void error(std::string_view text, std::string_view clip)
{
    add(Level::Error, text, clip);
}

void setLevel(Level level)
{
    Writer::instance().setLevel(level);
}

std::string setFile(const std::string& path)
{
    return Writer::instance().setFile(path);
}

std::uint64_t dropped()
{
    return Writer::instance().dropped();
}

void flush(std::chrono::milliseconds patience)
{
    Writer::instance().flush(patience);
}

} // namespace krxservice::log
