#pragma once

#include "http/Doorkeeper.h"
#include "http/HttpAnswer.h"
#include "http/HttpGuard.h"
#include "http/HttpTimes.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace krxservice {

/// Listens on the loopback addresses, on a Unix socket, or on both, lets in whom the doorkeeper lets in, and
/// hands guarded requests to one handler.
///
/// All connections live on one thread; a handful of others run the handler. A connection that rests, is slow,
/// or waits for an answer costs none of them. A connection on which a request was refused is closed, so that
/// what an unread body holds can never be taken for the next request.
class HttpListener
{
public:
    /// Called on any of several threads; the target has been split and the body read.
    using Handler =
        std::function<HttpAnswer(const RequestHead& head, const Target& target, const std::string& body)>;

    /// \a allowed are the users who may come by the port besides the own one and root.
    /// \a times are other than usual in tests only.
    explicit HttpListener(Handler handler, std::vector<uid_t> allowed = {}, const HttpTimes& times = {});
    ~HttpListener();
    HttpListener(const HttpListener&) = delete;
    HttpListener& operator=(const HttpListener&) = delete;

    /// Binds to 127.0.0.1 (and to ::1 where the machine has it). With port 0 the system chooses.
    /// \return the port, or 0 with the reason in \a error; \a inUse tells whether another program has the
    /// port.
    int bind(int port, std::string& error, bool& inUse);
    /// Takes over a socket that listens already; its kind is told by its address. Empty or the reason.
    std::string adopt(int socket);
    /// Starts to answer. Needs something to listen on.
    void start();
    /// Stops listening, gives the requests that are being handled \a grace to be answered, closes all
    /// connections and returns. A handler that still runs then is waited for by the destructor only.
    void stop(std::chrono::milliseconds grace = std::chrono::milliseconds(1000));

    /// True when the connections' thread has been through its queue since the call before. Not from two
    /// threads.
    bool beats();

    /// Replaces the users who may come by the port. Thread-safe.
    void setAllowed(std::vector<uid_t> allowed);
    /// What was refused since the start. Thread-safe.
    const RefusalCounts& refusals() const;
    /// How many connections there may be at once, by the system's limit of descriptors.
    std::size_t mostConnections() const;

private:
    class Door;
    std::unique_ptr<Door> m_door;
};

} // namespace krxservice
