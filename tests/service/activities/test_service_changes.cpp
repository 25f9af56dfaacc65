#include "EngineBench.h"
#include "PipelineBench.h"
#include "TestFiles.h"
#include "activities/Activity.h"
#include "activities/Transcoder.h"

#include <QDir>
#include <QDirIterator>
#include <QScopeGuard>

#include <sys/mount.h>

#include <cstring>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

/// What becomes of a clip whose file, or whose destination, changes under the hands of an action.
class TestServiceChanges : public QObject
{
    Q_OBJECT

    EngineBench m_bench;
    QString m_volume;
    int m_count = 0;

    void nextVolume()
    {
        m_volume = m_bench.path(s("volume%1").arg(++m_count));
        QDir().mkpath(m_volume);
    }
    /// ProRes Proxy in PAL, which is quick, on a fresh volume.
    MediaOptions options()
    {
        nextVolume();
        MediaOptions options;
        options.videoVolume = options.audioVolume = m_volume.toStdString();
        options.video.compressionId = "16777217";
        options.video.projectType = "PAL 25p";
        options.video.colorSpace = "YCbCr 601";
        options.video.raster = "720x576";
        options.video.reformats = true;
        return options;
    }
    Clip clip(const QString& name) const
    {
        Clip clip;
        clip.watched = m_bench.folder.path().toStdString();
        clip.source.path = m_bench.path(name).toStdString();
        clip.linked = clip.source;
        return clip;
    }
    /// All files below a folder but the index of what lies on a volume, hidden ones too.
    static QStringList allFiles(const QString& folder)
    {
        QStringList names;
        QDirIterator files(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            files.next();
            if (files.fileName() != QLatin1String(".krx-index"))
                names << files.fileName();
        }
        return names;
    }
    /// An action as a profile orders it, on a fresh volume.
    ActivityRecipe recipe(const QByteArray& id)
    {
        nextVolume();
        if (id == "copy")
            return PipelineBench::copyTo(m_volume, true);
        const QByteArray volume = QFile::encodeName(m_volume);
        const QByteArray picture = "<videoProjectType>PAL 25p</videoProjectType><videoColorSpace>YCbCr 601"
                                   "</videoColorSpace><videoRaster>720x576</videoRaster>"
                                   "<videoCompressionType name=\"X\">16777217</videoCompressionType>";
        ActivityRecipe recipe;
        recipe.id = id.toStdString();
        recipe.name = recipe.id;
        const QByteArray element = "<activity id=\"" + id + "\"><outputDetail><filesystemVideoVolume>" +
                                   volume + "</filesystemVideoVolume><filesystemAudioVolume>" + volume +
                                   "</filesystemAudioVolume><outputTranscodeVideoProfile>" + picture +
                                   "</outputTranscodeVideoProfile></outputDetail></activity>";
        recipe.element = element.toStdString();
        return recipe;
    }

private slots:
    /// Whatever becomes of a file while an action works on it, or just before: it is looked at again, and
    /// nothing that was made of it is offered or stays.
    void sourceThatChangesAroundAnActionIsLookedAtAgain_data()
    {
        QTest::addColumn<QByteArray>("action");
        QTest::addColumn<QString>("change");
        QTest::addColumn<bool>("isDuring");
        for (const char* action : {"copy", "transcode", "consolidate"}) {
            for (const char* change : {"grows", "is cut off", "goes away", "is replaced"}) {
                QTest::addRow("%s, %s before it", action, change) << QByteArray(action) << s(change) << false;
                // How far a short transcode is, nobody may ever hear.
                if (std::strcmp(action, "transcode") != 0)
                    QTest::addRow("%s, %s during it", action, change)
                        << QByteArray(action) << s(change) << true;
            }
        }
    }
    void sourceThatChangesAroundAnActionIsLookedAtAgain()
    {
        QFETCH(QByteArray, action);
        QFETCH(QString, change);
        QFETCH(bool, isDuring);
        QVERIFY(makeChanging());
        PipelineBench bench;
        FileOrder order = bench.order(m_bench.path(s("changing.mov")).toStdString());
        order.profile.activities = {recipe(action)};
        bool isDone = false;
        const auto alter = [&] {
            isDone = true;
            QVERIFY(alterChanging(change));
        };
        order.willAct = [&](const std::string& job) {
            if (!isDuring && !isDone)
                alter();
            return job;
        };
        order.progress = [&](int percent) {
            if (isDuring && !isDone && percent > 0)
                alter();
        };
        const FileResult result = bench.pipeline.process(order);
        QVERIFY(isDone);
        QVERIFY2(result.end == FileResult::End::Later, result.text.c_str());
        QVERIFY(bench.listed().empty());
        QCOMPARE(allFiles(m_volume), QStringList());
    }
    bool makeChanging() const
    {
        return m_bench.make(s("changing.mov"), "-f lavfi -i testsrc2=s=160x96:r=25:d=0.4 -c:v mpeg4")
                   .isEmpty() &&
               m_bench.make(s("another.mov"), "-f lavfi -i testsrc=s=160x96:r=25:d=0.2 -c:v mpeg4").isEmpty();
    }
    bool alterChanging(const QString& change) const
    {
        const QString name = m_bench.path(s("changing.mov"));
        const QByteArray content = TestFiles::content(name);
        if (change == s("grows"))
            TestFiles::write(name, content + QByteArray(100000, 'x'));
        else if (change == s("is cut off"))
            TestFiles::write(name, content.left(3000));
        else if (!QFile::remove(name))
            return false;
        return change != s("is replaced") || QFile::rename(m_bench.path(s("another.mov")), name);
    }

