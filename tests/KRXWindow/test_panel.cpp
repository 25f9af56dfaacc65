#include "HostQtShell.h"
#include "PanelFixture.h"
#include "TestFiles.h"

#include <QFontMetrics>
#include <QLayout>
#include <QTest>

class TestPanel : public QObject
{
    Q_OBJECT

private slots:
    // --- Construction ---
    void constructionAsksNothing();
    void textsAndTooltipsAreAsNamed_data();
    void textsAndTooltipsAreAsNamed();
    void sizesArePixelForPixel();
    void offlineMessageIsBoldAndHidden();
    void tabOrderFollowsThePanel();
    void folderViewHasTheHostsShadow();
    void hooksOfTheHostDoNothing();
    void editorButtonShowsItsWholeText();
    void offlineMessageSqueezesNothing();
    void partsStandFromTopToBottom();

    // --- Showing ---
    void firstShowLoadsEverythingInOrder();
    void firstShowMakesTheFirstRowCurrent();
    void laterShowsRefreshOnlyProfilesAndSummary();
    void profilesWindowIsCreatedOnce();
    void offlineShowAsksNothing();
    void withoutProfilesNothingCanBeAdded();
    void withoutACurrentFolderNothingCanBeRemoved();
    void plainPanelMakesItsOwnEditor();

    // --- Service state ---
    void goingOfflineShutsEverythingOffAndKeepsTheRows();
    void goingOnlineReloadsInOrder();
    void refusedRequestAfterGoingOnlineKeepsTheRows_data();
    void refusedRequestAfterGoingOnlineKeepsTheRows();
    void sameStateAgainDoesNothing();
    void goingOnlineDoesNotWriteFromAStaleBox();
    void boxStandsAtTheFirstRowsProfileAfterGoingOnline();
    void failedProfileRefreshKeepsTheKnownProfiles();
    void goingOfflineUnderTheChooserEnablesNothing();
    void goingOfflineUnderTheEditorEnablesNothing();
    void goingOfflineUnderAQuestionEnablesNothing();
};

void TestPanel::constructionAsksNothing()
{
    PanelFixture f;
    QCOMPARE(f.service.lines(), QStringList());
    QVERIFY(f.panel->isKRXServiceOnline());
    QCOMPARE(f.panel->editorInits, 0);
    QCOMPARE(f.view()->topLevelItemCount(), 0);
    QVERIFY(!f.add()->isEnabled());
}

void TestPanel::textsAndTooltipsAreAsNamed_data()
{
    QTest::addColumn<QString>("shown");
    QTest::newRow("as named") << "%1"_s;
    QTest::newRow("localised") << "<%1>"_s;
}

void TestPanel::textsAndTooltipsAreAsNamed()
{
    QFETCH(QString, shown);
    StandInHost::setTranslator([&shown](const QString& key) { return shown.arg(key); });
    PanelFixture f;
    StandInHost::setTranslator({});
    QCOMPARE(f.view()->objectName(), "folderViewWidget"_s);
    QVERIFY(f.section()->isUseTransparentBackground());
    const QList<QPair<QString, QString>> texts{
        {f.add()->text(), "+"_s},
        {f.add()->toolTip(), "Add Folder to the KRX Folder List"_s},
        {f.del()->text(), "-"_s},
        {f.del()->toolTip(), "Remove Selected Folder from KRX Folder List"_s},
        {f.view()->toolTip(), "List of KRX Folders"_s},
        {f.box()->toolTip(), "Choose Profile for Selected Folder"_s},
        {f.edit()->text(), "Profile Editor"_s},
        {f.edit()->toolTip(), "Edit a Profile"_s},
        {f.section()->toolTip(), "Summary of Selected Folder's Profile"_s},
        {f.offline()->text(), "Velo Editor Services are not Running. Please start Services from the Velo "
                              "Editor Services Manager..."_s}};
    for (const auto& text : texts)
        QCOMPARE(text.first, shown.arg(text.second));
    QStringList labels;
    const auto all = f.panel->findChildren<QLabel*>();
    for (const QLabel* label : all)
        labels << label->text();
    QVERIFY(labels.contains(shown.arg("Profile:"_s)));
    QVERIFY(labels.contains(shown.arg("Summary"_s)));
}

