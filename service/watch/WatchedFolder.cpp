#include "watch/WatchedFolder.h"

#include "base/FileTools.h"
#include "base/Text.h"
#include "media/PictureKinds.h"
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
constexpr char kMoreText[] = "more than can be listed here";
constexpr int kPictureWait = 3;  ///< settle times without a new picture
constexpr int kSidecarWait = 30; ///< settle times for a sidecar that never stands still

/// What a clip and its sidecars have in common: the path without extension.
std::string stemOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/') + 1;
    return path.substr(0, slash) + std::string(picturekinds::stem(std::string_view(path).substr(slash)));
}

/// The same of numbered pictures, whose sidecars do without the number and what divides it from the name.
std::string trimmedStem(const std::string& path)
{
    const std::string stem = stemOf(path);
    const std::size_t slash = stem.rfind('/') + 1;
    const auto digits = stem.find_last_not_of("0123456789");
    const auto end = digits == std::string::npos ? digits : stem.find_last_not_of("._- ", digits);
    return end == std::string::npos || end < slash ? stem : stem.substr(0, end + 1);
}

} // namespace

WatchedFolder::WatchedFolder(const FolderRecord& record, std::unordered_map<std::string, FileStamp> known,
                             std::set<std::string> skipped, std::int64_t settle,
                             std::set<std::string> underWay, const LinkSettings& settings, Stories::Tell tell,
                             Stories::Withdraw withdraw)
    : m_record(record)
    , m_root(record.path)
    , m_known(std::move(known))
    , m_skipped(std::move(skipped))
    , m_settle(settle)
    , m_settings(settings)
    , m_stories(std::move(tell), std::move(withdraw))
    , m_gathering(kPictureWait * settle)
    , m_underWay(std::move(underWay))
{
    for (const auto& [path, stamp] : m_known)
        clipIsDone(path);
    for (const auto& path : m_underWay) {
        if (const auto key = Gathering::keyOf(path, m_settings.joinsAllPictures)) {
            m_gathering.begin(*key, path);
            m_keys[path] = *key;
        }
    }
    while (m_root.size() > 1 && m_root.back() == '/')
        m_root.pop_back();
}

bool WatchedFolder::isDone(const std::string& path, const FileStamp& stamp) const
{
    const auto found = m_known.find(path);
    return found != m_known.end() && found->second.isUntouched(stamp);
}

/// Each picture by itself counts when it was a clip of its own before.
bool WatchedFolder::isDone(const ClipFiles& clip, const std::string& key) const
{
    if (isDone(clip.path, clip.stamp))
        return true;
    bool isKnown = clip.sequence.has_value();
    if (isKnown) {
        sequence::forEach(*clip.sequence, [&](std::int64_t number) {
            const std::string path = sequence::path(*clip.sequence, number);
            const auto stamp = m_gathering.stampOf(key, path);
            isKnown = stamp && isDone(path, *stamp);
            return isKnown;
        });
    }
    return isKnown;
}

void WatchedFolder::saw(const std::string& path, bool disturbed, std::int64_t now)
{
    m_seen.insert(path);
    if (const auto key = Gathering::keyOf(path, m_settings.joinsAllPictures);
        key && m_settings.covers(text::baseName(path))) {
        sawPicture(*key, path, disturbed, now);
        return;
    }
    if (m_underWay.count(path) > 0)
        return;
    if (!disturbed && m_candidates.count(path) > 0)
        return;
    const auto stamp = filetools::stampOfUnlinked(path);
    if (!stamp || isDone(path, *stamp) || m_uncovered.count(path) > 0)
        return;
    if (picturekinds::isSidecar(path) && sawSidecar(path, *stamp))
        return;
    if (m_trustsKnown && m_known.count(path) > 0) {
        m_known[path] = *stamp;
        return;
    }
    if (const auto empty = m_empty.find(path); empty != m_empty.end()) {
        if (!disturbed && empty->second == *stamp)
            return;
        m_empty.erase(empty);
    }
    if (const auto later = m_later.find(path); later != m_later.end() && later->second.stamp == *stamp) {
        if (!disturbed && now < later->second.notBefore)
            return;
    }
    letSettle(path, *stamp, now);
}

void WatchedFolder::sawPicture(const std::string& key, const std::string& path, bool disturbed,
                               std::int64_t now)
{
    if (!disturbed && m_candidates.count(path) > 0)
        return;
    const auto stamp = filetools::stampOfUnlinked(path);
    if (!stamp)
        return;
    if (const auto empty = m_empty.find(path); empty != m_empty.end()) {
        if (empty->second == *stamp)
            return;
        m_empty.erase(empty);
    }
    if (m_gathering.saw(key, path, *stamp, now))
        letSettle(path, *stamp, now);
}

