#pragma once

#include "activities/ActivityTimes.h"
#include "base/Outcome.h"
#include "http/HttpAnswer.h"
#include "store/Records.h"

#include <string>
#include <vector>

namespace krxservice {

/// The answer to a "dryRunRequest" for \a profile. Nothing is touched, and a disk that does not answer is not
/// waited for beyond a moment. A file in one of \a folders counts as found there, whatever its profile.
HttpAnswer dryRunAnswer(const Outcome<ProfileRecord>& profile, const std::string& body,
                        const std::vector<FolderRecord>& folders, const ActivityTimes& times);

} // namespace krxservice
