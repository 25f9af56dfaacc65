#include "store/HistoryStore.h"

#include <sstream>

namespace krxservice {

namespace {

/// One line a file; paths with line ends never come here.
std::string linesOf(const std::vector<HistoryEntry>& files)
{
    std::string lines;
    for (const auto& file : files) {
        lines += std::to_string(file.size) + ' ' + std::to_string(file.modified) + ' ' +
                 std::to_string(file.hashed) + ' ' + (file.existed ? '1' : '0') + ' ' + file.checksum + ' ' +
                 file.path + '\n';
    }
    return lines;
}

std::vector<HistoryEntry> filesOf(const std::string& lines)
{
    std::vector<HistoryEntry> files;
    std::istringstream in(lines);
    for (;;) {
        HistoryEntry file;
        in >> file.size >> file.modified >> file.hashed >> file.existed >> file.checksum;
        in.ignore(1);
        if (!std::getline(in, file.path))
            return files;
        files.push_back(std::move(file));
    }
}

} // namespace

void HistoryStore::add(const CopiedClip& clip)
{
    const auto lock = m_database.lock();
    m_database.prepare("INSERT INTO copied(folder, inode, finished, files) VALUES(?, ?, ?, ?)")
        .bind(clip.folder)
        .bind(clip.inode)
        .bind(clip.finished)
        .bind(linesOf(clip.files))
        .run();
}

std::vector<HistoryStore::Waiting> HistoryStore::waiting()
{
    const auto lock = m_database.lock();
    std::vector<Waiting> folders;
    Statement rows = m_database.prepare(
        "SELECT folder, COUNT(*), MAX(finished) FROM copied GROUP BY folder ORDER BY folder");
    while (rows.step())
        folders.push_back({rows.text(0), rows.number(1), rows.number(2)});
    return folders;
}

HistoryStore::Batch HistoryStore::oldest(const std::string& folder, int most)
{
    const auto lock = m_database.lock();
    Batch batch;
    Statement rows = m_database.prepare(
        "SELECT seq, inode, finished, files FROM copied WHERE folder=? ORDER BY seq LIMIT ?");
    rows.bind(folder).bind(std::int64_t(most));
    while (rows.step()) {
        batch.last = rows.number(0);
        batch.clips.push_back({folder, rows.number(1), rows.number(2), filesOf(rows.text(3))});
    }
    return batch;
}

void HistoryStore::remove(const std::string& folder, std::int64_t last)
{
    const auto lock = m_database.lock();
    m_database.prepare("DELETE FROM copied WHERE folder=? AND seq<=?").bind(folder).bind(last).run();
}

} // namespace krxservice
