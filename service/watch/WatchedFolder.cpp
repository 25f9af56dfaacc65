#include "watch/WatchedFolder.h"

#include "base/FileTools.h"
#include "base/Text.h"
#include "watch/OpenWriters.h"
#include "watch/WatchTexts.h"

#include <algorithm>
#include <limits>

namespace krxservice {

namespace {

constexpr std::int64_t kSecond = 1000000000;
constexpr std::int64_t kFirstPause = 10 * kSecond; ///< before a file that could not be judged is tried again
constexpr std::int64_t kLongestPause = 300 * kSecond;
constexpr int kMostTimes = 16;            ///< counted, beyond the longest pause
constexpr std::size_t kMostLeftOut = 100; ///< named one by one
constexpr char kMore[] = "\x7F";          ///< stands for the others; no path begins like this

} // namespace

WatchedFolder::WatchedFolder(const FolderRecord& record, std::unordered_map<std::string, FileStamp> known,
                             std::set<std::string> skipped, std::int64_t settle,
                             std::set<std::string> underWay)
    : m_record(record)
    , m_root(record.path)
    , m_known(std::move(known))
    , m_skipped(std::move(skipped))
    , m_settle(settle)
    , m_underWay(std::move(underWay))
{
    while (m_root.size() > 1 && m_root.back() == '/')
        m_root.pop_back();
}

bool WatchedFolder::isDone(const std::string& path, const FileStamp& stamp) const
{
    const auto found = m_known.find(path);
    return found != m_known.end() && found->second.isUntouched(stamp);
}

void WatchedFolder::saw(const std::string& path, bool disturbed, std::int64_t now)
{
    m_seen.insert(path);
    if (m_underWay.count(path) > 0)
        return;
    if (!disturbed && m_candidates.count(path) > 0)
        return;
    const auto stamp = filetools::stampOfUnlinked(path);
    if (!stamp || isDone(path, *stamp))
        return;
    if (const auto empty = m_empty.find(path); empty != m_empty.end()) {
        if (!disturbed && empty->second == *stamp)
            return;
        m_empty.erase(empty);
    }
    if (const auto later = m_later.find(path); later != m_later.end() && later->second.stamp == *stamp) {
        if (!disturbed && now < later->second.notBefore)
            return;
    }
    // The wait begins now, not at the next round of readings.
    Settler& settler = m_candidates.try_emplace(path, m_settle).first->second;
    settler.disturbed();
    settler.reading(*stamp, now);
}

void WatchedFolder::beginReading()
{
    m_seen.clear();
    m_reading.clear();
}

void WatchedFolder::leaveOut(const std::string& path, const std::string& why)
{
    m_seen.insert(path);
    if (m_reading.size() < kMostLeftOut)
        m_reading[path] = why;
    else
        m_reading.insert_or_assign(kMore, "more than can be listed here");
}

std::vector<std::string> WatchedFolder::endReading()
{
    m_leftOut = std::move(m_reading);
    m_reading.clear();
    for (auto it = m_empty.begin(); it != m_empty.end();)
        it = m_seen.count(it->first) > 0 ? std::next(it) : m_empty.erase(it);
    for (auto it = m_later.begin(); it != m_later.end();)
        it = m_seen.count(it->first) > 0 ? std::next(it) : m_later.erase(it);
    std::vector<std::string> gone;
    for (const auto& [path, stamp] : m_known) {
        if (m_seen.count(path) > 0)
            m_gone.erase(path);
        else if (m_gone.insert(path).second)
            gone.push_back(path);
    }
    m_seen.clear();
    return gone;
}

std::set<std::string> WatchedFolder::troubles() const
{
    std::set<std::string> texts;
    if (unavailable)
        texts.insert(watchtexts::unavailable(m_root, reason));
    if (exhausted)
        texts.insert(watchtexts::exhausted(m_root));
    for (const auto& [path, why] : m_leftOut)
        texts.insert(path == kMore ? watchtexts::leftOut(m_root + "/...", why)
                                   : watchtexts::leftOut(path, why));
    std::size_t named = 0;
    for (const auto& [path, stamp] : m_empty) {
        if (++named > kMostLeftOut)
            break;
        texts.insert(watchtexts::leftOut(path, "the file is empty"));
    }
    return texts;
}

std::vector<std::string> WatchedFolder::takeFinished(std::int64_t now)
{
    std::map<std::string, std::string> still; // canonical path to path
    for (auto it = m_candidates.begin(); it != m_candidates.end();) {
        const auto stamp = filetools::stampOfUnlinked(it->first);
        if (!stamp || isDone(it->first, *stamp)) {
            it = m_candidates.erase(it);
            continue;
        }
        if (it->second.reading(*stamp, now) || it->second.stoodStill(now))
            still.emplace(text::canonicalPath(it->first), it->first);
        ++it;
    }
    std::set<std::string> canonical;
    for (const auto& [real, path] : still)
        canonical.insert(real);
    for (const auto& written : openwriters::among(canonical)) {
        m_candidates.at(still.at(written)).disturbed();
        still.erase(written);
    }
    std::vector<std::string> finished;
    for (const auto& [real, path] : still) {
        m_candidates.erase(path);
        const auto stamp = filetools::stampOfUnlinked(path);
        if (stamp && stamp->size == 0) {
            m_empty[path] = *stamp;
            continue;
        }
        m_underWay.insert(path);
        finished.push_back(path);
    }
    return finished;
}

void WatchedFolder::done(const std::string& path, const std::optional<FileStamp>& stamp, std::int64_t now)
{
    m_underWay.erase(path);
    if (!stamp) {
        const auto present = filetools::stampOfUnlinked(path);
        Later& later = m_later[path];
        if (!present || later.stamp != *present)
            later.times = 0;
        later.stamp = present.value_or(FileStamp());
        // The first time at once; the pauses then double up to the longest.
        later.notBefore =
            later.times == 0 ? now : now + std::min(kLongestPause, kFirstPause << (later.times - 1));
        later.times = std::min(later.times + 1, kMostTimes);
        return;
    }
    m_later.erase(path);
    m_known[path] = *stamp;
    // It may have been written again while it was worked on; the event of that time went unheard.
    saw(path, false, now);
}

std::int64_t WatchedFolder::nextDue() const
{
    std::int64_t due = std::numeric_limits<std::int64_t>::max();
    for (const auto& [path, settler] : m_candidates)
        due = std::min(due, settler.dueAt());
    return due;
}

void WatchedFolder::forgetAll()
{
    m_known.clear();
    m_later.clear();
}

} // namespace krxservice
