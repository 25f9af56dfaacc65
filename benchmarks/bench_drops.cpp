#include "BenchService.h"

#include "base/FileTools.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace KRXBench {

namespace {

using namespace krxservice;

constexpr double kSettle = 0.5; ///< seconds
constexpr quint32 kBytes = 4096;
constexpr int kFew = 100;
constexpr int kMany = 10000;
constexpr int kGroup = 64; ///< documents that are synced together
constexpr double kMostOfShell = 0.15;
constexpr double kMostOfFloor = 2.5;

/// Puts \a count new sounds into \a folder, each closed like one that was recorded there.
void drop(const QString& folder, int count)
{
    static int number = 0;
    for (int i = 0; i < count; ++i)
        writeWave(folder + QStringLiteral("/%1.wav").arg(++number), kBytes);
}

void empty(const QString& folder)
{
    const QStringList names = QDir(folder).entryList(QDir::Files);
    for (const QString& name : names)
        QFile::remove(folder + QLatin1Char('/') + name);
}

/// What anybody would write first: each file that was closed is hashed and looked at.
double shellMs(const QString& folder)
{
    QProcess loop;
    loop.start(
        QStringLiteral("sh"),
        {QStringLiteral("-c"),
         QStringLiteral("inotifywait -m -e close_write --format %w%f '%1' | head -n %2 | while read -r f; do "
                        "xxhsum -q -H3 \"$f\" >&2; ffprobe -v quiet -show_format -show_streams \"$f\" "
                        ">/dev/null; done")
             .arg(folder)
             .arg(kFew)});
    QByteArray said;
    loop.setReadChannel(QProcess::StandardError);
    while (!said.contains("Watches established")) {
        require(loop.waitForReadyRead(10000), QStringLiteral("inotifywait watches"));
        said += loop.readAllStandardError();
    }
    drop(folder, kFew);
    const double time = timedMs([&] {
        while (said.count("XXH3") < kFew) {
            require(loop.waitForReadyRead(60000), QStringLiteral("the loop goes on"));
            said += loop.readAllStandardError();
        }
    });
    drop(folder, 1); // inotifywait ends with an event that nobody reads
    require(loop.waitForFinished(10000), QStringLiteral("the loop ends"));
    return time;
}

void writeDocument(const std::string& path, const std::string& text, filetools::Descriptor& file)
{
    file = filetools::Descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    require(file.isOpen() && filetools::writeAll(file.get(), text) == 0, QStringLiteral("there is room"));
}

/// The same work with nothing around it: probed in this process, hashed, one document each, synced by 64.
void bareWork(const QString& in, const QString& out)
{
    const std::string text(2000, 'x'); // as long as a document of the service
    std::vector<std::string> names;
    std::vector<filetools::Descriptor> files;
    const std::string to = out.toStdString() + '/';
    const auto bring = [&] {
        for (const auto& file : files)
            ::fsync(file.get());
        filetools::syncDirectory(to);
        for (const auto& name : names)
            ::rename((to + '.' + name).c_str(), (to + name).c_str());
        filetools::syncDirectory(to);
        names.clear();
        files.clear();
    };
    const QStringList all = QDir(in).entryList(QDir::Files);
    for (const QString& name : all) {
        const std::string path = in.toStdString() + '/' + name.toStdString();
        AVFormatContext* context = nullptr;
        require(avformat_open_input(&context, path.c_str(), nullptr, nullptr) == 0 &&
                    avformat_find_stream_info(context, nullptr) >= 0,
                QStringLiteral("it is a sound"));
        avformat_close_input(&context);
        std::string error;
        const auto sum = filetools::checksum(path, makeCancelToken(), error);
        require(sum.has_value(), QStringLiteral("it can be read"));
        names.push_back(name.toStdString() + ".xel");
        files.emplace_back(-1);
        writeDocument(to + '.' + names.back(), *sum + text, files.back());
        if (names.size() == kGroup)
            bring();
    }
    bring();
}

void requireEachOnce(const QStringList& documents, int count)
{
    QSet<QString> sources;
    for (const QString& name : documents)
        sources.insert(name.section(QLatin1Char('-'), 1));
    require(documents.size() == count && sources.size() == count,
            QStringLiteral("none is lost, and none is offered twice"));
}

} // namespace

void measureDrops(Table& table)
{
    QTemporaryDir scratch;
    const QString watched = scratch.filePath(QStringLiteral("watched"));
    const QString looped = scratch.filePath(QStringLiteral("looped"));
    const QString bare = scratch.filePath(QStringLiteral("bare"));
    for (const QString& folder : {watched, looped, bare})
        require(QDir().mkpath(folder), QStringLiteral("there is room"));
    BenchService service(scratch.filePath(QStringLiteral("data")),
                         {QStringLiteral("--settle"), QString::number(kSettle)});
    const QString id = service.watch(watched);
    const auto ours = [&](int count) {
        QElapsedTimer timer;
        QStringList documents;
        double time = 0;
        if (count == kFew) {
            drop(watched, count);
            timer.start();
        } else {
            // All at once, so that no time goes by while they are written.
            const QString ready = scratch.filePath(QStringLiteral("ready"));
            require(QDir().mkpath(ready), QStringLiteral("there is room"));
            drop(ready, count);
            shell(QStringLiteral("sync -f '%1'").arg(ready));
            timer.start();
            require(QFile::rename(ready, watched + QStringLiteral("/ready")), QStringLiteral("they move"));
        }
        documents = service.waitFor(id, count);
        time = double(timer.nsecsElapsed()) / 1e6 - kSettle * 1000;
        requireEachOnce(documents, count);
        service.takeAll(id);
        QDir(watched + QStringLiteral("/ready")).removeRecursively();
        empty(watched);
        return time;
    };
    addPairs(
        table, QStringLiteral("sounds of 4 KB until the last is listed, beyond settle, against a shell loop"),
        kFew, 3, kMostOfShell, true, [&] { return ours(kFew); },
        [&] {
            const double time = shellMs(looped);
            empty(looped);
            return time;
        });
    addPairs(
        table, QStringLiteral("the same against the bare work in one process"), kMany, 3, kMostOfFloor, false,
        [&] { return ours(kMany); },
        [&] {
            empty(looped);
            drop(looped, kMany);
            shell(QStringLiteral("sync -f '%1'").arg(looped));
            const double time = timedMs([&] { bareWork(looped, bare); });
            empty(bare);
            return time;
        });
}

} // namespace KRXBench
