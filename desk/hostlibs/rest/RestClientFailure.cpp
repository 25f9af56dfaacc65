#include "RestClientFailure.h"

#include "HostCore.h"

#include <QByteArray>

#include <strings.h>

namespace StandInHost {

namespace {

/// A text of the service longer than this is no one-line report.
constexpr std::size_t kLongestReport = 2000;

struct FailureText
{
    RestFailure failure;
    const char* english;
};

constexpr FailureText kFailureTexts[] = {
    {RestFailure::Unfinished, QT_TRID_NOOP("The service did not answer in time")},
    {RestFailure::NoHttpUrl, QT_TRID_NOOP("The address %1 is not a proper HTTP address")},
    {RestFailure::BadCharacters, QT_TRID_NOOP("The address %1 holds characters that no address may hold")},
    {RestFailure::NotLocal, QT_TRID_NOOP("Only services of this machine may be asked, not %1")},
    {RestFailure::BadConnectPort, QT_TRID_NOOP("KRX_CONNECT_PORT is set to %1, which is no port number")},
    {RestFailure::TooManyExchanges, QT_TRID_NOOP("Too many requests are waiting for the service")},
    {RestFailure::NoService, QT_TRID_NOOP("No service answers at %1")},
    {RestFailure::ForeignService,
     QT_TRID_NOOP("The port of the service is held by the user %1, whose service is not asked")},
    {RestFailure::UnknownService,
     QT_TRID_NOOP("It cannot be found out whose service answers at %1, so it is not asked")},
    {RestFailure::TimedOut, QT_TRID_NOOP("The service did not answer in time")},
    {RestFailure::BrokenOff,
     QT_TRID_NOOP("The connection to the service broke off before the answer was complete")},
    {RestFailure::NotHttp, QT_TRID_NOOP("The answer of the service is not proper HTTP")},
    {RestFailure::HeadersTooLarge, QT_TRID_NOOP("The headers of the service's answer are too large")},
    {RestFailure::BodyTooLarge, QT_TRID_NOOP("The answer of the service is too large")},
    {RestFailure::NoMemory, QT_TRID_NOOP("There is not enough memory for the answer of the service")},
    {RestFailure::Ending, QT_TRID_NOOP("The program ended before the service answered")},
    {RestFailure::Other, QT_TRID_NOOP("The exchange with the service failed: %1")},
};

bool isPlainText(const std::string& contentType)
{
    constexpr const char* kPlain = "text/plain";
    constexpr std::size_t kLength = 10;
    return strncasecmp(contentType.c_str(), kPlain, kLength) == 0 &&
           (contentType.size() == kLength || contentType[kLength] == ';' || contentType[kLength] == ' ');
}

/// The service reports a refusal as one line. Anything else in its place is no text for a message box.
QString reportOf(const char* body, std::size_t length)
{
    if (length > kLongestReport)
        return {};
    const QString text = QString::fromUtf8(body, static_cast<int>(length)).trimmed();
    for (const QChar character : text) {
        if (character.category() == QChar::Other_Control || character == QChar::ReplacementCharacter)
            return {};
    }
    return text;
}

} // namespace

QString restFailureText(RestFailure failure, const std::string& detail)
{
    for (const auto& row : kFailureTexts) {
        if (row.failure == failure) {
            const QString text = HostCore::translateText(QString::fromLatin1(row.english));
            return text.contains(QLatin1String("%1")) ? text.arg(QString::fromStdString(detail)) : text;
        }
    }
    return {};
}

// A status alone would also do for the module, which words one itself when there is no message. But it does
// so only while it remembers no earlier failure, so a message in every case is the more truthful one.
QString restStatusText(int status, const std::string& reason, const std::string& contentType,
                       const char* body, std::size_t bodyLength)
{
    if (isPlainText(contentType)) {
        const QString report = reportOf(body, bodyLength);
        if (!report.isEmpty())
            return report;
    }
    const QString words = QString::fromStdString(reason);
    const QString named = QString(QString::number(status) + QLatin1Char(' ') + words).trimmed();
    return HostCore::translateText(QString::fromLatin1(QT_TRID_NOOP("The service answered %1"))).arg(named);
}

} // namespace StandInHost
