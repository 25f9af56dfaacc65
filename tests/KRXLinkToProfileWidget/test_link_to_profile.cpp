#include "FakeEditor.h"
#include "FakeFolderService.h"
#include "HostQtShell.h"
#include "KRXLinkToProfileWidget.h"
#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "KRXProfileProperties.h"
#include "KRXSummaryWidget.h"
#include "KRXTest.h"
#include "StandInHost.h"

#include <QComboBox>
#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <functional>
#include <memory>
#include <stdexcept>

using namespace KRXTest::literals;

namespace {

/// A host window that is a dialog of the host, as they are.
class HostDialog : public QDialog, public HostManagedWindow
{
public:
    void setWindowEnabled(bool enabled) override
    {
        calls << enabled;
        setEnabled(enabled);
    }
    QList<bool> calls;
};

class Fixture
{
public:
    Fixture()
    {
        StandInHost::resetRecords();
        service.profiles = {{"p1"_s, "Conform"_s, "Bin 1"_s}, {"p2"_s, "Proxy"_s, "Bin 2"_s}};
    }
    ~Fixture()
    {
        widget.reset();
        KRXProfileManager::cleanup();
    }

    void make(bool populate = true, bool withEditor = true, HostManagedWindow* window = nullptr)
    {
        widget = std::make_unique<KRXLinkToProfileWidget>(&summary, withEditor ? &editor : nullptr, populate,
                                                          window, nullptr);
    }

    QComboBox* box() const { return widget->findChild<QComboBox*>(); }
    QPushButton* button() const { return widget->findChild<QPushButton*>(); }
    QString summaryBin() const
    {
        const QTableWidgetItem* cell = summary.item(0, 1);
        return cell ? cell->text().section(QStringLiteral(" : "), 1) : QString();
    }

    KRXTest::FakeFolderService service;
    KRXSummaryWidget summary{nullptr};
    FakeEditor editor;
    std::unique_ptr<KRXLinkToProfileWidget> widget;
};

const QString kProfiles = QStringLiteral("GET profiles?level=detail");

} // namespace

class TestLinkToProfile : public QObject
{
    Q_OBJECT

private slots:
    void rowIsCentredWithLabelBoxAndButton();
    void sizesAreAsNamed();
    void labelIsNotLocalisedButTheButtonIs();
    void populatedWidgetShowsTheFirstProfile();
    void profilesAreInTheManagersOrder();
    void unpopulatedWidgetHasNoChoiceAndAsksNothing();
    void noProfilesClearTheSummary();
    void choiceFollowsTheBoxAndSoDoesTheSummary();
    void profileThatCannotBeFetchedLeavesTheSummary();
    void failedRefreshKeepsTheKnownProfiles();
    void editorGetsTheProfilesAndTheChoice();
    void editorRequestsAreInOrder();
    void choiceIsRestoredAfterTheEditor();
    void rememberedIdentifierIsMatchedExactly();
    void profileThatDoesNotParseLeavesTheSummary();
    void clearedSummaryHasNoRowsAndTheHeightOfNone();
    void newFirstProfileDoesNotMoveTheChoice();
    void deletedChoiceFallsBackToTheFirst();
    void fallingBackToTheFirstDoesNotRefreshTheSummary();
    void withoutAnEditorTheButtonDoesNothing();
    void visibleEditorIsNotOpenedAgain();
    void hostWindowIsShutOffWhileTheEditorIsOpen();
    void editorInsideADisabledWindowIsEnabled();
    void nullHostWindowIsAccepted();
    void hostWindowIsEnabledAgainAfterAFailure();
    void unpopulatedWidgetIsFilledByTheEditor();
    void unpopulatedWidgetNeverMovesTheSummary();
    void withoutASummaryNothingBreaks();
    void destroyedUnderTheEditorIsHarmless();
    void destroyedWithItsWindowUnderTheEditorIsHarmless();
    void editorThatWentAwayIsForgotten();
    void editorIsNotOpenedForAWidgetThatIsGoing_data();
    void editorIsNotOpenedForAWidgetThatIsGoing();
};

