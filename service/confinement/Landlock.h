#pragma once

#include <cstdint>
#include <string>

namespace krxservice {

/// Which files a process may still open: none but those named here, whatever its user may. Below that it can
/// open no TCP connection, and reach by signals and abstract sockets only processes confined with it, as far
/// as the kernel knows how (Landlock, in Linux since 5.13).
///
/// Made before a process is started, by whoever starts it; the process then calls restrictSelf(), between
/// fork and exec or at its own beginning, and all that it becomes and starts is held to it for good. What is
/// open already stays open: descriptors that are handed over need no rule. Opening `/proc/self/fd/N` is
/// opening, and does need one.
///
/// A kernel without Landlock restricts nothing and says so (abi() is 0): it stands behind other defences and
/// is no reason to refuse work.
///
/// Knows neither Qt nor the rest of the service, since krx-media uses it. Not thread-safe.
class Landlock
{
public:
    /// Allows nothing yet.
    Landlock();
    ~Landlock();
    Landlock(const Landlock&) = delete;
    Landlock& operator=(const Landlock&) = delete;

    /// How much of it the running kernel has: its interface's version, 0 when it has none.
    static int abi();

    /// Allows reading a file, or a directory and all below it. Links on the way are followed now, and only
    /// now. What is not there is passed over: it cannot be opened later either. False when no rule was made.
    bool mayRead(const std::string& path);
    /// The same for what is open as \a descriptor.
    bool mayRead(int descriptor);
    /// Allows everything that a program does with its own scratch: reading, making, writing, renaming and
    /// removing files and directories in and below \a directory, but no links, devices, pipes and programs.
    bool mayWrite(const std::string& directory);
    bool mayWrite(int descriptor);
    /// Allows reading and starting the program \a path, and nothing that it needs for that.
    bool mayExecute(const std::string& path);
    /// Allows what any program of the system needs to begin: itself, the loader, the libraries and what these
    /// ask for (the processor's number of cores, random bytes, the null device, locales). None of these are a
    /// person's files.
    bool mayRun(const std::string& program);

    /// In the process that is to be restricted, once. Async-signal-safe. Needs "no new privileges", which it
    /// sets. \return 0 (also without Landlock in the kernel) or an errno value, and then nothing is
    /// restricted.
    int restrictSelf() const noexcept;

private:
    bool allow(const std::string& path, std::uint64_t access);
    bool allow(int descriptor, std::uint64_t access);

    std::uint64_t m_handled = 0; ///< what is refused unless allowed
    int m_rules = -1;            ///< the kernel's object, closed on exec; -1 without Landlock
    int m_error = 0;             ///< why the kernel, which has Landlock, did not make it
};

} // namespace krxservice
