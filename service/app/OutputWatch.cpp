#include "app/OutputWatch.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <system_error>

namespace krxservice {

namespace {

constexpr std::uint32_t kMask = IN_DELETE | IN_MOVED_FROM | IN_CREATE | IN_MOVED_TO | IN_ONLYDIR;
constexpr int kDepth = 2; ///< "<folder id>" and "jobs/<job id>"

} // namespace

OutputWatch::OutputWatch(std::string root, std::function<void()> taken)
    : m_root(std::move(root))
    , m_taken(std::move(taken))
    , m_events(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    , m_end(::eventfd(0, EFD_CLOEXEC))
{
}

OutputWatch::~OutputWatch()
{
    stop();
}

void OutputWatch::start()
{
    if (!m_events.isOpen() || !m_end.isOpen() || m_thread.joinable())
        return;
    watch(m_root, kDepth);
    m_thread = std::thread([this] { run(); });
}

void OutputWatch::stop()
{
    if (!m_thread.joinable())
        return;
    const std::uint64_t one = 1;
    while (::write(m_end.get(), &one, sizeof one) < 0 && errno == EINTR) {
    }
    m_thread.join();
}

/// Documents that come and go in a new directory before it is watched are left to the regular look.
void OutputWatch::watch(const std::string& directory, int depth)
{
    const int watch = ::inotify_add_watch(m_events.get(), directory.c_str(), kMask);
    if (watch < 0)
        return;
    m_places[watch] = {directory, depth};
    if (depth == 0)
        return;
    std::error_code error;
    for (std::filesystem::directory_iterator it(directory, error), end; !error && it != end;
         it.increment(error)) {
        std::error_code ignored;
        if (it->symlink_status(ignored).type() == std::filesystem::file_type::directory)
            this->watch(it->path().string(), depth - 1);
    }
}

void OutputWatch::run()
{
    for (;;) {
        pollfd waits[2] = {{m_events.get(), POLLIN, 0}, {m_end.get(), POLLIN, 0}};
        if (::poll(waits, 2, -1) < 0 && errno != EINTR)
            return;
        if (waits[1].revents != 0)
            return;
        if (takeEvents())
            m_taken();
    }
}

/// True when documents may have been taken.
bool OutputWatch::takeEvents()
{
    bool isTaken = false;
    alignas(inotify_event) char buffer[65536];
    ssize_t length = 0;
    while ((length = ::read(m_events.get(), buffer, sizeof buffer)) > 0) {
        for (ssize_t at = 0; at < length;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            const auto place = m_places.find(event->wd);
            if (event->mask & IN_Q_OVERFLOW)
                isTaken = true;
            if (place == m_places.end())
                continue;
            if (event->mask & IN_IGNORED) {
                m_places.erase(place);
                continue;
            }
            const std::string name = event->len > 0 ? event->name : "";
            const bool isDirectory = (event->mask & IN_ISDIR) != 0;
            if (isDirectory && place->second.depth > 0 && (event->mask & (IN_CREATE | IN_MOVED_TO)))
                watch(place->second.directory + '/' + name, place->second.depth - 1);
            // What is hidden is on its way to be offered.
            if (!isDirectory && (event->mask & (IN_DELETE | IN_MOVED_FROM)) && name.rfind('.', 0) != 0)
                isTaken = true;
        }
    }
    return isTaken;
}

} // namespace krxservice
