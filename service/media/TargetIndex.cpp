#include "media/TargetIndex.h"

#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"
#include "media/ClipFiles.h"
#include "media/Sequence.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <system_error>

namespace krxservice {

namespace {

constexpr char kFirstLine[] = "krx-index 1";
/// Beside the file itself, where the file system has room: what it was made of outlives the index.
constexpr char kAttribute[] = "user.krx.madeof";
constexpr char kClip[] = "clip";

/// One at a time for each folder.
std::shared_ptr<std::mutex> mutexOf(const std::string& folder)
{
    static std::mutex guard;
    static std::map<std::string, std::shared_ptr<std::mutex>> mutexes;
    const std::lock_guard lock(guard);
    auto& mutex = mutexes[folder];
    if (!mutex)
        mutex = std::make_shared<std::mutex>();
    return mutex;
}

/// The clip that a file of the folder belongs to, as it is now.
std::optional<FileStamp> stampNow(const std::string& path)
{
    const ClipFiles files = clipfiles::of(path, {}, true);
    if (files.sequence && files.path == path)
        return files.stamp;
    return filetools::stampOfUnlinked(path);
}

/// Files that are no links and not hidden, in any depth.
std::vector<std::string> filesIn(const std::string& folder, const CancelToken& cancel)
{
    namespace fs = std::filesystem;
    std::vector<std::string> paths;
    std::error_code error;
    fs::recursive_directory_iterator it(folder, fs::directory_options::skip_permission_denied, error);
    for (; !error && it != fs::recursive_directory_iterator() && !*cancel; it.increment(error)) {
        const std::string path = it->path().string();
        const bool isHidden = text::baseName(path).front() == '.';
        std::error_code ignored;
        const auto kind = it->symlink_status(ignored).type();
        if (isHidden && kind == fs::file_type::directory)
            it.disable_recursion_pending();
        if (!isHidden && kind == fs::file_type::regular && text::isPlainText(path))
            paths.push_back(path);
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string attributeOf(const std::string& path)
{
    std::array<char, 512> value{};
    const ssize_t size = ::lgetxattr(path.c_str(), kAttribute, value.data(), value.size());
    return size > 0 ? std::string(value.data(), static_cast<std::size_t>(size)) : std::string();
}

} // namespace

TargetIndex::TargetIndex(std::string folder)
    : m_folder(std::move(folder))
{
}

std::string TargetIndex::lineOf(const Entry& entry) const
{
    const FileFacts& made = entry.made;
    return entry.key.kind + ' ' + entry.key.checksum + ' ' + made.checksum + ' ' +
           std::to_string(made.stamp.size) + ' ' + std::to_string(made.stamp.modified) + ' ' +
           made.path.substr(m_folder.size() + 1);
}

std::optional<TargetIndex::Entry> TargetIndex::entryOf(const std::string& line) const
{
    Entry entry;
    std::istringstream in(line);
    in >> entry.key.kind >> entry.key.checksum >> entry.made.checksum >> entry.made.stamp.size >>
        entry.made.stamp.modified;
    in.ignore(1);
    std::string path;
    if (!in || !std::getline(in, path) || path.empty() || path.front() == '/' ||
        ('/' + path + '/').find("/../") != std::string::npos)
        return std::nullopt;
    entry.made.path = m_folder + '/' + path;
    return entry;
}

/// Nothing when there is no index.
std::optional<std::vector<TargetIndex::Entry>> TargetIndex::read() const
{
    std::ifstream in(m_folder + '/' + kName);
    std::string line;
    if (!in || !std::getline(in, line) || line != kFirstLine)
        return std::nullopt;
    std::vector<Entry> entries;
    while (std::getline(in, line)) {
        // A line that a crash cut off is no entry.
        if (auto entry = entryOf(line))
            entries.push_back(std::move(*entry));
    }
    return entries;
}

std::vector<TargetIndex::Entry> TargetIndex::rebuild(const CancelToken& cancel) const
{
    std::vector<Entry> entries;
    struct stat facts
    {
    };
    if (::stat(m_folder.c_str(), &facts) != 0)
        return entries;
    for (const auto& path : clipfiles::clips(filesIn(m_folder, cancel), {}, true)) {
        if (*cancel)
            return entries;
        // What it was made of, as long as it is what was made.
        const auto stamp = stampNow(path);
        const auto known = entryOf(attributeOf(path) + ' ' + path.substr(m_folder.size() + 1));
        if (!stamp)
            continue;
        if (known && known->made.stamp == *stamp) {
            entries.push_back(*known);
            continue;
        }
        const ClipFiles files = clipfiles::of(path, {}, true);
        std::string error;
        const auto checksum = files.sequence
                                  ? clipfiles::fingerprint(*files.sequence, {}, stamp->size, cancel, error)
                                  : filetools::checksum(path, cancel, error);
        if (checksum)
            entries.push_back({{kClip, *checksum}, {path, *stamp, *checksum}});
    }
    std::string text = std::string(kFirstLine) + '\n';
    for (const auto& entry : entries)
        text += lineOf(entry) + '\n';
    const std::string scratch = m_folder + "/.krx-" + text::newGuid() + ".part";
    std::string reason = filetools::writeNewFile(scratch, text);
    if (reason.empty() && std::rename(scratch.c_str(), (m_folder + '/' + kName).c_str()) != 0)
        reason = text::errnoText(errno);
    if (!reason.empty()) {
        ::unlink(scratch.c_str());
        log::warning("the index of " + m_folder + " cannot be kept: " + reason);
    }
    return entries;
}

std::optional<FileFacts> TargetIndex::find(const Key& key, const CancelToken& cancel) const
{
    const auto mutex = mutexOf(m_folder);
    const std::lock_guard lock(*mutex);
    const auto kept = read();
    return findAmong(kept ? *kept : rebuild(cancel), key);
}

std::optional<FileFacts> TargetIndex::findKept(const Key& key) const
{
    const auto mutex = mutexOf(m_folder);
    const std::lock_guard lock(*mutex);
    const auto kept = read();
    return kept ? findAmong(*kept, key) : std::nullopt;
}

std::optional<FileFacts> TargetIndex::findAmong(const std::vector<Entry>& entries, const Key& key)
{
    for (const auto& entry : entries) {
        if (entry.key.kind != key.kind || entry.key.checksum != key.checksum)
            continue;
        if (const auto now = stampNow(entry.made.path); now && *now == entry.made.stamp) {
            FileFacts found = entry.made;
            found.stamp = *now;
            return found;
        }
    }
    return std::nullopt;
}

void TargetIndex::add(const Key& key, const FileFacts& made) const
{
    const auto mutex = mutexOf(m_folder);
    const std::lock_guard lock(*mutex);
    const Entry entry{key, made};
    std::string line = lineOf(entry);
    const std::string attribute = line.substr(0, line.size() - (made.path.size() - m_folder.size() - 1) - 1);
    ::lsetxattr(made.path.c_str(), kAttribute, attribute.data(), attribute.size(), 0);
    if (!read())
        rebuild(makeCancelToken());
    line = '\n' + line + '\n'; // behind what a crash may have cut off
    const filetools::Descriptor file(
        ::open((m_folder + '/' + kName).c_str(), O_WRONLY | O_APPEND | O_NOFOLLOW | O_CLOEXEC));
    if (!file.isOpen() || filetools::writeAll(file.get(), line) != 0)
        log::warning("the index of " + m_folder + " cannot be kept: " + text::errnoText(errno));
}

} // namespace krxservice
