#pragma once

#include "http/Speaker.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace krxservice {

/// How many connections and requests were turned away since the start. Read and written from every thread.
struct RefusalCounts
{
    std::atomic<std::uint64_t> strangers{0}; ///< connections of other users
    std::atomic<std::uint64_t> unknown{0};   ///< connections of which it was not found out whose they are
    std::atomic<std::uint64_t> requests{0};  ///< requests that were refused before a resource saw them
    std::atomic<std::uint64_t> pushedOut{0}; ///< connections closed to make room for newer ones
};

/// Decides whose connections are served: those of the service's own user, those of root, and on the port
/// those of users who were allowed on purpose. Everybody else is refused, counted, and named in the log,
/// which tells of a thousand refusals in as few lines as of one.
class Doorkeeper
{
public:
    enum class Kind { Port, Socket };

    /// One thing to say in the log: connections of one user (or of nobody who was found out).
    struct Report
    {
        std::optional<uid_t> user;
        std::string why;
        std::uint64_t count = 0;
    };

    /// \a allowed are the users who may come by the port besides the own one and root.
    explicit Doorkeeper(std::vector<uid_t> allowed = {});

    /// Looks at a connection of which nothing was read yet. False when it must be refused. \a who, when
    /// given, becomes whose it is.
    bool lets(int socket, Kind kind, Speaker* who = nullptr);
    /// True for users who are served because they were allowed on purpose.
    bool isGuest(const Speaker& speaker) const
    {
        return speaker.known && speaker.user != m_own && speaker.user != 0;
    }
    /// Whether \a speaker is served now. Counts and notes nothing.
    bool mayEnter(const Speaker& speaker, Kind kind) const;

    void setAllowed(std::vector<uid_t> allowed) { m_allowed = std::move(allowed); }
    RefusalCounts& counts() { return m_counts; }
    SpeakerFinder& finder() { return m_finder; }

    /// What is to be logged now: of every user the first refusal at once, later ones summed up every ten
    /// seconds. \a now is passed in so that nobody has to wait for it.
    std::vector<Report> takeReports(std::chrono::steady_clock::time_point now);

    /// The log's line for \a report. Looks up the user's name, which may take its time.
    static std::string text(const Report& report);

private:
    struct Entry
    {
        Report report;
        std::chrono::steady_clock::time_point said{};
        bool everSaid = false;
    };

    void note(const Speaker& speaker);

    SpeakerFinder m_finder;
    uid_t m_own;
    std::vector<uid_t> m_allowed;
    RefusalCounts m_counts;
    std::map<std::pair<bool, uid_t>, Entry> m_entries; ///< by whether found out, and by user
};

} // namespace krxservice
