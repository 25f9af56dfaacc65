#include "media/HashHistory.h"

#include "base/C4Id.h"
#include "base/Log.h"
#include "base/Text.h"
#include "documents/XmlTools.h"
#include "files/HeldDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>
#include <string_view>
#include <tuple>

namespace krxservice {

namespace {

using filetools::Descriptor;

constexpr char kFolder[] = "ascmhl";
constexpr char kChain[] = "ascmhl_chain.xml";
constexpr char kListSpace[] = "urn:ASC:MHL:v2.0";
constexpr char kChainSpace[] = "urn:ASC:MHL:DIRECTORY:v2.0";
constexpr std::string_view kListEnding = ".mhl";
constexpr std::string_view kScratchStart = ".krx-";
constexpr std::string_view kScratchEnd = ".part";
constexpr std::int64_t kLargest = std::int64_t{512} * 1024 * 1024; ///< bytes of a list or chain that is read
/// Generations, from the last one back, that may be ours without our knowing it.
constexpr std::size_t kLooksBack = 16;
/// What lies in the folder and is none of the copies.
constexpr std::array<const char*, 4> kIgnored = {".DS_Store", "ascmhl", "ascmhl/", ".krx-*.part"};

/// A list that the chain names.
struct Link
{
    std::int64_t number = 0;
    std::string name;
    std::string c4;
};

/// What tells one entry of a history from all others: path, hash, and when it was made.
using Event = std::tuple<std::string, std::string, std::string>;

/// The chain could not be used; carries the reason.
struct Unusable
{
    std::string reason;
};

constexpr mode_t kReaders = 0444;

std::string_view localName(std::string_view name)
{
    const auto colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

pugi::xml_node childCalled(const pugi::xml_node& parent, std::string_view name)
{
    return parent.find_child([name](const pugi::xml_node& child) { return localName(child.name()) == name; });
}

/// True when the root says that it belongs to \a space, by whatever prefix.
bool isIn(const pugi::xml_node& root, std::string_view name, std::string_view space)
{
    const std::string_view whole = root.name();
    const auto colon = whole.find(':');
    const std::string attribute =
        colon == std::string_view::npos ? "xmlns" : "xmlns:" + std::string(whole.substr(0, colon));
    return localName(whole) == name && root.attribute(attribute.c_str()).value() == space;
}

/// The hash alone: "xxh3-64:0123..." without its method.
std::string hashOf(const HistoryEntry& entry)
{
    return entry.checksum.substr(entry.checksum.find(':') + 1);
}

Event eventOf(const HistoryEntry& entry)
{
    return {entry.path, hashOf(entry), text::isoTime(entry.hashed)};
}

std::string hostName()
{
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 && name[0] ? name.data() : "localhost";
}

/// The number at the start of the name of a list, or 0.
std::int64_t numberOf(const std::string& name)
{
    std::size_t digits = 0;
    while (digits < name.size() && std::isdigit(static_cast<unsigned char>(name[digits])))
        ++digits;
    const bool isList = digits >= 4 && digits <= 9 && digits < name.size() && name[digits] == '_' &&
                        name.size() > kListEnding.size() &&
                        name.compare(name.size() - kListEnding.size(), kListEnding.size(), kListEnding) == 0;
    return isList ? std::strtoll(name.c_str(), nullptr, 10) : 0;
}

bool isScratch(std::string_view name)
{
    return name.size() > kScratchStart.size() + kScratchEnd.size() &&
           name.substr(0, kScratchStart.size()) == kScratchStart &&
           name.substr(name.size() - kScratchEnd.size()) == kScratchEnd;
}

} // namespace

/// One addition to a history.
class HashHistory::Run
{
public:
    Run(HashHistory& history, std::int64_t now)
        : m_history(history)
        , m_now(now)
        , m_root(history.m_folder)
    {
    }

    /// Throws Unusable.
    void add(const std::vector<HistoryEntry>& entries)
    {
        open();
        readChain();
        adopt(entries);
        std::set<Event> listed;
        const std::size_t old = m_links.size() > kLooksBack ? m_links.size() - kLooksBack : 0;
        for (std::size_t i = old; i < m_links.size(); ++i)
            forEachHash(m_links[i].name, [&](const Event& event) { listed.insert(event); });
        std::vector<HistoryEntry> left;
        for (const auto& entry : entries) {
            if (listed.insert(eventOf(entry)).second)
                left.push_back(entry);
        }
        if (left.empty())
            return;
        const std::string text = listText(left);
        const std::string name = listName(nextNumber());
        place(name, text, reachOf(left));
        try {
            chain({nextNumber(), name, c4Id(text)});
        } catch (const Unusable&) {
            ::unlinkat(m_place.get(), name.c_str(), 0);
            throw;
        }
        log::info("listed " + std::to_string(left.size()) + " copied files in " + path(name));
    }

private:
    std::string path(const std::string& name) const
    {
        return m_history.m_folder + '/' + kFolder + '/' + name;
    }
    [[noreturn]] void fail(const std::string& name, int error) const
    {
        throw Unusable{path(name) + ": " + text::errnoText(error)};
    }
    [[noreturn]] void damaged(const std::string& name, const std::string& what) const
    {
        throw Unusable{path(name) + ' ' + what};
    }

