#include "store/ClipBook.h"

#include "base/Text.h"
#include "store/ErrorStore.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>

namespace krxservice {

namespace {

constexpr std::array<std::string_view, 12> kWords = {"FOUND",   "GROWING", "OPEN",       "SETTLING",
                                                     "WAITING", "ACTING",  "PUBLISHING", "OFFERED",
                                                     "TAKEN",   "FAILED",  "REJECTED",   "GONE"};

/// The states of the database, by their words there.
struct StateStage
{
    std::string_view word;
    ClipStage stage;
    const char* reason;
};
constexpr std::array<StateStage, 7> kStates = {{
    {"waiting", ClipStage::Waiting, "Waits for its turn"},
    {"acting", ClipStage::Acting, "Is being worked on"},
    {"publishing", ClipStage::Publishing, "Its link document is being written"},
    {"offered", ClipStage::Offered, "Is ready to be taken"},
    {"taken", ClipStage::Taken, "Was taken"},
    {"rejected", ClipStage::Rejected, "Is not offered"},
    {"failed", ClipStage::Failed, "An action failed"},
}};
constexpr char kGone[] = "Its file is gone";

/// By less than this the two clocks drift apart without one of them being set, nanoseconds.
constexpr std::int64_t kDrift = 100'000'000;

/// More rows than these are not noted one by one: all is read again.
constexpr std::size_t kMostRows = 4 * ClipBook::kMostClips;

bool isOver(ClipStage stage)
{
    return stage >= ClipStage::Offered;
}

bool isWork(ClipStage stage)
{
    return stage == ClipStage::Acting || stage == ClipStage::Publishing;
}

std::optional<Topic> topicOf(std::string_view table)
{
    constexpr std::array<std::pair<std::string_view, Topic>, 5> tables = {{
        {"folders", Topic::Folders},
        {"profiles", Topic::Profiles},
        {"jobs", Topic::Jobs},
        {"clips", Topic::Clips},
        {"errors", Topic::Errors},
    }};
    for (const auto& [name, topic] : tables) {
        if (name == table)
            return topic;
    }
    return std::nullopt;
}

} // namespace

BookClocks BookClocks::real()
{
    using namespace std::chrono;
    return {text::now,
            [] { return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count(); }};
}

ClipBook::ClipBook(Database& database, ChangeBoard& board, BookClocks clocks)
    : m_database(database)
    , m_board(board)
    , m_clocks(std::move(clocks))
{
    m_rowsLost = true;
    catchUp();
    Database::Observer observer;
    observer.row = [this](std::string_view table, std::int64_t row) { noteRow(table, row); };
    observer.committed = [this] { tellTopics(); };
    m_database.observe(std::move(observer));
}

ClipBook::~ClipBook()
{
    m_database.observe({});
}

std::string_view ClipBook::word(ClipStage stage)
{
    return kWords[static_cast<std::size_t>(stage)];
}

std::optional<ClipStage> ClipBook::stage(std::string_view word)
{
    const auto* found = std::find(kWords.begin(), kWords.end(), word);
    return found == kWords.end() ? std::nullopt
                                 : std::optional(static_cast<ClipStage>(found - kWords.begin()));
}

/// Within the transaction: the row itself cannot be read yet.
void ClipBook::noteRow(std::string_view table, std::int64_t row)
{
    const std::lock_guard lock(m_rowsMutex);
    if (const auto topic = topicOf(table))
        m_topics.insert(*topic);
    if (table.empty()) {
        m_rowsLost = true;
        m_topics.insert({Topic::Folders, Topic::Profiles, Topic::Jobs, Topic::Clips, Topic::Errors});
    }
    if (table != "clips" || m_rowsLost)
        return;
    m_rows[row] = m_clocks.steady();
    if (m_rows.size() > kMostRows) {
        m_rows.clear();
        m_rowsLost = true;
    }
}

void ClipBook::tellTopics()
{
    std::set<Topic> topics;
    {
        const std::lock_guard lock(m_rowsMutex);
        topics.swap(m_topics);
    }
    for (const Topic topic : topics)
        m_board.changed(topic);
}

std::vector<ClipBook::Row> ClipBook::readRows(const char* condition, std::int64_t value)
{
    std::vector<Row> rows;
    Statement statement = m_database.prepare(
        std::string("SELECT clips.id, owner, clips.path, clips.profile, job, clips.state, "
                    "CASE WHEN reason<>'' THEN reason WHEN jobs.state='CANCELLED' THEN 'Was cancelled' "
                    "ELSE coalesce(message, '') END, guid, clips.activity FROM clips LEFT JOIN jobs ON "
                    "jobs.id=job AND job<>'' ") +
        condition);
    statement.bind(value);
    while (statement.step()) {
        Row row;
        row.id = statement.number(0);
        row.owner = statement.text(1);
        row.path = statement.text(2);
        row.profile = statement.text(3);
        row.job = statement.text(4);
        row.state = statement.text(5);
        row.reason = statement.text(6);
        row.guid = statement.text(7);
        row.activity = statement.text(8);
        rows.push_back(std::move(row));
    }
    return rows;
}

/// The latest, and those whose way is not over.
std::vector<ClipBook::Row> ClipBook::readAllRows()
{
    const auto lock = m_database.lock();
    auto rows = readRows("WHERE clips.id IN (SELECT id FROM clips ORDER BY id DESC LIMIT ?) OR "
                         "clips.state IN ('waiting', 'acting', 'publishing') ORDER BY clips.id",
                         static_cast<std::int64_t>(kMostClips));
    std::set<std::string> errors;
    for (auto& text : ErrorStore(m_database).list())
        errors.insert(std::move(text));
    for (auto& row : rows) {
        if (row.state != "rejected" || !row.reason.empty())
            continue;
        const std::string start = ErrorStore::refusedStart(row.path);
        const auto found = errors.lower_bound(start);
        if (found != errors.end() && found->compare(0, start.size(), start) == 0)
            row.reason = found->substr(start.size());
    }
    return rows;
}

/// Takes over what changed in the database. What is not committed yet is waited for by the database's lock.
void ClipBook::catchUp()
{
    std::map<std::int64_t, std::int64_t> changed;
    bool isLost = false;
    std::vector<Row> rows;
    // Until all is taken over: who finds nothing to be taken over must find it done.
    const auto databaseLock = m_database.lock();
    {
        const std::lock_guard rowsLock(m_rowsMutex);
        changed.swap(m_rows);
        std::swap(isLost, m_rowsLost);
    }
    if (isLost)
        rows = readAllRows();
    for (const auto& [id, moment] : changed) {
        auto found = readRows("WHERE clips.id=?", id);
        rows.push_back(found.empty() ? Row() : std::move(found.front()));
        rows.back().id = id;
        rows.back().moment = moment;
    }
    const std::lock_guard lock(m_mutex);
    if (isLost) {
        // What has a record is told anew; the others are known here alone.
        std::vector<std::uint64_t> recorded;
        for (const auto& [record, number] : m_byRecord)
            recorded.push_back(number);
        for (const auto number : recorded)
            erase(number);
    }
    for (const auto& row : rows)
        apply(row);
}

void ClipBook::apply(const Row& row)
{
    if (row.state.empty()) {
        const auto found = m_byRecord.find(row.id);
        if (found == m_byRecord.end())
            return;
        Line& line = m_lines.at(found->second);
        m_byRecord.erase(found);
        line.record = 0;
        // Its file may have been heard of again since.
        if (row.moment >= line.heard)
            setStage(line, ClipStage::Gone, row.moment);
        return;
    }
    const auto* state = std::find_if(kStates.begin(), kStates.end(),
                                     [&](const auto& each) { return each.word == row.state; });
    if (state == kStates.end())
        return;
    Line& line = this->line(row.owner, row.path);
    // An older content of the same file has a record of its own.
    if (row.id < line.record)
        return;
    if (line.record != row.id) {
        m_byRecord.erase(line.record);
        line.record = row.id;
        m_byRecord[row.id] = m_byKey.at({row.owner, row.path});
    }
    line.entry.profile = row.profile;
    line.entry.guid = row.guid;
    line.entry.news.job = row.job;
    if (row.moment >= line.heard && (row.moment == 0 || state->stage != line.entry.news.stage)) {
        setStage(line, state->stage, row.moment);
        line.entry.news.reason = row.reason.empty() ? state->reason : row.reason;
        line.entry.news.activity = row.activity;
    }
    touched(line);
}

ClipBook::Line& ClipBook::line(const std::string& owner, const std::string& path)
{
    const auto [place, isNew] = m_byKey.try_emplace({owner, path}, m_count + 1);
    const std::uint64_t number = place->second;
    Line& line = m_lines[number];
    if (isNew) {
        line.entry.id = 'c' + std::to_string(++m_count);
        line.entry.owner = owner;
        line.entry.path = path;
        while (m_lines.size() > kMostClips && !m_over.empty())
            erase(*m_over.begin());
    }
    return line;
}

void ClipBook::setStage(Line& line, ClipStage stage, std::int64_t moment)
{
    const std::uint64_t number = m_byKey.at({line.entry.owner, line.entry.path});
    if (isOver(stage))
        m_over.insert(number);
    else
        m_over.erase(number);
    const bool isNew = line.entry.news.stage != stage;
    if (isNew || line.since == 0)
        line.since = moment;
    if (stage == ClipStage::Acting && (line.started == 0 || line.ended != 0)) {
        line.started = moment;
        line.ended = 0;
        line.worked = 0;
        line.worksSince = 0;
    } else if (isOver(stage) && line.started != 0 && line.ended == 0) {
        line.ended = moment;
    }
    if (isWork(stage) && line.worksSince == 0) {
        line.worksSince = moment;
    } else if (!isWork(stage) && line.worksSince != 0) {
        line.worked += moment - line.worksSince;
        line.worksSince = 0;
    }
    line.heard = std::max(line.heard, moment);
    line.entry.news.stage = stage;
    line.entry.news.activity.clear();
    line.entry.news.percent = 0;
    line.entry.news.reason = stage == ClipStage::Gone ? kGone : std::string();
    line.settlesAt = -1;
    touched(line);
}

/// What the database did was said on the board when it was committed; all else is said by whoever tells it.
void ClipBook::touched(Line& line)
{
    line.version = m_board.version();
}

void ClipBook::erase(std::uint64_t number)
{
    const auto found = m_lines.find(number);
    m_byKey.erase({found->second.entry.owner, found->second.entry.path});
    m_byRecord.erase(found->second.record);
    m_over.erase(number);
    m_lines.erase(found);
}

void ClipBook::tell(const std::string& owner, const std::string& path, const ClipNews& news)
{
    const std::lock_guard lock(m_mutex);
    const bool isNew = m_byKey.count({owner, path}) == 0;
    // Whoever never heard of a file needs not hear that it is gone.
    if (isNew && news.stage == ClipStage::Gone)
        return;
    Line& line = this->line(owner, path);
    const ClipNews before = line.entry.news;
    m_board.changed(Topic::Clips);
    setStage(line, news.stage, m_clocks.steady());
    const std::string job = news.job.empty() ? before.job : news.job;
    line.entry.news = news;
    line.entry.news.job = job;
    if (news.since != 0)
        line.since = news.since;
    if (news.settlesIn >= 0)
        line.settlesAt = m_clocks.steady() + static_cast<std::int64_t>(news.settlesIn * 1e9);
}

void ClipBook::withdraw(const std::string& owner, const std::string& path)
{
    std::int64_t record = 0;
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_byKey.find({owner, path});
        if (found == m_byKey.end())
            return;
        record = m_lines.at(found->second).record;
        if (record == 0) {
            erase(found->second);
            m_board.changed(Topic::Clips);
            return;
        }
    }
    {
        const std::lock_guard lock(m_rowsMutex);
        m_rows.try_emplace(record, m_clocks.steady());
    }
    m_board.changed(Topic::Clips);
}

