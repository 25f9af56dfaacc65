#include "watch/Lane.h"

#include "base/Text.h"
#include "watch/FileWalk.h"
#include "watch/WatchedFolder.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <limits>
#include <map>
#include <mutex>
#include <thread>

namespace krxservice {

namespace {

constexpr std::int64_t kSecond = 1000000000;
constexpr std::int64_t kMillisecond = 1000000;
constexpr std::int64_t kQuickestTick = 10 * kMillisecond;
constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kShareOfPolling = 20; ///< the pause before a poll is this many times what it took
constexpr std::int64_t kLongestPoll = 60 * kSecond;
constexpr std::int64_t kShareOfRescans = 200; ///< the same for reading all folders whose events arrive
constexpr std::int64_t kLongestRescan = 60 * kSecond;
constexpr std::chrono::milliseconds kPatience{200}; ///< at the end, with a lane that answers

std::int64_t steadyNow()
{
    using namespace std::chrono;
    return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

/// The thread and what it works on. It keeps itself alive, so that a thread that is stuck in the system does
/// no harm when it comes back after the end.
class Lane::Core : public std::enable_shared_from_this<Lane::Core>
{
public:
    Core(const Times& times, Listener listener)
        : m_settle(static_cast<std::int64_t>(times.settleSeconds * 1e9))
        , m_poll(static_cast<std::int64_t>(times.pollSeconds * 1e9))
        , m_slowestTick(std::clamp(m_settle / 4, 20 * kMillisecond, 250 * kMillisecond))
        , m_listener(std::move(listener))
        , m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {
    }
    ~Core()
    {
        if (m_wake >= 0)
            ::close(m_wake);
    }
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    void begin(const EventSource& events)
    {
        m_events = events ? events() : std::make_unique<DirectoryEvents>();
        std::thread([self = shared_from_this()] { self->run(); }).detach();
    }
    void sayEnd()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_ended = true;
        }
        wake();
    }
    void waitForTheEnd()
    {
        std::unique_lock lock(m_mutex);
        m_over.wait_for(lock, kPatience, [this] { return m_isOver; });
    }
    void post(std::function<void()> order)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_orders.push_back(std::move(order));
        }
        wake();
    }
    void askForRescan(bool isUrgent)
    {
        {
            const std::lock_guard lock(m_mutex);
            if (!isUrgent && steadyNow() < m_notBefore)
                return;
            m_rescanWanted = true;
        }
        wake();
    }
    std::string stuckAt(std::int64_t longest)
    {
        const std::lock_guard lock(m_mutex);
        const std::int64_t since = m_busySince;
        if (since == 0 || steadyNow() - since <= longest)
            return {};
        m_tellsAll = true; // so that it is heard of when it answers again
        return m_lookingAt;
    }

    // What follows runs on the lane's thread.

    void watch(const Setup& setup)
    {
        forget(setup.folder.id);
        Stories::Tell tell;
        if (setup.tell) {
            tell = [this, inner = setup.tell](const std::string& path, const ClipNews& news) {
                // Held for the same reason as below.
                const std::lock_guard lock(m_mutex);
                if (!m_ended)
                    inner(path, news);
            };
        }
        Stories::Withdraw withdraw;
        if (setup.withdraw) {
            withdraw = [this, inner = setup.withdraw](const std::string& path) {
                const std::lock_guard lock(m_mutex);
                if (!m_ended)
                    inner(path);
            };
        }
        auto folder = std::make_unique<WatchedFolder>(setup.folder, setup.known, setup.skipped, m_settle,
                                                      setup.underWay, setup.settings, tell, withdraw);
        m_turns[setup.folder.id] = setup.turn;
        folder->goesOn = [this] {
            m_busySince = steadyNow();
            return !isEnded();
        };
        WatchedFolder& added = *(m_folders[setup.folder.id] = std::move(folder));
        read(added);
    }
    void forget(const std::string& id)
    {
        const auto found = m_folders.find(id);
        if (found == m_folders.end())
            return;
        m_events->remove(id);
        m_told.erase(id);
        m_turns.erase(id);
        m_folders.erase(found);
    }
    void reprocess(const std::string& id)
    {
        const auto found = m_folders.find(id);
        if (found == m_folders.end())
            return;
        found->second->forgetAll();
        read(*found->second);
    }
    void fileDone(const std::string& id, const std::string& path, const std::optional<FileStamp>& stamp)
    {
        const auto found = m_folders.find(id);
        if (found == m_folders.end())
            return;
        const Look look(*this, id);
        found->second->done(path, stamp, steadyNow());
        m_nextTick = 0;
    }

