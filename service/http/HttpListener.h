#pragma once

#include "http/HttpGuard.h"

#include <functional>
#include <memory>
#include <string>

namespace krxservice {

/// What is sent back.
struct HttpAnswer
{
    int status = 200;
    std::string type; ///< content type; may be empty when there is no body
    std::string body;
    std::string allow; ///< the methods of the resource, with status 405

    static HttpAnswer xml(std::string document, int status = 200);
    static HttpAnswer refused(const Refusal& refusal);
};

/// Listens on the loopback addresses and hands guarded requests to one handler.
///
/// Requests are handled on several threads at once. A connection on which a request was refused is closed, so
/// that what an unread body holds can never be taken for the next request.
class HttpListener
{
public:
    /// Called on any thread; the target has been split and the body read.
    using Handler =
        std::function<HttpAnswer(const RequestHead& head, const Target& target, const std::string& body)>;

    explicit HttpListener(Handler handler);
    ~HttpListener();
    HttpListener(const HttpListener&) = delete;
    HttpListener& operator=(const HttpListener&) = delete;

    /// Binds to 127.0.0.1 (and to ::1 where the machine has it). With port 0 the system chooses.
    /// \return the port, or 0 with the reason in \a error.
    int bind(int port, std::string& error);
    /// Starts to answer. Needs a successful bind().
    void start();
    /// Stops listening, lets running requests finish and returns.
    void stop();

private:
    class Server;
    std::shared_ptr<Handler> m_handler;
    std::unique_ptr<Server> m_ipv4;
    std::unique_ptr<Server> m_ipv6;
};

} // namespace krxservice
