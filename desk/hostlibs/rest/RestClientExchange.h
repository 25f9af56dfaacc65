#pragma once

#include "RestClientFailure.h"
#include "RestClientLimits.h"
#include "RestClientUrl.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>

namespace StandInHost {

enum class RestMethod { Get, Post, Put, Delete };

/// What is to be sent.
struct RestRequest
{
    RestMethod method = RestMethod::Get;
    RestClientUrl url;
    std::string body;
};

/// Bytes that arrive piece by piece. Grows by realloc, which moves large blocks by remapping their pages
/// rather than by copying, and leaves fresh memory untouched. Never throws.
class RestBody
{
public:
    /// Makes room for \a size bytes in all if it can.
    void reserve(std::size_t size);
    /// \return false when there is no memory for it.
    bool append(const char* bytes, std::size_t count);
    const char* data() const { return m_bytes.get(); }
    std::size_t size() const { return m_size; }

private:
    struct Free
    {
        void operator()(char* bytes) const { std::free(bytes); }
    };

    bool grow(std::size_t capacity);

    std::unique_ptr<char, Free> m_bytes;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

/// What came of it.
struct RestResult
{
    /// RestFailure::None when the service answered completely, whatever it answered.
    RestFailure failure = RestFailure::None;
    /// The text that belongs to the failure, UTF-8.
    std::string detail;
    /// The HTTP status, 0 when none was received.
    int status = 0;
    /// The words beside the status, printable ASCII.
    std::string reason;
    std::string contentType;
    RestBody body;

    bool isSuccess() const { return failure == RestFailure::None && status >= 200 && status < 300; }
};

/// One exchange, shared by the response that the caller holds and the worker that drives it, so that either
/// may let go first.
class RestExchange
{
public:
    explicit RestExchange(RestRequest request, const RestClientLimits& limits);

    const RestRequest& request() const { return m_request; }
    const RestClientLimits& limits() const { return m_limits; }

    bool isFinished() const { return m_finished.load(std::memory_order_acquire); }
    /// Waits until the exchange has finished, unless RestWaits cuts that short. \return whether it has within
    /// \a milliseconds.
    bool wait(std::uint32_t milliseconds);
    /// Has who waits look whether that was cut short.
    void wake();
    /// Ends the exchange; called once.
    void finish(RestResult result);
    /// Only for a finished exchange.
    const RestResult& result() const { return m_result; }

private:
    const RestRequest m_request;
    const RestClientLimits m_limits;
    RestResult m_result;
    std::atomic<bool> m_finished{false};
    std::mutex m_mutex;
    std::condition_variable m_done;
};

} // namespace StandInHost