    void open()
    {
        if (!m_root.isOpen())
            throw Unusable{m_history.m_folder + ": " + text::errnoText(errno)};
        m_place = m_root.makeDirectories(kFolder, 0755);
        if (!m_place.isOpen())
            throw Unusable{m_history.m_folder + '/' + kFolder + ": " + text::errnoText(errno)};
        // Another program may write a history of its own here; file systems without locks go without.
        if (::flock(m_place.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
            throw Unusable{m_history.m_folder + '/' + kFolder + " is being written to by another program"};
        if (::fsync(m_root.get()) != 0 && errno != EINVAL)
            throw Unusable{m_history.m_folder + ": " + text::errnoText(errno)};
        Descriptor again(::openat(m_place.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        const std::unique_ptr<DIR, int (*)(DIR*)> names(::fdopendir(again.release()), &::closedir);
        if (!names)
            fail(".", errno);
        while (const dirent* entry = ::readdir(names.get())) {
            // Left by a crash: whoever else writes now is kept away by the lock.
            if (isScratch(entry->d_name))
                ::unlinkat(m_place.get(), entry->d_name, 0);
            else if (numberOf(entry->d_name) > 0)
                m_lists.insert(entry->d_name);
        }
    }

    /// The bytes of a file in the place; \a stamp tells which they were. Nothing when there is none.
    std::optional<std::string> read(const std::string& name, FileStamp* stamp = nullptr) const
    {
        const Descriptor file(
            ::openat(m_place.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        struct stat facts
        {
        };
        if (!file.isOpen() && errno == ENOENT)
            return std::nullopt;
        if (!file.isOpen() || ::fstat(file.get(), &facts) != 0)
            fail(name, errno);
        if (!S_ISREG(facts.st_mode) || facts.st_size > kLargest)
            damaged(name, "is no file that can be read");
        std::string bytes(static_cast<std::size_t>(facts.st_size), '\0');
        std::size_t got = 0;
        while (got < bytes.size()) {
            const ssize_t more =
                ::pread(file.get(), &bytes[got], bytes.size() - got, static_cast<off_t>(got));
            if (more < 0 && errno == EINTR)
                continue;
            if (more < 0)
                fail(name, errno);
            if (more == 0)
                break;
            got += static_cast<std::size_t>(more);
        }
        bytes.resize(got);
        if (stamp)
            *stamp = filetools::stampOf(facts);
        return bytes;
    }

    void readChain()
    {
        const auto text = read(kChain);
        if (!text)
            return;
        m_chain = *text;
        pugi::xml_document document;
        const auto parsed =
            document.load_buffer(m_chain.data(), m_chain.size(), pugi::parse_default, pugi::encoding_utf8);
        const auto root = document.document_element();
        if (!text::isXmlText(m_chain) || !parsed || !root)
            damaged(kChain, "is no XML document");
        if (!isIn(root, "ascmhldirectory", kChainSpace))
            damaged(kChain, "is no chain of the version 2.0");
        m_rootName = root.name();
        for (const auto& child : root.children()) {
            if (localName(child.name()) != "hashlist")
                continue;
            Link link{child.attribute("sequencenr").as_llong(), xmltools::textOf(childCalled(child, "path")),
                      xmltools::textOf(childCalled(child, "c4"))};
            if (link.number <= (m_links.empty() ? 0 : m_links.back().number) || link.name.empty() ||
                link.name.find('/') != std::string::npos)
                damaged(kChain, "names a list without a number in order or a name");
            check(link);
            m_links.push_back(std::move(link));
        }
    }

    void check(const Link& link)
    {
        struct stat facts
        {
        };
        const auto known = m_history.m_checked.find(link.name);
        if (known != m_history.m_checked.end() &&
            ::fstatat(m_place.get(), link.name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0 &&
            known->second.isUntouched(filetools::stampOf(facts)))
            return;
        FileStamp stamp;
        const auto bytes = read(link.name, &stamp);
        if (!bytes)
            damaged(link.name, "is missing, though the chain names it");
        if (c4Id(*bytes) != link.c4)
            damaged(link.name, "is not what the chain says of it: it was changed or damaged");
        m_history.m_checked[link.name] = stamp;
    }

    std::int64_t nextNumber() const { return m_links.empty() ? 1 : m_links.back().number + 1; }

    /// Puts the list into the chain that a crash kept from it, and refuses any other that is not in it.
    void adopt(const std::vector<HistoryEntry>& entries)
    {
        for (const auto& link : m_links)
            m_lists.erase(link.name);
        std::set<Event> ours;
        for (const auto& entry : entries)
            ours.insert(eventOf(entry));
        for (const auto& name : m_lists) {
            if (numberOf(name) < nextNumber())
                continue; // a copy of a list, put there by somebody
            bool isOurs = numberOf(name) == nextNumber();
            std::size_t count = 0;
            const std::string bytes = forEachHash(name, [&](const Event& event) {
                ++count;
                isOurs = isOurs && ours.count(event) > 0;
            });
            if (!isOurs || count == 0)
                damaged(name, "is not named by the chain, which is missing or damaged");
            chain({nextNumber(), name, c4Id(bytes)});
        }
    }

    /// Calls \a each for every XXH3 hash of a list. \return its bytes.
    template <typename Function>
    std::string forEachHash(const std::string& name, Function each) const
    {
        auto bytes = read(name);
        pugi::xml_document document;
        if (!bytes || !document.load_buffer(bytes->data(), bytes->size(),
                                            pugi::parse_cdata | pugi::parse_escapes | pugi::parse_ws_pcdata,
                                            pugi::encoding_utf8))
            damaged(name, "is no XML document");
        for (const auto& entry : childCalled(document.document_element(), "hashes").children()) {
            const auto hash = childCalled(entry, "xxh3");
            if (localName(entry.name()) == "hash" && hash)
                each(Event{xmltools::textOf(childCalled(entry, "path")), xmltools::textOf(hash),
                           hash.attribute("hashdate").value()});
        }
        return std::move(*bytes);
    }

    std::string listName(std::int64_t number) const
    {
        std::array<char, 32> digits{};
        std::snprintf(digits.data(), digits.size(), "%04lld_", static_cast<long long>(number));
        std::string time = text::isoTime(m_now); // 2026-01-02T03:04:05.678Z
        time = '_' + time.substr(0, 10) + '_' + time.substr(11, 2) + time.substr(14, 2) + time.substr(17, 2) +
               'Z' + std::string(kListEnding);
        std::string folder = text::baseName(m_history.m_folder);
        if (folder.empty())
            folder = "root";
        const std::string_view start = digits.data();
        const std::size_t room = filetools::longestName(m_place.get()) - start.size() - time.size();
        return std::string(start) + std::string(filetools::cutText(folder, room)) + time;
    }

    std::string listText(const std::vector<HistoryEntry>& entries)
    {
        const std::set<std::pair<std::string, std::string>> before = knownBefore(entries);
        pugi::xml_document document;
        auto root = xmltools::append(document, "hashlist");
        root.append_attribute("version") = "2.0";
        root.append_attribute("xmlns") = kListSpace;
        auto creator = xmltools::append(root, "creatorinfo");
        xmltools::append(creator, "creationdate", text::isoTime(m_now));
        xmltools::append(creator, "hostname", hostName());
        xmltools::append(creator, "tool", "krx-service").append_attribute("version") = KRX_VERSION;
        auto process = xmltools::append(root, "processinfo");
        xmltools::append(process, "process", "transfer");
        auto ignore = xmltools::append(process, "ignore");
        for (const char* pattern : kIgnored)
            xmltools::append(ignore, "pattern", pattern);
        auto hashes = xmltools::append(root, "hashes");
        for (const auto& entry : entries) {
            auto element = xmltools::append(hashes, "hash");
            auto path = xmltools::append(element, "path", entry.path);
            path.append_attribute("size") = std::to_string(entry.size).c_str();
            path.append_attribute("lastmodificationdate") = text::isoTime(entry.modified).c_str();
            auto hash = xmltools::append(element, "xxh3", hashOf(entry));
            hash.append_attribute("action") =
                before.count({entry.path, hashOf(entry)}) > 0 ? "verified" : "original";
            hash.append_attribute("hashdate") = text::isoTime(entry.hashed).c_str();
        }
        return xmltools::documentText(document);
    }

    /// Those of \a entries that were compared with what an earlier generation lists.
    std::set<std::pair<std::string, std::string>> knownBefore(const std::vector<HistoryEntry>& entries) const
    {
        std::set<std::pair<std::string, std::string>> asked;
        for (const auto& entry : entries) {
            if (entry.existed)
                asked.insert({entry.path, hashOf(entry)});
        }
        std::set<std::pair<std::string, std::string>> known;
        for (std::size_t i = m_links.size(); i-- > 0 && known.size() < asked.size();) {
            forEachHash(m_links[i].name, [&](const Event& event) {
                if (asked.count({std::get<0>(event), std::get<1>(event)}) > 0)
                    known.insert({std::get<0>(event), std::get<1>(event)});
            });
        }
        return known;
    }

    /// Who may read all of the copies, and so what is said of them.
    mode_t reachOf(const std::vector<HistoryEntry>& entries) const
    {
        mode_t reach = kReaders;
        for (const auto& entry : entries) {
            struct stat facts
            {
            };
            const bool isThere =
                ::fstatat(m_root.get(), entry.path.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0;
            reach &= isThere ? facts.st_mode : 0;
        }
        return reach;
    }

    /// Writes a file to the disk under a hidden name, then gives it \a name. People other than the owner get
    /// at most the permissions of \a reach, and may never write: they could forge what was copied.
    void place(const std::string& name, const std::string& bytes, mode_t reach, bool replaces = false)
    {
        const std::string scratch = std::string(kScratchStart) + text::newGuid() + std::string(kScratchEnd);
        struct stat above
        {
        };
        ::fstat(m_root.get(), &above);
        int error = 0;
        {
            const Descriptor file(::openat(m_place.get(), scratch.c_str(),
                                           O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
            if (!file.isOpen())
                fail(name, errno);
            // Who may look into the folder may read what it holds.
            ::fchmod(file.get(), (above.st_mode & reach & kReaders) | 0600);
            error = filetools::writeAll(file.get(), bytes);
            if (error == 0 && ::fsync(file.get()) != 0)
                error = errno;
        }
        if (error == 0 && replaces)
            error = ::renameat(m_place.get(), scratch.c_str(), m_place.get(), name.c_str()) == 0 ? 0 : errno;
        else if (error == 0)
            error = filetools::renameNoReplace(m_place.get(), scratch, name);
        if (error == 0 && ::fsync(m_place.get()) != 0 && errno != EINVAL)
            error = errno;
        if (error != 0) {
            ::unlinkat(m_place.get(), scratch.c_str(), 0);
            fail(name, error);
        }
    }

    /// Adds to the chain, whose other bytes stay what they are.
    void chain(const Link& link)
    {
        const auto end = m_chain.rfind("</" + m_rootName);
        if (m_chain.empty() || (m_links.empty() && end == std::string::npos)) {
            m_rootName = "ascmhldirectory";
            m_chain = xmltools::declaration() + '<' + m_rootName + " xmlns=\"" + kChainSpace + "\">\n</" +
                      m_rootName + ">\n";
        } else if (end == std::string::npos) {
            damaged(kChain, "has no end");
        }
        const auto colon = m_rootName.find(':');
        const std::string prefix =
            colon == std::string::npos ? std::string() : m_rootName.substr(0, colon + 1);
        pugi::xml_document document;
        auto element = xmltools::append(document, (prefix + "hashlist").c_str());
        element.append_attribute("sequencenr") = std::to_string(link.number).c_str();
        xmltools::append(element, (prefix + "path").c_str(), link.name);
        xmltools::append(element, (prefix + "c4").c_str(), link.c4);
        std::string longer = m_chain;
        longer.insert(longer.rfind("</" + m_rootName), xmltools::elementText(element));
        place(kChain, longer, kReaders, true);
        m_chain = std::move(longer);
        m_links.push_back(link);
    }

    HashHistory& m_history;
    std::int64_t m_now;
    HeldDirectory m_root;
    Descriptor m_place{-1};
    std::set<std::string> m_lists; ///< names of lists there, without those of the chain once they are known
    std::string m_chain;           ///< the bytes of the chain; empty without one
    std::string m_rootName;        ///< of its root element, with the prefix
    std::vector<Link> m_links;
};

std::string HashHistory::add(const std::vector<HistoryEntry>& entries, std::int64_t now)
{
    try {
        Run(*this, now).add(entries);
    } catch (const Unusable& failure) {
        return failure.reason;
    }
    return {};
}

} // namespace krxservice
