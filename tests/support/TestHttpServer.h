#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// An HTTP/1.1 server inside the test process: 127.0.0.1, a port of its own, connections kept alive, any
/// number of them at once. It records every request, answers what it was told to, and misbehaves on demand.
///
///     TestHttpServer server;
///     const ScopedConnectPort connect(server.port());     // requests for port 58885 now come here
///     server.setReply("GET", "/KRXService/jobs", 200, "<jobs/>");
///     ... call the code under test ...
///     QCOMPARE(server.requests().first().target, QByteArray("/KRXService/jobs"));
///
/// All methods may be called from any thread. Answers are made in threads of the server, so a handler must
/// not touch what the test's thread touches at the same time. While the code under test blocks the test's
/// thread in a request, the server goes on working. The destructor ends every connection, also a stuck one,
/// and waits for the server's threads.
class TestHttpServer
{
public:
    using Header = QPair<QByteArray, QByteArray>;

    /// One request as it arrived.
    struct Request
    {
        QByteArray method;     ///< "GET"
        QByteArray target;     ///< path and query, byte for byte: "/KRXService/jobs?level=detail"
        QList<Header> headers; ///< in order, names as sent
        QByteArray body;
        int connection = 0; ///< which connection brought it; 1 is the first

        /// Value of the first header of that name (in any case); empty when there is none.
        QByteArray header(const QByteArray& name) const;
        /// How many headers of that name there are.
        int headerCount(const QByteArray& name) const;
    };

    /// What happens to the connection after the answer.
    enum class Ending { KeepAlive, Close, Reset };

    /// One answer. The members may be combined at will; the functions below are shorthand for the usual
    /// misbehaviours and can be chained: `Reply::xml("<a/>").dripping(1).heldBack()`.
    struct Reply
    {
        int status = 200;
        QByteArray reason;                                         ///< empty: the usual phrase of the status
        QByteArray contentType = "application/xml; charset=utf-8"; ///< empty: no such header
        QByteArray body;
        QList<Header> headers;      ///< further headers
        QByteArray contentLength;   ///< sent in place of the true length, whatever it says
        bool withoutLength = false; ///< no Content-Length at all: the body ends with the connection
        int bodyBytes = -1;         ///< how much of the body is really sent; -1: all
        int informational = 0;      ///< so many "100 Continue" answers go before this one
        bool held = false;          ///< nothing is sent before \ref TestHttpServer::release()
        bool silent = false;        ///< nothing is ever sent; the connection stays open
        int dripInterval = -1;      ///< >= 0: one byte at a time, so many milliseconds apart
        Ending ending = Ending::KeepAlive;
        QByteArray verbatim; ///< when not empty: these bytes are the whole answer

        static Reply xml(const QByteArray& body, int status = 200);
        /// An answer as the service reports a refusal: a short text.
        static Reply text(int status, const QByteArray& line);
        /// An error status without a body.
        static Reply bare(int status);
        /// Takes the request and never answers.
        static Reply never();
        /// Resets the connection instead of answering.
        static Reply reset();
        /// Sends these bytes and nothing else, then closes the connection.
        static Reply raw(const QByteArray& bytes);
        /// Sends the client elsewhere.
        static Reply redirect(const QByteArray& location, int status = 302);

        Reply& heldBack();                           ///< waits for \ref TestHttpServer::release()
        Reply& dripping(int intervalMs);             ///< one byte at a time
        Reply& cutAfter(int bytes);                  ///< promises all, sends so many body bytes, closes
        Reply& resetAfter(int bytes);                ///< the same, with a reset in place of the close
        Reply& lengthSaid(const QByteArray& length); ///< "-1", "9223372036854775808", "5", anything
        Reply& withInformational(int count);         ///< a flood of 1xx answers first
        Reply& withHeader(const QByteArray& name, const QByteArray& value);
        Reply& thenClose(); ///< closes the connection after the answer
    };

    using Handler = std::function<Reply(const Request&)>;

