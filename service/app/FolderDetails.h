#pragma once

#include "media/OutputArea.h"
#include "store/ChangeBoard.h"
#include "store/FolderStore.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace krxservice {

/// The list of all folders with what waits in each. Making it takes long when folders are many, and clients
/// ask for it often, so it is kept until something in it changes. Thread-safe.
class FolderDetails
{
public:
    /// All of them must outlive this. \a board is told of every change in \a folders.
    FolderDetails(FolderStore& folders, OutputArea& outputs, const ChangeBoard& board);

    /// The answer as it is now; the same text as the last time when nothing changed. Never null.
    std::shared_ptr<const std::string> text();

private:
    FolderStore& m_folders;
    OutputArea& m_outputs;
    const ChangeBoard& m_board;
    std::mutex m_mutex;
    std::uint64_t m_version = 0; ///< of the board, up to which the folders are known
    std::map<std::string, std::vector<std::string>> m_waiting;
    std::shared_ptr<const std::string> m_text;
};

} // namespace krxservice
