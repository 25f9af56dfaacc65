#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace krxservice {

/// SQLite's number for a damaged file.
constexpr int kDamageCode = 11;

/// What SQLite had to say when it failed.
class DatabaseError : public std::runtime_error
{
public:
    explicit DatabaseError(const std::string& text, int code = 0)
        : std::runtime_error(text)
        , m_code(code)
    {
    }

    /// True when the file holds something that no database holds.
    bool isDamage() const;

private:
    int m_code;
};

/// One prepared statement; values are bound in order.
class Statement
{
public:
    /// \a damage, when given, is set when the file turns out to be damaged.
    Statement(sqlite3* connection, std::string_view sql, std::atomic<bool>* damage = nullptr);
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
    int columns() const;
    std::string name(int column) const;
    bool isNumber(int column) const;

private:
    [[noreturn]] void fail();

    sqlite3* m_connection;
    std::atomic<bool>* m_damage;
    sqlite3_stmt* m_statement = nullptr;
    int m_bound = 0;
};

/// The one database of the service and the lock that every store takes. The lock may be taken again by the
/// thread that holds it, so that several stores can take part in one change.
class Database
{
public:
    enum class Mode {
        Use, ///< made and brought to the present version when needed
        Look ///< only read; must be there in the present version
    };

    /// Opens or makes the file and brings its tables to the present version, after a copy of an older one was
    /// set aside beside it. Throws DatabaseError; a file of a newer version is refused and left as it is.
    explicit Database(const std::string& file, Mode mode = Mode::Use);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    std::unique_lock<std::recursive_mutex> lock() { return std::unique_lock(m_mutex); }
    Statement prepare(std::string_view sql) { return Statement(m_connection, sql, &m_damage); }
    void execute(const std::string& sql);
    std::int64_t lastRowId() const;
    int changes() const;

    /// True once a statement met damage in the file.
    bool isDamaged() const { return m_damage; }
    /// What a look at the whole file finds wrong with it; empty when nothing is.
    std::string problem();
    /// What became of a damaged file.
    struct Rebuilt
    {
        bool isWhole = false; ///< every record was saved: only indexes were damaged
        std::string keptAs;   ///< where the damaged file is
    };
    /// Saves all records that can be read into a new file, which takes the place of the damaged one; that is
    /// set aside. Throws DatabaseError when it cannot; then all is as it was.
    Rebuilt rebuild();

    /// Writes all of it, as it is at one moment, into the new \a file, which needs no log beside it. Other
    /// processes may go on working with this one. Throws DatabaseError.
    void copyTo(const std::string& file);

    /// Gives a database that is not open, with what belongs to it, another name, which is returned.
    static std::string setAside(const std::string& file);

    /// True when the file held no tables before it was opened.
    bool isNew() const { return m_isNew; }
    /// How often folders and profiles were changed.
    std::int64_t generation();
    void setGeneration(std::int64_t generation);

    /// Who wants to know what is written. Called with the lock held; must not use the database.
    struct Observer
    {
        /// A row of \a table was added, changed or removed, within the transaction. An empty table: all may
        /// be different.
        std::function<void(std::string_view table, std::int64_t row)> row;
        /// What the rows told is about to be committed.
        std::function<void()> committed;
    };
    /// Replaces the observer; an empty one for none.
    void observe(Observer observer);

    /// The version of the tables that this program writes.
    static int currentVersion();

private:
    friend class Transaction;

    void open(Mode mode);
    void migrate();
    int version();
    void hook();

    std::string m_file;
    std::recursive_mutex m_mutex;
    sqlite3* m_connection = nullptr;
    std::atomic<bool> m_damage{false};
    Observer m_observer;
    bool m_isNew = false;
    int m_depth = 0; ///< transactions within each other
};

/// Everything or nothing: rolled back unless commit() was reached. Holds the lock of the database. One within
/// another is a part of it.
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
