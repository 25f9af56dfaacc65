#pragma once

#include <QByteArray>
#include <QString>

/// What came of one request to the service.
struct RestReply
{
    bool succeeded = false;
    int status = 0; ///< of HTTP; 0 without an answer
    QByteArray body;
    QString error; ///< for a person; empty when it succeeded
};

/// The desk's own questions to the service, those that the module does not ask, by the same REST client.
/// Blocks the calling thread, which is never the window's.
namespace restrequest {

/// \param resource what stands behind ".../KRXService/". \param longest milliseconds to wait for the answer.
RestReply get(const QString& resource, unsigned longest);
RestReply put(const QString& resource, const QByteArray& body, unsigned longest);
RestReply post(const QString& resource, const QByteArray& body, unsigned longest);

} // namespace restrequest
