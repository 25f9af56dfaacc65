#include "watch/Gathering.h"

#include "base/Text.h"
#include "media/PictureKinds.h"
#include "media/Sequence.h"

#include <algorithm>
#include <limits>

namespace krxservice {

std::optional<std::string> Gathering::keyOf(const std::string& path, bool joinsAllPictures)
{
    const std::string name = text::baseName(path);
    if (!picturekinds::isJoined(name, joinsAllPictures))
        return std::nullopt;
    const auto picture = sequence::parse(name);
    if (!picture)
        return std::nullopt;
    // No name holds a slash: what stands behind it can be the extension only.
    return path.substr(0, path.size() - name.size()) + picture->stem + '/' + picture->extension;
}

bool Gathering::saw(const std::string& key, const std::string& path, const FileStamp& stamp, std::int64_t now)
{
    Group& group = m_groups[key];
    const auto [found, isNew] = group.pictures.try_emplace(path);
    Picture& picture = found->second;
    if (!isNew && picture.stamp.isUntouched(stamp))
        return picture.isSettling;
    if (isNew || !picture.isSettling)
        ++group.settling;
    picture.isSettling = true;
    group.bytes += stamp.size - picture.stamp.size;
    picture.stamp = stamp;
    group.needsLook = true;
    group.dueAt = std::max(group.dueAt, now + m_wait);
    return true;
}

void Gathering::settled(const std::string& key, const std::string& path, const FileStamp& stamp)
{
    const auto group = m_groups.find(key);
    if (group == m_groups.end())
        return;
    const auto picture = group->second.pictures.find(path);
    if (picture == group->second.pictures.end() || !picture->second.isSettling)
        return;
    group->second.bytes += stamp.size - picture->second.stamp.size;
    picture->second = {stamp, false};
    --group->second.settling;
}

void Gathering::lost(const std::string& key, const std::string& path)
{
    const auto group = m_groups.find(key);
    if (group == m_groups.end())
        return;
    const auto picture = group->second.pictures.find(path);
    if (picture == group->second.pictures.end())
        return;
    group->second.settling -= picture->second.isSettling ? 1 : 0;
    group->second.bytes -= picture->second.stamp.size;
    group->second.pictures.erase(picture);
}

bool Gathering::isWaiting(const std::string& key) const
{
    const auto group = m_groups.find(key);
    return group != m_groups.end() && waits(group->second);
}

std::vector<Gathering::Waiting> Gathering::waiting() const
{
    std::vector<Waiting> all;
    for (const auto& [key, group] : m_groups) {
        if (waits(group))
            all.push_back({key, group.pictures.begin()->first, group.pictures.size(), group.settling,
                           group.bytes, group.dueAt});
    }
    return all;
}

std::vector<std::string> Gathering::takeDue(std::int64_t now)
{
    std::vector<std::string> due;
    for (auto& [key, group] : m_groups) {
        if (!canBeDue(group) || now < group.dueAt)
            continue;
        group.needsLook = false;
        group.isNew = false;
        due.push_back(group.pictures.begin()->first);
    }
    return due;
}

std::vector<std::string> Gathering::takeNew()
{
    std::vector<std::string> fresh;
    for (auto& [key, group] : m_groups) {
        if (group.isNew && !group.pictures.empty() && group.underWay.empty())
            fresh.push_back(group.pictures.begin()->first);
        group.isNew = false;
    }
    return fresh;
}

void Gathering::renew()
{
    for (auto& [key, group] : m_groups)
        group.isNew = true;
}

void Gathering::allKnown(const std::string& key, const std::function<void(const std::string& path)>& each)
{
    Group& group = m_groups[key];
    for (auto& [path, picture] : group.pictures) {
        picture.isSettling = false;
        each(path);
    }
    group.settling = 0;
    group.needsLook = false;
}

std::int64_t Gathering::nextDue() const
{
    std::int64_t next = std::numeric_limits<std::int64_t>::max();
    for (const auto& [key, group] : m_groups) {
        if (canBeDue(group))
            next = std::min(next, group.dueAt);
    }
    return next;
}

void Gathering::begin(const std::string& key, const std::string& clip)
{
    m_groups[key].underWay.insert(clip);
}

void Gathering::done(const std::string& key, const std::string& clip, std::optional<std::int64_t> notBefore)
{
    Group& group = m_groups[key];
    group.underWay.erase(clip);
    if (!notBefore)
        return;
    group.needsLook = true;
    group.dueAt = std::max(group.dueAt, *notBefore);
}

void Gathering::putOff(const std::string& key, std::int64_t moment)
{
    Group& group = m_groups[key];
    group.needsLook = true;
    group.dueAt = std::max(group.dueAt, moment);
}

std::optional<FileStamp> Gathering::stampOf(const std::string& key, const std::string& path) const
{
    const auto group = m_groups.find(key);
    if (group == m_groups.end())
        return std::nullopt;
    const auto picture = group->second.pictures.find(path);
    return picture == group->second.pictures.end() ? std::nullopt : std::optional(picture->second.stamp);
}

void Gathering::keepOnly(const std::unordered_set<std::string>& seen)
{
    for (auto group = m_groups.begin(); group != m_groups.end();) {
        auto& pictures = group->second.pictures;
        for (auto picture = pictures.begin(); picture != pictures.end();) {
            if (seen.count(picture->first) > 0) {
                ++picture;
                continue;
            }
            group->second.settling -= picture->second.isSettling ? 1 : 0;
            group->second.bytes -= picture->second.stamp.size;
            picture = pictures.erase(picture);
        }
        group = pictures.empty() && group->second.underWay.empty() ? m_groups.erase(group) : std::next(group);
    }
}

} // namespace krxservice
