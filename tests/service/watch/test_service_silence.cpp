#include "ServiceStage.h"
#include "SilentMount.h"

#include <QTest>

/// The real service with a folder on a file system that does not answer.
class TestServiceSilence : public QObject
{
    Q_OBJECT

private slots:
    void volumeThatHangsHoldsUpNeitherTheOthersNorTheEnd()
    {
        // The search for leaks at the end would stop the thread that hangs, and wait for it for ever.
        qputenv("ASAN_OPTIONS", "detect_leaks=0");
        ServiceStage stage;
        QVERIFY(stage.begin());
        const QString hung = stage.folder.filePath(QStringLiteral("hung"));
        QVERIFY(QDir().mkpath(hung));
        const QString id =
            stage.service->addFolder(hung, stage.service->profileId(QStringLiteral("Default Profile")));
        QVERIFY(!id.isEmpty());
        SilentMount mount;
        if (!mount.mount(hung))
            QSKIP("only a privileged user can mount a file system");
        const QString silent = hung + QStringLiteral(" does not answer");
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->errors().filter(silent).size(), 1, kStagePatience);
        QVERIFY(stage.marked(QStringLiteral("mark.wav")));
        QVERIFY(stage.service->errors().filter(stage.watch).isEmpty());
        // It comes back.
        mount.unmount();
        QVERIFY(QFile::copy(TestMedia::file(QStringLiteral("sound.wav")), hung + QStringLiteral("/a.wav")));
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->outputs(id).size(), 1, kStagePatience);
        QTRY_VERIFY_WITH_TIMEOUT(stage.service->errors().filter(silent).isEmpty(), kStagePatience);
        SilentMount again;
        QVERIFY(again.mount(hung));
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->errors().filter(silent).size(), 1, kStagePatience);
        QCOMPARE(stage.service->terminate(), 0);
    }
};

QTEST_GUILESS_MAIN(TestServiceSilence)
#include "test_service_silence.moc"
