#include "PipelineBench.h"

#include "app/FolderDetails.h"
#include "store/ChangeBoard.h"
#include "store/ClipBook.h"
#include "store/JobStore.h"

#include <QTest>

#include <atomic>
#include <future>
#include <memory>
#include <thread>

namespace {

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

/// A book by clocks that a test sets.
struct TimedShelf : Shelf
{
    static constexpr std::int64_t kSecond = 1000000000;

    std::int64_t wall = 1700000000 * kSecond;
    std::int64_t steady = 4000 * kSecond;

    TimedShelf()
    {
        book.reset();
        book = std::make_unique<ClipBook>(database, board,
                                          BookClocks{[this] { return wall; }, [this] { return steady; }});
    }
    void pass(int seconds)
    {
        wall += seconds * kSecond;
        steady += seconds * kSecond;
    }
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

/// What is known of every clip, and who is told that it changed.
class TestServiceBook : public QObject
{
    Q_OBJECT

private slots:
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
        shelf.book->tellProgress("f000001", "/in/a.mov", "Transcode", 40, "Transcode: 40 %");
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
        QCOMPARE(clips[1].news.reason, std::string("It is a text"));
    }
    void clocksThatAreSetChangeNoStoryAndNoLength_data()
    {
        QTest::addColumn<qint64>("jump");
        QTest::newRow("not set") << qint64(0);
        QTest::newRow("ten years on") << qint64(3650) * 86400;
        QTest::newRow("ten years back") << qint64(-3650) * 86400;
        QTest::newRow("a second back") << qint64(-1);
    }
    void clocksThatAreSetChangeNoStoryAndNoLength()
    {
        QFETCH(qint64, jump);
        TimedShelf shelf;
        constexpr auto second = TimedShelf::kSecond;
        shelf.book->tell("f000001", "/in/a.mov", {ClipStage::Settling, "Stands still", {}, 0, 60});
        shelf.pass(20);
        shelf.wall += jump * second;
        QCOMPARE(shelf.only().news.settlesIn, 40.0);
        QCOMPARE(shelf.only().since, shelf.wall - 20 * second);
        // What the database says comes later, whatever the time of day is now.
        const ClipRecord record = shelf.begin("/in/a.mov");
        QVERIFY(shelf.isAt(ClipStage::Acting));
        shelf.pass(5);
        shelf.wall += jump * second;
        shelf.book->tellProgress("f000001", "/in/a.mov", "Copy", 50, "Copy: 50 %");
        QCOMPARE(shelf.only().started, shelf.wall - 5 * second);
        QCOMPARE(shelf.only().took, -1.0);
        shelf.pass(2);
        shelf.wall -= jump * second;
        QVERIFY(shelf.clips.fail(record.id, "Copy", "The disk is full"));
        QVERIFY(shelf.isAt(ClipStage::Failed));
        QCOMPARE(shelf.only().took, 7.0);
        shelf.pass(1);
        shelf.wall -= jump * second;
        const ClipEntry told = shelf.only();
        QCOMPARE(told.took, 7.0);
        QCOMPARE(told.since, shelf.wall - second);
        QCOMPARE(told.started, shelf.wall - 8 * second);
        QCOMPARE(told.ended, shelf.wall - second);
    }
    void whatAClipWaitsIsNoWork()
    {
        TimedShelf shelf;
        constexpr auto second = TimedShelf::kSecond;
        const ClipRecord record = shelf.begin("/in/a.mov");
        QVERIFY(shelf.isAt(ClipStage::Acting));
        const auto begun = shelf.only().started;
        shelf.pass(2);
        shelf.book->tell("f000001", "/in/a.mov", {ClipStage::Waiting, "Waits for its turn", "Copy"});
        QCOMPARE(shelf.only().news.activity, std::string("Copy"));
        shelf.pass(100);
        shelf.book->tellProgress("f000001", "/in/a.mov", "Copy", 1, "Copy: 1 %");
        shelf.pass(3);
        QVERIFY(shelf.clips.publish(record.id));
        QVERIFY(shelf.isAt(ClipStage::Publishing));
        shelf.pass(1);
        QVERIFY(shelf.clips.offer(record.id));
        QVERIFY(shelf.isAt(ClipStage::Offered));
        QCOMPARE(shelf.only().started, begun);
        QCOMPARE(shelf.only().ended, begun + 106 * second);
        QCOMPARE(shelf.only().took, 6.0);
    }
    void whatIsTriedAgainHasNotBegunWhileItWaits()
    {
        TimedShelf shelf;
        const ClipRecord record = shelf.begin("/in/a.mov");
        QVERIFY(shelf.isAt(ClipStage::Acting));
        shelf.pass(5);
        QVERIFY(shelf.clips.fail(record.id));
        QVERIFY(shelf.isAt(ClipStage::Failed));
        QCOMPARE(shelf.only().took, 5.0);
        shelf.book->tell("f000001", "/in/a.mov", {ClipStage::Waiting, "Waits for a worker"});
        QCOMPARE(shelf.only().started, std::int64_t(0));
        QCOMPARE(shelf.only().ended, std::int64_t(0));
        QCOMPARE(shelf.only().took, -1.0);
        shelf.pass(5);
        shelf.book->tellProgress("f000001", "/in/a.mov", "Copy", 1, "Copy: 1 %");
        QCOMPARE(shelf.only().started, shelf.wall);
    }
    void growingSinceIsWhatTheWatcherSaysItIs()
    {
        TimedShelf shelf;
        const auto begun = shelf.steady;
        shelf.pass(60);
        ClipNews news{ClipStage::Growing, "Grows"};
        news.since = begun;
        shelf.book->tell("f000001", "/in/a.mov", news);
        QCOMPARE(shelf.only().since, shelf.wall - 60 * TimedShelf::kSecond);
    }
    void whatFailedOrWasRefusedIsGoneWithItsFile()
    {
        Shelf shelf;
        const ClipRecord record = shelf.begin("/in/a.mov");
        shelf.book->vanished("f000001", "/in/a.mov");
        QVERIFY(shelf.isAt(ClipStage::Acting));
        QVERIFY(shelf.clips.fail(record.id, "Copy", "the disk is full"));
        shelf.book->vanished("f000001", "/in/a.mov");
        QVERIFY(shelf.isAt(ClipStage::Gone));
        shelf.book->vanished("f000001", "/in/nobody.mov");
        // It was moved away and back.
        shelf.book->withdraw("f000001", "/in/a.mov");
        QVERIFY(shelf.isAt(ClipStage::Failed));
        QCOMPARE(shelf.only().news.reason, std::string("The disk is full"));
        QCOMPARE(shelf.only().news.activity, std::string("Copy"));
    }
    void whatWasCalledOffWhileItWaitedSaysSo()
    {
        Shelf shelf;
        const ClipRecord record = shelf.begin("/in/a.mov");
        QVERIFY(shelf.clips.wait(record.id, "Copy"));
        shelf.clips.giveUp("f000001", "/in/a.mov");
        QVERIFY(shelf.isAt(ClipStage::Failed));
        QCOMPARE(shelf.only().news.reason, std::string("Was cancelled"));
        QCOMPARE(shelf.only().news.activity, std::string("Copy"));
        shelf.clips.retry("f000001", "/in/a.mov");
        QVERIFY(shelf.isAt(ClipStage::Waiting) && shelf.only().news.activity.empty());
    }
    void aReasonThatIsToldIsNotLostToAReader()
    {
        Shelf shelf;
        shelf.database.execute("PRAGMA synchronous=OFF");
        std::atomic<bool> over{false};
        std::thread reader([&] {
            while (!over)
                shelf.all();
        });
        constexpr int kMany = 1500;
        for (int i = 0; i < kMany; ++i) {
            const std::string path = "/in/" + std::to_string(i);
            shelf.clips.publish(shelf.begin(path).id);
            shelf.book->tellReason("f000001", path, "Its link document waits");
        }
        over = true;
        reader.join();
        ClipBook::Question question;
        question.limit = kMany;
        int lost = 0;
        for (const auto& clip : shelf.all(question))
            lost += clip.news.reason == "Its link document waits" ? 0 : 1;
        QCOMPARE(lost, 0);
    }
    void momentsAreToldAlikeUnlessTheClockIsSet()
    {
        TimedShelf shelf;
        shelf.book->tell("f000001", "/in/a.mov", {ClipStage::Growing, "Grows"});
        const auto first = shelf.only().since;
        shelf.pass(1);
        shelf.wall += 3000;
        QCOMPARE(shelf.only().since, first);
    }
    void whatBeganBeforeTheStartTookNobodyKnowsHowLong()
    {
        TimedShelf shelf;
        const ClipRecord record = shelf.begin("/in/a.mov");
        shelf.book.reset();
        shelf.book =
            std::make_unique<ClipBook>(shelf.database, shelf.board,
                                       BookClocks{[&] { return shelf.wall; }, [&] { return shelf.steady; }});
        shelf.pass(5);
        QVERIFY(shelf.clips.fail(record.id));
        QVERIFY(shelf.isAt(ClipStage::Failed));
        QCOMPARE(shelf.only().started, std::int64_t(0));
        QCOMPARE(shelf.only().took, -1.0);
    }
    void aVersionThatWasNotReachedYetIsAnsweredInFull()
    {
        Shelf shelf;
        shelf.book->tell("f000001", "/in/a.mov", {ClipStage::Growing, "Grows"});
        ClipBook::Question question;
        question.since = shelf.board.version() + 1000;
        QCOMPARE(shelf.book->list(question).clips.size(), std::size_t(1));
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
    void whatIsWithdrawnIsForgottenUnlessTheDatabaseKnowsIt()
    {
        Shelf shelf;
        shelf.book->tell("f000001", "/in/b.0002.dpx", {ClipStage::Growing, "Grows"});
        QCOMPARE(shelf.only().path, std::string("/in/b.0002.dpx"));
        shelf.book->withdraw("f000001", "/in/b.0002.dpx");
        shelf.book->withdraw("f000001", "/in/nobody");
        QVERIFY(shelf.all().empty());
    }
};

QTEST_GUILESS_MAIN(TestServiceBook)
#include "test_service_book.moc"
