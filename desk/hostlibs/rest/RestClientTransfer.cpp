#include "RestClientTransfer.h"

#include "ListenerOwner.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace StandInHost {

namespace {

/// How libcurl hands the body over: large pieces, as the largest documents have a hundred megabytes.
constexpr long kPieceBytes = 256L * 1024;
/// A promised length is believed up to here; a longer body makes its own room as it comes.
constexpr curl_off_t kBelievedLength = curl_off_t(64) * 1024 * 1024;

struct CodeFailure
{
    CURLcode code;
    RestFailure failure;
};

constexpr CodeFailure kCodeFailures[] = {
    {CURLE_COULDNT_CONNECT, RestFailure::NoService},    {CURLE_OPERATION_TIMEDOUT, RestFailure::TimedOut},
    {CURLE_PARTIAL_FILE, RestFailure::BrokenOff},       {CURLE_GOT_NOTHING, RestFailure::BrokenOff},
    {CURLE_RECV_ERROR, RestFailure::BrokenOff},         {CURLE_SEND_ERROR, RestFailure::BrokenOff},
    {CURLE_UNSUPPORTED_PROTOCOL, RestFailure::NotHttp}, {CURLE_WEIRD_SERVER_REPLY, RestFailure::NotHttp},
    {CURLE_BAD_CONTENT_ENCODING, RestFailure::NotHttp}, {CURLE_FILESIZE_EXCEEDED, RestFailure::BodyTooLarge},
    {CURLE_OUT_OF_MEMORY, RestFailure::NoMemory},
};

bool isLoopback(const curl_sockaddr& address)
{
    if (address.family == AF_INET) {
        sockaddr_in ip = {};
        std::memcpy(&ip, &address.addr, sizeof ip);
        return (ntohl(ip.sin_addr.s_addr) >> 24) == 127;
    }
    if (address.family == AF_INET6 && address.addrlen >= sizeof(sockaddr_in6)) {
        sockaddr_in6 ip = {};
        std::memcpy(&ip, &address.addr, sizeof ip);
        return IN6_IS_ADDR_LOOPBACK(&ip.sin6_addr);
    }
    return false;
}

} // namespace

RestTransfer::RestTransfer(std::shared_ptr<RestExchange> exchange, std::string socket)
    : m_exchange(std::move(exchange))
    , m_socket(std::move(socket))
    , m_handle(curl_easy_init())
{
    if (!m_handle)
        throw std::bad_alloc();
    setUrl();
    setWay();
    setMethod();
    setBounds();
}

template <typename Value>
void RestTransfer::set(CURLoption option, Value value)
{
    // With constants of this program an option fails for want of memory only.
    if (curl_easy_setopt(m_handle.get(), option, value) != CURLE_OK)
        throw std::bad_alloc();
}

void RestTransfer::append(StringList& list, const char* text)
{
    curl_slist* longer = curl_slist_append(list.get(), text);
    if (longer == nullptr)
        throw std::bad_alloc();
    static_cast<void>(list.release());
    list.reset(longer);
}

void RestTransfer::setUrl()
{
    const RestClientUrl& url = m_exchange->request().url;
    const std::string origin = "http://" + url.authority + "/";
    set(CURLOPT_URL, origin.c_str());
    // Given apart from the URL, the target goes out byte for byte: libcurl neither encodes it nor tidies its
    // dots.
    set(CURLOPT_REQUEST_TARGET, url.target.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http");
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_FOLLOWLOCATION, 0L);
    // An empty proxy also keeps libcurl from looking for one in the environment.
    set(CURLOPT_PROXY, "");
    set(CURLOPT_NOPROXY, "*");
    set(CURLOPT_TCP_NODELAY, 1L);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_PRIVATE, static_cast<void*>(this));
}

