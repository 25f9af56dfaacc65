#include "watch/DirectoryEvents.h"

#include <sys/inotify.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace krxservice {

namespace {

constexpr std::uint32_t kMask =
    IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

/// File systems whose other machines or servers change files without an event here.
constexpr std::array<std::uint32_t, 8> kRemoteSystems = {
    0x6969,     // NFS
    0xFF534D42, // CIFS
    0xFE534D42, // SMB2
    0x517B,     // SMB
    0x65735546, // FUSE
    0x01021997, // 9p
    0x5346414F, // AFS
    0x00C36400, // Ceph
};

bool isRemote(const std::string& directory)
{
    struct statfs facts
    {
    };
    if (::statfs(directory.c_str(), &facts) != 0)
        return true;
    const auto type = static_cast<std::uint32_t>(facts.f_type);
    return std::find(kRemoteSystems.begin(), kRemoteSystems.end(), type) != kRemoteSystems.end();
}

} // namespace

DirectoryEvents::DirectoryEvents()
    : m_descriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
}

DirectoryEvents::~DirectoryEvents()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

DirectoryEvents::Arrival DirectoryEvents::add(const std::string& owner, const std::string& directory)
{
    if (m_descriptor < 0)
        return Arrival::Refused;
    const int watch = ::inotify_add_watch(m_descriptor, directory.c_str(), kMask);
    if (watch < 0)
        return errno == ENOSPC || errno == ENOMEM ? Arrival::Refused : Arrival::Silent;
    auto& listeners = m_watches[watch];
    const bool isNew = listeners.empty();
    if (listeners.insert({owner, directory}).second)
        m_owned[owner].insert(watch);
    // What a directory lies on does not change while it is watched.
    if (isNew && isRemote(directory))
        m_silent.insert(watch);
    return m_silent.count(watch) > 0 ? Arrival::Silent : Arrival::Told;
}

void DirectoryEvents::remove(const std::string& owner)
{
    const auto owned = m_owned.find(owner);
    if (owned == m_owned.end())
        return;
    for (const int watch : owned->second) {
        const auto found = m_watches.find(watch);
        if (found == m_watches.end())
            continue;
        auto& listeners = found->second;
        const auto first = listeners.lower_bound({owner, {}});
        auto last = first;
        while (last != listeners.end() && last->first == owner)
            ++last;
        listeners.erase(first, last);
        if (listeners.empty()) {
            ::inotify_rm_watch(m_descriptor, watch);
            m_silent.erase(watch);
            m_watches.erase(found);
        }
    }
    m_owned.erase(owned);
}

std::vector<DirectoryEvents::Event> DirectoryEvents::take()
{
    std::vector<Event> events;
    alignas(inotify_event) char buffer[65536];
    ssize_t length = 0;
    while ((length = ::read(m_descriptor, buffer, sizeof buffer)) > 0) {
        for (ssize_t at = 0; at < length;) {
            const auto* raw = reinterpret_cast<const inotify_event*>(buffer + at);
            at += static_cast<ssize_t>(sizeof(inotify_event) + raw->len);
            if (raw->mask & IN_Q_OVERFLOW) {
                Event lost;
                lost.overflow = true;
                events.push_back(lost);
                continue;
            }
            const auto found = m_watches.find(raw->wd);
            if (found == m_watches.end())
                continue;
            for (const auto& [owner, directory] : found->second) {
                events.push_back(
                    {owner, directory, raw->len > 0 ? raw->name : "", (raw->mask & IN_ISDIR) != 0, false});
            }
            if (raw->mask & IN_IGNORED) {
                for (const auto& [owner, directory] : found->second)
                    m_owned[owner].erase(raw->wd);
                m_silent.erase(raw->wd);
                m_watches.erase(found);
            }
        }
    }
    return events;
}

} // namespace krxservice
