#pragma once

#include "http/HttpAnswer.h"
#include "http/HttpGuard.h"
#include "http/HttpTimes.h"

#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/serializer.hpp>
#include <boost/beast/http/string_body.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace krxservice {

/// A request that arrived whole and passed the guard.
struct HttpRequest
{
    RequestHead head;
    Target target;
    std::string body;
};

class HttpConnection;

/// What a connection needs of the listener it belongs to. Called on the listener's own thread.
class ConnectionOwner
{
public:
    /// Has \a request handled, elsewhere; the answer comes by HttpConnection::answer().
    virtual void handle(const std::shared_ptr<HttpConnection>& connection, HttpRequest request) = 0;
    /// A request was refused before any resource saw it.
    virtual void refused() = 0;
    /// The connection is closed and wants to be forgotten.
    virtual void closed(const HttpConnection& connection) = 0;

protected:
    ~ConnectionOwner() = default;
};

/// One connection: reads requests, has them checked and handled, sends the answers. It lives on its
/// listener's thread, all calls come there, and while it rests it costs a descriptor and no more.
///
/// A request must have arrived whole within 20 s of its first byte, a resting connection is closed after 15
/// s, and one that takes no byte of its answer for 10 s as well. A refused request ends its connection: what
/// is left of its body must never be read as the next request.
class HttpConnection : public std::enable_shared_from_this<HttpConnection>
{
public:
    using Protocol = boost::asio::generic::stream_protocol;
    using Clock = std::chrono::steady_clock;

    HttpConnection(ConnectionOwner& owner, Protocol::socket socket, const HttpTimes& times = {});

    /// Waits for the first request.
    void start();
    /// The answer to the request that is being handled.
    void answer(HttpAnswer answer);
    /// Ends as soon as the request that is being handled is answered; at once when there is none.
    void finish();
    /// Ends now.
    void close();

    /// True while a request is being handled or answered; such a connection is never closed to make room.
    bool isBusy() const { return m_state == State::Working || m_state == State::Sending; }
    Clock::time_point lastActive() const { return m_lastActive; }

private:
    enum class State { Receiving, Working, Sending, Lingering, Closed };
    using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;
    using Response = boost::beast::http::response<boost::beast::http::string_body>;
    using Serializer = boost::beast::http::response_serializer<boost::beast::http::string_body>;

    void waitForBytes();
    void readBytes();
    void received(std::size_t count);
    void takeHead();
    void headArrived(std::size_t size);
    void takeBody();
    void work();
    void watchWhileSuspended();
    void refuse(const Refusal& refusal);
    void send(HttpAnswer answer);
    void sendMore();
    void sent();
    void nextRequest();
    void linger();
    void setDeadline(Clock::duration time);
    void timedOut();

    ConnectionOwner& m_owner;
    const HttpTimes m_times;
    Protocol::socket m_socket;
    boost::asio::steady_timer m_timer;
    State m_state = State::Receiving;
    Clock::time_point m_lastActive = Clock::now();
    std::string m_in;           ///< received and not yet understood
    std::size_t m_checked = 0;  ///< how much of m_in was looked at as a head
    std::size_t m_bytes = 0;    ///< of the present request
    bool m_closes = false;      ///< after the present answer
    bool m_isHead = false;      ///< the present request wants no body back
    bool m_skippedLine = false; ///< an empty line stood before the present request
    bool m_suspended = false;   ///< the present request is answered later
    RequestHead m_head;
    std::optional<Parser> m_parser;
    std::optional<Response> m_response;
    std::optional<Serializer> m_serializer;
};

} // namespace krxservice