void ClipBook::tellProgress(const std::string& owner, const std::string& path, const std::string& activity,
                            int percent, const std::string& reason)
{
    const std::lock_guard lock(m_mutex);
    Line& line = this->line(owner, path);
    ClipNews& news = line.entry.news;
    if (news.stage == ClipStage::Acting && news.activity == activity && news.percent == percent &&
        news.reason == reason)
        return;
    m_board.changed(Topic::Clips);
    setStage(line, ClipStage::Acting, m_clocks.steady());
    news.activity = activity;
    news.percent = percent;
    news.reason = reason;
}

void ClipBook::vanished(const std::string& owner, const std::string& path)
{
    catchUp();
    const std::lock_guard lock(m_mutex);
    const auto found = m_byKey.find({owner, path});
    if (found == m_byKey.end())
        return;
    Line& line = m_lines.at(found->second);
    if (line.entry.news.stage != ClipStage::Failed && line.entry.news.stage != ClipStage::Rejected)
        return;
    m_board.changed(Topic::Clips);
    setStage(line, ClipStage::Gone, m_clocks.steady());
}

void ClipBook::tellReason(const std::string& owner, const std::string& path, const std::string& reason)
{
    catchUp();
    const std::lock_guard lock(m_mutex);
    const auto found = m_byKey.find({owner, path});
    if (found == m_byKey.end())
        return;
    Line& line = m_lines.at(found->second);
    m_board.changed(Topic::Clips);
    line.entry.news.reason = reason;
    touched(line);
}

