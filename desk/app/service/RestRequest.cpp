#include "RestRequest.h"

#include "RestClient.h"

#include <QCoreApplication>

#include <algorithm>
#include <memory>

namespace restrequest {

namespace {

constexpr char kRoot[] = "http://localhost:58885/KRXService/";
constexpr std::int64_t kLargestBody = std::int64_t{64} * 1024 * 1024;

struct Release
{
    void operator()(IHostComponent* component) const { component->release(); }
};
template <typename Component>
using Holder = std::unique_ptr<Component, Release>;

Holder<IRestClient> client()
{
    IHostComponentFactory* factory = nullptr;
    if (!hostSucceeded(getComponentFactory(kHostComponentFactoryId, &factory)) || !factory)
        return {};
    const Holder<IHostComponentFactory> held(factory);
    void* component = nullptr;
    if (!hostSucceeded(
            factory->createComponent(kRestClientClassId, nullptr, kRestClientInterfaceId, &component)))
        return {};
    return Holder<IRestClient>(static_cast<IRestClient*>(component));
}

QByteArray bodyOf(IRestResponse& response)
{
    std::int64_t length = 0;
    if (!hostSucceeded(response.getContentLength(&length)) || length <= 0 || length > kLargestBody)
        return {};
    QByteArray body(static_cast<int>(length), Qt::Uninitialized);
    std::uint64_t count = 0;
    if (!hostSucceeded(response.readContent(body.data(), static_cast<std::uint64_t>(length), &count)))
        return {};
    body.truncate(static_cast<int>(std::min(count, static_cast<std::uint64_t>(length))));
    return body;
}

template <typename Send>
RestReply exchange(Send send, unsigned longest)
{
    RestReply reply;
    reply.error = QCoreApplication::translate("RestRequest", "The service does not answer.");
    const auto rest = client();
    IRestResponse* started = nullptr;
    if (!rest || !hostSucceeded(send(*rest, started)) || !started)
        return reply;
    const Holder<IRestResponse> response(started);
    const bool isOver =
        hostSucceeded(response->isComplete()) || hostSucceeded(response->waitForCompletion(longest));
    std::uint16_t status = 0;
    if (isOver && hostSucceeded(response->getStatusCode(&status)))
        reply.status = status;
    reply.succeeded = isOver && hostSucceeded(response->isSuccess());
    const char16_t* message = nullptr;
    if (reply.succeeded) {
        reply.body = bodyOf(*response);
        reply.error.clear();
    } else if (hostSucceeded(response->getErrorMessage(&message)) && message) {
        reply.error = QString::fromUtf16(message);
    }
    return reply;
}

QString urlOf(const QString& resource)
{
    return QLatin1String(kRoot) + resource;
}

const char16_t* utf16(const QString& text)
{
    return reinterpret_cast<const char16_t*>(text.utf16());
}

} // namespace

RestReply get(const QString& resource, unsigned longest)
{
    const QString url = urlOf(resource);
    return exchange(
        [&](IRestClient& rest, IRestResponse*& started) { return rest.get(utf16(url), &started); }, longest);
}

RestReply put(const QString& resource, const QByteArray& body, unsigned longest)
{
    const QString url = urlOf(resource);
    return exchange(
        [&](IRestClient& rest, IRestResponse*& started) {
            return rest.put(utf16(url), &started, body.constData(), static_cast<std::uint32_t>(body.size()));
        },
        longest);
}

RestReply post(const QString& resource, const QByteArray& body, unsigned longest)
{
    const QString url = urlOf(resource);
    return exchange(
        [&](IRestClient& rest, IRestResponse*& started) {
            return rest.post(utf16(url), &started, body.constData(), static_cast<std::uint32_t>(body.size()));
        },
        longest);
}

} // namespace restrequest
