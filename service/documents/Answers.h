#pragma once

#include "store/ClipBook.h"
#include "store/Records.h"

#include <string>
#include <vector>

/// The documents that the service sends. \a base is the root of all its URLs, for example
/// "http://localhost:58885/KRXService".
namespace krxservice::answers {

/// A folder together with the paths of the output documents that wait for it.
struct Folder
{
    FolderRecord record;
    std::vector<std::string> outputs;
};

/// A job together with the paths of the output documents that wait for it.
struct Job
{
    JobRecord record;
    std::vector<std::string> outputs;
};

std::string folderList(const std::vector<FolderRecord>& folders, const std::string& base);
std::string folderDetailList(const std::vector<Folder>& folders);
std::string folderDetail(const Folder& folder);
std::string folderCreated(const std::string& id, const std::string& base);
std::string outputReadyList(const std::vector<std::string>& folderIds, const std::string& base);

std::string profileList(const std::vector<ProfileRecord>& profiles, const std::string& base);
std::string profileDetailList(const std::vector<ProfileRecord>& profiles);
std::string profileDetail(const ProfileRecord& profile);
std::string profileCreated(const std::string& id, const std::string& base);

std::string jobStatusList(const std::vector<JobRecord>& jobs);
std::string jobDetailList(const std::vector<Job>& jobs);
std::string jobInfo(const Job& job);

std::string clipList(const ClipBook::Answer& clips);
/// What changed since a client asked the last time.
std::string changes(const ChangeBoard::News& news);

std::string errorList(const std::vector<std::string>& errors);
std::string activity(bool active, const std::vector<std::string>& errors,
                     const std::vector<std::string>& readyFolderIds, const std::string& base);

} // namespace krxservice::answers
