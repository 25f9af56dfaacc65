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

} // namespace krxservice
