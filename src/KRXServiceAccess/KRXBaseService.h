#pragma once

#include "KRXExport.h"

#include <QByteArray>
#include <QDomDocument>
#include <QDomElement>
#include <QString>

#include <functional>
#include <initializer_list>

class IRestClient;
class IRestResponse;

/// Speaks with the local folder service through the host's REST client. Base of the three managers.
///
/// Every request is synchronous. Failures are results, with a localised text for the user in \ref
/// lastError(). Not for use from several threads at once.
class KRX_EXPORT KRXBaseService
{
public:
    virtual ~KRXBaseService();

    /// The text of the most recent failure. It stays after later successes.
    QString lastError() const { return m_lastError; }

protected:
    /// When the REST client is obtained for the first time.
    enum class Acquisition { Now, Later };

    /// \throws KRXComponentError as \ref ensureRestClient() does, when the client is obtained now.
    explicit KRXBaseService(Acquisition acquisition = Acquisition::Now);
    // A copy shares the one reference that its source holds: no further one is taken, and both drop it.
    // Copies are short-lived values, and the host's component outlives every count.
    KRXBaseService(const KRXBaseService&) = default;
    KRXBaseService& operator=(const KRXBaseService&) = default;

    /// Obtains the REST client unless there is one already.
    /// \return whether there is one now.
    /// \throws KRXComponentError when the host reports success and gives no factory.
    bool ensureRestClient();
    /// As \ref ensureRestClient(), but logs the host's breach of contract and returns false for it.
    bool acquireQuietly();

    /// The URL of the resource collection.
    QString buildUrl() const;

    /// The four methods. \a response must be null before the call; the caller releases it when it is not null
    /// afterwards. The body is sent as UTF-8. Each returns false only when there is no REST client: a call
    /// that failed shows in checkResponse(). Each throws as ensureRestClient() does. @{
    bool restGet(const QString& url, IRestResponse*& response);
    bool restPost(const QString& url, const QString& body, IRestResponse*& response);
    bool restPut(const QString& url, const QString& body, IRestResponse*& response);
    bool restDelete(const QString& url, IRestResponse*& response); /// @}

    /// Waits for the answer and judges it.
    /// \param response may be null. \param body receives the answer's text when given; an answer that cannot
    /// be sized or read counts as success with an empty text.
    /// \return whether the service answered with success.
    bool checkResponse(IRestResponse* response, QString* body);

    /// Whole exchanges in the calling order of every operation: method, check, release. They never throw.
    /// \a body receives the answer's bytes when given, as text does in checkResponse(). @{
    bool exchangeGet(const QString& url, QByteArray* body);
    bool exchangePost(const QString& url, const QString& content, QByteArray* body);
    bool exchangePut(const QString& url, const QString& content, QByteArray* body);
    bool exchangeDelete(const QString& url); /// @}
    /// Sends and forgets: the answer is neither waited for nor checked, and no failure is reported.
    void sendPost(const QString& url, const QString& content);

    /// What becomes of an answer that cannot be used, beside its being a failure.
    enum class Unreadable { Report, KeepQuiet };

    /// GETs \a url and parses the answer into \a document, which stays as it was on failure.
    bool fetchDocument(const QString& url, QDomDocument& document,
                       Unreadable unreadable = Unreadable::Report);
    /// Parses an answer into \a document, which stays as it was on failure.
    bool parseAnswer(const QByteArray& body, QDomDocument& document,
                     Unreadable unreadable = Unreadable::Report);
    /// Parses an answer for the elements of one name; see KRXXml::parseEach().
    bool parseAnswerEach(const QByteArray& body, const QString& name,
                         const std::function<void(const QDomElement&)>& visit);
    /// Says that an answer is not what was asked for. \return false.
    bool reportUnreadable();
    /// Whether XML can carry all of these texts; sets the last error when it cannot.
    bool canSend(std::initializer_list<QString> texts);

    QString m_host;
    QString m_port;
    QString m_resourcePath;
    QString m_lastError;
    IRestClient* m_restClient = nullptr;

private:
    template <class Call>
    bool callClient(const char* failureKey, Call call);
    template <class Send>
    bool exchange(Send send, QByteArray* body);
    bool receive(IRestResponse* response, QByteArray* body);
    bool waitUntilComplete(IRestResponse* response);
    bool keepErrorMessage(IRestResponse* response);
};