    /// Starts at once; fails the process when the system gives no socket.
    /// \param port 0 for a free one.
    /// \param address one of 127.0.0.0/8, as a number.
    explicit TestHttpServer(quint16 port = 0, quint32 address = 0x7F000001);
    ~TestHttpServer();
    TestHttpServer(const TestHttpServer&) = delete;
    TestHttpServer& operator=(const TestHttpServer&) = delete;

    quint16 port() const { return m_port; }

    /// Answers every request of \a method and \a target (byte for byte, query included) that way from now on.
    void setReply(const QByteArray& method, const QByteArray& target, const Reply& reply);
    void setReply(const QByteArray& method, const QByteArray& target, int status, const QByteArray& body);
    /// Answers the next such request that way, once, before anything that \ref setReply said; several queue
    /// up.
    void addReplyOnce(const QByteArray& method, const QByteArray& target, const Reply& reply);
    /// Asked for what has no reply of its own. Without a handler such requests get a 404 with a short text.
    void setHandler(Handler handler);
    /// Forgets all replies and the handler.
    void clearReplies();

    /// Lets every answer that is held back go, now and from now on until \ref hold().
    void release();
    void hold();

    QList<Request> requests() const; ///< oldest first
    Request lastRequest() const;     ///< empty when there was none
    int requestCount() const;
    int requestCount(const QByteArray& method, const QByteArray& target) const;
    void clearRequests();
    /// Waits until \a count requests have arrived in all. \return false when they have not in time.
    bool waitForRequests(int count, int timeoutMs = 5000) const;
    /// How many connections there have been so far, and how many are open now.
    int connectionCount() const;
    int openConnections() const;
    /// Waits until \a count connections are open. \return false when it is not so in time.
    bool waitForOpenConnections(int count, int timeoutMs = 5000) const;
    /// Closes every open connection from the server's side, as a restarted service does.
    void dropConnections();

private:
    struct Connection;

    void accept();
    void serve(Connection& connection);
    bool readRequest(Connection& connection, Request& request);
    Reply replyFor(const Request& request);
    bool answer(Connection& connection, const Reply& reply);
    bool send(Connection& connection, const QByteArray& bytes, int dripInterval);
    void close(Connection& connection, bool reset);

    int m_listener = -1;
    quint16 m_port = 0;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    bool m_stopping = false;
    bool m_released = false;
    int m_connectionCount = 0;
    int m_openConnections = 0;
    QList<Request> m_requests;
    std::map<QByteArray, Reply> m_replies;
    std::map<QByteArray, QList<Reply>> m_onceReplies;
    Handler m_handler;
    std::vector<std::unique_ptr<Connection>> m_connections;
    std::thread m_acceptor;
};

/// Leads requests that are meant for the service's fixed port to another one for as long as it lives.
class ScopedConnectPort
{
public:
    explicit ScopedConnectPort(quint16 port);
    ~ScopedConnectPort();
    ScopedConnectPort(const ScopedConnectPort&) = delete;
    ScopedConnectPort& operator=(const ScopedConnectPort&) = delete;

private:
    bool m_wasSet = false;
    QByteArray m_before;
};

/// A port of 127.0.0.1 that refuses every connection for as long as this object lives: a service that is
/// absent.
class RefusingPort
{
public:
    RefusingPort();
    ~RefusingPort();
    RefusingPort(const RefusingPort&) = delete;
    RefusingPort& operator=(const RefusingPort&) = delete;

    quint16 port() const { return m_port; }

private:
    int m_socket = -1;
    quint16 m_port = 0;
};

/// A port of 127.0.0.1 that neither takes nor refuses a connection for as long as this object lives.
class DeafPort
{
public:
    DeafPort();
    ~DeafPort();
    DeafPort(const DeafPort&) = delete;
    DeafPort& operator=(const DeafPort&) = delete;

    quint16 port() const { return m_port; }

private:
    int m_listener = -1;
    std::vector<int> m_waiting;
    quint16 m_port = 0;
};
