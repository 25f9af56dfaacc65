#include "ServiceStage.h"

#include "store/ClipBook.h"
#include "watch/WatchedFolder.h"

#include <QProcess>
#include <QTest>

#include <future>

using namespace krxservice;

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

/// The list of clips, and the one request that waits for changes.
class TestServiceClips : public QObject
{
    Q_OBJECT

    ServiceStage m_stage;

    Reply clips(const QByteArray& query = {}) const { return m_stage.service->get("clips" + query); }
    /// The clips of the folder in \a state, by name.
    QStringList named(const char* state) const
    {
        return clips("?folder=" + m_stage.id.toUtf8() + "&state=" + state).texts(s("name"));
    }
    static QByteArray version(const Reply& reply)
    {
        const int begin = reply.body.indexOf("version=\"", reply.body.indexOf("?>")) + 9;
        return reply.body.mid(begin, reply.body.indexOf('"', begin) - begin);
    }
    static QByteArray complaint(const QByteArray& document)
    {
        QProcess xmllint;
        xmllint.start(s("xmllint"), {s("--noout"), s("--schema"), s(KRX_SCHEMAS "/clips.xsd"), s("-")});
        xmllint.write(document);
        xmllint.closeWriteChannel();
        xmllint.waitForFinished(kStagePatience);
        return xmllint.exitCode() == 0 ? QByteArray() : xmllint.readAllStandardError() + document;
    }

private slots:
    void initTestCase() { QVERIFY(m_stage.begin()); }

