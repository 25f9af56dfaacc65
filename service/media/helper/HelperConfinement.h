#pragma once

#include <cstddef>
#include <string>

/// What this process gives up before it looks at the first file.
namespace krxmedia::confinement {

constexpr std::size_t kMostMemory = std::size_t(2) * 1024 * 1024 * 1024; ///< bytes of address space

/// Gives up, for good: more privileges, core dumps, writing files, further processes, and by a filter of
/// system calls everything but reading what it is handed, memory and the socket. Opening a file, a socket or
/// a program is answered with EPERM from then on; behind the filter, Landlock leaves no file to open either.
/// \param writes it may write to the descriptors that it has, and take as long as it takes.
/// \return an empty text or why it could not be done; then no file must be looked at.
std::string enter(bool writes = false);

} // namespace krxmedia::confinement
