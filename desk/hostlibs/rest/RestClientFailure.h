#pragma once

#include <QString>

#include <string>

namespace StandInHost {

/// Why an exchange brought no success.
enum class RestFailure {
    None,
    Unfinished,
    NoHttpUrl,
    BadCharacters,
    NotLocal,
    BadConnectPort,
    TooManyExchanges,
    NoService,
    ForeignService,
    UnknownService,
    TimedOut,
    BrokenOff,
    NotHttp,
    HeadersTooLarge,
    BodyTooLarge,
    NoMemory,
    Ending,
    Other
};

/// The localised text of \a failure, with \a detail (UTF-8) where the text names one. Never empty, except for
/// RestFailure::None.
QString restFailureText(RestFailure failure, const std::string& detail);

/// The localised text of a complete answer with an error status. That is the text which the service sent,
/// when it sent a short plain one; otherwise the status in words. Never empty.
QString restStatusText(int status, const std::string& reason, const std::string& contentType,
                       const char* body, std::size_t bodyLength);

} // namespace StandInHost
