#include "RestClientResponse.h"

#include <QString>

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>

namespace StandInHost {

namespace {

QString messageOf(const RestResult& result)
{
    if (result.failure != RestFailure::None)
        return restFailureText(result.failure, result.detail);
    return restStatusText(result.status, result.reason, result.contentType, result.body.data(),
                          result.body.size());
}

} // namespace

RestResponse::RestResponse(std::shared_ptr<RestExchange> exchange)
    : m_exchange(std::move(exchange))
{
}

HostStatus RestResponse::queryInterface(const HostIdentifier&, void** out)
{
    if (out == nullptr)
        return kHostStatusInvalidPointer;
    // The response has no identifier of its own: nobody can ask for it by one.
    *out = nullptr;
    return kHostStatusNoInterface;
}

std::uint32_t RestResponse::addReference()
{
    return ++m_references;
}

std::uint32_t RestResponse::release()
{
    const std::uint32_t left = --m_references;
    if (left == 0)
        delete this;
    return left;
}

HostStatus RestResponse::waitForCompletion(std::uint32_t timeout)
{
    try {
        const bool finished = m_exchange->wait(std::min(timeout, m_exchange->limits().longestWaitMs));
        return finished ? kHostStatusOk : kHostStatusFailed;
    } catch (const std::exception&) {
        return kHostStatusFailed;
    }
}

HostStatus RestResponse::isComplete()
{
    return m_exchange->isFinished() ? kHostStatusOk : kHostStatusFailed;
}

HostStatus RestResponse::isSuccess()
{
    return m_exchange->isFinished() && m_exchange->result().isSuccess() ? kHostStatusOk : kHostStatusFailed;
}

HostStatus RestResponse::getContentLength(std::int64_t* length)
{
    if (length == nullptr)
        return kHostStatusInvalidPointer;
    if (!m_exchange->isFinished())
        return kHostStatusFailed;
    *length = static_cast<std::int64_t>(m_exchange->result().body.size());
    return kHostStatusOk;
}

HostStatus RestResponse::getStatusCode(std::uint16_t* code)
{
    if (code == nullptr)
        return kHostStatusInvalidPointer;
    if (!m_exchange->isFinished() || m_exchange->result().status <= 0)
        return kHostStatusFailed;
    *code = static_cast<std::uint16_t>(m_exchange->result().status);
    return kHostStatusOk;
}

HostStatus RestResponse::readContent(void* buffer, std::uint64_t capacity, std::uint64_t* bytesRead)
{
    if (bytesRead == nullptr || (buffer == nullptr && capacity > 0))
        return kHostStatusInvalidPointer;
    if (!m_exchange->isFinished())
        return kHostStatusFailed;
    const RestBody& body = m_exchange->result().body;
    const std::uint64_t count = std::min<std::uint64_t>(capacity, body.size());
    if (count > 0)
        std::memcpy(buffer, body.data(), static_cast<std::size_t>(count));
    *bytesRead = count;
    return kHostStatusOk;
}

HostStatus RestResponse::getErrorMessage(const char16_t** message)
{
    if (message == nullptr)
        return kHostStatusInvalidPointer;
    try {
        // The text is made here and not by the worker, which must not need the host's catalogues at exit.
        const bool finished = m_exchange->isFinished();
        if (finished && m_exchange->result().isSuccess())
            return kHostStatusFailed;
        const std::lock_guard<std::mutex> lock(m_messageMutex);
        std::u16string& text = finished ? m_message : m_unfinishedMessage;
        if (text.empty()) {
            text = (finished ? messageOf(m_exchange->result()) : restFailureText(RestFailure::Unfinished, {}))
                       .toStdU16String();
        }
        *message = text.c_str();
        return kHostStatusOk;
    } catch (const std::exception&) {
        return kHostStatusFailed;
    }
}

} // namespace StandInHost
