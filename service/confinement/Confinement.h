#pragma once

#include "confinement/Landlock.h"

#include <sys/resource.h>

#include <cstdint>
#include <string>
#include <vector>

namespace krxservice {

/// What a program that looks at or converts other people's media gives up before it sees the first byte:
/// decided by whoever starts it, done by the process itself between fork and exec (or at its own beginning),
/// and never to be had back.
///
///     Confinement confinement;
///     confinement.files().mayRun("/usr/bin/ffmpeg");
///     confinement.files().mayRead(clip);                  // an open descriptor
///     confinement.files().mayWrite(scratch);
///     confinement.limit(RLIMIT_FSIZE, mostBytes);
///     if (const auto reason = confinement.filterCalls(); !reason.empty()) ...
///     if (fork() == 0) {
///         if (!confinement.enter().failed) execve(...);   // nothing but async-signal-safe calls here
///         _exit(127);
///     }
///
/// Not thread-safe. Knows neither Qt nor the rest of the service, since krx-media uses it.
class Confinement
{
public:
    /// How entering went.
    struct Entered
    {
        const char* failed = nullptr; ///< what could not be done, static text; nullptr when all was
        int error = 0;                ///< the errno value of it
    };

    /// No file may be opened (where the kernel has Landlock), no core is dumped, nothing else is limited.
    Confinement();

    /// What may be opened all the same.
    Landlock& files() { return m_files; }

    /// The most of \a resource (RLIMIT_...) that it may have. What is narrower already stays so. RLIMIT_NPROC
    /// counts all processes and threads of the user, not only its own.
    void limit(int resource, rlim_t most);

    /// Prepares a filter of system calls for a program of the system that works on files: it may do all that
    /// such a one does, and is refused (EPERM) sockets of every kind, other processes' memory, mounts,
    /// namespaces, keys, devices' making, kernel modules and the interfaces of the kernel where most holes
    /// were found. A program with a narrower filter of its own does not need it. Empty or the reason.
    std::string filterCalls();

    /// In the process that is to be confined: a process group of its own, no new privileges, files and
    /// directories for its owner only, the limits, Landlock, the filter. Async-signal-safe. When something
    /// failed, the process must end and not work.
    Entered enter() const noexcept;

private:
    struct Limit
    {
        int resource;
        rlim_t most;
    };

    Landlock m_files;
    std::vector<Limit> m_limits;
    std::vector<std::uint64_t> m_filter; ///< the kernel's instructions, 8 bytes each
};

} // namespace krxservice