void TestLinkToProfile::rowIsCentredWithLabelBoxAndButton()
{
    Fixture f;
    f.make();
    const auto* row = qobject_cast<QHBoxLayout*>(f.widget->layout());
    QVERIFY(row);
    QCOMPARE(row->count(), 5);
    QVERIFY(row->itemAt(0)->spacerItem());
    QVERIFY(row->itemAt(0)->spacerItem()->expandingDirections().testFlag(Qt::Horizontal));
    QCOMPARE(qobject_cast<QLabel*>(row->itemAt(1)->widget())->text(), "Profile:"_s);
    QCOMPARE(row->itemAt(2)->widget(), f.box());
    QCOMPARE(row->itemAt(3)->widget(), f.button());
    QVERIFY(row->itemAt(4)->spacerItem());
    QVERIFY(row->itemAt(4)->spacerItem()->expandingDirections().testFlag(Qt::Horizontal));
}

void TestLinkToProfile::sizesAreAsNamed()
{
    Fixture f;
    f.make();
    QCOMPARE(f.widget->contentsMargins(), QMargins());
    QCOMPARE(f.widget->layout()->contentsMargins(), QMargins());
    QCOMPARE(f.widget->layout()->spacing(), 3);
    QCOMPARE(f.widget->layout()->sizeConstraint(), QLayout::SetFixedSize);
    QCOMPARE(f.widget->sizePolicy().horizontalPolicy(), QSizePolicy::Minimum);
    QCOMPARE(f.widget->sizePolicy().verticalPolicy(), QSizePolicy::Minimum);
    QCOMPARE(f.box()->minimumWidth(), 180);
    QCOMPARE(f.box()->maximumWidth(), 180);
    QCOMPARE(f.button()->minimumHeight(), 20);
    QCOMPARE(f.button()->maximumHeight(), 20);
}

void TestLinkToProfile::labelIsNotLocalisedButTheButtonIs()
{
    Fixture f;
    StandInHost::setTranslator(
        [](const QString& key) -> QString { return QLatin1Char('<') + key + QLatin1Char('>'); });
    f.make();
    StandInHost::setTranslator({});
    QCOMPARE(f.widget->findChild<QLabel*>()->text(), "Profile:"_s);
    QCOMPARE(f.button()->text(), "<Profile Editor>"_s);
}

void TestLinkToProfile::populatedWidgetShowsTheFirstProfile()
{
    Fixture f;
    f.make();
    QCOMPARE(f.service.lines(), QStringList({kProfiles}));
    QCOMPARE(f.widget->selectedProfileId(), "p1"_s);
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
}

void TestLinkToProfile::profilesAreInTheManagersOrder()
{
    Fixture f;
    f.service.profiles = {{"1"_s, "zeta"_s}, {"2"_s, "Alpha"_s}, {"3"_s, "beta"_s}};
    f.make();
    QStringList items;
    for (int i = 0; i < f.box()->count(); ++i)
        items << QStringLiteral("%1=%2").arg(f.box()->itemData(i, Qt::UserRole).toString(),
                                             f.box()->itemText(i));
    QCOMPARE(items, QStringList({"2=Alpha"_s, "3=beta"_s, "1=zeta"_s}));
}

