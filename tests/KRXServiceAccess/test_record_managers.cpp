#include "FakeRestClient.h"
#include "KRXTest.h"
#include "Managers.h"

#include <QGuiApplication>
#include <QPointer>

using KRXTest::FakeAnswer;
using KRXTest::FakeRequest;
using KRXTest::FakeRestClient;
using namespace Managers;

namespace {

const QString kOne = QStringLiteral("1");
const QString kNewUrl = QStringLiteral("http://new/7");

} // namespace

/// What the managers of folders and profiles have in common: records that are read one by one, and one
/// manager for the process. Each test runs for both.
class TestRecordManagers : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<FakeRestClient> m_fake;
    std::unique_ptr<RecordManager> m_manager;

    Refresh oneByOne() { return m_manager->refreshes().last(); }
    QPointer<const QObject> firstRecord() const
    {
        return QPointer<const QObject>(m_manager->records().first());
    }

    /// Answers the list with the records at these addresses.
    void answerList(const QList<QByteArray>& urls)
    {
        QByteArray content;
        for (const QByteArray& url : urls)
            content += m_manager->uri(url);
        m_fake->answer(kGet, oneByOne().url, 200, listOf(content));
    }

    /// Rows of answers that hold no record, by number; \ref uselessAnswer() gives the answer.
    static void addUselessAnswerRows()
    {
        QTest::addColumn<int>("row");
        const char* names[] = {"refused",    "not XML",    "nothing in it",
                               "unusable 1", "unusable 2", "unusable 3"};
        for (int row = 0; row < 6; ++row)
            QTest::newRow(names[row]) << row;
    }
    FakeAnswer uselessAnswer(int row) const
    {
        switch (row) {
        case 0:
            return {404, {}, QStringLiteral("gone")};
        case 1:
            return {200, "oops"};
        case 2:
            return {200, "<a/>"};
        default:
            return {200, m_manager->unusableEntries().at(row - 3)};
        }
    }

