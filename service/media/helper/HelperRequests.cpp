#include "media/helper/HelperRequests.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace krxmedia::requests {

namespace {

bool send(const void* bytes, std::size_t size)
{
    iovec part{const_cast<void*>(bytes), size};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    ssize_t sent = -1;
    do {
        sent = ::sendmsg(kSocket, &message, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(size);
}

} // namespace

int next(Handed& handed)
{
    if (!send(&kNext, 1))
        return -1;
    iovec part{&handed, sizeof handed};
    alignas(cmsghdr) char space[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = space;
    message.msg_controllen = sizeof space;
    ssize_t got = -1;
    do {
        got = ::recvmsg(kSocket, &message, MSG_CMSG_CLOEXEC);
    } while (got < 0 && errno == EINTR);
    const cmsghdr* extra = CMSG_FIRSTHDR(&message);
    int file = -1;
    if (extra && extra->cmsg_level == SOL_SOCKET && extra->cmsg_type == SCM_RIGHTS)
        std::memcpy(&file, CMSG_DATA(extra), sizeof file);
    if (got == static_cast<ssize_t>(sizeof handed)) {
        handed.name[kLongestName] = '\0';
        return file;
    }
    if (file >= 0)
        ::close(file);
    return -1;
}

bool report(const std::string& text)
{
    return send(text.data(), text.size());
}

} // namespace krxmedia::requests
