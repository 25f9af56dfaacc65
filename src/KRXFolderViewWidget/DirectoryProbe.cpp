#include "DirectoryProbe.h"

#include <QFile>
#include <QLoggingCategory>
#include <QSet>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace {

Q_LOGGING_CATEGORY(logProbe, "krx.folderview")

using Clock = std::chrono::steady_clock;

/// A look that takes longer than this hangs.
constexpr std::chrono::milliseconds kStall(300);
/// The longest that anybody waits for answers, however many come.
constexpr std::chrono::milliseconds kLongestWait(2000);
/// The most threads for one mount.
constexpr int kMostWorkers = 4;

/// The mount points of this process. The list is the kernel's own and asks no file system.
QStringList mountPoints()
{
    QStringList points;
    QFile list(QStringLiteral("/proc/self/mountinfo"));
    if (!list.open(QIODevice::ReadOnly))
        return points;
    constexpr int pointField = 4;
    const QList<QByteArray> lines = list.readAll().split('\n');
    for (const QByteArray& line : lines) {
        QByteArray point = line.split(' ').value(pointField);
        // The four characters that the kernel writes in octal.
        point.replace("\\040", " ").replace("\\011", "\t").replace("\\012", "\n").replace("\\134", "\\");
        if (!point.isEmpty())
            points.append(QFile::decodeName(point));
    }
    // The first that holds a path is the innermost one then.
    std::sort(points.begin(), points.end(),
              [](const QString& a, const QString& b) { return a.size() > b.size(); });
    return points;
}

bool holds(const QString& mount, const QString& path)
{
    return mount == QLatin1String("/") ||
           (path.startsWith(mount) &&
            (path.size() == mount.size() || path.at(mount.size()) == QLatin1Char('/')));
}

/// The mount that a path lies on. Where mounts are not known, the path's first two parts stand for it
/// ("/Volumes/Card", "D:/Media").
QString mountOf(const QString& path, const QStringList& mounts)
{
    const auto found = std::find_if(mounts.begin(), mounts.end(),
                                    [&path](const QString& mount) { return holds(mount, path); });
    return found != mounts.end() ? *found : path.section(QLatin1Char('/'), 0, 2);
}

/// What is to be looked at on one mount.
struct Lane
{
    std::deque<QString> waiting;
    int looking = 0;
    int workers = 0;
    Clock::time_point lastMove = Clock::now();

    bool isIdle() const { return waiting.empty() && looking == 0; }
    bool hangs() const { return looking > 0 && Clock::now() - lastMove >= kStall; }
};

} // namespace

/// What outlives the probe for the sake of threads that hang.
struct DirectoryProbe::Shared
{
    std::mutex mutex;
    std::condition_variable answered;
    /// Null when there is nobody left to tell.
    DirectoryProbe* owner = nullptr;
    Look look;
    std::map<QString, Lane> lanes;
    /// Waiting or being looked at.
    QSet<QString> pending;
    QHash<QString, bool> answers;
    bool isDelivering = false;
};

DirectoryProbe::DirectoryProbe(Look look, QObject* parent)
    : QObject(parent)
    , m_shared(std::make_shared<Shared>())
{
    m_shared->owner = this;
    m_shared->look = std::move(look);
    m_stallTimer.setInterval(kStall);
    connect(&m_stallTimer, &QTimer::timeout, this, &DirectoryProbe::startWorkers);
}

DirectoryProbe::~DirectoryProbe()
{
    const std::lock_guard<std::mutex> lock(m_shared->mutex);
    m_shared->owner = nullptr;
    for (auto& lane : m_shared->lanes)
        lane.second.waiting.clear();
}

void DirectoryProbe::ask(const QStringList& paths)
{
    const QStringList mounts = mountPoints();
    {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        for (const QString& path : paths) {
            if (m_shared->pending.contains(path))
                continue;
            m_shared->pending.insert(path);
            m_shared->lanes[mountOf(path, mounts)].waiting.push_back(path);
        }
    }
    startWorkers();
}

/// Starts a thread for each mount that needs one.
void DirectoryProbe::startWorkers()
{
    bool somebodyWaits = false;
    const std::lock_guard<std::mutex> lock(m_shared->mutex);
    for (auto& entry : m_shared->lanes) {
        Lane& lane = entry.second;
        if (lane.waiting.empty())
            continue;
        somebodyWaits = true;
        if (lane.workers > 0 && (!lane.hangs() || lane.workers >= kMostWorkers))
            continue;
        try {
            std::thread(work, m_shared, entry.first).detach();
            ++lane.workers;
            lane.lastMove = Clock::now();
        } catch (const std::system_error& error) {
            qCWarning(logProbe, "No thread to look for folders: %s", error.what());
        }
    }
    if (somebodyWaits && !m_stallTimer.isActive())
        m_stallTimer.start();
    else if (!somebodyWaits)
        m_stallTimer.stop();
}

void DirectoryProbe::work(const std::shared_ptr<Shared>& shared, const QString& mount)
{
    std::unique_lock<std::mutex> lock(shared->mutex);
    Lane& lane = shared->lanes[mount];
    while (!lane.waiting.empty()) {
        const QString path = lane.waiting.front();
        lane.waiting.pop_front();
        ++lane.looking;
        lane.lastMove = Clock::now();
        lock.unlock();
        const bool isThere = shared->look(path);
        lock.lock();
        --lane.looking;
        lane.lastMove = Clock::now();
        shared->pending.remove(path);
        shared->answers.insert(path, isThere);
        shared->answered.notify_all();
        if (DirectoryProbe* owner = shared->owner; owner && !shared->isDelivering) {
            shared->isDelivering = true;
            QMetaObject::invokeMethod(owner, &DirectoryProbe::deliver, Qt::QueuedConnection);
        }
    }
    --lane.workers;
}

void DirectoryProbe::waitBriefly()
{
    {
        std::unique_lock<std::mutex> lock(m_shared->mutex);
        const auto allButHanging = [this] {
            return std::all_of(m_shared->lanes.begin(), m_shared->lanes.end(), [](const auto& entry) {
                return entry.second.isIdle() || entry.second.hangs();
            });
        };
        // Hanging begins with the look, not with the wait for a thread that a busy machine starts late.
        const Clock::time_point deadline = Clock::now() + kLongestWait;
        while (!allButHanging() && Clock::now() < deadline)
            m_shared->answered.wait_for(lock, kStall / 4);
    }
    deliver();
}

void DirectoryProbe::deliver()
{
    QHash<QString, bool> answers;
    {
        const std::lock_guard<std::mutex> lock(m_shared->mutex);
        answers.swap(m_shared->answers);
        m_shared->isDelivering = false;
    }
    if (!answers.isEmpty())
        emit seen(answers);
}
