#include "app/FolderDetails.h"

#include "documents/Answers.h"

#include <algorithm>
#include <utility>

namespace krxservice {

FolderDetails::FolderDetails(FolderStore& folders, OutputArea& outputs, const ChangeBoard& board)
    : m_folders(folders)
    , m_outputs(outputs)
    , m_board(board)
{
}

std::shared_ptr<const std::string> FolderDetails::text()
{
    const std::lock_guard lock(m_mutex);
    // The version is taken before the folders are read: what changes in between is read again the next time.
    const auto news = m_board.since(m_version);
    // A document is taken by removing its file, which only the disk knows of.
    auto waiting = m_outputs.listAll();
    const bool isNew = std::find(news.topics.begin(), news.topics.end(), Topic::Folders) != news.topics.end();
    if (!m_text || isNew || waiting != m_waiting) {
        std::vector<answers::Folder> folders;
        for (auto& record : m_folders.list()) {
            const auto outputs = waiting.find(record.id);
            folders.push_back(
                {std::move(record), outputs == waiting.end() ? std::vector<std::string>() : outputs->second});
        }
        m_text = std::make_shared<const std::string>(answers::folderDetailList(folders));
        m_waiting = std::move(waiting);
    }
    m_version = news.version;
    return m_text;
}

} // namespace krxservice