private:
    /// The time during which a folder is looked at.
    class Look
    {
    public:
        Look(Core& core, const std::string& folderId)
            : m_core(core)
        {
            const std::lock_guard lock(m_core.m_mutex);
            m_core.m_lookingAt = folderId;
            m_core.m_busySince = steadyNow();
        }
        ~Look() { m_core.m_busySince = 0; }
        Look(const Look&) = delete;
        Look& operator=(const Look&) = delete;

    private:
        Core& m_core;
    };

    void wake() const
    {
        const std::uint64_t one = 1;
        // Full means that it is awake already.
        [[maybe_unused]] const auto put = ::write(m_wake, &one, sizeof one);
    }
    bool isEnded() const { return m_ended; }

    void run()
    {
        while (!isEnded()) {
            takeOrders();
            if (!isEnded())
                readEvents();
            pollFolders();
            tick();
            if (!isEnded())
                rest();
        }
        m_events.reset();
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
        m_over.notify_all();
    }

    void takeOrders()
    {
        std::deque<std::function<void()>> orders;
        bool rescan = false;
        {
            const std::lock_guard lock(m_mutex);
            orders.swap(m_orders);
            std::swap(rescan, m_rescanWanted);
        }
        for (const auto& order : orders) {
            if (!isEnded())
                order();
        }
        if (!rescan)
            return;
        const std::int64_t begun = steadyNow();
        readAll();
        const std::int64_t now = steadyNow();
        const std::lock_guard lock(m_mutex);
        m_notBefore = now + std::min((now - begun) * kShareOfRescans, kLongestRescan);
    }

    void readAll()
    {
        for (const auto& [id, folder] : m_folders) {
            if (!isEnded())
                read(*folder);
        }
    }

    void pollFolders()
    {
        m_nextPoll = kNever;
        for (const auto& [id, folder] : m_folders) {
            if (isEnded() || (!folder->polled && !folder->unavailable))
                continue;
            if (steadyNow() >= folder->nextPoll)
                read(*folder);
            m_nextPoll = std::min(m_nextPoll, folder->nextPoll);
        }
    }

    /// Reads a folder from top to bottom.
    void read(WatchedFolder& folder)
    {
        const Look look(*this, folder.id());
        const std::int64_t begun = steadyNow();
        bool allTold = true;
        bool exhausted = false;
        filewalk::Visitor visitor;
        // The watch is set before the directory is read, so that nothing falls between the two.
        visitor.directory = [&](const std::string& directory) {
            const auto arrival = m_events->add(folder.id(), directory);
            allTold = allTold && arrival == DirectoryEvents::Arrival::Told;
            exhausted = exhausted || arrival == DirectoryEvents::Arrival::Refused;
        };
        visitor.file = [&](const std::string& file) { folder.saw(file, false, steadyNow()); };
        visitor.leftOut = [&](const std::string& path, const std::string& reason) {
            folder.leaveOut(path, reason);
        };
        visitor.goesOn = [this] {
            m_busySince = steadyNow();
            return !isEnded();
        };
        folder.unavailable ? folder.beginReadingAgain() : folder.beginReading();
        const int error = filewalk::walk(folder.root(), folder.skipped(), visitor);
        if (isEnded())
            return;
        Report report;
        report.isWhole = true;
        report.isAvailable = error == 0;
        folder.unavailable = error != 0;
        folder.reason = error != 0 ? text::errnoText(error) : std::string();
        if (error == 0) {
            report.gone = folder.endReading();
            folder.polled = !allTold;
            folder.exhausted = exhausted;
        }
        const std::int64_t now = steadyNow();
        folder.nextPoll = now + std::clamp((now - begun) * kShareOfPolling, m_poll, kLongestPoll);
        m_nextTick = 0;
        tell(folder, std::move(report));
    }

    void readEvents()
    {
        if (m_events->descriptor() < 0)
            return;
        std::set<std::string> wanted;
        for (const auto& event : m_events->take()) {
            if (event.overflow) {
                readAll();
                return;
            }
            const auto found = m_folders.find(event.owner);
            if (found == m_folders.end() || isEnded())
                continue;
            const bool isFile = !event.name.empty() && !event.isDirectory;
            if (!isFile) {
                wanted.insert(event.owner);
            } else if (filewalk::isCandidateName(event.name)) {
                const Look look(*this, event.owner);
                found->second->saw(event.directory + '/' + event.name, true, steadyNow());
                m_nextTick = 0;
            }
        }
        for (const auto& id : wanted) {
            const auto found = m_folders.find(id);
            if (found != m_folders.end() && !isEnded())
                read(*found->second);
        }
    }

    /// Reads the files that are about to be finished: in step while they settle, and on the spot when the
    /// first of them is due.
    void tick()
    {
        std::int64_t now = steadyNow();
        if (now < m_nextTick)
            return;
        std::int64_t due = kNever;
        openwriters::Look writers;
        for (const auto& [id, folder] : m_folders) {
            if (!folder->hasCandidates() || isEnded())
                continue;
            Report report;
            {
                const Look look(*this, id);
                report.finished = folder->takeFinished(now, writers);
            }
            tell(*folder, std::move(report));
            due = std::min(due, folder->nextDue());
        }
        now = steadyNow();
        m_nextTick = due == kNever ? kNever : now + std::clamp(due - now, kQuickestTick, m_slowestTick);
    }

    void tell(const WatchedFolder& folder, Report report)
    {
        report.turn = m_turns[folder.id()];
        report.troubles = folder.troubles();
        if (folder.unavailable)
            report.isAvailable = false;
        // Held so that nothing is told any more once the end was said.
        const std::lock_guard lock(m_mutex);
        if (m_tellsAll)
            m_told.clear();
        m_tellsAll = false;
        const auto told = m_told.find(folder.id());
        const bool isNew = told == m_told.end() ? report.isWhole : told->second != report.troubles;
        if (!isNew && report.finished.empty() && report.gone.empty())
            return;
        if (report.isWhole || told != m_told.end())
            m_told[folder.id()] = report.troubles;
        if (!m_ended)
            m_listener(folder.id(), report);
    }

    void rest()
    {
        const std::int64_t next = std::min(m_nextTick, m_nextPoll);
        const std::int64_t now = steadyNow();
        const int milliseconds =
            next == kNever
                ? -1
                : static_cast<int>(std::clamp<std::int64_t>((next - now) / kMillisecond + 1, 0, 60000));
        pollfd sources[2] = {{m_wake, POLLIN, 0}, {m_events->descriptor(), POLLIN, 0}};
        ::poll(sources, 2, milliseconds);
        std::uint64_t count = 0;
        [[maybe_unused]] const auto got = ::read(m_wake, &count, sizeof count);
    }

    const std::int64_t m_settle;
    const std::int64_t m_poll;
    const std::int64_t m_slowestTick;
    const Listener m_listener;
    const int m_wake;

    mutable std::mutex m_mutex;
    std::condition_variable m_over;
    std::deque<std::function<void()>> m_orders;
    bool m_rescanWanted = false;
    bool m_tellsAll = false;
    std::int64_t m_notBefore = 0; ///< the next rescan that is not urgent
    bool m_isOver = false;
    std::string m_lookingAt;
    std::atomic<bool> m_ended{false};
    std::atomic<std::int64_t> m_busySince{0}; ///< of the last step of a look; 0 between two looks

    std::unique_ptr<DirectoryEvents> m_events;
    std::map<std::string, std::unique_ptr<WatchedFolder>> m_folders;
    std::map<std::string, std::uint64_t> m_turns;
    std::map<std::string, std::set<std::string>> m_told; ///< troubles, as last told
    std::int64_t m_nextTick = kNever;
    std::int64_t m_nextPoll = kNever;
};

