#include "store/Database.h"

#include "base/Log.h"

#include <sqlite3.h>

#include <array>

namespace krxservice {

namespace {

/// Step n brings the tables from version n to version n + 1. Steps are only ever added.
constexpr std::array<const char*, 1> kMigrations = {
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
};

} // namespace

Statement::Statement(sqlite3* connection, std::string_view sql)
    : m_connection(connection)
{
    if (sqlite3_prepare_v2(connection, sql.data(), static_cast<int>(sql.size()), &m_statement, nullptr) !=
        SQLITE_OK)
        throw DatabaseError(sqlite3_errmsg(connection));
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
    throw DatabaseError(sqlite3_errmsg(m_connection));
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

Database::Database(const std::string& file)
{
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
    if (sqlite3_open_v2(file.c_str(), &m_connection, flags, nullptr) != SQLITE_OK) {
        const std::string reason = m_connection ? sqlite3_errmsg(m_connection) : "out of memory";
        sqlite3_close(m_connection);
        throw DatabaseError(file + ": " + reason);
    }
    try {
        sqlite3_busy_timeout(m_connection, 5000);
        execute("PRAGMA journal_mode=WAL");
        // What was offered must still be known after a power cut, or it would be offered again.
        execute("PRAGMA synchronous=FULL");
        migrate();
    } catch (...) {
        sqlite3_close(m_connection);
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
        sqlite3_free(message);
        throw DatabaseError(reason);
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

void Database::migrate()
{
    const int found = version();
    if (found > currentVersion()) {
        throw DatabaseError("the database has version " + std::to_string(found) +
                            " and was made by a newer krx-service; this one knows version " +
                            std::to_string(currentVersion()));
    }
    for (int step = found; step < currentVersion(); ++step) {
        Transaction transaction(*this);
        execute(kMigrations[static_cast<std::size_t>(step)]);
        execute("PRAGMA user_version=" + std::to_string(step + 1));
        transaction.commit();
    }
}

Transaction::Transaction(Database& database)
    : m_database(database)
    , m_lock(database.lock())
{
    m_database.execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    if (!m_open)
        return;
    try {
        m_database.execute("ROLLBACK");
    } catch (const DatabaseError& failure) {
        log::error(std::string("rolling back failed: ") + failure.what());
    }
}

void Transaction::commit()
{
    m_database.execute("COMMIT");
    m_open = false;
}

} // namespace krxservice
