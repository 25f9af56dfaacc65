#include "media/MediaHelper.h"

#include "base/Text.h"
#include "files/HandedFile.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <optional>

namespace krxservice {

namespace {

constexpr int kHelpersSocket = 3;         ///< the descriptor on which the program expects its socket
constexpr int kSliceMilliseconds = 50;    ///< how soon a cancelled question ends
constexpr int kGoodbyeMilliseconds = 100; ///< for a resting process to end by itself
constexpr int kEndMilliseconds = 1000;    ///< for the system to end a process; longer when a disk hangs
constexpr std::uint32_t kLongestAnswer = 1024 * 1024; ///< bytes

std::int64_t steadyMilliseconds()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

/// Reads \a size bytes; what comes instead of them.
HelperAnswer::End receive(int socket, void* target, std::size_t size, const CancelToken& cancel,
                          std::int64_t deadline)
{
    auto* bytes = static_cast<char*>(target);
    while (size > 0) {
        const std::int64_t left = deadline - steadyMilliseconds();
        if (*cancel)
            return HelperAnswer::End::Cancelled;
        if (left <= 0)
            return HelperAnswer::End::Late;
        pollfd source{socket, POLLIN, 0};
        if (::poll(&source, 1, static_cast<int>(std::min<std::int64_t>(left, kSliceMilliseconds))) <= 0)
            continue;
        const ssize_t got = ::recv(socket, bytes, size, MSG_DONTWAIT);
        if (got < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (got <= 0)
            return HelperAnswer::End::Crashed;
        bytes += got;
        size -= static_cast<std::size_t>(got);
    }
    return HelperAnswer::End::Answered;
}

/// The program's own standard streams lead nowhere; its socket has a fixed place.
int startProcess(const std::vector<std::string>& program, int socket, pid_t& process)
{
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_adddup2(&actions, socket, kHelpersSocket);
    // Signals that the service blocks or a terminal sends are not the helper's business.
    sigset_t none;
    sigset_t pipe;
    sigemptyset(&none);
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &pipe);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::vector<char*> arguments;
    arguments.reserve(program.size() + 1);
    for (const auto& argument : program)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    // It needs none of the service's environment.
    char path[] = "PATH=/usr/local/bin:/usr/bin:/bin";
    char* const environment[] = {path, nullptr};
    const int error = ::posix_spawn(&process, program.front().c_str(), &actions, &attributes,
                                    arguments.data(), environment);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

/// How the process ended, or nothing when it did not in that time.
std::optional<int> waitFor(pid_t process, int longestMilliseconds)
{
    int status = 0;
    for (int waited = 0; waited < longestMilliseconds; ++waited) {
        if (::waitpid(process, &status, WNOHANG) == process)
            return status;
        ::poll(nullptr, 0, 1);
    }
    return std::nullopt;
}

std::string howItEnded(int status)
{
    if (WIFSIGNALED(status))
        return "it was ended by signal " + std::to_string(WTERMSIG(status));
    return "it ended with code " + std::to_string(WEXITSTATUS(status));
}

} // namespace

MediaHelper::MediaHelper(const std::vector<std::string>& program)
{
    int pair[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
        m_startError = text::errnoText(errno);
        return;
    }
    m_socket = filetools::Descriptor(pair[0]);
    const filetools::Descriptor theirs(pair[1]);
    if (const int error = startProcess(program, theirs.get(), m_process)) {
        m_process = -1;
        m_startError = program.front() + ": " + text::errnoText(error);
    }
}

MediaHelper::~MediaHelper()
{
    end();
}

void MediaHelper::end()
{
    if (m_process <= 0)
        return;
    // One that rests ends by itself when its socket does.
    m_socket = filetools::Descriptor(-1);
    if (m_isResting && waitFor(m_process, kGoodbyeMilliseconds)) {
        m_process = -1;
        return;
    }
    ::kill(m_process, SIGKILL);
    waitFor(m_process, kEndMilliseconds);
    m_process = -1;
}

bool MediaHelper::send(int file, const std::string& name)
{
    const auto length = static_cast<std::uint32_t>(name.size());
    std::string bytes(reinterpret_cast<const char*>(&length), sizeof length);
    bytes += name;
    // So few bytes always fit into the socket of one who answered all before.
    return handFile(m_socket.get(), bytes.data(), bytes.size(), file);
}

HelperAnswer MediaHelper::broken()
{
    // The end of the socket and that of the process are not quite the same moment.
    const auto status = waitFor(m_process, kEndMilliseconds);
    if (!status)
        return {HelperAnswer::End::Crashed, "it closed its socket"};
    m_process = -1;
    return {HelperAnswer::End::Crashed, howItEnded(*status)};
}

HelperAnswer MediaHelper::ask(int file, const std::string& name, const CancelToken& cancel, int longest)
{
    ++m_uses;
    m_isResting = false;
    if (!send(file, name))
        return broken();
    const std::int64_t deadline = steadyMilliseconds() + longest;
    std::uint32_t length = 0;
    HelperAnswer answer;
    answer.end = receive(m_socket.get(), &length, sizeof length, cancel, deadline);
    if (answer.end == HelperAnswer::End::Answered && length > kLongestAnswer)
        return {HelperAnswer::End::Crashed, "its answer is too long"};
    if (answer.end == HelperAnswer::End::Answered) {
        answer.text.resize(length);
        answer.end = receive(m_socket.get(), answer.text.data(), length, cancel, deadline);
    }
    m_isResting = answer.end == HelperAnswer::End::Answered;
    return answer.end == HelperAnswer::End::Crashed ? broken() : answer;
}

HelperAnswer MediaHelpers::ask(int file, const std::string& name, const CancelToken& cancel)
{
    for (;;) {
        auto helper = take();
        if (!helper->startError().empty())
            return {HelperAnswer::End::NotStarted, helper->startError()};
        const bool wasUsed = helper->uses() > 0;
        HelperAnswer answer = helper->ask(file, name, cancel, m_longest);
        if (answer.end == HelperAnswer::End::Answered)
            giveBack(std::move(helper));
        // One that rested may have been ended meanwhile, which says nothing about this file.
        if (answer.end != HelperAnswer::End::Crashed || !wasUsed)
            return answer;
    }
}

std::unique_ptr<MediaHelper> MediaHelpers::take()
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_idle.empty()) {
            auto helper = std::move(m_idle.back());
            m_idle.pop_back();
            return helper;
        }
    }
    return std::make_unique<MediaHelper>(m_program);
}

void MediaHelpers::giveBack(std::unique_ptr<MediaHelper> helper)
{
    if (helper->uses() >= kMostUses)
        return;
    const std::lock_guard lock(m_mutex);
    if (m_idle.size() < kMostIdle)
        m_idle.push_back(std::move(helper));
}

} // namespace krxservice
