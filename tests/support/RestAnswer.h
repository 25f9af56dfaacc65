#pragma once

#include "RestClient.h"

#include <QByteArray>
#include <QString>

/// Talks to the host's REST client as any caller of the interface does.
namespace RestTest {

/// The URL of \a path ("/KRXService/jobs") on the service's fixed port.
QString serviceUrl(const QString& path);

/// The REST client of the host; valid for the life of the process.
IRestClient& client();

/// All that a response says at one moment.
struct Answer
{
    bool started = false; ///< the client's method succeeded and yielded a response
    bool complete = false;
    bool success = false;
    int status = -1;    ///< -1: there is none
    qint64 length = -1; ///< -1: there is none
    QByteArray body;
    QString message; ///< null: there is none
};

/// Reads \a response, which may be null, without waiting for it.
Answer answerOf(IRestResponse* response);

/// Sends a request ("GET", "POST", "PUT" or "DELETE"), waits for the end of the exchange for at most
/// \a waitMs and releases the response.
Answer exchange(const char* method, const QString& url, const QByteArray& body = {}, quint32 waitMs = 20000);
Answer get(const QString& url, quint32 waitMs = 20000);

/// Only starts the request. The caller releases the response.
IRestResponse* start(const char* method, const QString& url, const QByteArray& body = {});

} // namespace RestTest
