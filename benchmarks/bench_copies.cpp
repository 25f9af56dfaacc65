#include "Bench.h"

#include "activities/Pipeline.h"
#include "base/Log.h"
#include "media/OutputArea.h"
#include "store/ClipStore.h"
#include "store/Database.h"
#include "store/ErrorStore.h"
#include "store/FolderStore.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <atomic>
#include <thread>
#include <vector>

using namespace krxservice;

namespace KRXBench {

namespace {

constexpr int kThreads = 2; ///< that the service works with at least

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
        threads.reserve(kThreads);
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
        require(offered == names.size(), QStringLiteral("every file was offered"));
    }
};

/// Where clips come from and where they go.
struct Places
{
    QTemporaryDir folder;
    QString in = folder.filePath(QStringLiteral("in"));
    QString to = folder.filePath(QStringLiteral("to"));

    Places() { require(QDir().mkpath(in), QStringLiteral("there is room")); }

    /// Has nothing lie where they go, on the disk either.
    void empty() const
    {
        QDir(to).removeRecursively();
        require(QDir().mkpath(to), QStringLiteral("there is room"));
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
        return timedMs([&] { works.process(places.in, copy); });
    };
    const auto floor = [&] {
        places.empty();
        return timedMs([&] { shell(command.arg(places.in, places.to)); });
    };
    addPairs(table, work, count, runs, most, true, ours, floor);
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

} // namespace

void measureConsolidation(Table& table)
{
    log::setLevel(log::Level::Error);
    const Places places;
    makeMovie(places.in + QStringLiteral("/movie.mov"));
    const auto ours = [&] {
        places.empty();
        Works works;
        ActivityRecipe activity;
        activity.id = profiledocument::kConsolidate;
        activity.element = "<activity id=\"consolidate\"><outputDetail><filesystemVideoVolume>" +
                           places.to.toStdString() + "/</filesystemVideoVolume></outputDetail></activity>";
        const double time = timedMs([&] { works.process(places.in, activity); });
        require(QFile::exists(places.to + QStringLiteral("/KRX Media/in/movie.mxf")),
                QStringLiteral("it became MXF"));
        return time;
    };
    const auto floor = [&] {
        places.empty();
        return timedMs([&] {
            shell(QStringLiteral(
                      "ffmpeg -v error -i '%1/movie.mov' -map 0:v -map 0:a -c copy -r:v 25 '%2/movie.mxf' && "
                      "sync -f '%2'")
                      .arg(places.in, places.to));
        });
    };
    addPairs(table, QStringLiteral("consolidate 1 GB into MXF, against ffmpeg and sync"), 1, 5, 1.3, true,
             ours, floor);
}

void measureCopies(Table& table)
{
    log::setLevel(log::Level::Error);
    measureCopy(
        table, QStringLiteral("copy 20 x 50 MB, against cp, sync and xxhsum of both"), 20, 50 * 1000 * 1000,
        5, 1.2,
        QStringLiteral("cp -r '%1'/. '%2' && sync -f '%2' && xxhsum -q -H3 '%1'/* '%2'/* > /dev/null"));
    measureCopy(table, QStringLiteral("copy 100 x 4 KB, against rsync and sync"), 100, 4096, 9, 6,
                QStringLiteral("rsync -a '%1'/ '%2'/ && sync -f '%2'"));
}

} // namespace KRXBench
