#pragma once

#include "activities/ActivityTimes.h"
#include "base/Outcome.h"
#include "http/HttpAnswer.h"
#include "store/Records.h"

#include <string>

namespace krxservice {

/// The answer to a "dryRunRequest" for \a profile. Nothing is touched, and a disk that does not answer is not
/// waited for beyond a moment.
HttpAnswer dryRunAnswer(const Outcome<ProfileRecord>& profile, const std::string& body,
                        const ActivityTimes& times);

} // namespace krxservice
