#pragma once

#include "activities/ActivityTimes.h"
#include "base/CancelToken.h"
#include "documents/ProfileDocument.h"
#include "media/Clip.h"
#include "media/OutputArea.h"
#include "media/OutputDocument.h"
#include "store/ClipStore.h"
#include "store/ErrorStore.h"
#include "store/HistoryStore.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace krxservice {

struct ClipFiles;
struct LinkSettings;

/// A clip that needs only its document, so that many can be published together.
struct ReadyClip
{
    ClipRecord record;
    OutputFacts facts;
    std::vector<std::string> notes; ///< to be said of it when it is offered
};

/// How the work on a file ended.
struct FileResult
{
    enum class End {
        Offered,    ///< an output document was published
        Publishing, ///< all is done but the document could not get its name yet; publishRest() tries again
        Known,      ///< the same content was worked on before
        Rejected,   ///< no media
        Failed,     ///< an action failed
        Ready,      ///< `ready` is to be given to publishTogether()
        Waiting,    ///< a volume has no space or is away, which text says; to be tried again
        Later,      ///< it changed, vanished or could not be judged: look again
        Cancelled
    };

    End end = End::Later;
    std::string text;               ///< why, when it was not offered
    std::optional<FileStamp> stamp; ///< of the file whose work is done; nothing for Later and Cancelled
    std::shared_ptr<ReadyClip> ready;
    std::vector<std::string> notes; ///< what the actions of a clip that was offered have to say
    std::string activity;           ///< name of the action that failed or waits
};

/// For whom a file is worked on. The functions may be empty.
struct FileOrder
{
    std::string ownerKind; ///< "folder" or "job"
    std::string ownerId;
    std::string ownerPath;
    std::string path;
    ProfileRecipe profile;
    CancelToken cancel;
    bool mayBeGrouped = false; ///< a clip without actions may come back as Ready
    /// Called before the first action of the profile begins, within the transaction that notes it. Given the
    /// job that showed the work before (or an empty text) it returns the one that shows it now.
    std::function<std::string(const std::string& job)> willAct;
    /// Called when the clip is offered or has failed, within the transaction that notes it.
    std::function<void(const FileResult& result)> willEnd;
    std::function<void(int)> progress; ///< 0 to 100 over all actions
    /// The same with the name of the action that runs, and a sentence about it.
    std::function<void(const std::string& name, int percent, const std::string& text)> activity;
    std::function<bool()> staysCancelled; ///< asked when cancelled: true when it is not to be tried again
};

/// Works on one file: tells what it is, runs the actions of the profile, publishes the output document.
/// May be used on several threads, for different files.
///
/// A record in the database goes with every step, so that after a crash or a failure at any moment each clip
/// is offered exactly once: finished actions are not done again; a complete output document is published if
/// its hidden file is still there and counts as published if it is not. The record's identifiers are decided
/// before anything is written, so whatever lies on the disk is found again by them.
class Pipeline
{
public:
    Pipeline(Database& database, ClipStore& clips, ErrorStore& errors, OutputArea& outputs);

    FileResult process(const FileOrder& order);

    /// Notes that a client does not want the clip of \a files, on which no work was begun and which \a job
    /// shows. Called off, it is not worked on until its content is another or it is tried again. \return the
    /// stamp of what is known now, or nothing.
    std::optional<FileStamp> callOff(const FileOrder& order, const ClipFiles& files, const std::string& job);

    /// Publishes what came back as Ready, with the cost of little more than one. \return how each ended, in
    /// the order of \a clips. Throws DatabaseError; then all of them are to be looked at again.
    std::vector<FileResult> publishTogether(const std::vector<std::shared_ptr<ReadyClip>>& clips);

    /// Tries again to give names to the documents that could not get theirs.
    void publishRest();
    /// Notes which clips the host has taken.
    void noteTaken();
    /// Forgets finished clips whose files have been gone for 30 days at \a now (nanoseconds since 1970), of
    /// which those count on which it was looked, or the day before or after: a clock that is set wrong, or
    /// right, makes nobody forget anything.
    /// Returns when done or \a cancel was set.
    void prune(std::int64_t now, const CancelToken& cancel);

    /// Reads what the files of clips hold whose work was called off before anybody had read them, so that
    /// they are known when they are only touched. Returns when done or \a cancel was set.
    void learnCalledOff(const CancelToken& cancel);

    /// Brings what a crash left behind in order. Before any other work.
    /// \param isComplete the database has lost nothing: a document of which it says nothing in the middle of
    /// a removal was to be removed.
    void recover(bool isComplete = true);

    /// How long its actions took.
    const ActivityTimes& times() const { return m_times; }
    /// Brings them to the database, for the next run. Throws DatabaseError.
    void keepTimes() { m_times.keep(m_database); }

private:
    struct Work;

    FileResult process(const FileOrder& order, const LinkSettings& settings, const ClipFiles& files);
    std::optional<FileResult> recognise(Work& work);
    static std::optional<std::string> contentOf(const Work& work, const CancelToken& cancel,
                                                std::string& error);
    static bool isReadByActions(const FileOrder& order);
    void learnContent(Work& work);
    void noteContent(Work& work);
    void learnLate(const ClipRecord& clip, const CancelToken& cancel);
    static std::string knownBy(const std::string& checksum, const FileStamp& stamp);
    static bool sequenceStands(const Work& work);
    static bool stands(const Work& work);
    static bool isAnother(const Work& work, const Clip& made);
    static bool addSidecars(Work& work);
    static void lookAtResult(const Clip& before, Clip& made, const CancelToken& cancel);
    static FileResult ended(FileResult::End end, const std::string& text,
                            const std::optional<FileStamp>& stamp = std::nullopt);
    void say(const std::string& path, const std::vector<std::string>& notes);
    void dropOthers(const Work& work);
    void goOn(Work& work);
    void drop(const ClipRecord& clip);
    static std::string presentActivity(const Work& work);
    FileResult reject(Work& work, const std::string& reason);
    FileResult interrupted(Work& work);
    FileResult fail(Work& work, const std::string& reason);
    FileResult lookAgain(const Work& work, const std::string& reason);
    FileResult waitFor(const Work& work, const std::string& what);
    /// Removes the unfinished files that were noted.
    static void removeScratch(const std::string& scratch);
    /// The reason why an action failed, or nothing.
    std::optional<Refusal> runActivities(Work& work);
    static OutputFacts factsOf(const Work& work);
    FileResult publish(Work& work);
    std::vector<OutputArea::Document> beginTogether(const std::vector<std::shared_ptr<ReadyClip>>& clips);
    FileResult finish(const ClipRecord& clip, const std::function<void(const FileResult&)>& willEnd);
    void noteActed(const ClipRecord& clip, const std::vector<CopiedClip>& copied);

    Database& m_database;
    ClipStore& m_clips;
    ErrorStore& m_errors;
    OutputArea& m_outputs;
    HistoryStore m_copied{m_database};
    ActivityTimes m_times;
};

} // namespace krxservice
