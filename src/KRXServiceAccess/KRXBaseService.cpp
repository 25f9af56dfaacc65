#include "KRXBaseService.h"

#include "KRXComponentError.h"
#include "KRXServiceAddress.h"
#include "KRXText.h"
#include "KRXXml.h"
#include "RestClient.h"

#include <QLoggingCategory>
#include <QScopedValueRollback>

#include <algorithm>
#include <cstdint>

namespace {

Q_LOGGING_CATEGORY(logService, "krx.service")

/// How long an answer may take once the request is under way, in milliseconds.
constexpr std::uint32_t kCompletionTimeout = 3000;
/// A longer body counts as one that cannot be sized.
constexpr std::int64_t kMaxBodyLength = std::int64_t{256} * 1024 * 1024;

// What the user is told when the REST client itself refuses a request, by method.
constexpr char kGetFailed[] = QT_TRID_NOOP("REST client reported that GET method failed");
constexpr char kPostFailed[] = QT_TRID_NOOP("REST client reported that POST method failed");
constexpr char kPutFailed[] = QT_TRID_NOOP("REST client reported that PUT method failed");
constexpr char kDeleteFailed[] = QT_TRID_NOOP("REST client reported that DELETE method failed");

const char16_t* utf16(const QString& text)
{
    return reinterpret_cast<const char16_t*>(text.utf16());
}

/// Releases the response of one exchange however the exchange ends.
class ResponseHolder
{
public:
    ResponseHolder() = default;
    ~ResponseHolder()
    {
        if (response)
            response->release();
    }
    ResponseHolder(const ResponseHolder&) = delete;
    ResponseHolder& operator=(const ResponseHolder&) = delete;

    IRestResponse* response = nullptr;
};

/// The body, or nothing when it cannot be sized or read: the service did succeed.
QByteArray readBody(IRestResponse& response)
{
    std::int64_t length = 0;
    if (!hostSucceeded(response.getContentLength(&length)) || length <= 0 || length > kMaxBodyLength)
        return {};
    QByteArray body(static_cast<int>(length), Qt::Uninitialized);
    std::uint64_t bytesRead = 0;
    if (!hostSucceeded(response.readContent(body.data(), static_cast<std::uint64_t>(length), &bytesRead)))
        return {};
    // A component that miscounts must not make us read beyond the buffer.
    body.truncate(static_cast<int>(std::min(bytesRead, static_cast<std::uint64_t>(length))));
    return body;
}

} // namespace

KRXBaseService::KRXBaseService(Acquisition acquisition)
    : m_host(QStringLiteral(KRX_SERVICE_HOST))
    , m_port(QStringLiteral(KRX_SERVICE_PORT))
{
    if (acquisition == Acquisition::Now)
        ensureRestClient();
}

KRXBaseService::~KRXBaseService()
{
    if (m_restClient)
        m_restClient->release();
    m_restClient = nullptr;
}

bool KRXBaseService::ensureRestClient()
{
    if (m_restClient)
        return true;
    IHostComponentFactory* factory = nullptr;
    const HostStatus found = getComponentFactory(kHostComponentFactoryId, &factory);
    if (!hostSucceeded(found)) {
        m_lastError = KRXText::localised("OPH Component Factory not found");
        if (factory)
            factory->release();
        return false;
    }
    if (!factory)
        throw KRXComponentError(kHostStatusInvalidPointer);
    void* component = nullptr;
    const HostStatus created =
        factory->createComponent(kRestClientClassId, nullptr, kRestClientInterfaceId, &component);
    factory->release();
    if (!hostSucceeded(created) || !component) {
        m_lastError = KRXText::localised("OPH REST client not found");
        return false;
    }
    m_restClient = static_cast<IRestClient*>(component);
    return true;
}

bool KRXBaseService::acquireQuietly()
{
    try {
        return ensureRestClient();
    } catch (const KRXComponentError& error) {
        qCCritical(logService, "No REST client: %s (status 0x%08x)", error.what(),
                   static_cast<unsigned>(error.status()));
        m_lastError = KRXText::localised("OPH Component Factory not found");
        return false;
    }
}

QString KRXBaseService::buildUrl() const
{
    // One after another: what one brings may take the next.
    const QString url = QStringLiteral("http://%1:%2/%3");
    return url.arg(m_host).arg(m_port).arg(m_resourcePath); // clazy:exclude=qstring-arg
}

template <class Call>
bool KRXBaseService::callClient(const char* failureKey, Call call)
{
    if (!ensureRestClient())
        return false;
    // A refused call still counts as made: its answer, which is missing, is what fails the request.
    if (!hostSucceeded(call(*m_restClient)))
        m_lastError = KRXText::localised(failureKey);
    return true;
}

bool KRXBaseService::restGet(const QString& url, IRestResponse*& response)
{
    return callClient(kGetFailed, [&](IRestClient& client) { return client.get(utf16(url), &response); });
}

