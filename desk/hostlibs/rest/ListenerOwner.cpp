#include "ListenerOwner.h"

#include <QByteArray>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

namespace StandInHost {

namespace {

constexpr const char* kMeantUserVariable = "KRX_CONNECT_USER";

/// A descriptor that is closed at the end.
class Descriptor
{
public:
    explicit Descriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    ~Descriptor()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

struct Question
{
    nlmsghdr header;
    inet_diag_req_v2 request;
};

/// A question for the socket that would be given a connection to \a address.
bool fill(Question& question, const sockaddr_storage& address)
{
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    question.request.sdiag_family = static_cast<unsigned char>(address.ss_family);
    question.request.sdiag_protocol = IPPROTO_TCP;
    question.request.idiag_states = 1U << TCP_LISTEN;
    question.request.id.idiag_cookie[0] = question.request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    if (address.ss_family == AF_INET) {
        sockaddr_in four = {};
        std::memcpy(&four, &address, sizeof four);
        question.request.id.idiag_sport = four.sin_port;
        question.request.id.idiag_src[0] = four.sin_addr.s_addr;
        return true;
    }
    sockaddr_in6 six = {};
    std::memcpy(&six, &address, sizeof six);
    question.request.id.idiag_sport = six.sin6_port;
    std::memcpy(question.request.id.idiag_src, &six.sin6_addr, sizeof six.sin6_addr);
    return address.ss_family == AF_INET6;
}

ListenerOwner ownerOf(const char* bytes, std::size_t count)
{
    nlmsghdr header = {};
    std::memcpy(&header, bytes, sizeof header);
    if (header.nlmsg_type == NLMSG_ERROR && count >= NLMSG_LENGTH(sizeof(nlmsgerr))) {
        nlmsgerr error = {};
        std::memcpy(&error, bytes + NLMSG_HDRLEN, sizeof error);
        return {error.error == -ENOENT ? ListenerOwner::Nobody : ListenerOwner::NotFoundOut, 0};
    }
    if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY || count < NLMSG_LENGTH(sizeof(inet_diag_msg)))
        return {};
    inet_diag_msg found = {};
    std::memcpy(&found, bytes + NLMSG_HDRLEN, sizeof found);
    // A socket that is closed already has no owner, and is given the number of root.
    if (found.idiag_state != TCP_LISTEN || found.idiag_inode == 0)
        return {};
    return {ListenerOwner::Known, found.idiag_uid};
}

} // namespace

ListenerOwner ListenerOwner::at(const sockaddr_storage& address)
{
    Question question = {};
    const Descriptor netlink(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    sockaddr_nl kernel = {};
    kernel.nl_family = AF_NETLINK;
    if (netlink.get() < 0 || !fill(question, address) ||
        ::sendto(netlink.get(), &question, sizeof question, 0, reinterpret_cast<const sockaddr*>(&kernel),
                 sizeof kernel) != static_cast<ssize_t>(sizeof question))
        return {};
    // The kernel answers while it is asked.
    alignas(nlmsghdr) std::array<char, 4096> buffer{};
    const ssize_t got = ::recv(netlink.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    return got < static_cast<ssize_t>(sizeof(nlmsghdr))
               ? ListenerOwner()
               : ownerOf(buffer.data(), static_cast<std::size_t>(got));
}

ListenerOwner ListenerOwner::atPort(std::uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    sockaddr_storage storage = {};
    std::memcpy(&storage, &address, sizeof address);
    return at(storage);
}

bool ListenerOwner::mayBeAskedBy(uid_t own, const std::string& meant) const
{
    if (kind != Known)
        return false;
    return user == own || (!meant.empty() && (meant == name() || meant == std::to_string(user)));
}

std::string ListenerOwner::name() const
{
    if (kind != Known)
        return {};
    constexpr std::size_t kRoom = 16384;
    std::vector<char> room(kRoom);
    passwd entry = {};
    passwd* found = nullptr;
    if (::getpwuid_r(user, &entry, room.data(), room.size(), &found) == 0 && found != nullptr)
        return found->pw_name;
    return std::to_string(user);
}

std::string meantUser()
{
    return qgetenv(kMeantUserVariable).toStdString();
}

} // namespace StandInHost
