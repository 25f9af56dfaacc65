#include "OtherUser.h"
#include "RawClient.h"
#include "http/Doorkeeper.h"
#include "http/HttpListener.h"
#include "http/Speaker.h"
#include "http/Usher.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

using namespace krxservice;

namespace {

/// A connection of this process to itself, or of a child to it.
class Pair
{
public:
    explicit Pair(int family = AF_INET)
        : m_listener(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_storage address{};
        address.ss_family = static_cast<sa_family_t>(family);
        if (family == AF_INET)
            reinterpret_cast<sockaddr_in*>(&address)->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        else
            reinterpret_cast<sockaddr_in6*>(&address)->sin6_addr = in6addr_loopback;
        socklen_t size = family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
        isOpen = ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
                 ::listen(m_listener, 8) == 0 &&
                 ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) == 0;
        port = isOpen ? ntohs(reinterpret_cast<sockaddr_in*>(&address)->sin_port) : 0;
    }
    ~Pair()
    {
        ::close(served);
        ::close(m_listener);
    }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    int accept() { return served = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC); }

    bool isOpen = false;
    int port = 0;
    int served = -1;

private:
    int m_listener;
};

} // namespace

/// Who is at the other end, and what is done about it.
class TestServiceSpeaker : public QObject
{
    Q_OBJECT

private slots:
    void ownUserIsFoundOut()
    {
        SpeakerFinder finder;
        QCOMPARE(finder.selfTest(), std::string());
        Pair four;
        const RawClient client = RawClient::toPort(four.port);
        const Speaker speaker = finder.of(four.accept());
        QVERIFY2(speaker.known, speaker.why.c_str());
        QCOMPARE(speaker.user, ::geteuid());
    }

    void ownUserIsFoundOutBySix()
    {
        Pair six(AF_INET6);
        if (!six.isOpen)
            QSKIP("this machine has no ::1");
        SpeakerFinder finder;
        const RawClient client = RawClient::toPortBySix(six.port);
        QVERIFY(finder.of(six.accept()).known);
    }

    // A client whose library makes every socket an IPv6 one reaches 127.0.0.1 as ::ffff:127.0.0.1.
    void mappedAddressesAreFoundOut()
    {
        SpeakerFinder finder;
        Pair four;
        const int socket = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in6 address{};
        address.sin6_family = AF_INET6;
        address.sin6_port = htons(static_cast<std::uint16_t>(four.port));
        ::inet_pton(AF_INET6, "::ffff:127.0.0.1", &address.sin6_addr);
        const bool reached = ::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        const bool known = reached && finder.of(four.accept()).known;
        ::close(socket);
        if (!reached)
            QSKIP("this machine has no IPv6");
        QVERIFY(known);
    }

    void halfClosedConnectionsAreFoundOut()
    {
        SpeakerFinder finder;
        Pair four;
        const RawClient client = RawClient::toPort(four.port);
        QVERIFY(client.send("x"));
        ::shutdown(client.descriptor(), SHUT_WR);
        QVERIFY(finder.of(four.accept()).known);
    }

    // The kernel gives user 0 for it, and 0 is root.
    void whoeverHasClosedAlreadyIsNotFoundOut()
    {
        SpeakerFinder finder;
        Pair four;
        {
            const RawClient client = RawClient::toPort(four.port);
            QVERIFY(client.send("GET / HTTP/1.1\r\n\r\n"));
        }
        const Speaker speaker = finder.of(four.accept());
        QVERIFY(!speaker.known);
        QVERIFY(!speaker.why.empty());
    }

    void whatIsNoConnectionIsNotFoundOut()
    {
        SpeakerFinder finder;
        QVERIFY(!finder.of(-1).known);
        const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        QVERIFY(!finder.of(socket).known);
        ::close(socket);
        QVERIFY(finder.selfTest().empty());
    }

    void unixPeersAreFoundOut()
    {
        int ends[2];
        QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        const Speaker speaker = SpeakerFinder().of(ends[0]);
        ::close(ends[0]);
        ::close(ends[1]);
        QVERIFY(speaker.known);
        QCOMPARE(speaker.user, ::geteuid());
    }

