#include "HostComponentFactory.h"
#include "RestAnswer.h"
#include "RestClient.h"
#include "StandInHost.h"
#include "TestHttpServer.h"

#include <QTest>

#include <cstdint>
#include <stdexcept>

using Reply = TestHttpServer::Reply;

namespace {

/// Calls the function in \a slot of the table of \a object, whatever any header says.
template <typename Result, typename... Arguments>
Result callSlot(void* object, int slot, Arguments... arguments)
{
    using Function = Result (*)(void*, Arguments...);
    // It is the first word of every such object. NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign)
    void* const* const table = *static_cast<void***>(object);
    return reinterpret_cast<Function>(table[slot])(object, arguments...);
}

bool succeeds(HostStatus status)
{
    return status >= 0;
}

constexpr const char16_t* kUrl = u"http://localhost:58885/x";
constexpr const char16_t* kMissingUrl = u"http://localhost:58885/missing";

/// What is wrong with slots 0 to 2. The object must be alive for other reasons.
QStringList countingFaults(void* object, const HostIdentifier& interfaceId)
{
    QStringList faults;
    const auto more = callSlot<std::uint32_t>(object, 1);
    const auto fewer = callSlot<std::uint32_t>(object, 2);
    if (fewer + 1 != more)
        faults << QStringLiteral("slot 1 or 2 does not count");
    void* same = nullptr;
    if (!succeeds(callSlot<HostStatus, const HostIdentifier*, void**>(object, 0, &interfaceId, &same)) ||
        same != object)
        faults << QStringLiteral("slot 0 does not yield the interface");
    else
        callSlot<std::uint32_t>(same, 2);
    return faults;
}

QStringList factoryFaults(void* factory)
{
    QStringList faults;
    void* client = nullptr;
    const auto status = callSlot<HostStatus, const HostIdentifier*, void*, const HostIdentifier*, void**>(
        factory, 3, &kRestClientClassId, nullptr, &kRestClientInterfaceId, &client);
    if (!succeeds(status) || client == nullptr)
        faults << QStringLiteral("slot 3 does not create the REST client");
    else
        callSlot<std::uint32_t>(client, 2);
    return faults;
}

/// What is wrong with the request slots of a client.
QStringList clientFaults(void* client)
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    QStringList faults;
    const auto check = [&](int slot, const QByteArray& method, const QByteArray& body, HostStatus status,
                           void* response) {
        if (!succeeds(status) || response == nullptr) {
            faults << QStringLiteral("slot %1 yields no response").arg(slot);
            return;
        }
        callSlot<HostStatus, std::uint32_t>(response, 7, 20000);
        callSlot<std::uint32_t>(response, 2);
        if (server.lastRequest().method != method || server.lastRequest().body != body)
            faults << QStringLiteral("slot %1 does not send %2").arg(slot).arg(QString::fromLatin1(method));
    };
    for (const auto& row : {QPair<int, const char*>(3, "GET"), QPair<int, const char*>(8, "DELETE")}) {
        void* response = nullptr;
        const auto status = callSlot<HostStatus, const char16_t*, void**>(client, row.first, kUrl, &response);
        check(row.first, row.second, {}, status, response);
    }
    for (const auto& row : {QPair<int, const char*>(4, "POST"), QPair<int, const char*>(6, "PUT")}) {
        void* response = nullptr;
        // One byte fewer than there are: the length counts, not a terminating zero.
        const auto status = callSlot<HostStatus, const char16_t*, void**, const char*, std::uint32_t>(
            client, row.first, kUrl, &response, "<a/>?", 4);
        check(row.first, row.second, "<a/>", status, response);
    }
    return faults;
}

