#include "MinimalHost.h"

#include <RestClient.h>

#include <QByteArray>
#include <QString>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

// One exchange, one connection, and whoever asks waits. Put the HTTP library of your program here.

namespace {

constexpr timeval kPatience{3, 0};
constexpr int kServicePort = 58885;

/// Counts its references; what lives as long as the program is not deleted.
template <class Interface, bool isForever>
class Component : public Interface
{
public:
    virtual ~Component() = default;
    HostStatus queryInterface(const HostIdentifier&, void**) override { return kHostStatusNoInterface; }
    std::uint32_t addReference() override { return ++m_references; }
    std::uint32_t release() override
    {
        const std::uint32_t left = --m_references;
        if (left == 0 && !isForever)
            delete this;
        return left;
    }

private:
    std::atomic<std::uint32_t> m_references{1};
};

class Response : public Component<IRestResponse, false>
{
public:
    explicit Response(const QByteArray& answer)
        : m_status(answer.startsWith("HTTP/1.") ? answer.mid(9, 3).toUShort() : std::uint16_t(0))
        , m_body(m_status ? answer.mid(answer.indexOf("\r\n\r\n") + 4) : QByteArray())
        , m_error(m_status ? QString::fromUtf8(m_body) : QStringLiteral("The service does not answer"))
    {
    }
    HostStatus waitForCompletion(std::uint32_t) override { return kHostStatusOk; }
    HostStatus isComplete() override { return kHostStatusOk; }
    HostStatus isSuccess() override { return m_status / 100 == 2 ? kHostStatusOk : kHostStatusFailed; }
    HostStatus getContentLength(std::int64_t* length) override
    {
        return *length = m_body.size(), kHostStatusOk;
    }
    HostStatus getStatusCode(std::uint16_t* code) override { return *code = m_status, m_status ? 0 : -1; }
    HostStatus readContent(void* buffer, std::uint64_t capacity, std::uint64_t* bytesRead) override
    {
        *bytesRead = qMin(capacity, std::uint64_t(m_body.size()));
        std::memcpy(buffer, m_body.constData(), *bytesRead);
        return kHostStatusOk;
    }
    HostStatus getErrorMessage(const char16_t** message) override
    {
        return *message = reinterpret_cast<const char16_t*>(m_error.utf16()), kHostStatusOk;
    }
    HostStatus reserved3() override { return kHostStatusFailed; }
    HostStatus reserved4() override { return kHostStatusFailed; }
    HostStatus reserved5() override { return kHostStatusFailed; }
    HostStatus reserved6() override { return kHostStatusFailed; }
    HostStatus reserved9() override { return kHostStatusFailed; }
    HostStatus reserved11() override { return kHostStatusFailed; }
    HostStatus reserved12() override { return kHostStatusFailed; }
    HostStatus reserved14() override { return kHostStatusFailed; }
    HostStatus reserved15() override { return kHostStatusFailed; }
    HostStatus reserved16() override { return kHostStatusFailed; }

private:
    std::uint16_t m_status;
    QByteArray m_body;
    QString m_error;
};

/// Sends a request and reads until the service closes the connection.
QByteArray exchange(int port, const QByteArray& request)
{
    if (port == kServicePort && qEnvironmentVariableIsSet("KRX_CONNECT_PORT"))
        port = qEnvironmentVariableIntValue("KRX_CONNECT_PORT");
    const int link = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    setsockopt(link, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
    sockaddr_in service{AF_INET, htons(std::uint16_t(port)), {htonl(INADDR_LOOPBACK)}, {}};
    QByteArray answer;
    char part[16384];
    ssize_t count = connect(link, reinterpret_cast<sockaddr*>(&service), sizeof service);
    if (count == 0)
        count = send(link, request.constData(), size_t(request.size()), MSG_NOSIGNAL);
    while (count > 0 && (count = recv(link, part, sizeof part, 0)) > 0)
        answer.append(part, int(count));
    close(link);
    return answer;
}

using Url = const char16_t*;

class Client : public Component<IRestClient, true>
{
public:
    HostStatus get(Url url, IRestResponse** r) override { return ask("GET", url, {}, r); }
    HostStatus deleteResource(Url url, IRestResponse** r) override { return ask("DELETE", url, {}, r); }
    HostStatus post(Url url, IRestResponse** r, const char* body, std::uint32_t length) override
    {
        return ask("POST", url, QByteArray(body, int(length)), r);
    }
    HostStatus put(Url url, IRestResponse** r, const char* body, std::uint32_t length) override
    {
        return ask("PUT", url, QByteArray(body, int(length)), r);
    }
    HostStatus reserved5() override { return kHostStatusFailed; }
    HostStatus reserved7() override { return kHostStatusFailed; }

private:
    static HostStatus ask(const QByteArray& method, Url url, const QByteArray& body, IRestResponse** response)
    {
        // http://HOST:PORT/PATH; HTTP 1.0 is answered in one piece.
        const QByteArray place = QString::fromUtf16(url).toUtf8().mid(7);
        const int slash = int(place.indexOf('/'));
        *response = new Response(
            exchange(place.left(slash).mid(place.indexOf(':') + 1).toInt(),
                     method + ' ' + place.mid(slash) + " HTTP/1.0\r\nHost: " + place.left(slash) +
                         (body.isEmpty() ? QByteArray() : QByteArray("\r\nContent-Type: application/xml")) +
                         "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body));
        return kHostStatusOk;
    }
};

class Factory : public Component<IHostComponentFactory, true>
{
    HostStatus createComponent(const HostIdentifier& classId, IHostComponent*, const HostIdentifier&,
                               void** out) override
    {
        static Client client;
        if (classId != kRestClientClassId)
            return kHostStatusNoClass;
        client.addReference();
        *out = static_cast<IRestClient*>(&client);
        return kHostStatusOk;
    }
};

} // namespace

HostStatus restClientFactory(const HostIdentifier& factoryId, IHostComponentFactory** out)
{
    static Factory factory;
    if (factoryId != kHostComponentFactoryId)
        return kHostStatusNoClass;
    factory.addReference();
    *out = &factory;
    return kHostStatusOk;
}
