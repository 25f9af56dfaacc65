#include "engines/Child.h"

#include "base/Text.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

namespace krxservice {

namespace {

constexpr char kPlaces[] = "/usr/local/bin:/usr/bin:/bin";
constexpr std::size_t kKept = 4096; ///< bytes of what it said last
constexpr int kAside = 200;         ///< descriptors from here on are nobody's
constexpr int kExecFailed = 127;
constexpr int kEndMilliseconds = 500; ///< for the system to end a process

/// All that the child needs, made before there is one: after the fork nothing may allocate.
struct Prepared
{
    const char* program;
    char* const* arguments;
    char* const* environment;
    const std::vector<std::pair<int, int>>& descriptors;
    const Confinement* confinement;
    int nothing; ///< /dev/null
    int errors;
    int failure; ///< gets errno when it cannot begin
    pid_t parent;
};

/// Puts the descriptors where the program knows them, closes all others.
bool arrange(const Prepared& prepared, int& failure)
{
    int next = kAside;
    const auto moveUp = [&](int descriptor) {
        const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, next);
        next = moved + 1;
        return moved;
    };
    failure = moveUp(prepared.failure);
    const int nothing = moveUp(prepared.nothing);
    const int errors = moveUp(prepared.errors);
    std::array<int, 32> moved{};
    const std::size_t count = std::min(prepared.descriptors.size(), moved.size());
    for (std::size_t i = 0; i < count; ++i)
        moved[i] = moveUp(prepared.descriptors[i].first);
    int last = STDERR_FILENO;
    for (std::size_t i = 0; i < count; ++i) {
        if (moved[i] < 0 || ::dup2(moved[i], prepared.descriptors[i].second) < 0)
            return false;
        last = std::max(last, prepared.descriptors[i].second);
    }
    if (failure < 0 || ::dup2(nothing, STDIN_FILENO) < 0 || ::dup2(nothing, STDOUT_FILENO) < 0 ||
        ::dup2(errors, STDERR_FILENO) < 0)
        return false;
    // The one for the failure closes by itself when the program begins.
    ::close_range(static_cast<unsigned>(last) + 1, static_cast<unsigned>(failure) - 1, 0);
    ::close_range(static_cast<unsigned>(failure) + 1, ~0U, 0);
    return true;
}

[[noreturn]] void becomeProgram(const Prepared& prepared)
{
    int failure = prepared.failure;
    sigset_t none;
    sigemptyset(&none);
    for (const int number : {SIGPIPE, SIGINT, SIGTERM, SIGHUP, SIGCHLD})
        ::signal(number, SIG_DFL);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    const bool isOrphan = ::getppid() != prepared.parent;
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    // Before the descriptors move: it has one of its own among them.
    const auto entered = prepared.confinement ? prepared.confinement->enter() : Confinement::Entered();
    int error = isOrphan ? ECANCELED : entered.error;
    if (!isOrphan && !entered.failed) {
        if (arrange(prepared, failure))
            ::execve(prepared.program, prepared.arguments, prepared.environment);
        error = errno;
    }
    [[maybe_unused]] const ssize_t told = ::write(failure, &error, sizeof error);
    ::_exit(kExecFailed);
}

} // namespace

