#include "HostCheck.h"

#include "RestClient.h"
#include "SmallServer.h"

#include <QList>

#include <cstring>

namespace {

constexpr std::uint32_t kPatience = 10000; // milliseconds
constexpr std::uint32_t kShort = 50;

constexpr HostIdentifier kNothing = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

/// The text of a URL as it crosses; the QString must live as long.
const char16_t* utf16(const QString& text)
{
    return reinterpret_cast<const char16_t*>(text.utf16());
}

/// Asks every slot of a finished response.
struct Answer
{
    explicit Answer(IRestResponse* response)
    {
        hasFinished = hostSucceeded(response->waitForCompletion(kPatience));
        isComplete = hostSucceeded(response->isComplete());
        isSuccess = hostSucceeded(response->isSuccess());
        hasStatus = hostSucceeded(response->getStatusCode(&status));
        response->getContentLength(&length);
        const char16_t* message = nullptr;
        if (hostSucceeded(response->getErrorMessage(&message)) && message)
            error = QString::fromUtf16(message);
    }

    bool hasFinished = false;
    bool isComplete = false;
    bool isSuccess = false;
    bool hasStatus = false;
    std::uint16_t status = 0;
    std::int64_t length = -1;
    QString error;
};

void checkReserved(IRestResponse* response, HostFindings& findings)
{
    using Slot = HostStatus (IRestResponse::*)();
    const Slot reserved[] = {&IRestResponse::reserved3,  &IRestResponse::reserved4,
                             &IRestResponse::reserved5,  &IRestResponse::reserved6,
                             &IRestResponse::reserved9,  &IRestResponse::reserved11,
                             &IRestResponse::reserved12, &IRestResponse::reserved14,
                             &IRestResponse::reserved15, &IRestResponse::reserved16};
    for (Slot slot : reserved) {
        findings.expect(!hostSucceeded((response->*slot)()),
                        QStringLiteral("a reserved slot of the response succeeds"));
    }
}

void checkGoodAnswer(IRestResponse* response, HostFindings& findings)
{
    const Answer answer(response);
    findings.expect(answer.hasFinished, QStringLiteral("waitForCompletion() fails for a short answer"));
    findings.expect(answer.isComplete, QStringLiteral("isComplete() fails after the wait"));
    findings.expect(answer.isSuccess, QStringLiteral("isSuccess() fails for status 200"));
    findings.expect(answer.hasStatus && answer.status == 200,
                    QStringLiteral("getStatusCode() does not say 200"));
    findings.expect(answer.length == int(std::strlen(SmallServer::kBody)),
                    QStringLiteral("getContentLength() says %1 for five bytes").arg(answer.length));
    char body[16] = {};
    std::uint64_t read = 0;
    findings.expect(hostSucceeded(response->readContent(body, 3, &read)) && read == 3 &&
                        std::memcmp(body, SmallServer::kBody, 3) == 0 && body[3] == 0,
                    QStringLiteral("readContent() does not keep to a buffer of three bytes"));
    findings.expect(hostSucceeded(response->readContent(body, sizeof body, &read)) && read == 5 &&
                        std::memcmp(body, SmallServer::kBody, 5) == 0,
                    QStringLiteral("readContent() does not give the whole body from its start"));
    checkReserved(response, findings);
    response->release();
}

void checkRequest(const SmallServer& server, const char* method, bool hasBody, HostFindings& findings)
{
    const QByteArray request = server.lastRequest();
    const QString which = QString::fromLatin1(method);
    findings.expect(request.startsWith(QByteArray(QByteArray(method) + " /ok HTTP/1.")),
                    which + QStringLiteral(" sends another request line: ") +
                        QString::fromLatin1(request.split('\r').first()));
    const QByteArray head = request.left(request.indexOf("\r\n\r\n")).toLower();
    findings.expect(head.contains("\r\nhost: 127.0.0.1:"), which + QStringLiteral(" sends another Host"));
    if (!hasBody)
        return;
    findings.expect(head.contains("content-type: application/xml") || head.contains("content-type: text/xml"),
                    which + QStringLiteral(" does not declare its body as XML"));
    findings.expect(request.endsWith("\r\n\r\n<a/>"), which + QStringLiteral(" sends another body"));
}

void checkMethods(IRestClient* client, HostFindings& findings)
{
    findings.step("the REST client: GET, POST, PUT and DELETE");
    const SmallServer server;
    const QString url = server.url("/ok");
    IRestResponse* response = nullptr;
    const auto came = [&](HostStatus status, const char* method, bool hasBody) {
        if (findings.expect(hostSucceeded(status) && response != nullptr,
                            QString::fromLatin1(method) + QStringLiteral(" gives no response"))) {
            checkGoodAnswer(response, findings);
            checkRequest(server, method, hasBody, findings);
        }
        response = nullptr;
    };
    came(client->get(utf16(url), &response), "GET", false);
    // What is sent is copied: the buffer is gone before the answer is there.
    char body[] = "<a/>and more";
    HostStatus status = client->post(utf16(url), &response, body, 4);
    std::memset(body, '!', sizeof body - 1);
    came(status, "POST", true);
    // Its end is still there. NOLINTNEXTLINE(bugprone-not-null-terminated-result)
    std::memcpy(body, "<a/>", 4);
    status = client->put(utf16(url), &response, body, 4);
    came(status, "PUT", true);
    came(client->deleteResource(utf16(url), &response), "DELETE", false);
    findings.expect(!hostSucceeded(client->reserved5()) && !hostSucceeded(client->reserved7()),
                    QStringLiteral("a reserved slot of the client succeeds"));
}

void checkFailures(IRestClient* client, HostFindings& findings)
{
    IRestResponse* response = nullptr;
    QString gone;
    {
        findings.step("the REST client: a request that is refused");
        const SmallServer server;
        gone = server.url("/ok");
        const QString none = server.url("/none");
        if (hostSucceeded(client->get(utf16(none), &response)) && response) {
            const Answer answer(response);
            findings.expect(answer.hasFinished && !answer.isSuccess,
                            QStringLiteral("isSuccess() succeeds for status 404"));
            findings.expect(answer.hasStatus && answer.status == 404,
                            QStringLiteral("getStatusCode() does not say 404"));
            findings.expect(!answer.error.isEmpty(), QStringLiteral("a 404 has no error message"));
            response->release();
        }
        response = nullptr;
        findings.step(
            "the REST client: an answer that does not come (this takes as long as get() waits for it)");
        const QString late = server.url("/late");
        if (hostSucceeded(client->get(utf16(late), &response)) && response) {
            if (hostSucceeded(response->isComplete()))
                findings.none(QStringLiteral("exchanges that go on by themselves (get() waits for the end)"));
            else
                findings.expect(!hostSucceeded(response->waitForCompletion(kShort)),
                                QStringLiteral("waitForCompletion() succeeds before the answer is there"));
            // An unfinished response may be released.
            response->release();
        }
        response = nullptr;
    }
    findings.step("the REST client: a service that is not there");
    const HostStatus status = client->get(utf16(gone), &response);
    if (!findings.expect(hostSucceeded(status) == (response != nullptr),
                         QStringLiteral("success and a response do not come together")) ||
        !response)
        return;
    const Answer answer(response);
    findings.expect(answer.hasFinished, QStringLiteral("an exchange with nobody does not finish"));
    findings.expect(!answer.isSuccess, QStringLiteral("isSuccess() succeeds though nobody answered"));
    findings.expect(!answer.hasStatus, QStringLiteral("getStatusCode() succeeds though nobody answered"));
    findings.expect(!answer.error.isEmpty(), QStringLiteral("nobody answered, and no message says so"));
    response->release();
}

} // namespace

