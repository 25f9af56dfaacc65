#include "FakeRestClient.h"

#include "StandInHost.h"

#include <QPair>

#include <algorithm>
#include <cstring>
#include <utility>

namespace KRXTest {

struct FakeRestClient::State
{
    FakeRestClient* owner = nullptr;
    QHash<QPair<QString, QString>, FakeAnswer> table;
    Handler handler;
    QList<FakeRequest> requests;
    QStringList calls;
    int liveResponses = 0;
    int clientReferences = 0;
    int factoryReferences = 0;
};

namespace {

using State = FakeRestClient::State;

/// Buffers up to this size are written full, so that reading more than the body shows.
constexpr std::uint64_t kLargestScribble = 65536;

std::shared_ptr<State>& current()
{
    static std::shared_ptr<State> state;
    return state;
}

void note(const char* call)
{
    if (current())
        current()->calls << QLatin1String(call);
}

class Response final : public IRestResponse
{
public:
    Response(std::shared_ptr<State> state, FakeAnswer answer)
        : m_state(std::move(state))
        , m_answer(std::move(answer))
    {
        ++m_state->liveResponses;
    }
    ~Response() { --m_state->liveResponses; }

    HostStatus queryInterface(const HostIdentifier&, void**) override { return kHostStatusNoInterface; }
    std::uint32_t addReference() override { return ++m_references; }
    std::uint32_t release() override
    {
        call("response.release");
        const std::uint32_t left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }
    HostStatus waitForCompletion(std::uint32_t timeout) override
    {
        call(qPrintable(QStringLiteral("response.waitForCompletion %1").arg(timeout)));
        return m_answer.waitStatus;
    }
    HostStatus isComplete() override
    {
        call("response.isComplete");
        if (m_answer.unfinishedAnswers == 0)
            return kHostStatusOk;
        --m_answer.unfinishedAnswers;
        return kHostStatusFailed;
    }
    HostStatus isSuccess() override
    {
        call("response.isSuccess");
        return m_answer.successStatus;
    }
    HostStatus getContentLength(std::int64_t* length) override
    {
        call("response.getContentLength");
        *length = m_answer.contentLength == FakeAnswer::kLengthOfBody ? m_answer.body.size()
                                                                      : m_answer.contentLength;
        return m_answer.contentLengthStatus;
    }
    HostStatus getStatusCode(std::uint16_t* code) override
    {
        call("response.getStatusCode");
        if (hostSucceeded(m_answer.statusCodeStatus))
            *code = m_answer.statusCode;
        return m_answer.statusCodeStatus;
    }
    HostStatus readContent(void* buffer, std::uint64_t capacity, std::uint64_t* bytesRead) override
    {
        call("response.readContent");
        const auto size = std::min<std::uint64_t>(capacity, static_cast<std::uint64_t>(m_answer.body.size()));
        // The buffer is ours until the return; what lies behind the body is no part of it.
        if (capacity <= kLargestScribble)
            std::memset(buffer, '#', capacity);
        if (size > 0)
            std::memcpy(buffer, m_answer.body.constData(), size);
        *bytesRead = size + static_cast<std::uint64_t>(m_answer.readSurplus);
        return m_answer.readStatus;
    }
    HostStatus getErrorMessage(const char16_t** message) override
    {
        call("response.getErrorMessage");
        if (m_answer.messageIsMissing) {
            *message = nullptr;
            return kHostStatusOk;
        }
        if (m_answer.message.isNull())
            return kHostStatusFailed;
        *message = reinterpret_cast<const char16_t*>(m_answer.message.utf16());
        return kHostStatusOk;
    }
    HostStatus reserved3() override { return unexpected(); }
    HostStatus reserved4() override { return unexpected(); }
    HostStatus reserved5() override { return unexpected(); }
    HostStatus reserved6() override { return unexpected(); }
    HostStatus reserved9() override { return unexpected(); }
    HostStatus reserved11() override { return unexpected(); }
    HostStatus reserved12() override { return unexpected(); }
    HostStatus reserved14() override { return unexpected(); }
    HostStatus reserved15() override { return unexpected(); }
    HostStatus reserved16() override { return unexpected(); }

private:
    void call(const char* name) { m_state->calls << QLatin1String(name); }
    HostStatus unexpected()
    {
        call("response.reserved");
        return kHostStatusFailed;
    }