bool KRXBaseService::restPost(const QString& url, const QString& body, IRestResponse*& response)
{
    return callClient(kPostFailed, [&](IRestClient& client) {
        const QByteArray bytes = body.toUtf8();
        return client.post(utf16(url), &response, bytes.constData(),
                           static_cast<std::uint32_t>(bytes.size()));
    });
}

bool KRXBaseService::restPut(const QString& url, const QString& body, IRestResponse*& response)
{
    return callClient(kPutFailed, [&](IRestClient& client) {
        const QByteArray bytes = body.toUtf8();
        return client.put(utf16(url), &response, bytes.constData(), static_cast<std::uint32_t>(bytes.size()));
    });
}

bool KRXBaseService::restDelete(const QString& url, IRestResponse*& response)
{
    return callClient(kDeleteFailed,
                      [&](IRestClient& client) { return client.deleteResource(utf16(url), &response); });
}

bool KRXBaseService::keepErrorMessage(IRestResponse* response)
{
    const char16_t* message = nullptr;
    if (!hostSucceeded(response->getErrorMessage(&message)) || !message)
        return false;
    m_lastError = QString::fromUtf16(message);
    return true;
}

bool KRXBaseService::waitUntilComplete(IRestResponse* response)
{
    if (hostSucceeded(response->isComplete()))
        return true;
    if (hostSucceeded(response->waitForCompletion(kCompletionTimeout)))
        return true;
    keepErrorMessage(response);
    return false;
}

bool KRXBaseService::receive(IRestResponse* response, QByteArray* body)
{
    if (!response)
        return false;
    if (!waitUntilComplete(response) || !hostSucceeded(response->isComplete()))
        return false;
    if (hostSucceeded(response->isSuccess())) {
        if (body)
            *body = readBody(*response);
        return true;
    }
    keepErrorMessage(response);
    // The whole field is asked, not what this response said: an older text is better than a bare number.
    if (m_lastError.isEmpty()) {
        std::uint16_t code = 0;
        response->getStatusCode(&code);
        m_lastError = KRXText::localised("Unknown error: Service response HTTP code %1").arg(code);
    }
    return false;
}

bool KRXBaseService::checkResponse(IRestResponse* response, QString* body)
{
    QByteArray bytes;
    if (!receive(response, body ? &bytes : nullptr))
        return false;
    if (body) {
        // By its size, because the text may hold a NUL.
        const int size = bytes.size();
        *body = size > 0 ? QString::fromUtf8(bytes.constData(), size) : QString();
    }
    return true;
}

template <class Send>
bool KRXBaseService::exchange(Send send, QByteArray* body)
{
    if (!acquireQuietly())
        return false;
    ResponseHolder holder;
    return send(holder.response) && receive(holder.response, body);
}

bool KRXBaseService::exchangeGet(const QString& url, QByteArray* body)
{
    return exchange([&](IRestResponse*& response) { return restGet(url, response); }, body);
}

bool KRXBaseService::exchangePost(const QString& url, const QString& content, QByteArray* body)
{
    return exchange([&](IRestResponse*& response) { return restPost(url, content, response); }, body);
}

bool KRXBaseService::exchangePut(const QString& url, const QString& content, QByteArray* body)
{
    return exchange([&](IRestResponse*& response) { return restPut(url, content, response); }, body);
}

bool KRXBaseService::exchangeDelete(const QString& url)
{
    return exchange([&](IRestResponse*& response) { return restDelete(url, response); }, nullptr);
}

void KRXBaseService::sendPost(const QString& url, const QString& content)
{
    const QScopedValueRollback<QString> quiet(m_lastError);
    if (!acquireQuietly())
        return;
    ResponseHolder holder;
    restPost(url, content, holder.response);
}

bool KRXBaseService::fetchDocument(const QString& url, QDomDocument& document, Unreadable unreadable)
{
    QByteArray body;
    return exchangeGet(url, &body) && parseAnswer(body, document, unreadable);
}

bool KRXBaseService::parseAnswer(const QByteArray& body, QDomDocument& document, Unreadable unreadable)
{
    return KRXXml::parse(body, document) || (unreadable == Unreadable::Report && reportUnreadable());
}

bool KRXBaseService::parseAnswerEach(const QByteArray& body, const QString& name,
                                     const std::function<void(const QDomElement&)>& visit)
{
    return KRXXml::parseEach(body, name, visit) || reportUnreadable();
}

bool KRXBaseService::reportUnreadable()
{
    m_lastError = KRXText::localised("The answer of the service could not be read");
    return false;
}

bool KRXBaseService::canSend(std::initializer_list<QString> texts)
{
    if (std::all_of(texts.begin(), texts.end(), &KRXXml::canCarry))
        return true;
    m_lastError = KRXText::localised("The name or path holds characters that cannot be stored");
    return false;
}