/// What is wrong with the slots of a response: \a held is to an exchange that \a server holds back and then
/// answers with 201 and the body "<body/>", \a failed is to a finished one that was refused with 404 and the
/// text "Nothing here".
QStringList responseFaults(void* held, void* failed, TestHttpServer& server)
{
    QStringList faults;
    const auto expect = [&](bool right, const char* fault) {
        if (!right)
            faults << QString::fromLatin1(fault);
    };
    expect(!succeeds(callSlot<HostStatus>(held, 8)), "slot 8 calls an open exchange complete");
    expect(!succeeds(callSlot<HostStatus, std::uint32_t>(held, 7, 1)), "slot 7 does not wait");
    server.release();
    expect(succeeds(callSlot<HostStatus, std::uint32_t>(held, 7, 20000)), "slot 7 does not see the end");
    expect(succeeds(callSlot<HostStatus>(held, 8)), "slot 8 does not see the end");
    expect(succeeds(callSlot<HostStatus>(held, 10)), "slot 10 does not see the success");
    std::int64_t length = -1;
    expect(succeeds(callSlot<HostStatus, std::int64_t*>(held, 13, &length)) && length == 7,
           "slot 13 is not the length");
    // Room for what a wrong slot might write.
    std::uint16_t code[4] = {};
    expect(succeeds(callSlot<HostStatus, std::uint16_t*>(held, 17, code)) && code[0] == 201,
           "slot 17 is not the status code");
    char body[16] = {};
    std::uint64_t read = 0;
    expect(succeeds(callSlot<HostStatus, void*, std::uint64_t, std::uint64_t*>(held, 18, body, 16, &read)) &&
               read == 7 && QByteArray(body) == "<body/>",
           "slot 18 does not read the body");
    expect(succeeds(callSlot<HostStatus>(failed, 8)), "slot 8 does not see the end of a refused exchange");
    expect(!succeeds(callSlot<HostStatus>(failed, 10)), "slot 10 calls a refusal a success");
    const char16_t* message = nullptr;
    expect(succeeds(callSlot<HostStatus, const char16_t**>(failed, 19, &message)) && message != nullptr &&
               QString::fromUtf16(message) == QStringLiteral("Nothing here"),
           "slot 19 is not the message");
    return faults;
}

/// Unused slots answer with failure.
QStringList reservedFaults(void* object, const QList<int>& reserved)
{
    QStringList faults;
    for (const int slot : reserved) {
        if (succeeds(callSlot<HostStatus>(object, slot)))
            faults << QStringLiteral("slot %1 is in use").arg(slot);
    }
    return faults;
}

/// Reference counting of the swapped classes, which live on the stack.
template <typename Interface>
class Counted : public Interface
{
public:
    HostStatus queryInterface(const HostIdentifier&, void** out) override
    {
        *out = this;
        return kHostStatusOk;
    }
    std::uint32_t addReference() override { return ++m_references; }
    std::uint32_t release() override { return --m_references; }

protected:
    ~Counted() = default;

private:
    std::uint32_t m_references = 1;
};

/// A client whose slots 3 and 8, 4 and 6 have changed places.
class SwappedClient final : public Counted<IRestClient>
{
public:
    HostStatus get(const char16_t* url, IRestResponse** response) override
    {
        return RestTest::client().deleteResource(url, response);
    }
    HostStatus post(const char16_t* url, IRestResponse** response, const char* body,
                    std::uint32_t length) override
    {
        return RestTest::client().put(url, response, body, length);
    }
    HostStatus reserved5() override { return kHostStatusFailed; }
    HostStatus put(const char16_t* url, IRestResponse** response, const char* body,
                   std::uint32_t length) override
    {
        return RestTest::client().post(url, response, body, length);
    }
    HostStatus reserved7() override { return kHostStatusFailed; }
    HostStatus deleteResource(const char16_t* url, IRestResponse** response) override
    {
        return RestTest::client().get(url, response);
    }
};

