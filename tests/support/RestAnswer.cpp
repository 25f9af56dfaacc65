#include "RestAnswer.h"

#include <cstring>

namespace RestTest {

namespace {

const char16_t* utf16(const QString& text)
{
    return reinterpret_cast<const char16_t*>(text.utf16());
}

IRestClient* createClient()
{
    IHostComponentFactory* factory = nullptr;
    if (!hostSucceeded(getComponentFactory(kHostComponentFactoryId, &factory)))
        qFatal("The host has no component factory");
    void* made = nullptr;
    if (!hostSucceeded(factory->createComponent(kRestClientClassId, nullptr, kRestClientInterfaceId, &made)))
        qFatal("The host has no REST client");
    factory->release();
    return static_cast<IRestClient*>(made);
}

} // namespace

QString serviceUrl(const QString& path)
{
    return QString(QStringLiteral("http://localhost:58885") + path);
}

IRestClient& client()
{
    static IRestClient* const only = createClient();
    return *only;
}

Answer answerOf(IRestResponse* response)
{
    Answer answer;
    if (response == nullptr)
        return answer;
    answer.started = true;
    answer.complete = hostSucceeded(response->isComplete());
    answer.success = hostSucceeded(response->isSuccess());
    std::uint16_t status = 0;
    if (hostSucceeded(response->getStatusCode(&status)))
        answer.status = status;
    std::int64_t length = 0;
    if (hostSucceeded(response->getContentLength(&length))) {
        answer.length = length;
        answer.body.resize(static_cast<int>(length));
        std::uint64_t read = 0;
        response->readContent(answer.body.data(), static_cast<std::uint64_t>(length), &read);
        answer.body.resize(static_cast<int>(read));
    }
    const char16_t* message = nullptr;
    if (hostSucceeded(response->getErrorMessage(&message)) && message != nullptr)
        answer.message = QString::fromUtf16(message);
    return answer;
}

IRestResponse* start(const char* method, const QString& url, const QByteArray& body)
{
    IRestResponse* response = nullptr;
    const auto length = static_cast<std::uint32_t>(body.size());
    HostStatus status = kHostStatusFailed;
    if (std::strcmp(method, "GET") == 0)
        status = client().get(utf16(url), &response);
    else if (std::strcmp(method, "POST") == 0)
        status = client().post(utf16(url), &response, body.constData(), length);
    else if (std::strcmp(method, "PUT") == 0)
        status = client().put(utf16(url), &response, body.constData(), length);
    else if (std::strcmp(method, "DELETE") == 0)
        status = client().deleteResource(utf16(url), &response);
    if (hostSucceeded(status) != (response != nullptr))
        qFatal("The REST client's status and its response contradict each other");
    return response;
}

Answer exchange(const char* method, const QString& url, const QByteArray& body, quint32 waitMs)
{
    IRestResponse* response = start(method, url, body);
    if (response == nullptr)
        return {};
    response->waitForCompletion(waitMs);
    const Answer answer = answerOf(response);
    response->release();
    return answer;
}

Answer get(const QString& url, quint32 waitMs)
{
    return exchange("GET", url, {}, waitMs);
}

} // namespace RestTest