Child::Child(const ChildOrder& order)
{
    const std::string name = order.command.empty() ? std::string() : order.command.front();
    const std::string program = find(name);
    if (program.empty()) {
        m_startError = name + " is not installed";
        return;
    }
    std::vector<char*> arguments;
    arguments.reserve(order.command.size() + 1);
    for (const auto& argument : order.command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    std::string path = std::string("PATH=") + kPlaces;
    char plain[] = "AV_LOG_FORCE_NOCOLOR=1";
    char* const environment[] = {path.data(), plain, nullptr};

    const filetools::Descriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    int errors[2] = {-1, -1};
    int failure[2] = {-1, -1};
    if (!nothing.isOpen() || ::pipe2(errors, O_CLOEXEC) != 0 || ::pipe2(failure, O_CLOEXEC) != 0) {
        m_startError = name + ": " + text::errnoText(errno);
        return;
    }
    m_errors = filetools::Descriptor(errors[0]);
    ::fcntl(m_errors.get(), F_SETFL, O_NONBLOCK);
    const filetools::Descriptor errorsEnd(errors[1]);
    const filetools::Descriptor told(failure[0]);
    filetools::Descriptor toldEnd(failure[1]);
    const Prepared prepared{program.c_str(),   arguments.data(),  environment,
                            order.descriptors, order.confinement, nothing.get(),
                            errorsEnd.get(),   toldEnd.get(),     ::getpid()};
    m_process = ::fork();
    if (m_process == 0)
        becomeProgram(prepared);
    toldEnd = filetools::Descriptor(-1);
    int error = errno;
    if (m_process > 0) {
        ::setpgid(m_process, m_process);
        // Nothing comes when the program begins: this end closes then.
        ssize_t got = -1;
        do {
            got = ::read(told.get(), &error, sizeof error);
        } while (got < 0 && errno == EINTR);
        if (got != static_cast<ssize_t>(sizeof error))
            return;
        kill();
    }
    m_startError = name + ": " + text::errnoText(error);
}

Child::~Child()
{
    kill();
}

void Child::takeErrors()
{
    if (!m_errors.isOpen())
        return;
    char bytes[4096];
    for (;;) {
        const ssize_t got = ::read(m_errors.get(), bytes, sizeof bytes);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && errno == EAGAIN)
            return;
        if (got <= 0) {
            m_errors = filetools::Descriptor(-1);
            return;
        }
        for (ssize_t i = 0; i < got; ++i)
            m_said += bytes[i] == '\n' || (bytes[i] >= ' ' && bytes[i] < 0x7F) ? bytes[i] : '?';
        if (m_said.size() > 2 * kKept)
            m_said.erase(0, m_said.size() - kKept);
    }
}

std::optional<int> Child::ended()
{
    if (m_process <= 0)
        return m_status;
    siginfo_t facts{};
    // Looked at before it is taken away: until then its number, which is that of its group, is nobody else's.
    if (::waitid(P_PID, static_cast<id_t>(m_process), &facts, WEXITED | WNOHANG | WNOWAIT) != 0 ||
        facts.si_pid != m_process)
        return std::nullopt;
    ::kill(-m_process, SIGKILL);
    int status = 0;
    ::waitpid(m_process, &status, 0);
    m_process = -1;
    m_status = status;
    takeErrors();
    return m_status;
}

void Child::kill()
{
    if (m_process <= 0)
        return;
    ::kill(-m_process, SIGKILL);
    ::kill(m_process, SIGKILL);
    // One that hangs in the system (a disk that does not answer) ends when that does.
    for (int waited = 0; waited < kEndMilliseconds && !ended(); ++waited)
        ::poll(nullptr, 0, 1);
    m_process = -1;
}

std::string Child::find(const std::string& name)
{
    if (name.find('/') != std::string::npos)
        return name;
    std::string places = kPlaces;
    for (std::size_t begin = 0; begin < places.size();) {
        const std::size_t end = std::min(places.find(':', begin), places.size());
        const std::string path = places.substr(begin, end - begin) + '/' + name;
        if (::access(path.c_str(), X_OK) == 0)
            return path;
        begin = end + 1;
    }
    return {};
}

std::string Child::describe(int status)
{
    if (WIFSIGNALED(status))
        return "was ended by signal " + std::to_string(WTERMSIG(status));
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return {};
    return "ended with code " + std::to_string(WEXITSTATUS(status));
}

bool Child::wasEndedByOthers(int status)
{
    constexpr int kOthers[] = {SIGKILL, SIGTERM, SIGINT, SIGHUP, SIGQUIT};
    return WIFSIGNALED(status) &&
           std::find(std::begin(kOthers), std::end(kOthers), WTERMSIG(status)) != std::end(kOthers);
}

} // namespace krxservice
