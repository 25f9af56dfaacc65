#include "HistoryReader.h"
#include "PipelineBench.h"
#include "TestFiles.h"

#include "activities/HistoryKeeper.h"
#include "base/C4Id.h"
#include "base/FileTools.h"
#include "base/Text.h"
#include "store/HistoryStore.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <sys/resource.h>

#include <csignal>
#include <memory>

using namespace krxservice;
using TestFiles::content;
using TestFiles::names;
using TestFiles::write;

namespace {

constexpr std::int64_t kSecond = 1000000000;
constexpr std::int64_t kStart = 1772755445LL * kSecond + 123000000; ///< 2026-03-06T00:04:05.123Z

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

/// A folder that things were copied into, a clock that stands still, and what writes its history.
struct HistoryStage : PipelineBench
{
    QString to = folder.filePath(QStringLiteral("To"));
    std::int64_t now = kStart;
    HistoryStore copied{database};
    std::unique_ptr<HistoryKeeper> keeper;

    HistoryStage()
    {
        QDir().mkpath(to);
        restart();
    }
    /// As after a crash: only what is on the disk is left.
    void restart()
    {
        keeper = std::make_unique<HistoryKeeper>(copied, errors, 60, [this] { return now; });
    }

    /// A file in the folder and the note that it was copied there just now.
    void copy(const QString& name, const QByteArray& bytes = "content", bool existed = false)
    {
        const QString path = to + QLatin1Char('/') + name;
        QDir().mkpath(path.section(QLatin1Char('/'), 0, -2));
        write(path, bytes);
        note(name, bytes, existed);
    }
    void note(const QString& name, const QByteArray& bytes, bool existed = false)
    {
        struct stat facts
        {
        };
        ::stat(to.toStdString().c_str(), &facts);
        copied.add({text::canonicalPath(to.toStdString()),
                    std::int64_t(facts.st_ino),
                    now,
                    {entry(name, bytes, existed)}});
    }
    HistoryEntry entry(const QString& name, const QByteArray& bytes, bool existed = false) const
    {
        const QString file = folder.filePath(s("hashed"));
        std::string error;
        write(file, bytes);
        const auto hash = filetools::checksum(file.toStdString(), makeCancelToken(), error);
        return {name.toStdString(), bytes.size(), kStart, hash.value_or(error), now, existed};
    }
    void pass(int seconds) { now += seconds * kSecond; }
    /// A minute later all is written that can be.
    void settle()
    {
        pass(60);
        keeper->writeDue();
    }
    QString place(const QString& name = {}) const { return to + QStringLiteral("/ascmhl/") + name; }
    QStringList lists() const { return QDir(place()).entryList({s("*.mhl")}, QDir::Files, QDir::Name); }
    bool waits() { return !copied.waiting().empty(); }
    QString complaints()
    {
        QString all;
        for (const auto& error : errors.list())
            all += QString::fromStdString(error) + QLatin1Char('\n');
        return all;
    }
};

/// What xmllint says about a file; empty when it agrees, or is not there.
QString complaint(const QString& schema, const QString& file)
{
    const QString tool = QStandardPaths::findExecutable(s("xmllint"));
    if (tool.isEmpty())
        return {};
    QProcess lint;
    lint.start(tool,
               {s("--noout"), s("--nonet"), s("--schema"), s(KRX_SCHEMAS) + QLatin1Char('/') + schema, file});
    lint.waitForFinished();
    return lint.exitCode() == 0 ? QString() : QString::fromUtf8(lint.readAllStandardError());
}

QString complaints(const HistoryStage& stage)
{
    QString all = complaint(s("ascmhl_chain.xsd"), stage.place(s("ascmhl_chain.xml")));
    for (const QString& list : stage.lists())
        all += complaint(s("ascmhl.xsd"), stage.place(list));
    return all;
}

} // namespace

