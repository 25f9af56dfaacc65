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

    /// A file is to stand still from now on.
    void found(const std::string& path, const FileStamp& stamp);
    /// It was read once more at \a now (nanoseconds).
    void read(const std::string& path, const FileStamp& stamp, const Settler& settler, std::int64_t now);
    /// It stands still, and \a program has it open for writing.
    void open(const std::string& path, const std::string& program);
    /// It stands still and is nothing for this folder.
    void refused(const std::string& path, const std::string& reason);
    void gone(const std::string& path);
    /// What becomes of it now others tell.
    void handedOver(const std::string& path) { m_told.erase(path); }

    /// Numbered pictures have one story together, under the first of them.
    /// \param all those that are not handed over at \a now (nanoseconds); the others' stories are over.
    /// \param open who has one of the pictures open for writing, by their key.
    void pictures(const std::vector<Gathering::Waiting>& all, const std::map<std::string, std::string>& open,
                  std::int64_t now);
    /// Stories of pictures that do not wait any more are over.
    void keepPictures(const std::function<bool(const std::string& key)>& wait);
    /// The pictures of \a key make these \a clips, of which others tell from now on; none when they are gone.
    void picturesHandedOver(const std::string& key, const std::vector<std::string>& clips);

private:
    struct Told
    {
        ClipStage stage = ClipStage::Found;
        std::int64_t size = 0;
    };

    /// What was told of numbered pictures.
    struct ToldPictures
    {
        std::string path;
        ClipStage stage = ClipStage::Found;
        std::size_t pictures = 0;
        std::int64_t bytes = 0;
        std::int64_t dueAt = 0;
    };

    void tell(const std::string& path, Told& told, const ClipNews& news);
    void tellPictures(const Gathering::Waiting& now, const std::string& program, double left);
    void withdraw(const std::string& path);

    Tell m_tell;
    Withdraw m_withdraw;
    std::map<std::string, ToldPictures> m_pictures; ///< by key
    std::unordered_map<std::string, Told> m_told;
};

} // namespace krxservice
