#include "files/HandedFile.h"

#include <sys/socket.h>

#include <cstring>

namespace krxservice {

bool handFile(int socket, const void* bytes, std::size_t size, int file)
{
    // Nothing is written through it.
    iovec part{const_cast<void*>(bytes), size};
    alignas(cmsghdr) char space[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = space;
    message.msg_controllen = sizeof space;
    cmsghdr* extra = CMSG_FIRSTHDR(&message);
    extra->cmsg_level = SOL_SOCKET;
    extra->cmsg_type = SCM_RIGHTS;
    extra->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(extra), &file, sizeof file);
    return ::sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT) == static_cast<ssize_t>(size);
}

} // namespace krxservice
