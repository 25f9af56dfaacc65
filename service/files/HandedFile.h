#pragma once

#include <cstddef>

namespace krxservice {

/// Sends \a size bytes and the open \a file with them through a Unix socket, at once or not at all. The
/// receiver gets a descriptor of its own. \return whether all of it went.
bool handFile(int socket, const void* bytes, std::size_t size, int file);

} // namespace krxservice
