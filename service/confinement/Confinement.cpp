#include "confinement/Confinement.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace krxservice {

namespace {

static_assert(sizeof(sock_filter) == sizeof(std::uint64_t));

/// What no program that works on files needs, and many a hole led through.
constexpr std::array<int, 52> kRefused = {
    SCMP_SYS(socket),
    SCMP_SYS(connect),
    SCMP_SYS(bind),
    SCMP_SYS(listen),
    SCMP_SYS(accept),
    SCMP_SYS(accept4),
    SCMP_SYS(ptrace),
    SCMP_SYS(process_vm_readv),
    SCMP_SYS(process_vm_writev),
    SCMP_SYS(process_madvise),
    SCMP_SYS(kcmp),
    SCMP_SYS(pidfd_open),
    SCMP_SYS(pidfd_getfd),
    SCMP_SYS(pidfd_send_signal),
    SCMP_SYS(mount),
    SCMP_SYS(umount2),
    SCMP_SYS(pivot_root),
    SCMP_SYS(chroot),
    SCMP_SYS(fsopen),
    SCMP_SYS(fsconfig),
    SCMP_SYS(fsmount),
    SCMP_SYS(fspick),
    SCMP_SYS(open_tree),
    SCMP_SYS(move_mount),
    SCMP_SYS(mount_setattr),
    SCMP_SYS(unshare),
    SCMP_SYS(setns),
    SCMP_SYS(bpf),
    SCMP_SYS(perf_event_open),
    SCMP_SYS(io_uring_setup),
    SCMP_SYS(io_uring_enter),
    SCMP_SYS(io_uring_register),
    SCMP_SYS(userfaultfd),
    SCMP_SYS(fanotify_init),
    SCMP_SYS(add_key),
    SCMP_SYS(request_key),
    SCMP_SYS(keyctl),
    SCMP_SYS(mknod),
    SCMP_SYS(mknodat),
    SCMP_SYS(name_to_handle_at),
    SCMP_SYS(open_by_handle_at),
    SCMP_SYS(init_module),
    SCMP_SYS(finit_module),
    SCMP_SYS(delete_module),
    SCMP_SYS(kexec_load),
    SCMP_SYS(reboot),
    SCMP_SYS(swapon),
    SCMP_SYS(swapoff),
    SCMP_SYS(acct),
    SCMP_SYS(quotactl),
    SCMP_SYS(syslog),
    SCMP_SYS(personality),
};

constexpr std::array<int, 7> kNamespaces = {CLONE_NEWNS,  CLONE_NEWUTS, CLONE_NEWIPC,   CLONE_NEWUSER,
                                            CLONE_NEWPID, CLONE_NEWNET, CLONE_NEWCGROUP};
/// Typing into the terminal that the service was started from.
constexpr std::array<unsigned long, 2> kTerminal = {TIOCSTI, TIOCLINUX};

int addRules(scmp_filter_ctx filter)
{
    for (const int call : kRefused) {
        const int error = seccomp_rule_add(filter, SCMP_ACT_ERRNO(EPERM), call, 0);
        if (error != 0)
            return error;
    }
    for (const int kind : kNamespaces) {
        const auto bit = static_cast<scmp_datum_t>(kind);
        const int error = seccomp_rule_add(filter, SCMP_ACT_ERRNO(EPERM), SCMP_SYS(clone), 1,
                                           SCMP_A0(SCMP_CMP_MASKED_EQ, bit, bit));
        if (error != 0)
            return error;
    }
    for (const unsigned long request : kTerminal) {
        const int error = seccomp_rule_add(filter, SCMP_ACT_ERRNO(EPERM), SCMP_SYS(ioctl), 1,
                                           SCMP_A1(SCMP_CMP_MASKED_EQ, 0xFFFFFFFFU, request));
        if (error != 0)
            return error;
    }
    // Its flags lie in memory, where no filter sees them; the C library then takes the older call.
    return seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0);
}

/// The library gives its instructions to a file only.
int instructionsOf(scmp_filter_ctx filter, std::vector<std::uint64_t>& instructions)
{
    const int file = ::memfd_create("filter", MFD_CLOEXEC);
    if (file < 0)
        return errno;
    int error = -seccomp_export_bpf(filter, file);
    const off_t size = ::lseek(file, 0, SEEK_END);
    if (error == 0 && size > 0) {
        instructions.resize(static_cast<std::size_t>(size) / sizeof(sock_filter));
        error = ::pread(file, instructions.data(), static_cast<std::size_t>(size), 0) == size ? 0 : EIO;
    }
    ::close(file);
    return error;
}

} // namespace

Confinement::Confinement()
{
    limit(RLIMIT_CORE, 0);
}

void Confinement::limit(int resource, rlim_t most)
{
    m_limits.push_back({resource, most});
}

std::string Confinement::filterCalls()
{
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    if (!filter)
        return "no filter of system calls can be made";
    int error = -addRules(filter);
    if (error == 0)
        error = instructionsOf(filter, m_filter);
    seccomp_release(filter);
    return error == 0 ? std::string()
                      : std::string("no filter of system calls can be made: ") + std::strerror(error);
}

Confinement::Entered Confinement::enter() const noexcept
{
    // A leader of a session has one already.
    if (::setpgid(0, 0) != 0 && errno != EPERM)
        return {"a process group of its own", errno};
    ::umask(077);
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return {"no new privileges", errno};
    for (const Limit& one : m_limits) {
        const auto resource = static_cast<__rlimit_resource_t>(one.resource);
        rlimit present{};
        if (::getrlimit(resource, &present) != 0)
            return {"reading a limit", errno};
        const rlim_t most = one.most < present.rlim_max ? one.most : present.rlim_max;
        const rlimit wanted{most < present.rlim_cur ? most : present.rlim_cur, most};
        if (::setrlimit(resource, &wanted) != 0)
            return {"a limit", errno};
    }
    if (const int error = m_files.restrictSelf())
        return {"Landlock", error};
    if (!m_filter.empty()) {
        sock_fprog program{};
        program.len = static_cast<unsigned short>(m_filter.size());
        program.filter = reinterpret_cast<sock_filter*>(const_cast<std::uint64_t*>(m_filter.data()));
        if (::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) != 0)
            return {"the filter of system calls", errno};
    }
    return {};
}

} // namespace krxservice
