#include "store/Database.h"

#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"
#include "files/Aside.h"
#include "store/Salvage.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>

namespace krxservice {

namespace {

/// Step n brings the tables from version n to version n + 1. Steps are only ever added.
constexpr std::array<const char*, 5> kMigrations = {
    R"sql(
CREATE TABLE profiles(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    name TEXT NOT NULL UNIQUE,
    document TEXT NOT NULL);
CREATE TABLE folders(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    path TEXT NOT NULL,
    canonical TEXT NOT NULL UNIQUE,
    profile TEXT NOT NULL,
    enabled INTEGER NOT NULL);
CREATE TABLE jobs(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    manual INTEGER NOT NULL,
    path TEXT NOT NULL,
    profile TEXT NOT NULL,
    group_id TEXT NOT NULL,
    group_name TEXT NOT NULL,
    state TEXT NOT NULL,
    percent INTEGER NOT NULL DEFAULT 0,
    message TEXT NOT NULL DEFAULT '');
CREATE TABLE files(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    owner TEXT NOT NULL,
    path TEXT NOT NULL,
    size INTEGER NOT NULL,
    modified INTEGER NOT NULL,
    checksum TEXT NOT NULL,
    state INTEGER NOT NULL,
    output TEXT NOT NULL DEFAULT '',
    scratch TEXT NOT NULL DEFAULT '');
CREATE INDEX files_by_path ON files(owner, path);
CREATE INDEX files_by_state ON files(state);
CREATE TABLE errors(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    text TEXT NOT NULL UNIQUE);
)sql",
    // One record for each clip, with all that was spread before.
    R"sql(
CREATE TABLE clips(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    guid TEXT NOT NULL UNIQUE,
    owner TEXT NOT NULL,
    path TEXT NOT NULL,
    size INTEGER NOT NULL,
    modified INTEGER NOT NULL,
    changed INTEGER NOT NULL DEFAULT 0,
    inode INTEGER NOT NULL DEFAULT 0,
    checksum TEXT NOT NULL,
    state TEXT NOT NULL,
    profile TEXT NOT NULL DEFAULT '',
    job TEXT NOT NULL DEFAULT '',
    done INTEGER NOT NULL DEFAULT 0,
    linked_path TEXT NOT NULL DEFAULT '',
    linked_size INTEGER NOT NULL DEFAULT 0,
    linked_modified INTEGER NOT NULL DEFAULT 0,
    linked_checksum TEXT NOT NULL DEFAULT '',
    output TEXT NOT NULL DEFAULT '',
    scratch TEXT NOT NULL DEFAULT '',
    gone_since INTEGER NOT NULL DEFAULT 0,
    UNIQUE(owner, path, checksum));
CREATE INDEX clips_by_state ON clips(state);
INSERT OR IGNORE INTO clips(id, guid, owner, path, size, modified, checksum, state, output, scratch)
    SELECT id, 'before-' || id, owner, path, size, modified, checksum,
        CASE state WHEN 0 THEN 'acting' WHEN 1 THEN 'publishing' WHEN 2 THEN 'offered'
            WHEN 3 THEN 'rejected' ELSE 'failed' END,
        output, scratch
    FROM files ORDER BY state IN (1, 2) DESC, id DESC;
UPDATE sqlite_sequence SET seq=(SELECT seq FROM sqlite_sequence WHERE name='files')
    WHERE name='clips' AND EXISTS(SELECT 1 FROM sqlite_sequence WHERE name='files');
INSERT INTO sqlite_sequence(name, seq)
    SELECT 'clips', seq FROM sqlite_sequence WHERE name='files'
        AND NOT EXISTS(SELECT 1 FROM sqlite_sequence WHERE name='clips');
DROP TABLE files;
CREATE TABLE meta(name TEXT PRIMARY KEY, value INTEGER NOT NULL);
INSERT INTO meta(name, value) VALUES('generation', 0);
CREATE TRIGGER folder_made AFTER INSERT ON folders
    BEGIN UPDATE meta SET value=value+1 WHERE name='generation'; END;
CREATE TRIGGER folder_changed AFTER UPDATE ON folders
    BEGIN UPDATE meta SET value=value+1 WHERE name='generation'; END;
CREATE TRIGGER folder_removed AFTER DELETE ON folders
    BEGIN UPDATE meta SET value=value+1 WHERE name='generation'; END;
CREATE TRIGGER profile_made AFTER INSERT ON profiles
    BEGIN UPDATE meta SET value=value+1 WHERE name='generation'; END;
CREATE TRIGGER profile_removed AFTER DELETE ON profiles
    BEGIN UPDATE meta SET value=value+1 WHERE name='generation'; END;
)sql",
    // What the finished actions of a clip made, for a retry and the next start.
    "ALTER TABLE clips ADD COLUMN made TEXT NOT NULL DEFAULT '';",
    // What was copied and no history lists yet, one row a clip.
    R"sql(
CREATE TABLE copied(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    folder TEXT NOT NULL,
    inode INTEGER NOT NULL,
    finished INTEGER NOT NULL,
    files TEXT NOT NULL);
CREATE INDEX copied_by_folder ON copied(folder, seq);
)sql",
    // In which action a clip or a job failed, and why a clip did: messages and jobs are cleared sooner.
    R"sql(
