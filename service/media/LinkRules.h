#pragma once

#include "media/Clip.h"
#include "media/LinkSettings.h"

#include <string>
#include <vector>

/// What the link settings of a profile make of one clip.
namespace krxservice::linkrules {

/// Fills in clip.link, and the duration of a sequence, from what was found out about the source. \return what
/// a person should know: sentences about this clip.
std::vector<std::string> apply(const LinkSettings& settings, Clip& clip);

/// Brings rate and count of frames up to date after actions made another file of the clip.
void refresh(const LinkSettings& settings, Clip& clip);

/// What the clip is called: the file's name without its extension, of a sequence what stands before the
/// numbers, or the directory when there is nothing.
std::string clipName(const std::string& path, const std::optional<SequenceFacts>& sequence);

/// The index of the stream of this type that a host is to prefer; -1 when there is none.
int preferredStream(const MediaFacts& media, const std::string& type, bool mostCompressed);

} // namespace krxservice::linkrules