    /// The same while it is transcoded: it was looked into, and its results are opened.
    void sourceThatChangesWhileItIsTranscodedLeavesNothing()
    {
        for (const char* change : {"grows", "is cut off", "goes away"}) {
            QVERIFY(makeChanging());
            const MediaOptions order = options();
            ActivityProgress progress;
            bool isDone = false;
            progress.willWrite = [&](const std::string&) { isDone = isDone || alterChanging(s(change)); };
            const auto made =
                transcoder::run(clip(s("changing.mov")), order, {}, progress, makeCancelToken());
            QVERIFY2(isDone && !made, change);
            QVERIFY2(made.refusal().status == kLookAgain || std::strcmp(change, "is cut off") == 0, change);
            QCOMPARE(allFiles(m_volume), QStringList());
        }
    }

    void volumesThatAreReadOnlyOrGoAwayOfferNothing()
    {
        QVERIFY(makeChanging());
        for (const char* action : {"copy", "transcode", "consolidate"}) {
            const ActivityRecipe recipe = this->recipe(action);
            const QByteArray volume = QFile::encodeName(m_volume);
            if (::mount("tmpfs", volume.constData(), "tmpfs", 0, "size=32m") != 0)
                QSKIP("only root mounts a volume");
            const auto end = qScopeGuard([&] { ::umount2(volume.constData(), MNT_DETACH); });
            QCOMPARE(::mount("tmpfs", volume.constData(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr), 0);
            const Clip source = clip(s("changing.mov"));
            auto made = Activity::forId(recipe.id).run(source, recipe, {}, makeCancelToken());
            QVERIFY2(!made, action);
            QVERIFY2(made.refusal().text.find("ead-only") != std::string::npos, made.refusal().text.c_str());
            QCOMPARE(::mount("tmpfs", volume.constData(), "tmpfs", MS_REMOUNT, "size=32m"), 0);
            QVERIFY2(Activity::forId(recipe.id).run(source, recipe, {}, makeCancelToken()), action);
            // Gone in the middle: what is written then is on a volume that nobody sees.
            const auto leave = [&] { ::umount2(volume.constData(), MNT_DETACH); };
            if (recipe.id == "transcode") {
                ActivityProgress progress;
                progress.willWrite = [&](const std::string&) { leave(); };
                QVERIFY(!Activity::forId(recipe.id).run(source, recipe, progress, makeCancelToken()));
                continue;
            }
            PipelineBench bench;
            FileOrder order = bench.order(source.source.path);
            order.profile.activities = {recipe};
            order.progress = [&](int percent) {
                if (percent > 0)
                    leave();
            };
            const auto result = bench.pipeline.process(order);
            QVERIFY2(result.end != FileResult::End::Offered, action);
            QVERIFY(bench.listed().empty());
        }
    }
};

QTEST_GUILESS_MAIN(TestServiceChanges)
#include "test_service_changes.moc"