void TestPanel::sizesArePixelForPixel()
{
    PanelFixture f;
    for (const QPushButton* button : {f.add(), f.del()}) {
        QCOMPARE(button->minimumSize(), QSize(20, 20));
        QCOMPARE(button->maximumSize(), QSize(20, 20));
    }
    QCOMPARE(f.box()->minimumWidth(), 180);
    QCOMPARE(f.box()->maximumWidth(), 180);
    QCOMPARE(f.edit()->minimumWidth(), 80);
    QCOMPARE(f.edit()->maximumWidth(), 80);
    QCOMPARE(f.edit()->minimumHeight(), f.box()->sizeHint().height());
    QCOMPARE(f.edit()->maximumHeight(), f.box()->sizeHint().height());
    QCOMPARE(f.panel->layout()->sizeConstraint(), QLayout::SetMinAndMaxSize);
    QCOMPARE(f.panel->sizePolicy().horizontalPolicy(), QSizePolicy::Maximum);
    QCOMPARE(f.panel->sizePolicy().verticalPolicy(), QSizePolicy::Maximum);
}

void TestPanel::offlineMessageIsBoldAndHidden()
{
    PanelFixture f;
    f.show();
    QCOMPARE(f.offline()->font().weight(), 75);
    QVERIFY(f.offline()->isHidden());
}

void TestPanel::tabOrderFollowsThePanel()
{
    PanelFixture f;
    QList<QWidget*> order;
    QWidget* widget = f.view();
    do {
        if (widget->focusPolicy() != Qt::NoFocus &&
            QList<QWidget*>({f.view(), f.add(), f.del(), f.box(), f.edit()}).contains(widget))
            order << widget;
        widget = widget->nextInFocusChain();
    } while (widget != f.view());
    QCOMPARE(order, QList<QWidget*>({f.view(), f.add(), f.del(), f.box(), f.edit()}));
}

void TestPanel::folderViewHasTheHostsShadow()
{
    PanelFixture f;
    f.show();
    const QWidget* shadow = f.view()->findChild<QWidget*>("dropShadowOverlay"_s);
    QVERIFY(shadow);
    QVERIFY(shadow->testAttribute(Qt::WA_TransparentForMouseEvents));
    QCOMPARE(shadow->geometry(), f.view()->viewport()->geometry());
}

void TestPanel::hooksOfTheHostDoNothing()
{
    PanelFixture f;
    f.panel->Show();
    f.panel->openServicesDialog();
    QVERIFY(!f.panel->isVisible());
    QCOMPARE(f.service.lines(), QStringList());
}

void TestPanel::editorButtonShowsItsWholeText()
{
    PanelFixture f;
    f.show();
    QVERIFY(QFontMetrics(f.edit()->font()).horizontalAdvance(f.edit()->text()) <= f.edit()->width() - 8);
}

void TestPanel::offlineMessageSqueezesNothing()
{
    PanelFixture f;
    f.show();
    f.panel->resize(f.panel->minimumSize());
    const int height = f.panel->height();
    f.panel->updateKRXServiceOnlineState(false);
    QTRY_VERIFY(f.offline()->isVisible() && f.panel->height() > height);
    QVERIFY(f.panel->height() < height + 8 * QFontMetrics(f.offline()->font()).height());
    QTRY_VERIFY(f.offline()->height() >= f.offline()->heightForWidth(f.offline()->width()));
    QVERIFY(f.offline()->height() > 2 * QFontMetrics(f.offline()->font()).height() - 4);
    QTRY_VERIFY(f.add()->geometry().top() > f.view()->geometry().bottom());
    QVERIFY(f.offline()->geometry().bottom() < f.panel->height());
}

