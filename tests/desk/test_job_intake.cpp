#include "ClipIntake.h"
#include "DeskProject.h"
#include "JobIntake.h"
#include "LinkDocuments.h"
#include "ServiceMonitor.h"
#include "TestHttpServer.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

class TestJobIntake : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TestHttpServer> m_server;
    std::unique_ptr<ScopedConnectPort> m_connect;
    std::unique_ptr<DeskProject> m_project;
    std::unique_ptr<ClipIntake> m_clips;
    std::unique_ptr<ServiceMonitor> m_monitor;
    std::unique_ptr<JobIntake> m_jobs;

    QString document(const QByteArray& text)
    {
        const QString path = m_dir->filePath(QStringLiteral("out.xel"));
        return LinkDocuments::write(path, text) ? path : QString();
    }
    static DeskJob job(const char* state, bool complete, const QStringList& outputs = {})
    {
        return {QStringLiteral("j1"),
                QStringLiteral("/media/a.mov"),
                QString::fromLatin1(state),
                complete,
                0,
                outputs};
    }
    int deletions() const { return m_server->requestCount("DELETE", "/KRXService/jobs/j1"); }

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_server = std::make_unique<TestHttpServer>();
        m_connect = std::make_unique<ScopedConnectPort>(m_server->port());
        m_server->setReply("GET", "/KRXService/activity", 200, "<a/>");
        m_server->setReply("DELETE", "/KRXService/jobs/j1", 200, "");
        m_project = std::make_unique<DeskProject>();
        m_project->create(m_dir->filePath(QStringLiteral("Show.krxproject")));
        m_clips = std::make_unique<ClipIntake>(*m_project);
        m_monitor = std::make_unique<ServiceMonitor>(1000 * 1000);
        m_jobs = std::make_unique<JobIntake>(*m_clips);
        connect(m_jobs.get(), &JobIntake::taken, m_monitor.get(), &ServiceMonitor::deleteJob);
        m_monitor->start();
    }
    void cleanup()
    {
        m_jobs.reset();
        m_monitor.reset();
        m_clips.reset();
        m_connect.reset();
    }

    void theClipsOfACompletedJobAreTakenAndTheJobIsForgotten()
    {
        const QString output = document(LinkDocuments::text({}));
        m_jobs->follow({job("COMPLETED", true, {output})});
        QCOMPARE(m_project->clipCount(), 1);
        QVERIFY(!QFileInfo::exists(output));
        QTRY_COMPARE(deletions(), 1);
        // The service may list it once more before the deletion arrives.
        m_jobs->follow({job("COMPLETED", true, {output})});
        m_jobs->follow({});
        QCOMPARE(m_project->clipCount(), 1);
        QCOMPARE(deletions(), 1);
    }

    void whatTheFolderOfferedAndAJobOffersTooIsTakenOnce()
    {
        QSignalSpy batches(m_clips.get(), &ClipIntake::batchTaken);
        QSignalSpy forgotten(m_jobs.get(), &JobIntake::taken);
        const QString output = document(LinkDocuments::text(LinkDocuments::Parts()));
        m_clips->takeSoon(output);
        m_jobs->follow({job("COMPLETED", true, {output})});
        // It is listed until the service has heard that it is to be forgotten.
        m_jobs->follow({job("COMPLETED", true, {output})});
        m_jobs->follow({job("COMPLETED", true)});
        QCOMPARE(m_project->clipCount(), 1);
        QCOMPARE(batches.count(), 1);
        QCOMPARE(batches.at(0).at(0).value<ClipIntake::Batch>().doubled, 0);
        QCOMPARE(forgotten.count(), 1);
        QTRY_COMPARE(deletions(), 1);
    }
    void aJobWhoseOutputsWereTakenBeforeACrashIsForgotten()
    {
        m_jobs->follow({job("COMPLETED", true)});
        QTRY_COMPARE(deletions(), 1);
    }

    void aJobUnderWayIsLeftAlone()
    {
        QSignalSpy failed(m_jobs.get(), &JobIntake::failed);
        m_jobs->follow({job("RUNNING", false, {document(LinkDocuments::text({}))})});
        QCOMPARE(m_project->clipCount(), 0);
        QCOMPARE(failed.count(), 0);
    }

    void aJobThatWasCancelledIsNoFailure()
    {
        QSignalSpy failed(m_jobs.get(), &JobIntake::failed);
        m_jobs->follow({job("CANCELLED", true)});
        QCOMPARE(failed.count(), 0);
        QCOMPARE(deletions(), 0);
        // Tried again, it may fail.
        m_jobs->follow({job("RUNNING", false)});
        m_jobs->follow({job("FAILED", true)});
        QCOMPARE(failed.count(), 1);
    }

    void aFailedJobIsToldOnceAndKept()
    {
        QSignalSpy failed(m_jobs.get(), &JobIntake::failed);
        m_jobs->follow({job("FAILED", true)});
        m_jobs->follow({job("FAILED", true)});
        QCOMPARE(failed.count(), 1);
        QCOMPARE(failed.at(0).at(0).toString(),
                 QStringLiteral("/media/a.mov was not linked: its job failed"));
        // Tried again and failed again: told again.
        m_jobs->follow({job("RUNNING", false)});
        m_jobs->follow({job("FAILED", true)});
        QCOMPARE(failed.count(), 2);
        QCOMPARE(deletions(), 0);
    }

    void aJobWithAnUnreadableOutputIsKept()
    {
        const QString output = document("<xel>");
        QSignalSpy failed(m_clips.get(), &ClipIntake::failed);
        m_jobs->follow({job("COMPLETED", true, {output})});
        m_jobs->follow({job("COMPLETED", true, {output})});
        QCOMPARE(failed.count(), 1);
        QVERIFY(QFileInfo::exists(output));
        QCOMPARE(deletions(), 0);
    }

    void aJobWhoseSaveFailedIsTriedAgain()
    {
        const QString output = document(LinkDocuments::text({}));
        int saves = 0;
        bool works = false;
        m_clips->setSave([&](QString& error) {
            ++saves;
            error = QStringLiteral("Disk full");
            return works && m_project->save(error);
        });
        QSignalSpy failed(m_clips.get(), &ClipIntake::failed);
        for (int i = 0; i < 3; ++i)
            m_jobs->follow({job("COMPLETED", true, {output})});
        QCOMPARE(saves, 3);
        // Told once, and nothing of it is forgotten.
        QCOMPARE(failed.count(), 1);
        QVERIFY(QFileInfo::exists(output));
        works = true;
        m_jobs->follow({job("COMPLETED", true, {output})});
        QVERIFY(!QFileInfo::exists(output));
        QCOMPARE(m_project->clipCount(), 1);
        QTRY_COMPARE(deletions(), 1);
    }

    void aJobWithOneOutputThatCannotBeReadYetIsForgottenOnceItCan()
    {
        const QString good = document(LinkDocuments::text({}));
        const QString late = m_dir->filePath(QStringLiteral("late.xel"));
        const DeskJob both = job("COMPLETED", true, {late, good});
        m_jobs->follow({both});
        m_jobs->follow({both});
        QCOMPARE(m_project->clipCount(), 1);
        QVERIFY(!QFileInfo::exists(good));
        LinkDocuments::Parts parts;
        parts.id = "late";
        QVERIFY(LinkDocuments::write(late, LinkDocuments::text(parts)));
        m_jobs->follow({both});
        QCOMPARE(m_project->clipCount(), 2);
        QTRY_COMPARE(deletions(), 1);
    }

    void commandsReachTheServiceAndTheirFailuresAreTold()
    {
        QSignalSpy failed(m_monitor.get(), &ServiceMonitor::commandFailed);
        m_server->setReply("PUT", "/KRXService/jobs", TestHttpServer::Reply::text(409, "nothing to cancel"));
        m_server->setReply("POST", "/KRXService/jobs", 200, "<jobInfo><id>j2</id></jobInfo>");
        m_server->setReply("GET", "/KRXService/errors?clear=true", 200, "<e/>");
        m_monitor->cancelJobs();
        QTRY_COMPARE(failed.count(), 1);
        QVERIFY(failed.at(0).at(0).toString().startsWith(QLatin1String("The jobs could not be cancelled: ")));
        m_monitor->submitJobs({QStringLiteral("/media/b.mov"), QStringLiteral("/media/c.mov")},
                              QStringLiteral("p1"));
        QTRY_COMPARE(m_server->requestCount("POST", "/KRXService/jobs"), 2);
        m_monitor->clearErrors();
        QTRY_COMPARE(m_server->requestCount("GET", "/KRXService/errors?clear=true"), 1);
        QCOMPARE(failed.count(), 1);
    }
};

QTEST_GUILESS_MAIN(TestJobIntake)
#include "test_job_intake.moc"