namespace HostCheck {

void checkRestClient(const HostOperations& host, HostFindings& findings)
{
    findings.step("the way to the REST client");
    IHostComponentFactory* factory = nullptr;
    findings.expect(!hostSucceeded(host.getComponentFactory(kNothing, &factory)) && !factory,
                    QStringLiteral("getComponentFactory() has a factory for an unknown identifier"));
    factory = nullptr;
    if (!findings.expect(hostSucceeded(host.getComponentFactory(kHostComponentFactoryId, &factory)) &&
                             factory,
                         QStringLiteral("getComponentFactory() has no factory")))
        return;
    void* component = nullptr;
    findings.expect(
        !hostSucceeded(factory->createComponent(kNothing, nullptr, kRestClientInterfaceId, &component)) &&
            !component,
        QStringLiteral("createComponent() makes something of an unknown class"));
    component = nullptr;
    const HostStatus made =
        factory->createComponent(kRestClientClassId, nullptr, kRestClientInterfaceId, &component);
    factory->release();
    if (!findings.expect(hostSucceeded(made) && component,
                         QStringLiteral("createComponent() makes no REST client")))
        return;
    auto* client = static_cast<IRestClient*>(component);
    const std::uint32_t before = client->addReference();
    findings.expect(
        client->release() == before - 1,
        QStringLiteral("addReference() and release() of the REST client do not agree on its count"));
    checkMethods(client, findings);
    checkFailures(client, findings);
    client->release();
}

} // namespace HostCheck
