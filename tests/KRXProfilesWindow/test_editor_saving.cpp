#include "EditorUnderTest.h"
#include "KRXTest.h"
#include "KRXTwistWidget.h"
#include "ProfileActionsController.h"
#include "SaveProfileDialog.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

/// Names, saving, and the default profile.
class TestEditorSaving : public QObject, private EditorTest
{
    Q_OBJECT

private:
    /// The name proposed when the box holds \a names and stands at \a current.
    QString proposedName(const QStringList& names, const QString& current)
    {
        Editor editor;
        QList<QPair<QString, QString>> items;
        for (const QString& name : names)
            items << qMakePair(QStringLiteral("id-%1").arg(name), name);
        editor.updateProfilesBox(items, QStringLiteral("id-%1").arg(current));
        return editor.generateProfileNameForSave();
    }

private slots:
    void init() { start(); }
    void cleanup() { stop(); }

    // --- Names ------------------------------------------------------------------------------------------

    void generatedName_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("current");
        QTest::addColumn<QString>("proposed");
        const auto list = [](const char* names) -> QStringList {
            return QString::fromLatin1(names).split(QLatin1Char(','), Qt::SkipEmptyParts);
        };
        QTest::newRow("the number after the taken ones") << list("A.1,A.2") << "A.2"
                                                         << "A.3";
        QTest::newRow("a name without variants gets number 1") << list("B") << "B"
                                                               << "B.1";
        QTest::newRow("the smallest free number") << list("Proxy,Proxy.1,Proxy.3") << "Proxy.3"
                                                  << "Proxy.2";
        QTest::newRow("duplicates do no harm") << list("A,A.1,A.1,A.2") << "A"
                                               << "A.3";
        QTest::newRow("an empty box gives Untitled") << QStringList() << ""
                                                     << "Untitled.1";
        QTest::newRow("a dot and digits alone stay") << list(".5") << ".5"
                                                     << ".5.1";
        QTest::newRow("only the last number is cut off") << list("A.1.2") << "A.1.2"
                                                         << "A.1.1";
        QTest::newRow("characters of expressions keep their meaning") << list("A+,AA.1") << "A+"
                                                                      << "A+.2";
        QTest::newRow("a name that is no expression takes number 1") << list("A(,A(.1") << "A("
                                                                     << "A(.1";
        QTest::newRow("the expression is not bound to the start") << list("A,XA.1") << "A"
                                                                  << "A.2";
        QTest::newRow("the name's case counts") << list("a,A.1") << "a"
                                                << "a.1";
        const QString longName(4096, QLatin1Char('n'));
        QTest::newRow("a name of 4 KB")
            << QStringList(longName) << longName << longName + QStringLiteral(".1");
        QTest::newRow("a number beyond all bounds does no harm") << list("A,A.99999999999") << "A"
                                                                 << "A.1";
    }

    void generatedName()
    {
        QFETCH(QStringList, names);
        QFETCH(QString, current);
        QFETCH(QString, proposed);
        QCOMPARE(proposedName(names, current), proposed);
    }

    void anEmptyBoxGivesTheTranslatedUntitled()
    {
        StandInHost::setTranslator([](const QString& text) -> QString {
            return text == QLatin1String("Untitled") ? QStringLiteral("Ohne Titel") : text;
        });
        const QString name = proposedName({}, QString());
        StandInHost::setTranslator({});
        QCOMPARE(name, QStringLiteral("Ohne Titel.1"));
    }

    // --- Saving -----------------------------------------------------------------------------------------

    void theSaveDialogProposesTheGeneratedNameSelected()
    {
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha.1"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("1"));
        SaveProfileDialog dialog(&editor);
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Save Profile As"));
        QCOMPARE(dialog.profileName(), QStringLiteral("Alpha.2"));
        QCOMPARE(dialog.findChild<QLineEdit*>()->selectedText(), QStringLiteral("Alpha.2"));
        QVERIFY(dialog.findChild<QPushButton*>(QStringLiteral("saveBtn")));
        QVERIFY(dialog.findChild<QPushButton*>(QStringLiteral("cancelBtn")));
        QStringList labels;
        for (const QLabel* label : dialog.findChildren<QLabel*>())
            labels << label->text();
        QCOMPARE(labels, QStringList(QStringLiteral("Profile name:")));
    }

    void aTakenNameIsRefusedInsideTheSaveDialog()
    {
        Editor editor;
        openAlpha(editor);
        SaveProfileDialog dialog(&editor);
        dialog.findChild<QLineEdit*>()->setText(QStringLiteral("Alpha"));
        dialog.show();
        dialog.findChild<QPushButton*>(QStringLiteral("saveBtn"))->click();
        QVERIFY(dialog.isVisible());
        QCOMPARE(onlyMessage().title, QString());
        QCOMPARE(onlyMessage().text, QStringLiteral("Profile : Alpha already exists"));
        QCOMPARE(onlyMessage().icon, QMessageBox::Warning);
        QCOMPARE(onlyMessage().buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        // The comparison is exact.
        dialog.findChild<QLineEdit*>()->setText(QStringLiteral("alpha"));
        dialog.findChild<QPushButton*>(QStringLiteral("saveBtn"))->click();
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    }

    void savingCreatesTheProfileRefreshesAndCloses()
    {
        Editor editor;
        openAlpha(editor);
        editor.show();
        editor.updateModifiedState();
        QString proposed;
        answerSaveDialog(editor, QStringLiteral("Mine"), "saveBtn", &proposed);
        editor.saveBtnPressed();
        QCOMPARE(proposed, QStringLiteral("Alpha.1"));
        QCOMPARE(m_service->requests(),
                 QStringList({QStringLiteral("POST profiles"), QStringLiteral("GET profiles/new-1"),
                              QStringLiteral("GET profiles?level=detail")}));
        const QString body = QString::fromUtf8(m_service->client().requests().first().body);
        QVERIFY(body.contains(QStringLiteral("<profileName>Mine</profileName>")));
        QVERIFY(body.contains(QStringLiteral("<profileSettings>")));
        QVERIFY(body.contains(QStringLiteral("<processDefinition>")));
        QVERIFY(!editor.getProfileState()->isModified());
        QCOMPARE(editor.infoUpdates, 1);
        QVERIFY(!editor.isVisible());
        QCOMPARE(editor.result(), int(QDialog::Accepted));
        QVERIFY(StandInHost::messageLog().isEmpty());
    }

    void aRefusedSaveSaysWhyAndClosesTheEditorAllTheSame()
    {
        Editor editor;
        openAlpha(editor);
        m_service->refusedMethod = QStringLiteral("POST");
        m_service->refusal = QStringLiteral("The disk is full %2");
        editor.show();
        editor.updateModifiedState();
        answerSaveDialog(editor, QStringLiteral("Mine"), "saveBtn");
        editor.saveBtnPressed();
        QCOMPARE(onlyMessage().title, QStringLiteral("Error occurred"));
        QCOMPARE(onlyMessage().text, QStringLiteral("Can't create new profile!\nThe disk is full %2"));
        QCOMPARE(onlyMessage().icon, QMessageBox::Critical);
        QVERIFY(!editor.isVisible());
        QVERIFY(editor.getProfileState()->isModified());
        QCOMPARE(editor.infoUpdates, 0);
    }

    void aServiceThatGoesAfterTheSaveLosesNothing()
    {
        Editor editor;
        openAlpha(editor);
        // The new profile is made, but can be read neither by itself nor in the list.
        m_service->refusedMethod = QStringLiteral("GET");
        editor.show();
        editor.updateModifiedState();
        answerSaveDialog(editor, QStringLiteral("Mine"), "saveBtn");
        editor.saveBtnPressed();
        QCOMPARE(m_service->profiles.size(), 2);
        QCOMPARE(KRXProfileManager::getInstance().profileItems().size(), 1);
        QVERIFY(!editor.getProfileState()->isModified());
        QCOMPARE(editor.infoUpdates, 1);
        QVERIFY(!editor.isVisible());
        QTRY_VERIFY(!editor.findChild<SaveProfileDialog*>());
        QVERIFY(StandInHost::messageLog().isEmpty());
    }

    void nothingIsSavedWithoutANameOrWithCancel_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("button");
        QTest::newRow("an empty name") << QString() << QByteArray("saveBtn");
        QTest::newRow("cancelled") << QStringLiteral("Mine") << QByteArray("cancelBtn");
    }

    void nothingIsSavedWithoutANameOrWithCancel()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, button);
        Editor editor;
        openAlpha(editor);
        editor.show();
        answerSaveDialog(editor, name, button.constData());
        editor.saveBtnPressed();
        QVERIFY(m_service->requests().isEmpty());
        QVERIFY(editor.isVisible());
    }

    void anActionThatCannotRunStopsTheSave()
    {
        Editor editor;
        openAlpha(editor);
        editor.show();
        editor.getAllActionsController()->addNewAction();
        editor.saveBtnPressed();
        QCOMPARE(onlyMessage().title, QStringLiteral("Error occurred"));
        QCOMPARE(onlyMessage().text, QStringLiteral("Copy to Folder action : Output folder not set !"));
        QCOMPARE(onlyMessage().icon, QMessageBox::Warning);
        QVERIFY(editor.isVisible());
        QVERIFY(!editor.findChild<SaveProfileDialog*>());
    }

    void aBinNameThatAProfileCannotHoldStopsTheSave()
    {
        Editor editor;
        openAlpha(editor);
        editor.show();
        for (QRadioButton* button : editor.findChildren<QRadioButton*>()) {
            if (button->text() == QLatin1String("Specify bin name"))
                button->click();
        }
        editor.child<KRXTwistWidget>("xelSettingsTwistWidget")
            ->findChild<QLineEdit*>()
            ->setText(QStringLiteral("   "));
        editor.saveBtnPressed();
        QCOMPARE(onlyMessage().title, QStringLiteral("Error occurred"));
        QCOMPARE(onlyMessage().text,
                 QStringLiteral(
                     "The bin name can't be saved: it consists of blanks only or contains characters that a "
                     "profile can't hold."));
        QCOMPARE(onlyMessage().icon, QMessageBox::Warning);
        QVERIFY(m_service->requests().isEmpty());
        QVERIFY(editor.isVisible());
    }

    // --- The default profile ----------------------------------------------------------------------------

    void theDefaultProfileIsCreatedWhenThereIsNone()
    {
        m_service->addProfile(QStringLiteral("x"), QStringLiteral("default profile"));
        Editor editor;
        editor.createDefaultProfileIfNeed();
        QCOMPARE(m_service->requests(),
                 QStringList({QStringLiteral("GET profiles"), QStringLiteral("GET profiles/x"),
                              QStringLiteral("POST profiles"), QStringLiteral("GET profiles/new-1")}));
        QVERIFY(
            m_service->client().requests().at(2).body.contains("<profileName>Default Profile</profileName>"));
        m_service->client().clearRequests();
        editor.createDefaultProfileIfNeed();
        QVERIFY(!m_service->requests().contains(QStringLiteral("POST profiles")));
    }

    void aDefaultProfileThatCannotBeCreatedIsSilent()
    {
        m_service->refusedMethod = QStringLiteral("POST");
        Editor editor;
        editor.createDefaultProfileIfNeed();
        QVERIFY(StandInHost::messageLog().isEmpty());
    }
};

QTEST_MAIN(TestEditorSaving)
#include "test_editor_saving.moc"