class TestServiceHistory : public QObject
{
    Q_OBJECT

private slots:
    void c4IdsAreThoseOfTheFormat()
    {
        QCOMPARE(c4Id(""),
                 std::string("c459dsjfscH38cYeXXYogktxf4Cd9ibshE3BHUo6a58hBXmRQdZrAkZzsWcbWtDg5oQstpD"
                             "uni4Hirj75GEmTc1sFT"));
        QCOMPARE(c4Id("alfa"),
                 std::string("c43zYcLni5LF9rR4Lg4B8h3Jp8SBwjcnyyeh4bc6gTPHndKuKdjUWx1kJPYhZxYt3zV6"
                             "tQXpDs2shPsPYjgG81wZM1"));
        // Small numbers have zeros before them.
        for (int i = 0; i < 500; ++i)
            QCOMPARE(QByteArray::fromStdString(c4Id(std::to_string(i))),
                     HistoryReader::c4(QByteArray::number(i)));
    }

    // Where everybody may write, nobody but the owner may change what is said of the copies; and nobody reads
    // of copies that are closed to them.
    void listsAreAsOpenAsTheCopiesAndWrittenByTheOwnerAlone()
    {
        HistoryStage stage;
        QCOMPARE(::chmod(qPrintable(stage.to), 0777), 0);
        stage.copy(s("open.mov"), "one");
        QCOMPARE(::chmod(qPrintable(stage.to + s("/open.mov")), 0644), 0);
        stage.pass(60);
        stage.keeper->writeDue();
        stage.copy(s("closed.mov"), "two");
        QCOMPARE(::chmod(qPrintable(stage.to + s("/closed.mov")), 0600), 0);
        stage.pass(60);
        stage.keeper->writeDue();
        const auto modeOf = [&](const QString& path) {
            struct stat facts
            {
            };
            return ::stat(qPrintable(path), &facts) == 0 ? int(facts.st_mode & 0777) : -1;
        };
        QCOMPARE(modeOf(stage.place()), 0755);
        QCOMPARE(stage.lists().size(), 2);
        QCOMPARE(modeOf(stage.place() + QLatin1Char('/') + stage.lists().at(0)), 0644);
        QCOMPARE(modeOf(stage.place() + QLatin1Char('/') + stage.lists().at(1)), 0600);
        QCOMPARE(modeOf(stage.place() + s("/ascmhl_chain.xml")), 0644);
    }

    void copiesOfOneMinuteAreOneGeneration()
    {
        HistoryStage stage;
        stage.copy(s("a.mov"), "one");
        stage.pass(59);
        stage.keeper->writeDue();
        stage.copy(s("card/b.mov"), "two");
        stage.pass(59);
        stage.keeper->writeDue();
        QVERIFY(!QDir(stage.place()).exists());
        stage.pass(1);
        stage.keeper->writeDue();
        QCOMPARE(stage.lists(), QStringList{s("0001_To_2026-03-06_000604Z.mhl")});
        const HistoryReader history(stage.to);
        QCOMPARE(history.faults, QStringList());
        QCOMPARE(history.paths(), (QStringList{s("a.mov"), s("card/b.mov")}));
        const auto& generation = history.generations.at(0);
        QCOMPARE(generation.tool, s("krx-service"));
        QCOMPARE(generation.process, s("transfer"));
        QVERIFY(generation.ignored.contains(s("ascmhl")));
        QCOMPARE(generation.files[0].action, s("original"));
        QCOMPARE(generation.files[1].hashed.toMSecsSinceEpoch(), kStart / 1000000 + 59000);
        QCOMPARE(complaints(stage), QString());
        // Nothing is left and nothing comes of nothing.
        stage.settle();
        QCOMPARE(stage.lists().size(), 1);
        QCOMPARE(names(stage.place()).size(), 2);
    }

    void laterCopiesContinueTheHistory()
    {
        HistoryStage stage;
        stage.copy(s("a.mov"), "one");
        stage.settle();
        const QByteArray first = content(stage.place(stage.lists().at(0)));
        const QByteArray chain = content(stage.place(s("ascmhl_chain.xml")));
        stage.copy(s("b.mov"), "two");
        stage.restart();
        stage.settle();
        QCOMPARE(stage.lists().size(), 2);
        QCOMPARE(content(stage.place(stage.lists().at(0))), first);
        QVERIFY(content(stage.place(s("ascmhl_chain.xml")))
                    .startsWith(chain.left(chain.lastIndexOf("</ascmhldirectory"))));
        const HistoryReader history(stage.to);
        QCOMPARE(history.faults, QStringList());
        QCOMPARE(history.paths(), (QStringList{s("a.mov"), s("b.mov")}));
        QCOMPARE(complaints(stage), QString());
    }

