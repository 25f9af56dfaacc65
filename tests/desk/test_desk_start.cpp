#include "DeskApplication.h"
#include "DeskSession.h"
#include "HostRecorder.h"
#include "LinkDocuments.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

/// Which project is open after the start.
class TestDeskStart : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    DeskSession* m_session = nullptr;
    QString m_error;

    QString in(const char* name) const { return m_dir->filePath(QString::fromLatin1(name)); }
    bool openLast(const QString& last)
    {
        return DeskApplication::openLast(*m_session, last, in("own"), m_error);
    }
    static void answer(QMessageBox::StandardButton button)
    {
        StandInHost::setMessageAnswerer([button](const StandInHost::MessageRequest&) { return button; });
    }
    /// A bin tells the project that was there from one that was made.
    void makeProject(const QString& path) const
    {
        DeskProject project;
        project.create(path);
        project.binNamed(QStringLiteral("Mine"));
        QString error;
        QVERIFY2(project.save(error), qPrintable(error));
    }

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_session = new DeskSession(1000, this);
        answer(QMessageBox::No);
    }
    void cleanup()
    {
        delete m_session;
        StandInHost::resetRecords();
    }

    void theProjectOfTheLastTimeIsOpened()
    {
        makeProject(in("Last.krxproject"));
        QVERIFY(openLast(in("Last.krxproject")));
        QCOMPARE(m_session->project().path(), in("Last.krxproject"));
        QCOMPARE(m_session->project().bins().size(), 1);
        QVERIFY(StandInHost::messageLog().isEmpty());
        QVERIFY(!QDir(in("own")).exists());
    }

    void theFirstTimeTheDesksOwnProjectIsMade()
    {
        QVERIFY(openLast(QString()));
        QCOMPARE(m_session->project().path(), in("own/Untitled.krxproject"));
        QVERIFY(StandInHost::messageLog().isEmpty());
    }

    void aMissingLastProjectIsAskedAboutAndNothingIsMadeInItsPlace()
    {
        QVERIFY(openLast(in("volume/Shows/Last.krxproject")));
        QCOMPARE(StandInHost::messageLog().size(), 1);
        QVERIFY(StandInHost::messageLog().at(0).text.startsWith(
            QStringLiteral("The project %1 cannot be opened: No such file or directory.\n")
                .arg(in("volume/Shows/Last.krxproject"))));
        QVERIFY(!QDir(in("volume")).exists());
        QCOMPARE(m_session->project().path(), in("own/Untitled.krxproject"));
    }

    void aVolumeThatIsBackWhenThePersonTriesAgainIsOpened()
    {
        int questions = 0;
        StandInHost::setMessageAnswerer([&](const StandInHost::MessageRequest&) {
            if (++questions == 2) {
                QDir().mkpath(in("volume"));
                makeProject(in("volume/Last.krxproject"));
            }
            return QMessageBox::Yes;
        });
        QVERIFY(openLast(in("volume/Last.krxproject")));
        QCOMPARE(questions, 2);
        QCOMPARE(m_session->project().bins().size(), 1);
        QVERIFY(!QDir(in("own")).exists());
    }

    void aDamagedLastProjectDoesNotBarTheStart()
    {
        QVERIFY(LinkDocuments::write(in("Last.krxproject"), "{\"format\":"));
        QVERIFY(openLast(in("Last.krxproject")));
        QCOMPARE(StandInHost::messageLog().size(), 1);
        QCOMPARE(m_session->project().path(), in("own/Untitled.krxproject"));
        QFile damaged(in("Last.krxproject"));
        QVERIFY(damaged.open(QIODevice::ReadOnly));
        QCOMPARE(damaged.readAll(), QByteArray("{\"format\":"));
    }

    void notEvenADamagedOwnProjectBarsTheStart()
    {
        QDir().mkpath(in("own"));
        QVERIFY(LinkDocuments::write(in("own/Untitled.krxproject"), "damaged"));
        QVERIFY(LinkDocuments::write(in("own/Untitled 2.krxproject"), ""));
        QVERIFY(openLast(in("own/Untitled.krxproject")));
        QCOMPARE(m_session->project().path(), in("own/Untitled 3.krxproject"));
        QVERIFY(!m_session->isReadOnly());
    }

    void aLastProjectThatAnotherDeskHasIsOpenedForReading()
    {
        makeProject(in("Last.krxproject"));
        DeskSession other;
        QVERIFY(other.open(in("Last.krxproject"), m_error));
        QVERIFY(openLast(in("Last.krxproject")));
        QCOMPARE(m_session->project().path(), in("Last.krxproject"));
        QVERIFY(m_session->isReadOnly());
    }

    void whereNothingCanBeMadeTheReasonIsGiven()
    {
        QVERIFY(LinkDocuments::write(in("own"), "a file in the folder's place"));
        QVERIFY(!openLast(QString()));
        QVERIFY(!m_error.isEmpty());
    }
};

QTEST_MAIN(TestDeskStart)
#include "test_desk_start.moc"