Lane::Lane(const Times& times, Listener listener, const EventSource& events)
    : m_core(std::make_shared<Core>(times, std::move(listener)))
{
    m_core->begin(events);
}

Lane::~Lane()
{
    m_core->sayEnd();
    m_core->waitForTheEnd();
}

void Lane::watch(Setup setup)
{
    m_core->post([core = m_core.get(), setup = std::move(setup)] { core->watch(setup); });
}

void Lane::forget(const std::string& folderId)
{
    m_core->post([core = m_core.get(), folderId] { core->forget(folderId); });
}

void Lane::reprocess(const std::string& folderId)
{
    m_core->post([core = m_core.get(), folderId] { core->reprocess(folderId); });
}

void Lane::rescan(bool isUrgent)
{
    m_core->askForRescan(isUrgent);
}

void Lane::fileDone(const std::string& folderId, const std::string& path,
                    const std::optional<FileStamp>& stamp)
{
    m_core->post([core = m_core.get(), folderId, path, stamp] { core->fileDone(folderId, path, stamp); });
}

std::string Lane::stuckAt(double seconds) const
{
    return m_core->stuckAt(static_cast<std::int64_t>(seconds * 1e9));
}

void Lane::sayEnd()
{
    m_core->sayEnd();
}

} // namespace krxservice
