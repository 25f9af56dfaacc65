#include "Bench.h"

#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "TestHttpServer.h"

#include <QDir>
#include <QDomDocument>
#include <QElapsedTimer>

#include <malloc.h>
#include <sched.h>

#include <algorithm>
#include <vector>

namespace KRXBench {

namespace {

const QByteArray kFolders = "/KRXService/xelmediafolders";
const QByteArray kProfiles = "/KRXService/profiles";

void require(bool held, const char* what)
{
    if (!held)
        qFatal("the measure means nothing: %s", what);
}

void parse(const QByteArray& body, bool andPrint = false)
{
    QDomDocument document;
    require(document.setContent(body), "the floor's document is XML");
    if (andPrint)
        require(!document.toString(1).isEmpty(), "the floor prints its document");
}

/// Has all threads of this process share one processor: what waking another processor up costs turns with the
/// machine and is none of either side's.
class OnOneProcessor
{
public:
    OnOneProcessor()
    {
        sched_getaffinity(0, sizeof m_before, &m_before);
        cpu_set_t one;
        CPU_ZERO(&one);
        int processor = 0;
        while (!CPU_ISSET(processor, &m_before))
            ++processor;
        CPU_SET(processor, &one);
        bind(one);
    }
    ~OnOneProcessor() { bind(m_before); }
    OnOneProcessor(const OnOneProcessor&) = delete;
    OnOneProcessor& operator=(const OnOneProcessor&) = delete;

private:
    static void bind(const cpu_set_t& processors)
    {
        const QDir tasks(QStringLiteral("/proc/self/task"));
        for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            sched_setaffinity(task.toInt(), sizeof processors, &processors);
    }

    cpu_set_t m_before;
};

/// Medians of \a runs pairs, each side first in every other one. The floor is the one that the median of the
/// pairs' ratios gives, so that what befalls the machine between two pairs turns nothing.
struct SteadyPair : Pair
{
    SteadyPair(int runs, const std::function<void()>& ours, const std::function<void()>& floor)
    {
        const auto once = [](const std::function<void()>& work) {
            QElapsedTimer timer;
            timer.start();
            work();
            return double(timer.nsecsElapsed()) / 1e6;
        };
        ours();
        floor();
        const OnOneProcessor bound;
        std::vector<double> times;
        for (int i = 0; i < runs; ++i) {
            const double floorFirst = i % 2 == 0 ? once(floor) : 0;
            times.push_back(once(ours));
            ratios.push_back(times.back() / (i % 2 == 0 ? floorFirst : once(floor)));
        }
        std::sort(times.begin(), times.end());
        std::sort(ratios.begin(), ratios.end());
        this->ours = times[times.size() / 2];
        this->floor = this->ours / ratios[ratios.size() / 2];
    }

