#include "BenchService.h"

#include <QDir>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <memory>
#include <vector>

namespace KRXBench {

namespace {

constexpr int kFew = 1000;
constexpr int kMany = 10000;
constexpr int kCompared = 100;     ///< requests at either end
constexpr int kQuestions = 300;    ///< for all folders in detail
constexpr int kClips = 10000;      ///< that wait to be taken
constexpr double kMostStart = 600; ///< milliseconds
constexpr double kMostGrowth = 12;
constexpr double kMostPost = 1.2;
constexpr double kMostDetail = 2; ///< milliseconds
constexpr double kMostDetail99 = 10;
constexpr double kMostIdle = 0.5; ///< percent of a core
constexpr int kIdleSeconds = 20;  ///< twice the time between two rescans

double at(std::vector<double> times, double part)
{
    std::sort(times.begin(), times.end());
    return times[std::min(times.size() - 1, std::size_t(double(times.size()) * part))];
}

/// Times of the requests that make folders \a from to \a to, in milliseconds.
std::vector<double> makeFolders(BenchService& service, const QString& root, int from, int to, QString& id)
{
    std::vector<double> times;
    for (int i = from; i < to; ++i) {
        const QString folder = root + QStringLiteral("/%1").arg(i, 5, 10, QLatin1Char('0'));
        require(QDir().mkpath(folder), QStringLiteral("there is room"));
        times.push_back(timedMs([&] { id = service.watch(folder); }));
    }
    return times;
}

void measureStart(Table& table, const QString& data, int count)
{
    constexpr int runs = 3;
    std::vector<double> times;
    times.reserve(runs);
    for (int run = 0; run < runs; ++run)
        times.push_back(BenchService(data).startMs());
    Row& row =
        table.add(QStringLiteral("start with enabled folders until it listens"), count, at(times, 0.5), 0);
    if (count < kMany)
        return;
    row.must = QStringLiteral("<= %1 ms; grows <= %2 x; from %3 to %4")
                   .arg(kMostStart)
                   .arg(kMostGrowth)
                   .arg(at(times, 0), 0, 'f', 0)
                   .arg(at(times, 1), 0, 'f', 0);
    row.met = row.ours <= kMostStart && row.growth <= kMostGrowth;
}

} // namespace

void measureManyFolders(Table& table)
{
    QTemporaryDir scratch;
    const QString data = scratch.filePath(QStringLiteral("data"));
    const QString root = scratch.filePath(QStringLiteral("watched"));
    QString id;
    std::vector<double> posts;
    {
        BenchService service(data);
        posts = makeFolders(service, root, 0, kFew, id);
    }
    measureStart(table, data, kFew);
    {
        BenchService service(data);
        const auto more = makeFolders(service, root, kFew, kMany, id);
        posts.insert(posts.end(), more.begin(), more.end());
    }
    const double first = at({posts.begin(), posts.begin() + kCompared}, 0.5);
    const double last = at({posts.end() - kCompared, posts.end()}, 0.5);
    Row& post =
        table.add(QStringLiteral("POST of a folder, the last 100 against the first 100"), kMany, last, first);
    post.must = QStringLiteral("<= %1 x").arg(kMostPost);
    post.met = last <= kMostPost * first;
    measureStart(table, data, kMany);

    BenchService service(data, {QStringLiteral("--settle"), QStringLiteral("0.5")});
    service.get("xelmediafolders?level=detail");

    std::vector<double> details;
    details.reserve(kQuestions);
    for (int i = 0; i < kQuestions; ++i)
        details.push_back(timedMs([&] { service.get("xelmediafolders?level=detail"); }));
    Row& detail =
        table.add(QStringLiteral("GET of all folders in detail, unchanged"), kMany, at(details, 0.5), 0);
    detail.must = QStringLiteral("<= %1 ms; the slowest of 100 %2, <= %3")
                      .arg(kMostDetail)
                      .arg(at(details, 0.99), 0, 'f', 2)
                      .arg(kMostDetail99);
    detail.met = detail.ours <= kMostDetail && at(details, 0.99) <= kMostDetail99;

    const QString ready = scratch.filePath(QStringLiteral("ready"));
    require(QDir().mkpath(ready), QStringLiteral("there is room"));
    for (int i = 0; i < kClips; ++i)
        writeWave(ready + QStringLiteral("/%1.wav").arg(i), 4096);
    const QString last10000 = root + QStringLiteral("/%1/ready").arg(kMany - 1, 5, 10, QLatin1Char('0'));
    require(QDir().rename(ready, last10000), QStringLiteral("they move"));
    service.waitFor(id, kClips);

    QThread::sleep(3); // what the last documents left to do is done
    const double before = service.processorSeconds();
    QThread::sleep(kIdleSeconds);
    const double percent = (service.processorSeconds() - before) * 100 / kIdleSeconds;
    Row& idle = table.add(QStringLiteral("at rest, with as many clips that wait"), kMany, percent, 0,
                          QStringLiteral("% of a core"));
    idle.must = QStringLiteral("<= %1 %").arg(kMostIdle);
    idle.met = percent <= kMostIdle;
}

} // namespace KRXBench
