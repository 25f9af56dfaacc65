#pragma once

#include "base/Outcome.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace krxservice {

/// The head of a request as it came over the wire.
struct RequestHead
{
    std::string method;
    std::string target; ///< undecoded
    std::vector<std::pair<std::string, std::string>> headers;

    /// The values of all headers called \a name, whatever its case.
    std::vector<std::string> values(const std::string& name) const;
};

/// What a target asks for.
struct Target
{
    std::vector<std::string> segments; ///< behind "/KRXService/"; a trailing slash gives an empty last one
    std::map<std::string, std::string> query;
};

/// The loopback address is no wall: every page in a browser on this machine can send requests to it. The
/// guard lets through what a program on this machine sends on purpose and refuses what a web page could make
/// a browser send.
namespace httpguard {

/// Why the request is refused, or nothing. Checked are Host, Origin, the fetch metadata of browsers, the
/// declared type and length of a body, and the target.
std::optional<Refusal> check(const RequestHead& head);

/// True when a browser may have sent the request, whether or not it says so. Links and pictures make a
/// browser send a GET without saying from where, so what changes something by a GET is kept from all
/// browsers.
bool looksLikeBrowser(const RequestHead& head);

/// Splits the target, which may name this host in front. Nothing is decoded: no legal target holds anything
/// that would have to be.
Outcome<Target> split(const std::string& target);

/// True for "localhost", "127.0.0.1" and "[::1]", each with or without a port.
bool isLoopbackHost(const std::string& host);

/// The root of the URLs to be used in the answer to a request with this head that passed check(): that of the
/// target in its absolute form, otherwise that of Host.
std::string baseUrl(const RequestHead& head);

} // namespace httpguard

} // namespace krxservice
