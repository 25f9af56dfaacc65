#include "http/HttpConnection.h"

#include "documents/XmlGuard.h"
#include "http/HeadCheck.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/http/write.hpp>

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <string_view>

namespace krxservice {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;

namespace {

using boost::system::error_code;
using std::chrono::seconds;

constexpr seconds kStall{10}; ///< a reader must take some of its answer within this time
constexpr seconds kLinger{1}; ///< the other side has this time to read a refusal
constexpr std::size_t kMostBytes =
    xmlguard::kLargestBody + (std::size_t{256} << 10);       ///< a request with head and framing
constexpr std::size_t kMostFraming = std::size_t{16} * 1024; ///< a piece of chunk framing
constexpr unsigned kVersion = 11;                            ///< HTTP/1.1, as Beast counts
constexpr std::string_view kHeadEnd = "\r\n\r\n";

/// Received bytes land here first; all connections live on one thread.
thread_local std::array<char, 65536> t_received;

Refusal framingRefusal(const error_code& error)
{
    if (error == http::error::body_limit)
        return {413, "the body is larger than 1 MB"};
    return {400, "the request is not framed as HTTP/1.1 says: " + error.message()};
}

} // namespace

HttpConnection::HttpConnection(ConnectionOwner& owner, Protocol::socket socket, const HttpTimes& times)
    : m_owner(owner)
    , m_times(times)
    , m_socket(std::move(socket))
    , m_timer(m_socket.get_executor())
{
}

void HttpConnection::start()
{
    setDeadline(m_times.rest);
    waitForBytes();
}

void HttpConnection::setDeadline(Clock::duration time)
{
    m_timer.expires_after(time);
    m_timer.async_wait([weak = weak_from_this()](const error_code& error) {
        const auto self = weak.lock();
        // A deadline that was moved after this one ran out is not ours to enforce.
        if (self && !error && self->m_timer.expiry() <= Clock::now())
            self->timedOut();
    });
}

void HttpConnection::timedOut()
{
    if (m_state == State::Receiving && m_bytes > 0)
        refuse({408, "the request did not arrive in time"});
    else if (m_state != State::Working)
        close();
}

void HttpConnection::waitForBytes()
{
    m_socket.async_wait(Protocol::socket::wait_read, [self = shared_from_this()](const error_code& error) {
        if (error)
            self->close();
        else
            self->readBytes();
    });
}

void HttpConnection::readBytes()
{
    if (m_state != State::Receiving && m_state != State::Lingering)
        return;
    const ssize_t got = ::recv(m_socket.native_handle(), t_received.data(), t_received.size(), MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return waitForBytes();
    if (got <= 0)
        return close();
    if (m_state == State::Lingering)
        return waitForBytes();
    received(static_cast<std::size_t>(got));
}

void HttpConnection::received(std::size_t count)
{
    m_lastActive = Clock::now();
    if (m_bytes == 0)
        setDeadline(m_times.request);
    m_bytes += count;
    m_in.append(t_received.data(), count);
    if (m_parser)
        takeBody();
    else
        takeHead();
}

void HttpConnection::takeHead()
{
    // One empty line before a request is what some clients send after the body of the one before.
    const auto beginsEmpty = [this] { return m_in.rfind("\r\n", 0) == 0; };
    if (!m_skippedLine && beginsEmpty()) {
        m_in.erase(0, 2);
        m_skippedLine = true;
    }
    if (beginsEmpty())
        return refuse({400, "the request has no first line"});
    const auto end = m_in.find(kHeadEnd, m_checked < kHeadEnd.size() ? 0 : m_checked - kHeadEnd.size());
    const bool whole = end != std::string::npos;
    const std::size_t size = whole ? end + kHeadEnd.size() : m_in.size();
    // The last byte may be a CR whose LF is still on its way.
    const std::size_t sure = !whole && size > 0 && m_in.back() == '\r' ? size - 1 : size;
    if (const auto refusal = headcheck::checkBytes(std::string_view(m_in).substr(0, sure), m_checked))
        return refuse(*refusal);
    m_checked = sure;
    if (size > headcheck::kLargestHead)
        return refuse({431, "the head of the request is larger than 32 KB"});
    if (whole)
        headArrived(size);
    else
        waitForBytes();
}

void HttpConnection::headArrived(std::size_t size)
{
    if (const auto refusal = headcheck::checkLines(std::string_view(m_in).substr(0, size)))
        return refuse(*refusal);
    m_parser.emplace();
    m_parser->header_limit(headcheck::kLargestHead);
    m_parser->body_limit(std::numeric_limits<std::uint64_t>::max()); // the guard says it better
    error_code error;
    m_parser->put(asio::buffer(m_in.data(), size), error);
    if (error || !m_parser->is_header_done())
        return refuse(framingRefusal(error));
    m_in.erase(0, size);
    const auto& message = m_parser->get();
    m_head.method = std::string(message.method_string());
    m_head.target = std::string(message.target());
    m_head.headers.clear();
    for (const auto& field : message)
        m_head.headers.emplace_back(std::string(field.name_string()), std::string(field.value()));
    const bool isOld = message.version() < kVersion;
    m_isHead = m_head.method == "HEAD";
    m_closes = m_closes || isOld || !message.keep_alive();
    if (const auto refusal = httpguard::check(m_head))
        return refuse(*refusal);
    const auto expected = m_head.values("Expect");
    if (!expected.empty() && !isOld) {
        if (expected.size() > 1 || !beast::iequals(expected.front(), "100-continue"))
            return refuse({417, "the only expectation that is met is 100-continue"});
        // So small that it fits whatever the other side reads; if not, the body simply comes unasked.
        constexpr std::string_view goOn = "HTTP/1.1 100 Continue\r\n\r\n";
        if (!m_parser->is_done() && m_in.empty())
            ::send(m_socket.native_handle(), goOn.data(), goOn.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    }
    m_parser->body_limit(xmlguard::kLargestBody);
    m_parser->eager(true);
    takeBody();
}

void HttpConnection::takeBody()
{
    while (!m_parser->is_done()) {
        error_code error;
        const std::size_t used = m_parser->put(asio::buffer(m_in), error);
        m_in.erase(0, used);
        if (error == http::error::need_more || (!error && m_in.empty() && !m_parser->is_done())) {
            if (m_bytes > kMostBytes)
                return refuse({413, "the body is larger than 1 MB"});
            if (m_in.size() > kMostFraming)
                return refuse({400, "a chunk of the body is framed at too great length"});
            return waitForBytes();
        }
        if (error)
            return refuse(framingRefusal(error));
    }
    work();
}

void HttpConnection::work()
{
    HttpRequest request;
    request.target = *httpguard::split(m_head.target);
    request.head = std::move(m_head);
    request.body = std::move(m_parser->get().body());
    m_parser.reset();
    m_timer.cancel();
    m_state = State::Working;
    m_suspended = false;
    m_owner.handle(shared_from_this(), std::move(request));
}

void HttpConnection::answer(HttpAnswer answer)
{
    if (m_state != State::Working)
        return;
    if (!answer.later)
        return send(std::move(answer));
    const auto executor = m_socket.get_executor();
    answer.later([weak = weak_from_this(), executor](HttpAnswer late) {
        asio::post(executor, [weak, late = std::move(late)]() mutable {
            late.later = nullptr;
            if (const auto self = weak.lock())
                self->answer(std::move(late));
        });
    });
    watchWhileSuspended();
}

void HttpConnection::watchWhileSuspended()
{
    m_suspended = true;
    m_socket.async_wait(Protocol::socket::wait_read, [self = shared_from_this()](const error_code& error) {
        char byte = 0;
        if (error || self->m_state != State::Working || !self->m_suspended)
            return;
        // Whoever hangs up while waiting waits no longer. Bytes are the next request and stay for later.
        if (::recv(self->m_socket.native_handle(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0)
            self->close();
    });
}

void HttpConnection::refuse(const Refusal& refusal)
{
    m_owner.refused();
    m_closes = true;
    m_parser.reset();
    m_in.clear();
    send(HttpAnswer::refused(refusal));
}

void HttpConnection::send(HttpAnswer answer)
{
    m_state = State::Sending;
    m_lastActive = Clock::now();
    m_response.emplace(static_cast<http::status>(answer.status), kVersion);
    Response& response = *m_response;
    if (!answer.allow.empty())
        response.set(http::field::allow, answer.allow);
    if (!answer.type.empty())
        response.set(http::field::content_type, answer.type);
    response.set(http::field::cache_control, "no-store");
    response.set("X-Content-Type-Options", "nosniff");
    response.keep_alive(!m_closes);
    response.content_length(answer.body.size());
    if (!m_isHead)
        response.body() = std::move(answer.body);
    m_serializer.emplace(response);
    sendMore();
}

void HttpConnection::sendMore()
{
    setDeadline(kStall);
    http::async_write_some(m_socket, *m_serializer,
                           [self = shared_from_this()](const error_code& error, std::size_t) {
                               if (self->m_state != State::Sending)
                                   return;
                               if (error)
                                   return self->close();
                               self->m_lastActive = Clock::now();
                               if (self->m_serializer->is_done())
                                   self->sent();
                               else
                                   self->sendMore();
                           });
}

void HttpConnection::sent()
{
    m_serializer.reset();
    m_response.reset();
    if (m_closes)
        linger();
    else
        nextRequest();
}

void HttpConnection::nextRequest()
{
    m_state = State::Receiving;
    m_isHead = false;
    m_skippedLine = false;
    m_checked = 0;
    m_bytes = m_in.size();
    setDeadline(m_in.empty() ? m_times.rest : m_times.request);
    if (m_in.empty())
        waitForBytes();
    else
        takeHead();
}

void HttpConnection::linger()
{
    // Closing with bytes unread would cut off the answer before it is read.
    m_state = State::Lingering;
    error_code ignored;
    m_socket.shutdown(Protocol::socket::shutdown_send, ignored);
    setDeadline(kLinger);
    waitForBytes();
}

void HttpConnection::finish()
{
    m_closes = true;
    if (!isBusy() || m_suspended)
        close();
}

void HttpConnection::close()
{
    if (m_state == State::Closed)
        return;
    m_state = State::Closed;
    const auto self = shared_from_this();
    m_timer.cancel();
    error_code ignored;
    m_socket.close(ignored);
    m_owner.closed(*this);
}

} // namespace krxservice