void ClipBook::forgetAll(const std::string& owner)
{
    catchUp();
    const std::lock_guard lock(m_mutex);
    auto it = m_byKey.lower_bound({owner, std::string()});
    while (it != m_byKey.end() && it->first.first == owner) {
        const auto number = it->second;
        ++it;
        erase(number);
    }
    m_board.changed(Topic::Clips);
}

void ClipBook::forgetUnfinished(const std::string& owner, const std::string& path)
{
    catchUp();
    const std::lock_guard lock(m_mutex);
    auto it = m_byKey.lower_bound({owner, path});
    while (it != m_byKey.end() && it->first.first == owner && (path.empty() || it->first.second == path)) {
        const auto number = it->second;
        ++it;
        if (!isOver(m_lines.at(number).entry.news.stage))
            erase(number);
    }
    m_board.changed(Topic::Clips);
}

/// What the clock on the wall is ahead of the steady one. The same again and again until it is set, so that
/// moments are told alike to the last digit.
std::int64_t ClipBook::wallOffset(std::int64_t now)
{
    const std::int64_t offset = m_clocks.wall() - now;
    if (std::abs(offset - m_wallOffset) > kDrift)
        m_wallOffset = offset;
    return m_wallOffset;
}

ClipEntry ClipBook::told(const Line& line, std::int64_t now, std::int64_t wallOffset)
{
    const auto onTheWall = [&](std::int64_t moment) { return moment == 0 ? 0 : moment + wallOffset; };
    ClipEntry entry = line.entry;
    entry.news.reason = text::asSentence(std::move(entry.news.reason));
    entry.since = onTheWall(line.since);
    // What is to be tried again has not begun again yet.
    const bool isBefore = line.ended != 0 && !isOver(entry.news.stage);
    entry.started = isBefore ? 0 : onTheWall(line.started);
    entry.ended = isBefore ? 0 : onTheWall(line.ended);
    if (line.started != 0 && line.ended != 0 && !isBefore)
        entry.took = double(line.worked) / 1e9;
    if (line.settlesAt >= 0)
        entry.news.settlesIn = std::max<double>(0, double(line.settlesAt - now) / 1e9);
    return entry;
}

ClipBook::Answer ClipBook::list(const Question& question)
{
    Answer answer;
    // Before anything is read: what comes meanwhile counts as newer.
    answer.version = m_board.version();
    // One that was not reached yet is of an earlier run, before which the clock was set back.
    const std::uint64_t since = question.since > answer.version ? 0 : question.since;
    catchUp();
    const std::int64_t now = m_clocks.steady();
    const std::lock_guard lock(m_mutex);
    const std::int64_t offset = wallOffset(now);
    answer.known = m_lines.size();
    for (const auto& [number, line] : m_lines) {
        const ClipEntry& entry = line.entry;
        if ((!question.folder.empty() && entry.owner != question.folder) ||
            (!question.job.empty() && entry.owner != question.job && entry.news.job != question.job) ||
            line.version <= since ||
            (!question.stages.empty() && question.stages.count(entry.news.stage) == 0))
            continue;
        if (answer.total++ < question.offset || answer.clips.size() >= question.limit)
            continue;
        answer.clips.push_back(told(line, now, offset));
    }
    return answer;
}

} // namespace krxservice
