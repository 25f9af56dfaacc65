#include "Bench.h"

#include "activities/Pipeline.h"
#include "base/Log.h"
#include "media/OutputArea.h"
#include "store/ClipStore.h"
#include "store/Database.h"
#include "store/ErrorStore.h"
#include "store/FolderStore.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>
#include <vector>

using namespace krxservice;

namespace KRXBench {

namespace {

constexpr int kThreads = 2; ///< that the service works with at least

void require(bool held, const char* what)
{
    if (!held)
        qFatal("the measure means nothing: %s", what);
}

void shell(const QString& command)
{
    QProcess process;
    process.start(QStringLiteral("sh"), {QStringLiteral("-c"), command});
    require(process.waitForFinished(-1) && process.exitCode() == 0, qPrintable(command));
}

QByteArray little(quint32 value, int size)
{
    QByteArray bytes;
    for (int i = 0; i < size; ++i)
        bytes += char(value >> (8 * i));
    return bytes;
}

/// Sound that no two files have in common.
void writeWave(const QString& path, quint32 size)
{
    std::vector<quint32> noise(size / 4);
    QRandomGenerator::system()->fillRange(noise.data(), qsizetype(noise.size()));
    QFile file(path);
    require(file.open(QIODevice::WriteOnly), "there is room for sources");
    file.write("RIFF" + little(36 + size, 4) + "WAVEfmt " + little(16, 4) + little(1, 2) + little(2, 2) +
               little(48000, 4) + little(192000, 4) + little(4, 2) + little(16, 2) + "data" +
               little(size, 4));
    file.write(reinterpret_cast<const char*>(noise.data()), qint64(noise.size() * 4));
}

/// The service's way from a finished file to its document, on data of its own.
struct Works
{
    QTemporaryDir folder;
    Database database{folder.path().toStdString() + "/db"};
    ClipStore clips{database};
    ErrorStore errors{database};
    FolderStore folders{database};
    OutputArea outputs{folder.path().toStdString() + "/output"};
    Pipeline pipeline{database, clips, errors, outputs};

    void process(const QString& in, const ActivityRecipe& activity)
    {
        FolderRecord record;
        record.path = record.canonical = in.toStdString();
        const std::string id = folders.create(record).value_or(std::string());
        const QStringList names = QDir(in).entryList(QDir::Files);
        std::atomic<int> next{0};
        std::atomic<int> offered{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                for (int file = next++; file < names.size(); file = next++) {
                    FileOrder order;
                    order.ownerKind = "folder";
                    order.ownerId = id;
                    order.ownerPath = in.toStdString();
                    order.path = in.toStdString() + '/' + names[file].toStdString();
                    order.profile.activities = {activity};
                    order.cancel = makeCancelToken();
                    offered += pipeline.process(order).end == FileResult::End::Offered ? 1 : 0;
                }
            });
        }
        for (auto& thread : threads)
            thread.join();
        require(offered == names.size(), "every file was offered");
    }
};

/// Runs both sides in turns and judges by the median of their ratios.
void addPairs(Table& table, const QString& work, qint64 n, int runs, double most,
              const std::function<double()>& ours, const std::function<double()>& floor)
{
    std::vector<double> oursTimes;
    std::vector<double> floorTimes;
    std::vector<double> ratios;
    for (int run = -1; run < runs; ++run) {
        // Who goes first meets another machine.
        const bool isOursFirst = run % 2 == 0;
        double first = isOursFirst ? ours() : floor();
        double second = isOursFirst ? floor() : ours();
        if (!isOursFirst)
            std::swap(first, second);
        if (run < 0)
            continue; // the first pair does not count
        oursTimes.push_back(first);
        floorTimes.push_back(second);
        ratios.push_back(first / second);
    }
    for (auto* list : {&oursTimes, &floorTimes, &ratios})
        std::sort(list->begin(), list->end());
    const auto middle = std::size_t(runs) / 2;
    Row& row = table.add(work, n, oursTimes[middle], floorTimes[middle]);
    row.must = QStringLiteral("<= %1 x; median of ratios %2, from %3 to %4")
                   .arg(most)
                   .arg(ratios[middle], 0, 'f', 2)
                   .arg(ratios.front(), 0, 'f', 2)
                   .arg(ratios.back(), 0, 'f', 2);
    row.met = ratios[middle] <= most;
}

