#pragma once

#include "RestClient.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace KRXTest {

/// One request that the module sent.
struct FakeRequest
{
    /// "GET", "POST", "PUT" or "DELETE".
    QString method;
    QString url;
    QByteArray body;
};

/// What the fake client makes of one request. By default a complete answer with status 200 and no body.
struct FakeAnswer
{
    FakeAnswer() = default;
    /// A status from 200 to 299 is success. A text of a refused request comes as \a message.
    FakeAnswer(int status, const QByteArray& body, const QString& message = QString());

    /// Result of the client's method; on failure there is no response, unless \ref responseDespiteFailure.
    HostStatus callStatus = kHostStatusOk;
    bool responseDespiteFailure = false;
    /// How many times isComplete() says no; below 0 always.
    int unfinishedAnswers = 0;
    HostStatus waitStatus = kHostStatusOk;
    HostStatus successStatus = kHostStatusOk;
    quint16 statusCode = 200;
    HostStatus statusCodeStatus = kHostStatusOk;
    QByteArray body;
    /// What getContentLength() says.
    qint64 contentLength = kLengthOfBody;
    HostStatus contentLengthStatus = kHostStatusOk;
    HostStatus readStatus = kHostStatusOk;
    /// Added to what readContent() reports as read, for a component that miscounts.
    qint64 readSurplus = 0;
    /// Null means that getErrorMessage() fails.
    QString message;
    /// getErrorMessage() succeeds and gives no text.
    bool messageIsMissing = false;

    /// Stands for the length of the body.
    static constexpr qint64 kLengthOfBody = INT64_MIN;
};

/// Stands in for the host's REST client while it lives: answers the module's requests from a table, keeps a
/// record of them and of every call through the interfaces. Only one may live at a time. The component that
/// the module holds stays valid for the life of the process, so managers may outlive the fake; without a fake
/// it fails every request.
class FakeRestClient
{
public:
    using Handler = std::function<FakeAnswer(const FakeRequest&)>;

    /// Installs the fake in the stand-in host's component factory.
    FakeRestClient();
    ~FakeRestClient();
    FakeRestClient(const FakeRestClient&) = delete;
    FakeRestClient& operator=(const FakeRestClient&) = delete;

    /// Sets the standing answer to a method and URL. What has no answer gets status 404 and a message.
    void answer(const QString& method, const QString& url, const FakeAnswer& answer);
    void answer(const QString& method, const QString& url, int status, const QByteArray& body = {},
                const QString& message = {});
    /// Answers every request instead of the table; empty to return to the table.
    void setHandler(Handler handler);

    /// The requests so far, oldest first.
    QList<FakeRequest> requests() const;
    /// The same as "METHOD url" lines.
    QStringList requestLines() const;
    /// The last request; an empty one when there was none.
    FakeRequest lastRequest() const;
    void clearRequests();

    /// Every call through the interfaces so far, for example "client.get" or "response.isComplete".
    QStringList calls() const;
    void clearCalls();
    /// Responses that were handed out and not yet released.
    int liveResponses() const;
    /// References to the client that were handed out and not yet released; can be negative.
    int clientReferences() const;
    int factoryReferences() const;

    // What the component factory does; all success at first.
    HostStatus factoryStatus = kHostStatusOk;
    /// The factory entry yields no factory, whatever its status.
    bool factoryIsNull = false;
    /// A failing entry yields a factory nonetheless.
    bool factoryDespiteFailure = false;
    HostStatus componentStatus = kHostStatusOk;
    bool componentIsNull = false;
    /// A failing creation yields a component nonetheless.
    bool componentDespiteFailure = false;

    struct State;

private:
    std::shared_ptr<State> m_state;
};

} // namespace KRXTest
