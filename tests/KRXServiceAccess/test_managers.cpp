#include "BadDocuments.h"
#include "FakeRestClient.h"
#include "KRXFolderManager.h"
#include "KRXProfileManager.h"
#include "KRXTest.h"
#include "Managers.h"
#include "StandInHost.h"

#include <QGuiApplication>
#include <QRegularExpression>

#include <type_traits>

using KRXTest::FakeAnswer;
using KRXTest::FakeRequest;
using KRXTest::FakeRestClient;
using namespace Managers;

/// What the managers of folders, profiles and jobs have in common; each test runs for every one of them.
class TestManagers : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<FakeRestClient> m_fake;
    std::unique_ptr<Manager> m_manager;

    static QStringList texts(std::initializer_list<const char*> latin1)
    {
        QStringList list;
        for (const char* text : latin1)
            list << QLatin1String(text);
        return list;
    }

private slots:
    void initTestCase_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char* kind : {"folders", "profiles", "jobs"})
            QTest::newRow(kind) << QString::fromLatin1(kind);
    }

    void init()
    {
        QFETCH_GLOBAL(QString, kind);
        m_fake = std::make_unique<FakeRestClient>();
        if (kind == QLatin1String("folders"))
            m_manager = folders();
        else if (kind == QLatin1String("profiles"))
            m_manager = profiles();
        else
            m_manager = jobs();
    }

    void cleanup()
    {
        endTest(m_fake, [this] { m_manager->cleanup(); });
        m_manager.reset();
    }

    void theManagersOfRecordsCannotBeCopied()
    {
        QVERIFY(!std::is_copy_constructible<KRXFolderManager>::value);
        QVERIFY(!std::is_copy_assignable<KRXFolderManager>::value);
        QVERIFY(!std::is_default_constructible<KRXFolderManager>::value);
        QVERIFY(!std::is_copy_constructible<KRXProfileManager>::value);
        QVERIFY(!std::is_copy_assignable<KRXProfileManager>::value);
        QVERIFY(!std::is_default_constructible<KRXProfileManager>::value);
    }

    void aHostWithoutAFactoryThrowsNothingAtItsCallers()
    {
        m_fake->factoryIsNull = true;
        const QRegularExpression breach(QStringLiteral("No REST client"));
        const Refresh refresh = m_manager->refreshes().first();
        QTest::ignoreMessage(QtCriticalMsg, breach);
        QTest::ignoreMessage(QtCriticalMsg, breach);
        QVERIFY(!refresh.run());
        QVERIFY(!m_manager->lastError().isEmpty());
        m_fake->factoryIsNull = false;
        m_fake->answer(kGet, refresh.url, 200, listOf({}));
        QVERIFY(refresh.run());
    }

    // --- Refreshing ------------------------------------------------------------------------------------

    void oneRequestBringsAllEntriesAtAnyDepth()
    {
        const Refresh refresh = m_manager->refreshes().first();
        m_fake->answer(
            kGet, refresh.url, 200,
            listOf(m_manager->entry("b", "B") + "<group>" + m_manager->entry("a", "A") + "</group>"));
        QVERIFY(refresh.run());
        QCOMPARE(m_fake->requestLines(), QStringList(QStringLiteral("GET ") + refresh.url));
        QCOMPARE(m_manager->ids(), texts({"a", "b"}));
        QCOMPARE(m_manager->labels(), texts({"A", "B"}));
    }

    void entriesThatLackWhatTheyNeedAreSkipped()
    {
        QByteArray entries;
        for (const QByteArray& entry : m_manager->unusableEntries())
            entries += entry;
        QVERIFY(m_manager->fill(*m_fake, entries + m_manager->entry("3")));
        QCOMPARE(m_manager->ids(), texts({"3"}));
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("3") + entries));
        QCOMPARE(m_manager->ids(), texts({"3"}));
    }

    void entriesAreInPlainOrderOfTheirIds()
    {
        QByteArray entries;
        for (const char* id : {"b", "10", "B", "2", "a"})
            entries += m_manager->entry(id, QByteArray("/") + id);
        QVERIFY(m_manager->fill(*m_fake, entries));
        QCOMPARE(m_manager->ids(), texts({"10", "2", "B", "a", "b"}));
        QCOMPARE(m_manager->labels(), texts({"/10", "/2", "/B", "/a", "/b"}));
        QCOMPARE(m_manager->count(), 5);
    }

    void twoEntriesOfOneIdLeaveTheLaterOne()
    {
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1", "first") + m_manager->entry("1", "later")));
        QCOMPARE(m_manager->count(), 1);
        QCOMPARE(m_manager->labels(), texts({"later"}));
    }

    void aListWithoutAnyEntryEmptiesTheCacheAndIsSuccess()
    {
        for (const Refresh& refresh : m_manager->refreshes()) {
            QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1") + m_manager->entry("2")));
            m_fake->answer(kGet, refresh.url, 200, "<nothing/>");
            QVERIFY(refresh.run());
            QCOMPARE(m_manager->count(), 0);
            QCOMPARE(m_manager->lastError(), QString());
        }
    }

    void aListThatIsNotXmlIsFailureAndKeepsTheCache_data() { addBadDocumentRows(); }
    void aListThatIsNotXmlIsFailureAndKeepsTheCache()
    {
        QFETCH(QByteArray, body);
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1", "one") + m_manager->entry("2", "two")));
        for (const Refresh& refresh : m_manager->refreshes()) {
            m_fake->answer(kGet, refresh.url, 200, body);
            QVERIFY(!refresh.run());
            QCOMPARE(m_manager->lastError(), kUnreadable);
            QCOMPARE(m_manager->count(), 2);
            QCOMPARE(m_manager->labels(), texts({"one", "two"}));
        }
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("3")));
        QCOMPARE(m_manager->ids(), texts({"3"}));
    }

    void theTextOfAnUnreadableAnswerIsLocalised()
    {
        StandInHost::setTranslator([](const QString& key) -> QString { return QStringLiteral("~") + key; });
        for (const Refresh& refresh : m_manager->refreshes()) {
            m_fake->answer(kGet, refresh.url, 200, "oops");
            QVERIFY(!refresh.run());
            QCOMPARE(m_manager->lastError(), QString(QLatin1Char('~') + kUnreadable));
        }
    }

    void aRefusedListIsFailureAndKeepsTheCache()
    {
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1") + m_manager->entry("2")));
        for (const Refresh& refresh : m_manager->refreshes()) {
            m_fake->answer(kGet, refresh.url, 500, listOf(m_manager->entry("3")),
                           QStringLiteral("not today"));
            QVERIFY(!refresh.run());
            QCOMPARE(m_manager->lastError(), QStringLiteral("not today"));
            QCOMPARE(m_manager->ids(), texts({"1", "2"}));
        }
    }

    void wrongRootsAreReadForWhatTheyHold()
    {
        const Refresh refresh = m_manager->refreshes().first();
        m_fake->answer(kGet, refresh.url, 200, "<x><y>" + m_manager->entry("1") + "</y></x>");
        QVERIFY(refresh.run());
        QCOMPARE(m_manager->ids(), texts({"1"}));
    }

    // --- Creating --------------------------------------------------------------------------------------

    void aCreationThatFailsKeepsTheCache_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("isXml");
        QTest::addColumn<QString>("error");
        QTest::newRow("refused") << 409 << true << QStringLiteral("There is one already");
        QTest::newRow("not XML") << 201 << false << kUnreadable;
    }
    void aCreationThatFailsKeepsTheCache()
    {
        QFETCH(int, status);
        QFETCH(bool, isXml);
        QFETCH(QString, error);
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1")));
        m_fake->answer(kPost, m_manager->url(), status,
                       isXml ? m_manager->created("7") : QByteArray("created"),
                       QStringLiteral("There is one already"));
        QString id = QStringLiteral("before");
        QVERIFY(!m_manager->create(QStringLiteral("/a"), id));
        QCOMPARE(m_manager->lastError(), error);
        QCOMPARE(m_fake->requests().size(), 1);
        QCOMPARE(id, QStringLiteral("before"));
        QCOMPARE(m_manager->ids(), texts({"1"}));
    }

    void textsThatXmlCannotCarryAreRefusedBeforeAnythingIsSent_data() { addUncarriableTextRows(); }
    void textsThatXmlCannotCarryAreRefusedBeforeAnythingIsSent()
    {
        QFETCH(QString, text);
        StandInHost::setTranslator([](const QString& key) -> QString { return QStringLiteral("~") + key; });
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1")));
        QString id = QStringLiteral("before");
        QVERIFY(!m_manager->create(text, id));
        QCOMPARE(m_manager->lastError(), QString(QLatin1Char('~') + kCannotBeStored));
        QCOMPARE(id, QStringLiteral("before"));
        QVERIFY(m_fake->requests().isEmpty());
        QCOMPARE(m_manager->ids(), texts({"1"}));
    }

    // --- Deleting --------------------------------------------------------------------------------------

    void aDeletionIsDoneOnTheServiceAndInTheCache()
    {
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1") + m_manager->entry("2")));
        QCOMPARE(m_manager->ids(), texts({"1", "2"}));
        m_fake->answer(kDelete, m_manager->memberUrl(QStringLiteral("1")), 200, "not XML");
        QVERIFY(m_manager->remove(QStringLiteral("1")));
        QCOMPARE(m_fake->requestLines(), QStringList(QStringLiteral("DELETE %1/1").arg(m_manager->url())));
        QCOMPARE(m_manager->ids(), texts({"2"}));
    }

    void aDeletionOfWhatIsNotCachedIsTheServicesWord()
    {
        const QString url = m_manager->memberUrl(QStringLiteral("1"));
        m_fake->answer(kDelete, url, 200);
        QVERIFY(m_manager->remove(QStringLiteral("1")));
        m_fake->answer(kDelete, url, 404, {}, QStringLiteral("unknown"));
        QVERIFY(!m_manager->remove(QStringLiteral("1")));
        QCOMPARE(m_manager->lastError(), QStringLiteral("unknown"));
        QCOMPARE(m_fake->requests().size(), 2);
    }

    void aDeletionThatIsRefusedKeepsTheCache()
    {
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1")));
        m_fake->answer(kDelete, m_manager->memberUrl(QStringLiteral("1")), 500, {}, QStringLiteral("busy"));
        QVERIFY(!m_manager->remove(QStringLiteral("1")));
        QCOMPARE(m_manager->lastError(), QStringLiteral("busy"));
        QCOMPARE(m_manager->ids(), texts({"1"}));
    }

    void anIdThatChangesDuringADeletionIsTheOneThatWasAskedFor()
    {
        QVERIFY(m_manager->fill(*m_fake, m_manager->entry("1") + m_manager->entry("2")));
        QString id = QStringLiteral("1");
        m_fake->setHandler([&](const FakeRequest&) {
            id = QStringLiteral("2");
            return FakeAnswer();
        });
        QVERIFY(m_manager->remove(id));
        QCOMPARE(m_manager->ids(), texts({"2"}));
    }

    void markersInAnIdStayAsTheyAre()
    {
        const QString id = QStringLiteral("%1%2%L1");
        m_fake->answer(kDelete, m_manager->memberUrl(id), 200);
        QVERIFY(m_manager->remove(id));
        QCOMPARE(m_fake->lastRequest().url, m_manager->memberUrl(id));
    }
};

QTEST_MAIN(TestManagers)
#include "test_managers.moc"