/// True when nothing new is to be found out about it.
bool WatchedFolder::sawSidecar(const std::string& path, const FileStamp& stamp)
{
    const auto found = m_sidecars.find(path);
    if (found != m_sidecars.end() && found->second.isUntouched(stamp))
        return true;
    // What was beside a clip of an earlier run went with it.
    if (!m_isFirstReading || m_knownStems.count(stemOf(path)) == 0)
        return false;
    m_sidecars[path] = stamp;
    m_known[path] = stamp;
    return true;
}

void WatchedFolder::letSettle(const std::string& path, const FileStamp& stamp, std::int64_t now)
{
    // The wait begins now, not at the next round of readings.
    Settler& settler = m_candidates.try_emplace(path, m_settle).first->second;
    settler.disturbed();
    settler.reading(stamp, now);
    // Pictures and sidecars are told of with their clips.
    if (!picturekinds::isSidecar(path) && !Gathering::keyOf(path, m_settings.joinsAllPictures))
        m_stories.found(path, stamp, now);
}

void WatchedFolder::beginReading()
{
    m_seen.clear();
    m_reading.clear();
    m_trustsKnown = m_isFirstReading && m_settings.trustsKnownVolumes;
}

void WatchedFolder::leaveOut(const std::string& path, const std::string& why)
{
    m_seen.insert(path);
    if (m_reading.size() < kMostLeftOut)
        m_reading[path] = why;
    else
        m_reading.insert_or_assign(kMore, kMoreText);
}

void WatchedFolder::beginReadingAgain()
{
    m_isFirstReading = true;
    m_gathering.renew();
    beginReading();
}

