#pragma once

#include "base/FileStamp.h"
#include "store/ClipBook.h"
#include "watch/Settler.h"

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>

namespace krxservice {

/// Tells people why the files of one folder are not handed over yet; only what is new. Not thread-safe.
class Stories
{
public:
    using Tell = std::function<void(const std::string& path, const ClipNews& news)>;

    /// Without a function nothing is told.
    explicit Stories(Tell tell)
        : m_tell(std::move(tell))
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

private:
    struct Told
    {
        ClipStage stage = ClipStage::Found;
        std::int64_t size = 0;
    };

    void tell(const std::string& path, Told& told, const ClipNews& news);

    Tell m_tell;
    std::unordered_map<std::string, Told> m_told;
};

} // namespace krxservice
