#pragma once

#include "base/CancelToken.h"
#include "media/OutputArea.h"
#include "media/OutputDocument.h"
#include "store/ErrorStore.h"
#include "store/FileStore.h"

#include <functional>
#include <optional>
#include <string>

namespace krxservice {

/// For whom a file is worked on.
struct FileOrder
{
    std::string ownerKind; ///< "folder" or "job"
    std::string ownerId;
    std::string ownerPath;
    std::string path;
    ProfileRecipe profile;
    CancelToken cancel;
    std::function<void()> willAct;        ///< called before the first action of the profile begins
    std::function<void(int)> progress;    ///< 0 to 100 over all actions
    std::function<bool()> staysCancelled; ///< asked when cancelled: true when it is not to be tried again
};

/// How the work on a file ended.
struct FileResult
{
    enum class End {
        Offered,  ///< an output document was published
        Known,    ///< the same content was worked on before
        Rejected, ///< no media
        Failed,   ///< an action failed
        Later,    ///< it changed, vanished or could not be judged: look again
        Cancelled
    };

    End end = End::Later;
    std::string text;               ///< why, when it was not offered
    std::optional<FileStamp> stamp; ///< of the file whose work is done; nothing for Later and Cancelled
};

/// Works on one file: tells what it is, runs the actions of the profile, publishes the output document.
/// May be used on several threads, for different files.
///
/// A record in the database goes with every step, so that after a crash at any moment each file is offered
/// exactly once: work that had not reached its output is done again; a complete output document is published
/// if its hidden file is still there and counts as published if it is not.
class Pipeline
{
public:
    Pipeline(Database& database, FileStore& files, ErrorStore& errors, OutputArea& outputs);

    FileResult process(const FileOrder& order);

    /// Brings what a crash left behind in order. Before any other work.
    void recover();

private:
    struct Work;

    FileResult reject(const Work& work, const std::string& reason);
    /// The reason why an action failed, or nothing.
    std::optional<Refusal> runActivities(Work& work);
    FileResult publish(Work& work);

    Database& m_database;
    FileStore& m_files;
    ErrorStore& m_errors;
    OutputArea& m_outputs;
};

} // namespace krxservice
