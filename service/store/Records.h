#pragma once

#include "base/FileStamp.h"

#include <cstdint>
#include <string>

namespace krxservice {

/// A directory that is watched, as the database keeps it.
struct FolderRecord
{
    std::string id;
    std::string path;      ///< exactly as the client sent it
    std::string canonical; ///< without links, doubled or trailing slashes; tells folders apart
    std::string profile;   ///< id of a profile, may be empty while the folder is disabled
    bool enabled = false;
};

/// A profile as the database keeps it.
struct ProfileRecord
{
    std::string id;
    std::string name;
    std::string document; ///< the whole "profile" element, without declaration
};

/// A unit of work that a client can see.
struct JobRecord
{
    std::string id;
    bool manual = false; ///< asked for by a client; otherwise made for a file of a watched folder
    std::string path;
    std::string profile;
    std::string groupId;
    std::string groupName;
    std::string state;
    int percent = 0; ///< 0 or 100 in every final state
    std::string message;
};

/// The words for the state of a job.
namespace jobstate {
constexpr char kSubmitted[] = "SUBMITTED";
constexpr char kRunning[] = "RUNNING";
constexpr char kCompleted[] = "COMPLETED";
constexpr char kFailed[] = "FAILED";
constexpr char kCancelled[] = "CANCELLED";

inline bool isFinal(const std::string& state)
{
    return state == kCompleted || state == kFailed || state == kCancelled;
}
} // namespace jobstate

/// How far a file of a folder or of a job has come.
enum class FileState {
    Taken,      ///< being worked on; forgotten at the next start
    Publishing, ///< its output document is complete and about to get its final name
    Offered,    ///< its output document has been published
    Rejected,   ///< no media
    Failed      ///< an action failed
};

/// A file that was taken up.
struct FileRecord
{
    std::int64_t id = 0;
    std::string owner; ///< id of the folder or of the job
    std::string path;
    FileStamp stamp;
    std::string checksum;
    FileState state = FileState::Taken;
    std::string output;  ///< name of the output document once it is being published
    std::string scratch; ///< unfinished copy to be removed when the work was interrupted
};

} // namespace krxservice
