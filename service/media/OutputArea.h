#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace krxservice {

/// The directory in which finished clips wait to be taken: "<data>/output/<folder id>" and
/// "<data>/output/jobs/<job id>". Taking a clip means removing its file, so the disk has the last word on
/// what waits; the index kept here only spares looking where nothing can be. Thread-safe.
class OutputArea
{
public:
    /// Reads what waits there already. \a root is made when missing; throws std::runtime_error when it
    /// cannot.
    explicit OutputArea(std::string root);

    /// The file name of the output of file record \a id, made from \a source.
    static std::string fileName(std::int64_t id, const std::string& source);

    /// Writes a document to its hidden place and to the disk. An empty text or the reason.
    std::string prepare(const std::string& owner, const std::string& name, const std::string& document);
    /// Gives a prepared document its final name. An empty text or the reason.
    std::string publish(const std::string& owner, const std::string& name);
    /// True when a document was prepared and not published.
    bool isPrepared(const std::string& owner, const std::string& name) const;
    /// Removes a document that was prepared and not published.
    void abandon(const std::string& owner, const std::string& name);

    /// The paths of the documents that wait for \a owner, in the order they were made.
    std::vector<std::string> list(const std::string& owner);
    /// The folders for which at least one document waits, in the order of their ids.
    std::vector<std::string> readyFolders();
    /// Removes all documents of \a owner.
    void removeAll(const std::string& owner);

    /// Removes the published documents that \a isWanted denies, by owner and id of the file record.
    void removeUnless(const std::function<bool(const std::string& owner, std::int64_t id)>& isWanted);

    /// The path of a document.
    std::string path(const std::string& owner, const std::string& name) const;

private:
    using Names = std::map<std::int64_t, std::string>;

    std::string directory(const std::string& owner) const;
    std::string hiddenPath(const std::string& owner, const std::string& name) const;
    void load(const std::string& directory);
    void dropTaken(const std::string& owner, Names& names);

    std::string m_root;
    std::mutex m_mutex;
    std::map<std::string, Names> m_index;
};

} // namespace krxservice
