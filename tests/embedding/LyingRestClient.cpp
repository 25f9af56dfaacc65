#include "LyingRestClient.h"

#include "RestClient.h"

#include <QByteArray>
#include <QString>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace {

using LyingRestClient::Lie;

Lie told = Lie::None;
int toldSlot = 0;

bool lies(Lie lie)
{
    return told == lie;
}

/// \a isSo, unless this is what is lied about.
HostStatus unless(Lie lie, bool isSo)
{
    return isSo != lies(lie) ? kHostStatusOk : kHostStatusFailed;
}

HostStatus reserved(Lie lie, int slot)
{
    return lies(lie) && toldSlot == slot ? kHostStatusOk : kHostStatusFailed;
}

struct Request
{
    QByteArray method;
    QByteArray host;
    QByteArray path;
    const char* body = nullptr;
    std::uint32_t length = 0;

    QByteArray text() const
    {
        const QByteArray type = lies(Lie::SendsPlainText) ? "text/plain" : "application/xml";
        return method + ' ' + path +
               " HTTP/1.1\r\nHost: " + (lies(Lie::SendsOtherHost) ? "elsewhere" : host) +
               (body ? "\r\nContent-Type: " + type : QByteArray()) +
               "\r\nContent-Length: " + QByteArray::number(length) + "\r\n\r\n" +
               QByteArray(body, int(length));
    }
};

/// Sends a request and reads until the server closes the connection. \return nothing when nobody answers.
QByteArray exchange(const Request& request)
{
    const QByteArray text = request.text();
    const int port = request.host.mid(request.host.indexOf(':') + 1).toInt();
    const int link = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in server{AF_INET, htons(std::uint16_t(port)), {htonl(INADDR_LOOPBACK)}, {}};
    QByteArray answer;
    char part[4096];
    ssize_t count = ::connect(link, reinterpret_cast<sockaddr*>(&server), sizeof server);
    if (count == 0)
        count = ::send(link, text.constData(), std::size_t(text.size()), MSG_NOSIGNAL);
    while (count > 0 && (count = ::recv(link, part, sizeof part, 0)) > 0)
        answer.append(part, int(count));
    ::close(link);
    return answer;
}

class Response final : public IRestResponse
{
public:
    explicit Response(Request request)
        : m_request(std::move(request))
        , m_isLate(m_request.path == "/late")
    {
        if (!lies(Lie::SendsLater))
            finish();
    }
    /// Nobody answered.
    bool isNobody() const { return m_status == 0 && !m_isLate; }
    HostStatus queryInterface(const HostIdentifier&, void**) override { return kHostStatusNoInterface; }
    std::uint32_t addReference() override { return ++m_references; }
    std::uint32_t release() override
    {
        const std::uint32_t left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }
    HostStatus waitForCompletion(std::uint32_t) override
    {
        if (lies(Lie::SendsLater))
            finish();
        if (m_isLate)
            return unless(Lie::WaitEndsAtOnce, false);
        return unless(isNobody() ? Lie::NobodyNeverFinishes : Lie::WaitFails, true);
    }
    HostStatus isComplete() override { return unless(Lie::IsNeverComplete, !m_isLate); }
    HostStatus isSuccess() override
    {
        if (isNobody())
            return unless(Lie::NobodyIsSuccess, false);
        return isGood() ? unless(Lie::GoodIsFailure, true) : unless(Lie::RefusalIsSuccess, false);
    }
    HostStatus getContentLength(std::int64_t* length) override
    {
        *length = m_body.size() + (lies(Lie::SaysOtherLength) ? 1 : 0);
        return kHostStatusOk;
    }
    HostStatus getStatusCode(std::uint16_t* code) override
    {
        *code = m_status;
        if (isNobody())
            return unless(Lie::NobodyHasStatus, false);
        if (isGood() ? lies(Lie::SaysOtherStatus) : lies(Lie::RefusalIsStatus200))
            *code = isGood() ? 204 : 200;
        return unless(Lie::HasNoStatus, true);
    }
    HostStatus readContent(void* buffer, std::uint64_t capacity, std::uint64_t* bytesRead) override
    {
        const QByteArray rest = m_body.mid(lies(Lie::GoesOnReading) ? m_read : 0);
        *bytesRead = std::min(capacity, std::uint64_t(rest.size()));
        std::memcpy(buffer, rest.constData(), std::size_t(*bytesRead));
        m_read += int(*bytesRead);
        if (lies(Lie::ReadsBeyondBuffer))
            static_cast<char*>(buffer)[*bytesRead] = '!';
        if (lies(Lie::SaysMoreThanRead))
            *bytesRead = std::uint64_t(m_body.size());
        return kHostStatusOk;
    }
    HostStatus getErrorMessage(const char16_t** message) override
    {
        *message = u"It did not work";
        return unless(isNobody() ? Lie::NobodyHasNoMessage : Lie::RefusalHasNoMessage, true);
    }
    HostStatus reserved3() override { return reserved(Lie::ReservedOfResponse, 3); }
    HostStatus reserved4() override { return reserved(Lie::ReservedOfResponse, 4); }
    HostStatus reserved5() override { return reserved(Lie::ReservedOfResponse, 5); }
    HostStatus reserved6() override { return reserved(Lie::ReservedOfResponse, 6); }
    HostStatus reserved9() override { return reserved(Lie::ReservedOfResponse, 9); }
    HostStatus reserved11() override { return reserved(Lie::ReservedOfResponse, 11); }
    HostStatus reserved12() override { return reserved(Lie::ReservedOfResponse, 12); }
    HostStatus reserved14() override { return reserved(Lie::ReservedOfResponse, 14); }
    HostStatus reserved15() override { return reserved(Lie::ReservedOfResponse, 15); }
    HostStatus reserved16() override { return reserved(Lie::ReservedOfResponse, 16); }

private:
    ~Response() = default;