/// A response some of whose functions have changed places: 8 and 10, 13 and 17, 18 and 19. Those that take
/// other arguments than their neighbours leave them alone.
class SwappedResponse final
{
public:
    explicit SwappedResponse(IRestResponse& response)
        : m_response(response)
    {
    }
    virtual HostStatus queryInterface(const HostIdentifier&, void**) { return kHostStatusNoInterface; }
    virtual std::uint32_t addReference() { return 1; }
    virtual std::uint32_t release() { return 1; }
    virtual HostStatus reserved3() { return kHostStatusFailed; }
    virtual HostStatus reserved4() { return kHostStatusFailed; }
    virtual HostStatus reserved5() { return kHostStatusFailed; }
    virtual HostStatus reserved6() { return kHostStatusFailed; }
    virtual HostStatus waitForCompletion(std::uint32_t timeout)
    {
        return m_response.waitForCompletion(timeout);
    }
    virtual HostStatus isSuccess() { return m_response.isSuccess(); }
    virtual HostStatus reserved9() { return kHostStatusFailed; }
    virtual HostStatus isComplete() { return m_response.isComplete(); }
    virtual HostStatus reserved11() { return kHostStatusFailed; }
    virtual HostStatus reserved12() { return kHostStatusFailed; }
    virtual HostStatus getStatusCode(std::uint16_t* code) { return m_response.getStatusCode(code); }
    virtual HostStatus reserved14() { return kHostStatusFailed; }
    virtual HostStatus reserved15() { return kHostStatusFailed; }
    virtual HostStatus reserved16() { return kHostStatusFailed; }
    virtual HostStatus getContentLength(std::int64_t* length) { return m_response.getContentLength(length); }
    virtual HostStatus getErrorMessage(const char16_t**) { return kHostStatusFailed; }
    virtual HostStatus readContent(const char16_t**) { return kHostStatusOk; }

private:
    IRestResponse& m_response;
};

/// A factory whose createComponent() stands one slot too high.
class ShiftedFactory final
{
public:
    virtual HostStatus queryInterface(const HostIdentifier&, void**) { return kHostStatusNoInterface; }
    virtual std::uint32_t addReference() { return 1; }
    virtual std::uint32_t release() { return 1; }
    virtual HostStatus lockFactory() { return kHostStatusFailed; }
    virtual HostStatus createComponent(const HostIdentifier&, IHostComponent*, const HostIdentifier&,
                                       void** out)
    {
        *out = &RestTest::client();
        return kHostStatusOk;
    }
};

/// Counts down where it should count up.
class SwappedCounter final
{
public:
    virtual HostStatus queryInterface(const HostIdentifier&, void**) { return kHostStatusNoInterface; }
    virtual std::uint32_t release() { return --m_references; }
    virtual std::uint32_t addReference() { return ++m_references; }

private:
    std::uint32_t m_references = 5;
};

/// The two responses that \ref responseFaults looks at.
struct TwoResponses
{
    TwoResponses()
        : connect(server.port())
    {
        server.setReply("GET", "/x", Reply::xml("<body/>", 201).heldBack());
        server.setReply("GET", "/missing", Reply::text(404, "Nothing here"));
        RestTest::client().get(kUrl, &held);
        RestTest::client().get(kMissingUrl, &failed);
        failed->waitForCompletion(20000);
    }
    ~TwoResponses()
    {
        held->release();
        failed->release();
    }
    TwoResponses(const TwoResponses&) = delete;
    TwoResponses& operator=(const TwoResponses&) = delete;

    TestHttpServer server;
    ScopedConnectPort connect;
    IRestResponse* held = nullptr;
    IRestResponse* failed = nullptr;
};

IHostComponentFactory* standInFactory()
{
    IHostComponentFactory* factory = nullptr;
    return succeeds(getComponentFactory(kHostComponentFactoryId, &factory)) ? factory : nullptr;
}

} // namespace

