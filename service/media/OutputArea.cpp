#include "media/OutputArea.h"

#include "base/Text.h"
#include "files/Aside.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

namespace krxservice {

namespace {

constexpr char kSuffix[] = ".xel";
constexpr char kHiddenSuffix[] = ".tmp";
constexpr char kJobs[] = "/jobs";
constexpr char kRemoval[] = ".removed-";   ///< before the name of an owner whose documents go
constexpr std::int64_t kTick = 2000000000; ///< nanoseconds; longer than that of any clock of a file system
constexpr std::size_t kLongestBase = 150;  ///< bytes of the source's name that the output's name keeps

std::vector<std::string> namesIn(const std::string& directory)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(directory.c_str()), &::closedir);
    while (const dirent* entry = open ? ::readdir(open.get()) : nullptr)
        names.emplace_back(entry->d_name);
    return names;
}

std::int64_t idOf(const std::string& name)
{
    return std::strtoll(name.c_str(), nullptr, 10);
}

bool isThere(const std::string& path)
{
    return ::access(path.c_str(), F_OK) == 0;
}

bool isOutput(const std::string& name)
{
    return name.size() > 4 && name[0] != '.' && name.compare(name.size() - 4, 4, kSuffix) == 0;
}

/// When a directory was changed last, nanoseconds since 1970; 0 when it cannot be seen.
std::int64_t changeOf(const std::string& directory)
{
    struct stat facts
    {
    };
    if (::stat(directory.c_str(), &facts) != 0)
        return 0;
    return std::int64_t{facts.st_mtim.tv_sec} * 1000000000 + facts.st_mtim.tv_nsec;
}

/// The name that a document has or will have once it is published.
std::string visible(const std::string& name)
{
    constexpr std::size_t kAdded = sizeof kHiddenSuffix; // and the dot in front
    if (name.size() > kAdded && name[0] == '.' &&
        name.compare(name.size() - (kAdded - 1), kAdded - 1, kHiddenSuffix) == 0)
        return name.substr(1, name.size() - kAdded);
    return name;
}

void removeDirectory(const std::string& directory)
{
    for (const auto& name : namesIn(directory)) {
        if (name != "." && name != "..")
            ::unlink((directory + '/' + name).c_str());
    }
    ::rmdir(directory.c_str());
}

} // namespace

OutputArea::OutputArea(std::string root)
    : m_root(std::move(root))
{
    if (const auto reason = filetools::makeDirectories(m_root + kJobs); !reason.empty())
        throw std::runtime_error(reason);
    load();
}

void OutputArea::load()
{
    const std::lock_guard lock(m_mutex);
    m_index.clear();
    m_whole.clear();
    for (const auto& place : {m_root, m_root + kJobs}) {
        for (const auto& owner : namesIn(place)) {
            if (text::isLegalId(owner) && owner != kJobs + 1)
                load(owner);
        }
    }
}

