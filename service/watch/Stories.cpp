#include "watch/Stories.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace krxservice {

namespace {

/// Such a part of the time to stand still is a moment, in which what grows may rest: it is read several times
/// meanwhile. Pictures are waited for longer.
constexpr std::int64_t kMoments = 2;
constexpr std::int64_t kMomentsOfWait = 6;

/// "1.2 GB", as people read it.
std::string sizeText(std::int64_t bytes)
{
    constexpr std::array<const char*, 5> units = {"bytes", "KB", "MB", "GB", "TB"};
    double value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= 1000 && unit + 1 < units.size()) {
        value /= 1000;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", value, units[unit]);
    return text;
}

} // namespace

void Stories::tell(const std::string& path, Told& told, const ClipNews& news)
{
    told.stage = news.stage;
    if (m_tell)
        m_tell(path, news);
}

void Stories::Growth::changed(std::int64_t now)
{
    if (since == 0)
        since = now;
    else
        longestRest = std::max(longestRest, now - changedAt);
    changedAt = now;
}

bool Stories::Growth::isOver(std::int64_t now, std::int64_t moment) const
{
    const std::int64_t rest = now - changedAt;
    return since == 0 || (rest > longestRest && rest >= moment);
}

void Stories::found(const std::string& path, const FileStamp& stamp, std::int64_t now)
{
    const auto [place, isNew] = m_told.try_emplace(path);
    Told& told = place->second;
    if (isNew) {
        told.stamp = stamp;
        tell(path, told, {ClipStage::Found, "Was found a moment ago"});
    } else if (stamp != told.stamp) {
        changed(path, told, stamp, now);
    }
}

/// Somebody writes to it. Where that is made beforehand to be filled later it does not grow by it.
void Stories::changed(const std::string& path, Told& told, const FileStamp& stamp, std::int64_t now)
{
    const std::string size = sizeText(stamp.size);
    const bool grows = stamp.size != told.stamp.size;
    told.stamp = stamp;
    told.growth.changed(now);
    ClipNews news{ClipStage::Growing,
                  grows ? "Grows: " + size + " so far" : "Is being written to: " + size + " in all"};
    news.since = told.growth.since;
    tell(path, told, news);
}

void Stories::read(const std::string& path, const FileStamp& stamp, const Settler& settler, std::int64_t now)
{
    const auto found = m_told.find(path);
    if (found == m_told.end())
        return;
    Told& told = found->second;
    if (stamp != told.stamp)
        return changed(path, told, stamp, now);
    // Whoever has it open is known only once it stood still for long enough, so that stays said till then.
    if (!settler.isStill() || told.stage == ClipStage::Open ||
        !told.growth.isOver(now, settler.settleTime() / kMoments))
        return;
    if (told.stage == ClipStage::Settling && told.dueAt == settler.dueAt())
        return;
    told.dueAt = settler.dueAt();
    const double left = static_cast<double>(std::max<std::int64_t>(0, settler.dueAt() - now)) / 1e9;
    tell(path, told, {ClipStage::Settling, "Stands still, and has to for a little longer", {}, 0, left});
}

void Stories::open(const std::string& path, const std::string& program)
{
    const auto found = m_told.find(path);
    if (found != m_told.end() && found->second.stage != ClipStage::Open)
        tell(path, found->second, {ClipStage::Open, "Is open for writing in " + program});
}

void Stories::refused(const std::string& path, const std::string& reason)
{
    if (const auto found = m_told.find(path); found != m_told.end()) {
        tell(path, found->second, {ClipStage::Rejected, reason});
        m_told.erase(found);
    }
}

void Stories::gone(const std::string& path)
{
    if (const auto found = m_told.find(path); found != m_told.end()) {
        tell(path, found->second, {ClipStage::Gone, "Its file is gone"});
        m_told.erase(found);
    }
}

void Stories::pictures(const std::vector<Gathering::Waiting>& all,
                       const std::map<std::string, std::string>& open, std::int64_t now)
{
    std::map<std::string, ToldPictures> former;
    former.swap(m_pictures);
    for (const auto& waiting : all) {
        if (auto known = former.extract(waiting.key))
            m_pictures.insert(std::move(known));
        const auto writer = open.find(waiting.key);
        tellPictures(waiting, writer == open.end() ? std::string() : writer->second, now);
    }
    for (const auto& [key, told] : former) {
        if (m_tell)
            m_tell(told.path, {ClipStage::Gone, "Its files are gone"});
    }
}

void Stories::keepPictures(const std::function<bool(const std::string& key)>& wait)
{
    for (auto it = m_pictures.begin(); it != m_pictures.end();) {
        const std::string path = it->second.path;
        const bool stays = wait(it->first);
        it = stays ? std::next(it) : m_pictures.erase(it);
        if (!stays && m_tell)
            m_tell(path, {ClipStage::Gone, "Its files are gone"});
    }
}

void Stories::tellPictures(const Gathering::Waiting& waiting, const std::string& program, std::int64_t now)
{
    const auto [place, isNew] = m_pictures.try_emplace(waiting.key);
    ToldPictures& told = place->second;
    if (!isNew && told.path != waiting.first)
        withdraw(told.path);
    const bool isOther = told.path != waiting.first;
    const bool grows = told.pictures != waiting.pictures || told.bytes != waiting.bytes;
    const bool waitsAnew = told.dueAt != waiting.dueAt;
    if (grows && !isNew)
        told.growth.changed(now);
    told.path = waiting.first;
    told.pictures = waiting.pictures;
    told.bytes = waiting.bytes;
    told.dueAt = waiting.dueAt;
    const std::int64_t left = std::max<std::int64_t>(0, waiting.dueAt - now);
    const std::string size =
        (waiting.pictures == 1 ? "1 picture" : std::to_string(waiting.pictures) + " pictures") + ", " +
        sizeText(waiting.bytes);
    ClipNews news;
    if (!program.empty())
        news = {ClipStage::Open, "Is open for writing in " + program};
    else if (told.stage == ClipStage::Open && !grows && waiting.settling > 0)
        return; // whoever has it open is known only once it stood still for long enough
    else if (isNew && waiting.pictures == 1)
        news = {ClipStage::Found, "Was found a moment ago"};
    else if (grows || !told.growth.isOver(now, (waiting.dueAt - told.growth.changedAt) / kMomentsOfWait))
        news = {ClipStage::Growing, "Grows: " + size + " so far"};
    else
        news = {ClipStage::Settling, size + ": waits whether more come", {}, 0, double(left) / 1e9};
    if (news.stage == ClipStage::Growing)
        news.since = told.growth.since;
    const bool isSaid =
        !isOther && !grows && news.stage == told.stage && (news.stage != ClipStage::Settling || !waitsAnew);
    told.stage = news.stage;
    if (!isSaid && m_tell)
        m_tell(waiting.first, news);
}

void Stories::picturesHandedOver(const std::string& key, const std::vector<std::string>& clips)
{
    const auto found = m_pictures.find(key);
    if (found == m_pictures.end())
        return;
    const std::string path = found->second.path;
    m_pictures.erase(found);
    if (clips.empty() && m_tell)
        m_tell(path, {ClipStage::Gone, "Its files are gone"});
    else if (std::find(clips.begin(), clips.end(), path) == clips.end())
        withdraw(path);
}

void Stories::withdraw(const std::string& path)
{
    if (m_withdraw)
        m_withdraw(path);
}

} // namespace krxservice
