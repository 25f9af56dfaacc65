#include "media/OutputArea.h"

#include "base/FileTools.h"
#include "base/Text.h"

#include <dirent.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace krxservice {

namespace {

constexpr char kSuffix[] = ".xel";
constexpr std::size_t kLongestBase = 150; ///< bytes of the source's name that the output's name keeps

std::vector<std::string> namesIn(const std::string& directory)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(directory.c_str()), &::closedir);
    while (const dirent* entry = open ? ::readdir(open.get()) : nullptr)
        names.emplace_back(entry->d_name);
    return names;
}

bool isOutput(const std::string& name)
{
    return name.size() > 4 && name[0] != '.' && name.compare(name.size() - 4, 4, kSuffix) == 0;
}

} // namespace

OutputArea::OutputArea(std::string root)
    : m_root(std::move(root))
{
    const std::string jobs = m_root + "/jobs";
    if (const auto reason = filetools::makeDirectories(jobs); !reason.empty())
        throw std::runtime_error(reason);
    load(m_root);
    load(jobs);
}

void OutputArea::load(const std::string& directory)
{
    for (const auto& owner : namesIn(directory)) {
        if (!text::isLegalId(owner) || owner == "jobs")
            continue;
        for (const auto& name : namesIn(directory + '/' + owner)) {
            if (isOutput(name))
                m_index[owner][std::strtoll(name.c_str(), nullptr, 10)] = name;
        }
    }
}

std::string OutputArea::fileName(std::int64_t id, const std::string& source)
{
    std::string base = text::oneLine(text::xmlClean(text::baseName(source)));
    if (base.size() > kLongestBase) {
        base.resize(kLongestBase);
        // Not in the middle of a character.
        while (!text::isXmlText(base))
            base.pop_back();
    }
    return std::to_string(id) + '-' + base + kSuffix;
}

std::string OutputArea::directory(const std::string& owner) const
{
    return m_root + (owner[0] == 'j' ? "/jobs/" : "/") + owner;
}

std::string OutputArea::path(const std::string& owner, const std::string& name) const
{
    return directory(owner) + '/' + name;
}

std::string OutputArea::hiddenPath(const std::string& owner, const std::string& name) const
{
    return directory(owner) + "/." + name + ".tmp";
}

std::string OutputArea::prepare(const std::string& owner, const std::string& name,
                                const std::string& document)
{
    std::string reason = filetools::makeDirectories(directory(owner));
    if (reason.empty())
        reason = filetools::writeNewFile(hiddenPath(owner, name), document);
    return reason.empty() ? filetools::syncDirectory(directory(owner)) : reason;
}

std::string OutputArea::publish(const std::string& owner, const std::string& name)
{
    const std::lock_guard lock(m_mutex);
    if (::rename(hiddenPath(owner, name).c_str(), path(owner, name).c_str()) != 0)
        return path(owner, name) + ": " + text::errnoText(errno);
    m_index[owner][std::strtoll(name.c_str(), nullptr, 10)] = name;
    return filetools::syncDirectory(directory(owner));
}

bool OutputArea::isPrepared(const std::string& owner, const std::string& name) const
{
    return ::access(hiddenPath(owner, name).c_str(), F_OK) == 0;
}

void OutputArea::abandon(const std::string& owner, const std::string& name)
{
    ::unlink(hiddenPath(owner, name).c_str());
}

void OutputArea::dropTaken(const std::string& owner, Names& names)
{
    for (auto it = names.begin(); it != names.end();) {
        if (::access(path(owner, it->second).c_str(), F_OK) == 0)
            ++it;
        else
            it = names.erase(it);
    }
}

std::vector<std::string> OutputArea::list(const std::string& owner)
{
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> paths;
    const auto found = m_index.find(owner);
    if (found == m_index.end())
        return paths;
    dropTaken(owner, found->second);
    for (const auto& [id, name] : found->second)
        paths.push_back(path(owner, name));
    if (paths.empty())
        m_index.erase(found);
    return paths;
}

std::vector<std::string> OutputArea::readyFolders()
{
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> owners;
    for (auto it = m_index.begin(); it != m_index.end();) {
        dropTaken(it->first, it->second);
        if (it->second.empty()) {
            it = m_index.erase(it);
            continue;
        }
        if (it->first[0] == 'f')
            owners.push_back(it->first);
        ++it;
    }
    return owners;
}

void OutputArea::removeUnless(const std::function<bool(const std::string& owner, std::int64_t id)>& isWanted)
{
    const std::lock_guard lock(m_mutex);
    for (auto& [owner, names] : m_index) {
        for (auto it = names.begin(); it != names.end();) {
            if (isWanted(owner, it->first)) {
                ++it;
                continue;
            }
            ::unlink(path(owner, it->second).c_str());
            it = names.erase(it);
        }
    }
}

void OutputArea::removeAll(const std::string& owner)
{
    const std::lock_guard lock(m_mutex);
    const std::string place = directory(owner);
    for (const auto& name : namesIn(place)) {
        if (name != "." && name != "..")
            ::unlink((place + '/' + name).c_str());
    }
    ::rmdir(place.c_str());
    m_index.erase(owner);
}

} // namespace krxservice
