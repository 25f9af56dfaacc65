#include "RestClientComponent.h"

#include "RestClientExchange.h"
#include "RestClientResponse.h"
#include "RestClientUrl.h"
#include "RestClientWorker.h"

#include <QByteArray>

#include <exception>
#include <memory>
#include <string>
#include <utility>

namespace StandInHost {

namespace {

constexpr const char* kConnectPortVariable = "KRX_CONNECT_PORT";

/// Starts one exchange. A URL that may not be used yields a response too, one that has already failed, so
/// that its text reaches the person who sees the failure.
HostStatus exchange(RestMethod method, const char16_t* url, IRestResponse** response,
                    const char* body = nullptr, std::uint32_t length = 0)
{
    if (url == nullptr || response == nullptr || (body == nullptr && length > 0))
        return kHostStatusInvalidPointer;
    try {
        RestRequest request;
        request.method = method;
        // Through Qt, whose reading and writing of the environment exclude each other.
        request.url = RestClientUrl::parse(url, qgetenv(kConnectPortVariable).toStdString());
        if (length > 0)
            request.body.assign(body, length);
        RestResult refusal;
        refusal.failure = request.url.failure;
        refusal.detail = request.url.detail;
        auto started = std::make_shared<RestExchange>(std::move(request), restClientLimits());
        // Made before the exchange is on its way: a caller without a response must be sure that nothing was
        // sent.
        IRestResponse* made = new RestResponse(started);
        try {
            if (refusal.failure != RestFailure::None)
                started->finish(std::move(refusal));
            else
                RestWorker::start(started);
        } catch (...) {
            made->release();
            throw;
        }
        *response = made;
        return kHostStatusOk;
    } catch (const std::exception&) {
        return kHostStatusFailed;
    }
}

} // namespace

RestClientComponent& RestClientComponent::instance()
{
    // Never destroyed: objects that end later than this library's may still hold it.
    static union Holder {
        constexpr Holder()
            : component()
        {
        }
        ~Holder() {}
        RestClientComponent component;
    } holder;
    return holder.component;
}

HostStatus RestClientComponent::queryInterface(const HostIdentifier& interfaceId, void** out)
{
    if (out == nullptr)
        return kHostStatusInvalidPointer;
    *out = nullptr;
    if (interfaceId != kRestClientInterfaceId)
        return kHostStatusNoInterface;
    addReference();
    *out = static_cast<IRestClient*>(this);
    return kHostStatusOk;
}

std::uint32_t RestClientComponent::addReference()
{
    return ++m_references;
}

std::uint32_t RestClientComponent::release()
{
    std::uint32_t count = m_references.load();
    while (count > 0 && !m_references.compare_exchange_weak(count, count - 1)) {
    }
    return count > 0 ? count - 1 : 0;
}

HostStatus RestClientComponent::get(const char16_t* url, IRestResponse** response)
{
    return exchange(RestMethod::Get, url, response);
}

HostStatus RestClientComponent::post(const char16_t* url, IRestResponse** response, const char* body,
                                     std::uint32_t length)
{
    return exchange(RestMethod::Post, url, response, body, length);
}

HostStatus RestClientComponent::put(const char16_t* url, IRestResponse** response, const char* body,
                                    std::uint32_t length)
{
    return exchange(RestMethod::Put, url, response, body, length);
}

HostStatus RestClientComponent::deleteResource(const char16_t* url, IRestResponse** response)
{
    return exchange(RestMethod::Delete, url, response);
}

} // namespace StandInHost