    // In a namespace without a map every user of the machine has the same number, that of nobody.
    void usersWithoutANumberAreNotFoundOut()
    {
        Pair four;
        const RawClient client = RawClient::toPort(four.port);
        const int served = four.accept();
        int ends[2];
        QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            if (::unshare(CLONE_NEWUSER) != 0)
                ::_exit(9);
            SpeakerFinder finder;
            ::_exit((finder.of(served).known ? 1 : 0) + (finder.of(ends[0]).known ? 2 : 0));
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        ::close(ends[0]);
        ::close(ends[1]);
        if (WEXITSTATUS(status) == 9)
            QSKIP("user namespaces are not allowed here");
        QCOMPARE(WEXITSTATUS(status), 0);
    }

    void strangersAreFoundOutAndRefused()
    {
        if (!OtherUser::isPossible())
            QSKIP("only root can act as somebody else");
        Pair four;
        const pid_t child = ::fork();
        if (child == 0) {
            if (::setresuid(OtherUser::kNumber, OtherUser::kNumber, OtherUser::kNumber) != 0)
                ::_exit(1);
            RawClient stranger = RawClient::toPort(four.port);
            ::_exit(stranger.toTheEnd().isEmpty() ? 0 : 2);
        }
        const int served = four.accept();
        const Speaker speaker = SpeakerFinder().of(served);
        Doorkeeper strict;
        Doorkeeper open({OtherUser::kNumber});
        const bool strictly = strict.lets(served, Doorkeeper::Kind::Port);
        const bool openly = open.lets(served, Doorkeeper::Kind::Port);
        const bool bySocket = open.lets(served, Doorkeeper::Kind::Socket);
        ::close(std::exchange(four.served, -1));
        int status = 0;
        ::waitpid(child, &status, 0);
        QVERIFY(speaker.known);
        QCOMPARE(speaker.user, OtherUser::kNumber);
        QVERIFY(!strictly);
        QVERIFY(openly);
        QVERIFY(!bySocket);
        QCOMPARE(strict.counts().strangers.load(), std::uint64_t(1));
    }

    // One line at once, then one for all that came in ten seconds.
    void refusalsAreToldOfInFewLines()
    {
        using std::chrono::seconds;
        Doorkeeper keeper;
        const std::chrono::steady_clock::time_point start{};
        const auto refuse = [&keeper](int times) {
            for (int i = 0; i < times; ++i)
                keeper.lets(-1, Doorkeeper::Kind::Port);
        };
        QVERIFY(keeper.takeReports(start).empty());
        refuse(1);
        const auto first = keeper.takeReports(start);
        QCOMPARE(first.size(), std::size_t(1));
        QCOMPARE(first[0].count, std::uint64_t(1));
        QVERIFY(!Doorkeeper::text(first[0]).empty());
        refuse(5000);
        QVERIFY(keeper.takeReports(start + seconds(9)).empty());
        const auto second = keeper.takeReports(start + seconds(10));
        QCOMPARE(second.size(), std::size_t(1));
        QCOMPARE(second[0].count, std::uint64_t(5000));
        QVERIFY(Doorkeeper::text(second[0]).find("5000") != std::string::npos);
        QVERIFY(keeper.takeReports(start + seconds(20)).empty());
        QCOMPARE(keeper.counts().unknown.load(), std::uint64_t(5001));
    }

    void reportsNameTheUser()
    {
        Doorkeeper::Report report;
        report.user = 0;
        report.count = 2;
        const std::string text = Doorkeeper::text(report);
        QVERIFY2(text.find("2 connections of user 0 (root)") != std::string::npos, text.c_str());
        report.user = OtherUser::kNumber;
        QVERIFY(Doorkeeper::text(report).find("user 54321") != std::string::npos);
    }

    // Everybody is told, however many they are, and few are kept meanwhile.
    void crowdsAreSentAwayWithinBounds()
    {
        constexpr std::size_t kCrowd = 1000;
        const auto openFiles = [] {
            return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System).size();
        };
        QVERIFY(RawClient::allowMany());
        const int before = openFiles();
        std::vector<std::array<int, 2>> pairs(kCrowd);
        for (auto& pair : pairs)
            QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
        const auto heard = [](int socket) {
            std::array<char, 64> words{};
            const ssize_t got = ::recv(socket, words.data(), words.size(), MSG_WAITALL);
            ::close(socket);
            return std::string(words.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        };
        Usher usher("not here\n");
        usher.start();
        for (std::size_t i = 0; i < kCrowd; ++i)
            usher.showOut(pairs[i][0]);
        const int held = openFiles() - before - static_cast<int>(kCrowd);
        QVERIFY2(held <= static_cast<int>(Usher::kMostAtOnce), qPrintable(QString::number(held)));
        for (const auto& pair : pairs)
            QCOMPARE(heard(pair[1]), std::string("not here\n"));
        usher.stop();
        QCOMPARE(openFiles(), before);
    }

