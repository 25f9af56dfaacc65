#include "confinement/Landlock.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace krxservice {

namespace {

// The kernel's interface, written out here because the header of the machine on which this is built may be
// older than the kernel on which it runs.

constexpr unsigned kAskVersion = 1;
constexpr int kPathRule = 1;

enum Access : std::uint64_t {
    Execute = 1U << 0,
    WriteFile = 1U << 1,
    ReadFile = 1U << 2,
    ReadDirectory = 1U << 3,
    RemoveDirectory = 1U << 4,
    RemoveFile = 1U << 5,
    MakeDevice = 1U << 6,
    MakeDirectory = 1U << 7,
    MakeFile = 1U << 8,
    MakeSocket = 1U << 9,
    MakePipe = 1U << 10,
    MakeBlockDevice = 1U << 11,
    MakeLink = 1U << 12,
    Refer = 1U << 13, ///< between directories
    Truncate = 1U << 14,
    ControlDevice = 1U << 15,
};

constexpr std::uint64_t kNetwork = (1U << 0) | (1U << 1); ///< bind and connect of TCP
constexpr std::uint64_t kScope = (1U << 0) | (1U << 1);   ///< abstract sockets and signals

constexpr std::uint64_t kOfFiles = Execute | WriteFile | ReadFile | Truncate | ControlDevice;
constexpr std::uint64_t kReading = ReadFile | ReadDirectory;
constexpr std::uint64_t kScratch =
    kReading | WriteFile | Truncate | MakeFile | MakeDirectory | RemoveFile | RemoveDirectory | Refer;

struct RuleSet
{
    std::uint64_t files = 0;
    std::uint64_t network = 0;
    std::uint64_t scope = 0;
};

struct [[gnu::packed]] PathRule
{
    std::uint64_t allowed = 0;
    std::int32_t descriptor = -1;
};

/// What a version of the interface knows, and how much of a RuleSet it reads.
struct Generation
{
    int abi;
    std::uint64_t files;
    std::size_t size;
};

constexpr std::uint64_t kFirstFiles = Refer - 1;
constexpr std::array<Generation, 6> kGenerations = {{
    {1, kFirstFiles, 8},
    {2, kFirstFiles | Refer, 8},
    {3, kFirstFiles | Refer | Truncate, 8},
    {4, kFirstFiles | Refer | Truncate, 16},
    {5, kFirstFiles | Refer | Truncate | ControlDevice, 16},
    {6, kFirstFiles | Refer | Truncate | ControlDevice, 24},
}};

const Generation& generationOf(int abi)
{
    std::size_t newest = 0;
    while (newest + 1 < kGenerations.size() && kGenerations[newest + 1].abi <= abi)
        ++newest;
    return kGenerations[newest];
}

/// The loaders of Debian's architectures; those of others are not there.
constexpr std::array<const char*, 6> kLoaders = {
    "/lib64/ld-linux-x86-64.so.2",      "/lib/ld-linux-aarch64.so.1", "/lib/ld-linux-armhf.so.3",
    "/lib/ld-linux-riscv64-lp64d.so.1", "/lib64/ld64.so.2",           "/lib/ld64.so.1",
};

constexpr std::array<const char*, 14> kBeginning = {
    "/lib",
    "/lib64",
    "/usr/lib",
    "/usr/lib64",
    "/usr/local/lib",
    "/etc/ld.so.cache",
    "/etc/ld.so.preload",
    "/etc/localtime",
    "/usr/share/zoneinfo",
    "/dev/null",
    "/dev/urandom",
    "/proc/cpuinfo",
    "/proc/meminfo",
    "/sys/devices/system",
};

} // namespace

int Landlock::abi()
{
    const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, kAskVersion);
    return version > 0 ? static_cast<int>(version) : 0;
}

Landlock::Landlock()
{
    const int version = abi();
    if (version == 0)
        return;
    const Generation& known = generationOf(version);
    m_handled = known.files;
    // The network and the scope are read only where the kernel knows them.
    const RuleSet set{known.files, kNetwork, kScope};
    m_rules = static_cast<int>(::syscall(SYS_landlock_create_ruleset, &set, known.size, 0U));
    m_error = m_rules < 0 ? errno : 0;
}

Landlock::~Landlock()
{
    if (m_rules >= 0)
        ::close(m_rules);
}

bool Landlock::allow(int descriptor, std::uint64_t access)
{
    struct stat facts
    {
    };
    if (m_rules < 0 || ::fstat(descriptor, &facts) != 0)
        return false;
    PathRule rule;
    rule.allowed = access & m_handled & (S_ISDIR(facts.st_mode) ? ~std::uint64_t{0} : kOfFiles);
    rule.descriptor = descriptor;
    return ::syscall(SYS_landlock_add_rule, m_rules, kPathRule, &rule, 0U) == 0;
}

bool Landlock::allow(const std::string& path, std::uint64_t access)
{
    const int descriptor = ::open(path.c_str(), O_PATH | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool done = allow(descriptor, access);
    ::close(descriptor);
    return done;
}

bool Landlock::mayRead(const std::string& path)
{
    return allow(path, kReading);
}

bool Landlock::mayRead(int descriptor)
{
    return allow(descriptor, kReading);
}

bool Landlock::mayWrite(const std::string& directory)
{
    return allow(directory, kScratch);
}

bool Landlock::mayWrite(int descriptor)
{
    return allow(descriptor, kScratch);
}

bool Landlock::mayExecute(const std::string& path)
{
    return allow(path, ReadFile | Execute);
}

bool Landlock::mayRun(const std::string& program)
{
    for (const char* loader : kLoaders)
        allow(loader, ReadFile | Execute);
    for (const char* path : kBeginning)
        allow(path, kReading);
    allow("/dev/null", ReadFile | WriteFile);
    return mayExecute(program);
}

int Landlock::restrictSelf() const noexcept
{
    if (m_rules < 0)
        return m_error;
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return errno;
    return ::syscall(SYS_landlock_restrict_self, m_rules, 0U) == 0 ? 0 : errno;
}

} // namespace krxservice