std::vector<std::string> WatchedFolder::endReading()
{
    passKnownPictures();
    m_isFirstReading = false;
    m_trustsKnown = false;
    m_gathering.keepOnly(m_seen);
    m_stories.keepPictures([this](const std::string& key) { return m_gathering.isWaiting(key); });
    for (auto* texts : {&m_late, &m_uncovered}) {
        for (auto it = texts->begin(); it != texts->end();)
            it = m_seen.count(*it) > 0 ? std::next(it) : texts->erase(it);
    }
    for (auto it = m_sidecars.begin(); it != m_sidecars.end();)
        it = m_seen.count(it->first) > 0 ? std::next(it) : m_sidecars.erase(it);
    m_leftOut = std::move(m_reading);
    m_reading.clear();
    for (auto it = m_empty.begin(); it != m_empty.end();)
        it = m_seen.count(it->first) > 0 ? std::next(it) : m_empty.erase(it);
    for (auto it = m_later.begin(); it != m_later.end();)
        it = m_seen.count(it->first) > 0 ? std::next(it) : m_later.erase(it);
    std::vector<std::string> gone;
    for (const auto& [path, stamp] : m_known) {
        if (m_seen.count(path) > 0) {
            // What was said of it before it went holds again.
            if (m_gone.erase(path) > 0)
                m_stories.returned(path);
        } else if (m_gone.insert(path).second) {
            gone.push_back(path);
        }
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
    const std::string notTaken = "the plug-in " + m_settings.pluginName + " does not take it";
    const std::string tooLate = "it came, or was changed, after the work on its clip began";
    for (const auto& [paths, why] : {std::pair(&m_uncovered, &notTaken), std::pair(&m_late, &tooLate)}) {
        named = 0;
        for (const auto& path : *paths) {
            if (++named > kMostLeftOut) {
                texts.insert(watchtexts::leftOut(m_root + "/...", *why + "; " + kMoreText));
                break;
            }
            texts.insert(watchtexts::leftOut(path, *why));
        }
    }
    return texts;
}

std::vector<std::string> WatchedFolder::takeFinished(std::int64_t now)
{
    openwriters::Look writers;
    return takeFinished(now, writers);
}

std::vector<std::string> WatchedFolder::takeFinished(std::int64_t now, openwriters::Look& writers)
{
    std::map<std::string, std::string> still; // canonical path to path
    for (auto it = m_candidates.begin(); it != m_candidates.end();) {
        const auto stamp = filetools::stampOfUnlinked(it->first);
        if (!stamp || isDone(it->first, *stamp)) {
            const auto key = Gathering::keyOf(it->first, m_settings.joinsAllPictures);
            if (key && !stamp)
                m_gathering.lost(*key, it->first);
            else if (key)
                m_gathering.settled(*key, it->first, *stamp);
            if (stamp)
                m_stories.handedOver(it->first);
            else
                m_stories.gone(it->first);
            it = m_candidates.erase(it);
            continue;
        }
        if (it->second.reading(*stamp, now) || it->second.stoodStill(now))
            still.emplace(text::canonicalPath(it->first), it->first);
        m_stories.read(it->first, *stamp, it->second, now);
        ++it;
    }
    std::set<std::string> canonical;
    for (const auto& [real, path] : still)
        canonical.insert(real);
    std::map<std::string, std::string> openPictures; // program by key
    for (const auto& [written, program] : writers.among(canonical)) {
        const std::string& path = still.at(written);
        m_candidates.at(path).disturbed();
        m_stories.open(path, program);
        if (const auto key = Gathering::keyOf(path, m_settings.joinsAllPictures))
            openPictures[*key] = program;
        still.erase(written);
    }
    std::vector<std::string> finished;
    // Sidecars first: their clips wait for them.
    for (const bool sidecars : {true, false}) {
        for (const auto& [real, path] : still) {
            if (picturekinds::isSidecar(path) == sidecars)
                finishOne(path, now, finished);
        }
    }
    m_stories.pictures(m_gathering.waiting(), openPictures, now);
    finishPictures(now, finished);
    return finished;
}

void WatchedFolder::finishOne(const std::string& path, std::int64_t now, std::vector<std::string>& finished)
{
    const auto stamp = filetools::stampOfUnlinked(path);
    const auto key = Gathering::keyOf(path, m_settings.joinsAllPictures);
    if (!key && !picturekinds::isSidecar(path) && isHeldUp(stemOf(path), now))
        return;
    m_candidates.erase(path);
    if (picturekinds::isSidecar(path)) {
        if (stamp) {
            m_sidecars[path] = *stamp;
            noteLateSidecars(stemOf(path));
        }
        return;
    }
    if (!m_settings.covers(text::baseName(path))) {
        m_uncovered.insert(path);
        m_stories.refused(path, "The plug-in " + m_settings.pluginName + " does not take it");
        return;
    }
    if (stamp && stamp->size == 0) {
        m_empty[path] = *stamp;
        m_stories.refused(path, "The file is empty");
    }
    if (key && stamp && stamp->size > 0)
        m_gathering.settled(*key, path, *stamp);
    else if (key)
        m_gathering.lost(*key, path);
    if (key || (stamp && stamp->size == 0))
        return;
    sendSidecars(stemOf(path));
    m_stories.handedOver(path);
    m_underWay.insert(path);
    finished.push_back(path);
}

/// True when a sidecar of this stem does not stand still yet.
bool WatchedFolder::waitsForSidecar(const std::string& stem) const
{
    const std::string start = stem + '.';
    for (auto it = m_candidates.lower_bound(start); it != m_candidates.end(); ++it) {
        if (it->first.compare(0, start.size(), start) != 0)
            return false;
        if (picturekinds::isSidecar(it->first) && stemOf(it->first) == stem)
            return true;
    }
    return false;
}

/// The same as long as there is hope: somebody may write to it all day, and the clip must not wait for that.
bool WatchedFolder::isHeldUp(const std::string& stem, std::int64_t now)
{
    if (!waitsForSidecar(stem)) {
        m_heldSince.erase(stem);
        return false;
    }
    return now - m_heldSince.try_emplace(stem, now).first->second < kSidecarWait * m_settle;
}

/// Hands over the clips among the pictures that are complete.
void WatchedFolder::finishPictures(std::int64_t now, std::vector<std::string>& finished)
{
    for (const auto& path : m_gathering.takeDue(now)) {
        const auto key = Gathering::keyOf(path, m_settings.joinsAllPictures);
        if (isHeldUp(trimmedStem(path), now) || isHeldUp(stemOf(path), now)) {
            m_gathering.putOff(*key, now + m_settle);
            continue;
        }
        std::vector<std::string> paths;
        for (const auto& clip : clipfiles::allLike(path, m_root, goesOn)) {
            paths.push_back(clip.path);
            if (isDone(clip, *key) || m_underWay.count(clip.path) > 0)
                continue;
            const auto later = m_later.find(clip.path);
            if (later != m_later.end() && later->second.stamp == clip.stamp &&
                now < later->second.notBefore) {
                m_gathering.putOff(*key, later->second.notBefore);
                continue;
            }
            sendSidecars(stemOf(clip.path));
            sendSidecars(trimmedStem(clip.path));
            m_underWay.insert(clip.path);
            m_keys[clip.path] = *key;
            m_gathering.begin(*key, clip.path);
            finished.push_back(clip.path);
        }
        m_stories.picturesHandedOver(*key, paths);
    }
}

/// Pictures of an earlier run need not stand still again, when nothing was added meanwhile.
void WatchedFolder::passKnownPictures()
{
    for (const auto& path : m_gathering.takeNew()) {
        const auto key = Gathering::keyOf(path, m_settings.joinsAllPictures);
        const auto clips = clipfiles::allLike(path, m_root, goesOn);
        bool allDone = !clips.empty();
        for (const auto& clip : clips) {
            if (m_trustsKnown && m_known.count(clip.path) > 0)
                m_known[clip.path] = clip.stamp;
            allDone = allDone && isDone(clip, *key);
        }
        if (allDone)
            m_gathering.allKnown(*key, [&](const std::string& each) { m_candidates.erase(each); });
    }
}

void WatchedFolder::clipIsDone(const std::string& path)
{
    if (picturekinds::isSidecar(path))
        return;
    m_knownStems.insert(stemOf(path));
    if (Gathering::keyOf(path, m_settings.joinsAllPictures))
        m_knownStems.insert(trimmedStem(path));
}

/// What stands still beside a clip goes with it.
void WatchedFolder::sendSidecars(const std::string& stem)
{
    const std::string start = stem + '.';
    for (auto it = m_sidecars.lower_bound(start); it != m_sidecars.end(); ++it) {
        if (it->first.compare(0, start.size(), start) != 0)
            return;
        if (stemOf(it->first) == stem)
            m_known[it->first] = it->second;
    }
}

/// Sidecars that stand still beside a clip whose work is done, and did not go with it.
void WatchedFolder::noteLateSidecars(const std::string& stem)
{
    if (m_knownStems.count(stem) == 0)
        return;
    const std::string start = stem + '.';
    for (auto it = m_sidecars.lower_bound(start); it != m_sidecars.end(); ++it) {
        if (it->first.compare(0, start.size(), start) != 0)
            return;
        if (stemOf(it->first) == stem && !isDone(it->first, it->second))
            m_late.insert(it->first);
    }
}

void WatchedFolder::done(const std::string& path, const std::optional<FileStamp>& stamp, std::int64_t now)
{
    m_underWay.erase(path);
    std::string key;
    if (const auto found = m_keys.find(path); found != m_keys.end()) {
        key = found->second;
        m_keys.erase(found);
    }
    if (!stamp) {
        const auto present =
            key.empty() ? filetools::stampOfUnlinked(path)
                        : std::optional(clipfiles::of(path, m_root, m_settings.joinsAllPictures).stamp);
        Later& later = m_later[path];
        if (!present || later.stamp != *present)
            later.times = 0;
        later.stamp = present.value_or(FileStamp());
        // The first time at once; the pauses then double up to the longest.
        later.notBefore =
            later.times == 0 ? now : now + std::min(kLongestPause, kFirstPause << (later.times - 1));
        later.times = std::min(later.times + 1, kMostTimes);
        if (!key.empty())
            m_gathering.done(key, path, later.notBefore);
        return;
    }
    m_later.erase(path);
    m_known[path] = *stamp;
    clipIsDone(path);
    if (!key.empty()) {
        noteLateSidecars(trimmedStem(path));
        m_gathering.done(key, path, std::nullopt);
        return;
    }
    noteLateSidecars(stemOf(path));
    // It may have been written again while it was worked on; the event of that time went unheard.
    saw(path, false, now);
}

std::int64_t WatchedFolder::nextDue() const
{
    std::int64_t due = std::numeric_limits<std::int64_t>::max();
    for (const auto& [path, settler] : m_candidates)
        due = std::min(due, settler.dueAt());
    return std::min(due, m_gathering.nextDue());
}

bool WatchedFolder::hasCandidates() const
{
    return !m_candidates.empty() || m_gathering.nextDue() != std::numeric_limits<std::int64_t>::max();
}

void WatchedFolder::forgetAll()
{
    m_known.clear();
    m_later.clear();
    m_knownStems.clear();
    m_late.clear();
    m_gathering.forgetAll();
}

} // namespace krxservice
