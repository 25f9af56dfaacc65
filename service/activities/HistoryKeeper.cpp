#include "activities/HistoryKeeper.h"

#include "base/Text.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <utility>

namespace krxservice {

namespace {

constexpr std::int64_t kSecond = 1000000000;
constexpr std::int64_t kTryAgain = 60 * kSecond;

/// Why nothing must be written into \a folder now, or an empty text. An empty directory that waits for its
/// volume must not get a history.
std::string absence(const std::string& folder, const std::vector<CopiedClip>& clips)
{
    struct stat facts
    {
    };
    if (::stat(folder.c_str(), &facts) != 0)
        return text::errnoText(errno);
    if (!S_ISDIR(facts.st_mode))
        return "it is no directory";
    for (const auto& clip : clips) {
        if (clip.inode == static_cast<std::int64_t>(facts.st_ino))
            return {};
    }
    for (const auto& clip : clips) {
        for (const auto& file : clip.files) {
            struct stat copy
            {
            };
            if (::stat((folder + '/' + file.path).c_str(), &copy) == 0 && copy.st_size == file.size)
                return {};
        }
    }
    return "it holds nothing of what was copied into it; perhaps its volume is not mounted";
}

/// The files of all clips, each path once: what was copied last stands.
std::vector<HistoryEntry> entriesOf(const std::vector<CopiedClip>& clips)
{
    std::vector<HistoryEntry> entries;
    std::set<std::string> paths;
    for (auto clip = clips.rbegin(); clip != clips.rend(); ++clip) {
        for (auto file = clip->files.rbegin(); file != clip->files.rend(); ++file) {
            if (paths.insert(file->path).second)
                entries.push_back(*file);
        }
    }
    std::reverse(entries.begin(), entries.end());
    return entries;
}

} // namespace

HistoryKeeper::HistoryKeeper(HistoryStore& copied, ErrorStore& errors, double seconds,
                             std::function<std::int64_t()> now)
    : m_copied(copied)
    , m_errors(errors)
    , m_pause(static_cast<std::int64_t>(seconds * static_cast<double>(kSecond)))
    , m_now(std::move(now))
{
}

void HistoryKeeper::writeDue()
{
    for (auto& waiting : m_copied.waiting()) {
        while (isDue(waiting) && write(waiting.folder))
            waiting.clips -= kMostClips;
    }
}

bool HistoryKeeper::isDue(const HistoryStore::Waiting& waiting) const
{
    const std::int64_t now = m_now();
    const auto kept = m_kept.find(waiting.folder);
    if (waiting.clips <= 0 ||
        (kept != m_kept.end() && now < kept->second.notBefore && kept->second.notBefore - now <= kTryAgain))
        return false;
    // A clock that was set back must not keep a generation waiting.
    return waiting.clips >= kMostClips || now - waiting.lastFinished >= m_pause || now < waiting.lastFinished;
}

bool HistoryKeeper::write(const std::string& folder)
{
    const auto batch = m_copied.oldest(folder, kMostClips);
    Kept& kept = m_kept.try_emplace(folder, Kept{HashHistory(folder), {}}).first->second;
    std::string reason = absence(folder, batch.clips);
    if (reason.empty())
        reason = kept.history.add(entriesOf(batch.clips), m_now());
    const std::string start = "The history of " + folder + " cannot be written: ";
    if (reason.empty()) {
        m_copied.remove(folder, batch.last);
        m_errors.removeStarting(start);
        kept.reason.clear();
        return true;
    }
    if (reason != kept.reason) {
        m_errors.removeStarting(start);
        m_errors.add(start + reason + ". What was copied there is noted and will be listed later");
    }
    kept.reason = reason;
    kept.notBefore = m_now() + kTryAgain;
    return false;
}

} // namespace krxservice
