#include "store/FileStore.h"

namespace krxservice {

namespace {

constexpr char kColumns[] =
    "SELECT id, owner, path, size, modified, checksum, state, output, scratch FROM files ";

std::int64_t number(FileState state)
{
    return static_cast<std::int64_t>(state);
}

FileRecord read(const Statement& row)
{
    FileRecord file;
    file.id = row.number(0);
    file.owner = row.text(1);
    file.path = row.text(2);
    file.stamp = {row.number(3), row.number(4)};
    file.checksum = row.text(5);
    file.state = static_cast<FileState>(row.number(6));
    file.output = row.text(7);
    file.scratch = row.text(8);
    return file;
}

} // namespace

std::unordered_map<std::string, FileStamp> FileStore::known(const std::string& owner)
{
    const auto lock = m_database.lock();
    std::unordered_map<std::string, FileStamp> stamps;
    Statement rows =
        m_database.prepare("SELECT path, size, modified FROM files WHERE owner=? AND state IN (?, ?, ?) "
                           "ORDER BY id");
    rows.bind(owner)
        .bind(number(FileState::Offered))
        .bind(number(FileState::Rejected))
        .bind(number(FileState::Failed));
    while (rows.step())
        stamps[rows.text(0)] = {rows.number(1), rows.number(2)};
    return stamps;
}

std::optional<FileRecord> FileStore::findDone(const std::string& owner, const std::string& path,
                                              const std::string& checksum)
{
    const auto lock = m_database.lock();
    Statement row =
        m_database.prepare(std::string(kColumns) +
                           "WHERE owner=? AND path=? AND checksum=? AND state IN (?, ?, ?) ORDER BY id DESC");
    row.bind(owner).bind(path).bind(checksum);
    row.bind(number(FileState::Offered)).bind(number(FileState::Rejected)).bind(number(FileState::Failed));
    return row.step() ? std::optional(read(row)) : std::nullopt;
}

bool FileStore::exists(const std::string& owner, std::int64_t id)
{
    const auto lock = m_database.lock();
    Statement row = m_database.prepare("SELECT 1 FROM files WHERE id=? AND owner=?");
    return row.bind(id).bind(owner).step();
}

void FileStore::setStamp(std::int64_t id, const FileStamp& stamp)
{
    const auto lock = m_database.lock();
    m_database.prepare("UPDATE files SET size=?, modified=? WHERE id=?")
        .bind(stamp.size)
        .bind(stamp.modified)
        .bind(id)
        .run();
}

std::int64_t FileStore::take(const FileRecord& file)
{
    const auto lock = m_database.lock();
    m_database
        .prepare("INSERT INTO files(owner, path, size, modified, checksum, state) VALUES(?, ?, ?, ?, ?, ?)")
        .bind(file.owner)
        .bind(file.path)
        .bind(file.stamp.size)
        .bind(file.stamp.modified)
        .bind(file.checksum)
        .bind(number(FileState::Taken))
        .run();
    return m_database.lastRowId();
}

void FileStore::setScratch(std::int64_t id, const std::string& scratch)
{
    const auto lock = m_database.lock();
    m_database.prepare("UPDATE files SET scratch=? WHERE id=?").bind(scratch).bind(id).run();
}

bool FileStore::move(std::int64_t id, FileState from, FileState to, const std::string& output)
{
    const auto lock = m_database.lock();
    m_database
        .prepare("UPDATE files SET state=?, scratch='', output=CASE ? WHEN '' THEN output ELSE ? END "
                 "WHERE id=? AND state=?")
        .bind(number(to))
        .bind(output)
        .bind(output)
        .bind(id)
        .bind(number(from))
        .run();
    return m_database.changes() > 0;
}

void FileStore::remove(std::int64_t id)
{
    const auto lock = m_database.lock();
    m_database.prepare("DELETE FROM files WHERE id=?").bind(id).run();
}

void FileStore::forget(const std::string& owner)
{
    const auto lock = m_database.lock();
    m_database.prepare("DELETE FROM files WHERE owner=?").bind(owner).run();
}

void FileStore::forgetFailed(const std::string& owner, const std::string& path)
{
    const auto lock = m_database.lock();
    m_database.prepare("DELETE FROM files WHERE owner=? AND state=? AND (?='' OR path=?)")
        .bind(owner)
        .bind(number(FileState::Failed))
        .bind(path)
        .bind(path)
        .run();
}

std::vector<FileRecord> FileStore::inState(FileState state)
{
    const auto lock = m_database.lock();
    std::vector<FileRecord> files;
    Statement rows = m_database.prepare(std::string(kColumns) + "WHERE state=? ORDER BY id");
    rows.bind(number(state));
    while (rows.step())
        files.push_back(read(rows));
    return files;
}

} // namespace krxservice
