#include "http/Doorkeeper.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace krxservice {

namespace {

constexpr std::chrono::seconds kBetweenLines{10};
constexpr std::size_t kMostEntries = 256; ///< more users than this at once share one entry

std::string nameOf(uid_t user)
{
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 4096> buffer{};
    const bool named =
        ::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found && found->pw_name;
    const std::string number = "user " + std::to_string(user);
    return named ? number + " (" + found->pw_name + ")" : number;
}

} // namespace

Doorkeeper::Doorkeeper(std::vector<uid_t> allowed)
    : m_own(::geteuid())
    , m_allowed(std::move(allowed))
{
}

bool Doorkeeper::mayEnter(const Speaker& speaker, Kind kind) const
{
    if (!speaker.known)
        return false;
    if (speaker.user == m_own || speaker.user == 0)
        return true;
    return kind == Kind::Port &&
           std::find(m_allowed.begin(), m_allowed.end(), speaker.user) != m_allowed.end();
}

bool Doorkeeper::lets(int socket, Kind kind, Speaker* who)
{
    const Speaker speaker = m_finder.of(socket);
    if (who)
        *who = speaker;
    if (mayEnter(speaker, kind))
        return true;
    ++(speaker.known ? m_counts.strangers : m_counts.unknown);
    note(speaker);
    return false;
}

void Doorkeeper::note(const Speaker& speaker)
{
    auto key = std::make_pair(speaker.known, speaker.known ? speaker.user : 0);
    if (m_entries.size() >= kMostEntries && m_entries.count(key) == 0)
        key = {false, 0};
    Entry& entry = m_entries[key];
    if (key.first)
        entry.report.user = speaker.user;
    else
        entry.report.why = speaker.known ? "many users" : speaker.why;
    ++entry.report.count;
}

std::vector<Doorkeeper::Report> Doorkeeper::takeReports(std::chrono::steady_clock::time_point now)
{
    std::vector<Report> reports;
    for (auto entry = m_entries.begin(); entry != m_entries.end();) {
        Entry& one = entry->second;
        const bool due = !one.everSaid || one.said <= now - kBetweenLines;
        if (due && one.report.count == 0) {
            entry = m_entries.erase(entry);
            continue;
        }
        if (due) {
            reports.push_back(one.report);
            one.report.count = 0;
            one.said = now;
            one.everSaid = true;
        }
        ++entry;
    }
    return reports;
}

std::string Doorkeeper::text(const Report& report)
{
    const std::string much =
        report.count == 1 ? "a connection" : std::to_string(report.count) + " connections";
    if (report.user)
        return "refused " + much + " of " + nameOf(*report.user) + "; this service is another user's";
    return "refused " + much + " of which it was not found out whose they are: " + report.why;
}

} // namespace krxservice