ALTER TABLE clips ADD COLUMN activity TEXT NOT NULL DEFAULT '';
ALTER TABLE clips ADD COLUMN reason TEXT NOT NULL DEFAULT '';
ALTER TABLE jobs ADD COLUMN activity TEXT NOT NULL DEFAULT '';
)sql",
};

/// What belongs to a database beside its own file.
constexpr std::array<const char*, 3> kParts = {"", "-wal", "-shm"};

constexpr int kBusyMilliseconds = 5000; ///< for another process that writes

static_assert(kDamageCode == SQLITE_CORRUPT);

bool isDamageCode(int code)
{
    const int kind = code & 0xff;
    return kind == SQLITE_CORRUPT || kind == SQLITE_NOTADB;
}

} // namespace

bool DatabaseError::isDamage() const
{
    return isDamageCode(m_code);
}

Statement::Statement(sqlite3* connection, std::string_view sql, std::atomic<bool>* damage)
    : m_connection(connection)
    , m_damage(damage)
{
    if (sqlite3_prepare_v2(connection, sql.data(), static_cast<int>(sql.size()), &m_statement, nullptr) !=
        SQLITE_OK)
        fail();
}

void Statement::fail()
{
    const int code = sqlite3_extended_errcode(m_connection);
    if (m_damage && isDamageCode(code))
        *m_damage = true;
    throw DatabaseError(sqlite3_errmsg(m_connection), code);
}

Statement::~Statement()
{
    sqlite3_finalize(m_statement);
}

Statement& Statement::bind(std::string_view value)
{
    sqlite3_bind_text(m_statement, ++m_bound, value.data() ? value.data() : "",
                      static_cast<int>(value.size()), SQLITE_TRANSIENT);
    return *this;
}

Statement& Statement::bind(std::int64_t value)
{
    sqlite3_bind_int64(m_statement, ++m_bound, value);
    return *this;
}

bool Statement::step()
{
    const int result = sqlite3_step(m_statement);
    if (result == SQLITE_ROW)
        return true;
    if (result == SQLITE_DONE)
        return false;
    fail();
}

void Statement::run()
{
    while (step()) {
    }
}

std::string Statement::text(int column) const
{
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    return bytes ? std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)))
                 : std::string();
}

