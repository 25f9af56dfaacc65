#include "http/Speaker.h"

#include "base/FileTools.h"
#include "base/Text.h"

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace krxservice {

namespace {

constexpr uid_t kUsualOverflowUser = 65534;

uid_t overflowUser()
{
    std::ifstream file("/proc/sys/kernel/overflowuid");
    uid_t user = kUsualOverflowUser;
    file >> user;
    return file ? user : kUsualOverflowUser;
}

Speaker unknown(std::string why)
{
    return {false, 0, std::move(why)};
}

/// The two ends of a connection as the kernel's tables name them.
struct FourTuple
{
    unsigned char family = 0;
    inet_diag_sockid id{};
};

bool putAddress(const sockaddr_storage& address, __be16& port, __be32* words)
{
    if (address.ss_family == AF_INET) {
        sockaddr_in four{};
        std::memcpy(&four, &address, sizeof four);
        port = four.sin_port;
        words[0] = four.sin_addr.s_addr;
        return true;
    }
    sockaddr_in6 six{};
    std::memcpy(&six, &address, sizeof six);
    port = six.sin6_port;
    std::memcpy(words, &six.sin6_addr, sizeof six.sin6_addr);
    return address.ss_family == AF_INET6;
}

/// The four-tuple from the other end's point of view.
bool fourTuple(int socket, FourTuple& tuple)
{
    sockaddr_storage here{};
    sockaddr_storage there{};
    socklen_t hereSize = sizeof here;
    socklen_t thereSize = sizeof there;
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&here), &hereSize) != 0 ||
        ::getpeername(socket, reinterpret_cast<sockaddr*>(&there), &thereSize) != 0)
        return false;
    tuple.family = static_cast<unsigned char>(there.ss_family);
    tuple.id.idiag_cookie[0] = tuple.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return putAddress(there, tuple.id.idiag_sport, tuple.id.idiag_src) &&
           putAddress(here, tuple.id.idiag_dport, tuple.id.idiag_dst);
}

/// True when \a words name the address \a asked; an IPv6 socket names an IPv4 address in its mapped form.
bool sameAddress(const FourTuple& tuple, const __be32* asked, const __be32* words, unsigned char family)
{
    if (tuple.family == family)
        return std::memcmp(words, asked, family == AF_INET ? sizeof(in_addr) : sizeof(in6_addr)) == 0;
    const std::array<__be32, 4> mapped = {0, 0, htonl(0xFFFF), asked[0]};
    return tuple.family == AF_INET && std::memcmp(words, mapped.data(), sizeof mapped) == 0;
}

bool sameEnds(const FourTuple& asked, const inet_diag_msg& answer)
{
    return answer.id.idiag_sport == asked.id.idiag_sport && answer.id.idiag_dport == asked.id.idiag_dport &&
           sameAddress(asked, asked.id.idiag_src, answer.id.idiag_src, answer.idiag_family) &&
           sameAddress(asked, asked.id.idiag_dst, answer.id.idiag_dst, answer.idiag_family);
}

} // namespace

SpeakerFinder::SpeakerFinder()
    : m_overflowUser(overflowUser())
{
}

SpeakerFinder::~SpeakerFinder()
{
    if (m_netlink >= 0)
        ::close(m_netlink);
}

Speaker SpeakerFinder::of(int socket)
{
    int family = 0;
    socklen_t size = sizeof family;
    if (::getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &family, &size) != 0)
        return unknown("the connection has no kind");
    return family == AF_UNIX ? ofUnix(socket) : ofTcp(socket);
}

Speaker SpeakerFinder::named(uid_t user) const
{
    if (user == m_overflowUser || user == static_cast<uid_t>(-1))
        return unknown("a user of another namespace, who has no number here");
    return {true, user, {}};
}

Speaker SpeakerFinder::ofUnix(int socket) const
{
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0 || size != sizeof credentials)
        return unknown("a connection without credentials");
    return named(credentials.uid);
}

bool SpeakerFinder::open()
{
    if (m_netlink < 0)
        m_netlink = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG);
    return m_netlink >= 0;
}

