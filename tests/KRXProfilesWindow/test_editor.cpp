#include "EditorUnderTest.h"
#include "HostQtShell.h"
#include "KRXSettingsController.h"
#include "KRXSummaryWidget.h"
#include "KRXTest.h"
#include "KRXTwistWidget.h"
#include "ProfileActionsController.h"
#include "SaveProfileDialog.h"

#include <QApplication>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMenu>
#include <QRadioButton>
#include <QScrollArea>
#include <QTimer>
#include <QUndoStack>

class TestEditor : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<EditorFixture> m_service;

    /// Answers every question so and returns nothing; the log tells what was asked.
    static void answerWith(QMessageBox::StandardButton button)
    {
        StandInHost::setMessageAnswerer([button](const StandInHost::MessageRequest&) { return button; });
    }

    static StandInHost::MessageRequest onlyMessage()
    {
        const auto log = StandInHost::messageLog();
        return log.size() == 1 ? log.first() : StandInHost::MessageRequest();
    }

    static QStringList boxTexts(const QComboBox* box)
    {
        QStringList texts;
        for (int i = 0; i < box->count(); ++i)
            texts << box->itemText(i);
        return texts;
    }

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
    void init()
    {
        m_service = std::make_unique<EditorFixture>();
        answerWith(QMessageBox::Ok);
    }

    void cleanup() { m_service.reset(); }

    // --- Construction -----------------------------------------------------------------------------------

    void theEditorIsBuiltAsItsUsersKnowIt()
    {
        Editor editor;
        QCOMPARE(editor.windowTitle(), QStringLiteral("Profile Editor"));
        QCOMPARE(editor.minimumSize(), QSize(400, 60));
        auto* box = editor.child<QComboBox>("profilesBox");
        QVERIFY(box);
        QCOMPARE(box, editor.getProfilesBox());
        QCOMPARE(box->toolTip(), QStringLiteral("Profile to Edit"));
        QCOMPARE(box->maximumWidth(), 180);
        QCOMPARE(box->minimumWidth(), 180);
        auto* del = editor.child<QPushButton>("delProfileBtn");
        QVERIFY(del);
        QCOMPARE(del->text(), QStringLiteral("-"));
        QCOMPARE(del->toolTip(), QStringLiteral("Delete Profile"));
        QCOMPARE(del->size(), QSize(20, 20));
        auto* area = editor.child<QScrollArea>("scrollArea");
        QVERIFY(area);
        QCOMPARE(area, editor.getScrollArea());
        QCOMPARE(area->minimumSize(), QSize(500, 50));
        QCOMPARE(area->widget()->objectName(), QStringLiteral("scrollWidget"));
        auto* summary = editor.child<KRXTwistWidget>("summaryTwistWidget");
        QVERIFY(summary);
        QCOMPARE(summary->toolTip(), QStringLiteral("Summary of Selected Folder's Profile"));
        QVERIFY(editor.child<KRXSummaryWidget>("summaryWidget"));
        QVERIFY(summary->isAncestorOf(editor.child<KRXSummaryWidget>("summaryWidget")));
        QVERIFY(editor.child<KRXTwistWidget>("xelSettingsTwistWidget"));
        QCOMPARE(editor.child<QPushButton>("addActionBtn")->text(), QStringLiteral("+"));
        QCOMPARE(editor.child<QPushButton>("addActionBtn")->toolTip(), QStringLiteral("Add an Action"));
        QCOMPARE(editor.child<QPushButton>("addActionBtn")->size(), QSize(20, 20));
        QCOMPARE(editor.child<QPushButton>("addActionBtn")->parentWidget()->maximumHeight(), 25);
        QCOMPARE(editor.child<QPushButton>("delActionBtn")->text(), QStringLiteral("-"));
        QCOMPARE(editor.child<QPushButton>("delActionBtn")->toolTip(),
                 QStringLiteral("Remove Selected Action"));
        QVERIFY(editor.child<QPushButton>("KRX_SaveBtn"));
        QVERIFY(editor.child<QPushButton>("KRX_CancelBtn"));
        QStringList labels;
        for (const QLabel* label : editor.findChildren<QLabel*>())
            labels << label->text();
        for (const char* text : {"Summary", "Link Settings & Actions",
                                 "SETTINGS:", "Linking to files/volumes will:", "ACTIONS:", "Drag to order:"})
            QVERIFY2(labels.contains(QLatin1String(text)), text);
        QCOMPARE(editor.initialisations, 0);
    }

    void everyTextIsLookedUpInTheHost()
    {
        StandInHost::setTranslator(
            [](const QString& text) -> QString { return QLatin1Char('<') + text + QLatin1Char('>'); });
        Editor editor;
        SaveProfileDialog dialog(&editor);
        StandInHost::setTranslator({});
        QCOMPARE(editor.windowTitle(), QStringLiteral("<Profile Editor>"));
        QCOMPARE(editor.getProfilesBox()->toolTip(), QStringLiteral("<Profile to Edit>"));
        QStringList buttons;
        for (const char* name :
             {"delProfileBtn", "addActionBtn", "delActionBtn", "KRX_SaveBtn", "KRX_CancelBtn"}) {
            const auto* button = editor.child<QPushButton>(name);
            buttons << button->text() + QLatin1Char('|') + button->toolTip();
        }
        QCOMPARE(buttons,
                 QStringList({QStringLiteral("<->|<Delete Profile>"), QStringLiteral("<+>|<Add an Action>"),
                              QStringLiteral("<->|<Remove Selected Action>"), QStringLiteral("<Save>|"),
                              QStringLiteral("<Cancel>|")}));
        QCOMPARE(editor.child<KRXTwistWidget>("summaryTwistWidget")->toolTip(),
                 QStringLiteral("<Summary of Selected Folder's Profile>"));
        QStringList labels;
        for (const QLabel* label : editor.findChildren<QLabel*>())
            labels << label->text();
        for (const char* text :
             {"<Summary>", "<Link Settings & Actions>", "<SETTINGS:>", "<Linking to files/volumes will:>",
              "<ACTIONS:>", "<Drag to order:>", "<Profile name:>"})
            QVERIFY2(labels.contains(QLatin1String(text)), text);
        QCOMPARE(editor.findChild<QMenu*>()->actions().first()->text(), QStringLiteral("<What's This?>"));
        QCOMPARE(dialog.windowTitle(), QStringLiteral("<Save Profile As>"));
    }

    void theEditorOffersFourGroupsInTheirOrder()
    {
        Editor editor;
        QStringList titles;
        const auto sections =
            editor.child<KRXTwistWidget>("xelSettingsTwistWidget")->findChildren<KRXTwistWidget*>();
        for (const KRXTwistWidget* section : sections) {
            for (const char* title :
                 {"Plugin", "Bins", "Quality", "Link Options", "Volume Mounting", "ZOR Metadata"}) {
                const auto labels = section->findChildren<QLabel*>();
                for (const QLabel* label : labels) {
                    if (label->text() == QLatin1String(title))
                        titles << label->text();
                }
            }
        }
        QCOMPARE(titles, QStringList({QStringLiteral("Plugin"), QStringLiteral("Bins"),
                                      QStringLiteral("Link Options"), QStringLiteral("ZOR Metadata")}));
        QVERIFY(!editor.getSettingsController()->getSettingsByType(QualitySettings));
    }

    // --- Filling and loading ----------------------------------------------------------------------------

    void fillingTheBoxLoadsTheNamedProfile()
    {
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"), bins("CREATENEW"));
        m_service->addProfile(QStringLiteral("2"), QStringLiteral("Beta"), bins("USEACTIVE"));
        m_service->load();
        Editor editor;
        editor.updateModifiedState();
        m_service->open(editor, QStringLiteral("2"));
        QCOMPARE(boxTexts(editor.getProfilesBox()),
                 QStringList({QStringLiteral("Alpha"), QStringLiteral("Beta")}));
        QCOMPARE(editor.getProfilesBox()->currentData().toString(), QStringLiteral("2"));
        QVERIFY(editor.child<QPushButton>("delProfileBtn")->isEnabled());
        QVERIFY(!editor.getProfileState()->isModified());
        auto* summary = editor.child<KRXSummaryWidget>("summaryWidget");
        QCOMPARE(summary->item(0, 1)->text(), QStringLiteral("Use Active Bin"));
        QVERIFY(m_service->requests().isEmpty());
    }

    void fillingTheBoxWithAnUnknownProfileLoadsTheFirst()
    {
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"), bins("CREATENEW"));
        m_service->addProfile(QStringLiteral("a"), QStringLiteral("Beta"), bins("USEACTIVE"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("A"));
        QCOMPARE(editor.getProfilesBox()->currentIndex(), 0);
        QCOMPARE(editor.child<KRXSummaryWidget>("summaryWidget")->item(0, 1)->text(),
                 QStringLiteral("Create a new Bin : "));
    }

    void fillingTheBoxWithNothingOnlyDisablesDelete()
    {
        Editor editor;
        editor.updateModifiedState();
        editor.updateProfilesBox({}, QStringLiteral("1"));
        QVERIFY(!editor.child<QPushButton>("delProfileBtn")->isEnabled());
        QCOMPARE(editor.getProfilesBox()->count(), 0);
        QVERIFY(editor.getProfileState()->isModified());
    }

    void choosingAnotherProfileLoadsIt()
    {
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"), bins("CREATENEW"));
        m_service->addProfile(QStringLiteral("2"), QStringLiteral("Beta"), bins("USEACTIVE"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("1"));
        editor.getProfilesBox()->setCurrentIndex(1);
        QCOMPARE(editor.child<KRXSummaryWidget>("summaryWidget")->item(0, 1)->text(),
                 QStringLiteral("Use Active Bin"));
        bool active = false;
        for (const QRadioButton* button : editor.findChildren<QRadioButton*>())
            active = active || (button->text() == QLatin1String("Use Active Bin") && button->isChecked());
        QVERIFY(active);
    }

    void loadingAProfileMarksNothingAsModified()
    {
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"), bins("CREATENEW"));
        m_service->addProfile(
            QStringLiteral("2"), QStringLiteral("Beta"),
            bins("USEACTIVE") +
                QStringLiteral("<processDefinition><package><activities>"
                               "<activity id=\"copy\" name=\"Copy 1\"><destinationDetail>"
                               "<filesystemPath>/media/out</filesystemPath></destinationDetail>"
                               "</activity></activities></package></processDefinition>"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("1"));
        editor.show();
        editor.getProfilesBox()->setCurrentIndex(1);
        QVERIFY(editor.getAllActionsController()->findAction(ActionType::Copy));
        QVERIFY(!editor.getProfileState()->isModified());
        editor.getProfilesBox()->setCurrentIndex(0);
        QVERIFY(!editor.getAllActionsController()->findAction(ActionType::Copy));
        QVERIFY(!editor.getProfileState()->isModified());
    }

    void aProfileThatIsGoneLeavesTheEditorAsItWas()
    {
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"), bins("USEACTIVE"));
        m_service->load();
        Editor editor;
        auto items = KRXProfileManager::getInstance().profileItems();
        items << qMakePair(QStringLiteral("gone"), QStringLiteral("Gone"));
        editor.updateProfilesBox(items, QStringLiteral("1"));
        editor.getProfilesBox()->setCurrentIndex(1);
        QCOMPARE(editor.child<KRXSummaryWidget>("summaryWidget")->item(0, 1)->text(),
                 QStringLiteral("Use Active Bin"));
        QVERIFY(StandInHost::messageLog().isEmpty());
    }

    void theModifiedMarkIsVisible()
    {
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("1"));
        const QImage clean = editor.getProfilesBox()->grab().toImage();
        editor.updateModifiedState();
        QVERIFY(editor.getProfileState()->isModified());
        QVERIFY(editor.getProfilesBox()->grab().toImage() != clean);
    }

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
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("1"));
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
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("1"));
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
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"));
        m_service->load();
        m_service->refusedMethod = QStringLiteral("POST");
        m_service->refusal = QStringLiteral("The disk is full %2");
        Editor editor;
        m_service->open(editor, QStringLiteral("1"));
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
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"));
        m_service->load();
        // The new profile is made, but can be read neither by itself nor in the list.
        m_service->refusedMethod = QStringLiteral("GET");
        Editor editor;
        m_service->open(editor, QStringLiteral("1"));
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
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("1"));
        editor.show();
        answerSaveDialog(editor, name, button.constData());
        editor.saveBtnPressed();
        QVERIFY(m_service->requests().isEmpty());
        QVERIFY(editor.isVisible());
    }

    void anActionThatCannotRunStopsTheSave()
    {
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("1"));
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
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"));
        m_service->load();
        Editor editor;
        m_service->open(editor, QStringLiteral("1"));
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
        QCOMPARE(StandInHost::messageLog().last().title, QStringLiteral("Error occurred"));
        QCOMPARE(StandInHost::messageLog().last().text,
                 QStringLiteral("Can't delete selected profile!\nIn use"));
        QCOMPARE(StandInHost::messageLog().last().icon, QMessageBox::Critical);
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

    // --- Closing ----------------------------------------------------------------------------------------

    void closingAnUnchangedEditorAsksNothing()
    {
        Editor editor;
        editor.show();
        editor.cancelBtnPressed();
        QVERIFY(!editor.isVisible());
        QVERIFY(StandInHost::messageLog().isEmpty());
        QCOMPARE(editor.result(), int(QDialog::Accepted));
    }

    void closingAChangedEditorAsksAndCancelKeepsItOpen()
    {
        Editor editor;
        editor.show();
        editor.updateModifiedState();
        answerWith(QMessageBox::Cancel);
        editor.cancelBtnPressed();
        QVERIFY(editor.isVisible());
        QCOMPARE(onlyMessage().title, QString());
        QCOMPARE(onlyMessage().text, QStringLiteral("Exit without saving profile ?"));
        QCOMPARE(onlyMessage().icon, QMessageBox::Question);
        QCOMPARE(onlyMessage().buttons, QMessageBox::StandardButtons(QMessageBox::Ok | QMessageBox::Cancel));
        QCOMPARE(onlyMessage().defaultButton, QMessageBox::Ok);
        answerWith(QMessageBox::Ok);
        editor.cancelBtnPressed();
        QVERIFY(!editor.isVisible());
    }

    void escapeAsksAboutUnsavedChangesToo()
    {
        Editor editor;
        editor.show();
        editor.updateModifiedState();
        answerWith(QMessageBox::Cancel);
        QTest::keyClick(&editor, Qt::Key_Escape);
        QVERIFY(editor.isVisible());
        QCOMPARE(onlyMessage().text, QStringLiteral("Exit without saving profile ?"));
    }

    void theEditorMayGoAwayWhileItAsks()
    {
        auto* panel = new QWidget;
        auto* editor = new Editor(panel);
        editor->show();
        editor->updateModifiedState();
        StandInHost::setMessageAnswerer([panel](const StandInHost::MessageRequest&) {
            delete panel;
            return QMessageBox::Cancel;
        });
        const QPointer<Editor> guard(editor);
        editor->close();
        QVERIFY(!guard);
    }

    void theEditorMayGoAwayWhileTheSaveDialogIsOpen()
    {
        auto* panel = new QWidget;
        auto* editor = new Editor(panel);
        editor->show();
        QTimer::singleShot(0, qApp, [panel] { delete panel; });
        const QPointer<Editor> guard(editor);
        editor->saveBtnPressed();
        QVERIFY(!guard);
        QVERIFY(m_service->requests().isEmpty());
    }

    void theEditorMayGoAwayWhileItAsksToDelete()
    {
        m_service->addProfile(QStringLiteral("x"), QStringLiteral("A"));
        m_service->load();
        auto* panel = new QWidget;
        auto* editor = new Editor(panel);
        m_service->open(*editor, QStringLiteral("x"));
        StandInHost::setMessageAnswerer([panel](const StandInHost::MessageRequest&) {
            delete panel;
            return QMessageBox::Yes;
        });
        editor->delBtnPressed();
        QVERIFY(m_service->requests().isEmpty());
    }

    // --- Keys -------------------------------------------------------------------------------------------

    void plusAndMinusWorkOnlyWhileTheActionsAreOpen()
    {
        Editor editor;
        editor.show();
        auto* section = editor.child<KRXTwistWidget>("xelSettingsTwistWidget");
        QVERIFY(!section->isOpen());
        QKeyEvent plus(QEvent::KeyPress, Qt::Key_Plus, Qt::NoModifier, QStringLiteral("+"));
        QApplication::sendEvent(&editor, &plus);
        QVERIFY(!plus.isAccepted());
        QVERIFY(!editor.getAllActionsController()->findAction(ActionType::Copy));

        section->setOpen(true);
        QKeyEvent plusAgain(QEvent::KeyPress, Qt::Key_Plus, Qt::NoModifier, QStringLiteral("+"));
        QApplication::sendEvent(&editor, &plusAgain);
        QVERIFY(plusAgain.isAccepted());
        QVERIFY(editor.getAllActionsController()->findAction(ActionType::Copy));
    }

    void minusOrDeleteRemovesTheSelectedActionAndControlZBringsItBack_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("minus") << Qt::Key_Minus;
        QTest::newRow("delete") << Qt::Key_Delete;
    }

    void minusOrDeleteRemovesTheSelectedActionAndControlZBringsItBack()
    {
        QFETCH(Qt::Key, key);
        Editor editor;
        editor.show();
        auto* section = editor.child<KRXTwistWidget>("xelSettingsTwistWidget");
        section->setOpen(true);
        QTest::keyClick(&editor, Qt::Key_Plus);
        auto* controller = editor.getAllActionsController();
        QVERIFY(controller->findAction(ActionType::Copy));
        KRXTwistWidget* row = nullptr;
        for (KRXTwistWidget* candidate : editor.findChildren<KRXTwistWidget*>()) {
            if (candidate->inherits("ActionTWidget"))
                row = candidate;
        }
        QVERIFY(row);
        editor.setCurrentSelectedAction(row);
        section->setOpen(false);
        QKeyEvent whileClosed(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(&editor, &whileClosed);
        QVERIFY(!whileClosed.isAccepted());
        QVERIFY(controller->findAction(ActionType::Copy));
        section->setOpen(true);
        QTest::keyClick(&editor, key);
        QVERIFY(!controller->findAction(ActionType::Copy));
        QVERIFY(!editor.getCurrentSelectedAction());

        QKeyEvent plainZ(QEvent::KeyPress, Qt::Key_Z, Qt::NoModifier, QStringLiteral("z"));
        QApplication::sendEvent(&editor, &plainZ);
        QVERIFY(!plainZ.isAccepted());
        QVERIFY(!controller->findAction(ActionType::Copy));
        editor.heights.clear();
        QTest::keyClick(&editor, Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(controller->findAction(ActionType::Copy));
        QVERIFY(!editor.heights.isEmpty());
        editor.setCurrentSelectedAction(row);
        QTest::keyClick(&editor, Qt::Key_Y, Qt::ControlModifier);
        QVERIFY(!controller->findAction(ActionType::Copy));
        QVERIFY(!editor.getCurrentSelectedAction());
        QKeyEvent nothingToRedo(QEvent::KeyPress, Qt::Key_Y, Qt::ControlModifier);
        QApplication::sendEvent(&editor, &nothingToRedo);
        QVERIFY(!nothingToRedo.isAccepted());
    }

    void enterPressesOnlySave()
    {
        Editor editor;
        editor.show();
        editor.child<KRXTwistWidget>("xelSettingsTwistWidget")->setOpen(true);
        QTest::keyClick(&editor, Qt::Key_Plus);
        for (QPushButton* button : editor.findChildren<QPushButton*>()) {
            const bool isSave = button->objectName() == QLatin1String("KRX_SaveBtn");
            QCOMPARE(button->autoDefault(), isSave);
            QCOMPARE(button->isDefault(), isSave);
        }
    }

    // --- Help, hooks, height ----------------------------------------------------------------------------

    void whatsThisOpensTheEditorsHelpTopic()
    {
        Editor editor;
        QCOMPARE(editor.contextMenuPolicy(), Qt::CustomContextMenu);
        editor.show();
        editor.showContextMenu(QPoint(1, 1));
        auto* menu = editor.findChild<QMenu*>();
        QVERIFY(menu && menu->isVisible());
        QCOMPARE(menu->actions().size(), 1);
        QCOMPARE(menu->actions().first()->text(), QStringLiteral("What's This?"));
        menu->actions().first()->trigger();
        menu->close();
        QCOMPARE(StandInHost::helpLog().size(), 1);
        QCOMPARE(StandInHost::helpLog().first().topic, QStringLiteral("IDH_ProfileEditor_Window"));
        QCOMPARE(StandInHost::helpLog().first().flag, 1);
    }

    void editReachesTheHostsMultichannelEditor()
    {
        Editor editor;
        QPushButton* edit = nullptr;
        for (QPushButton* button : editor.findChildren<QPushButton*>()) {
            if (button->text() == QLatin1String("Edit..."))
                edit = button;
        }
        QVERIFY(edit);
        edit->click();
        QVERIFY(editor.multiChannelLabel);
        QCOMPARE(editor.multiChannelLabel->objectName(), QStringLiteral("multichannelAudio"));
    }

    void theHeightFollowsTheSectionsOnlyWhileVisible()
    {
        Editor editor;
        editor.updateHeight();
        QVERIFY(editor.heights.isEmpty());
        editor.show();
        editor.heights.clear();
        editor.updateHeight();
        QCOMPARE(editor.heights.size(), 1);
        auto* area = editor.getScrollArea();
        const int expected = area->widget()->layout()->totalSizeHint().height() +
                             (editor.height() - area->height()) + editor.layout()->spacing() +
                             editor.layout()->contentsMargins().top();
        editor.heights.clear();
        editor.updateHeight();
        QCOMPARE(editor.heights, QList<int>({expected}));
        editor.child<KRXTwistWidget>("xelSettingsTwistWidget")->setOpen(true);
        QVERIFY(editor.heights.last() > expected);
        QCOMPARE(editor.height(), editor.heights.last());
    }

    void theBaseHooksDoNothing()
    {
        Editor editor;
        editor.updateCodecBox(nullptr);
        editor.updateEncodingProfileBox(nullptr);
        QVERIFY(StandInHost::messageLog().isEmpty());
    }

    void runModalReturnsTheDialogsResult()
    {
        Editor editor;
        QTimer::singleShot(0, &editor, [&editor] { editor.close(); });
        QCOMPARE(editor.runModal(), int(QDialog::Accepted));
    }
};

QTEST_MAIN(TestEditor)
#include "test_editor.moc"