/// The tables of functions by which a host and the module meet, called by their positions.
class TestComponentSlots : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { StandInHost::setComponentFactoryEntry({}); }

    void factoryCreatesInSlot3();
    void clientSendsInSlots3And4And6And8();
    void responseAnswersInItsSlots();
    void countingStandsInSlots0To2();
    void unusedSlotsFail();
    void responseCountsItsReferences();

    void swappedClientIsFound();
    void swappedResponseIsFound();
    void shiftedFactoryIsFound();
    void swappedCountingIsFound();

    void identifiersAreAskedForExactly();
    void nothingCanBeAggregated();
    void missingPlacesForResultsFail();
    void clientOutlivesItsReferences();
    void factoryEntryCanBeReplaced();
    void throwingFactoryEntryIsAFailure();
};

void TestComponentSlots::factoryCreatesInSlot3()
{
    QCOMPARE(factoryFaults(standInFactory()), QStringList());
}

void TestComponentSlots::clientSendsInSlots3And4And6And8()
{
    QCOMPARE(clientFaults(&RestTest::client()), QStringList());
}

void TestComponentSlots::responseAnswersInItsSlots()
{
    TwoResponses responses;
    QCOMPARE(responseFaults(responses.held, responses.failed, responses.server), QStringList());
}

void TestComponentSlots::countingStandsInSlots0To2()
{
    QCOMPARE(countingFaults(&RestTest::client(), kRestClientInterfaceId), QStringList());
    IHostComponentFactory* factory = standInFactory();
    QCOMPARE(countingFaults(factory, kHostComponentFactoryId), QStringList());
    factory->release();
}

void TestComponentSlots::unusedSlotsFail()
{
    QCOMPARE(reservedFaults(&RestTest::client(), {5, 7}), QStringList());
    TwoResponses responses;
    QCOMPARE(reservedFaults(responses.failed, {3, 4, 5, 6, 9, 11, 12, 14, 15, 16}), QStringList());
}

void TestComponentSlots::responseCountsItsReferences()
{
    TwoResponses responses;
    void* response = responses.failed;
    QCOMPARE(callSlot<std::uint32_t>(response, 1), 2u);
    QCOMPARE(callSlot<std::uint32_t>(response, 1), 3u);
    QCOMPARE(callSlot<std::uint32_t>(response, 2), 2u);
    QCOMPARE(callSlot<std::uint32_t>(response, 2), 1u);
    void* other = response;
    QCOMPARE(
        (callSlot<HostStatus, const HostIdentifier*, void**>(response, 0, &kRestClientInterfaceId, &other)),
        kHostStatusNoInterface);
    QVERIFY(other == nullptr);
}

void TestComponentSlots::swappedClientIsFound()
{
    SwappedClient client;
    QCOMPARE(clientFaults(&client),
             QStringList(
                 {QStringLiteral("slot 3 does not send GET"), QStringLiteral("slot 8 does not send DELETE"),
                  QStringLiteral("slot 4 does not send POST"), QStringLiteral("slot 6 does not send PUT")}));
}

void TestComponentSlots::swappedResponseIsFound()
{
    TwoResponses responses;
    SwappedResponse held(*responses.held);
    SwappedResponse failed(*responses.failed);
    const QStringList faults = responseFaults(&held, &failed, responses.server);
    const QStringList expected = {QStringLiteral("slot 13 is not the length"),
                                  QStringLiteral("slot 17 is not the status code"),
                                  QStringLiteral("slot 18 does not read the body"),
                                  QStringLiteral("slot 8 does not see the end of a refused exchange"),
                                  QStringLiteral("slot 10 calls a refusal a success"),
                                  QStringLiteral("slot 19 is not the message")};
    QCOMPARE(faults, expected);
}

void TestComponentSlots::shiftedFactoryIsFound()
{
    ShiftedFactory factory;
    QCOMPARE(factoryFaults(&factory),
             QStringList({QStringLiteral("slot 3 does not create the REST client")}));
}

void TestComponentSlots::swappedCountingIsFound()
{
    SwappedCounter counter;
    QCOMPARE(countingFaults(&counter, kRestClientInterfaceId),
             QStringList({QStringLiteral("slot 1 or 2 does not count"),
                          QStringLiteral("slot 0 does not yield the interface")}));
}

