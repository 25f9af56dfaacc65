#pragma once

#include "base/CancelToken.h"
#include "media/Clip.h"

#include <optional>
#include <string>
#include <vector>

namespace krxservice {

/// Which media lie in the folder for new media of a volume, by what they were made of: so the same is not
/// brought there twice. Kept as a hidden file in that folder, so that it goes where the volume goes; when it
/// is missing or no index, the folder is read again. May be used on several threads.
class TargetIndex
{
public:
    /// \a folder on the volume; need not exist.
    explicit TargetIndex(std::string folder);

    /// What an entry is about.
    struct Key
    {
        std::string kind;     ///< "clip", "picture" or "sound"
        std::string checksum; ///< of what it was made of
    };

    /// The file (of a sequence all pictures together) that was made of this and is still what it was then.
    std::optional<FileFacts> find(const Key& key, const CancelToken& cancel) const;

    /// The same by what is kept, without a look at the media: nothing is found when no index is there.
    std::optional<FileFacts> findKept(const Key& key) const;

    /// Remembers \a made, which lies in the folder. A failure only means that it is looked for in vain.
    void add(const Key& key, const FileFacts& made) const;

    /// Its name in the folder.
    static constexpr char kName[] = ".krx-index";

private:
    struct Entry
    {
        Key key;
        FileFacts made;
    };

    std::optional<std::vector<Entry>> read() const;
    static std::optional<FileFacts> findAmong(const std::vector<Entry>& entries, const Key& key);
    std::vector<Entry> rebuild(const CancelToken& cancel) const;
    std::string lineOf(const Entry& entry) const;
    std::optional<Entry> entryOf(const std::string& line) const;

    std::string m_folder;
};

} // namespace krxservice
