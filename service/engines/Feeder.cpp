#include "engines/Feeder.h"

#include "base/Text.h"
#include "files/HandedFile.h"
#include "media/MediaProbe.h"
#include "media/helper/HelperRequests.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

namespace krxservice {

namespace {

using krxmedia::requests::Handed;

constexpr int kSliceMilliseconds = 50;
constexpr std::size_t kLongestReport = std::size_t{64} << 10;
constexpr int kPipeBytes = 1024 * 1024;

std::vector<std::string> taskFor(const EngineInput& input)
{
    if (!input.picture)
        return {"feed"};
    return {"feed", std::to_string(input.rateNumerator), std::to_string(input.rateDenominator)};
}

} // namespace

Feeder::Feeder(const EngineInput& input)
    : Feeder(input, taskFor(input), true)
{
}

Feeder::Feeder(const EngineInput& input, const std::vector<std::string>& task, bool hasStream)
    : m_input(input)
{
    int pair[2] = {-1, -1};
    int pipe[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0 ||
        (hasStream && ::pipe2(pipe, O_CLOEXEC) != 0)) {
        m_startError = text::errnoText(errno);
        return;
    }
    m_socket = filetools::Descriptor(pair[0]);
    const filetools::Descriptor theirs(pair[1]);
    m_stream = filetools::Descriptor(pipe[0]);
    const filetools::Descriptor written(pipe[1]);
    ChildOrder order;
    order.command = MediaProbe::program();
    order.command.insert(order.command.end(), task.begin(), task.end());
    order.descriptors.emplace_back(theirs.get(), krxmedia::requests::kSocket);
    if (hasStream) {
        ::fcntl(written.get(), F_SETPIPE_SZ, kPipeBytes);
        order.descriptors.emplace_back(written.get(), krxmedia::requests::kStream);
    }
    m_child = std::make_unique<Child>(order);
    m_startError = m_child->startError();
}

bool Feeder::handOver(const EngineFile& file, std::int64_t number)
{
    Handed handed;
    handed.number = number;
    const auto name = filetools::cutText(file.name, krxmedia::requests::kLongestName);
    std::memcpy(handed.name, name.data(), name.size());
    return handFile(m_socket.get(), &handed, sizeof handed, file.file);
}

void Feeder::answer()
{
    if (!m_input.picture) {
        if (m_next++ == 0 && handOver(m_input.medium, 0))
            return;
    } else {
        while (m_next < m_input.pictures) {
            const std::int64_t number = m_next++;
            const auto picture = m_input.picture(number);
            if (picture && picture->file >= 0) {
                if (handOver(*picture, number))
                    return;
                m_failure = picture->name + " cannot be handed over";
                break;
            }
        }
    }
    // No more: a message without a file.
    const char none = 0;
    [[maybe_unused]] const ssize_t sent = ::send(m_socket.get(), &none, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
}

bool Feeder::serve()
{
    bool isStep = false;
    if (m_child)
        m_child->takeErrors();
    while (m_socket.isOpen()) {
        std::string message(kLongestReport, '\0');
        const ssize_t got = ::recv(m_socket.get(), message.data(), message.size(), MSG_DONTWAIT);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && errno == EAGAIN)
            return isStep;
        isStep = isStep || got > 0;
        if (got == 1 && message[0] == krxmedia::requests::kNext) {
            answer();
        } else if (got > 1) {
            m_report = message.substr(0, static_cast<std::size_t>(got));
        } else {
            m_socket = filetools::Descriptor(-1);
        }
    }
    return isStep;
}

std::string Feeder::finish(const CancelToken& cancel, bool didReaderEndWell)
{
    // Without a reader its next write ends it; one that has nothing more to write reports.
    for (;;) {
        const auto status = m_child->ended();
        serve();
        if (*cancel)
            return "cancelled";
        if (!status) {
            pollfd source{m_socket.get(), POLLIN, 0};
            ::poll(&source, 1, kSliceMilliseconds);
            continue;
        }
        if (!m_failure.empty())
            return m_failure;
        if (!m_report.empty()) {
            read(m_report);
            return {};
        }
        const std::string how = Child::describe(*status);
        m_wasEndedByOthers = Child::wasEndedByOthers(*status);
        if (m_wasEndedByOthers)
            return "krx-media " + how;
        std::string said = m_child->said();
        while (!said.empty() && said.back() == '\n')
            said.pop_back();
        if (!said.empty())
            return said;
        // Its reader had enough of it, and says itself why.
        if (!didReaderEndWell)
            return {};
        return "krx-media " + (how.empty() ? std::string("gave no report") : how);
    }
}

void Feeder::kill()
{
    if (m_child)
        m_child->kill();
    m_stream = filetools::Descriptor(-1);
}

void Feeder::read(const std::string& report)
{
    std::istringstream lines(report);
    lines.imbue(std::locale::classic());
    for (std::string kind; lines >> kind;) {
        if (kind == "damaged") {
            m_wasDamaged = true;
            continue;
        }
        FedStream stream;
        stream.isPicture = kind == "video";
        if (!(lines >> stream.packets >> stream.begin >> stream.end))
            return;
        m_streams.push_back(stream);
    }
}

CheckResult Feeder::check(const EngineFile& file, const CancelToken& cancel)
{
    EngineInput input;
    input.medium = file;
    Feeder checker(input, {"check"}, false);
    CheckResult result;
    result.text = checker.m_startError;
    result.wasLookedAt = result.text.empty();
    if (!result.wasLookedAt)
        return result;
    result.text = checker.finish(cancel, true);
    result.wasLookedAt = !checker.wasEndedByOthers();
    if (!result.text.empty())
        return result;
    std::istringstream lines(checker.m_report);
    lines.imbue(std::locale::classic());
    for (std::string kind; lines >> kind;) {
        CheckResult::Stream stream;
        stream.type = kind;
        if (kind == "decoded") {
            result.isWhole = true;
            break;
        }
        if (!(lines >> stream.packets >> stream.seconds))
            break;
        result.streams.push_back(stream);
    }
    result.text = result.isWhole ? "" : "krx-media's report makes no sense";
    return result;
}

} // namespace krxservice