void OutputArea::load(const std::string& owner)
{
    for (const auto& name : namesIn(directory(owner))) {
        if (isOutput(name))
            m_index[owner][idOf(name)] = name;
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

std::string OutputArea::directoryOf(const std::string& owner)
{
    return (owner[0] == 'j' ? std::string(kJobs + 1) + '/' : std::string()) + owner;
}

std::string OutputArea::directory(const std::string& owner) const
{
    return m_root + '/' + directoryOf(owner);
}

std::string OutputArea::hiddenName(const std::string& name)
{
    return '.' + name + kHiddenSuffix;
}

std::string OutputArea::removalOf(const std::string& owner)
{
    return kRemoval + owner;
}

std::string OutputArea::removalPlace(const std::string& owner) const
{
    return m_root + '/' + removalOf(owner);
}

std::string OutputArea::path(const std::string& owner, const std::string& name) const
{
    return directory(owner) + '/' + name;
}

std::string OutputArea::hiddenPath(const std::string& owner, const std::string& name) const
{
    return directory(owner) + '/' + hiddenName(name);
}

std::string OutputArea::write(const std::string& path, const std::string& text, filetools::Descriptor& file)
{
    ::unlink(path.c_str()); // of an interrupted run
    file = filetools::Descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    const int error = file.isOpen() ? filetools::writeAll(file.get(), text) : errno;
    return error == 0 ? std::string() : path + ": " + text::errnoText(error);
}

void OutputArea::prepare(std::vector<Document>& documents)
{
    std::vector<filetools::Descriptor> files;
    for (auto& document : documents) {
        files.emplace_back(-1);
        if (!document.error.empty())
            continue;
        document.error = filetools::makeDirectories(directory(document.owner));
        if (document.error.empty())
            document.error = write(hiddenPath(document.owner, document.name), document.text, files.back());
    }
    // After all were written: the first of them takes most of the others along.
    for (std::size_t i = 0; i < documents.size(); ++i) {
        if (documents[i].error.empty() && ::fsync(files[i].get()) != 0)
            documents[i].error = documents[i].name + ": " + text::errnoText(errno);
    }
    syncDirectories(documents);
    for (const auto& document : documents) {
        if (!document.error.empty() && !document.name.empty())
            abandon(document.owner, document.name);
    }
}

/// Each directory once.
void OutputArea::syncDirectories(std::vector<Document>& documents) const
{
    std::map<std::string, std::string> reasons;
    for (auto& document : documents) {
        if (!document.error.empty())
            continue;
        const auto [reason, isFirst] = reasons.try_emplace(document.owner);
        if (isFirst)
            reason->second = filetools::syncDirectory(directory(document.owner));
        document.error = reason->second;
    }
}

void OutputArea::publish(std::vector<Document>& documents)
{
    const std::lock_guard lock(m_mutex);
    for (auto& document : documents) {
        if (!document.error.empty())
            continue;
        const std::string to = path(document.owner, document.name);
        m_whole.erase(document.owner);
        if (::rename(hiddenPath(document.owner, document.name).c_str(), to.c_str()) == 0)
            m_index[document.owner][idOf(document.name)] = document.name;
        else
            document.error = to + ": " + text::errnoText(errno);
    }
    syncDirectories(documents);
}

std::string OutputArea::prepare(const std::string& owner, const std::string& name,
                                const std::string& document)
{
    std::vector<Document> one = {{owner, name, document, {}}};
    prepare(one);
    return one[0].error;
}

std::string OutputArea::publish(const std::string& owner, const std::string& name)
{
    std::vector<Document> one = {{owner, name, {}, {}}};
    publish(one);
    return one[0].error;
}

bool OutputArea::isPrepared(const std::string& owner, const std::string& name) const
{
    return isThere(hiddenPath(owner, name));
}

bool OutputArea::hasLeftItsHiddenPlace(const std::string& owner, const std::string& name) const
{
    // Removals begin and end under this lock.
    const std::lock_guard lock(m_mutex);
    return !isThere(hiddenPath(owner, name)) && errno == ENOENT && isThere(directory(owner)) &&
           !isThere(removalPlace(owner));
}

bool OutputArea::isPublished(const std::string& owner, const std::string& name) const
{
    return isThere(path(owner, name));
}

void OutputArea::abandon(const std::string& owner, const std::string& name)
{
    ::unlink(hiddenPath(owner, name).c_str());
}

std::vector<std::string> OutputArea::present(const std::string& owner, Names& names)
{
    std::vector<std::string> paths;
    paths.reserve(names.size());
    const std::int64_t changed = changeOf(directory(owner));
    const auto whole = m_whole.find(owner);
    if (whole != m_whole.end() && changed != 0 && whole->second == changed) {
        for (const auto& name : names)
            paths.push_back(path(owner, name.second));
        return paths;
    }
    for (auto it = names.begin(); it != names.end();) {
        const std::string document = path(owner, it->second);
        if (isThere(document)) {
            paths.push_back(document);
        } else if (errno == ENOENT && isThere(directory(owner))) {
            m_taken.emplace_back(owner, it->first);
            it = names.erase(it);
            continue;
        }
        // Anything else says nothing about the document: it cannot be offered now, and may be later.
        ++it;
    }
    // What changes from now on gives the directory another time, unless it changes within one tick of the
    // clock.
    if (changed != 0 && text::now() - changed > kTick && paths.size() == names.size())
        m_whole[owner] = changed;
    else
        m_whole.erase(owner);
    return paths;
}

std::vector<std::string> OutputArea::list(const std::string& owner)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_index.find(owner);
    if (found == m_index.end())
        return {};
    auto paths = present(owner, found->second);
    if (found->second.empty())
        m_index.erase(found);
    return paths;
}

std::map<std::string, std::vector<std::string>> OutputArea::listAll()
{
    const std::lock_guard lock(m_mutex);
    std::map<std::string, std::vector<std::string>> waiting;
    for (auto it = m_index.begin(); it != m_index.end();) {
        auto paths = present(it->first, it->second);
        if (!paths.empty())
            waiting.emplace_hint(waiting.end(), it->first, std::move(paths));
        it = it->second.empty() ? m_index.erase(it) : std::next(it);
    }
    return waiting;
}

std::vector<std::string> OutputArea::readyFolders()
{
    std::vector<std::string> owners;
    for (const auto& [owner, paths] : listAll()) {
        if (owner[0] == 'f')
            owners.push_back(owner);
    }
    return owners;
}

void OutputArea::expect(const std::string& owner, const std::string& name)
{
    const std::lock_guard lock(m_mutex);
    m_index[owner][idOf(name)] = name;
    m_whole.erase(owner);
}

bool OutputArea::hasTaken() const
{
    const std::lock_guard lock(m_mutex);
    return !m_taken.empty();
}

std::vector<OutputArea::Key> OutputArea::takeTaken()
{
    readyFolders();
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_taken, {});
}

