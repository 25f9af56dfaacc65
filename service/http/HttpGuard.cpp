#include "http/HttpGuard.h"

#include "base/Text.h"
#include "documents/XmlGuard.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <string_view>

namespace krxservice {

namespace {

constexpr std::string_view kRoot = "/KRXService/";
constexpr std::string_view kScheme = "http://";
constexpr std::size_t kLongestTarget = 2048; ///< bytes

/// Headers that browsers add by themselves and that no page can keep them from adding.
constexpr std::array<std::string_view, 4> kFetchHeaders = {"Sec-Fetch-Site", "Sec-Fetch-Mode",
                                                           "Sec-Fetch-Dest", "Sec-Fetch-User"};

std::string lower(std::string_view text)
{
    std::string result(text);
    for (char& c : result)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

std::string trimmed(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    return std::string(text);
}

bool isPort(std::string_view text)
{
    int port = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return error == std::errc() && rest == text.data() + text.size() && port > 0 && port < 65536 &&
           std::isdigit(static_cast<unsigned char>(text.front()));
}

/// application/xml, text/xml or application/...+xml, in UTF-8 when a charset is named.
bool isXmlType(const std::string& header)
{
    const std::string value = lower(header);
    const auto semicolon = value.find(';');
    const std::string type = trimmed(value.substr(0, semicolon));
    const bool suffixed = type.rfind("application/", 0) == 0 && type.size() > 16 &&
                          type.compare(type.size() - 4, 4, "+xml") == 0;
    if (type != "application/xml" && type != "text/xml" && !suffixed)
        return false;
    const auto charset = value.find("charset=", semicolon == std::string::npos ? value.size() : semicolon);
    if (charset == std::string::npos)
        return true;
    std::string name = value.substr(charset + 8);
    name.erase(std::remove(name.begin(), name.end(), '"'), name.end());
    name = trimmed(name.substr(0, name.find(';')));
    return name == "utf-8" || name == "utf8" || name == "us-ascii";
}

/// A target in its absolute form, "http://authority/path", in its two pieces; other targets have no
/// authority.
std::pair<std::string, std::string> authorityAndRest(const std::string& target)
{
    if (lower(target.substr(0, kScheme.size())) != kScheme)
        return {{}, target};
    const auto end = std::min(target.find_first_of("/?", kScheme.size()), target.size());
    return {target.substr(kScheme.size(), end - kScheme.size()), target.substr(end)};
}

std::optional<Refusal> checkSender(const RequestHead& head)
{
    const auto hosts = head.values("Host");
    if (hosts.size() != 1)
        return Refusal{400,
                       hosts.empty() ? "the request names no Host" : "the request names more than one Host"};
    if (!httpguard::isLoopbackHost(hosts.front()))
        return Refusal{403, "the service answers requests for the local host only"};
    for (const auto& origin : head.values("Origin")) {
        if (lower(origin) != "http://" + lower(hosts.front()))
            return Refusal{403, "requests from web pages are not accepted"};
    }
    for (const auto& name : kFetchHeaders) {
        if (!head.values(std::string(name)).empty())
            return Refusal{403, "requests from web browsers are not accepted"};
    }
    return std::nullopt;
}

std::optional<Refusal> checkBody(const RequestHead& head)
{
    const auto lengths = head.values("Content-Length");
    const auto codings = head.values("Transfer-Encoding");
    const bool chunked = !codings.empty();
    if (lengths.size() > 1 || codings.size() > 1 || (chunked && !lengths.empty()))
        return Refusal{400, "the request has more than one length"};
    if (chunked && lower(codings.front()) != "chunked")
        return Refusal{501, "the only transfer coding of the service is chunked"};
    std::uint64_t length = 0;
    if (!lengths.empty()) {
        const std::string& text = lengths.front();
        const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), length);
        if (text.empty() || error == std::errc::invalid_argument || rest != text.data() + text.size())
            return Refusal{400, "the length of the request is no number"};
        if (error != std::errc() || length > xmlguard::kLargestBody)
            return Refusal{413, "the body is larger than 1 MB"};
    }
    if (head.method != "POST" && head.method != "PUT") {
        if (chunked || length > 0)
            return Refusal{400, "this method takes no body"};
        return std::nullopt;
    }
    if (lengths.empty() && !chunked)
        return Refusal{411, "the length of the body is not given"};
    const auto types = head.values("Content-Type");
    if (types.size() != 1 || !isXmlType(types.front()))
        return Refusal{415, "the body must be declared as XML (Content-Type: application/xml)"};
    const auto encodings = head.values("Content-Encoding");
    if (!encodings.empty())
        return Refusal{415, "bodies are sent unencoded"};
    return std::nullopt;
}

bool isLegalQueryText(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return std::isalnum(c) || c == '-' || c == '_' || c == '.' || c == ',';
    });
}

} // namespace

