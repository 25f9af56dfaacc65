#pragma once

#include <string>

namespace krxservice {

/// What the service keeps on the disk is its user's and nobody else's.
namespace ownfiles {

/// Looks at \a folder and all that is in it. What belongs to another user, and a link that does, is a reason
/// not to start, since whoever put it there could read or direct what is written; the text says what to do.
/// What is merely open to others is closed to them, with a line in the log. Links of the own user are not
/// followed below the folder. An empty text or the reason.
std::string secure(const std::string& folder);

/// Looks at the links on the way to \a path, which need not be there: one that belongs neither to the own
/// user nor to root could lead to anything of the own user's, today here and tomorrow there. An empty text or
/// the reason.
std::string foreignLinkOnTheWay(const std::string& path);

/// Looks at what stands in the places of the database and the lock in \a folder: nothing, or a file that can
/// be read and written, and neither a link nor a pipe, which would lead elsewhere or be waited for. An empty
/// text or the reason.
std::string whatIsInTheWay(const std::string& folder);

} // namespace ownfiles

} // namespace krxservice
