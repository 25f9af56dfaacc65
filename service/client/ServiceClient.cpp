#include "client/ServiceClient.h"

#include "base/FileTools.h"
#include "base/Text.h"
#include "http/LocalSocket.h"
#include "http/Speaker.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace krxservice {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{30}; ///< for a whole answer; longer than any honest one takes
constexpr std::uint64_t kLargestAnswer = 256ULL * 1024 * 1024;
constexpr const char* kMeantUser = "KRX_CONNECT_USER";

bool mayBeAsked(uid_t owner)
{
    const char* meant = std::getenv(kMeantUser);
    return owner == ::geteuid() ||
           (meant && *meant && (meant == userName(owner) || meant == std::to_string(owner)));
}

Refusal silent(const std::string& why)
{
    return {ServiceClient::kSilent, "the service gives no answer: " + why};
}

/// Waits until \a socket is ready for \a events. False when the time is over.
bool isReady(int socket, short events, Clock::time_point end)
{
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0)
            return false;
        pollfd wish{socket, events, 0};
        const int found = ::poll(&wish, 1, static_cast<int>(left));
        if (found > 0)
            return true;
        if (found < 0 && errno != EINTR)
            return false;
    }
}

std::string send(int socket, const std::string& bytes, Clock::time_point end)
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        if (!isReady(socket, POLLOUT, end))
            return "it takes nothing";
        const ssize_t put =
            ::send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (put < 0 && errno != EAGAIN && errno != EINTR)
            return {}; // it may have answered before it took all
        sent += put > 0 ? static_cast<std::size_t>(put) : 0;
    }
    return {};
}

/// Connects without waiting for a program that accepts nobody. 0 or an errno value.
template <typename Address>
int reach(int socket, const Address& address)
{
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return 0;
    if (errno != EINPROGRESS)
        return errno;
    int error = 0;
    socklen_t size = sizeof error;
    if (!isReady(socket, POLLOUT, Clock::now() + kPatience))
        return ETIMEDOUT;
    return ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

/// Why nobody could be reached at \a place.
Refusal unreached(int error, const std::string& place)
{
    if (error == EAGAIN || error == ETIMEDOUT)
        return silent(place + " accepts nobody");
    return {ServiceClient::kNobody, "nobody listens on " + place};
}

using Parser = boost::beast::http::response_parser<boost::beast::http::string_body>;

std::string receive(int socket, Parser& parser, Clock::time_point end)
{
    namespace asio = boost::asio;
    parser.body_limit(kLargestAnswer);
    parser.eager(true);
    std::vector<char> bytes;
    std::array<char, 65536> buffer{};
    boost::system::error_code error;
    while (!parser.is_done()) {
        if (!isReady(socket, POLLIN, end))
            return "the time is over";
        const ssize_t got = ::recv(socket, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (got < 0 && (errno == EAGAIN || errno == EINTR))
            continue;
        if (got <= 0) {
            parser.put_eof(error);
            return error || !parser.is_done() ? "the connection ended" : "";
        }
        bytes.insert(bytes.end(), buffer.data(), buffer.data() + got);
        std::size_t taken = 1;
        while (taken > 0 && !bytes.empty() && !parser.is_done()) {
            taken = parser.put(asio::buffer(bytes), error);
            bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(taken));
            if (error == boost::beast::http::error::need_more)
                break;
            if (error)
                return "it is no HTTP";
        }
    }
    return {};
}

} // namespace

std::string userName(uid_t user)
{
    const passwd* entry = ::getpwuid(user);
    return entry ? entry->pw_name : std::to_string(user);
}

Outcome<int> ServiceClient::accept(int socket, const std::string& place, uid_t owner)
{
    filetools::Descriptor descriptor(socket);
    if (!mayBeAsked(owner))
        return Refusal{kForeign, "what listens on " + place + " belongs to " + userName(owner) +
                                     "; nothing was said to it (" + kMeantUser +
                                     " names a user who is meant)"};
    m_place = place;
    m_owner = owner;
    return descriptor.release();
}

Outcome<int> ServiceClient::connectToSocket(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return Refusal{kNobody, "there is no socket"};
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    filetools::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (const int error = reach(socket.get(), address))
        return unreached(error, path);
    SpeakerFinder finder;
    const Speaker owner = finder.of(socket.get());
    if (!owner.known)
        return Refusal{kForeign, "it is not found out whose " + path + " is: " + owner.why};
    return accept(socket.release(), path, owner.user);
}

Outcome<int> ServiceClient::connectToPort()
{
    const std::string place = "http://127.0.0.1:" + std::to_string(m_options.port);
    SpeakerFinder finder;
    const auto listener = finder.listenerAt(m_options.port);
    if (!listener.isThere)
        return Refusal{kNobody, "nobody listens on " + place};
    if (!listener.owner.known)
        return Refusal{kForeign, "it is not found out whose " + place + " is: " + listener.owner.why};
    filetools::Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(m_options.port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // Somebody else's is not even called on.
    const int error = mayBeAsked(listener.owner.user) ? reach(socket.get(), address) : 0;
    if (error != 0)
        return unreached(error, place);
    return accept(socket.release(), place, listener.owner.user);
}

Outcome<int> ServiceClient::connect()
{
    Outcome<int> result = Refusal{kNobody, "the service has neither a socket nor a port that is known"};
    if (m_options.hasSocket) {
        result =
            connectToSocket(m_options.wantsUsualSocket() ? LocalSocket::defaultPath() : m_options.socketPath);
        if (result)
            return result;
    }
    if (!m_options.hasPort || m_options.port == 0)
        return result;
    auto byPort = connectToPort();
    return !byPort && byPort.refusal().status == kNobody && result.refusal().status != kNobody ? result
                                                                                               : byPort;
}

Outcome<std::string> ServiceClient::ask(const std::string& method, const std::string& target,
                                        const std::string& body)
{
    const auto end = Clock::now() + kPatience;
    const auto connected = connect();
    if (!connected)
        return connected.refusal();
    const filetools::Descriptor socket(*connected);
    std::string request =
        method + " /KRXService/" + target + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n";
    if (method == "POST" || method == "PUT")
        request += "Content-Type: application/xml\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
    if (const auto why = send(socket.get(), request + "\r\n" + body, end); !why.empty())
        return silent(why);
    Parser parser;
    if (const auto why = receive(socket.get(), parser, end); !why.empty())
        return silent(why);
    const int status = static_cast<int>(parser.get().result_int());
    if (status >= 300)
        return Refusal{status, text::oneLine(parser.get().body())};
    return parser.get().body();
}

Outcome<pugi::xml_document> ServiceClient::askXml(const std::string& method, const std::string& target,
                                                  const std::string& body)
{
    const auto answer = ask(method, target, body);
    if (!answer)
        return answer.refusal();
    pugi::xml_document document;
    // Texts are taken as they are, names of nothing but blanks included.
    if (!document.load_buffer(answer->data(), answer->size(),
                              pugi::parse_default | pugi::parse_ws_pcdata_single))
        return Refusal{kSilent, "the answer to " + target + " is no XML; that is no krx-service"};
    return document;
}

} // namespace krxservice