void TestPanel::firstShowLoadsEverythingInOrder()
{
    PanelFixture f;
    f.show(true);
    QCOMPARE(f.service.lines(), QStringList({kProfiles}) + kLoading + QStringList({kProfiles}));
    QCOMPARE(f.view()->topLevelItemCount(), 2);
    QCOMPARE(f.box()->count(), 2);
    QCOMPARE(f.box()->itemText(0), "Conform"_s);
    QCOMPARE(f.box()->itemData(0).toString(), "p1"_s);
    QVERIFY(f.add()->isEnabled());
    QVERIFY(f.del()->isEnabled());
}

void TestPanel::firstShowMakesTheFirstRowCurrent()
{
    PanelFixture f;
    f.service.folders[0].profile = "p2"_s;
    f.show(true);
    QCOMPARE(f.currentFolder(), "a"_s);
    QCOMPARE(f.boxProfile(), "p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
    QCOMPARE(f.puts(), QStringList());
}

void TestPanel::laterShowsRefreshOnlyProfilesAndSummary()
{
    PanelFixture f;
    f.show();
    f.service.folders.removeLast();
    f.service.profiles[0].bin = "Other bin"_s;
    f.panel->hide();
    f.show(true);
    QCOMPARE(f.service.lines(), QStringList({kProfiles}));
    QCOMPARE(f.view()->topLevelItemCount(), 2);
    QCOMPARE(f.summaryBin(), "Other bin"_s);
}

void TestPanel::profilesWindowIsCreatedOnce()
{
    PanelFixture f;
    f.show();
    const KRXProfilesWindow* editor = f.panel->profilesWindow();
    f.panel->hide();
    f.show();
    f.press(f.edit());
    QCOMPARE(f.panel->editorInits, 1);
    QCOMPARE(f.panel->profilesWindow(), editor);
}

void TestPanel::offlineShowAsksNothing()
{
    PanelFixture f;
    f.panel->updateKRXServiceOnlineState(false);
    f.show(true);
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(f.panel->editorInits, 0);
    QVERIFY(f.offline()->isVisible());
    QVERIFY(!f.view()->isEnabled());
    // The first show with the service is still to come.
    f.panel->hide();
    f.panel->updateKRXServiceOnlineState(true);
    f.service.clear();
    f.show(true);
    QCOMPARE(f.service.lines(), QStringList({kProfiles}) + kLoading + QStringList({kProfiles}));
}

void TestPanel::withoutProfilesNothingCanBeAdded()
{
    PanelFixture f;
    f.service.profiles.clear();
    f.show(true);
    QVERIFY(!f.add()->isEnabled());
    QVERIFY(f.del()->isEnabled());
    // An empty box assigns nothing.
    QCOMPARE(f.puts(), QStringList());
    QCOMPARE(f.profileOf("b"_s), "p2"_s);
}

void TestPanel::withoutACurrentFolderNothingCanBeRemoved()
{
    PanelFixture f;
    f.service.folders.clear();
    f.show();
    QVERIFY(f.add()->isEnabled());
    QVERIFY(!f.del()->isEnabled());
}

void TestPanel::plainPanelMakesItsOwnEditor()
{
    PanelFixture f;
    KRXWindow plain(nullptr, nullptr);
    plain.initProfilesWindow();
    const auto editors = plain.findChildren<KRXProfilesWindow*>();
    QCOMPARE(editors.size(), 1);
    QCOMPARE(editors.at(0)->parentWidget(), &plain);
    QCOMPARE(plain.findChild<QComboBox*>("profilesBox"_s, Qt::FindDirectChildrenOnly)->count(), 2);
    plain.initProfilesWindow();
    QCOMPARE(plain.findChildren<KRXProfilesWindow*>().size(), 1);
}

void TestPanel::goingOfflineShutsEverythingOffAndKeepsTheRows()
{
    PanelFixture f;
    f.show();
    f.panel->updateKRXServiceOnlineState(false);
    QVERIFY(!f.panel->isKRXServiceOnline());
    QVERIFY(f.offline()->isVisible());
    for (const QWidget* control :
         QList<QWidget*>{f.view(), f.add(), f.del(), f.edit(), f.box(), f.summary(), f.section()})
        QVERIFY2(!control->isEnabled(), qPrintable(control->objectName()));
    QCOMPARE(f.view()->topLevelItemCount(), 2);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestPanel::goingOnlineReloadsInOrder()
{
    PanelFixture f;
    f.show();
    f.panel->updateKRXServiceOnlineState(false);
    f.service.folders.append({"c"_s, "/media/0"_s, "p2"_s});
    f.panel->updateKRXServiceOnlineState(true);
    QCOMPARE(f.service.lines(), kLoading + QStringList({kProfiles}));
    QVERIFY(f.offline()->isHidden());
    for (const QWidget* control :
         QList<QWidget*>{f.view(), f.add(), f.del(), f.edit(), f.box(), f.summary(), f.section()})
        QVERIFY2(control->isEnabled(), qPrintable(control->objectName()));
    QCOMPARE(f.view()->topLevelItemCount(), 3);
    QCOMPARE(f.currentFolder(), "c"_s);
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
}

void TestPanel::refusedRequestAfterGoingOnlineKeepsTheRows_data()
{
    QTest::addColumn<QString>("refused");
    QTest::newRow("folders") << "GET xelmediafolders?level=detail"_s;
    QTest::newRow("profiles") << "GET profiles?level=detail"_s;
    QTest::newRow("everything") << "*"_s;
}

void TestPanel::refusedRequestAfterGoingOnlineKeepsTheRows()
{
    QFETCH(QString, refused);
    PanelFixture f;
    f.show();
    f.panel->updateKRXServiceOnlineState(false);
    f.service.refusals[refused] = "down"_s;
    f.panel->updateKRXServiceOnlineState(true);
    QCOMPARE(f.view()->topLevelItemCount(), 2);
    QCOMPARE(f.currentFolder(), "a"_s);
    QCOMPARE(f.boxProfile(), "p1"_s);
    QVERIFY(f.del()->isEnabled());
    QCOMPARE(f.puts(), QStringList());
}

void TestPanel::sameStateAgainDoesNothing()
{
    PanelFixture f;
    f.show();
    f.panel->updateKRXServiceOnlineState(true);
    QCOMPARE(f.service.lines(), QStringList());
    f.panel->updateKRXServiceOnlineState(false);
    f.panel->updateKRXServiceOnlineState(false);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestPanel::goingOnlineDoesNotWriteFromAStaleBox()
{
    PanelFixture f;
    f.show();
    f.panel->updateKRXServiceOnlineState(false);
    // Meanwhile somebody made a profile and gave it to the first folder.
    f.service.profiles.append({"p9"_s, "Zoom"_s, "Bin 9"_s});
    f.service.folders[0].profile = "p9"_s;
    f.panel->updateKRXServiceOnlineState(true);
    QCOMPARE(f.puts(), QStringList());
    QCOMPARE(f.profileOf("a"_s), "p9"_s);
    QCOMPARE(f.boxProfile(), "p9"_s);
    QCOMPARE(f.summaryBin(), "Bin 9"_s);
}

void TestPanel::boxStandsAtTheFirstRowsProfileAfterGoingOnline()
{
    PanelFixture f;
    f.service.folders[0].profile = "p2"_s;
    f.show();
    f.panel->updateKRXServiceOnlineState(false);
    f.panel->updateKRXServiceOnlineState(true);
    QCOMPARE(f.boxProfile(), "p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
}

void TestPanel::failedProfileRefreshKeepsTheKnownProfiles()
{
    PanelFixture f;
    f.show();
    f.service.refusals[kProfiles] = "down"_s;
    f.panel->hide();
    f.show();
    QCOMPARE(f.box()->count(), 2);
    QVERIFY(StandInHost::messageLog().isEmpty());
}

namespace {

QStringList enabledControls(const PanelFixture& f)
{
    QStringList names;
    for (const QWidget* control :
         QList<QWidget*>{f.view(), f.add(), f.del(), f.edit(), f.box(), f.summary(), f.section()}) {
        if (control->isEnabled())
            names << control->objectName();
    }
    return names;
}

} // namespace

void TestPanel::goingOfflineUnderTheChooserEnablesNothing()
{
    PanelFixture f;
    f.show();
    f.directory = "/media/new"_s;
    f.whileChoosing = [&f] {
        f.service.refusals["*"_s] = "down"_s;
        f.panel->updateKRXServiceOnlineState(false);
    };
    f.add()->click();
    QCOMPARE(StandInHost::messageLog().size(), 1);
    QCOMPARE(enabledControls(f), QStringList());
    QVERIFY(f.offline()->isVisible());
}

void TestPanel::goingOfflineUnderTheEditorEnablesNothing()
{
    PanelFixture f;
    f.show();
    f.panel->editor()->whileOpen = [&f] {
        f.service.refusals["*"_s] = "down"_s;
        f.panel->updateKRXServiceOnlineState(false);
    };
    f.edit()->click();
    QCOMPARE(enabledControls(f), QStringList());
    QCOMPARE(f.box()->count(), 2);
}

void TestPanel::goingOfflineUnderAQuestionEnablesNothing()
{
    const TestFiles::FilledFolder filled;
    PanelFixture f;
    f.show();
    f.panel->updateKRXServiceOnlineState(false);
    // The first row's profile is gone, so the first profile is written and the user is asked about the files.
    f.service.folders = {{"a"_s, filled.path(), "gone"_s, "true"_s}};
    f.whileAsked = [&f] { f.panel->updateKRXServiceOnlineState(false); };
    f.panel->updateKRXServiceOnlineState(true);
    QCOMPARE(StandInHost::messageLog().size(), 1);
    QCOMPARE(enabledControls(f), QStringList());
    QVERIFY(f.offline()->isVisible());
}

void TestPanel::partsStandFromTopToBottom()
{
    PanelFixture f;
    const QLayout* main = f.panel->layout();
    QCOMPARE(main->count(), 5);
    const QLayout* area = main->itemAt(0)->layout();
    QVERIFY(area);
    QCOMPARE(area->count(), 2);
    QCOMPARE(area->itemAt(0)->widget(), f.view());
    const QLayout* buttons = area->itemAt(1)->layout();
    QVERIFY(buttons);
    QCOMPARE(buttons->count(), 3);
    QCOMPARE(buttons->itemAt(0)->widget(), f.add());
    QCOMPARE(buttons->itemAt(1)->widget(), f.del());
    QVERIFY(buttons->itemAt(2)->spacerItem());
    QVERIFY(buttons->itemAt(2)->expandingDirections().testFlag(Qt::Horizontal));
    const QLayout* profile = main->itemAt(1)->layout();
    QVERIFY(profile);
    QCOMPARE(profile->count(), 4);
    QCOMPARE(qobject_cast<QLabel*>(profile->itemAt(0)->widget())->text(), "Profile:"_s);
    QCOMPARE(profile->itemAt(1)->widget(), f.box());
    QCOMPARE(profile->itemAt(2)->widget(), f.edit());
    QVERIFY(profile->itemAt(3)->spacerItem());
    QVERIFY(profile->itemAt(3)->expandingDirections().testFlag(Qt::Horizontal));
    QCOMPARE(main->itemAt(2)->widget(), f.section());
    QVERIFY(f.section()->isAncestorOf(f.summary()));
    QVERIFY(main->itemAt(3)->spacerItem());
    QVERIFY(main->itemAt(3)->expandingDirections().testFlag(Qt::Vertical));
    QCOMPARE(main->itemAt(4)->widget(), f.offline());
}

QTEST_MAIN(TestPanel)
#include "test_panel.moc"