    void thousandClipsDoNotWait()
    {
        HistoryStage stage;
        Transaction together(stage.database);
        for (int i = 0; i < 999; ++i)
            stage.note(QString::number(i), "x");
        stage.keeper->writeDue();
        QVERIFY(!QDir(stage.place()).exists());
        for (int i = 999; i < 2001; ++i)
            stage.note(QString::number(i), "x");
        stage.keeper->writeDue();
        together.commit();
        QCOMPARE(stage.lists().size(), 2);
        QCOMPARE(stage.copied.waiting().at(0).clips, std::int64_t(1));
        stage.settle();
        const QStringList lists = stage.lists();
        QCOMPARE(lists.size(), 3);
        for (int i = 0; i < 3; ++i)
            QCOMPARE(content(stage.place(lists[i])).count("<hash>"), i < 2 ? 1000 : 1);
        QVERIFY(!stage.waits());
    }

    void fileThatLayThereIsVerifiedAgainstItsGeneration()
    {
        HistoryStage stage;
        stage.copy(s("a.mov"), "one");
        stage.copy(s("unknown.mov"), "two", true);
        stage.settle();
        stage.copy(s("a.mov"), "one", true);
        stage.settle();
        const HistoryReader history(stage.to);
        QCOMPARE(history.faults, QStringList());
        // What no generation lists is listed for the first time, wherever it came from.
        QCOMPARE(history.generations.at(0).files[1].action, s("original"));
        QCOMPARE(history.generations.at(1).files[0].action, s("verified"));
        QCOMPARE(complaints(stage), QString());
    }

    void crashBetweenListAndChainListsEverythingOnce()
    {
        HistoryStage stage;
        stage.copy(s("a.mov"), "one");
        stage.settle();
        const QByteArray chain = content(stage.place(s("ascmhl_chain.xml")));
        stage.copy(s("b.mov"), "two");
        const auto batch = stage.copied.oldest(text::canonicalPath(stage.to.toStdString()), 10).clips;
        stage.settle();
        // The list had its name, the chain and the database knew nothing yet.
        write(stage.place(s("ascmhl_chain.xml")), chain);
        stage.copied.add(batch[0]);
        write(stage.place(s(".krx-0-half.part")), "<hash");
        stage.copy(s("c.mov"), "three");
        stage.restart();
        stage.settle();
        const HistoryReader history(stage.to);
        QCOMPARE(history.faults, QStringList());
        QCOMPARE(history.paths(), (QStringList{s("a.mov"), s("b.mov"), s("c.mov")}));
        QCOMPARE(history.generations.size(), std::size_t(3));
        QCOMPARE(names(stage.place()).size(), 4);
        QCOMPARE(stage.complaints(), QString());
    }

    void crashBetweenChainAndDatabaseListsNothingTwice()
    {
        HistoryStage stage;
        stage.copy(s("a.mov"), "one");
        const auto batch = stage.copied.oldest(text::canonicalPath(stage.to.toStdString()), 10).clips;
        stage.settle();
        stage.copied.add(batch[0]);
        stage.restart();
        stage.settle();
        QCOMPARE(stage.lists().size(), 1);
        QVERIFY(!stage.waits());
        stage.copied.add(batch[0]);
        stage.copy(s("b.mov"), "two");
        stage.settle();
        QCOMPARE(HistoryReader(stage.to).paths(), (QStringList{s("a.mov"), s("b.mov")}));
    }