private slots:
    void initTestCase_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char* kind : {"folders", "profiles"})
            QTest::newRow(kind) << QString::fromLatin1(kind);
    }

    void init()
    {
        QFETCH_GLOBAL(QString, kind);
        m_fake = std::make_unique<FakeRestClient>();
        m_manager = kind == QLatin1String("folders") ? folders() : profiles();
    }

    void cleanup()
    {
        endTest(m_fake, [this] { m_manager->cleanup(); });
        m_manager.reset();
    }

    // --- The instance ----------------------------------------------------------------------------------

    void thereIsOneManagerUntilCleanupWhichDeletesTheRecords()
    {
        const void* first = m_manager->instance();
        QCOMPARE(m_manager->instance(), first);
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1")));
        QCOMPARE(m_manager->count(), 1);
        const QPointer<const QObject> record = firstRecord();
        m_manager->cleanup();
        QVERIFY(!record);
        QCOMPARE(m_manager->count(), 0);
        m_manager->cleanup();
        m_manager->cleanup();
    }

    // --- Refreshing ------------------------------------------------------------------------------------

    void aRefreshReadsTheListAndEachRecordAtTheUrlAsGiven()
    {
        const QString odd = QStringLiteral("http://elsewhere:1/odd%20path/2?x=1");
        const QString plain = QStringLiteral("http://u/1");
        m_fake->answer(
            kGet, oneByOne().url, 200,
            listOf(m_manager->uri(odd.toLatin1()) + "<deep>" + m_manager->uri(plain.toLatin1()) + "</deep>"));
        m_fake->answer(kGet, odd, 200, m_manager->entry("2"));
        m_fake->answer(kGet, plain, 200, listOf(m_manager->entry("1")));
        QVERIFY(oneByOne().run());
        QCOMPARE(m_fake->requestLines(),
                 QStringList({QStringLiteral("GET ") + oneByOne().url, QStringLiteral("GET ") + odd,
                              QStringLiteral("GET ") + plain}));
        QCOMPARE(m_manager->ids(), QStringList({kOne, QStringLiteral("2")}));
    }

    void aRecordThatCannotBeFetchedIsLeftOutOfTheRefresh_data() { addUselessAnswerRows(); }
    void aRecordThatCannotBeFetchedIsLeftOutOfTheRefresh()
    {
        QFETCH(int, row);
        answerList({"http://u/1", "http://u/2", "http://u/3"});
        m_fake->answer(kGet, QStringLiteral("http://u/1"), 200, m_manager->entry("1"));
        m_fake->answer(kGet, QStringLiteral("http://u/2"), uselessAnswer(row));
        m_fake->answer(kGet, QStringLiteral("http://u/3"), 200, m_manager->entry("3"));
        QVERIFY(oneByOne().run());
        QCOMPARE(m_manager->ids(), QStringList({kOne, QStringLiteral("3")}));
        // What could not be read is skipped silently: the refresh is a success.
        QCOMPARE(m_manager->lastError(), row == 0 ? QStringLiteral("gone") : QString());
    }

    void theLaterOfTwoRecordsOfOneIdTakesThePlaceOfTheEarlierWhichLivesUntilTheCacheIsCleared()
    {
        QPointer<const QObject> earlier;
        const QByteArray list = listOf(m_manager->uri("http://u/a") + m_manager->uri("http://u/b"));
        m_fake->setHandler([&](const FakeRequest& request) -> FakeAnswer {
            if (request.url == oneByOne().url)
                return {200, list};
            if (request.url == QLatin1String("http://u/b"))
                earlier = firstRecord();
            return {200, m_manager->entry("1", request.url.right(1).toLatin1())};
        });
        QVERIFY(oneByOne().run());
        QVERIFY(earlier);
        QCOMPARE(m_manager->labelOf(*earlier), QStringLiteral("a"));
        QCOMPARE(m_manager->count(), 1);
        QCOMPARE(m_manager->labels(), QStringList(QStringLiteral("b")));
        m_fake->setHandler({});
        QVERIFY(m_manager->fill(*m_fake, {}));
        QVERIFY(!earlier);
    }

    void aRefreshThatFailsKeepsTheVeryRecords()
    {
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1") + m_manager->entry("2")));
        const QList<const QObject*> before = m_manager->records();
        for (const Refresh& refresh : m_manager->refreshes()) {
            m_fake->answer(kGet, refresh.url, 200, "oops");
            QVERIFY(!refresh.run());
            QCOMPARE(m_manager->records(), before);
            m_fake->answer(kGet, refresh.url, 500, listOf({}));
            QVERIFY(!refresh.run());
            QCOMPARE(m_manager->records(), before);
        }
    }

    void theWaitCursorShowsWhileRefreshingAndReadingAndNeverElse()
    {
        QList<Qt::CursorShape> shapes;
        m_fake->setHandler([&](const FakeRequest&) {
            shapes << (QGuiApplication::overrideCursor() ? QGuiApplication::overrideCursor()->shape()
                                                         : Qt::ArrowCursor);
            return FakeAnswer(500, {}, QStringLiteral("no"));
        });
        for (const Refresh& refresh : m_manager->refreshes()) {
            QVERIFY(!refresh.run());
            // It is taken back after a failure as well.
            QVERIFY(!QGuiApplication::overrideCursor());
        }
        const std::unique_ptr<QObject> out = m_manager->newRecord();
        QVERIFY(!m_manager->read(kOne, *out));
        QVERIFY(!QGuiApplication::overrideCursor());
        QCOMPARE(shapes, QList<Qt::CursorShape>({Qt::WaitCursor, Qt::WaitCursor, Qt::WaitCursor}));
        shapes.clear();
        QString id;
        QVERIFY(!m_manager->create(QStringLiteral("/a"), id));
        QVERIFY(!m_manager->remove(kOne));
        QCOMPARE(shapes, QList<Qt::CursorShape>({Qt::ArrowCursor, Qt::ArrowCursor}));
    }

    void noCursorShowsWhileANewRecordIsReadBack()
    {
        QList<bool> shown;
        m_fake->setHandler([&](const FakeRequest& request) -> FakeAnswer {
            shown << (QGuiApplication::overrideCursor() != nullptr);
            return {200, request.method == kPost ? m_manager->created("7") : m_manager->entry("7")};
        });
        QString id;
        QVERIFY(m_manager->create(QStringLiteral("/a"), id));
        QCOMPARE(shown, QList<bool>({false, false}));
    }

    // --- Reading one -----------------------------------------------------------------------------------

    void readingFetchesCachesAndCopies()
    {
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1", "old")));
        const QPointer<const QObject> old = firstRecord();
        m_fake->answer(kGet, m_manager->memberUrl(kOne), 200, m_manager->entry("1", "new"));
        const std::unique_ptr<QObject> out = m_manager->newRecord();
        out->setProperty("own", 1);
        QVERIFY(m_manager->read(kOne, *out));
        QCOMPARE(m_fake->requestLines(), QStringList(QStringLiteral("GET %1/1").arg(m_manager->url())));
        QCOMPARE(m_manager->labelOf(*out), QStringLiteral("new"));
        QCOMPARE(out->property("own").toInt(), 1);
        QVERIFY(!old);
        QCOMPARE(m_manager->labels(), QStringList(QStringLiteral("new")));
    }

    void readingStoresUnderTheIdThatWasAskedFor()
    {
        const QString asked = QStringLiteral("asked");
        m_fake->answer(kGet, m_manager->memberUrl(asked), 200, m_manager->entry("answered"));
        const std::unique_ptr<QObject> out = m_manager->newRecord();
        QVERIFY(m_manager->read(asked, *out));
        QCOMPARE(m_manager->idOf(*out), QStringLiteral("answered"));
        QVERIFY(m_manager->get(asked, *out));
        QCOMPARE(m_manager->idOf(*out), QStringLiteral("answered"));
        QVERIFY(!m_manager->get(QStringLiteral("answered"), *out));
    }

    void readingThatFailsSaysWhyAndKeepsTheCache_data() { addUselessAnswerRows(); }
    void readingThatFailsSaysWhyAndKeepsTheCache()
    {
        QFETCH(int, row);
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1", "old")));
        const QList<const QObject*> before = m_manager->records();
        m_fake->answer(kGet, m_manager->memberUrl(kOne), uselessAnswer(row));
        const std::unique_ptr<QObject> out = m_manager->newRecord();
        QVERIFY(!m_manager->read(kOne, *out));
        QCOMPARE(m_manager->lastError(), row == 0 ? QStringLiteral("gone") : kUnreadable);
        QCOMPARE(m_manager->records(), before);
        QCOMPARE(m_manager->labels(), QStringList(QStringLiteral("old")));
        QVERIFY(out->dynamicPropertyNames().isEmpty());
    }

    void lookingUpAsksNobodyAndCopies()
    {
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1", "one") + m_manager->entry("2", "two")));
        const std::unique_ptr<QObject> out = m_manager->newRecord();
        QVERIFY(m_manager->get(QStringLiteral("2"), *out));
        QCOMPARE(m_manager->labelOf(*out), QStringLiteral("two"));
        QVERIFY(m_manager->get(kOne, *out));
        QCOMPARE(m_manager->labelOf(*out), QStringLiteral("one"));
        for (const QByteArray& name : out->dynamicPropertyNames())
            out->setProperty(name.constData(), QStringLiteral("changed"));
        QCOMPARE(m_manager->labels(), QStringList({QStringLiteral("one"), QStringLiteral("two")}));
        QVERIFY(!m_manager->get(QStringLiteral("3"), *out));
        QVERIFY(m_fake->requests().isEmpty());
    }

    void anIdThatChangesWhileReadingIsTheOneThatWasAskedFor()
    {
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1", "one") + m_manager->entry("2", "two")));
        QString id = kOne;
        m_fake->setHandler([&](const FakeRequest&) -> FakeAnswer {
            id = QStringLiteral("2");
            return {200, m_manager->entry("1", "new")};
        });
        const std::unique_ptr<QObject> out = m_manager->newRecord();
        QVERIFY(m_manager->read(id, *out));
        QCOMPARE(m_manager->labels(), QStringList({QStringLiteral("new"), QStringLiteral("two")}));
    }

    // --- Creating, deleting ----------------------------------------------------------------------------

    void aCreationReadsTheFirstRecordThatTheAnswerNames()
    {
        m_fake->answer(kPost, m_manager->url(), 201,
                       listOf(m_manager->uri("http://new/7") + m_manager->uri("http://new/8")));
        m_fake->answer(kGet, kNewUrl, 200, m_manager->entry("id-7", "stored"));
        QString id = QStringLiteral("before");
        QVERIFY(m_manager->create(QStringLiteral("given"), id));
        QCOMPARE(m_fake->requestLines(),
                 QStringList({QStringLiteral("POST ") + m_manager->url(), QStringLiteral("GET ") + kNewUrl}));
        QCOMPARE(id, QStringLiteral("id-7"));
        QCOMPARE(m_manager->ids(), QStringList(QStringLiteral("id-7")));
        QCOMPARE(m_manager->labels(), QStringList(QStringLiteral("stored")));
    }

    void aCreationThatNamesNoRecordIsASuccessAndLeavesTheIdAlone()
    {
        m_fake->answer(kPost, m_manager->url(), 201, "<ok/>");
        QString id = QStringLiteral("before");
        QVERIFY(m_manager->create(QStringLiteral("given"), id));
        QCOMPARE(id, QStringLiteral("before"));
        QCOMPARE(m_manager->count(), 0);
        QCOMPARE(m_manager->lastError(), QString());
    }

    void aCreationWhoseRecordCannotBeReadIsASuccessAndLeavesTheIdAlone_data() { addUselessAnswerRows(); }
    void aCreationWhoseRecordCannotBeReadIsASuccessAndLeavesTheIdAlone()
    {
        QFETCH(int, row);
        m_fake->answer(kPost, m_manager->url(), 201, m_manager->created("7"));
        m_fake->answer(kGet, kNewUrl, uselessAnswer(row));
        QString id = QStringLiteral("before");
        QVERIFY(m_manager->create(QStringLiteral("given"), id));
        QCOMPARE(id, QStringLiteral("before"));
        QCOMPARE(m_manager->count(), 0);
        QCOMPARE(m_manager->lastError(), row == 0 ? QStringLiteral("gone") : QString());
    }

    void aCreationOfACachedIdKeepsTheOldRecordAliveUntilTheCacheIsCleared()
    {
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("7", "old")));
        const QPointer<const QObject> old = firstRecord();
        m_fake->answer(kPost, m_manager->url(), 201, m_manager->created("7"));
        m_fake->answer(kGet, kNewUrl, 200, m_manager->entry("7", "again"));
        QString id;
        QVERIFY(m_manager->create(QStringLiteral("again"), id));
        QVERIFY(old);
        QCOMPARE(m_manager->labelOf(*old), QStringLiteral("old"));
        QCOMPARE(m_manager->count(), 1);
        QCOMPARE(m_manager->labels(), QStringList(QStringLiteral("again")));
        QVERIFY(m_manager->fill(*m_fake, {}));
        QVERIFY(!old);
    }

    void aDeletionDeletesTheRecord()
    {
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1") + m_manager->entry("2")));
        const QPointer<const QObject> record = firstRecord();
        m_fake->answer(kDelete, m_manager->memberUrl(kOne), 200);
        QVERIFY(m_manager->remove(kOne));
        QVERIFY(!record);
        QCOMPARE(m_manager->ids(), QStringList(QStringLiteral("2")));
    }
};

QTEST_MAIN(TestRecordManagers)
#include "test_record_managers.moc"
