#pragma once

#include "base/FileStamp.h"

#include <cstdint>
#include <string>
#include <vector>

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
    std::string activity; ///< name of the action that runs, or in which it failed, was cancelled or waits
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

/// How far a clip has come. What stands before Waiting is known to the watcher alone: after a restart the
/// file is found again by looking. docs/service.md has the picture.
enum class ClipState {
    Waiting,    ///< interrupted or to be tried again; finished actions are not done again
    Acting,     ///< being worked on
    Publishing, ///< its output document is complete and about to get its final name
    Offered,    ///< its output document waits for the host
    Taken,      ///< the host removed the output document
    Rejected,   ///< no media
    Failed      ///< an action failed, or a client cancelled it
};

/// A clip and all that is known of it.
struct ClipRecord
{
    std::int64_t id = 0; ///< 0 until it is stored
    std::string guid;    ///< of its output document, decided before that is written
    std::string owner;   ///< id of the folder or of the job
    std::string path;
    FileStamp stamp;
    std::string checksum; ///< tells its content from others of the same path
    ClipState state = ClipState::Acting;
    std::string profile; ///< id of the profile whose actions were begun
    std::string job;     ///< id of the job that shows the work on it; empty without one
    int done = 0;        ///< how many actions of the profile are finished
    /// What the finished actions made; an empty path when they left the source as it is.
    std::string linkedPath;
    FileStamp linkedStamp;
    std::string linkedChecksum;
    std::string made;           ///< all else that they made, in a form of the pipeline's own
    std::string output;         ///< name of its output document
    std::string scratch;        ///< unfinished file to be removed when the work was interrupted
    std::int64_t goneSince = 0; ///< when its file was first missed, nanoseconds since 1970; 0: it was not
};

/// A file as a history lists it. Times are nanoseconds since 1970.
struct HistoryEntry
{
    std::string path; ///< relative to the folder of the history; XML can carry it
    std::int64_t size = 0;
    std::int64_t modified = 0;
    std::string checksum;    ///< of its whole content, "xxh3-64:" and 16 hexadecimal digits
    std::int64_t hashed = 0; ///< when the checksum was made; path, checksum and this are one event
    bool existed = false;    ///< it lay there before and was only compared
};

/// The files of one clip that were copied into a folder.
struct CopiedClip
{
    std::string folder;        ///< canonical path of the folder whose history lists them
    std::int64_t inode = 0;    ///< of that folder: tells it from the place that it is mounted in
    std::int64_t finished = 0; ///< nanoseconds since 1970
    std::vector<HistoryEntry> files;
};

} // namespace krxservice