void TestLinkToProfile::unpopulatedWidgetHasNoChoiceAndAsksNothing()
{
    Fixture f;
    f.make(false);
    QCOMPARE(f.widget->selectedProfileId(), QString());
    QCOMPARE(f.box()->count(), 0);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestLinkToProfile::noProfilesClearTheSummary()
{
    Fixture f;
    f.make();
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
    f.service.profiles.clear();
    f.make();
    QCOMPARE(f.widget->selectedProfileId(), QString());
    QCOMPARE(f.summary.item(0, 0), nullptr);
    QCOMPARE(f.summaryBin(), QString());
}

void TestLinkToProfile::choiceFollowsTheBoxAndSoDoesTheSummary()
{
    Fixture f;
    f.make();
    f.box()->setCurrentIndex(1);
    QCOMPARE(f.widget->selectedProfileId(), "p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
    QCOMPARE(f.service.lines(), QStringList({kProfiles}));
}

void TestLinkToProfile::profileThatCannotBeFetchedLeavesTheSummary()
{
    Fixture f;
    f.make();
    f.box()->addItem("Stranger"_s, "gone"_s);
    f.box()->setCurrentIndex(2);
    QCOMPARE(f.widget->selectedProfileId(), "gone"_s);
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
}

void TestLinkToProfile::failedRefreshKeepsTheKnownProfiles()
{
    Fixture f;
    QVERIFY(KRXProfileManager::getInstance().refreshProfiles(true));
    f.service.refusals["*"_s] = "down"_s;
    f.make();
    QCOMPARE(f.box()->count(), 2);
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestLinkToProfile::editorGetsTheProfilesAndTheChoice()
{
    Fixture f;
    f.make();
    f.box()->setCurrentIndex(1);
    f.button()->click();
    QCOMPARE(f.editor.runs, 1);
    QCOMPARE(f.editor.offeredId, "p2"_s);
    const QList<QPair<QString, QString>> expected = {{"p1"_s, "Conform"_s}, {"p2"_s, "Proxy"_s}};
    QCOMPARE(f.editor.offered, expected);
}

void TestLinkToProfile::editorRequestsAreInOrder()
{
    Fixture f;
    f.make();
    f.service.clear();
    f.editor.whileOpen = [&f] { QCOMPARE(f.service.lines(), QStringList({kProfiles})); };
    f.button()->click();
    QCOMPARE(f.service.lines(), QStringList({kProfiles, kProfiles}));
}

void TestLinkToProfile::choiceIsRestoredAfterTheEditor()
{
    Fixture f;
    f.make();
    f.box()->setCurrentIndex(1);
    f.service.profiles[1].bin = "Changed"_s;
    f.button()->click();
    QCOMPARE(f.widget->selectedProfileId(), "p2"_s);
    // The index went from the refill's 0 to 1, so the summary followed.
    QCOMPARE(f.summaryBin(), "Changed"_s);
}

void TestLinkToProfile::newFirstProfileDoesNotMoveTheChoice()
{
    Fixture f;
    f.make();
    f.editor.whileOpen = [&f] { f.service.profiles.prepend({"p0"_s, "Archive"_s, "Bin 0"_s}); };
    f.button()->click();
    QCOMPARE(f.widget->selectedProfileId(), "p1"_s);
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
}

void TestLinkToProfile::deletedChoiceFallsBackToTheFirst()
{
    Fixture f;
    f.make();
    f.box()->setCurrentIndex(1);
    f.editor.whileOpen = [&f] { f.service.profiles.removeLast(); };
    f.button()->click();
    QCOMPARE(f.widget->selectedProfileId(), "p1"_s);
    QCOMPARE(f.box()->currentIndex(), 0);
}

void TestLinkToProfile::fallingBackToTheFirstDoesNotRefreshTheSummary()
{
    Fixture f;
    f.make();
    f.box()->setCurrentIndex(1);
    f.editor.whileOpen = [&f] { f.service.profiles.removeLast(); };
    f.button()->click();
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
}

void TestLinkToProfile::withoutAnEditorTheButtonDoesNothing()
{
    HostDialog window;
    Fixture f;
    f.make(true, false, &window);
    f.service.clear();
    f.button()->click();
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(window.calls, QList<bool>());
    QCOMPARE(f.widget->selectedProfileId(), "p1"_s);
}

void TestLinkToProfile::visibleEditorIsNotOpenedAgain()
{
    Fixture f;
    f.make();
    f.service.clear();
    f.editor.show();
    f.button()->click();
    QCOMPARE(f.editor.runs, 0);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestLinkToProfile::hostWindowIsShutOffWhileTheEditorIsOpen()
{
    HostDialog window;
    Fixture f;
    f.make(true, true, &window);
    QList<bool> during;
    f.editor.whileOpen = [&] { during = window.calls; };
    f.button()->click();
    QCOMPARE(during, QList<bool>({false}));
    QCOMPARE(window.calls, QList<bool>({false, true}));
}

void TestLinkToProfile::editorInsideADisabledWindowIsEnabled()
{
    Fixture f;
    HostDialog window;
    FakeEditor inside(&window);
    KRXLinkToProfileWidget widget(&f.summary, &inside, true, &window, &window);
    bool windowEnabled = true;
    bool editorEnabled = false;
    inside.whileOpen = [&] {
        windowEnabled = window.isEnabled();
        editorEnabled = inside.isEnabled();
    };
    widget.findChild<QPushButton*>()->click();
    QVERIFY(!windowEnabled);
    QVERIFY(editorEnabled);
    QVERIFY(window.isEnabled());
}

void TestLinkToProfile::nullHostWindowIsAccepted()
{
    Fixture f;
    f.make(true, true, nullptr);
    f.button()->click();
    QCOMPARE(f.editor.runs, 1);
}

void TestLinkToProfile::hostWindowIsEnabledAgainAfterAFailure()
{
    HostDialog window;
    Fixture f;
    f.make(true, true, &window);
    f.service.refusals["*"_s] = "down"_s;
    f.button()->click();
    QCOMPARE(window.calls, QList<bool>({false, true}));
    // Also when a host's own editor fails in the open.
    f.editor.whileOpen = [] { throw std::runtime_error("host"); };
    bool caught = false;
    try {
        QMetaObject::invokeMethod(f.widget.get(), "showProfilesEdotor", Qt::DirectConnection);
    } catch (const std::runtime_error&) {
        caught = true;
    }
    QVERIFY(caught);
    QCOMPARE(window.calls, QList<bool>({false, true, false, true}));
}

void TestLinkToProfile::unpopulatedWidgetIsFilledByTheEditor()
{
    Fixture f;
    f.make(false);
    f.button()->click();
    QCOMPARE(f.editor.offeredId, QString());
    QCOMPARE(f.box()->count(), 2);
    QCOMPARE(f.widget->selectedProfileId(), "p1"_s);
}

void TestLinkToProfile::unpopulatedWidgetNeverMovesTheSummary()
{
    Fixture f;
    f.make(false);
    f.button()->click();
    f.box()->setCurrentIndex(1);
    QCOMPARE(f.widget->selectedProfileId(), "p2"_s);
    QCOMPARE(f.summaryBin(), QString());
}

void TestLinkToProfile::withoutASummaryNothingBreaks()
{
    Fixture f;
    KRXLinkToProfileWidget widget(nullptr, &f.editor, true, nullptr, nullptr);
    widget.findChild<QComboBox*>()->setCurrentIndex(1);
    QCOMPARE(widget.selectedProfileId(), "p2"_s);
}

void TestLinkToProfile::destroyedUnderTheEditorIsHarmless()
{
    HostDialog window;
    Fixture f;
    f.make(true, true, &window);
    f.editor.whileOpen = [&f] { f.widget.reset(); };
    f.button()->click();
    QVERIFY(!f.widget);
    // The window lives on and must not stay shut off.
    QCOMPARE(window.calls, QList<bool>({false, true}));
}

void TestLinkToProfile::destroyedWithItsWindowUnderTheEditorIsHarmless()
{
    Fixture f;
    auto* window = new HostDialog;
    const QPointer<QDialog> alive = window;
    auto* widget = new KRXLinkToProfileWidget(&f.summary, &f.editor, true, window, window);
    f.editor.whileOpen = [&] { std::unique_ptr<HostDialog>(window).reset(); };
    widget->findChild<QPushButton*>()->click();
    QVERIFY(!alive);
}

void TestLinkToProfile::editorThatWentAwayIsForgotten()
{
    Fixture f;
    auto editor = std::make_unique<FakeEditor>();
    KRXLinkToProfileWidget widget(&f.summary, editor.get(), true, nullptr, nullptr);
    f.service.clear();
    editor.reset();
    widget.findChild<QPushButton*>()->click();
    QCOMPARE(f.service.lines(), QStringList());
}

void TestLinkToProfile::rememberedIdentifierIsMatchedExactly()
{
    Fixture f;
    f.service.profiles = {{"P2"_s, "Alpha"_s, "Bin A"_s},
                          {"p22"_s, "Beta"_s, "Bin B"_s},
                          {"xp2"_s, "Gamma"_s, "Bin C"_s},
                          {"p2"_s, "Proxy"_s, "Bin 2"_s}};
    f.make();
    f.box()->setCurrentIndex(3);
    QCOMPARE(f.widget->selectedProfileId(), "p2"_s);
    f.button()->click();
    QCOMPARE(f.widget->selectedProfileId(), "p2"_s);
    QCOMPARE(f.box()->currentIndex(), 3);
    // Likenesses are no match.
    f.editor.whileOpen = [&f] { f.service.profiles.removeLast(); };
    f.button()->click();
    QCOMPARE(f.box()->currentIndex(), 0);
}

void TestLinkToProfile::profileThatDoesNotParseLeavesTheSummary()
{
    Fixture f;
    f.make();
    const auto profiles = KRXProfileManager::getInstance().getKRXProfileList();
    profiles.at(1)->setProperty(KRXProfileProperties::kXml, "<profile><binDetail>"_s);
    const int rows = f.summary.rowCount();
    f.box()->setCurrentIndex(1);
    QCOMPARE(f.widget->selectedProfileId(), "p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
    QCOMPARE(f.summary.rowCount(), rows);
    profiles.at(1)->setProperty(KRXProfileProperties::kXml, QVariant());
    f.box()->setCurrentIndex(0);
    f.box()->setCurrentIndex(1);
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
}

void TestLinkToProfile::clearedSummaryHasNoRowsAndTheHeightOfNone()
{
    const KRXSummaryWidget none(nullptr);
    Fixture f;
    f.make();
    QVERIFY(f.summary.rowCount() > 0);
    QVERIFY(f.summary.height() > none.height());
    f.box()->addItem("Nothing"_s, QString());
    f.box()->setCurrentIndex(2);
    QCOMPARE(f.widget->selectedProfileId(), QString());
    QCOMPARE(f.summary.rowCount(), 0);
    QCOMPARE(f.summary.maximumHeight(), none.maximumHeight());
    QCOMPARE(f.summary.minimumHeight(), none.minimumHeight());
    QCOMPARE(f.summary.item(0, 0), nullptr);
}

void TestLinkToProfile::editorIsNotOpenedForAWidgetThatIsGoing_data()
{
    QTest::addColumn<bool>("editorGoes");
    QTest::newRow("widget") << false;
    QTest::newRow("editor") << true;
}

void TestLinkToProfile::editorIsNotOpenedForAWidgetThatIsGoing()
{
    QFETCH(bool, editorGoes);
    Fixture f;
    f.make();
    const QPointer<FakeEditor> editor = new FakeEditor;
    const QPointer<KRXLinkToProfileWidget> widget =
        new KRXLinkToProfileWidget(&f.summary, editor, true, nullptr, nullptr);
    const QPointer<QWidget> victim = editorGoes ? static_cast<QWidget*>(editor) : widget;
    int runs = 0;
    editor->whileOpen = [&runs] { ++runs; };
    // Loading a profile may open a notice, and the host may do anything while that stands.
    editor->whileLoading = [&victim] {
        victim->deleteLater();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    widget->findChild<QPushButton*>()->click();
    QCOMPARE(runs, 0);
    QVERIFY(victim);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!victim);
    if (editor)
        std::unique_ptr<FakeEditor>(editor.data()).reset();
    if (widget)
        std::unique_ptr<KRXLinkToProfileWidget>(widget.data()).reset();
}

QTEST_MAIN(TestLinkToProfile)
#include "test_link_to_profile.moc"
