#include "client/Redactor.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <regex>
#include <sstream>
#include <string_view>

namespace krxservice {

namespace {

constexpr char kRest[] = "[...]";
constexpr std::size_t kLongestExtension = 5; ///< with its dot

/// Parts of paths that say nothing about anybody.
constexpr std::string_view kSystem[] = {"",
                                        ".",
                                        "..",
                                        "bin",
                                        "boot",
                                        "dev",
                                        "etc",
                                        "home",
                                        "inotify",
                                        "lib",
                                        "lib64",
                                        "local",
                                        "media",
                                        "mnt",
                                        "opt",
                                        "proc",
                                        "root",
                                        "run",
                                        "sbin",
                                        "self",
                                        "share",
                                        "shm",
                                        "srv",
                                        "state",
                                        "sys",
                                        "fs",
                                        "tmp",
                                        "user",
                                        "usr",
                                        "var",
                                        "volumes",
                                        ".cache",
                                        ".config",
                                        ".local",
                                        "log",
                                        "journal",
                                        "systemd",
                                        "KRXService",
                                        "config.toml",
                                        "files",
                                        "jobs",
                                        "output",
                                        "socket",
                                        "krx-service",
                                        "krx-media",
                                        "ffmpeg",
                                        "net",
                                        "krx-service.db",
                                        "krx-service.db-wal",
                                        "krx-service.kept.xml",
                                        "krx-service.log",
                                        "krx-service.lock",
                                        "max_user_watches",
                                        "max_user_instances",
                                        "max_queued_events"};

bool isSystem(std::string_view part)
{
    return std::find(std::begin(kSystem), std::end(kSystem), part) != std::end(kSystem) ||
           std::all_of(part.begin(), part.end(),
                       [](char c) { return std::isdigit(static_cast<unsigned char>(c)); });
}

bool isWordCharacter(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return std::isalnum(byte) || c == '_' || c == '-' || byte >= 0x80;
}

std::vector<std::string> partsOf(const std::string& path)
{
    std::vector<std::string> parts;
    std::istringstream stream(path);
    for (std::string part; std::getline(stream, part, '/');)
        parts.push_back(part);
    return parts;
}

std::string extensionOf(const std::string& part)
{
    const auto dot = part.rfind('.');
    if (dot == std::string::npos || dot == 0 || part.size() - dot > kLongestExtension)
        return {};
    const std::string extension = part.substr(dot);
    const bool isPlain = std::all_of(extension.begin() + 1, extension.end(),
                                     [](char c) { return std::isalnum(static_cast<unsigned char>(c)); });
    return isPlain ? extension : std::string();
}

} // namespace

const std::string& Redactor::standInFor(const std::string& part)
{
    const auto number = std::to_string(m_standIns.size() + 1);
    return m_standIns.try_emplace(part, "name-" + number + extensionOf(part)).first->second;
}

void Redactor::addName(const std::string& name)
{
    if (name.empty() || isSystem(name))
        return;
    m_names.insert(name);
    standInFor(name);
}

void Redactor::addPath(const std::string& path)
{
    for (const auto& part : partsOf(path)) {
        if (!isSystem(part))
            standInFor(part);
    }
}

/// Replaces what is known, the longest first: a name may begin like another one.
std::string Redactor::knownReplaced(const std::string& line) const
{
    std::vector<std::pair<std::string, std::string>> known(m_standIns.begin(), m_standIns.end());
    std::stable_sort(known.begin(), known.end(),
                     [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
    std::string result;
    for (std::size_t at = 0; at < line.size();) {
        const char before = at == 0 ? ' ' : line[at - 1];
        const auto fits = [&](const auto& one) {
            const auto& [name, standIn] = one;
            if (line.compare(at, name.size(), name) != 0)
                return false;
            const std::size_t end = at + name.size();
            const bool ends = end == line.size() || !isWordCharacter(line[end]);
            return ends && (before == '/' || (m_names.count(name) > 0 && !isWordCharacter(before)));
        };
        const auto found = std::find_if(known.begin(), known.end(), fits);
        if (found == known.end()) {
            result += line[at++];
            continue;
        }
        result += found->second;
        at += found->first.size();
    }
    return result;
}

/// People whom nobody added: the log calls them "user 1000 (anna)".
void Redactor::learnPeople(const std::string& text)
{
    static const std::regex person("\\buser [0-9]+ \\(([^()\n]+)\\)");
    for (auto found = std::sregex_iterator(text.begin(), text.end(), person); found != std::sregex_iterator();
         ++found) {
        if (const std::string name = (*found)[1]; name != "root")
            addName(name);
    }
}

std::string Redactor::redactLine(const std::string& line)
{
    const std::string known = knownReplaced(line);
    std::string result;
    std::set<std::string> standIns;
    for (const auto& [name, standIn] : m_standIns)
        standIns.insert(standIn);
    for (std::size_t at = 0; at < known.size();) {
        const char before = at == 0 ? ' ' : known[at - 1];
        const bool isOfUrl = before == '/' || before == ']' || (before == ':' && known[at + 1] == '/');
        const bool begins = known[at] == '/' && !isWordCharacter(before) && !isOfUrl;
        if (!begins) {
            result += known[at++];
            continue;
        }
        const std::size_t end = std::min(known.find_first_of(" \"'(),;", at), known.size());
        bool isUnknown = false;
        for (const auto& part : partsOf(known.substr(at + 1, end - at - 1))) {
            // A text goes on behind a path with a colon or a full stop.
            const auto last = part.find_last_not_of(":.");
            const std::string bare = last == std::string::npos ? std::string() : part.substr(0, last + 1);
            const auto colon = bare.find_last_not_of("0123456789");
            const bool hasLine = colon != std::string::npos && bare[colon] == ':';
            const std::string plain = hasLine ? bare.substr(0, colon) : bare;
            const bool isKnown = isSystem(plain) || standIns.count(plain) > 0;
            result += '/' + (isKnown ? part : standInFor(plain));
            isUnknown = isUnknown || !isKnown;
        }
        if (end == at + 1)
            result += '/';
        if (isUnknown)
            return result + (end < known.size() ? std::string(" ") + kRest : std::string());
        at = end;
    }
    return result;
}

std::string Redactor::redact(const std::string& text)
{
    learnPeople(text);
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        result += redactLine(line) + '\n';
    return result;
}

} // namespace krxservice
