#pragma once

#include "activities/Activity.h"
#include "files/SourceFile.h"
#include "media/Clip.h"

#include <string>

namespace krxservice::linkedsource {

/// Opens the file that \a clip links to. One that no action made stands in the watched folder, below which no
/// link is followed.
inline SourceFile open(const Clip& clip)
{
    return SourceFile(clip.linked.path, clip.linked.path == clip.source.path ? clip.watched : std::string());
}

/// Why nothing is done with \a source, which could not be opened: it is gone, so look again, or else \a
/// failure.
inline Refusal whyNot(const SourceFile& source, const Refusal& failure)
{
    return source.isMissing() ? Refusal{kLookAgain, source.path() + " is gone"} : failure;
}

} // namespace krxservice::linkedsource
