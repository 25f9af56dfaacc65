#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace krxservice {

/// What SQLite had to say when it failed.
class DatabaseError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// One prepared statement; values are bound in order.
class Statement
{
public:
    Statement(sqlite3* connection, std::string_view sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& bind(std::string_view value);
    Statement& bind(std::int64_t value);

    /// True while there is a row. Throws DatabaseError.
    bool step();
    /// Runs a statement that yields no rows.
    void run();

    std::string text(int column) const;
    std::int64_t number(int column) const;

private:
    sqlite3* m_connection;
    sqlite3_stmt* m_statement = nullptr;
    int m_bound = 0;
};

/// The one database of the service and the lock that every store takes. The lock may be taken again by the
/// thread that holds it, so that several stores can take part in one change.
class Database
{
public:
    /// Opens or makes the file and brings its tables to the present version. Throws DatabaseError; a file of
    /// a newer version is refused.
    explicit Database(const std::string& file);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    std::unique_lock<std::recursive_mutex> lock() { return std::unique_lock(m_mutex); }
    Statement prepare(std::string_view sql) { return Statement(m_connection, sql); }
    void execute(const std::string& sql);
    std::int64_t lastRowId() const;
    int changes() const;

    /// The version of the tables that this program writes.
    static int currentVersion();

private:
    void migrate();
    int version();

    std::recursive_mutex m_mutex;
    sqlite3* m_connection = nullptr;
};

/// Everything or nothing: rolled back unless commit() was reached. Holds the lock of the database.
class Transaction
{
public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

private:
    Database& m_database;
    std::unique_lock<std::recursive_mutex> m_lock;
    bool m_open = true;
};

} // namespace krxservice
