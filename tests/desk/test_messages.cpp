#include "ClipTable.h"
#include "MessageList.h"
#include "Notifier.h"
#include "ShownClips.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QProcess>
#include <QTest>

namespace {

using ShownClips::all;
using ShownClips::clip;
using ShownClips::column;
using ShownClips::s;
using ShownClips::some;

constexpr char kNotify[] = "--notify";

/// Shows a notice, and ends once it has left this process.
int notify(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    Notifier notifier;
    notifier.tell(3, 0);
    auto* names = QDBusConnection::sessionBus().interface();
    return names && names->isServiceRegistered(s("org.freedesktop.Notifications")) ? 0 : 1;
}

} // namespace

/// Takes notices and never answers.
class HangingNotices : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QStringList texts;

public slots:
    uint Notify(const QString&, uint, const QString&, const QString&, const QString& text, const QStringList&,
                const QVariantMap&, int)
    {
        setDelayedReply(true);
        texts << text;
        return 0;
    }
};

/// What the desk tells a person in words: messages, and notices to who looks elsewhere.
class TestMessages : public QObject
{
    Q_OBJECT

private slots:
    void messagesStandNewestFirstAndGoWhenTheyNoLongerHold()
    {
        MessageList list;
        const QAbstractItemModelTester tester(&list, QAbstractItemModelTester::FailureReportingMode::QtTest);
        list.setServiceErrors({s("one"), s("two")});
        list.add(s("the desk's"));
        list.setServiceErrors({s("two"), s("three")});
        QCOMPARE(column(list, MessageList::Text), (QStringList{s("three"), s("the desk's"), s("two")}));
        QCOMPARE(list.serviceErrors(), 2);
        list.setServiceErrors({});
        QCOMPARE(column(list, MessageList::Text), QStringList{s("the desk's")});
    }
    void whatTheDeskSaidGoesWhenItHoldsNoMore()
    {
        ClipTable clips;
        MessageList list;
        const QAbstractItemModelTester tester(&list, QAbstractItemModelTester::FailureReportingMode::QtTest);
        list.follow(clips);
        list.setServiceErrors({s("The service says this of /in/a.mov")});
        list.add(s("/in/a.mov could not be submitted: x"));
        list.add(s("The service ended"), MessageList::WhileServiceIsAway);
        list.add(s("/in/b.mov could not be submitted: x"));
        list.serviceAnswers();
        QCOMPARE(column(list, MessageList::Text), (QStringList{s("/in/b.mov could not be submitted: x"),
                                                               s("/in/a.mov could not be submitted: x"),
                                                               s("The service says this of /in/a.mov")}));
        clips.apply(all({clip("a", ClipState::Offered), clip("b", ClipState::Failed)}));
        list.clipsAreReady({s("/in/a.mov")});
        QCOMPARE(column(list, MessageList::Text), (QStringList{s("/in/b.mov could not be submitted: x"),
                                                               s("The service says this of /in/a.mov")}));
    }
    void aMessageTellsOfWhichFolderAndClipItSpeaks_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("clip");
        QTest::newRow("a clip") << s("The file /media/in/card/A 001.mov is not offered: x") << s("in")
                                << s("A 001.mov");
        QTest::newRow("a folder") << s("The folder /media/in is not available: gone") << s("in") << QString();
        QTest::newRow("the deeper folder") << s("/media/in/deep/x.wav: no") << s("deep") << s("x.wav");
        QTest::newRow("neither") << s("The database is damaged") << QString() << QString();
        QTest::newRow("a blank behind a dot")
            << s("The file /media/in/junk 1.v2 final cut.mov is not offered: x") << s("in")
            << s("junk 1.v2 final cut.mov");
        QTest::newRow("a dot in a directory")
            << s("The job for /media/in/A001.RDC/junk b.mov failed: x") << s("in") << s("junk b.mov");
        QTest::newRow("outside of all folders")
            << s("The file /src/manual one.mov is not offered: x") << QString() << s("manual one.mov");
        QTest::newRow("a folder that is called alike")
            << s("The file /media/inner/x.mov is not offered: x") << QString() << s("x.mov");
        QTest::newRow("a path that ends as a folder")
            << s("/src/media/in/x.mov: y") << QString() << s("x.mov");
        QTest::newRow("words of a sentence in a known name")
            << s("The file /media/in/what is to do: this.mov is not offered: x") << s("in")
            << s("what is to do: this.mov");
        QTest::newRow("the longer one of two known") << s("The clip /media/in/a b: x") << s("in") << s("a b");
        QTest::newRow("a known one at the end")
            << s("Nothing came of /src/is here.") << QString() << s("is here");
    }
    void aMessageTellsOfWhichFolderAndClipItSpeaks()
    {
        QFETCH(QString, text);
        QVector<ServiceClip> known;
        for (const char* path :
             {"/media/in/a", "/media/in/a b", "/media/in/what is to do: this.mov", "/src/is here"}) {
            known << clip(path, ClipState::Offered);
            known.last().path = s(path);
            known.last().name = known.last().path.section(QLatin1Char('/'), -1);
        }
        for (const bool isClipFirst : {true, false}) {
            ClipTable clips;
            MessageList list;
            list.follow(clips);
            if (isClipFirst)
                clips.apply(all(known));
            list.add(text);
            list.setFolders({s("/media/in"), s("/media/in/deep"), s("/other")});
            if (!isClipFirst)
                clips.apply(some(known, known.size()));
            QTEST(list.index(0, MessageList::Folder).data().toString(), "folder");
            QTEST(list.index(0, MessageList::Clip).data().toString(), "clip");
            // A message keeps what was known when its clip is forgotten.
            clips.apply(all({}));
            list.setFolders({s("/media/in"), s("/media/in/deep")});
            QTEST(list.index(0, MessageList::Clip).data().toString(), "clip");
        }
    }
    void aMessageOfAClipThatFailedTellsWhenThatWas()
    {
        const QDateTime noon(QDate(2026, 1, 2), QTime(12, 0));
        ClockReading now{noon.toMSecsSinceEpoch(), 500000000};
        const auto ago = [&](const char* id, ClipState state, qint64 seconds) {
            ServiceClip one = clip(id, state);
            one.since = now.steady - seconds * 1000;
            return one;
        };
        ClipTable clips;
        MessageList list;
        const QAbstractItemModelTester tester(&list, QAbstractItemModelTester::FailureReportingMode::QtTest);
        list.setClocks([&] { return now; });
        list.follow(clips);
        list.add(s("the desk's, of /in/a.mov"));
        now.steady += 1000;
        now.wall += 1000;
        // They were there before the desk began.
        list.setServiceErrors({s("The file /in/a.mov is not offered: x"),
                               s("The job for /in/b.mov failed: x"), s("The clip /in/c.mov: x"),
                               s("The database is damaged")});
        const QPersistentModelIndex first = list.index(2, MessageList::Text);
        QCOMPARE(first.data().toString(), s("The job for /in/b.mov failed: x"));
        clips.apply(all({ago("a", ClipState::Rejected, 86400), ago("b", ClipState::Failed, 3600),
                         ago("c", ClipState::Acting, 7200)}));
        QCOMPARE(column(list, MessageList::Time),
                 (QStringList{s("12:00:01"), s("12:00:01"), s("12:00:00"), s("11:00:01"), s("1 Jan 12:00")}));
        QCOMPARE(column(list, MessageList::Clip),
                 (QStringList{QString(), s("c.mov"), s("a.mov"), s("b.mov"), s("a.mov")}));
        QCOMPARE(first.row(), 3);
        // What is known already is put in its place at once.
        list.setServiceErrors({});
        list.setServiceErrors({s("The file /in/a.mov is not offered: x")});
        QCOMPARE(list.index(1, MessageList::Time).data().toString(), s("1 Jan 12:00"));
    }
    void aMessageSaysWhatToDo()
    {
        QVERIFY(MessageList::adviceFor(s("Copying /a to /b failed: No space left on device"))
                    .contains(s("room")));
        QVERIFY(MessageList::adviceFor(s("The file /a is not offered: a text")).contains(s("Move")));
        QVERIFY(MessageList::adviceFor(s("/w/a.mov is waiting for the volume /v")).contains(s("Connect")));
        QVERIFY(MessageList::adviceFor(s("All is well")).isEmpty());
    }
    void theOldestOfManyMessagesGo()
    {
        MessageList list;
        list.setServiceErrors({s("stays")});
        for (int i = 0; i < MessageList::kMostMessages + 3; ++i)
            list.add(QString::number(i));
        QCOMPARE(list.rowCount(), MessageList::kMostMessages + 1);
        QCOMPARE(list.index(list.rowCount() - 1, MessageList::Text).data().toString(), s("stays"));
        QCOMPARE(list.index(list.rowCount() - 2, MessageList::Text).data().toString(), s("3"));
    }

    void noticesCountWhatCameSinceTheLastOne()
    {
        Notifier notifier(nullptr, 1);
        QStringList shown;
        notifier.setShow([&](const QString&, const QString& text) { shown << text; });
        notifier.tell(0, 0);
        QVERIFY(shown.isEmpty());
        notifier.tell(1, 0);
        QCOMPARE(shown, QStringList{s("1 clip is ready")});
        notifier.tell(2, 0);
        notifier.tell(3, 1);
        QCOMPARE(shown.size(), 1);
        QTRY_COMPARE(shown.size(), 2);
        QCOMPARE(shown.last(), s("5 clips are ready, 1 clip failed"));
    }
    void whoLooksAtTheDeskNeedsNoNotice()
    {
        Notifier notifier(nullptr, 1);
        int shown = 0;
        notifier.setShow([&](const QString&, const QString&) { ++shown; });
        notifier.setInFront(true);
        notifier.tell(1, 1);
        notifier.setInFront(false);
        QCOMPARE(shown, 0);
        notifier.tell(0, 2);
        QCOMPARE(shown, 1);
    }

    void aServiceOfNoticesThatHangsIsNotWaitedFor()
    {
        QProcess bus;
        bus.start(s("dbus-daemon"), {s("--session"), s("--nofork"), s("--print-address")});
        QVERIFY(bus.waitForReadyRead());
        const QString address = QString::fromUtf8(bus.readLine()).trimmed();
        {
            QDBusConnection connection = QDBusConnection::connectToBus(address, s("hanging"));
            HangingNotices notices;
            QVERIFY(connection.registerObject(s("/org/freedesktop/Notifications"), &notices,
                                              QDBusConnection::ExportAllSlots));
            QVERIFY(connection.registerService(s("org.freedesktop.Notifications")));
            QProcess desk;
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(s("DBUS_SESSION_BUS_ADDRESS"), address);
            desk.setProcessEnvironment(environment);
            desk.start(QCoreApplication::applicationFilePath(), {s(kNotify)});
            // Less than a call takes that is waited for.
            QTRY_VERIFY_WITH_TIMEOUT(desk.state() == QProcess::NotRunning, 20000);
            QCOMPARE(desk.exitCode(), 0);
            QTRY_COMPARE(notices.texts, QStringList{s("3 clips are ready")});
        }
        QDBusConnection::disconnectFromBus(s("hanging"));
        bus.kill();
        bus.waitForFinished();
    }
};

int main(int argc, char* argv[])
{
    if (argc == 2 && qstrcmp(argv[1], kNotify) == 0)
        return notify(argc, argv);
    QApplication application(argc, argv);
    TestMessages test;
    return QTest::qExec(&test, argc, argv);
}
#include "test_messages.moc"