    std::vector<double> ratios;
};

void measureFolderRefresh(Table& table, TestHttpServer& server)
{
    const QString work = QStringLiteral("refreshFolders(true), two outputs each");
    PlainHttp plain;
    KRXFolderManager& manager = KRXFolderManager::getInstance();
    for (int n : {1000, 10000, 100000}) {
        const QByteArray target = kFolders + "?level=detail";
        server.setReply("GET", target, 200, folderListDocument(n));
        const Pair time = medianPairMs(
            n == 100000 ? 3 : 7,
            [&] {
                require(manager.refreshFolders(true) && manager.countFolders() == n, "all folders arrived");
            },
            [&] { parse(plain.get(server.port(), target)); });
        Row& row = table.add(work, n, time.ours, time.floor);
        const double ratio = row.ours / row.floor;
        if (n == 10000) {
            row.must = QStringLiteral("ratio <= 1.8");
            row.met = ratio <= 1.8;
        } else if (n == 100000) {
            row.must = QStringLiteral("ratio <= 2.2, growth <= 1.3 x floor's");
            row.met = ratio <= 2.2 && row.growth <= 1.3 * table.floorGrowth(work);
        }
    }
}

void measureFolderWalk(Table& table)
{
    const QString work = QStringLiteral("getFolder(index) over all folders");
    KRXFolderManager& manager = KRXFolderManager::getInstance();
    const int count = manager.countFolders();
    require(count == 100000, "100,000 folders are cached");
    for (int n : {10000, 100000}) {
        const double time = medianMs(5, [&] {
            for (int i = 0; i < n; ++i)
                require(manager.getFolder(i) != nullptr, "every position has a folder");
        });
        Row& row = table.add(work, n, time, 0);
        if (n == 100000) {
            row.must = QStringLiteral("linear (growth <= 15)");
            row.met = row.growth <= 15;
        }
    }
}

void measureFolderMemory(Table& table, TestHttpServer& server)
{
    KRXFolderManager& manager = KRXFolderManager::getInstance();
    const auto resident = [&](int n) {
        server.setReply("GET", kFolders + "?level=detail", 200, folderListDocument(n));
        require(manager.refreshFolders(true) && manager.countFolders() == n, "all folders arrived");
        // The document that the server in this process holds is none of the manager's memory.
        server.clearReplies();
        malloc_trim(0);
        return residentBytes();
    };
    const qint64 few = resident(1000);
    const qint64 many = resident(101000);
    Row& row = table.add(QStringLiteral("memory per cached folder, two outputs"), 100000,
                         double(many - few) / 100000 / 1024, 0, QStringLiteral("KB"));
    row.must = QStringLiteral("<= 1.5 KB");
    row.met = row.ours <= 1.5;
    resident(0);
}

void measureFolderByFolder(Table& table, TestHttpServer& server)
{
    constexpr int kCount = 500;
    QByteArray list = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<list>\n";
    for (int i = 0; i < kCount; ++i) {
        const QByteArray target = kFolders + "/" + QByteArray::number(i);
        list += "<xelMediaFolderURI>http://localhost:58885" + target + "</xelMediaFolderURI>\n";
        server.setReply("GET", target, 200, folderDocument(i));
    }
    list += "</list>\n";
    server.setReply("GET", kFolders, 200, list);
    PlainHttp plain;
    KRXFolderManager& manager = KRXFolderManager::getInstance();
    const SteadyPair time(
        15,
        [&] {
            require(manager.refreshFolders(false) && manager.countFolders() == kCount, "all folders arrived");
        },
        [&] {
            parse(plain.get(server.port(), kFolders));
            for (int i = 0; i < kCount; ++i)
                parse(plain.get(server.port(), kFolders + "/" + QByteArray::number(i)));
        });
    Row& row =
        table.add(QStringLiteral("refreshFolders(false), one request each"), kCount, time.ours, time.floor);
    row.must = QStringLiteral("ratio <= 1.5 (here %1 to %2)")
                   .arg(time.ratios.front(), 0, 'f', 2)
                   .arg(time.ratios.back(), 0, 'f', 2);
    row.met = row.ours / row.floor <= 1.5;
}

void measureProfileRefresh(Table& table, TestHttpServer& server)
{
    const QString work = QStringLiteral("refreshProfiles(true), three actions each");
    PlainHttp plain;
    KRXProfileManager& manager = KRXProfileManager::getInstance();
    for (int n : {50, 500}) {
        const QByteArray target = kProfiles + "?level=detail";
        server.setReply("GET", target, 200, profileListDocument(n));
        const Pair time = medianPairMs(
            9,
            [&] {
                require(manager.refreshProfiles(true) && manager.countProfiles() == n,
                        "all profiles arrived");
            },
            [&] { parse(plain.get(server.port(), target), true); });
        Row& row = table.add(work, n, time.ours, time.floor);
        row.must =
            n == 50 ? QStringLiteral("ratio <= 2") : QStringLiteral("ratio <= 2, linear (growth <= 15)");
        row.met = row.ours / row.floor <= 2 && row.growth <= 15;
    }
}

} // namespace

void measureServiceAccess(Table& table)
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    measureFolderMemory(table, server);
    measureFolderRefresh(table, server);
    measureFolderWalk(table);
    measureFolderByFolder(table, server);
    measureProfileRefresh(table, server);
    KRXFolderManager::cleanup();
    KRXProfileManager::cleanup();
}

} // namespace KRXBench
