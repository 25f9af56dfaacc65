#include "EditorUnderTest.h"
#include "KRXTest.h"

/// Deleting a profile, with the folders that use it.
class TestEditorDeleting : public QObject, private EditorTest
{
    Q_OBJECT

private slots:
    void init() { start(); }
    void cleanup() { stop(); }

    // --- Deleting ---------------------------------------------------------------------------------------

    void theDefaultProfileCannotBeDeleted()
    {
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Default Profile"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("1"));
        editor.delBtnPressed();
        QCOMPARE(onlyMessage().title, QString());
        QCOMPARE(onlyMessage().text, QStringLiteral("Can't delete Default Profile"));
        QVERIFY(m_service->requests().isEmpty());
    }

    void theDefaultProfileIsTheOneOfTheTranslatedName()
    {
        StandInHost::setTranslator([](const QString& text) -> QString {
            return text == QLatin1String("Default Profile") ? QStringLiteral("Standardprofil") : text;
        });
        m_service->addProfile(QStringLiteral("d"), QStringLiteral("Default Profile"));
        m_service->addProfile(QStringLiteral("s"), QStringLiteral("Standardprofil"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("s"));
        editor.delBtnPressed();
        QCOMPARE(onlyMessage().text, QStringLiteral("Can't delete Standardprofil"));
        QVERIFY(m_service->requests().isEmpty());
        // The English name is a name like any other then.
        answerWith(QMessageBox::Yes);
        m_service->open(editor, QStringLiteral("d"));
        editor.delBtnPressed();
        StandInHost::setTranslator({});
        QVERIFY(m_service->requests().contains(QStringLiteral("DELETE profiles/d")));
    }

    void deletingWithAnEmptyBoxDoesNothing()
    {
        Editor editor;
        editor.delBtnPressed();
        QVERIFY(StandInHost::messageLog().isEmpty());
        QVERIFY(m_service->requests().isEmpty());
    }

    void deletingAProfileOfTwoFoldersListsDisablesAndReassignsThem()
    {
        m_service->addProfile(QStringLiteral("d"), QStringLiteral("Default Profile"));
        m_service->addProfile(QStringLiteral("x"), QStringLiteral("Mine"));
        m_service->addFolder(QStringLiteral("1"), QStringLiteral("/media/a %1"), QStringLiteral("x"));
        m_service->addFolder(QStringLiteral("2"), QStringLiteral("/media/b"), QStringLiteral("d"));
        m_service->addFolder(QStringLiteral("3"), QStringLiteral("/media/c"), QStringLiteral("x"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("x"));
        answerWith(QMessageBox::Yes);
        editor.delBtnPressed();
        QCOMPARE(onlyMessage().title, QString());
        QCOMPARE(onlyMessage().text,
                 QStringLiteral(
                     "The profile [Mine] you are trying to delete is associated with existing KRX folders:\n"
                     "/media/a %1 \n/media/c \n"
                     "If you delete the profile it will be replaced with the Default profile for all related "
                     "KRX folders \n and these folders will be disabled."
                     "Are you sure you want to delete [Mine] profile?"));
        QCOMPARE(onlyMessage().icon, QMessageBox::Question);
        QCOMPARE(onlyMessage().buttons, QMessageBox::StandardButtons(QMessageBox::Yes | QMessageBox::No));
        QCOMPARE(onlyMessage().defaultButton, QMessageBox::Yes);
        QCOMPARE(
            m_service->requests(),
            QStringList({QStringLiteral("DELETE profiles/x"), QStringLiteral("GET profiles?level=detail"),
                         QStringLiteral("PUT xelmediafolders/1"), QStringLiteral("PUT xelmediafolders/3"),
                         QStringLiteral("GET xelmediafolders?level=detail")}));
        QCOMPARE(m_service->folders[QStringLiteral("1")].profile, QStringLiteral("d"));
        QCOMPARE(m_service->folders[QStringLiteral("1")].enabled, QStringLiteral("false"));
        QCOMPARE(m_service->folders[QStringLiteral("2")].enabled, QStringLiteral("true"));
        QCOMPARE(m_service->folders[QStringLiteral("3")].enabled, QStringLiteral("false"));
        QCOMPARE(m_service->folders[QStringLiteral("3")].profile, QStringLiteral("d"));
        QCOMPARE(boxTexts(editor.getProfilesBox()), QStringList(QStringLiteral("Default Profile")));
        QCOMPARE(editor.getProfilesBox()->currentIndex(), 0);
        QCOMPARE(editor.infoUpdates, 1);
    }

    void deletingAProfileOfNoFolderOnlyAsks()
    {
        m_service->addProfile(QStringLiteral("d"), QStringLiteral("Default Profile"));
        m_service->addProfile(QStringLiteral("x"), QStringLiteral("A"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("x"));
        answerWith(QMessageBox::No);
        editor.delBtnPressed();
        QCOMPARE(onlyMessage().text, QStringLiteral("Are you sure you want to delete [A] profile?"));
        QVERIFY(m_service->requests().isEmpty());
        QCOMPARE(editor.infoUpdates, 0);
        answerWith(QMessageBox::Yes);
        editor.delBtnPressed();
        QCOMPARE(editor.getProfilesBox()->currentText(), QStringLiteral("Default Profile"));
    }

    void aRefusedDeletionKeepsEverything()
    {
        m_service->addProfile(QStringLiteral("x"), QStringLiteral("A"));
        m_service->addFolder(QStringLiteral("1"), QStringLiteral("/media/a"), QStringLiteral("x"));
        m_service->load();
        m_service->refusedMethod = QStringLiteral("DELETE");
        m_service->refusal = QStringLiteral("In use");
        Editor editor;
        m_service->open(editor, QStringLiteral("x"));
        editor.show();
        answerWith(QMessageBox::Yes);
        editor.delBtnPressed();
        QCOMPARE(StandInHost::messageLog().size(), 2);
        QCOMPARE(StandInHost::messageLog().constLast().title, QStringLiteral("Error occurred"));
        QCOMPARE(StandInHost::messageLog().constLast().text,
                 QStringLiteral("Can't delete selected profile!\nIn use"));
        QCOMPARE(StandInHost::messageLog().constLast().icon, QMessageBox::Critical);
        QCOMPARE(m_service->requests(), QStringList(QStringLiteral("DELETE profiles/x")));
        QCOMPARE(m_service->folders[QStringLiteral("1")].enabled, QStringLiteral("true"));
        QVERIFY(editor.isVisible());
    }

    void aServiceThatGoesAfterTheDeletionLeavesWhatIsKnown()
    {
        m_service->addProfile(QStringLiteral("d"), QStringLiteral("Default Profile"));
        m_service->addProfile(QStringLiteral("x"), QStringLiteral("Mine"));
        m_service->addFolder(QStringLiteral("1"), QStringLiteral("/media/a"), QStringLiteral("x"));
        m_service->load();
        m_service->refusedMethod = QStringLiteral("GET");
        Editor editor;
        m_service->open(editor, QStringLiteral("x"));
        editor.show();
        answerWith(QMessageBox::Yes);
        editor.delBtnPressed();
        // Only the question was asked; the folder is taken care of though the lists cannot be read.
        QCOMPARE(StandInHost::messageLog().size(), 1);
        QCOMPARE(boxTexts(editor.getProfilesBox()), QStringList(QStringLiteral("Default Profile")));
        QCOMPARE(m_service->folders[QStringLiteral("1")].profile, QStringLiteral("d"));
        QCOMPARE(m_service->folders[QStringLiteral("1")].enabled, QStringLiteral("false"));
        QCOMPARE(editor.infoUpdates, 1);
        QVERIFY(editor.isVisible());
    }
};

QTEST_MAIN(TestEditorDeleting)
#include "test_editor_deleting.moc"
