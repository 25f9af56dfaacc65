#pragma once

#include "RestClientExchange.h"

#include <curl/curl.h>

#include <memory>
#include <string>

namespace StandInHost {

/// One exchange while libcurl works on it. Belongs to whoever drives the exchanges.
class RestTransfer
{
public:
    /// \param socket the service's Unix socket to go by; empty for the port that the URL names.
    /// \throws std::bad_alloc when libcurl has no memory.
    RestTransfer(std::shared_ptr<RestExchange> exchange, std::string socket);
    RestTransfer(const RestTransfer&) = delete;
    RestTransfer& operator=(const RestTransfer&) = delete;

    CURL* handle() const { return m_handle.get(); }
    const std::shared_ptr<RestExchange>& exchange() const { return m_exchange; }
    /// Whether nobody took the connection at the service's socket: nothing was sent, and the port may be
    /// tried.
    bool mayTryPort(CURLcode code) const { return !m_socket.empty() && code == CURLE_COULDNT_CONNECT; }
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
    static curl_socket_t onOpenSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int onConnected(void* self, char* there, char* here, int therePort, int herePort);

    void setUrl();
    void setWay();
    /// Whether the connection leads to a program that may be asked; otherwise the failure is set.
    bool isRightService();
    void setMethod();
    void setBounds();
    void readStatusLine(const char* bytes, std::size_t count);
    template <typename Value>
    void set(CURLoption option, Value value);
    static void append(StringList& list, const char* text);
    RestFailure failureOf(CURLcode code) const;

    const std::shared_ptr<RestExchange> m_exchange;
    const std::string m_socket;
    /// The connection that was made for this exchange; -1 for one that was kept, and looked at when it was
    /// made.
    curl_socket_t m_opened = CURL_SOCKET_BAD;
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