void OutputArea::beginRemoval(const std::string& owner)
{
    const std::lock_guard lock(m_mutex);
    // What an earlier removal could not put back is not lost in this one.
    bringBack(owner);
    ::rename(directory(owner).c_str(), removalPlace(owner).c_str());
    m_index.erase(owner);
    m_whole.erase(owner);
}

void OutputArea::endRemoval(const std::string& owner)
{
    const std::lock_guard lock(m_mutex);
    removeDirectory(removalPlace(owner));
}

void OutputArea::undoRemoval(const std::string& owner)
{
    const std::lock_guard lock(m_mutex);
    bringBack(owner);
    load(owner);
    m_whole.erase(owner);
}

void OutputArea::bringBack(const std::string& owner) const
{
    const std::string from = removalPlace(owner);
    for (const auto& name : namesIn(from)) {
        if (name == "." || name == "..")
            continue;
        filetools::makeDirectories(directory(owner));
        filetools::renameNoReplace(from + '/' + name, directory(owner) + '/' + name);
    }
    ::rmdir(from.c_str());
}

std::string OutputArea::settle(const IsKnown& isKnown, bool endsRemovals, int& count)
{
    count = 0;
    for (const auto& name : namesIn(m_root)) {
        if (name.rfind(kRemoval, 0) != 0)
            continue;
        const std::string owner = name.substr(sizeof kRemoval - 1);
        for (const auto& document : namesIn(m_root + '/' + name)) {
            if (endsRemovals && document != "." && document != ".." &&
                !isKnown({owner, idOf(visible(document))}, visible(document)))
                ::unlink((m_root + '/' + name + '/' + document).c_str());
        }
        undoRemoval(owner);
    }
    std::string kept;
    for (const auto& place : {m_root, m_root + kJobs}) {
        for (const auto& owner : namesIn(place)) {
            if (!text::isLegalId(owner) || owner == kJobs + 1)
                continue;
            bool wasEmptied = false;
            for (const auto& name : namesIn(directory(owner))) {
                const std::string document = visible(name);
                if (!isOutput(document) || isKnown({owner, idOf(document)}, document))
                    continue;
                if (kept.empty())
                    kept = aside::nameFor(m_root, "kept");
                filetools::makeDirectories(kept + '/' + owner);
                const std::string to = kept + '/' + owner + '/' + document;
                if (filetools::renameNoReplace(directory(owner) + '/' + name, to) == 0) {
                    ++count;
                    wasEmptied = true;
                }
            }
            // A directory that is there tells that the documents of others in it were taken.
            if (wasEmptied)
                ::rmdir(directory(owner).c_str());
        }
    }
    load();
    return kept;
}

} // namespace krxservice