double timed(const std::function<void()>& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) / 1e6;
}

/// Where clips come from and where they go.
struct Places
{
    QTemporaryDir folder;
    QString in = folder.filePath(QStringLiteral("in"));
    QString to = folder.filePath(QStringLiteral("to"));

    Places() { require(QDir().mkpath(in), "there is room"); }

    /// Has nothing lie where they go, on the disk either.
    void empty() const
    {
        QDir(to).removeRecursively();
        require(QDir().mkpath(to), "there is room");
        shell(QStringLiteral("sync -f '%1'").arg(to));
    }
};

void measureCopy(Table& table, const QString& work, int count, quint32 size, int runs, double most,
                 const QString& command)
{
    const Places places;
    for (int i = 0; i < count; ++i)
        writeWave(places.in + QStringLiteral("/%1.wav").arg(i), size);
    shell(QStringLiteral("sync -f '%1'").arg(places.in));
    const auto ours = [&] {
        places.empty();
        Works works;
        ActivityRecipe copy;
        copy.id = profiledocument::kCopy;
        copy.destination = places.to.toStdString();
        return timed([&] { works.process(places.in, copy); });
    };
    const auto floor = [&] {
        places.empty();
        return timed([&] { shell(command.arg(places.in, places.to)); });
    };
    addPairs(table, work, count, runs, most, ours, floor);
}

/// A movie of about 1 GB whose pictures MXF holds.
void makeMovie(const QString& path)
{
    const QString piece = path + QStringLiteral(".piece.mov");
    shell(QStringLiteral(
              "ffmpeg -v error -y -f lavfi -i testsrc2=s=1920x1080:r=25:d=1,noise=alls=60:allf=t "
              "-f lavfi -i sine=r=48000:d=1 -c:v prores_ks -profile:v 3 -c:a pcm_s16le '%1' && "
              "n=$((1000000000 / $(stat -c %s '%1'))) && "
              "ffmpeg -v error -y -stream_loop $n -i '%1' -map 0 -c copy '%2' && rm '%1' && sync -f '%2'")
              .arg(piece, path));
}

void measureConsolidation(Table& table)
{
    const Places places;
    makeMovie(places.in + QStringLiteral("/movie.mov"));
    const auto ours = [&] {
        places.empty();
        Works works;
        ActivityRecipe activity;
        activity.id = profiledocument::kConsolidate;
        activity.element = "<activity id=\"consolidate\"><outputDetail><filesystemVideoVolume>" +
                           places.to.toStdString() + "/</filesystemVideoVolume></outputDetail></activity>";
        const double time = timed([&] { works.process(places.in, activity); });
        require(QFile::exists(places.to + QStringLiteral("/KRX Media/in/movie.mxf")), "it became MXF");
        return time;
    };
    const auto floor = [&] {
        places.empty();
        return timed([&] {
            shell(QStringLiteral(
                      "ffmpeg -v error -i '%1/movie.mov' -map 0:v -map 0:a -c copy -r:v 25 '%2/movie.mxf' && "
                      "sync -f '%2'")
                      .arg(places.in, places.to));
        });
    };
    addPairs(table, QStringLiteral("consolidate 1 GB into MXF, against ffmpeg and sync"), 1, 5, 1.3, ours,
             floor);
}

} // namespace

void measureCopies(Table& table)
{
    log::setLevel(log::Level::Error);
    measureCopy(
        table, QStringLiteral("copy 20 x 50 MB, against cp, sync and xxhsum of both"), 20, 50 * 1000 * 1000,
        5, 1.2,
        QStringLiteral("cp -r '%1'/. '%2' && sync -f '%2' && xxhsum -q -H3 '%1'/* '%2'/* > /dev/null"));
    measureCopy(table, QStringLiteral("copy 100 x 4 KB, against rsync and sync"), 100, 4096, 9, 6,
                QStringLiteral("rsync -a '%1'/ '%2'/ && sync -f '%2'"));
    measureConsolidation(table);
}

} // namespace KRXBench
