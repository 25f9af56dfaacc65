#include "watch/WatchedFolder.h"

#include "base/FileTools.h"
#include "base/Text.h"
#include "watch/OpenWriters.h"

#include <algorithm>
#include <limits>

namespace krxservice {

WatchedFolder::WatchedFolder(const FolderRecord& record, std::unordered_map<std::string, FileStamp> known,
                             std::set<std::string> skipped, std::int64_t settle)
    : m_record(record)
    , m_root(record.path)
    , m_known(std::move(known))
    , m_skipped(std::move(skipped))
    , m_settle(settle)
{
    while (m_root.size() > 1 && m_root.back() == '/')
        m_root.pop_back();
}

bool WatchedFolder::isSame(const FolderRecord& record, const std::set<std::string>& skipped) const
{
    return record.path == m_record.path && record.profile == m_record.profile && skipped == m_skipped;
}

bool WatchedFolder::isDone(const std::string& path, const FileStamp& stamp) const
{
    const auto found = m_known.find(path);
    return found != m_known.end() && found->second.isUntouched(stamp);
}

void WatchedFolder::saw(const std::string& path, bool disturbed, std::int64_t now)
{
    if (m_underWay.count(path) > 0)
        return;
    if (!disturbed && m_candidates.count(path) > 0)
        return;
    const auto stamp = filetools::stampOfUnlinked(path);
    if (!stamp || stamp->size == 0 || isDone(path, *stamp))
        return;
    // The wait begins now, not at the next round of readings.
    Settler& settler = m_candidates.try_emplace(path, m_settle).first->second;
    settler.disturbed();
    settler.reading(*stamp, now);
}

std::vector<std::string> WatchedFolder::takeFinished(std::int64_t now)
{
    std::map<std::string, std::string> still; // canonical path to path
    for (auto it = m_candidates.begin(); it != m_candidates.end();) {
        const auto stamp = filetools::stampOfUnlinked(it->first);
        if (!stamp || stamp->size == 0 || isDone(it->first, *stamp)) {
            it = m_candidates.erase(it);
            continue;
        }
        if (it->second.reading(*stamp, now))
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
        m_underWay.insert(path);
        finished.push_back(path);
    }
    return finished;
}

void WatchedFolder::done(const std::string& path, const std::optional<FileStamp>& stamp, std::int64_t now)
{
    m_underWay.erase(path);
    if (!stamp)
        return;
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
}

} // namespace krxservice
