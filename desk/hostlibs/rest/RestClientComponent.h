#pragma once

#include "RestClient.h"

#include <atomic>

namespace StandInHost {

/// The REST client: one object for the whole process. It lives as long as the process whatever its count
/// says, because copies of one manager share a single reference and each of them drops it.
class RestClientComponent final : public IRestClient
{
public:
    static RestClientComponent& instance();

    HostStatus queryInterface(const HostIdentifier& interfaceId, void** out) override;
    std::uint32_t addReference() override;
    std::uint32_t release() override;
    HostStatus get(const char16_t* url, IRestResponse** response) override;
    HostStatus post(const char16_t* url, IRestResponse** response, const char* body,
                    std::uint32_t length) override;
    HostStatus reserved5() override { return kHostStatusFailed; }
    HostStatus put(const char16_t* url, IRestResponse** response, const char* body,
                   std::uint32_t length) override;
    HostStatus reserved7() override { return kHostStatusFailed; }
    HostStatus deleteResource(const char16_t* url, IRestResponse** response) override;

private:
    constexpr RestClientComponent() = default;
    ~RestClientComponent() = default;

    std::atomic<std::uint32_t> m_references{0};
};

} // namespace StandInHost
