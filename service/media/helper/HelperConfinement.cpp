#include "media/helper/HelperConfinement.h"

#include "confinement/Confinement.h"

#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace krxmedia::confinement {

namespace {

constexpr rlim_t kMostDescriptors = 16;
constexpr rlim_t kMostSeconds = 600; ///< of the processor, for all files that one process looks at

struct Limit
{
    int resource;
    rlim_t most;
};

constexpr Limit kLimits[] = {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    {RLIMIT_AS, kMostMemory}, // the sanitizers reserve far more than they use
#endif
    {RLIMIT_CPU, kMostSeconds}, {RLIMIT_FSIZE, 0}, {RLIMIT_NOFILE, kMostDescriptors}, {RLIMIT_NPROC, 0},
};

/// Calls that are allowed whatever their arguments. None of them takes a path, and none makes a descriptor
/// but recvmsg, which gets one from the service.
constexpr std::array<int, 26> kAllowed = {
    SCMP_SYS(read),          SCMP_SYS(pread64),        SCMP_SYS(lseek),
    SCMP_SYS(close),         SCMP_SYS(recvmsg),        SCMP_SYS(sendmsg),
    SCMP_SYS(poll),          SCMP_SYS(ppoll),          SCMP_SYS(brk),
    SCMP_SYS(munmap),        SCMP_SYS(mremap),         SCMP_SYS(madvise),
    SCMP_SYS(futex),         SCMP_SYS(sched_yield),    SCMP_SYS(sched_getaffinity),
    SCMP_SYS(clock_gettime), SCMP_SYS(clock_getres),   SCMP_SYS(gettimeofday),
    SCMP_SYS(getrandom),     SCMP_SYS(getpid),         SCMP_SYS(gettid),
    SCMP_SYS(rt_sigreturn),  SCMP_SYS(rt_sigprocmask), SCMP_SYS(restart_syscall),
    SCMP_SYS(exit),          SCMP_SYS(exit_group),
};

std::string failure(const char* what, int error)
{
    return std::string(what) + ": " + std::strerror(error);
}

/// Memory, but neither that of a file nor such that could be run as a program.
int allowMemory(scmp_filter_ctx filter)
{
    if (const int error = seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(mprotect), 1,
                                           SCMP_A2(SCMP_CMP_MASKED_EQ, PROT_EXEC, 0)))
        return error;
    return seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(mmap), 2,
                            SCMP_A2(SCMP_CMP_MASKED_EQ, PROT_EXEC, 0),
                            SCMP_A3(SCMP_CMP_MASKED_EQ, MAP_ANONYMOUS, MAP_ANONYMOUS));
}

std::string filterCalls(bool writes)
{
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
    if (!filter)
        return "no filter of system calls can be made";
    int error = allowMemory(filter);
    for (const int call : kAllowed) {
        if (error == 0)
            error = seccomp_rule_add(filter, SCMP_ACT_ALLOW, call, 0);
    }
    if (error == 0 && writes)
        error = seccomp_rule_add(filter, SCMP_ACT_ALLOW, SCMP_SYS(write), 0);
    if (error == 0)
        error = seccomp_load(filter);
    seccomp_release(filter);
    return error == 0 ? std::string() : failure("the filter of system calls cannot be set", -error);
}

} // namespace

std::string enter(bool writes)
{
    krxservice::Confinement confinement; // no file at all: its libraries are there, the media are handed over
    for (const auto& limit : kLimits) {
        if (!writes || limit.resource != RLIMIT_CPU)
            confinement.limit(limit.resource, limit.most);
    }
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    if (const auto entered = confinement.enter(); entered.failed)
        return failure(entered.failed, entered.error);
    return filterCalls(writes);
}

} // namespace krxmedia::confinement
