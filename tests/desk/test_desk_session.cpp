#include "DeskSession.h"
#include "LinkDocuments.h"
#include "ProjectFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QSysInfo>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

using ProjectFiles::clipsIn;
using ProjectFiles::contentOf;

class TestDeskSession : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QString in(const char* name) const { return m_dir->filePath(QString::fromLatin1(name)); }

    QString document(const char* name) const
    {
        LinkDocuments::Parts parts;
        parts.id = name;
        const QString path = in(name);
        return LinkDocuments::write(path, LinkDocuments::text(parts)) ? path : QString();
    }

    /// A session that has the project of three clips open.
    std::unique_ptr<DeskSession> opened(const char* name = "Show.krxproject", int retryPause = 1000 * 1000)
    {
        auto session = std::make_unique<DeskSession>(retryPause);
        QString error;
        if (!session->open(in(name), error))
            qWarning("%s", qPrintable(error));
        return session;
    }

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(ProjectFiles::write(in("Show.krxproject"), 3));
    }

    // --- The file that was loaded ------------------------------------------------------------------------

    void aFileThatTookTheLoadedOnesPlaceIsNotOverwritten()
    {
        const auto session = opened();
        // Another volume is mounted there, or somebody put a copy back.
        QVERIFY(QFile::rename(in("Show.krxproject"), in("away")));
        QVERIFY(ProjectFiles::write(in("Show.krxproject"), 500));
        const QByteArray before = contentOf(in("Show.krxproject"));
        QSignalSpy conflicts(session.get(), &DeskSession::conflictFound);
        const QString first = document("a.xel");
        session->clips().take(first);
        QVERIFY(!session->clips().finish());
        session->clips().take(document("b.xel"));
        QVERIFY(!session->clips().finish());
        QCOMPARE(contentOf(in("Show.krxproject")), before);
        QVERIFY(QFileInfo::exists(first));
        // Asked once for one state of the file.
        QCOMPARE(conflicts.count(), 1);
        QString error;
        QVERIFY(!session->save(error));
        QCOMPARE(error,
                 QStringLiteral("The project file %1 is not the one that was opened: it was replaced or "
                                "changed meanwhile.")
                     .arg(in("Show.krxproject")));
        QCOMPARE(contentOf(in("Show.krxproject")), before);
        // A person may decide that it goes.
        QVERIFY2(session->replace(error), qPrintable(error));
        QVERIFY2(session->finish(error), qPrintable(error));
        QCOMPARE(clipsIn(in("Show.krxproject")), 5);
        QVERIFY(!QFileInfo::exists(first));
    }

    void aFileThatIsGoneIsNotMadeAnew()
    {
        const auto session = opened();
        QVERIFY(QFile::rename(in("Show.krxproject"), in("away")));
        session->project().binNamed(QStringLiteral("New"));
        QString error;
        QVERIFY(!session->save(error));
        QCOMPARE(error, QStringLiteral("The project file %1 is no longer there.").arg(in("Show.krxproject")));
        QVERIFY(!QFileInfo::exists(in("Show.krxproject")));
    }

    void aFileThatWasWrittenByAnotherProgramIsNotOverwritten()
    {
        const auto session = opened();
        // Same file, same size; only the time tells.
        const timespec times[2] = {{1000000000, 0}, {1000000000, 0}};
        QCOMPARE(::utimensat(AT_FDCWD, qPrintable(in("Show.krxproject")), times, 0), 0);
        QVERIFY(!session->conflict().isEmpty());
        QString error;
        QVERIFY(!session->save(error));
    }

    void whatTheSessionWroteItselfIsNoConflict()
    {
        const auto session = opened();
        QString error;
        for (int i = 0; i < 3; ++i) {
            session->project().binNamed(QString::number(i));
            QVERIFY2(session->save(error), qPrintable(error));
        }
        QVERIFY2(session->saveAs(in("Other.krxproject"), error), qPrintable(error));
        session->project().binNamed(QStringLiteral("more"));
        QVERIFY2(session->save(error), qPrintable(error));
    }

    void clipsOnTheirWayAreSavedOnceTheFileIsBack()
    {
        const auto session = opened("Show.krxproject", 1);
        QSignalSpy failed(&session->clips(), &ClipIntake::failed);
        QVERIFY(QFile::rename(in("Show.krxproject"), in("away")));
        const QString waiting = document("a.xel");
        session->clips().take(waiting);
        QSignalSpy finished(&session->clips(), &ClipIntake::finished);
        // Tried again by itself, in silence.
        QTRY_VERIFY(finished.count() >= 3);
        QCOMPARE(failed.count(), 1);
        QVERIFY(QFileInfo::exists(waiting));
        QVERIFY(QFile::rename(in("away"), in("Show.krxproject")));
        QTRY_VERIFY(!QFileInfo::exists(waiting));
        QCOMPARE(clipsIn(in("Show.krxproject")), 4);
    }

    void aSessionThatEndsSavesWhatItCan()
    {
        const QString waiting = document("a.xel");
        {
            const auto session = opened();
            session->clips().take(waiting);
        }
        QCOMPARE(clipsIn(in("Show.krxproject")), 4);
        QVERIFY(!QFileInfo::exists(waiting));
    }

    void openingMakesNothing()
    {
        DeskSession session;
        QString error;
        QVERIFY(!session.open(in("no folder/Show.krxproject"), error));
        QVERIFY(!error.isEmpty());
        QVERIFY(!session.openOrCreate(in("no folder/Show.krxproject"), error));
        QCOMPARE(error, QStringLiteral("The project %1 cannot be made: there is no folder %2.")
                            .arg(in("no folder/Show.krxproject"), in("no folder")));
        QVERIFY(!QFileInfo::exists(in("no folder")));
    }

    void aProjectThatCannotBeOpenedLeavesTheFormerOneAsItWas()
    {
        const auto session = opened();
        LinkDocuments::write(in("damaged.krxproject"), "{");
        session->clips().take(document("a.xel"));
        QString error;
        QVERIFY(!session->open(in("damaged.krxproject"), error));
        QCOMPARE(session->project().path(), in("Show.krxproject"));
        QVERIFY(session->clips().isPending());
        // Nobody is kept off the file that was not opened, and others are kept off the one that is.
        QVERIFY(!QFileInfo::exists(in("damaged.krxproject.lock")));
        QVERIFY(opened()->isReadOnly());
    }

    // --- Two desks ---------------------------------------------------------------------------------------

    void theSecondDeskReadsOnlyAndIsToldWhoHasTheProject()
    {
        auto first = opened();
        QVERIFY(!first->isReadOnly());
        const auto second = opened();
        QVERIFY(second->isReadOnly());
        QCOMPARE(second->project().clipCount(), 3);
        const QString reason = second->readOnlyReason();
        QVERIFY2(reason.contains(QStringLiteral("has it open in")), qPrintable(reason));
        QVERIFY2(reason.contains(QString::number(QCoreApplication::applicationPid())), qPrintable(reason));
        QVERIFY2(reason.contains(QSysInfo::machineHostName()), qPrintable(reason));
        QVERIFY2(reason.startsWith(QFileInfo(m_dir->path()).owner()), qPrintable(reason));

        QSignalSpy failed(&second->clips(), &ClipIntake::failed);
        const QString a = document("a.xel");
        const QString b = document("b.xel");
        QVERIFY(!second->clips().take(a));
        QVERIFY(!second->clips().take(b));
        QVERIFY(QFileInfo::exists(a) && QFileInfo::exists(b));
        QCOMPARE(second->project().clipCount(), 3);
        QCOMPARE(failed.count(), 1);
        QVERIFY(failed.at(0).at(0).toString().contains(reason));
        QString error;
        QVERIFY(!second->save(error));
        QVERIFY(!second->replace(error));
        QCOMPARE(error, QStringLiteral("The project %1 is open for reading only: %2.")
                            .arg(in("Show.krxproject"), reason));

        // The first one loses nothing by it.
        QVERIFY(first->clips().take(a));
        QVERIFY(first->clips().finish());
        QCOMPARE(clipsIn(in("Show.krxproject")), 4);

        // A copy is a project of its own.
        QSignalSpy access(second.get(), &DeskSession::accessChanged);
        QVERIFY2(second->saveAs(in("Copy.krxproject"), error), qPrintable(error));
        QCOMPARE(access.count(), 1);
        QVERIFY(!second->isReadOnly());
        QVERIFY(second->clips().take(b));
        QVERIFY(second->clips().finish());
        QCOMPARE(clipsIn(in("Copy.krxproject")), 4);
        QCOMPARE(clipsIn(in("Show.krxproject")), 4);
    }

    void aProjectIsFreeAgainWhenItsDeskIsDoneWithIt()
    {
        auto first = opened();
        QString error;
        QVERIFY(first->saveAs(in("Other.krxproject"), error));
        QVERIFY(!opened()->isReadOnly());
        QVERIFY(opened("Other.krxproject")->isReadOnly());
        first.reset();
        QVERIFY(!opened("Other.krxproject")->isReadOnly());
        QVERIFY(!QFileInfo::exists(in("Other.krxproject.lock")));
    }

    void openingTakesTheLockToo()
    {
        const auto first = opened();
        QVERIFY(ProjectFiles::write(in("Other.krxproject"), 1));
        QString error;
        QVERIFY2(first->open(in("Other.krxproject"), error), qPrintable(error));
        QVERIFY(opened("Other.krxproject")->isReadOnly());
        QVERIFY(!opened()->isReadOnly());
        // Opening it once more is no quarrel with itself.
        QVERIFY2(first->open(in("Other.krxproject"), error), qPrintable(error));
        QVERIFY(!first->isReadOnly());
        QVERIFY(opened("Other.krxproject")->isReadOnly());
    }

    void anotherPathToTheSameFileIsTheSameProject()
    {
        const auto first = opened();
        QVERIFY(QFile::link(in("Show.krxproject"), in("Link.krxproject")));
        QVERIFY(QFile::link(m_dir->path(), in("folder")));
        QVERIFY(opened("Link.krxproject")->isReadOnly());
        QVERIFY(opened("folder/Show.krxproject")->isReadOnly());
    }

    void aNewProjectIsNotPutInThePlaceOfOneThatIsOpen()
    {
        const auto first = opened();
        const QByteArray before = contentOf(in("Show.krxproject"));
        DeskSession second;
        QString error;
        QVERIFY(second.create(in("Second.krxproject"), error));
        QVERIFY(!second.create(in("Show.krxproject"), error));
        QVERIFY2(error.contains(QStringLiteral("has it open in")), qPrintable(error));
        QVERIFY(!second.saveAs(in("Show.krxproject"), error));
        QVERIFY2(error.contains(QStringLiteral("has it open in")), qPrintable(error));
        QCOMPARE(contentOf(in("Show.krxproject")), before);
        QCOMPARE(second.project().path(), in("Second.krxproject"));
        QVERIFY(!second.isReadOnly());
        QVERIFY(opened("Second.krxproject")->isReadOnly());
    }

    void aNewProjectTakesTheLock()
    {
        DeskSession first;
        QString error;
        QVERIFY2(first.create(in("New.krxproject"), error), qPrintable(error));
        QCOMPARE(clipsIn(in("New.krxproject")), 0);
        QVERIFY(opened("New.krxproject")->isReadOnly());
    }

    void aLockThatFailsForAnotherReasonSaysWhich()
    {
        // Room for the project's name, but not for its lock's.
        const QByteArray name = QByteArray(252 - 11, 'n') + ".krxproject";
        QVERIFY(QFile::copy(in("Show.krxproject"), in(name.constData())));
        const auto session = opened(name.constData());
        QVERIFY(session->isReadOnly());
        QCOMPARE(session->project().clipCount(), 3);
        QCOMPARE(session->readOnlyReason(),
                 QStringLiteral("the lock file %1.lock cannot be made").arg(in(name.constData())));
    }

    void whatADeskLeftWhenItWasKilledKeepsNobodyOff()
    {
        // A process that is no more, on this machine.
        LinkDocuments::write(in("Show.krxproject.lock"),
                             QByteArray("4194305\nkrx-desk\n" + QSysInfo::machineHostName().toUtf8() + "\n"));
        QVERIFY(!opened()->isReadOnly());
    }
};

QTEST_GUILESS_MAIN(TestDeskSession)
#include "test_desk_session.moc"
