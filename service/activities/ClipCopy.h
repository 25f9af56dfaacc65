#pragma once

#include "activities/Copier.h"
#include "media/Clip.h"

#include <string>
#include <vector>

namespace krxservice {

/// What copying a clip as it is takes, whatever action orders it.
namespace clipcopy {

/// All files of what \a clip links to: the file, its parts or its pictures, and the sidecars. Where they go
/// is left to the caller.
CopyOrder order(const Clip& clip);

/// The directories between the watched folder and the file that was found in it; empty for none.
std::string belowWatched(const Clip& clip);

/// What the clip is as a copy: a file, or all pictures of a sequence together.
FileFacts facts(const CopyResult& result, const CopyOrder& order);

/// That and the other files that are no pictures.
std::vector<FileFacts> made(const CopyResult& result, const CopyOrder& order);

/// The checksum of what was copied, made of the names that it has where it was copied from.
std::string sourceChecksum(const CopyResult& result, const CopyOrder& order);

/// True when what was copied is not what the clip was when it was looked at.
bool isOther(const Clip& clip, const CopyResult& result, const CopyOrder& order);
/// Removes what was copied then, as far as it did not lie there before and is still what it was.
void undo(const CopyResult& result);

/// Gives the sidecars that the clip keeps the checksums of their copies.
void learnSidecars(Clip& clip, const CopyResult& result);

/// Lets the clip be what was copied.
void relink(Clip& clip, const CopyResult& result, const FileFacts& copy);

} // namespace clipcopy

} // namespace krxservice