void RestTransfer::setWay()
{
    if (m_socket.empty()) {
        append(m_connectTo, m_exchange->request().url.connectTo.c_str());
        set(CURLOPT_CONNECT_TO, m_connectTo.get());
    } else {
        set(CURLOPT_UNIX_SOCKET_PATH, m_socket.c_str());
    }
    set(CURLOPT_OPENSOCKETFUNCTION, &RestTransfer::onOpenSocket);
    set(CURLOPT_OPENSOCKETDATA, static_cast<void*>(this));
    set(CURLOPT_PREREQFUNCTION, &RestTransfer::onConnected);
    set(CURLOPT_PREREQDATA, static_cast<void*>(this));
}

/// Opens the socket of a connection. Programs that the host starts must not inherit it, and whatever the URL
/// said, it leads nowhere but to this machine.
curl_socket_t RestTransfer::onOpenSocket(void* self, curlsocktype, curl_sockaddr* address)
{
    if (address->family != AF_UNIX && !isLoopback(*address))
        return CURL_SOCKET_BAD;
    const int socket = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    static_cast<RestTransfer*>(self)->m_opened = socket;
    return socket;
}

/// A connection stands and nothing was said on it yet.
int RestTransfer::onConnected(void* self, char*, char*, int, int)
{
    auto& transfer = *static_cast<RestTransfer*>(self);
    const bool isRight = transfer.m_opened == CURL_SOCKET_BAD || transfer.isRightService();
    return isRight ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

bool RestTransfer::isRightService()
{
    ListenerOwner owner;
    if (m_socket.empty()) {
        // Who listens, not who took the connection: as long as nobody has, its other end belongs to nobody.
        sockaddr_storage there = {};
        socklen_t size = sizeof there;
        if (::getpeername(m_opened, reinterpret_cast<sockaddr*>(&there), &size) == 0)
            owner = ListenerOwner::at(there);
    } else {
        ucred credentials = {};
        socklen_t size = sizeof credentials;
        if (::getsockopt(m_opened, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0)
            owner = {ListenerOwner::Known, credentials.uid};
    }
    if (owner.mayBeAskedBy(::geteuid(), meantUser()))
        return true;
    const bool isKnown = owner.kind == ListenerOwner::Known;
    m_result.failure = isKnown ? RestFailure::ForeignService : RestFailure::UnknownService;
    m_result.detail = isKnown ? owner.name() : m_exchange->request().url.authority;
    return false;
}

void RestTransfer::setMethod()
{
    const RestRequest& request = m_exchange->request();
    switch (request.method) {
    case RestMethod::Get:
        set(CURLOPT_HTTPGET, 1L);
        return;
    case RestMethod::Delete:
        set(CURLOPT_CUSTOMREQUEST, "DELETE");
        return;
    case RestMethod::Post:
        // libcurl repeats a request on a fresh connection when a kept-alive one turns out to be dead. What is
        // posted may create something, so it must not be sent twice.
        set(CURLOPT_FRESH_CONNECT, 1L);
        set(CURLOPT_POST, 1L);
        break;
    case RestMethod::Put:
        set(CURLOPT_POST, 1L);
        set(CURLOPT_CUSTOMREQUEST, "PUT");
        break;
    }
    set(CURLOPT_POSTFIELDS, request.body.c_str());
    set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
    append(m_headers, "Content-Type: application/xml; charset=utf-8");
    // Waiting to be invited would cost a second with a service that does not invite.
    append(m_headers, "Expect:");
    set(CURLOPT_HTTPHEADER, m_headers.get());
}

void RestTransfer::setBounds()
{
    const RestClientLimits& limits = m_exchange->limits();
    set(CURLOPT_TIMEOUT_MS, static_cast<long>(limits.exchangeMs));
    set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connectMs));
    set(CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(limits.bodyBytes));
    set(CURLOPT_BUFFERSIZE, kPieceBytes);
    set(CURLOPT_ERRORBUFFER, static_cast<char*>(m_error));
    set(CURLOPT_HEADERFUNCTION, &RestTransfer::onHeader);
    set(CURLOPT_HEADERDATA, static_cast<void*>(this));
    set(CURLOPT_WRITEFUNCTION, &RestTransfer::onBody);
    set(CURLOPT_WRITEDATA, static_cast<void*>(this));
}