    void everyClipIsListedWithItsState()
    {
        QVERIFY(!m_stage.drop(s("a.wav")).isEmpty());
        QFile text(m_stage.watch + s("/notes.doc"));
        QVERIFY(text.open(QIODevice::WriteOnly) && text.write("no media") > 0);
        text.close();
        QTRY_COMPARE_WITH_TIMEOUT(named("OFFERED"), QStringList{s("a.wav")}, kStagePatience);
        QTRY_COMPARE_WITH_TIMEOUT(named("REJECTED"), QStringList{s("notes.doc")}, kStagePatience);
        const Reply reply = clips();
        QCOMPARE(reply.status, 200);
        QCOMPARE(complaint(reply.body), QByteArray());
        QVERIFY(reply.body.contains("total=\"2\" known=\"2\""));
        QVERIFY(clips("?state=TAKEN").body.contains("total=\"0\" known=\"2\""));
        QCOMPARE(reply.text(s("folderId")), m_stage.id);
        QCOMPARE(clips("?state=OFFERED,REJECTED").texts(s("name")), reply.texts(s("name")));
        QVERIFY(!reply.texts(s("reason")).contains(QString()));
        QVERIFY(QFile::remove(m_stage.outputs().value(0)));
        QTRY_COMPARE_WITH_TIMEOUT(named("TAKEN"), QStringList{s("a.wav")}, kStagePatience);
        QCOMPARE(clips("?state=REJECTED").text(s("reason")), s("It is no media file"));
        // Nothing is said any more of what was moved elsewhere, until it is back.
        const QString elsewhere = m_stage.folder.filePath(s("notes.doc"));
        QVERIFY(QFile::rename(text.fileName(), elsewhere));
        QTRY_COMPARE_WITH_TIMEOUT(named("GONE"), QStringList{s("notes.doc")}, kStagePatience);
        QVERIFY(named("REJECTED").isEmpty());
        QVERIFY(QFile::rename(elsewhere, text.fileName()));
        QTRY_COMPARE_WITH_TIMEOUT(named("REJECTED"), QStringList{s("notes.doc")}, kStagePatience);
    }
    void aFileThatIsNotFinishedSaysWhy()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        QFile open(stage.watch + s("/open.wav"));
        QFile from(TestMedia::file(s("sound.wav")));
        QVERIFY(open.open(QIODevice::WriteOnly) && from.open(QIODevice::ReadOnly));
        QVERIFY(open.write(from.readAll()) > 0 && open.flush());
        const auto only = [&](const char* name) { return stage.service->get("clips").text(s(name)); };
        QTRY_COMPARE_WITH_TIMEOUT(only("state"), s("OPEN"), kStagePatience);
        QCOMPARE(only("profileID"), stage.service->profileId(s("Default Profile")));
        QVERIFY(only("reason").contains(s("(process %1)").arg(QCoreApplication::applicationPid())));
        open.close();
        QTRY_COMPARE_WITH_TIMEOUT(only("state"), s("OFFERED"), kStagePatience);
        QCOMPARE(complaint(stage.service->get("clips").body), QByteArray());
        // Nothing is on its way in a folder that is switched off.
        QVERIFY(open.open(QIODevice::Append) && open.write("x") > 0 && open.flush());
        QTRY_COMPARE_WITH_TIMEOUT(only("state"), s("OPEN"), kStagePatience);
        QFile::remove(open.fileName());
        QTRY_COMPARE_WITH_TIMEOUT(only("state"), s("GONE"), kStagePatience);
    }
    void whatWasTakenIsToldWhenSomebodyAsksWhatIsReady()
    {
        ServiceStage stage;
        // Records are looked through once an hour only.
        QVERIFY(stage.service->start(stage.data, {s("--rescan"), s("3600")}));
        QVERIFY(QDir().mkpath(stage.watch));
        stage.id = stage.service->addFolder(stage.watch, stage.service->profileId(s("Default Profile")));
        QVERIFY(!stage.drop(s("a.wav")).isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
        QVERIFY(QFile::remove(stage.outputs().value(0)));
        QVERIFY(stage.service->get("activity").texts(s("outputReadyFolder")).isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->get("clips").text(s("state")), s("TAKEN"), kStagePatience);
    }
    void whatSomebodyElseTookIsToldToWhoeverWaits()
    {
        ServiceStage stage;
        // Records are looked through once an hour only, and nobody asks what is ready.
        QVERIFY(stage.service->start(stage.data, {s("--rescan"), s("3600")}));
        QVERIFY(QDir().mkpath(stage.watch));
        stage.id = stage.service->addFolder(stage.watch, stage.service->profileId(s("Default Profile")));
        QVERIFY(!stage.drop(s("a.wav")).isEmpty());
        const auto state = [&] { return stage.service->get("clips").text(s("state")); };
        QTRY_COMPARE_WITH_TIMEOUT(state(), s("OFFERED"), kStagePatience);
        const QString taken = stage.outputs().value(0);
        QVERIFY(QFile::remove(taken));
        QTRY_COMPARE_WITH_TIMEOUT(state(), s("TAKEN"), kStagePatience);
        // The same for one who waits, and for the folder that was made after the start.
        QVERIFY(!stage.drop(s("b.wav")).isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->get("clips?state=OFFERED").texts(s("name")),
                                  QStringList{s("b.wav")}, kStagePatience);
        QByteArray since = version(stage.service->get("changes"));
        QVERIFY(QFile::remove(stage.outputs().value(0)));
        QStringList told;
        while (!told.contains(s("clips"))) {
            const Reply news = stage.service->get("changes?since=" + since);
            told = news.texts(s("changed"));
            QVERIFY2(!told.isEmpty(), "nothing was told until the wait was over");
            since = version(news);
        }
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->get("clips?state=TAKEN").texts(s("name")).size(), 2,
                                  kStagePatience);
    }
    void aFileTellsItsStory()
    {
        using Line = std::pair<ClipStage, std::string>;
        std::vector<Line> told;
        double left = -1;
        Stories stories([&](const std::string& path, const ClipNews& news) {
            QCOMPARE(path, std::string("/in/a.mov"));
            told.emplace_back(news.stage, news.reason);
            left = news.settlesIn;
        });
        constexpr std::int64_t second = 1000000000;
        Settler settler(2 * second);
        FileStamp stamp;
        stamp.size = 500;
        const auto read = [&](std::int64_t now) {
            settler.reading(stamp, now);
            stories.read("/in/a.mov", stamp, settler, now);
        };
        stories.found("/in/a.mov", stamp, 0);
        settler.reading(stamp, 0);
        QCOMPARE(told.back(), Line(ClipStage::Found, "Was found a moment ago"));
        stamp.size = 1234567890;
        read(second);
        QCOMPARE(told.back(), Line(ClipStage::Growing, "Grows: 1.2 GB so far"));
        read(2 * second);
        QCOMPARE(told.back().first, ClipStage::Settling);
        QCOMPARE(left, 1.0);
        const auto count = told.size();
        read(5 * second / 2);
        QCOMPARE(told.size(), count);
        stories.open("/in/a.mov", "camera (process 7)");
        QCOMPARE(told.back(), Line(ClipStage::Open, "Is open for writing in camera (process 7)"));
        settler.disturbed();
        read(3 * second);
        read(4 * second);
        stories.open("/in/a.mov", "camera (process 7)");
        QCOMPARE(told.size(), count + 1);
        stories.gone("/in/a.mov");
        QCOMPARE(told.back().first, ClipStage::Gone);
        stories.gone("/in/a.mov");
        QCOMPARE(told.size(), count + 2);
    }
    void whatIsHandedOverIsToldOfByOthers()
    {
        int told = 0;
        Stories stories([&](const std::string&, const ClipNews&) { ++told; });
        stories.found("/in/a.mov", {}, 0);
        stories.handedOver("/in/a.mov");
        stories.gone("/in/a.mov");
        stories.refused("/in/a.mov", "no");
        QCOMPARE(told, 1);
    }
    void aFileThatIsMadeBeforehandAndFilledLaterIsToldAsWrittenTo()
    {
        std::vector<ClipNews> told;
        Stories stories([&](const std::string&, const ClipNews& news) { told.push_back(news); });
        constexpr std::int64_t second = 1000000000;
        Settler settler(2 * second);
        FileStamp stamp;
        stamp.size = 36800000;
        std::int64_t now = 100 * second;
        const auto pass = [&](int quarters, bool isWritten) {
            for (int i = 0; i < quarters; ++i) {
                now += second / 4;
                if (isWritten && i % 2 == 0)
                    stamp.modified = now;
                settler.reading(stamp, now);
                stories.read("/in/a.mov", stamp, settler, now);
            }
        };
        stories.found("/in/a.mov", stamp, now);
        settler.reading(stamp, now);
        pass(2, false);
        QCOMPARE(told.back().stage, ClipStage::Settling);
        const auto begin = told.size();
        pass(40, true);
        // From its first change on, and not in turns with standing still.
        for (std::size_t i = begin; i < told.size(); ++i) {
            QCOMPARE(told[i].stage, ClipStage::Growing);
            QCOMPARE(told[i].since, 100 * second + 3 * second / 4);
        }
        QCOMPARE(told.back().reason, std::string("Is being written to: 36.8 MB in all"));
        pass(4, false);
        QCOMPARE(told.back().stage, ClipStage::Settling);
        QVERIFY(told.back().settlesIn > 0 && told.back().settlesIn < 2);
        // A close without a change has it stand still anew.
        const auto before = told.size();
        settler.disturbed();
        pass(3, false);
        QCOMPARE(told.size(), before + 1);
        QCOMPARE(told.back().settlesIn, 1.75);
    }
    void whatGrowsWithRestsStandsStillOnlyOnceItRestsForLonger()
    {
        std::vector<ClipStage> told;
        Stories stories([&](const std::string&, const ClipNews& news) { told.push_back(news.stage); });
        constexpr std::int64_t second = 1000000000;
        Settler settler(4 * second);
        FileStamp stamp;
        std::int64_t now = 100 * second;
        stories.found("/in/a.mov", stamp, now);
        settler.reading(stamp, now);
        const auto rest = [&](int seconds) {
            for (int i = 0; i < seconds; ++i) {
                now += second;
                settler.reading(stamp, now);
                stories.read("/in/a.mov", stamp, settler, now);
            }
        };
        for (int i = 0; i < 4; ++i) {
            ++stamp.size;
            rest(3);
        }
        QCOMPARE(std::count(told.begin(), told.end(), ClipStage::Settling), std::ptrdiff_t(1));
        told.clear();
        rest(2);
        QCOMPARE(told, std::vector<ClipStage>{ClipStage::Settling});
    }
    void numberedPicturesTellOneStoryTogether()
    {
        constexpr std::int64_t second = 1000000000;
        QTemporaryDir folder;
        FolderRecord record;
        record.id = "f1";
        record.path = folder.path().toStdString();
        using Line = std::pair<QString, ClipStage>;
        std::vector<Line> told;
        std::string reason;
        double left = -1;
        QStringList withdrawn;
        const auto nameOf = [](const std::string& path) {
            return QFileInfo(QString::fromStdString(path)).fileName();
        };
        WatchedFolder watched(
            record, {}, {}, second, {}, {},
            [&](const std::string& path, const ClipNews& news) {
                told.emplace_back(nameOf(path), news.stage);
                reason = news.reason;
                left = news.settlesIn;
            },
            [&](const std::string& path) { withdrawn << nameOf(path); });
        std::int64_t now = 0;
        const auto add = [&](const char* name) {
            QFile file(folder.filePath(s(name)));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write("12345") == 5);
            file.close();
            watched.saw(file.fileName().toStdString(), true, now);
        };
        const auto wait = [&](int quarters) {
            std::vector<std::string> finished;
            for (int i = 0; i < quarters; ++i) {
                now += second / 4;
                for (const auto& each : watched.takeFinished(now))
                    finished.push_back(each);
            }
            return finished;
        };
        add("take.0002.dpx");
        QVERIFY(wait(1).empty());
        QCOMPARE(told, (std::vector<Line>{{s("take.0002.dpx"), ClipStage::Found}}));
        add("take.0003.dpx");
        wait(1);
        QCOMPARE(told.back(), Line(s("take.0002.dpx"), ClipStage::Growing));
        QCOMPARE(reason, std::string("Grows: 2 pictures, 10 bytes so far"));
        // The first of them gives the story its name, even when it comes late.
        add("take.0001.dpx");
        wait(1);
        QCOMPARE(withdrawn, QStringList{s("take.0002.dpx")});
        QCOMPARE(told.back(), Line(s("take.0001.dpx"), ClipStage::Growing));
        // A moment's rest is none.
        wait(1);
        QCOMPARE(told.back(), Line(s("take.0001.dpx"), ClipStage::Growing));
        wait(1);
        QCOMPARE(told.back(), Line(s("take.0001.dpx"), ClipStage::Settling));
        QCOMPARE(reason, std::string("3 pictures, 15 bytes: waits whether more come"));
        QCOMPARE(left, 2.25);
        const auto count = told.size();
        {
            QFile open(folder.filePath(s("take.0001.dpx")));
            QVERIFY(open.open(QIODevice::Append));
            wait(3);
            QCOMPARE(told.back(), Line(s("take.0001.dpx"), ClipStage::Open));
            QVERIFY(reason.find("(process") != std::string::npos);
            QCOMPARE(told.size(), count + 1);
        }
        QCOMPARE(wait(40), std::vector<std::string>{folder.filePath(s("take.0001.dpx")).toStdString()});
        const auto atTheEnd = told.size();
        QCOMPARE(told.back().second, ClipStage::Settling);
        // From now on others tell.
        wait(4);
        QCOMPARE(told.size(), atTheEnd);
        QCOMPARE(withdrawn.size(), 1);
    }
    void picturesThatGoAreToldAsGone()
    {
        constexpr std::int64_t second = 1000000000;
        QTemporaryDir folder;
        FolderRecord record;
        record.path = folder.path().toStdString();
        ClipNews last;
        WatchedFolder watched(record, {}, {}, second, {}, {},
                              [&](const std::string&, const ClipNews& news) { last = news; });
        const QString path = folder.filePath(s("take.0001.dpx"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("x") == 1);
        file.close();
        watched.saw(path.toStdString(), true, 0);
        watched.takeFinished(second / 4);
        QCOMPARE(last.stage, ClipStage::Found);
        QVERIFY(QFile::remove(path));
        watched.takeFinished(second / 2);
        QCOMPARE(last.stage, ClipStage::Gone);
        // The same between two readings of the folder.
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("x") == 1);
        file.close();
        watched.saw(path.toStdString(), true, second);
        watched.takeFinished(5 * second / 4);
        QVERIFY(last.stage != ClipStage::Gone);
        QVERIFY(QFile::remove(path));
        watched.beginReading();
        watched.endReading();
        QCOMPARE(last.stage, ClipStage::Gone);
    }
    void aFailedClipNamesItsActionAndReasonAlsoAfterARestart()
    {
        ServiceStage stage;
        const QString inTheWay = stage.folder.filePath(s("in the way"));
        QFile file(inTheWay);
        QVERIFY(file.open(QIODevice::WriteOnly));
        const QString good = stage.folder.filePath(s("good"));
        QVERIFY(QDir().mkpath(good));
        const auto copyTo = [](const char* name, const QString& path) -> QByteArray {
            return QByteArray("<activity id=\"copy\" name=\"") + name +
                   "\"><destinationDetail><filesystemPath>" + path.toUtf8() +
                   "</filesystemPath></destinationDetail></activity>";
        };
        QVERIFY(stage.begin(copyTo("To the archive", good) + copyTo("To the cutter", inTheWay)));
        QVERIFY(!stage.drop(s("a.wav")).isEmpty());
        const QString single = stage.folder.filePath(s("single.wav"));
        QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), single));
        const Reply job = stage.service->post(
            "jobs", ModuleDocument::submitJob(single, stage.service->profileId(s("Copying"))));
        QCOMPARE(job.status, 201);
        const auto failed = [&] { return stage.service->get("clips?state=FAILED"); };
        QTRY_COMPARE_WITH_TIMEOUT(failed().texts(s("name")).size(), 2, kStagePatience);
        const QStringList actions{s("To the cutter"), s("To the cutter")};
        const QStringList reasons = failed().texts(s("reason"));
        QVERIFY2(reasons.filter(inTheWay).size() == 2, qPrintable(reasons.join(QLatin1Char('\n'))));
        QCOMPARE(failed().texts(s("activity")), actions);
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->get("jobs/status").texts(s("activity")), actions,
                                  kStagePatience);
        QCOMPARE(failed().texts(s("took")).size(), 2);
        QCOMPARE(complaint(failed().body), QByteArray());
        // Nobody needs to keep the messages for it.
        stage.service->get("errors?clear=true");
        QCOMPARE(stage.service->terminate(), 0);
        QVERIFY(stage.again());
        QCOMPARE(failed().texts(s("activity")), actions);
        QStringList after = failed().texts(s("reason"));
        after.sort();
        QStringList before = reasons;
        before.sort();
        QCOMPARE(after, before);
        QCOMPARE(stage.service->get("jobs/status").texts(s("activity")), actions);
        // How long it took was known to the one that did it.
        QVERIFY(failed().texts(s("took")).isEmpty() && failed().texts(s("started")).isEmpty());
        // What is tried again has no action that failed.
        QVERIFY(file.remove() && QDir().mkpath(inTheWay));
        QCOMPARE(stage.service
                     ->put("jobs/" + failed().text(s("job")).toUtf8(),
                           "<jobStatus><state>SUBMITTED</state></jobStatus>")
                     .status,
                 200);
        QTRY_COMPARE_WITH_TIMEOUT(failed().texts(s("name")).size(), 1, kStagePatience);
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->get("clips?state=OFFERED").texts(s("name")),
                                  QStringList{s("a.wav")}, kStagePatience);
        QVERIFY(stage.service->get("clips?state=OFFERED").texts(s("activity")).isEmpty());
    }
    void whyAFileIsNoMediaIsKnownAfterARestart()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        QFile text(stage.watch + s("/notes.doc"));
        QVERIFY(text.open(QIODevice::WriteOnly) && text.write("no media") > 0);
        text.close();
        const auto rejected = [&] { return stage.service->get("clips?state=REJECTED").text(s("reason")); };
        QTRY_VERIFY_WITH_TIMEOUT(!rejected().isEmpty(), kStagePatience);
        const QString reason = rejected();
        stage.service->get("errors?clear=true");
        QCOMPARE(stage.service->terminate(), 0);
        QVERIFY(stage.again());
        QCOMPARE(rejected(), reason);
    }
    void aFailureThatIsTriedAgainIsNoMessageAnyMore()
    {
        const QString copies = m_stage.folder.filePath(s("copies"));
        QFile inTheWay(copies);
        QVERIFY(inTheWay.open(QIODevice::WriteOnly));
        ServiceStage stage;
        QVERIFY(stage.begin("<activity id=\"copy\" name=\"Copy\"><destinationDetail><filesystemPath>" +
                            copies.toUtf8() + "</filesystemPath></destinationDetail></activity>"));
        QVERIFY(!stage.drop(s("a.wav")).isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->get("clips").text(s("state")), s("FAILED"), kStagePatience);
        const Reply failed = stage.service->get("clips");
        QVERIFY(stage.service->errors().contains(failed.text(s("reason"))));
        QVERIFY(inTheWay.remove() && QDir().mkpath(copies));
        QCOMPARE(stage.service
                     ->put("jobs/" + failed.text(s("job")).toUtf8(),
                           "<jobStatus><state>SUBMITTED</state></jobStatus>")
                     .status,
                 200);
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->get("clips").text(s("state")), s("OFFERED"), kStagePatience);
        QVERIFY(stage.service->errors().isEmpty());
    }
    void clipsOfAJobAreListedUnderIt()
    {
        const QString path = m_stage.folder.filePath(s("job.wav"));
        QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), path));
        const QString job = m_stage.service
                                ->post("jobs", "<jobInfo><path>" + path.toUtf8() + "</path><profileID>" +
                                                   m_stage.service->profileId(s("Default Profile")).toUtf8() +
                                                   "</profileID></jobInfo>")
                                .text(s("id"));
        QTRY_COMPARE_WITH_TIMEOUT(m_stage.service->jobState(job), s("COMPLETED"), kStagePatience);
        const Reply reply = clips("?job=" + job.toUtf8());
        QCOMPARE(reply.text(s("jobId")), job);
        QCOMPARE(reply.text(s("state")), s("OFFERED"));
        QCOMPARE(complaint(reply.body), QByteArray());
    }
    void badQuestionsAreRefused_data()
    {
        QTest::addColumn<QByteArray>("query");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("named");
        QTest::newRow("unknown folder") << QByteArray("?folder=f999999") << 404 << QByteArray("folder");
        QTest::newRow("unknown job") << QByteArray("?job=j999999") << 404 << QByteArray("job");
        QTest::newRow("no id") << QByteArray("?folder=..") << 400 << QByteArray("folder");
        QTest::newRow("unknown state") << QByteArray("?state=OFFERED,LOST") << 400 << QByteArray("LOST");
        QTest::newRow("empty state") << QByteArray("?state=") << 400 << QByteArray("");
        QTest::newRow("no number") << QByteArray("?offset=-1") << 400 << QByteArray("offset");
        QTest::newRow("no clips at all") << QByteArray("?limit=0") << 400 << QByteArray("limit");
        QTest::newRow("too many at once") << QByteArray("?limit=1001") << 400 << QByteArray("1000");
        QTest::newRow("too great a number")
            << QByteArray("?since=99999999999999999999") << 400 << QByteArray("since");
        QTest::newRow("unknown key") << QByteArray("?colour=red") << 400 << QByteArray("folder, job");
    }
    void badQuestionsAreRefused()
    {
        QFETCH(QByteArray, query);
        QFETCH(int, status);
        const Reply reply = clips(query);
        QCOMPARE(reply.status, status);
        QFETCH(QByteArray, named);
        QCOMPARE(reply.body.count('\n'), 1);
        QVERIFY2(reply.body.contains(named), reply.body.constData());
        QCOMPARE(m_stage.service->post("clips", "<x/>").status, 405);
        QCOMPARE(m_stage.service->get("changes?since=soon").status, 400);
    }
    void oneRequestWaitsUntilSomethingChanges()
    {
        const Reply first = m_stage.service->get("changes");
        QCOMPARE(first.status, 200);
        QCOMPARE(complaint(first.body), QByteArray());
        QCOMPARE(first.texts(s("changed")).size(), 5);
        auto news = std::async(std::launch::async, [&, since = version(first)] {
            return m_stage.service->get("changes?since=" + since);
        });
        QVERIFY(QDir().mkpath(m_stage.folder.filePath(s("other"))));
        m_stage.service->addFolder(m_stage.folder.filePath(s("other")), {}, false);
        QCOMPARE(news.wait_for(std::chrono::seconds(19)), std::future_status::ready);
        const Reply reply = news.get();
        QVERIFY(reply.texts(s("changed")).contains(s("folders")));
        QVERIFY(version(reply).toULongLong() > version(first).toULongLong());
    }
    void whoWaitsDoesNotKeepTheServiceFromEnding()
    {
        const QByteArray since = version(clips());
        auto news =
            std::async(std::launch::async, [&] { return m_stage.service->get("changes?since=" + since); });
        QCOMPARE(m_stage.service->terminate(), 0);
        QCOMPARE(news.wait_for(std::chrono::seconds(19)), std::future_status::ready);
    }
};

QTEST_GUILESS_MAIN(TestServiceClips)
#include "test_service_clips.moc"