    void historyOfAnotherToolIsContinued()
    {
        HistoryStage stage;
        write(stage.to + s("/old.mov"), "old");
        QDir().mkpath(stage.place());
        const QByteArray list =
            "<?xml version=\"1.0\"?>\n<m:hashlist xmlns:m=\"urn:ASC:MHL:v2.0\" version=\"2.0\">\n"
            "<m:hashes>\n <m:hash><m:path size=\"3\">old.mov</m:path><m:md5>149603e6c03516362a8da23f624db945"
            "</m:md5></m:hash>\n <m:directoryhash/></m:hashes><!-- mine --></m:hashlist>\n";
        write(stage.place(s("0001_To_2020-01-01_000000Z.mhl")), list);
        const QByteArray chain = "<?xml version=\"1.0\"?>\r\n<!-- made elsewhere -->\r\n<d:ascmhldirectory "
                                 "xmlns:d='urn:ASC:MHL:DIRECTORY:v2.0'  >\r\n\t<d:hashlist sequencenr=\"1\">"
                                 "<d:path>0001_To_2020-01-01_000000Z.mhl</d:path>  <d:c4>" +
                                 HistoryReader::c4(list) + "</d:c4></d:hashlist>\r\n";
        const QByteArray end = "</d:ascmhldirectory>\r\n<!-- end -->";
        write(stage.place(s("ascmhl_chain.xml")), chain + end);
        stage.copy(s("a.mov"), "one");
        stage.settle();
        QCOMPARE(stage.complaints(), QString());
        const HistoryReader history(stage.to);
        QCOMPARE(history.faults, QStringList());
        QCOMPARE(history.paths(), (QStringList{s("old.mov"), s("a.mov")}));
        QCOMPARE(content(stage.place(s("0001_To_2020-01-01_000000Z.mhl"))), list);
        const QByteArray longer = content(stage.place(s("ascmhl_chain.xml")));
        QVERIFY(longer.startsWith(chain));
        QVERIFY(longer.endsWith(end));
    }