    std::shared_ptr<State> m_state;
    FakeAnswer m_answer;
    std::uint32_t m_references = 1;
};

/// The component that the module holds. It never dies and asks whichever fake is installed.
class Client final : public IRestClient
{
public:
    HostStatus queryInterface(const HostIdentifier&, void**) override { return kHostStatusNoInterface; }
    std::uint32_t addReference() override
    {
        note("client.addReference");
        return 1;
    }
    std::uint32_t release() override
    {
        note("client.release");
        if (current())
            --current()->clientReferences;
        return 0;
    }
    HostStatus get(const char16_t* url, IRestResponse** response) override
    {
        note("client.get");
        return exchange("GET", url, QByteArray(), response);
    }
    HostStatus post(const char16_t* url, IRestResponse** response, const char* body,
                    std::uint32_t length) override
    {
        note("client.post");
        return exchange("POST", url, QByteArray(body, static_cast<int>(length)), response);
    }
    HostStatus put(const char16_t* url, IRestResponse** response, const char* body,
                   std::uint32_t length) override
    {
        note("client.put");
        return exchange("PUT", url, QByteArray(body, static_cast<int>(length)), response);
    }
    HostStatus deleteResource(const char16_t* url, IRestResponse** response) override
    {
        note("client.deleteResource");
        return exchange("DELETE", url, QByteArray(), response);
    }
    HostStatus reserved5() override { return kHostStatusFailed; }
    HostStatus reserved7() override { return kHostStatusFailed; }

private:
    static HostStatus exchange(const char* method, const char16_t* url, const QByteArray& body,
                               IRestResponse** response)
    {
        const std::shared_ptr<State> state = current();
        if (!state)
            return kHostStatusFailed;
        const FakeRequest request{QLatin1String(method), QString::fromUtf16(url), body};
        state->requests << request;
        FakeAnswer answer;
        if (state->handler) {
            answer = state->handler(request);
        } else {
            const auto found = state->table.constFind(qMakePair(request.method, request.url));
            answer = found != state->table.constEnd()
                         ? *found
                         : FakeAnswer(404, {}, QStringLiteral("No such resource"));
        }
        if (hostSucceeded(answer.callStatus) || answer.responseDespiteFailure)
            *response = new Response(state, answer);
        return answer.callStatus;
    }
};

class Factory final : public IHostComponentFactory
{
public:
    HostStatus queryInterface(const HostIdentifier&, void**) override { return kHostStatusNoInterface; }
    std::uint32_t addReference() override { return 1; }
    std::uint32_t release() override
    {
        note("factory.release");
        if (current())
            --current()->factoryReferences;
        return 0;
    }
    HostStatus createComponent(const HostIdentifier& classId, IHostComponent* outer,
                               const HostIdentifier& interfaceId, void** out) override
    {
        note("factory.createComponent");
        static Client client;
        const std::shared_ptr<State> state = current();
        if (!state || outer || classId != kRestClientClassId || interfaceId != kRestClientInterfaceId)
            return kHostStatusNoClass;
        const FakeRestClient& fake = *state->owner;
        if (!fake.componentIsNull && (hostSucceeded(fake.componentStatus) || fake.componentDespiteFailure)) {
            *out = static_cast<IRestClient*>(&client);
            ++state->clientReferences;
        }
        return fake.componentStatus;
    }
};

HostStatus factoryEntry(const HostIdentifier& id, IHostComponentFactory** out)
{
    static Factory factory;
    note("getComponentFactory");
    const FakeRestClient& fake = *current()->owner;
    if (id != kHostComponentFactoryId)
        return kHostStatusNoClass;
    if (!fake.factoryIsNull && (hostSucceeded(fake.factoryStatus) || fake.factoryDespiteFailure)) {
        *out = &factory;
        ++current()->factoryReferences;
    }
    return fake.factoryStatus;
}

} // namespace

FakeAnswer::FakeAnswer(int status, const QByteArray& answerBody, const QString& text)
    : successStatus(status >= 200 && status < 300 ? kHostStatusOk : kHostStatusFailed)
    , statusCode(static_cast<quint16>(status))
    , body(answerBody)
    , message(text)
{
}

FakeRestClient::FakeRestClient()
    : m_state(std::make_shared<State>())
{
    m_state->owner = this;
    current() = m_state;
    StandInHost::setComponentFactoryEntry(&factoryEntry);
}

FakeRestClient::~FakeRestClient()
{
    StandInHost::setComponentFactoryEntry({});
    current().reset();
}

void FakeRestClient::answer(const QString& method, const QString& url, const FakeAnswer& answer)
{
    m_state->table.insert(qMakePair(method, url), answer);
}

void FakeRestClient::answer(const QString& method, const QString& url, int status, const QByteArray& body,
                            const QString& message)
{
    answer(method, url, FakeAnswer(status, body, message));
}

void FakeRestClient::setHandler(Handler handler)
{
    m_state->handler = std::move(handler);
}

QList<FakeRequest> FakeRestClient::requests() const
{
    return m_state->requests;
}

QStringList FakeRestClient::requestLines() const
{
    QStringList lines;
    for (const FakeRequest& request : qAsConst(m_state->requests))
        lines << QStringLiteral("%1 %2").arg(request.method, request.url);
    return lines;
}

FakeRequest FakeRestClient::lastRequest() const
{
    return m_state->requests.isEmpty() ? FakeRequest() : m_state->requests.last();
}

void FakeRestClient::clearRequests()
{
    m_state->requests.clear();
}

QStringList FakeRestClient::calls() const
{
    return m_state->calls;
}

void FakeRestClient::clearCalls()
{
    m_state->calls.clear();
}

int FakeRestClient::liveResponses() const
{
    return m_state->liveResponses;
}

int FakeRestClient::clientReferences() const
{
    return m_state->clientReferences;
}

int FakeRestClient::factoryReferences() const
{
    return m_state->factoryReferences;
}

} // namespace KRXTest
