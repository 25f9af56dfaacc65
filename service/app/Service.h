#pragma once

#include "activities/HistoryKeeper.h"
#include "activities/Pipeline.h"
#include "app/DataKeeper.h"
#include "app/FolderDetails.h"
#include "app/Housekeeper.h"
#include "app/OutputWatch.h"
#include "base/Options.h"
#include "documents/Answers.h"
#include "documents/Requests.h"
#include "media/OutputArea.h"
#include "queue/Worker.h"
#include "store/ClipBook.h"
#include "store/ClipStore.h"
#include "store/ErrorStore.h"
#include "store/FolderStore.h"
#include "store/JobStore.h"
#include "store/ProfileStore.h"
#include "watch/Watcher.h"

#include <QThread>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace krxservice {

/// All of the service but the wire: what clients can ask for, one operation each. The operations are
/// thread-safe; they throw DatabaseError when the database cannot be used.
class Service
{
public:
    /// Opens the data folder. Throws std::runtime_error (DatabaseError included) with a text for the person.
    explicit Service(const Options& options);
    ~Service();

    /// Begins to watch and to work.
    void start();
    /// Ends both; what was under way is taken up again at the next start.
    void stop();

    std::vector<FolderRecord> folders();
    /// The answer with all folders and what waits in each.
    std::shared_ptr<const std::string> foldersInDetail() { return m_folderDetails.text(); }
    Outcome<answers::Folder> folder(const std::string& id);
    /// \return the id of the new folder.
    Outcome<std::string> createFolder(const requests::Folder& request);
    Outcome<answers::Folder> updateFolder(const std::string& id, const requests::Folder& request,
                                          bool reprocess);
    std::optional<Refusal> deleteFolder(const std::string& id);
    std::vector<std::string> readyFolders();

    std::vector<ProfileRecord> profiles();
    Outcome<ProfileRecord> profile(const std::string& id);
    /// \return the id of the new profile.
    Outcome<std::string> createProfile(const std::string& body);
    std::optional<Refusal> deleteProfile(const std::string& id);

    std::vector<JobRecord> jobs(bool onlyManual);
    std::vector<answers::Job> jobsInDetail(bool onlyManual);
    Outcome<answers::Job> job(const std::string& id);
    Outcome<answers::Job> submitJob(const requests::JobSubmission& request);
    /// Applies \a state to every manual job it fits and returns those.
    std::vector<JobRecord> changeJobs(const std::string& state);
    Outcome<answers::Job> changeJob(const std::string& id, const std::string& state);
    std::optional<Refusal> deleteJob(const std::string& id);

    /// The clips that \a question asks for; 404 for a folder or a job that is not there.
    Outcome<ClipBook::Answer> clips(const ClipBook::Question& question);
    /// What changes, and when.
    ChangeBoard& changes() { return m_board; }

    std::vector<std::string> errors(bool clear);
    bool isActive();
    /// How long actions took.
    const ActivityTimes& times() const { return m_pipeline.times(); }
    void deviceChanged(const requests::DeviceStatus& status);

private:
    Outcome<FolderRecord> storeUpdate(const std::string& id, const requests::Folder& request,
                                      const std::string& canonical, bool reprocess);
    template <typename Function>
    auto withRemoval(const std::string& owner, Function change);
    std::optional<Refusal> checkProfile(const FolderRecord& folder, const std::string& profileBefore);
    void ensureDefaultProfile();
    bool applyState(const JobRecord& job, const std::string& state);
    answers::Job withOutputs(const JobRecord& job);
    void prune();
    template <typename Function>
    void onWatcher(Function function);

    const int m_workers; ///< 0 follows the machine
    std::string m_dataFolder;
    DataKeeper m_keeper;
    Database& m_database{m_keeper.database()};
    FolderStore m_folders{m_database};
    ProfileStore m_profiles{m_database};
    JobStore m_jobs{m_database};
    ClipStore m_clips{m_database};
    ErrorStore m_errors{m_database};
    ChangeBoard m_board;
    ClipBook m_book{m_database, m_board};
    OutputArea m_outputs;
    FolderDetails m_folderDetails{m_folders, m_outputs, m_board};
    Pipeline m_pipeline{m_database, m_clips, m_errors, m_outputs};
    HistoryStore m_copied{m_database};
    HistoryKeeper m_histories;
    Worker m_worker;
    QThread m_watchThread;
    std::unique_ptr<Watcher> m_watcher;
    Housekeeper m_housekeeper;
    OutputWatch m_outputWatch;
    /// On a thread of its own: a volume that does not answer holds up nothing but histories.
    Housekeeper m_historian;
    std::optional<std::chrono::steady_clock::time_point> m_pruned; ///< when; used by the housekeeper alone
};

} // namespace krxservice
