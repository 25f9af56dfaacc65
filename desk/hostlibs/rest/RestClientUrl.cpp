#include "RestClientUrl.h"

#include <QString>
#include <QStringView>

#include <algorithm>
#include <cctype>
#include <string_view>

namespace StandInHost {

namespace {

constexpr std::string_view kScheme = "http://";
constexpr int kServicePort = 58885;
constexpr int kDefaultPort = 80;
/// No request line of the service comes near it; a text without its terminating zero ends here.
constexpr std::size_t kLongestUrl = std::size_t{64} * 1024;
/// How much of a refused URL a message shows.
constexpr int kShownUrl = 200;

bool startsWithIgnoringCase(std::string_view text, std::string_view start)
{
    return text.size() >= start.size() &&
           std::equal(start.begin(), start.end(), text.begin(),
                      [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && startsWithIgnoringCase(a, b);
}

/// The number that \a digits write in decimal, or -1 when that is no number from 0 to \a most.
int decimal(std::string_view digits, int most)
{
    if (digits.empty() || digits.size() > 5)
        return -1;
    int number = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9')
            return -1;
        number = number * 10 + (digit - '0');
    }
    return number <= most ? number : -1;
}

int portNumber(std::string_view digits)
{
    const int port = decimal(digits, 65535);
    return port > 0 ? port : -1;
}

/// 127.0.0.0/8 in plain decimal. Octal, hexadecimal and shortened forms are refused, as readers differ on
/// them.
bool isLoopbackAddress(std::string_view host)
{
    for (int i = 0; i < 4; ++i) {
        const std::size_t dot = i < 3 ? host.find('.') : host.size();
        if (dot == std::string_view::npos)
            return false;
        const std::string_view part = host.substr(0, dot);
        const int octet = part.size() > 1 && part.front() == '0' ? -1 : decimal(part, 255);
        if (octet < 0 || (i == 0 && octet != 127))
            return false;
        host.remove_prefix(std::min(host.size(), dot + 1));
    }
    return true;
}

/// Blanks and control characters would break the request line apart; they are never re-encoded in silence.
bool hasBadCharacters(std::string_view text)
{
    return std::any_of(text.begin(), text.end(),
                       [](unsigned char byte) { return byte <= 0x20 || byte == 0x7f; });
}

RestClientUrl refused(RestFailure failure, const QString& detail)
{
    RestClientUrl url;
    url.failure = failure;
    QString shown = detail.left(kShownUrl);
    for (QChar& character : shown) {
        if (character.category() == QChar::Other_Control || character.isSurrogate())
            character = QChar::ReplacementCharacter;
    }
    url.detail = shown.toStdString();
    return url;
}

QString textOf(std::string_view bytes)
{
    return QString::fromStdString(std::string(bytes));
}

} // namespace

RestClientUrl RestClientUrl::parse(const char16_t* text, const std::string& connectPort)
{
    std::size_t length = 0;
    while (length < kLongestUrl && text[length] != 0)
        ++length;
    const QStringView view(text, static_cast<qsizetype>(length));
    if (length == kLongestUrl)
        return refused(RestFailure::NoHttpUrl, view.toString());
    const QByteArray utf8 = view.toUtf8();
    const std::string_view whole(utf8.constData(), static_cast<std::size_t>(utf8.size()));
    if (!view.isValidUtf16() || hasBadCharacters(whole))
        return refused(RestFailure::BadCharacters, view.toString());
    if (!startsWithIgnoringCase(whole, kScheme))
        return refused(RestFailure::NoHttpUrl, view.toString());

    const std::string_view rest = whole.substr(kScheme.size());
    const std::size_t targetStart = std::min(rest.find_first_of("/?#"), rest.size());
    const std::string_view authority = rest.substr(0, targetStart);
    const std::string_view target = rest.substr(targetStart);
    const std::size_t hostEnd = authority.empty() || authority.front() != '['
                                    ? std::min(authority.find(':'), authority.size())
                                    : std::min(authority.find(']'), authority.size() - 1) + 1;
    const std::string_view host = authority.substr(0, hostEnd);
    int port = kDefaultPort;
    if (hostEnd < authority.size())
        port = authority[hostEnd] == ':' ? portNumber(authority.substr(hostEnd + 1)) : -1;
    if (host.empty() || port < 0 || (host.front() == '[' && host.back() != ']'))
        return refused(RestFailure::NoHttpUrl, view.toString());
    const bool byName = equalsIgnoringCase(host, "localhost");
    if (!byName && host != "[::1]" && !isLoopbackAddress(host))
        return refused(RestFailure::NotLocal, textOf(host));

    const bool isServicePort = port == kServicePort && connectPort.empty();
    if (port == kServicePort && !connectPort.empty()) {
        port = portNumber(connectPort);
        // Going on to the fixed port here could reach the very service that the setting was to spare.
        if (port < 0)
            return refused(RestFailure::BadConnectPort, QString::fromStdString(connectPort));
    }
    RestClientUrl url;
    url.isServicePort = isServicePort;
    url.authority = std::string(authority);
    url.target = target.empty() || target.front() != '/' ? "/" + std::string(target) : std::string(target);
    // The name is never looked up: it means the address, also where a resolver is slow or says otherwise.
    url.connectTo =
        "::" + (byName ? std::string("127.0.0.1") : std::string(host)) + ":" + std::to_string(port);
    return url;
}

} // namespace StandInHost
