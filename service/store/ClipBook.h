#pragma once

#include "store/ChangeBoard.h"
#include "store/Database.h"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace krxservice {

/// Where a clip is on its way, in the order of the way.
enum class ClipStage {
    Found,
    Growing,
    Open,
    Settling,
    Waiting,
    Acting,
    Publishing,
    Offered,
    Taken,
    Failed,
    Rejected,
    Gone
};

/// What is told of a clip.
struct ClipNews
{
    ClipStage stage = ClipStage::Found;
    std::string reason = {};   ///< a sentence for a person
    std::string activity = {}; ///< the name of the action that runs, failed or waits
    int percent = 0;           ///< of all actions, 0 to 100
    double settlesIn = -1;     ///< seconds until it can be finished; negative when it does not settle
    std::string job = {};      ///< of the job that shows the work on it
    std::int64_t since = 0;    ///< by the steady clock, when it came to this stage; 0 for now
};

/// A clip and its story so far.
struct ClipEntry
{
    std::string id;    ///< never used again while the service runs
    std::string owner; ///< id of the folder or of the manual job
    bool isJob = false;
    std::string path;
    std::string profile; ///< id of the profile whose actions were begun; empty before
    std::string guid;    ///< of its output document and its lines in the log; empty before the work began
    ClipNews news;
    /// When it came to this stage by the clock on the wall as that is set now, nanoseconds since 1970; 0 when
    /// it was before the service began.
    std::int64_t since = 0;
    std::int64_t started = 0; ///< when the work on it began, the same way
    std::int64_t ended = 0;   ///< when the work on it ended, the same way
    double took = -1;         ///< seconds of work between these two; negative when either is not known
};

/// Where the book has the time from, in nanoseconds.
struct BookClocks
{
    std::function<std::int64_t()> wall;   ///< since 1970; is set now and then, by any amount
    std::function<std::int64_t()> steady; ///< since whenever; only goes on
    /// Those of this machine.
    static BookClocks real();
};

/// The list of clips for people: those that are on their way, and what became of the others. It is made from
/// the database, whatever changes there, and from what the watcher and the queue tell of clips of which the
/// database knows nothing yet. Thread-safe; throws DatabaseError.
class ClipBook
{
public:
    /// Kept, the latest ones; clips that are on their way are kept whatever their number.
    static constexpr std::size_t kMostClips = 10000;

    /// Which clips are asked for.
    struct Question
    {
        std::string folder;         ///< id; empty for all
        std::string job;            ///< id of a manual job; empty for all
        std::set<ClipStage> stages; ///< empty for all
        std::uint64_t since = 0;    ///< only what changed after this version of the board
        std::size_t offset = 0;
        std::size_t limit = 100;
    };
    struct Answer
    {
        std::size_t known = 0; ///< all of them
        std::size_t total = 0; ///< that fit the question, whatever offset and limit
        std::uint64_t version = 0;
        std::vector<ClipEntry> clips; ///< in the order in which they were first heard of
    };

    ClipBook(Database& database, ChangeBoard& board, BookClocks clocks = BookClocks::real());
    ~ClipBook();
    ClipBook(const ClipBook&) = delete;
    ClipBook& operator=(const ClipBook&) = delete;

    /// The word for a stage: "FOUND", ...; and the other way round.
    static std::string_view word(ClipStage stage);
    static std::optional<ClipStage> stage(std::string_view word);

    /// What the watcher and the queue know of a clip. Nothing for a clip that the database says is further.
    void tell(const std::string& owner, const std::string& path, const ClipNews& news);
    /// What was told of it counts no more: it is no clip by itself. What the database says stays.
    void withdraw(const std::string& owner, const std::string& path);
    /// How far the actions have come.
    /// \param percent of all actions. \param reason says the same to a person.
    void tellProgress(const std::string& owner, const std::string& path, const std::string& activity,
                      int percent, const std::string& reason);
    /// Why it failed or was rejected, or what it waits for.
    void tellReason(const std::string& owner, const std::string& path, const std::string& reason);
    /// Its file is gone: nothing of what failed or was refused is left to be told. The rest tells itself.
    void vanished(const std::string& owner, const std::string& path);
    /// The owner was removed, or its clips are to be found again.
    void forgetAll(const std::string& owner);
    /// Work on clips of \a owner was called off: those whose way is not over, only the one at \a path unless
    /// that is empty.
    void forgetUnfinished(const std::string& owner, const std::string& path = {});

    Answer list(const Question& question);

private:
    struct Line
    {
        ClipEntry entry;
        std::uint64_t version = 0; ///< of the board, when it changed last
        std::int64_t record = 0;   ///< of the database; 0 without one
        // By the steady clock, and 0 for before the start. What comes later has the greater moment, however
        // the clock on the wall is set.
        std::int64_t heard = 0; ///< when it was last told of
        std::int64_t since = 0; ///< that it is at its stage
        std::int64_t started = 0;
        std::int64_t ended = 0;
        std::int64_t worksSince = 0; ///< 0 while it is not worked on
        std::int64_t worked = 0;     ///< nanoseconds from the start on; what it waited does not count
        std::int64_t settlesAt = -1; ///< negative when it does not settle
    };
    /// What the database says of a clip.
    struct Row
    {
        std::int64_t id = 0;
        std::string owner;
        std::string path;
        std::string profile;
        std::string job;
        std::string state; ///< empty for a row that is gone
        std::string guid;
        std::string activity;
        std::string reason;
        std::int64_t moment = 0; ///< when it changed, by the steady clock; 0 for before the start
    };
    using Key = std::pair<std::string, std::string>; ///< owner and path

    void noteRow(std::string_view table, std::int64_t row);
    void tellTopics();
    std::vector<Row> readRows(const char* condition, std::int64_t value);
    std::vector<Row> readAllRows();
    void catchUp();
    void apply(const Row& row);
    Line& line(const std::string& owner, const std::string& path);
    static ClipEntry told(const Line& line, std::int64_t now, std::int64_t wallOffset);
    std::int64_t wallOffset(std::int64_t now);
    void setStage(Line& line, ClipStage stage, std::int64_t moment);
    void touched(Line& line);
    void erase(std::uint64_t number);

    Database& m_database;
    ChangeBoard& m_board;
    const BookClocks m_clocks;

    std::mutex m_rowsMutex;                      ///< taken while the database is locked
    std::map<std::int64_t, std::int64_t> m_rows; ///< that changed, and when
    bool m_rowsLost = false;                     ///< there were too many: all must be read again
    std::set<Topic> m_topics;                    ///< of the present transaction

    std::mutex m_mutex;            ///< taken while nothing else is locked; the database never meanwhile
    std::uint64_t m_count = 0;     ///< of ids that were given
    std::int64_t m_wallOffset = 0; ///< of the clock on the wall from the steady one
    std::map<std::uint64_t, Line> m_lines; ///< by the number in their id
    std::set<std::uint64_t> m_over;        ///< those whose way is over
    std::map<Key, std::uint64_t> m_byKey;
    std::unordered_map<std::int64_t, std::uint64_t> m_byRecord;
};

} // namespace krxservice
