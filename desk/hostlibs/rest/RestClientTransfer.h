#pragma once

#include "RestClientExchange.h"

#include <curl/curl.h>

#include <memory>

namespace StandInHost {

/// One exchange while libcurl works on it. Lives in the worker's thread.
class RestTransfer
{
public:
    /// \throws std::bad_alloc when libcurl has no memory.
    explicit RestTransfer(std::shared_ptr<RestExchange> exchange);
    RestTransfer(const RestTransfer&) = delete;
    RestTransfer& operator=(const RestTransfer&) = delete;

    CURL* handle() const { return m_handle.get(); }
    /// Hands the outcome to the exchange. \param code what libcurl says of the transfer.
    void finish(CURLcode code);
    /// Ends the exchange without an outcome of libcurl's.
    void fail(RestFailure failure);

private:
    struct Cleanup
    {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };
    using StringList = std::unique_ptr<curl_slist, Cleanup>;

    static std::size_t onHeader(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t onBody(char* bytes, std::size_t size, std::size_t count, void* self);

    void setUrl();
    void setMethod();
    void setBounds();
    void readStatusLine(const char* bytes, std::size_t count);
    template <typename Value>
    void set(CURLoption option, Value value);
    static void append(StringList& list, const char* text);
    RestFailure failureOf(CURLcode code) const;

    const std::shared_ptr<RestExchange> m_exchange;
    RestResult m_result;
    std::size_t m_headerBytes = 0;
    bool m_headersEnded = false;
    char m_error[CURL_ERROR_SIZE] = {};
    char m_reason[81] = {};
    StringList m_headers;
    StringList m_connectTo;
    // Last, so that it goes first: it uses what stands above.
    std::unique_ptr<CURL, Cleanup> m_handle;
};

} // namespace StandInHost
