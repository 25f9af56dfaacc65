#include "http/HeadCheck.h"

#include <algorithm>
#include <cctype>

namespace krxservice::headcheck {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

/// The characters of methods and header names.
bool isToken(std::string_view text)
{
    constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
    return !text.empty() && std::all_of(text.begin(), text.end(), [marks](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x80 && (std::isalnum(byte) || marks.find(c) != std::string_view::npos);
    });
}

std::optional<Refusal> checkRequestLine(std::string_view line)
{
    const auto first = line.find(' ');
    const auto last = line.rfind(' ');
    if (first == std::string_view::npos || first == last)
        return Refusal{400, "the first line of the request is not understood"};
    const auto target = line.substr(first + 1, last - first - 1);
    const auto version = line.substr(last + 1);
    if (!isToken(line.substr(0, first)) || target.empty() ||
        target.find_first_of(" \t") != std::string_view::npos || version.size() != 8 ||
        version.substr(0, 5) != "HTTP/")
        return Refusal{400, "the first line of the request is not understood"};
    if (version != "HTTP/1.1" && version != "HTTP/1.0")
        return Refusal{505, "the service speaks HTTP/1.1"};
    return std::nullopt;
}

std::optional<Refusal> checkHeader(std::string_view line)
{
    if (line.front() == ' ' || line.front() == '\t')
        return Refusal{400, "a header is folded over two lines"};
    const auto colon = line.find(':');
    if (colon == std::string_view::npos || !isToken(line.substr(0, colon)))
        return Refusal{400, "a header of the request has no proper name"};
    return std::nullopt;
}

} // namespace

std::optional<Refusal> checkBytes(std::string_view head, std::size_t from)
{
    for (std::size_t i = from; i < head.size(); ++i) {
        const auto byte = static_cast<unsigned char>(head[i]);
        const bool afterReturn = i > 0 && head[i - 1] == '\r';
        if (afterReturn != (byte == '\n'))
            return Refusal{400, "a line of the head does not end in CR and LF"};
        if ((byte < 0x20 && byte != '\r' && byte != '\n' && byte != '\t') || byte == 0x7F)
            return Refusal{400, "the head of the request holds a control character"};
    }
    return std::nullopt;
}

std::optional<Refusal> checkLines(std::string_view head)
{
    std::size_t count = 0;
    for (std::size_t at = 0;;) {
        const auto end = head.find(kLineEnd, at);
        const auto line = head.substr(at, end - at);
        if (end == std::string_view::npos || line.empty())
            return count > 0 ? std::nullopt : std::optional(Refusal{400, "the request has no first line"});
        if (++count > kMostHeaders + 1)
            return Refusal{431, "the request has too many headers"};
        if (const auto refusal = count == 1 ? checkRequestLine(line) : checkHeader(line))
            return refusal;
        at = end + kLineEnd.size();
    }
}

} // namespace krxservice::headcheck
