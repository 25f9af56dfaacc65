#include "media/helper/Checker.h"
#include "media/helper/Feed.h"
#include "media/helper/HelperConfinement.h"
#include "media/helper/HelperRequests.h"
#include "media/helper/Looker.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

/// The program that looks into media files for krx-service. It is handed one open file after the other over
/// the socket on descriptor 3 and answers what each is; when the service goes, it ends.
///
/// A question is the length of a name (32 bits, this machine's order) with the file attached, then the name.
/// An answer is a length and so many bytes of XML.
///
/// Started as "krx-media feed [NUMERATOR DENOMINATOR]" or "krx-media check" it does one piece of work
/// instead, which Feed.h and Checker.h describe.
namespace {

constexpr int kSocket = 3;
constexpr std::uint32_t kLongestName = 4096; ///< bytes

enum ExitCode { kDone = 0, kWrongUsage = 2, kNotConfined = 4, kOutOfOrder = 5 };

bool receive(void* target, std::size_t size, int* file)
{
    auto* bytes = static_cast<char*>(target);
    while (size > 0) {
        iovec part{bytes, size};
        alignas(cmsghdr) char space[CMSG_SPACE(sizeof(int))] = {};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = file ? space : nullptr;
        message.msg_controllen = file ? sizeof space : 0;
        const ssize_t got = ::recvmsg(kSocket, &message, MSG_CMSG_CLOEXEC);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        const cmsghdr* extra = file ? CMSG_FIRSTHDR(&message) : nullptr;
        if (extra && extra->cmsg_level == SOL_SOCKET && extra->cmsg_type == SCM_RIGHTS)
            std::memcpy(file, CMSG_DATA(extra), sizeof *file);
        bytes += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

bool send(const std::string& text)
{
    const auto length = static_cast<std::uint32_t>(text.size());
    std::string bytes(reinterpret_cast<const char*>(&length), sizeof length);
    bytes += text;
    std::size_t done = 0;
    while (done < bytes.size()) {
        iovec part{bytes.data() + done, bytes.size() - done};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        const ssize_t put = ::sendmsg(kSocket, &message, MSG_NOSIGNAL);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return false;
        done += static_cast<std::size_t>(put);
    }
    return true;
}

int serve()
{
    for (;;) {
        std::uint32_t length = 0;
        int file = -1;
        if (!receive(&length, sizeof length, &file))
            return kDone;
        std::string name(length <= kLongestName ? length : 0, '\0');
        if (file < 0 || length > kLongestName || !receive(name.data(), name.size(), nullptr))
            return kOutOfOrder;
        const std::string answer = krxmedia::look(file, name);
        ::close(file);
        if (!send(answer))
            return kDone;
    }
}

/// What the program is started for, by its arguments.
int work(int count, char* const arguments[])
{
    const std::string task = count > 1 ? arguments[1] : "";
    if (task.empty())
        return serve();
    if (task == "check")
        return krxmedia::checker::check();
    if (task == "feed" && count == 2)
        return krxmedia::feed::medium();
    const int numerator = count == 4 ? std::atoi(arguments[2]) : 0;
    const int denominator = count == 4 ? std::atoi(arguments[3]) : 0;
    if (task == "feed" && numerator > 0 && denominator > 0)
        return krxmedia::feed::pictures(numerator, denominator);
    return kWrongUsage;
}

} // namespace

int main(int count, char* arguments[])
{
    int type = 0;
    socklen_t size = sizeof type;
    if (::getsockopt(kSocket, SOL_SOCKET, SO_TYPE, &type, &size) != 0) {
        std::fputs("krx-media looks into media files for krx-service, which starts it.\n", stderr);
        return kWrongUsage;
    }
    const bool feeds = count > 1 && std::strcmp(arguments[1], "feed") == 0;
    ::close_range(feeds ? krxmedia::requests::kStream + 1 : kSocket + 1, ~0U, 0);
    if (const auto reason = krxmedia::confinement::enter(count > 1); !reason.empty()) {
        std::fprintf(stderr, "krx-media: %s\n", reason.c_str());
        return kNotConfined;
    }
    int code = kOutOfOrder;
    try {
        code = work(count, arguments);
    } catch (const std::exception&) {
        // Out of memory for an answer: the service takes another of us.
    }
    ::_exit(code);
}