std::int64_t Statement::number(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

int Statement::columns() const
{
    return sqlite3_column_count(m_statement);
}

std::string Statement::name(int column) const
{
    const char* name = sqlite3_column_name(m_statement, column);
    return name ? name : "";
}

bool Statement::isNumber(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_INTEGER;
}

Database::Database(const std::string& file, Mode mode)
    : m_file(file)
{
    open(mode);
}

void Database::open(Mode mode)
{
    const std::string& file = m_file;
    const int flags =
        SQLITE_OPEN_FULLMUTEX |
        (mode == Mode::Look ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    if (sqlite3_open_v2(file.c_str(), &m_connection, flags, nullptr) != SQLITE_OK) {
        const std::string reason = m_connection ? sqlite3_errmsg(m_connection) : "out of memory";
        const int code = m_connection ? sqlite3_extended_errcode(m_connection) : 0;
        sqlite3_close(m_connection);
        m_connection = nullptr;
        throw DatabaseError(file + ": " + reason, code);
    }
    try {
        sqlite3_busy_timeout(m_connection, kBusyMilliseconds);
        if (mode == Mode::Look) {
            if (const int found = version(); found != currentVersion())
                throw DatabaseError("the database has version " + std::to_string(found) + ", not " +
                                    std::to_string(currentVersion()));
            return;
        }
        execute("PRAGMA journal_mode=WAL");
        // What was offered must still be known after a power cut, or it would be offered again.
        execute("PRAGMA synchronous=FULL");
        migrate();
    } catch (...) {
        sqlite3_close(m_connection);
        m_connection = nullptr;
        throw;
    }
}

Database::~Database()
{
    sqlite3_close(m_connection);
}

void Database::execute(const std::string& sql)
{
    char* message = nullptr;
    if (sqlite3_exec(m_connection, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
        const std::string reason = message ? message : "unknown failure";
        const int code = sqlite3_extended_errcode(m_connection);
        sqlite3_free(message);
        if (isDamageCode(code))
            m_damage = true;
        throw DatabaseError(reason, code);
    }
}

std::int64_t Database::lastRowId() const
{
    return sqlite3_last_insert_rowid(m_connection);
}

int Database::changes() const
{
    return sqlite3_changes(m_connection);
}

int Database::currentVersion()
{
    return static_cast<int>(kMigrations.size());
}

int Database::version()
{
    Statement statement = prepare("PRAGMA user_version");
    return statement.step() ? static_cast<int>(statement.number(0)) : 0;
}

std::string Database::problem()
{
    const auto lock = this->lock();
    try {
        Statement check = prepare("PRAGMA quick_check(1)");
        if (!check.step())
            return "the database cannot be looked through";
        const std::string found = check.text(0);
        return found == "ok" ? std::string() : found;
    } catch (const DatabaseError& failure) {
        return failure.what();
    }
}

Database::Rebuilt Database::rebuild()
{
    const auto lock = this->lock();
    Rebuilt result;
    const std::string fresh = m_file + ".new";
    for (const char* part : kParts)
        ::unlink((fresh + part).c_str());
    {
        Database target(fresh);
        result.isWhole = salvage::copyReadable(m_file, target);
    }
    if (const auto reason = filetools::syncFile(fresh); !reason.empty())
        throw DatabaseError(reason);
    if (sqlite3_close(m_connection) != SQLITE_OK)
        throw DatabaseError("the damaged database is in use");
    m_connection = nullptr;
    result.keptAs = setAside(m_file);
    if (std::rename(fresh.c_str(), m_file.c_str()) != 0)
        throw DatabaseError(m_file + ": " + text::errnoText(errno));
    m_damage = false;
    open(Mode::Use);
    hook();
    if (m_observer.row && m_observer.committed) {
        m_observer.row({}, 0);
        m_observer.committed();
    }
    return result;
}

void Database::copyTo(const std::string& file)
{
    sqlite3* target = nullptr;
    const auto check = [&](int code) {
        if (code != SQLITE_OK && code != SQLITE_DONE) {
            const std::string reason = sqlite3_errmsg(target);
            sqlite3_close(target);
            throw DatabaseError(file + ": " + reason, code);
        }
    };
    check(sqlite3_open_v2(file.c_str(), &target, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr));
    {
        const auto lock = this->lock();
        sqlite3_backup* copying = sqlite3_backup_init(target, "main", m_connection, "main");
        if (!copying)
            check(sqlite3_errcode(target));
        sqlite3_busy_timeout(target, kBusyMilliseconds);
        // All in one step: between two of them others would write, and it would begin anew each time.
        sqlite3_backup_step(copying, -1);
        check(sqlite3_backup_finish(copying));
    }
    // A file by itself, which can be looked at where nothing may be written.
    check(sqlite3_exec(target, "PRAGMA journal_mode=DELETE", nullptr, nullptr, nullptr));
    check(sqlite3_close(target));
}

std::string Database::setAside(const std::string& file)
{
    const std::string name = aside::nameFor(file, "damaged");
    for (const char* part : kParts) {
        // What holds nothing, or is made anew from the others, is only in the way.
        struct stat facts
        {
        };
        const bool isWorthless = std::string_view(part) == "-shm" ||
                                 (::stat((file + part).c_str(), &facts) == 0 && facts.st_size == 0);
        if (isWorthless)
            ::unlink((file + part).c_str());
        else
            filetools::renameNoReplace(file + part, name + part);
    }
    return name;
}

void Database::observe(Observer observer)
{
    const auto lock = this->lock();
    m_observer = std::move(observer);
    hook();
}

void Database::hook()
{
    const auto row = [](void* self, int, const char*, const char* table, sqlite3_int64 id) {
        static_cast<Database*>(self)->m_observer.row(table, id);
    };
    const auto commit = [](void* self) {
        static_cast<Database*>(self)->m_observer.committed();
        return 0;
    };
    const bool isWatched = m_observer.row && m_observer.committed;
    sqlite3_update_hook(m_connection, isWatched ? +row : nullptr, this);
    sqlite3_commit_hook(m_connection, isWatched ? +commit : nullptr, this);
}

std::int64_t Database::generation()
{
    const auto lock = this->lock();
    Statement row = prepare("SELECT value FROM meta WHERE name='generation'");
    return row.step() ? row.number(0) : 0;
}

void Database::setGeneration(std::int64_t generation)
{
    const auto lock = this->lock();
    prepare("UPDATE meta SET value=? WHERE name='generation'").bind(generation).run();
}

void Database::migrate()
{
    const int found = version();
    if (found > currentVersion()) {
        throw DatabaseError("the database has version " + std::to_string(found) +
                            " and was made by a newer krx-service; this one knows version " +
                            std::to_string(currentVersion()));
    }
    if (found == currentVersion())
        return;
    m_isNew = found == 0;
    if (!m_isNew) {
        const std::string copy = aside::nameFor(m_file, "version-" + std::to_string(found));
        prepare("VACUUM INTO ?").bind(copy).run();
        if (const auto reason = filetools::syncFile(copy); !reason.empty())
            throw DatabaseError(reason);
        log::info("the database of version " + std::to_string(found) + " was kept as " + copy);
    }
    Transaction transaction(*this);
    for (int step = found; step < currentVersion(); ++step)
        execute(kMigrations[static_cast<std::size_t>(step)]);
    execute("PRAGMA user_version=" + std::to_string(currentVersion()));
    transaction.commit();
}

Transaction::Transaction(Database& database)
    : m_database(database)
    , m_lock(database.lock())
{
    m_database.execute(m_database.m_depth == 0 ? "BEGIN IMMEDIATE"
                                               : "SAVEPOINT depth" + std::to_string(m_database.m_depth));
    ++m_database.m_depth;
}

Transaction::~Transaction()
{
    if (!m_open)
        return;
    const int depth = --m_database.m_depth;
    // A failure may have ended the whole transaction already.
    if (sqlite3_get_autocommit(m_database.m_connection) != 0)
        return;
    const std::string point = "depth" + std::to_string(depth);
    try {
        m_database.execute(depth == 0 ? "ROLLBACK" : "ROLLBACK TO " + point + "; RELEASE " + point);
    } catch (const DatabaseError& failure) {
        log::error(std::string("rolling back failed: ") + failure.what());
    }
}

void Transaction::commit()
{
    const int depth = m_database.m_depth - 1;
    m_database.execute(depth == 0 ? "COMMIT" : "RELEASE depth" + std::to_string(depth));
    m_database.m_depth = depth;
    m_open = false;
}

} // namespace krxservice
