#include "store/Salvage.h"

#include <sqlite3.h>

#include <array>
#include <memory>

namespace krxservice::salvage {

namespace {

/// The sequences (ids go on where they were) and the count of changes last: copying the others changes them.
constexpr std::array<const char*, 8> kTables = {"profiles", "folders", "jobs", "clips",
                                                "errors",   "copied",  "meta", "sqlite_sequence"};

/// Stops without harm where a table cannot be read on.
bool next(Statement& rows)
{
    try {
        return rows.step();
    } catch (const DatabaseError&) {
        return false;
    }
}

void copyRow(const Statement& row, const std::string& table, Database& to)
{
    // By name: a table of an older version has fewer columns.
    std::string names = row.name(0);
    std::string marks = "?";
    for (int column = 1; column < row.columns(); ++column) {
        names += ", " + row.name(column);
        marks += ", ?";
    }
    Statement insert =
        to.prepare("INSERT OR REPLACE INTO " + table + '(' + names + ") VALUES(" + marks + ')');
    for (int column = 0; column < row.columns(); ++column) {
        if (row.isNumber(column))
            insert.bind(row.number(column));
        else
            insert.bind(row.text(column));
    }
    insert.run();
}

bool copyTable(sqlite3* from, const std::string& table, Database& to)
{
    std::unique_ptr<Statement> rows;
    try {
        rows = std::make_unique<Statement>(from, "SELECT * FROM " + table + " NOT INDEXED");
    } catch (const DatabaseError&) {
        return false;
    }
    while (next(*rows))
        copyRow(*rows, table, to);
    const int code = sqlite3_errcode(from) & 0xff;
    return code == SQLITE_OK || code == SQLITE_DONE;
}

} // namespace

bool copyReadable(const std::string& from, Database& to)
{
    sqlite3* raw = nullptr;
    const int opened = sqlite3_open_v2(from.c_str(), &raw, SQLITE_OPEN_READONLY, nullptr);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> connection(raw, &sqlite3_close);
    if (opened != SQLITE_OK)
        return false;
    bool isWhole = true;
    Transaction transaction(to);
    to.execute("DELETE FROM sqlite_sequence");
    for (const char* table : kTables)
        isWhole = copyTable(raw, table, to) && isWhole;
    transaction.commit();
    return isWhole;
}

} // namespace krxservice::salvage
