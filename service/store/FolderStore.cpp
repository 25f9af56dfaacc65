#include "store/FolderStore.h"

#include <cstdio>
#include <cstdlib>

namespace krxservice {

namespace {

constexpr char kColumns[] = "SELECT id, path, canonical, profile, enabled FROM folders ";

FolderRecord read(const Statement& row)
{
    FolderRecord folder;
    folder.id = row.text(0);
    folder.path = row.text(1);
    folder.canonical = row.text(2);
    folder.profile = row.text(3);
    folder.enabled = row.number(4) != 0;
    return folder;
}

} // namespace

std::vector<FolderRecord> FolderStore::list()
{
    const auto lock = m_database.lock();
    std::vector<FolderRecord> folders;
    Statement rows = m_database.prepare(std::string(kColumns) + "ORDER BY seq");
    while (rows.step())
        folders.push_back(read(rows));
    return folders;
}

std::optional<FolderRecord> FolderStore::find(const std::string& id)
{
    const auto lock = m_database.lock();
    Statement row = m_database.prepare(std::string(kColumns) + "WHERE id=?");
    row.bind(id);
    return row.step() ? std::optional(read(row)) : std::nullopt;
}

std::optional<FolderRecord> FolderStore::findByCanonicalPath(const std::string& canonical)
{
    const auto lock = m_database.lock();
    Statement row = m_database.prepare(std::string(kColumns) + "WHERE canonical=?");
    row.bind(canonical);
    return row.step() ? std::optional(read(row)) : std::nullopt;
}

std::optional<std::string> FolderStore::create(const FolderRecord& folder)
{
    Transaction transaction(m_database);
    if (findByCanonicalPath(folder.canonical))
        return std::nullopt;
    m_database.prepare("INSERT INTO folders(id, path, canonical, profile, enabled) VALUES('', ?, ?, ?, ?)")
        .bind(folder.path)
        .bind(folder.canonical)
        .bind(folder.profile)
        .bind(std::int64_t(folder.enabled))
        .run();
    const auto sequence = m_database.lastRowId();
    char id[32];
    std::snprintf(id, sizeof id, "f%06lld", static_cast<long long>(sequence));
    m_database.prepare("UPDATE folders SET id=? WHERE seq=?").bind(id).bind(sequence).run();
    transaction.commit();
    return std::string(id);
}

void FolderStore::restore(const FolderRecord& folder)
{
    const auto lock = m_database.lock();
    // The number in the id is the row's, so that later ids go on behind it.
    const auto sequence = std::strtoll(folder.id.c_str() + 1, nullptr, 10);
    m_database
        .prepare("INSERT OR REPLACE INTO folders(seq, id, path, canonical, profile, enabled) "
                 "VALUES(?, ?, ?, ?, ?, ?)")
        .bind(std::int64_t(sequence))
        .bind(folder.id)
        .bind(folder.path)
        .bind(folder.canonical)
        .bind(folder.profile)
        .bind(std::int64_t(folder.enabled))
        .run();
}

bool FolderStore::update(const FolderRecord& folder)
{
    const auto lock = m_database.lock();
    m_database.prepare("UPDATE folders SET path=?, canonical=?, profile=?, enabled=? WHERE id=?")
        .bind(folder.path)
        .bind(folder.canonical)
        .bind(folder.profile)
        .bind(std::int64_t(folder.enabled))
        .bind(folder.id)
        .run();
    return m_database.changes() > 0;
}

bool FolderStore::remove(const std::string& id)
{
    const auto lock = m_database.lock();
    m_database.prepare("DELETE FROM folders WHERE id=?").bind(id).run();
    return m_database.changes() > 0;
}

} // namespace krxservice
