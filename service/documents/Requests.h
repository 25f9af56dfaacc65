#pragma once

#include "base/Outcome.h"
#include "store/ClipBook.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

/// The documents that clients send. Readers ignore elements they do not know; a repeated element overwrites
/// the earlier one.
namespace krxservice::requests {

/// "xelMediaFolderRequest" around, or by itself, one "xelMediaFolder".
struct Folder
{
    std::optional<std::string> id;
    std::optional<std::string> path;
    std::optional<std::string> profile;
    std::optional<bool> enabled;
};

/// "jobInfo" with "path" and "profileID".
struct JobSubmission
{
    std::string path;
    std::string profile;
};

/// "deviceStatus".
struct DeviceStatus
{
    std::string volumeName;
    int volumeType = 0;
    int volumeAction = 0;
};

/// What follows the "?" of "clips"; a key that it does not know is refused.
Outcome<ClipBook::Question> clipQuestion(const std::map<std::string, std::string>& query);

/// A version of the board, as "changes" knows it: digits, or nothing for 0.
Outcome<std::uint64_t> version(const std::string& text);

Outcome<Folder> folderCreation(std::string_view body);
Outcome<Folder> folderUpdate(std::string_view body);
Outcome<JobSubmission> jobSubmission(std::string_view body);
/// The state word of a "jobStatus": "CANCELLED" or "SUBMITTED", nothing else.
Outcome<std::string> jobState(std::string_view body);
Outcome<DeviceStatus> deviceStatus(std::string_view body);
/// The path of a "dryRunRequest".
Outcome<std::string> dryRun(std::string_view body);

} // namespace krxservice::requests
