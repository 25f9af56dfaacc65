#pragma once

#include "HostComponentFactory.h"

#include <cstdint>

/// The host's REST client and the response that each of its methods yields.
///
/// Both are binary interfaces with fixed slots (see HostComponentFactory.h). Slots that the module does not
/// use are declared as reserved so that the used ones stand where they must; an implementation returns
/// failure from them.
///
/// URLs and messages are zero-terminated UTF-16. The client sends the text of a URL byte for byte and decides
/// the headers itself; bodies are declared as XML.

/// One HTTP exchange, finished or under way. Every response that a caller received it must release, also a
/// response of a failed exchange. Releasing an unfinished response does not cancel the exchange.
class IRestResponse : public IHostComponent
{
public:
    virtual HostStatus reserved3() = 0;
    virtual HostStatus reserved4() = 0;
    virtual HostStatus reserved5() = 0;
    virtual HostStatus reserved6() = 0;
    /// Slot 7. Waits until the exchange has finished.
    /// \param timeout the longest wait, in milliseconds.
    /// \return success once the exchange has finished within the time, failure when it has not.
    virtual HostStatus waitForCompletion(std::uint32_t timeout) = 0;
    /// Slot 8. \return success when the exchange has finished, failure while it is under way.
    virtual HostStatus isComplete() = 0;
    virtual HostStatus reserved9() = 0;
    /// Slot 10. \return success when the service answered completely and with a success status (2xx).
    virtual HostStatus isSuccess() = 0;
    virtual HostStatus reserved11() = 0;
    virtual HostStatus reserved12() = 0;
    /// Slot 13. Length of the body that was received, in bytes (never what a header promised).
    virtual HostStatus getContentLength(std::int64_t* length) = 0;
    virtual HostStatus reserved14() = 0;
    virtual HostStatus reserved15() = 0;
    virtual HostStatus reserved16() = 0;
    /// Slot 17. The HTTP status code; fails when no status was received.
    virtual HostStatus getStatusCode(std::uint16_t* code) = 0;
    /// Slot 18. Copies the body from its start.
    /// \param buffer where to copy to. \param capacity size of the buffer in bytes.
    /// \param bytesRead receives the number of bytes copied, at most \a capacity.
    virtual HostStatus readContent(void* buffer, std::uint64_t capacity, std::uint64_t* bytesRead) = 0;
    /// Slot 19. A text that describes the failure, for a person to read.
    /// \param message receives a zero-terminated UTF-16 text owned by the response and valid until its
    /// release. Fails when there is nothing to say.
    virtual HostStatus getErrorMessage(const char16_t** message) = 0;

protected:
    ~IRestResponse() = default;
};

/// Sends HTTP requests. Each method starts one exchange and yields its response; the caller owns the one
/// reference that it receives. On failure the response is left as the caller set it (null).
/// The client may be used from several threads at once.
class IRestClient : public IHostComponent
{
public:
    /// Slot 3. Sends GET \a url (zero-terminated UTF-16).
    virtual HostStatus get(const char16_t* url, IRestResponse** response) = 0;
    /// Slot 4. Sends POST \a url with \a length bytes of \a body. The bytes are copied before the return.
    virtual HostStatus post(const char16_t* url, IRestResponse** response, const char* body,
                            std::uint32_t length) = 0;
    virtual HostStatus reserved5() = 0;
    /// Slot 6. Sends PUT \a url with \a length bytes of \a body. The bytes are copied before the return.
    virtual HostStatus put(const char16_t* url, IRestResponse** response, const char* body,
                           std::uint32_t length) = 0;
    virtual HostStatus reserved7() = 0;
    /// Slot 8. Sends DELETE \a url.
    virtual HostStatus deleteResource(const char16_t* url, IRestResponse** response) = 0;

protected:
    ~IRestClient() = default;
};
