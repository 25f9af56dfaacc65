#pragma once

#include "RestClientFailure.h"

#include <string>

namespace StandInHost {

/// A URL taken apart: where to connect and what to say there.
struct RestClientUrl
{
    /// Takes \a url (zero-terminated UTF-16) apart. Only http and only hosts of the loopback network are let
    /// through; nothing of the text is normalised, re-encoded or dropped.
    /// \param connectPort text of KRX_CONNECT_PORT: the port to connect to for URLs of the service's fixed
    ///        port; empty for none.
    static RestClientUrl parse(const char16_t* url, const std::string& connectPort);

    /// "localhost:58885": the host and port as the URL has them.
    std::string authority;
    /// Path and query, byte for byte as UTF-8; at least "/".
    std::string target;
    /// The host and port to connect to in the form that curl's CONNECT_TO takes.
    std::string connectTo;
    /// The URL names the service's fixed port and no other was set: the service's socket will do as well.
    bool isServicePort = false;
    /// RestFailure::None when the URL may be used; otherwise nothing above counts.
    RestFailure failure = RestFailure::None;
    /// The text that belongs to the failure, UTF-8.
    std::string detail;
};

} // namespace StandInHost