    void historyThatCannotBeContinuedIsLeftAloneUntilItCan_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QByteArray>("bytes");
        const QString chain = s("ascmhl_chain.xml");
        QTest::newRow("not XML") << chain << QByteArray("no XML at all");
        QTest::newRow("cut") << chain << QByteArray("<ascmhldirectory xmlns=\"urn:ASC:MHL:DIRECTORY:v2.0\">");
        QTest::newRow("emptied") << chain << QByteArray();
        QTest::newRow("another format")
            << chain << QByteArray("<ascmhldirectory xmlns=\"urn:ASC:MHL:DIRECTORY:v9\"></ascmhldirectory>");
        QTest::newRow("names no list")
            << chain
            << QByteArray("<ascmhldirectory xmlns=\"urn:ASC:MHL:DIRECTORY:v2.0\"></ascmhldirectory>");
        QTest::newRow("leads elsewhere")
            << chain
            << QByteArray("<ascmhldirectory xmlns=\"urn:ASC:MHL:DIRECTORY:v2.0\"><hashlist sequencenr=\"1\">"
                          "<path>../a.mov</path><c4>c4</c4></hashlist></ascmhldirectory>");
        QTest::newRow("gone") << chain << QByteArray("(remove)");
        QTest::newRow("changed list") << QString() << QByteArray("<hashlist/>");
        QTest::newRow("missing list") << QString() << QByteArray("(remove)");
    }

    void historyThatCannotBeContinuedIsLeftAloneUntilItCan()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, bytes);
        HistoryStage stage;
        stage.copy(s("a.mov"), "one");
        stage.settle();
        const QString path = stage.place(file.isEmpty() ? stage.lists().at(0) : file);
        const QByteArray before = content(path);
        QFile::remove(path);
        if (bytes != "(remove)")
            write(path, bytes);
        const QStringList found = names(stage.place());
        stage.restart();
        stage.copy(s("b.mov"), "two");
        stage.settle();
        QVERIFY(stage.waits());
        QCOMPARE(names(stage.place()), found);
        QCOMPARE(stage.errors.list().size(), std::size_t(1));
        QVERIFY(stage.complaints().startsWith(s("The history of ") + stage.to));
        // It is said once, and tried again in good time.
        stage.settle();
        QCOMPARE(stage.errors.list().size(), std::size_t(1));
        QFile::remove(path);
        write(path, before);
        stage.settle();
        QVERIFY(!stage.waits());
        QCOMPARE(stage.complaints(), QString());
        const HistoryReader history(stage.to);
        QCOMPARE(history.faults, QStringList());
        QCOMPARE(history.paths(), (QStringList{s("a.mov"), s("b.mov")}));
    }

    void flippedByteIsFound()
    {
        HistoryStage stage;
        stage.copy(s("a.mov"), QByteArray(5000, 'a'));
        stage.copy(s("b.mov"), QByteArray(5000, 'b'));
        stage.settle();
        QCOMPARE(HistoryReader(stage.to).faults, QStringList());
        const auto flip = [](const QString& path) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadWrite));
            file.seek(file.size() / 2);
            char byte = 0;
            file.getChar(&byte);
            file.seek(file.size() / 2);
            file.putChar(char(byte ^ 1));
        };
        flip(stage.to + s("/b.mov"));
        QCOMPARE(HistoryReader(stage.to).faults, QStringList{s("b.mov has another hash")});
        flip(stage.to + s("/b.mov"));
        flip(stage.place(stage.lists().at(0)));
        QVERIFY(!HistoryReader(stage.to).faults.filter(s("another C4 id")).isEmpty());
    }

    void volumeThatIsAwayGetsItsHistoryWhenItIsBack()
    {
        HistoryStage stage;
        stage.copy(s("a.mov"), "one");
        const QString away = stage.folder.filePath(s("away"));
        QVERIFY(QDir().rename(stage.to, away));
        stage.settle();
        QVERIFY(stage.complaints().contains(s("No such file")));
        // The place that it is mounted in is not the volume.
        QVERIFY(QDir().mkpath(stage.to));
        stage.settle();
        QVERIFY(names(stage.to).isEmpty());
        QVERIFY(stage.complaints().contains(s("not mounted")));
        QVERIFY(QDir().rmdir(stage.to));
        QVERIFY(QDir().rename(away, stage.to));
        stage.settle();
        QCOMPARE(stage.complaints(), QString());
        QCOMPARE(HistoryReader(stage.to).faults, QStringList());
        QCOMPARE(HistoryReader(stage.to).paths(), QStringList{s("a.mov")});
    }

    void fullVolumeGetsItsHistoryWhenThereIsRoom()
    {
        HistoryStage stage;
        stage.copy(s("a.mov"), "one");
        stage.settle();
        const QStringList found = names(stage.place());
        {
            Transaction together(stage.database);
            for (int i = 0; i < 400; ++i)
                stage.note(s("%1.mov").arg(i), "x");
            together.commit();
        }
        // A limit of the process stands for the end of the volume; the database does not need it.
        rlimit limit{};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &limit), 0);
        const rlimit small{rlim_t{32} * 1024, limit.rlim_max};
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        HashHistory history(stage.to.toStdString());
        std::vector<HistoryEntry> entries;
        for (int i = 0; i < 400; ++i)
            entries.push_back(stage.entry(s("%1.mov").arg(i), "x"));
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
        const std::string reason = history.add(entries, stage.now);
        ::setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, handler);
        QVERIFY2(reason.find("File too large") != std::string::npos, reason.c_str());
        QCOMPARE(names(stage.place()), found);
        stage.settle();
        QCOMPARE(stage.lists().size(), 2);
    }

    void somethingElseInItsPlaceIsSaid()
    {
        HistoryStage stage;
        write(stage.place().chopped(1), "a file");
        stage.copy(s("a.mov"), "one");
        stage.settle();
        QVERIFY(stage.waits());
        QVERIFY(stage.complaints().contains(s("Not a directory")));
        QCOMPARE(content(stage.place().chopped(1)), QByteArray("a file"));
        QVERIFY(QFile::remove(stage.place().chopped(1)));
        // No link is followed to where a history might be as well.
        QVERIFY(QDir().mkpath(stage.folder.filePath(s("elsewhere"))));
        QVERIFY(QFile::link(stage.folder.filePath(s("elsewhere")), stage.place().chopped(1)));
        stage.settle();
        QVERIFY(stage.waits());
        QVERIFY(names(stage.folder.filePath(s("elsewhere"))).isEmpty());
    }

    void namesComeBackLetterForLetter()
    {
        HistoryStage stage;
        const QStringList odd{s(" both ends .mov"),
                              s("a & b <c> \"d\" 'e'.mov"),
                              s("]]>.mov"),
                              s("sub dir/\xC3\xA9\xCC\x81.mov"),
                              s("back\\slash.mov"),
                              s("%41&amp;.mov"),
                              s("\xF0\x9F\x8E\xAC.mov"),
                              s("\xE2\x80\xA8line.mov"),
                              s("-rf.mov")};
        for (const QString& name : odd)
            stage.copy(name, name.toUtf8());
        stage.settle();
        const HistoryReader history(stage.to);
        QCOMPARE(history.faults, QStringList());
        QCOMPARE(history.paths(), odd);
        QCOMPARE(complaints(stage), QString());
    }

    void longAndOddFolderNamesMakeAList()
    {
        HistoryStage stage;
        stage.to = stage.folder.filePath(s("<&> ") + QString(110, QChar(0xE9)));
        QVERIFY(QDir().mkpath(stage.to));
        stage.copy(s("a.mov"), "one");
        stage.settle();
        QCOMPARE(stage.complaints(), QString());
        QCOMPARE(stage.lists().size(), 1);
        QVERIFY(stage.lists().at(0).startsWith(s("0001_<&> ")));
        QCOMPARE(HistoryReader(stage.to).faults, QStringList());
    }

    void copyOfAProfileIsNotedWithItsAction()
    {
        HistoryStage stage;
        const QString in = stage.folder.filePath(s("in"));
        QVERIFY(QDir().mkpath(in + s("/card")));
        const QString file = in + s("/card/a.wav");
        QCOMPARE(QProcess::execute(
                     s("ffmpeg"), {s("-v"), s("error"), s("-f"), s("lavfi"), s("-i"), s("sine=d=0.1"), file}),
                 0);
        FileOrder order = stage.order(file.toStdString());
        order.ownerPath = in.toStdString();
        order.profile.activities = {PipelineBench::copyTo(stage.to + s("//"), true)};
        QVERIFY(stage.pipeline.process(order).end == FileResult::End::Offered);
        const auto waiting = stage.copied.waiting();
        QCOMPARE(waiting.size(), std::size_t(1));
        QCOMPARE(waiting[0].folder, text::canonicalPath(stage.to.toStdString()));
        stage.now = waiting[0].lastFinished;
        stage.settle();
        const HistoryReader history(stage.to);
        QCOMPARE(history.faults, QStringList());
        QCOMPARE(history.paths(), QStringList{s("card/a.wav")});
        // A second folder that brings the same file: it lay there, and was compared.
        const QString other = stage.folder.filePath(s("other"));
        QVERIFY(QDir().mkpath(other + s("/card")));
        QVERIFY(QFile::copy(file, other + s("/card/a.wav")));
        order.path = QString(other + s("/card/a.wav")).toStdString();
        order.ownerPath = other.toStdString();
        QVERIFY(stage.pipeline.process(order).end == FileResult::End::Offered);
        stage.now = text::now();
        stage.settle();
        const HistoryReader again(stage.to);
        QCOMPARE(again.faults, QStringList());
        QCOMPARE(again.generations.size(), std::size_t(2));
        QCOMPARE(again.generations[1].files[0].action, s("verified"));
    }

    void copyThatFailsIsNotNoted()
    {
        HistoryStage stage;
        const QString file = stage.folder.filePath(s("a.wav"));
        QCOMPARE(QProcess::execute(
                     s("ffmpeg"), {s("-v"), s("error"), s("-f"), s("lavfi"), s("-i"), s("sine=d=0.1"), file}),
                 0);
        FileOrder order = stage.order(file.toStdString());
        order.profile.activities = {PipelineBench::copyTo(stage.folder.filePath(s("missing")))};
        const FileResult result = stage.pipeline.process(order);
        QVERIFY(result.end == FileResult::End::Failed);
        QVERIFY(result.text.find("No such file") != std::string::npos);
        QVERIFY(!stage.waits());
    }
};

QTEST_GUILESS_MAIN(TestServiceHistory)
#include "test_service_history.moc"