void TestComponentSlots::identifiersAreAskedForExactly()
{
    HostIdentifier other = kHostComponentFactoryId;
    ++other.bytes[7];
    IHostComponentFactory* factory = standInFactory();
    IHostComponentFactory* none = factory;
    QCOMPARE(getComponentFactory(other, &none), kHostStatusNoClass);
    QVERIFY(none == nullptr);
    void* client = factory;
    other = kRestClientClassId;
    ++other.part1;
    QCOMPARE(factory->createComponent(other, nullptr, kRestClientInterfaceId, &client), kHostStatusNoClass);
    QVERIFY(client == nullptr);
    client = factory;
    other = kRestClientInterfaceId;
    ++other.part3;
    QCOMPARE(factory->createComponent(kRestClientClassId, nullptr, other, &client), kHostStatusNoInterface);
    QVERIFY(client == nullptr);
    factory->release();
}

void TestComponentSlots::nothingCanBeAggregated()
{
    IHostComponentFactory* factory = standInFactory();
    void* client = factory;
    QVERIFY(
        !succeeds(factory->createComponent(kRestClientClassId, factory, kRestClientInterfaceId, &client)));
    QVERIFY(client == nullptr);
    factory->release();
}

void TestComponentSlots::missingPlacesForResultsFail()
{
    QCOMPARE(getComponentFactory(kHostComponentFactoryId, nullptr), kHostStatusInvalidPointer);
    IHostComponentFactory* factory = standInFactory();
    QCOMPARE(factory->createComponent(kRestClientClassId, nullptr, kRestClientInterfaceId, nullptr),
             kHostStatusInvalidPointer);
    QCOMPARE(factory->queryInterface(kHostComponentFactoryId, nullptr), kHostStatusInvalidPointer);
    QCOMPARE(RestTest::client().queryInterface(kRestClientInterfaceId, nullptr), kHostStatusInvalidPointer);
    factory->release();
}

void TestComponentSlots::clientOutlivesItsReferences()
{
    IHostComponentFactory* factory = standInFactory();
    void* first = nullptr;
    void* second = nullptr;
    QCOMPARE(factory->createComponent(kRestClientClassId, nullptr, kRestClientInterfaceId, &first),
             kHostStatusOk);
    QCOMPARE(factory->createComponent(kRestClientClassId, nullptr, kRestClientInterfaceId, &second),
             kHostStatusOk);
    QCOMPARE(first, second);
    // More releases than references, as copies of one manager make them.
    auto* client = static_cast<IRestClient*>(first);
    for (int i = 0; i < 10; ++i)
        client->release();
    QCOMPARE(client->release(), std::uint32_t(0));
    QCOMPARE(client->addReference(), std::uint32_t(1));
    QCOMPARE(clientFaults(client), QStringList());
    factory->release();
}

void TestComponentSlots::factoryEntryCanBeReplaced()
{
    StandInHost::setComponentFactoryEntry([](const HostIdentifier& id, IHostComponentFactory** out) {
        *out = nullptr;
        return id == kHostComponentFactoryId ? HostStatus(7) : kHostStatusFailed;
    });
    IHostComponentFactory* factory = nullptr;
    QCOMPARE(getComponentFactory(kHostComponentFactoryId, &factory), HostStatus(7));
    QVERIFY(factory == nullptr);
    StandInHost::setComponentFactoryEntry({});
    QVERIFY(standInFactory() != nullptr);
}

void TestComponentSlots::throwingFactoryEntryIsAFailure()
{
    StandInHost::setComponentFactoryEntry(
        [](const HostIdentifier&, IHostComponentFactory**) -> HostStatus { throw std::runtime_error("no"); });
    IHostComponentFactory* factory = nullptr;
    QCOMPARE(getComponentFactory(kHostComponentFactoryId, &factory), kHostStatusFailed);
    QVERIFY(factory == nullptr);
}

QTEST_GUILESS_MAIN(TestComponentSlots)
#include "test_component_slots.moc"