    // The thread is not there, as it is not for whoever comes when it has its hands full: what was sent is
    // read all the same, whatever was left unread on this side or comes when it is closed already.
    void whoeverIsToldOnTheSpotReadsItWhateverHeSends()
    {
        Usher usher("not here\n");
        for (const bool before : {true, false}) {
            Pair four;
            RawClient client = RawClient::toPort(four.port);
            const QByteArray much(100000, 'x');
            QVERIFY(!before || client.send(much));
            four.accept();
            usher.showOut(std::exchange(four.served, -1));
            QVERIFY(before || client.send("GET / HTTP/1.1\r\n\r\n"));
            QCOMPARE(client.toTheEnd(), QByteArray("not here\n"));
        }
    }

    void requestsThatDoNotArriveInTimeAreRefused()
    {
        HttpTimes times;
        times.request = std::chrono::milliseconds(50);
        HttpListener listener(
            [](const RequestHead&, const Target&, const std::string&) { return HttpAnswer(); }, {}, times);
        std::string error;
        bool inUse = false;
        const int port = listener.bind(0, error, inUse);
        QVERIFY2(port > 0, error.c_str());
        listener.start();
        for (const char* part :
             {"GET /KRXService/x HTTP/1.1\r\nHost: loc",
              "POST /KRXService/x HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\n"
              "Content-Length: 9\r\n\r\n<x>"}) {
            RawClient client = RawClient::toPort(port);
            QVERIFY(client.send(part));
            const QByteArray answer = client.toTheEnd();
            QCOMPARE(RawClient::status(answer), 408);
            QVERIFY(answer.endsWith("the request did not arrive in time\n"));
        }
        // One that rests has more time than that.
        RawClient resting = RawClient::toPort(port);
        QVERIFY(resting.send(RawClient::get("x")) && RawClient::status(resting.answer()) == 200);
        QVERIFY(resting.send(RawClient::get("x")) && RawClient::status(resting.answer()) == 200);
        listener.stop();
    }

    // More waiting requests than there are threads: they are answered in the end, and others meanwhile.
    void requestsThatWaitCostNoThread()
    {
        constexpr std::size_t kWaiting = 50;
        std::mutex mutex;
        std::condition_variable all;
        std::vector<HttpAnswer::Sender> senders;
        HttpListener listener([&](const RequestHead&, const Target& target, const std::string&) {
            HttpAnswer answer;
            if (target.segments.front() == "later") {
                answer.later = [&](HttpAnswer::Sender sender) {
                    const std::lock_guard lock(mutex);
                    senders.push_back(std::move(sender));
                    all.notify_one();
                };
            }
            return answer;
        });
        std::string error;
        bool inUse = false;
        const int port = listener.bind(0, error, inUse);
        QVERIFY2(port != 0, error.c_str());
        listener.start();
        std::vector<RawClient> clients;
        for (std::size_t i = 0; i < kWaiting; ++i) {
            clients.push_back(RawClient::toPort(port));
            QVERIFY(clients.back().send(RawClient::get("later")));
        }
        {
            std::unique_lock lock(mutex);
            QVERIFY(all.wait_for(lock, std::chrono::seconds(30), [&] { return senders.size() == kWaiting; }));
        }
        RawClient other = RawClient::toPort(port);
        QVERIFY(other.send(RawClient::get("now")));
        QCOMPARE(RawClient::status(other.answer()), 200);
        clients.front().close(); // whoever leaves is not missed
        for (const auto& sender : senders)
            sender(HttpAnswer::refused({409, "at last"}));
        for (std::size_t i = 1; i < kWaiting; ++i)
            QCOMPARE(RawClient::status(clients[i].answer()), 409);
        // The connection goes on.
        QVERIFY(clients.back().send(RawClient::get("now")));
        QCOMPARE(RawClient::status(clients.back().answer()), 200);
        QVERIFY(clients.back().send(RawClient::get("later")));
        {
            std::unique_lock lock(mutex);
            QVERIFY(all.wait_for(lock, std::chrono::seconds(30), [&] { return senders.size() > kWaiting; }));
        }
        listener.stop();
        QCOMPARE(clients.back().toTheEnd(), QByteArray());
        senders.back()(HttpAnswer()); // too late, and no harm
    }
};

QTEST_GUILESS_MAIN(TestServiceSpeaker)
#include "test_service_speaker.moc"
