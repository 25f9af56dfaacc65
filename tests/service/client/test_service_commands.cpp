#include "ServiceCommand.h"
#include "ServiceStage.h"

#include <QDirIterator>
#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

/// The first object of \a array whose \a key is \a value.
QJsonObject with(const QJsonArray& array, const char* key, const QString& value)
{
    for (const auto& one : array) {
        if (one.toObject().value(s(key)).toString() == value)
            return one.toObject();
    }
    return {};
}

} // namespace

/// What a person sees and changes of the service's work by the command line.
class TestServiceCommands : public QObject
{
    Q_OBJECT

    std::unique_ptr<ServiceStage> m_stage;

    QString to() const { return m_stage->folder.filePath(s("to")); }
    CommandResult ask(const char* line, const QStringList& more = {}) const
    {
        return runCommand(
            s(line).split(QLatin1Char(' ')) + more +
            QStringList{s("--no-socket"), s("--port"), QString::number(m_stage->service->port())});
    }
    QJsonArray list(const char* line) const { return ask(line, {s("--json")}).json().array(); }
    /// One clip whose copy failed, since its destination is missing.
    void fail()
    {
        QVERIFY(m_stage->begin(ModuleDocument::copyActivity(to(), true)));
        QVERIFY(!m_stage->drop(s("a b.wav")).isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(with(list("jobs"), "state", s("FAILED")).isEmpty(), false, kStagePatience);
    }

private slots:
    void init() { m_stage = std::make_unique<ServiceStage>(); }
    void cleanup()
    {
        QCOMPARE(m_stage->service->terminate(), 0);
        m_stage.reset();
    }

    void failedJobsAreListedAndTriedAgain()
    {
        fail();
        const QJsonObject job = with(list("jobs"), "state", s("FAILED"));
        QCOMPARE(job.value(s("path")).toString(), m_stage->watch + s("/a b.wav"));
        QCOMPARE(job.value(s("groupName")).toString(), s("watch"));
        QVERIFY(job.value(s("message")).toString().contains(to()));
        const CommandResult table = ask("jobs");
        QVERIFY2(table.out.contains(s("a b.wav")) && table.out.contains(s("FAILED")), qPrintable(table.out));
        QCOMPARE(list("jobs --manual"), QJsonArray());

        QVERIFY(QDir().mkpath(to()));
        const QString id = job.value(s("id")).toString();
        const CommandResult retried = ask("retry", {id, s("--json")});
        QCOMPARE(retried.code, 0);
        QCOMPARE(with(retried.json().array(), "id", id).value(s("done")).toBool(), true);
        QTRY_COMPARE_WITH_TIMEOUT(m_stage->outputs().size(), 1, kStagePatience);
        // It is over, and cannot be tried again.
        QTRY_COMPARE_WITH_TIMEOUT(ask("retry", {id}).code, 1, kStagePatience);
    }

    void allThatFailedAreTriedAgain()
    {
        fail();
        QVERIFY(QDir().mkpath(to()));
        QCOMPARE(ask("retry --all").code, 0);
        QTRY_COMPARE_WITH_TIMEOUT(m_stage->outputs().size(), 1, kStagePatience);
    }

    void jobsThatAreOverCannotBeCancelled()
    {
        QVERIFY(m_stage->begin());
        const QString id =
            m_stage->service
                ->post("jobs", ModuleDocument::submitJob(TestMedia::file(s("movie.mov")),
                                                         m_stage->service->profileId(s("Default Profile"))))
                .text(s("id"));
        QVERIFY(!id.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(m_stage->service->jobState(id), s("COMPLETED"), kStagePatience);
        const QJsonObject job = with(list("jobs --manual"), "id", id);
        QCOMPARE(job.value(s("percentComplete")).toInt(), 100);
        const CommandResult late = ask("cancel", {id});
        QCOMPARE(late.code, 1);
        QVERIFY2(late.out.contains(id) && late.out.contains(s("COMPLETED")), qPrintable(late.out));
        QCOMPARE(ask("cancel --all").code, 0);
        QCOMPARE(ask("cancel", {s("j999999")}).code, 1);
        QCOMPARE(ask("cancel", {s("../version")}).code, 1);
    }

    void aRunningJobIsCancelled()
    {
        // A minute of full HD: longer than anybody waits here.
        const QString movie = m_stage->folder.filePath(s("long.mov"));
        QCOMPARE(QProcess::execute(s("ffmpeg"), {s("-v"), s("error"), s("-f"), s("lavfi"), s("-i"),
                                                 s("color=size=160x90:rate=25:duration=60"), s("-c:v"),
                                                 s("mpeg4"), movie}),
                 0);
        const QString volume = m_stage->folder.filePath(s("volume"));
        QVERIFY(QDir().mkpath(volume));
        QVERIFY(m_stage->begin(
            QByteArray("<activity id=\"transcode\" name=\"Transcode 1\"><outputDetail>"
                       "<filesystemVideoVolume>%1</filesystemVideoVolume><filesystemAudioVolume>%1"
                       "</filesystemAudioVolume><outputTranscodeVideoProfile><videoCompressionType>16777217"
                       "</videoCompressionType></outputTranscodeVideoProfile></outputDetail></activity>")
                .replace("%1", volume.toUtf8())));
        const QString id =
            m_stage->service
                ->post("jobs", ModuleDocument::submitJob(movie, m_stage->service->profileId(s("Copying"))))
                .text(s("id"));
        const auto clip = [&](const char* what) {
            return m_stage->service->get("clips?job=" + id.toUtf8()).text(s(what));
        };
        QTRY_VERIFY_WITH_TIMEOUT(clip("state") == s("ACTING") && clip("percentComplete").toInt() > 0,
                                 kStagePatience);
        const CommandResult cancelled = ask("cancel", {id});
        QCOMPARE(cancelled.code, 0);
        QVERIFY2(cancelled.out.contains(s("CANCELLED")), qPrintable(cancelled.out));
        QTRY_VERIFY_WITH_TIMEOUT(m_stage->isIdle(), kStagePatience);
        QCOMPARE(m_stage->service->jobState(id), s("CANCELLED"));
        QCOMPARE(with(list("jobs"), "id", id).value(s("state")).toString(), s("CANCELLED"));
        // Its file is there, and its story says what became of it and where.
        QCOMPARE(clip("state"), s("FAILED"));
        QCOMPARE(clip("reason"), s("Was cancelled"));
        QCOMPARE(clip("activity"), s("Transcode 1"));
        // Nothing of it is left.
        QDirIterator left(volume, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        QVERIFY2(!left.hasNext(), qPrintable(left.next()));
        QCOMPARE(ask("cancel", {id}).code, 1);
    }

    void jobsMustBeNamedOrAllBeMeant()
    {
        QVERIFY(m_stage->begin());
        for (const char* line : {"retry", "cancel", "retry --all j000001"})
            QCOMPARE(ask(line).code, 2);
    }

    void clipsAreChosenByFolderAndState()
    {
        QVERIFY(m_stage->begin());
        QVERIFY(m_stage->marked(s("one.wav")));
        QVERIFY(m_stage->marked(s("two.wav")));
        const auto total = [this](const char* line, const QStringList& more = {}) {
            return ask(line, more + QStringList{s("--json")}).json().object().value(s("total")).toInt(-1);
        };
        QTRY_COMPARE_WITH_TIMEOUT(total("clips --state OFFERED"), 2, kStagePatience);
        QCOMPARE(total("clips --state FAILED,TAKEN"), 0);
        QCOMPARE(total("clips --folder", {m_stage->id}), 2);
        QCOMPARE(total("clips --folder", {m_stage->watch}), 2);
        const CommandResult page = ask("clips --limit 1 --offset 1");
        QVERIFY2(page.out.contains(s("1 of 2 clips")) && page.out.contains(s("two.wav")),
                 qPrintable(page.out));
        const QJsonArray all = ask("clips --json").json().object().value(s("clips")).toArray();
        const QJsonObject clip = with(all, "path", m_stage->watch + s("/one.wav"));
        QCOMPARE(clip.value(s("state")).toString(), s("OFFERED"));
        QCOMPARE(clip.value(s("folderId")).toString(), m_stage->id);
        QVERIFY(!clip.value(s("reason")).toString().isEmpty());
        QFile output(m_stage->outputs().filter(s("one.wav")).value(0));
        QVERIFY(output.open(QIODevice::ReadOnly));
        // By it the document and the lines of the log are found.
        QVERIFY(output.readAll().contains("<id>" + clip.value(s("guid")).toString().toUtf8() + "</id>"));
    }

    void whatTheServiceRefusesIsSaid_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("state") << QStringList{s("--state"), s("LOST")};
        QTest::newRow("folder") << QStringList{s("--folder"), s("f999999")};
        QTest::newRow("path") << QStringList{s("--folder"), s("/nowhere")};
        QTest::newRow("limit") << QStringList{s("--limit"), s("1001")};
        QTest::newRow("another request") << QStringList{s("--state"), s("OFFERED HTTP/1.1\r\nX: y")};
        QTest::newRow("another question") << QStringList{s("--state"), s("OFFERED&limit=1")};
    }
    void whatTheServiceRefusesIsSaid()
    {
        QFETCH(QStringList, arguments);
        QVERIFY(m_stage->begin());
        const CommandResult result = ask("clips", arguments);
        QCOMPARE(result.code, 1);
        QCOMPARE(result.out, QString());
        QCOMPARE(result.err.count(QLatin1Char('\n')), 1);
    }

    void errorsAreListedAndCleared()
    {
        fail();
        QCOMPARE(list("errors").size(), 1);
        QVERIFY(ask("errors").out.contains(to()));
        QCOMPARE(list("errors --clear").size(), 1);
        QCOMPARE(list("errors"), QJsonArray());
    }
};

QTEST_GUILESS_MAIN(TestServiceCommands)
#include "test_service_commands.moc"