std::vector<std::string> RequestHead::values(const std::string& name) const
{
    const std::string wanted = lower(name);
    std::vector<std::string> found;
    for (const auto& [key, value] : headers) {
        if (lower(key) == wanted)
            found.push_back(trimmed(value));
    }
    return found;
}

namespace httpguard {

bool isLoopbackHost(const std::string& host)
{
    constexpr std::array<std::string_view, 3> names = {"localhost", "127.0.0.1", "[::1]"};
    const std::string value = lower(host);
    for (const auto& name : names) {
        if (value == name)
            return true;
        if (value.size() > name.size() + 1 && value.compare(0, name.size(), name) == 0 &&
            value[name.size()] == ':')
            return isPort(std::string_view(value).substr(name.size() + 1));
    }
    return false;
}

std::optional<Refusal> check(const RequestHead& head)
{
    if (const auto refusal = checkSender(head))
        return refusal;
    if (const auto refusal = checkBody(head))
        return refusal;
    const auto target = split(head.target);
    if (!target)
        return target.refusal();
    // The one GET that changes something: a link or a picture on a page must not be able to send it.
    const bool clears = target->segments.front() == "errors" && target->query.count("clear") > 0;
    if (clears && looksLikeBrowser(head))
        return Refusal{403, "requests from web browsers are not accepted"};
    return std::nullopt;
}

bool looksLikeBrowser(const RequestHead& head)
{
    for (const auto& [name, value] : head.headers) {
        const std::string low = lower(name);
        if (low == "origin" || low == "referer" || low == "cookie" || low == "upgrade-insecure-requests" ||
            low.rfind("sec-", 0) == 0)
            return true;
        if ((low == "user-agent" && lower(value).find("mozilla") != std::string::npos) ||
            (low == "accept" && lower(value).find("text/html") != std::string::npos))
            return true;
    }
    return false;
}

Outcome<Target> split(const std::string& whole)
{
    if (whole.size() > kLongestTarget)
        return Refusal{414, "the URL is too long"};
    const auto [authority, target] = authorityAndRest(whole);
    if (target.size() != whole.size() && !isLoopbackHost(authority))
        return Refusal{404, "there is no such resource"};
    const auto question = target.find('?');
    const std::string path = target.substr(0, question);
    for (const char c : path) {
        if (c == '%' || c == '\\' || static_cast<unsigned char>(c) <= 0x20 ||
            static_cast<unsigned char>(c) >= 0x7F)
            return Refusal{400, "the URL holds a character that no id has"};
    }
    if (path.rfind(kRoot, 0) != 0)
        return Refusal{404, "there is no such resource"};
    Target result;
    std::size_t from = kRoot.size();
    for (;;) {
        const auto slash = path.find('/', from);
        const std::string segment = path.substr(from, slash == std::string::npos ? slash : slash - from);
        if (segment == "." || segment == "..")
            return Refusal{400, "the URL holds a segment that leads elsewhere"};
        result.segments.push_back(segment);
        if (slash == std::string::npos)
            break;
        from = slash + 1;
    }
    for (std::size_t at = question; at != std::string::npos;) {
        const auto next = target.find('&', at + 1);
        const std::string pair = target.substr(at + 1, next == std::string::npos ? next : next - at - 1);
        at = next;
        const auto equals = pair.find('=');
        if (pair.empty())
            continue;
        if (equals == std::string::npos || !isLegalQueryText(pair.substr(0, equals)) ||
            !isLegalQueryText(pair.substr(equals + 1)))
            return Refusal{400, "the query of the URL is not understood"};
        result.query[pair.substr(0, equals)] = pair.substr(equals + 1);
    }
    return result;
}

std::string baseUrl(const RequestHead& head)
{
    const auto hosts = head.values("Host");
    std::string authority = authorityAndRest(head.target).first;
    if (authority.empty())
        authority = hosts.empty() ? "localhost" : hosts.front();
    return std::string(kScheme) + lower(authority) + "/KRXService";
}

} // namespace httpguard

} // namespace krxservice