/// Puts one question to the kernel. An empty text or why there is no answer; \a code is the kernel's own.
std::string SpeakerFinder::ask(unsigned char family, unsigned states, const inet_diag_sockid& id,
                               inet_diag_msg& answer, int& code)
{
    code = 0;
    if (!open())
        return "the kernel cannot be asked: " + text::errnoText(errno);
    struct
    {
        nlmsghdr header;
        inet_diag_req_v2 question;
    } message{};
    message.header.nlmsg_len = sizeof message;
    message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    message.header.nlmsg_flags = NLM_F_REQUEST;
    message.header.nlmsg_seq = ++m_sequence;
    message.question.sdiag_family = family;
    message.question.sdiag_protocol = IPPROTO_TCP;
    message.question.idiag_states = states;
    message.question.id = id;
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    if (::sendto(m_netlink, &message, sizeof message, 0, reinterpret_cast<sockaddr*>(&kernel),
                 sizeof kernel) != static_cast<ssize_t>(sizeof message))
        return "the kernel cannot be asked: " + text::errnoText(errno);

    // The kernel answers while it is asked, so nothing is ever waited for.
    alignas(nlmsghdr) std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t got = ::recv(m_netlink, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (got < static_cast<ssize_t>(sizeof(nlmsghdr))) {
            ::close(m_netlink);
            m_netlink = -1;
            return "the kernel did not answer";
        }
        nlmsghdr header{};
        std::memcpy(&header, buffer.data(), sizeof header);
        if (header.nlmsg_seq != m_sequence)
            continue;
        if (header.nlmsg_type == NLMSG_ERROR && got >= static_cast<ssize_t>(NLMSG_LENGTH(sizeof(nlmsgerr)))) {
            nlmsgerr error{};
            std::memcpy(&error, buffer.data() + NLMSG_HDRLEN, sizeof error);
            code = -error.error;
        }
        if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY ||
            header.nlmsg_len < NLMSG_LENGTH(sizeof(inet_diag_msg)) ||
            got < static_cast<ssize_t>(NLMSG_LENGTH(sizeof(inet_diag_msg))))
            return "a connection that the kernel does not know";
        std::memcpy(&answer, buffer.data() + NLMSG_HDRLEN, sizeof answer);
        return {};
    }
}

Speaker SpeakerFinder::ofTcp(int socket)
{
    FourTuple tuple;
    if (!fourTuple(socket, tuple))
        return unknown("a connection that was gone at once");
    inet_diag_msg answer{};
    int code = 0;
    if (const auto why = ask(tuple.family, ~0U, tuple.id, answer, code); !why.empty())
        return unknown(why);
    if (!sameEnds(tuple, answer))
        return unknown("a connection that the kernel does not know");
    const bool whole = answer.idiag_state == TCP_ESTABLISHED || answer.idiag_state == TCP_FIN_WAIT1 ||
                       answer.idiag_state == TCP_FIN_WAIT2;
    if (!whole)
        return unknown("a connection that is not, or no longer, whole");
    // Whoever closed the socket already has no owner any more; the number given then is 0, that of root.
    if (answer.idiag_inode == 0)
        return unknown("a connection whose owner has closed it");
    return named(answer.idiag_uid);
}

SpeakerFinder::Listener SpeakerFinder::listenerAt(int port)
{
    inet_diag_sockid id{};
    id.idiag_cookie[0] = id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    id.idiag_sport = htons(static_cast<std::uint16_t>(port));
    id.idiag_src[0] = htonl(INADDR_LOOPBACK);
    inet_diag_msg answer{};
    int code = 0;
    if (const auto why = ask(AF_INET, 1U << TCP_LISTEN, id, answer, code); !why.empty())
        return {code != ENOENT, unknown(why)};
    if (answer.idiag_state != TCP_LISTEN || answer.idiag_inode == 0)
        return {true, unknown("a listener whose owner has closed it")};
    return {true, named(answer.idiag_uid)};
}

std::string SpeakerFinder::selfTest()
{
    const filetools::Descriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const filetools::Descriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* place = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener.get(), place, size) != 0 || ::listen(listener.get(), 1) != 0 ||
        ::getsockname(listener.get(), place, &size) != 0 || ::connect(client.get(), place, size) != 0)
        return text::errnoText(errno);
    const filetools::Descriptor served(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    const Speaker speaker = of(served.get());
    if (!speaker.known)
        return speaker.why;
    return speaker.user == ::geteuid() ? std::string() : "it names user " + std::to_string(speaker.user);
}

} // namespace krxservice
