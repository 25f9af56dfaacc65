#pragma once

#include "base/FileStamp.h"
#include "store/ClipBook.h"
#include "watch/Gathering.h"
#include "watch/Settler.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace krxservice {

/// Tells people why the files of one folder are not handed over yet; only what is new. Not thread-safe.
class Stories
{
public:
    using Tell = std::function<void(const std::string& path, const ClipNews& news)>;
    /// What was told of a path is told of another from now on.
    using Withdraw = std::function<void(const std::string& path)>;

    /// Without a function nothing is told.
    explicit Stories(Tell tell, Withdraw withdraw = {})
        : m_tell(std::move(tell))
        , m_withdraw(std::move(withdraw))
    {
    }

    /// A file is to stand still from \a now on (nanoseconds, as everywhere here).
    void found(const std::string& path, const FileStamp& stamp, std::int64_t now);
    /// It was read once more at \a now.
    void read(const std::string& path, const FileStamp& stamp, const Settler& settler, std::int64_t now);
    /// It stands still, and \a program has it open for writing.
    void open(const std::string& path, const std::string& program);
    /// It stands still and is nothing for this folder.
    void refused(const std::string& path, const std::string& reason);
    void gone(const std::string& path);
    /// A file that others tell of is there again.
    void returned(const std::string& path) { withdraw(path); }
    /// What becomes of it now others tell.
    void handedOver(const std::string& path) { m_told.erase(path); }

    /// Numbered pictures have one story together, under the first of them.
    /// \param all those that are not handed over at \a now; the others' stories are over.
    /// \param open who has one of the pictures open for writing, by their key.
    void pictures(const std::vector<Gathering::Waiting>& all, const std::map<std::string, std::string>& open,
                  std::int64_t now);
    /// Stories of pictures that do not wait any more are over.
    void keepPictures(const std::function<bool(const std::string& key)>& wait);
    /// The pictures of \a key make these \a clips, of which others tell from now on; none when they are gone.
    void picturesHandedOver(const std::string& key, const std::vector<std::string>& clips);

private:
    /// How something changes, at moments of the steady clock.
    struct Growth
    {
        std::int64_t changedAt = 0;
        std::int64_t since = 0; ///< 0 before the first change
        std::int64_t longestRest = 0;

        void changed(std::int64_t now);
        /// It rests for longer than it did between two changes, and for more than a moment.
        bool isOver(std::int64_t now, std::int64_t moment) const;
    };

    struct Told
    {
        ClipStage stage = ClipStage::Found;
        FileStamp stamp;
        Growth growth;
        std::int64_t dueAt = 0; ///< as told last
    };

    /// What was told of numbered pictures.
    struct ToldPictures
    {
        std::string path;
        ClipStage stage = ClipStage::Found;
        std::size_t pictures = 0;
        std::int64_t bytes = 0;
        std::int64_t dueAt = 0;
        Growth growth;
    };

    void tell(const std::string& path, Told& told, const ClipNews& news);
    void changed(const std::string& path, Told& told, const FileStamp& stamp, std::int64_t now);
    void tellPictures(const Gathering::Waiting& waiting, const std::string& program, std::int64_t now);
    void withdraw(const std::string& path);

    Tell m_tell;
    Withdraw m_withdraw;
    std::map<std::string, ToldPictures> m_pictures; ///< by key
    std::unordered_map<std::string, Told> m_told;
};

} // namespace krxservice