    bool isGood() const { return m_status == 200; }
    void finish()
    {
        if (m_isLate)
            return;
        const QByteArray answer = exchange(m_request);
        m_status = answer.mid(int(std::strlen("HTTP/1.1 ")), 3).toUShort();
        m_body = m_status ? answer.mid(answer.indexOf("\r\n\r\n") + 4) : QByteArray();
    }

    Request m_request;
    bool m_isLate;
    std::uint32_t m_references = 1;
    std::uint16_t m_status = 0;
    QByteArray m_body;
    int m_read = 0;
};

class Client final : public IRestClient
{
public:
    HostStatus queryInterface(const HostIdentifier&, void**) override { return kHostStatusNoInterface; }
    std::uint32_t addReference() override { return ++m_references; }
    std::uint32_t release() override { return lies(Lie::ClientMiscounts) ? 0 : --m_references; }
    HostStatus get(const char16_t* url, IRestResponse** response) override
    {
        return ask(Lie::GetHasNoResponse, "GET", url, response);
    }
    HostStatus post(const char16_t* url, IRestResponse** response, const char* body,
                    std::uint32_t length) override
    {
        return ask(Lie::PostHasNoResponse, "POST", url, response, body, length);
    }
    HostStatus put(const char16_t* url, IRestResponse** response, const char* body,
                   std::uint32_t length) override
    {
        return ask(Lie::PutHasNoResponse, "PUT", url, response, body, length);
    }
    HostStatus deleteResource(const char16_t* url, IRestResponse** response) override
    {
        return ask(Lie::DeleteHasNoResponse, "DELETE", url, response);
    }
    HostStatus reserved5() override { return reserved(Lie::ReservedOfClient, 5); }
    HostStatus reserved7() override { return reserved(Lie::ReservedOfClient, 7); }

private:
    static HostStatus ask(Lie lie, const char* method, const char16_t* url, IRestResponse** response,
                          const char* body = nullptr, std::uint32_t length = 0)
    {
        if (lies(lie))
            return kHostStatusOk;
        const QByteArray place = QString::fromUtf16(url).toUtf8().mid(int(std::strlen("http://")));
        Request request;
        request.method = lies(Lie::SendsOtherMethod) ? "PATCH" : method;
        request.host = place.left(place.indexOf('/'));
        request.path = place.mid(place.indexOf('/'));
        request.body = body;
        request.length = length + (body && lies(Lie::SendsWholeBuffer) ? 3 : 0);
        *response = new Response(request);
        if (lies(Lie::NobodyIsNoResponse) && static_cast<Response*>(*response)->isNobody()) {
            (*response)->release();
            *response = nullptr;
        }
        return kHostStatusOk;
    }

    std::uint32_t m_references = 1;
};

class Factory final : public IHostComponentFactory
{
public:
    HostStatus queryInterface(const HostIdentifier&, void**) override { return kHostStatusNoInterface; }
    std::uint32_t addReference() override { return 2; }
    std::uint32_t release() override { return 1; }
    HostStatus createComponent(const HostIdentifier& classId, IHostComponent*, const HostIdentifier&,
                               void** out) override
    {
        static Client client;
        if (classId != kRestClientClassId && !lies(Lie::MakesUnknownClass))
            return kHostStatusNoClass;
        if (lies(Lie::MakesNoClient))
            return kHostStatusOk;
        client.addReference();
        *out = static_cast<IRestClient*>(&client);
        return kHostStatusOk;
    }
};

} // namespace

void LyingRestClient::tell(Lie lie, int slot)
{
    told = lie;
    toldSlot = slot;
}

HostStatus LyingRestClient::factory(const HostIdentifier& factoryId, IHostComponentFactory** out)
{
    static Factory factory;
    if (factoryId != kHostComponentFactoryId)
        return kHostStatusNoClass;
    *out = &factory;
    return kHostStatusOk;
}
