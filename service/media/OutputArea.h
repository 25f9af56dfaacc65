#pragma once

#include "base/FileTools.h"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace krxservice {

/// The directory in which finished clips wait to be taken: "<data>/output/<folder id>" and
/// "<data>/output/jobs/<job id>". Taking a clip means removing its file, so the disk has the last word on
/// what waits; the index kept here only spares looking where nothing can be. Thread-safe.
class OutputArea
{
public:
    using Key = std::pair<std::string, std::int64_t>; ///< owner and id of the clip's record
    using IsKnown = std::function<bool(const Key& key, const std::string& name)>;

    /// Reads what waits there already. \a root is made when missing; throws std::runtime_error when it
    /// cannot.
    explicit OutputArea(std::string root);

    /// The file name of the output of the clip \a id, made from \a source.
    static std::string fileName(std::int64_t id, const std::string& source);

    /// Below the root: the directory of an owner's documents, and where it is while they are being removed.
    static std::string directoryOf(const std::string& owner);
    static std::string removalOf(const std::string& owner);
    /// What a document is called until it is published.
    static std::string hiddenName(const std::string& name);

    /// One of several documents that are brought to the disk together.
    struct Document
    {
        std::string owner;
        std::string name;
        std::string text;
        std::string error; ///< why it failed; with one from the start it is passed over
    };

    /// Writes documents to their hidden places and to the disk. One that fails leaves nothing.
    void prepare(std::vector<Document>& documents);
    /// Gives prepared documents their final names. One that fails stays in its hidden place.
    void publish(std::vector<Document>& documents);
    /// The same for one. An empty text or the reason.
    std::string prepare(const std::string& owner, const std::string& name, const std::string& document);
    std::string publish(const std::string& owner, const std::string& name);
    /// True when a document was prepared and not published.
    bool isPrepared(const std::string& owner, const std::string& name) const;
    /// True when a prepared document has certainly left its hidden place by itself: false as well while its
    /// directory is away or does not answer, or while a removal keeps it out of sight.
    bool hasLeftItsHiddenPlace(const std::string& owner, const std::string& name) const;
    /// Removes a document that was prepared and not published.
    void abandon(const std::string& owner, const std::string& name);

    /// True when a document has its final name and was not taken.
    bool isPublished(const std::string& owner, const std::string& name) const;

    /// The paths of the documents that wait for \a owner, in the order they were made.
    std::vector<std::string> list(const std::string& owner);
    /// The same for every owner for whom one waits.
    std::map<std::string, std::vector<std::string>> listAll();
    /// The folders for which at least one document waits, in the order of their ids.
    std::vector<std::string> readyFolders();
    /// A document was published, as its record says, and counts as waiting until it is seen to be taken.
    void expect(const std::string& owner, const std::string& name);
    /// Those that were seen to be taken since this was last asked, also by way of a look at all of them now.
    std::vector<Key> takeTaken();
    /// True when some were seen to be taken since takeTaken() was last asked.
    bool hasTaken() const;

    /// All documents of \a owner are about to be removed: they are out of sight from now on.
    void beginRemoval(const std::string& owner);
    /// Removes them for good.
    void endRemoval(const std::string& owner);
    /// They are not to be removed after all.
    void undoRemoval(const std::string& owner);

    /// Brings in order what lay here before the start. Documents that \a isKnown denies are never deleted but
    /// kept in a directory of their own, whose path is returned (empty when there were none) with their
    /// number in \a count; only of those whose removal was begun, and if \a endsRemovals, they are what is
    /// left of it.
    std::string settle(const IsKnown& isKnown, bool endsRemovals, int& count);

    /// The path of a document.
    std::string path(const std::string& owner, const std::string& name) const;

private:
    using Names = std::map<std::int64_t, std::string>;

    std::string directory(const std::string& owner) const;
    std::string hiddenPath(const std::string& owner, const std::string& name) const;
    void load(const std::string& owner);
    void syncDirectories(std::vector<Document>& documents) const;
    static std::string write(const std::string& path, const std::string& text, filetools::Descriptor& file);
    void load();
    std::string removalPlace(const std::string& owner) const;
    void bringBack(const std::string& owner) const;
    /// Those of \a names that are on the disk; notes those that were taken.
    std::vector<std::string> present(const std::string& owner, Names& names);

    std::string m_root;
    mutable std::mutex m_mutex;
    std::map<std::string, Names> m_index;
    /// By owner, when the directory was changed last, as long as all names are known to be in it: then nobody
    /// has to look for each of them.
    std::map<std::string, std::int64_t> m_whole;
    std::vector<Key> m_taken;
};

} // namespace krxservice
