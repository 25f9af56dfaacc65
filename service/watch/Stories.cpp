#include "watch/Stories.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace krxservice {

namespace {

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

void Stories::found(const std::string& path, const FileStamp& stamp)
{
    const auto [place, isNew] = m_told.try_emplace(path);
    Told& told = place->second;
    const bool grows = !isNew && stamp.size != told.size;
    told.size = stamp.size;
    if (isNew)
        tell(path, told, {ClipStage::Found, "Was found a moment ago"});
    else if (grows)
        tell(path, told, {ClipStage::Growing, "Grows: " + sizeText(stamp.size) + " so far"});
}

void Stories::read(const std::string& path, const FileStamp& stamp, const Settler& settler, std::int64_t now)
{
    const auto found = m_told.find(path);
    if (found == m_told.end())
        return;
    Told& told = found->second;
    if (stamp.size != told.size) {
        told.size = stamp.size;
        tell(path, told, {ClipStage::Growing, "Grows: " + sizeText(stamp.size) + " so far"});
        return;
    }
    // Whoever has it open is known only once it stood still for long enough, so that stays said till then.
    if (!settler.isStill() || told.stage == ClipStage::Settling || told.stage == ClipStage::Open)
        return;
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
        const double left = static_cast<double>(std::max<std::int64_t>(0, waiting.dueAt - now)) / 1e9;
        tellPictures(waiting, writer == open.end() ? std::string() : writer->second, left);
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

void Stories::tellPictures(const Gathering::Waiting& now, const std::string& program, double left)
{
    const auto [place, isNew] = m_pictures.try_emplace(now.key);
    ToldPictures& told = place->second;
    if (!isNew && told.path != now.first)
        withdraw(told.path);
    const bool isOther = told.path != now.first;
    const bool grows = told.pictures != now.pictures || told.bytes != now.bytes;
    const bool waitsAnew = told.dueAt != now.dueAt;
    told.path = now.first;
    told.pictures = now.pictures;
    told.bytes = now.bytes;
    told.dueAt = now.dueAt;
    const std::string size = (now.pictures == 1 ? "1 picture" : std::to_string(now.pictures) + " pictures") +
                             ", " + sizeText(now.bytes);
    ClipNews news;
    if (!program.empty())
        news = {ClipStage::Open, "Is open for writing in " + program};
    else if (told.stage == ClipStage::Open && !grows && now.settling > 0)
        return; // whoever has it open is known only once it stood still for long enough
    else if (isNew && now.pictures == 1)
        news = {ClipStage::Found, "Was found a moment ago"};
    else if (grows)
        news = {ClipStage::Growing, "Grows: " + size + " so far"};
    else
        news = {ClipStage::Settling, size + ": waits whether more come", {}, 0, left};
    const bool isSaid =
        !isOther && !grows && news.stage == told.stage && (news.stage != ClipStage::Settling || !waitsAnew);
    told.stage = news.stage;
    if (!isSaid && m_tell)
        m_tell(now.first, news);
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
