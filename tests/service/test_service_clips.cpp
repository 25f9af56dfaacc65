#include "PipelineBench.h"
#include "ServiceStage.h"

#include "app/FolderDetails.h"
#include "store/ChangeBoard.h"
#include "store/ClipBook.h"
#include "store/JobStore.h"
#include "watch/WatchedFolder.h"

#include <QProcess>
#include <QTest>

#include <future>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

/// A book beside a pipeline.
struct Shelf : PipelineBench
{
    ChangeBoard board;
    JobStore jobs{database};
    std::unique_ptr<ClipBook> book = std::make_unique<ClipBook>(database, board);

    ~Shelf() { book.reset(); }
    std::vector<ClipEntry> all(const ClipBook::Question& question = {}) const
    {
        return book->list(question).clips;
    }
    ClipEntry only() const { return all().size() == 1 ? all().front() : ClipEntry(); }
    bool isAt(ClipStage stage) const { return only().news.stage == stage && only().path == "/in/a.mov"; }
};

/// What a listener of the board was told, once it was.
struct Ear
{
    std::promise<ChangeBoard::News> told;
    std::future<ChangeBoard::News> news = told.get_future();

    ChangeBoard::Listener listener()
    {
        return [this](const ChangeBoard::News& what) { told.set_value(what); };
    }
    bool hears() { return news.wait_for(std::chrono::seconds(20)) == std::future_status::ready; }
};

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

    void aBoardTellsWhatChangedSinceAVersion()
    {
        ChangeBoard board;
        const auto start = board.version();
        QVERIFY(board.since(start).topics.empty());
        board.changed(Topic::Jobs);
        QVERIFY(board.version() > start);
        QCOMPARE(board.since(start).topics, std::vector<Topic>{Topic::Jobs});
        const auto later = board.version();
        board.changed(Topic::Errors);
        QCOMPARE(board.since(later).topics, std::vector<Topic>{Topic::Errors});
        QCOMPARE(board.since(start).topics, (std::vector<Topic>{Topic::Jobs, Topic::Errors}));
        QCOMPARE(board.since(start).version, board.version());
    }
    void aVersionOfAnotherRunIsToldEverything_data()
    {
        QTest::addColumn<bool>("isOlder");
        QTest::newRow("of a run before") << true;
        QTest::newRow("greater than any of this one") << false;
    }
    void aVersionOfAnotherRunIsToldEverything()
    {
        QFETCH(bool, isOlder);
        ChangeBoard board;
        const auto foreign = isOlder ? board.version() - 1 : board.version() + 1;
        QCOMPARE(board.since(foreign).topics.size(), ChangeBoard::kTopics);
        Ear ear;
        board.wait(foreign, std::chrono::hours(1), ear.listener());
        QVERIFY(ear.hears());
    }
    void aListenerIsToldOfAChangeAtOnceOrOfNoneInTheEnd()
    {
        ChangeBoard board;
        Ear changed;
        board.wait(board.version(), std::chrono::hours(1), changed.listener());
        board.changed(Topic::Folders);
        QVERIFY(changed.hears());
        QCOMPARE(changed.news.get().topics, std::vector<Topic>{Topic::Folders});
        Ear silent;
        board.wait(board.version(), std::chrono::milliseconds(1), silent.listener());
        QVERIFY(silent.hears());
        QVERIFY(silent.news.get().topics.empty());
    }
    void theListOfFoldersIsMadeAgainOnlyWhenSomethingInItChanged()
    {
        Shelf shelf;
        FolderDetails details(shelf.folders, shelf.outputs, shelf.board);
        const auto first = details.text();
        QVERIFY(first->find("<path>/in<") != std::string::npos);
        shelf.errors.add("A message changes nothing in it.");
        QCOMPARE(details.text(), first);

        auto folder = *shelf.folders.find("f000001");
        folder.profile = "p1";
        QVERIFY(shelf.folders.update(folder));
        const auto updated = details.text();
        QVERIFY(updated != first && updated->find(">p1<") != std::string::npos);
        QCOMPARE(details.text(), updated);

        const std::string name = OutputArea::fileName(7, "/in/a.mov");
        QCOMPARE(shelf.outputs.prepare("f000001", name, "<xel/>"), std::string());
        QCOMPARE(shelf.outputs.publish("f000001", name), std::string());
        const auto offered = details.text();
        QVERIFY(offered->find(name) != std::string::npos);
        QCOMPARE(details.text(), offered);
        QVERIFY(QFile::remove(QString::fromStdString(shelf.outputs.path("f000001", name))));
        QCOMPARE(*details.text(), *updated);

        FolderRecord other;
        other.path = other.canonical = "/other";
        const auto id = shelf.folders.create(other);
        QVERIFY(id && details.text()->find("<path>/other<") != std::string::npos);
        QVERIFY(shelf.folders.remove(*id));
        QCOMPARE(*details.text(), *updated);
    }
    void theListOfFoldersIsMadeAgainAfterTheDatabaseWas()
    {
        Shelf shelf;
        FolderDetails details(shelf.folders, shelf.outputs, shelf.board);
        const auto before = details.text();
        shelf.database.rebuild();
        const auto after = details.text();
        QVERIFY(after != before);
        QCOMPARE(*after, *before);
    }
    void nobodyWaitsBeyondTheEnd()
    {
        Ear before;
        Ear after;
        ChangeBoard board;
        board.wait(board.version(), std::chrono::hours(1), before.listener());
        board.endWaits();
        QVERIFY(before.hears());
        board.wait(board.version(), std::chrono::hours(1), after.listener());
        QVERIFY(after.hears());
    }
    void theBookFollowsTheDatabase()
    {
        Shelf shelf;
        const ClipRecord record = shelf.begin("/in/a.mov");
        QVERIFY(shelf.isAt(ClipStage::Acting));
        QCOMPARE(shelf.only().owner, std::string("f000001"));
        const std::string id = shelf.only().id;
        const auto version = shelf.board.version();
        QVERIFY(shelf.clips.publish(record.id));
        QCOMPARE(shelf.board.since(version).topics, std::vector<Topic>{Topic::Clips});
        QVERIFY(shelf.isAt(ClipStage::Publishing));
        QVERIFY(shelf.clips.offer(record.id));
        QVERIFY(shelf.isAt(ClipStage::Offered));
        shelf.clips.take({{record.owner, record.id}});
        QVERIFY(shelf.isAt(ClipStage::Taken));
        QCOMPARE(shelf.only().id, id);
        QVERIFY(shelf.only().started != 0 && shelf.only().ended >= shelf.only().started);
        shelf.clips.forget(record.id);
        QVERIFY(shelf.isAt(ClipStage::Gone));
    }
    void whatWasRolledBackIsNotTold()
    {
        Shelf shelf;
        const ClipRecord record = shelf.begin("/in/a.mov");
        QVERIFY(shelf.isAt(ClipStage::Acting));
        {
            Transaction transaction(shelf.database);
            shelf.clips.fail(record.id);
        }
        QVERIFY(shelf.isAt(ClipStage::Acting));
    }
    void whatIsToldOfAFileCountsUntilTheDatabaseKnowsMore()
    {
        Shelf shelf;
        shelf.book->tell("f000001", "/in/a.mov", {ClipStage::Settling, "Stands still", {}, 0, 2});
        QVERIFY(shelf.isAt(ClipStage::Settling));
        QVERIFY(shelf.only().news.settlesIn > 0 && shelf.only().news.settlesIn <= 2);
        const std::string id = shelf.only().id;
        shelf.book->tell("f000001", "/in/a.mov", {ClipStage::Waiting, "Waits for a worker"});
        QCOMPARE(shelf.only().news.reason, std::string("Waits for a worker"));
        const ClipRecord record = shelf.begin("/in/a.mov");
        shelf.book->tellProgress("f000001", "/in/a.mov", "Transcode", 40);
        QVERIFY(shelf.isAt(ClipStage::Acting));
        QCOMPARE(shelf.only().news.percent, 40);
        QCOMPARE(shelf.only().news.activity, std::string("Transcode"));
        shelf.clips.fail(record.id);
        QVERIFY(shelf.isAt(ClipStage::Failed));
        shelf.book->tellReason("f000001", "/in/a.mov", "The disk is full");
        QCOMPARE(shelf.only().news.reason, std::string("The disk is full"));
        // Somebody writes to the file once more.
        shelf.book->tell("f000001", "/in/a.mov", {ClipStage::Growing, "Grows"});
        QVERIFY(shelf.isAt(ClipStage::Growing));
        QCOMPARE(shelf.only().id, id);
    }
    void aFileOfWhichNobodyHeardIsNotGone()
    {
        Shelf shelf;
        shelf.book->tell("f000001", "/in/a.mov", {ClipStage::Gone, "Gone"});
        QVERIFY(shelf.all().empty());
    }
    void whatIsCalledOffIsNotOnItsWayAnyMore()
    {
        Shelf shelf;
        shelf.clips.offer(shelf.begin("/in/a.mov").id);
        shelf.book->tell("f000001", "/in/b.mov", {ClipStage::Waiting, "Waits"});
        shelf.book->tell("f000001", "/in/c.mov", {ClipStage::Waiting, "Waits"});
        shelf.book->tell("f000002", "/in/b.mov", {ClipStage::Waiting, "Waits"});
        shelf.book->forgetUnfinished("f000001", "/in/b.mov");
        QCOMPARE(shelf.all().size(), std::size_t(3));
        shelf.book->forgetUnfinished("f000001");
        QCOMPARE(shelf.all().size(), std::size_t(2));
        shelf.book->forgetAll("f000001");
        QCOMPARE(shelf.only().owner, std::string("f000002"));
    }
    void aNewBookTellsWhatWasAndWhy()
    {
        Shelf shelf;
        JobRecord job;
        job.state = jobstate::kRunning;
        job.groupId = "f000001";
        const std::string id = shelf.jobs.create(job);
        const ClipRecord failed = shelf.begin("/in/failed.mov");
        shelf.clips.setJob(failed.id, id);
        shelf.jobs.move(id, {jobstate::kRunning}, jobstate::kFailed, "The disk is full");
        shelf.clips.fail(failed.id);
        ClipRecord rejected;
        rejected.owner = "f000001";
        rejected.path = "/in/text.txt";
        rejected.checksum = "x";
        shelf.clips.reject(rejected);
        shelf.errors.add(ErrorStore::refusedStart("/in/text.txt") + "it is a text");
        shelf.book.reset();
        shelf.book = std::make_unique<ClipBook>(shelf.database, shelf.board);
        const auto clips = shelf.all();
        QCOMPARE(clips.size(), std::size_t(2));
        QCOMPARE(clips[0].news.stage, ClipStage::Failed);
        QCOMPARE(clips[0].news.reason, std::string("The disk is full"));
        QCOMPARE(clips[0].news.job, id);
        QCOMPARE(clips[0].since, std::int64_t(0));
        QCOMPARE(clips[1].news.stage, ClipStage::Rejected);
        QCOMPARE(clips[1].news.reason, std::string("it is a text"));
    }
    void theLatestTenThousandAreKeptAndAllThatAreOnTheirWay()
    {
        Shelf shelf;
        shelf.book->tell("f000001", "/in/first", {ClipStage::Waiting, "Waits"});
        const auto most = static_cast<int>(ClipBook::kMostClips);
        for (int i = 0; i < most + 5; ++i) {
            const std::string path = "/in/" + std::to_string(i);
            shelf.book->tell("f000001", path, {ClipStage::Waiting, "Waits"});
            shelf.book->tell("f000001", path, {ClipStage::Rejected, "Is a text"});
        }
        ClipBook::Question question;
        question.limit = 3;
        const auto answer = shelf.book->list(question);
        QCOMPARE(answer.total, ClipBook::kMostClips);
        QCOMPARE(answer.clips[0].path, std::string("/in/first"));
        QCOMPARE(answer.clips[1].path, std::string("/in/6"));
    }
    void aListIsMadeOfPages()
    {
        Shelf shelf;
        for (const char* name : {"/in/a", "/in/b", "/in/c", "/in/d"})
            shelf.book->tell("f000001", name, {ClipStage::Waiting, "Waits"});
        shelf.book->tell("f000001", "/in/b", {ClipStage::Failed, "Broken"});
        ClipBook::Question question;
        question.stages = {ClipStage::Waiting};
        question.offset = 1;
        question.limit = 1;
        auto answer = shelf.book->list(question);
        QCOMPARE(answer.total, std::size_t(3));
        QCOMPARE(answer.clips.size(), std::size_t(1));
        QCOMPARE(answer.clips[0].path, std::string("/in/c"));
        ClipBook::Question newer;
        newer.since = answer.version;
        QVERIFY(shelf.book->list(newer).clips.empty());
        shelf.book->tell("f000001", "/in/d", {ClipStage::Failed, "Broken"});
        QCOMPARE(shelf.book->list(newer).clips.size(), std::size_t(1));
    }

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
        wait(1);
        QCOMPARE(told.back(), Line(s("take.0001.dpx"), ClipStage::Settling));
        QCOMPARE(reason, std::string("3 pictures, 15 bytes: waits whether more come"));
        QCOMPARE(left, 2.5);
        const auto count = told.size();
        {
            QFile open(folder.filePath(s("take.0003.dpx")));
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
    void whatIsWithdrawnIsForgottenUnlessTheDatabaseKnowsIt()
    {
        Shelf shelf;
        shelf.book->tell("f000001", "/in/b.0002.dpx", {ClipStage::Growing, "Grows"});
        QCOMPARE(shelf.only().path, std::string("/in/b.0002.dpx"));
        shelf.book->withdraw("f000001", "/in/b.0002.dpx");
        shelf.book->withdraw("f000001", "/in/nobody");
        QVERIFY(shelf.all().empty());
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
