#include "store/ProfileStore.h"

namespace krxservice {

namespace {

constexpr char kColumns[] = "SELECT id, name, document FROM profiles ";

ProfileRecord read(const Statement& row)
{
    return ProfileRecord{row.text(0), row.text(1), row.text(2)};
}

} // namespace

std::vector<ProfileRecord> ProfileStore::list()
{
    const auto lock = m_database.lock();
    std::vector<ProfileRecord> profiles;
    Statement rows = m_database.prepare(std::string(kColumns) + "ORDER BY seq");
    while (rows.step())
        profiles.push_back(read(rows));
    return profiles;
}

std::optional<ProfileRecord> ProfileStore::find(const std::string& id)
{
    const auto lock = m_database.lock();
    Statement row = m_database.prepare(std::string(kColumns) + "WHERE id=?");
    row.bind(id);
    return row.step() ? std::optional(read(row)) : std::nullopt;
}

std::optional<ProfileRecord> ProfileStore::findByName(const std::string& name)
{
    const auto lock = m_database.lock();
    Statement row = m_database.prepare(std::string(kColumns) + "WHERE name=?");
    row.bind(name);
    return row.step() ? std::optional(read(row)) : std::nullopt;
}

bool ProfileStore::create(const ProfileRecord& profile)
{
    const auto lock = m_database.lock();
    m_database.prepare("INSERT OR IGNORE INTO profiles(id, name, document) VALUES(?, ?, ?)")
        .bind(profile.id)
        .bind(profile.name)
        .bind(profile.document)
        .run();
    return m_database.changes() > 0;
}

bool ProfileStore::remove(const std::string& id)
{
    const auto lock = m_database.lock();
    m_database.prepare("DELETE FROM profiles WHERE id=?").bind(id).run();
    return m_database.changes() > 0;
}

} // namespace krxservice
