#include "EditorUnderTest.h"
#include "EventCounter.h"
#include "HostQtShell.h"
#include "KRXSettingsController.h"
#include "KRXSummaryWidget.h"
#include "KRXTest.h"
#include "KRXTwistWidget.h"
#include "ProfileActionsController.h"
#include "SaveProfileDialog.h"

#include <QComboBox>
#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QTimer>

#include <algorithm>

/// How the editor is built, filled and shown.
class TestEditor : public QObject, private EditorTest
{
    Q_OBJECT

private slots:
    void init() { start(); }
    void cleanup() { stop(); }

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
        Editor editor;
        openAlpha(editor);
        const QImage clean = editor.getProfilesBox()->grab().toImage();
        editor.updateModifiedState();
        QVERIFY(editor.getProfileState()->isModified());
        QVERIFY(editor.getProfilesBox()->grab().toImage() != clean);
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
        QCOMPARE(menu->actions().constFirst()->text(), QStringLiteral("What's This?"));
        menu->actions().constFirst()->trigger();
        menu->close();
        QCOMPARE(StandInHost::helpLog().size(), 1);
        QCOMPARE(StandInHost::helpLog().constFirst().topic, QStringLiteral("IDH_ProfileEditor_Window"));
        QCOMPARE(StandInHost::helpLog().constFirst().flag, 1);
    }

    void editReachesTheHostsMultichannelEditor()
    {
        Editor editor;
        const auto buttons = editor.findChildren<QPushButton*>();
        const auto edit = std::find_if(buttons.cbegin(), buttons.cend(), [](const QPushButton* button) {
            return button->text() == QLatin1String("Edit...");
        });
        QVERIFY(edit != buttons.cend());
        (*edit)->click();
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

    void choosingAProfileFitsTheHeight()
    {
        m_service->addProfile(QStringLiteral("2"), QStringLiteral("Beta"));
        Editor editor;
        openAlpha(editor);
        editor.show();
        editor.heights.clear();
        editor.getProfilesBox()->setCurrentIndex(1);
        QCOMPARE(editor.heights.size(), 1);
    }

    void theSummaryFitsTheHeightWhenItOpens()
    {
        Editor editor;
        openAlpha(editor);
        editor.show();
        editor.heights.clear();
        auto* summary = editor.child<KRXTwistWidget>("summaryTwistWidget");
        summary->setOpen(true);
        QCOMPARE(editor.heights.size(), 1);
        summary->setOpen(false);
        QCOMPARE(editor.heights.size(), 2);
        QVERIFY(editor.heights.last() < editor.heights.first());
    }

    void theHostScrollsWithItsShadow()
    {
        Editor editor;
        QVERIFY(dynamic_cast<HostQtShell::VScrollWidget<QScrollArea>*>(editor.getScrollArea()));
    }

    void theTitleOfTheSettingsIsTwentyPixelsHigh()
    {
        Editor editor;
        for (const QLabel* label : editor.findChildren<QLabel*>()) {
            if (label->text() != QLatin1String("SETTINGS:"))
                continue;
            QCOMPARE(label->minimumHeight(), 20);
            QCOMPARE(label->maximumHeight(), 20);
            return;
        }
        QFAIL("The label is missing");
    }

    void theMarkRepaintsTheEditorBothWays()
    {
        Editor editor;
        editor.show();
        QVERIFY(QTest::qWaitForWindowExposed(&editor));
        for (const bool modified : {true, false}) {
            QCoreApplication::processEvents();
            const KRXTest::EventCounter paints(&editor, QEvent::Paint);
            editor.getProfileState()->setModified(modified);
            QTRY_VERIFY(paints.count() > 0);
        }
    }

    void theContextMenuOpensWhereItWasAskedFor()
    {
        Editor editor;
        editor.show();
        editor.move(60, 40);
        QCoreApplication::processEvents();
        const QPoint place(33, 44);
        emit editor.customContextMenuRequested(place);
        auto* menu = editor.findChild<QMenu*>();
        QVERIFY(menu->isVisible());
        QCOMPARE(menu->pos(), editor.mapToGlobal(place));
        menu->close();
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
