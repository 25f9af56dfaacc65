#include "base/Text.h"

#include <QUuid>

#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <system_error>

namespace krxservice::text {

namespace {

constexpr std::uint32_t kInvalid = 0xFFFFFFFF;

bool isXmlCharacter(std::uint32_t c)
{
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

/// Decodes one character at \a at and moves on; kInvalid for bytes that are not UTF-8 (moves by one byte).
std::uint32_t nextCharacter(std::string_view text, std::size_t& at)
{
    const auto first = static_cast<unsigned char>(text[at]);
    if (first < 0x80) {
        ++at;
        return first;
    }
    const int length = first >= 0xF0 && first < 0xF8 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
    if (length == 0 || first >= 0xF8 || at + static_cast<std::size_t>(length) > text.size()) {
        ++at;
        return kInvalid;
    }
    std::uint32_t c = first & (0xFFu >> (length + 1));
    for (int i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[at + static_cast<std::size_t>(i)]);
        if ((next & 0xC0) != 0x80) {
            ++at;
            return kInvalid;
        }
        c = (c << 6) | (next & 0x3Fu);
    }
    constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    at += static_cast<std::size_t>(length);
    return c < smallest[length] ? kInvalid : c;
}

/// True for what ends a line, is an order to a terminal, or turns round what follows.
bool isCommand(std::uint32_t c)
{
    const bool isControl = c < 0x20 || (c >= 0x7F && c < 0xA0);
    const bool endsLine = c == 0x2028 || c == 0x2029;
    const bool turns = (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
    return isControl || endsLine || turns;
}

} // namespace

bool isLegalId(std::string_view id)
{
    for (const char c : id) {
        const bool legal =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
        if (!legal)
            return false;
    }
    return !id.empty() && id.size() <= 128;
}

bool isXmlText(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        if (!isXmlCharacter(nextCharacter(text, at)))
            return false;
    }
    return true;
}

bool isPlainText(std::string_view text)
{
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            return false;
    }
    return isXmlText(text);
}

std::string xmlClean(std::string_view text)
{
    std::string clean;
    clean.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t from = at;
        if (isXmlCharacter(nextCharacter(text, at)))
            clean.append(text.substr(from, at - from));
        else
            clean.append("\xEF\xBF\xBD");
    }
    return clean;
}

std::string oneLine(std::string_view text)
{
    std::string line;
    line.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t from = at;
        if (isCommand(nextCharacter(text, at)))
            line += ' ';
        else
            line.append(text.substr(from, at - from));
    }
    return line;
}

std::string newGuid()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
}

std::string isoTime(std::int64_t nanoseconds)
{
    std::int64_t seconds = nanoseconds / 1000000000;
    std::int64_t rest = nanoseconds % 1000000000;
    if (rest < 0) {
        rest += 1000000000;
        --seconds;
    }
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    gmtime_r(&time, &parts);
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &parts);
    char whole[48];
    std::snprintf(whole, sizeof whole, "%s.%03dZ", date, static_cast<int>(rest / 1000000));
    return whole;
}

std::int64_t now()
{
    using namespace std::chrono;
    return duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
}

std::string asSentence(std::string text)
{
    if (!text.empty() && text.front() >= 'a' && text.front() <= 'z')
        text.front() = static_cast<char>(text.front() - 'a' + 'A');
    return text;
}

std::string baseName(std::string_view path)
{
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    const auto slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

bool isBelow(std::string_view path, std::string_view directory)
{
    if (directory == "/")
        return !path.empty() && path.front() == '/';
    return path.substr(0, directory.size()) == directory &&
           (path.size() == directory.size() || path[directory.size()] == '/');
}

std::string canonicalPath(const std::string& path)
{
    char resolved[PATH_MAX];
    return ::realpath(path.c_str(), resolved) ? std::string(resolved) : std::string();
}

std::string errnoText(int error)
{
    return std::generic_category().message(error);
}

} // namespace krxservice::text
