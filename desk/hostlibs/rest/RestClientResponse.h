#pragma once

#include "RestClient.h"
#include "RestClientExchange.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace StandInHost {

/// The caller's view of one exchange. While the exchange is under way it has no status, no length and no
/// body; its message then says that the service has not answered. Deletes itself with its last reference; the
/// exchange goes on without it. May be used from several threads at once.
class RestResponse final : public IRestResponse
{
public:
    /// Made with one reference, which belongs to the caller.
    explicit RestResponse(std::shared_ptr<RestExchange> exchange);

    HostStatus queryInterface(const HostIdentifier& interfaceId, void** out) override;
    std::uint32_t addReference() override;
    std::uint32_t release() override;
    HostStatus reserved3() override { return kHostStatusFailed; }
    HostStatus reserved4() override { return kHostStatusFailed; }
    HostStatus reserved5() override { return kHostStatusFailed; }
    HostStatus reserved6() override { return kHostStatusFailed; }
    HostStatus waitForCompletion(std::uint32_t timeout) override;
    HostStatus isComplete() override;
    HostStatus reserved9() override { return kHostStatusFailed; }
    HostStatus isSuccess() override;
    HostStatus reserved11() override { return kHostStatusFailed; }
    HostStatus reserved12() override { return kHostStatusFailed; }
    HostStatus getContentLength(std::int64_t* length) override;
    HostStatus reserved14() override { return kHostStatusFailed; }
    HostStatus reserved15() override { return kHostStatusFailed; }
    HostStatus reserved16() override { return kHostStatusFailed; }
    HostStatus getStatusCode(std::uint16_t* code) override;
    HostStatus readContent(void* buffer, std::uint64_t capacity, std::uint64_t* bytesRead) override;
    HostStatus getErrorMessage(const char16_t** message) override;

private:
    ~RestResponse() = default;

    const std::shared_ptr<RestExchange> m_exchange;
    std::atomic<std::uint32_t> m_references{1};
    // Texts that were handed out stay as they are until the end, so each kind has its own place.
    std::mutex m_messageMutex;
    std::u16string m_unfinishedMessage;
    std::u16string m_message;
};

} // namespace StandInHost
