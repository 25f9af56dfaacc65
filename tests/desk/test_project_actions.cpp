#include "DeskSession.h"
#include "HostRecorder.h"
#include "LinkDocuments.h"
#include "ProjectActions.h"
#include "ProjectFiles.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

#include <memory>

/// What a person is asked and told about projects.
class TestProjectActions : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<DeskSession> m_session;
    std::unique_ptr<QWidget> m_window;
    ProjectActions* m_actions = nullptr;
    QString m_error;

    QString in(const char* name) const { return m_dir->filePath(QString::fromLatin1(name)); }
    static void answer(QMessageBox::StandardButton button)
    {
        StandInHost::setMessageAnswerer([button](const StandInHost::MessageRequest&) { return button; });
    }
    static QStringList asked()
    {
        QStringList titles;
        const QList<StandInHost::MessageRequest> log = StandInHost::messageLog();
        for (const StandInHost::MessageRequest& request : log)
            titles << request.title;
        return titles;
    }
    int binsInFile(const char* name) const { return ProjectFiles::binsIn(in(name)); }
    /// The file is replaced by a project with two bins.
    void replaceFile() const
    {
        QFile::remove(in("Show.krxproject"));
        DeskProject other;
        other.create(in("Show.krxproject"));
        other.binNamed(QStringLiteral("theirs 1"));
        other.binNamed(QStringLiteral("theirs 2"));
        QString error;
        QVERIFY2(other.save(error), qPrintable(error));
    }

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_session = std::make_unique<DeskSession>(1000 * 1000);
        QVERIFY2(m_session->create(in("Show.krxproject"), m_error), qPrintable(m_error));
        m_window = std::make_unique<QWidget>();
        m_actions = new ProjectActions(*m_session, m_window.get());
        answer(QMessageBox::No);
    }
    void cleanup()
    {
        m_window.reset();
        m_session.reset();
        StandInHost::resetRecords();
    }

    void savingOverAnotherFileIsAskedAboutAndANoKeepsIt()
    {
        m_session->project().binNamed(QStringLiteral("Mine"));
        replaceFile();
        QSignalSpy messages(m_actions, &ProjectActions::saved);
        m_actions->save();
        QCOMPARE(asked(),
                 (QStringList{QStringLiteral("Project file replaced"), QStringLiteral("Error occurred")}));
        QCOMPARE(binsInFile("Show.krxproject"), 2);
        QCOMPARE(messages.count(), 0);
        answer(QMessageBox::Yes);
        m_actions->save();
        QCOMPARE(binsInFile("Show.krxproject"), 1);
        QCOMPARE(messages.count(), 1);
    }

    void anAcquisitionThatMeetsAnotherFileAsksAfterwards()
    {
        replaceFile();
        LinkDocuments::Parts parts;
        parts.id = "1";
        QVERIFY(LinkDocuments::write(in("a.xel"), LinkDocuments::text(parts)));
        m_session->clips().take(in("a.xel"));
        QVERIFY(!m_session->clips().finish());
        // Not in the middle of it.
        QVERIFY(asked().isEmpty());
        answer(QMessageBox::Yes);
        QTRY_COMPARE(asked(), QStringList{QStringLiteral("Project file replaced")});
        QCOMPARE(binsInFile("Show.krxproject"), 1);
        QVERIFY(!QFile::exists(in("a.xel")));
    }

    void aProjectThatCannotBeSavedIsNotLeftWithoutAsking()
    {
        m_session->project().binNamed(QStringLiteral("Mine"));
        QVERIFY(QFile::remove(in("Show.krxproject")));
        QVERIFY(!m_actions->create(in("Next.krxproject")));
        QCOMPARE(asked(),
                 (QStringList{QStringLiteral("Project file replaced"), QStringLiteral("Project not saved")}));
        QVERIFY(!QFile::exists(in("Next.krxproject")));
        QCOMPARE(m_session->project().bins().size(), 1);
        QVERIFY(!m_actions->mayClose());
        // Putting it back in its place saves it, and nothing more is asked.
        StandInHost::resetRecords();
        answer(QMessageBox::Yes);
        QVERIFY(m_actions->create(in("Next.krxproject")));
        QCOMPARE(asked(), QStringList{QStringLiteral("Project file replaced")});
        QCOMPARE(binsInFile("Show.krxproject"), 1);
        QCOMPARE(m_session->project().path(), in("Next.krxproject"));
    }

    void openingAProjectThatAnotherDeskHasTellsWhoHasIt()
    {
        DeskSession other;
        QVERIFY(other.create(in("Theirs.krxproject"), m_error));
        QVERIFY(m_actions->open(in("Theirs.krxproject")));
        QTRY_COMPARE(asked(), QStringList{QStringLiteral("Project is in use")});
        const QString text = StandInHost::messageLog().at(0).text;
        QVERIFY2(text.contains(m_session->readOnlyReason()), qPrintable(text));
        QVERIFY(!m_actions->saveAs(in("Theirs.krxproject")));
        QVERIFY(m_actions->saveAs(in("Copy.krxproject")));
        // Nothing is lost by leaving a project that is only read.
        QVERIFY(m_actions->mayClose());
    }

    void aProjectThatIsInUseAtTheStartIsToldToo()
    {
        m_window.reset();
        DeskSession second;
        QVERIFY(second.open(in("Show.krxproject"), m_error));
        m_window = std::make_unique<QWidget>();
        m_actions = new ProjectActions(second, m_window.get());
        QTRY_COMPARE(asked(), QStringList{QStringLiteral("Project is in use")});
        m_window.reset();
    }

    void aDamagedProjectIsRefusedAndThePresentOneStays()
    {
        QVERIFY(LinkDocuments::write(in("damaged.krxproject"), "{"));
        QVERIFY(!m_actions->open(in("damaged.krxproject")));
        QCOMPARE(asked(), QStringList{QStringLiteral("Error occurred")});
        QCOMPARE(m_session->project().path(), in("Show.krxproject"));
    }
};

QTEST_MAIN(TestProjectActions)
#include "test_project_actions.moc"