void RestTransfer::readStatusLine(const char* bytes, std::size_t count)
{
    const char* end = bytes + count;
    const char* position = std::find(bytes, end, ' ');
    position = std::find(position == end ? end : position + 1, end, ' ');
    std::size_t length = 0;
    for (position = position == end ? end : position + 1; position != end && length + 1 < sizeof m_reason;
         ++position) {
        if (*position >= ' ' && *position <= '~')
            m_reason[length++] = *position;
    }
    m_reason[length] = 0;
}

std::size_t RestTransfer::onHeader(char* bytes, std::size_t size, std::size_t count, void* self)
{
    auto& transfer = *static_cast<RestTransfer*>(self);
    const std::size_t total = size * count;
    transfer.m_headerBytes += total;
    if (transfer.m_headerBytes > transfer.m_exchange->limits().headerBytes) {
        transfer.m_result.failure = RestFailure::HeadersTooLarge;
        return 0;
    }
    if (total > 5 && std::memcmp(bytes, "HTTP/", 5) == 0) {
        transfer.readStatusLine(bytes, total);
        transfer.m_headersEnded = false;
    } else if (bytes[0] == '\r' || bytes[0] == '\n') {
        transfer.m_headersEnded = true;
    }
    return total;
}

std::size_t RestTransfer::onBody(char* bytes, std::size_t size, std::size_t count, void* self)
{
    auto& transfer = *static_cast<RestTransfer*>(self);
    RestBody& body = transfer.m_result.body;
    const std::size_t total = size * count;
    if (body.size() + total > transfer.m_exchange->limits().bodyBytes) {
        transfer.m_result.failure = RestFailure::BodyTooLarge;
        return 0;
    }
    if (body.size() == 0) {
        curl_off_t promised = -1;
        curl_easy_getinfo(transfer.handle(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &promised);
        if (promised > 0)
            body.reserve(static_cast<std::size_t>(std::min(promised, kBelievedLength)));
    }
    if (!body.append(bytes, total)) {
        transfer.m_result.failure = RestFailure::NoMemory;
        return 0;
    }
    return total;
}

RestFailure RestTransfer::failureOf(CURLcode code) const
{
    if (m_result.failure != RestFailure::None)
        return m_result.failure;
    // Headers that break off announce no length, so libcurl takes the end of the connection for the body's
    // end.
    if (code == CURLE_OK)
        return m_headersEnded ? RestFailure::None : RestFailure::BrokenOff;
    // libcurl keeps a header line of its own limit in memory and calls a longer one a want of memory.
    if (code == CURLE_OUT_OF_MEMORY && m_headerBytes > 0 && m_result.body.size() == 0)
        return RestFailure::HeadersTooLarge;
    for (const auto& row : kCodeFailures) {
        if (row.code == code)
            return row.failure;
    }
    return RestFailure::Other;
}

void RestTransfer::finish(CURLcode code)
{
    m_result.failure = failureOf(code);
    if (m_result.failure == RestFailure::NoService)
        m_result.detail = m_exchange->request().url.authority;
    else if (m_result.failure == RestFailure::Other)
        m_result.detail = m_error[0] != 0 ? m_error : curl_easy_strerror(code);
    long status = 0;
    curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
    m_result.status = static_cast<int>(status);
    m_result.reason = m_reason;
    char* contentType = nullptr;
    curl_easy_getinfo(handle(), CURLINFO_CONTENT_TYPE, &contentType);
    if (contentType != nullptr)
        m_result.contentType = contentType;
    m_exchange->finish(std::move(m_result));
}

void RestTransfer::fail(RestFailure failure)
{
    m_result.failure = failure;
    m_exchange->finish(std::move(m_result));
}

} // namespace StandInHost
