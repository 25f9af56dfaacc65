#include "ActionList.h"
#include "ActivityTexts.h"
#include "CodecBox.h"
#include "CopyToPathWidget.h"
#include "FittedComboBox.h"
#include "ItemActionsController.h"
#include "KRXTest.h"
#include "SelectDriveButton.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QPointer>
#include <QScrollArea>
#include <QSignalSpy>
#include <QWheelEvent>

#include <memory>

using namespace ActionsWorld;

namespace {

QStringList messageTexts()
{
    QStringList texts;
    for (const StandInHost::MessageRequest& message : StandInHost::messageLog())
        texts.append(message.text);
    return texts;
}

const auto kTellOk = [](const StandInHost::MessageRequest&) { return QMessageBox::Ok; };

} // namespace

class TestActionList : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        reset();
        StandInHost::setMessageAnswerer(kTellOk);
    }

    void newRowIsClosedWithItsTypeAndOptions();
    void rowOutsideOfALayoutHasNoIndex();
    void typeBoxShowsTheTypesInTheirOrder();
    void typeBoxPaintsALeadingBlank();
    void typeBoxLeavesTheWheelToTheEditor();
    void holderMakesEachTypeOnce();
    void holderMakesNothingForUnknown();

    void threeAddsGiveCopyConsolidateTranscodeAndAFourthATranscode();
    void addingMarksTheProfileAsModified();
    void scrollBarIsOffWhileTheListChanges();
    void addingRestoresTheScrollBar();
    void addingSetsTheDefaultsOnceMore();
    void addedRowIsShownAtOnceAndItsQueuedCallsAreDone();
    void removedNumberIsUsedAgain();
    void nextNumberIsTheFirstFree_data();
    void nextNumberIsTheFirstFree();
    void nextNumbersOfTypesAreTheirOwn();
    void findGivesTheFirstRowOfTheType();

    void typeChangeKeepsTheFormerActionForReuse();
    void typeChangeThereAndBackWritesTheFirstType();
    void typeChangeTakesTheNextNumberOfTheOtherRows();
    void typeChangeShowsTheOtherOptions();
    void typeChangeDoesTheQueuedCallsOfTheOptions();
    void secondConsolidateIsRefused();
    void refusalIsLocalised();
    void refusalRestoresTheBoxBeforeTheMessage();
    void rowReloadedDuringTheRefusalIsNotTouched();
    void onlyConsolidateMayBeChangedToConsolidateAgain();
    void typeChangeAsksForTheCodecsOfTheEditor();

    void optionsMarkTheProfileAsModified();
    void chosenFolderMarksTheProfileAsModified();
    void driveButtonsMarkTheProfileAsModified();
    void codecBoxesReachTheEditor();

    void writtenWholeInOrder();
    void emptyListIsWrittenWhole();
    void validationStopsAtTheFirstThatFails();

    void altUpAndDownMoveTheSelectedRow();
    void altUpAndDownStopAtTheEnds();
};

void TestActionList::newRowIsClosedWithItsTypeAndOptions()
{
    List list;
    for (ActionType type : {ActionType::Copy, ActionType::Consolidate, ActionType::Transcode}) {
        ActionTWidget* row = list.add(type, 3);
        QVERIFY(!row->isOpen());
        QVERIFY(row->acceptDrops());
        QVERIFY(!row->showDropIndicator());
        QCOMPARE(list.typeBox(row)->currentIndex(), int(type));
        QCOMPARE(row->getActionName(), list.typeBox(row)->currentText());
        QCOMPARE(row->getCurrentAction()->getType(), type);
        QCOMPARE(row->getCurrentAction()->number(), 3);
        QCOMPARE(row->getActionsController()->currentAction(), row->getCurrentAction());
        QVERIFY(row->isAncestorOf(row->getCurrentAction()->widget()));
        QVERIFY(row->getCurrentAction()->widget()->isHidden() == false);
    }
    // Below the label.
    QCOMPARE(list.controller->rows().at(2)->getActionIndex(), 3);
    QVERIFY(!list.editor.isModified());
}

void TestActionList::rowOutsideOfALayoutHasNoIndex()
{
    ActionTWidget alone(nullptr, ActionType::Copy, 0);
    QCOMPARE(alone.getActionIndex(), -1);
    QWidget parent;
    alone.setParent(&parent);
    QCOMPARE(alone.getActionIndex(), -1);
    alone.setParent(nullptr);
    QCOMPARE(alone.getCurrentAction()->number(), 0);
}

void TestActionList::typeBoxShowsTheTypesInTheirOrder()
{
    ActionTypeBox box(nullptr);
    QCOMPARE(texts(&box), QStringList({QStringLiteral("Copy to Folder"), QStringLiteral("Consolidate"),
                                       QStringLiteral("Transcode")}));
    QCOMPARE(box.minimumSize(), QSize(150, 20));
    QCOMPARE(box.maximumSize(), QSize(150, 20));
    QCOMPARE(box.toolTip(), QStringLiteral("Choose Action"));
    StandInHost::setTranslator([](const QString& key) { return key.toUpper(); });
    ActionTypeBox localised(nullptr);
    QCOMPARE(localised.itemText(1), QStringLiteral("CONSOLIDATE"));
    QCOMPARE(localised.toolTip(), QStringLiteral("CHOOSE ACTION"));
}

void TestActionList::typeBoxPaintsALeadingBlank()
{
    // As another box that fits its texts paints the text with a blank before it.
    ActionTypeBox box(nullptr);
    FittedComboBox plain(nullptr);
    plain.addItem(QStringLiteral(" Copy to Folder"));
    plain.setFixedSize(box.size());
    QCOMPARE(box.grab().toImage(), plain.grab().toImage());
    QCOMPARE(box.currentText(), QStringLiteral("Copy to Folder"));
    plain.setItemText(0, QStringLiteral("Copy to Folder"));
    QVERIFY(box.grab().toImage() != plain.grab().toImage());
}

void TestActionList::typeBoxLeavesTheWheelToTheEditor()
{
    ActionTypeBox box(nullptr);
    QWheelEvent wheel(QPointF(5, 5), QPointF(5, 5), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&box, &wheel);
    QVERIFY(!wheel.isAccepted());
    QCOMPARE(box.currentIndex(), 0);
}

void TestActionList::holderMakesEachTypeOnce()
{
    ActionTWidget row(nullptr, ActionType::Copy, 0);
    ItemActionsController* holder = row.getActionsController();
    IAction* copy = holder->currentAction();
    QCOMPARE(holder->setAction(ActionType::Copy), copy);
    IAction* transcode = holder->setAction(ActionType::Transcode);
    QVERIFY(transcode != copy);
    QCOMPARE(holder->currentAction(), transcode);
    QVERIFY(transcode->widget());
    // The one made before is returned and does not become current by this.
    QCOMPARE(holder->setAction(ActionType::Copy), copy);
    QCOMPARE(holder->currentAction(), transcode);
    holder->makeCurrent(copy);
    QCOMPARE(holder->currentAction(), copy);
    QCOMPARE(holder->setAction(ActionType::Transcode), transcode);
}

void TestActionList::holderMakesNothingForUnknown()
{
    ActionTWidget row(nullptr, ActionType::Copy, 0);
    ItemActionsController* holder = row.getActionsController();
    IAction* copy = holder->currentAction();
    QCOMPARE(holder->setAction(ActionType::Unknown), nullptr);
    QCOMPARE(holder->currentAction(), copy);
}

void TestActionList::threeAddsGiveCopyConsolidateTranscodeAndAFourthATranscode()
{
    List list;
    const QStringList expected = {QStringLiteral("Copy 1"), QStringLiteral("Consolidate"),
                                  QStringLiteral("Transcode 1"), QStringLiteral("Transcode 2")};
    for (int count = 1; count <= 4; ++count) {
        list.controller->addNewAction();
        QCOMPARE(list.written(), expected.mid(0, count));
    }
}

void TestActionList::addingMarksTheProfileAsModified()
{
    List list;
    list.controller->addNewAction();
    QVERIFY(list.editor.isModified());
}

void TestActionList::scrollBarIsOffWhileTheListChanges()
{
    List list;
    // A row that is built has its texts looked up.
    QList<Qt::ScrollBarPolicy> policies;
    StandInHost::setTranslator([&](const QString& key) {
        policies.append(list.editor.getScrollArea()->verticalScrollBarPolicy());
        return key;
    });
    list.controller->addNewAction();
    QVERIFY(!policies.isEmpty());
    QCOMPARE(policies.count(Qt::ScrollBarAlwaysOff), policies.count());
    policies.clear();
    list.read(activity("copy", QStringLiteral("Copy 1")));
    QVERIFY(!policies.isEmpty());
    QCOMPARE(policies.count(Qt::ScrollBarAlwaysOff), policies.count());
    StandInHost::setTranslator({});
}

void TestActionList::addingRestoresTheScrollBar()
{
    List list;
    list.controller->addNewAction();
    QCOMPARE(list.editor.getScrollArea()->verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
    list.read(activity("copy", QStringLiteral("Copy 1")));
    QCOMPARE(list.editor.getScrollArea()->verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
}

void TestActionList::addingSetsTheDefaultsOnceMore()
{
    List list;
    list.add(ActionType::Copy);
    list.add(ActionType::Consolidate);
    list.editor.codecFills = 0;
    list.controller->addNewAction();
    // Each time the codec box is reset it asks for its codecs: once as a new action, once as an added one.
    QCOMPARE(list.editor.codecFills, 2);
}

void TestActionList::addedRowIsShownAtOnceAndItsQueuedCallsAreDone()
{
    List list;
    list.editor.show();
    list.section->setOpen(true);
    auto* row = new ActionTWidget(list.section.get(), ActionType::Copy, 1);
    bool called = false;
    QMetaObject::invokeMethod(
        row, [&called] { called = true; }, Qt::QueuedConnection);
    list.controller->addRow(row);
    QVERIFY(called);
    QVERIFY(row->isVisible());
}

void TestActionList::removedNumberIsUsedAgain()
{
    List list;
    list.controller->addNewAction();
    list.select(list.controller->rows().first());
    list.controller->removeAction();
    QCOMPARE(list.written(), QStringList());
    list.controller->addNewAction();
    QCOMPARE(list.written(), QStringList(QStringLiteral("Copy 1")));
}

void TestActionList::nextNumberIsTheFirstFree_data()
{
    QTest::addColumn<QList<int>>("taken");
    QTest::addColumn<int>("next");
    QTest::newRow("none") << QList<int>() << 1;
    QTest::newRow("gap") << QList<int>{1, 2, 4} << 3;
    QTest::newRow("from two") << QList<int>{2, 3} << 1;
    QTest::newRow("unsorted") << QList<int>{3, 1, 2} << 4;
    QTest::newRow("duplicates") << QList<int>{1, 1, 2, 2} << 3;
    QTest::newRow("without a number") << QList<int>{0, 0, 1} << 2;
}

void TestActionList::nextNumberIsTheFirstFree()
{
    QFETCH(QList<int>, taken);
    List list;
    for (int number : taken)
        list.add(ActionType::Transcode, 1)->getCurrentAction()->setNumber(number);
    QTEST(list.controller->nextNumber(ActionType::Transcode), "next");
}

void TestActionList::nextNumbersOfTypesAreTheirOwn()
{
    List list;
    list.add(ActionType::Copy, 1);
    QCOMPARE(list.controller->nextNumber(ActionType::Copy), 2);
    QCOMPARE(list.controller->nextNumber(ActionType::Transcode), 1);
}

void TestActionList::findGivesTheFirstRowOfTheType()
{
    List list;
    QCOMPARE(list.controller->findAction(ActionType::Copy), nullptr);
    ActionTWidget* first = list.add(ActionType::Copy);
    list.add(ActionType::Copy);
    QCOMPARE(list.controller->findAction(ActionType::Copy), first->getCurrentAction());
    QCOMPARE(list.controller->findAction(ActionType::Consolidate), nullptr);
}

void TestActionList::typeChangeKeepsTheFormerActionForReuse()
{
    List list;
    ActionTWidget* row = list.add(ActionType::Copy);
    row->getCurrentAction()->widget()->findChild<CopyToPathWidget*>()->setPath(QStringLiteral("/kept"));
    list.typeBox(row)->setCurrentIndex(2);
    QCOMPARE(row->getCurrentAction()->getType(), ActionType::Transcode);
    QCOMPARE(list.written(), QStringList(QStringLiteral("Transcode 1")));
    list.typeBox(row)->setCurrentIndex(0);
    QCOMPARE(row->getCurrentAction()->widget()->findChild<CopyToPathWidget*>()->path(),
             QStringLiteral("/kept"));
}

void TestActionList::typeChangeThereAndBackWritesTheFirstType()
{
    List list;
    ActionTWidget* row = list.add(ActionType::Copy);
    for (int type : {2, 0, 2, 1, 0})
        list.typeBox(row)->setCurrentIndex(type);
    QCOMPARE(list.written(), QStringList(QStringLiteral("Copy 1")));
    list.typeBox(row)->setCurrentIndex(2);
    QCOMPARE(list.written(), QStringList(QStringLiteral("Transcode 1")));
}

void TestActionList::typeChangeTakesTheNextNumberOfTheOtherRows()
{
    List list;
    list.add(ActionType::Transcode, 1);
    ActionTWidget* row = list.add(ActionType::Copy, 1);
    list.add(ActionType::Transcode, 3);
    list.typeBox(row)->setCurrentIndex(2);
    QCOMPARE(row->getCurrentAction()->number(), 2);
    list.typeBox(row)->setCurrentIndex(0);
    QCOMPARE(row->getCurrentAction()->number(), 1);
    // Its own former number does not stand in its way.
    list.typeBox(row)->setCurrentIndex(2);
    QCOMPARE(row->getCurrentAction()->number(), 2);
}

void TestActionList::typeChangeShowsTheOtherOptions()
{
    List list;
    list.editor.show();
    list.section->setOpen(true);
    ActionTWidget* row = list.add(ActionType::Copy);
    row->setOpen(true);
    QWidget* copy = row->getCurrentAction()->widget();
    QTRY_VERIFY(copy->isVisibleTo(row));
    list.typeBox(row)->setCurrentIndex(2);
    QWidget* transcode = row->getCurrentAction()->widget();
    QVERIFY(transcode->isVisibleTo(row));
    QVERIFY(!copy->isVisible());
    QCOMPARE(copy->parentWidget(), nullptr);
    list.typeBox(row)->setCurrentIndex(0);
    QVERIFY(copy->isVisibleTo(row));
    QVERIFY(!transcode->isVisible());
}

void TestActionList::typeChangeDoesTheQueuedCallsOfTheOptions()
{
    List list;
    ActionTWidget* row = list.add(ActionType::Copy);
    QWidget* copy = row->getCurrentAction()->widget();
    list.typeBox(row)->setCurrentIndex(2);
    bool called = false;
    QMetaObject::invokeMethod(
        copy, [&called] { called = true; }, Qt::QueuedConnection);
    list.typeBox(row)->setCurrentIndex(0);
    QVERIFY(called);
}

void TestActionList::secondConsolidateIsRefused()
{
    List list;
    list.add(ActionType::Consolidate);
    ActionTWidget* copy = list.add(ActionType::Copy);
    list.typeBox(copy)->setCurrentIndex(1);
    QCOMPARE(list.typeBox(copy)->currentIndex(), 0);
    QCOMPARE(copy->getCurrentAction()->getType(), ActionType::Copy);
    QCOMPARE(list.written(), QStringList({QStringLiteral("Consolidate"), QStringLiteral("Copy 1")}));
    QCOMPARE(StandInHost::messageLog().count(), 1);
    const StandInHost::MessageRequest message = StandInHost::messageLog().constFirst();
    QCOMPARE(message.text, QStringLiteral("Only a single Consolidate action can be added"));
    QCOMPARE(message.title, QString());
    QCOMPARE(int(message.icon), 2);
    QCOMPARE(message.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
}

void TestActionList::refusalIsLocalised()
{
    List list;
    list.add(ActionType::Consolidate);
    ActionTWidget* row = list.add(ActionType::Copy);
    StandInHost::setTranslator([](const QString& key) -> QString { return QLatin1Char('~') + key; });
    list.typeBox(row)->setCurrentIndex(1);
    QCOMPARE(messageTexts(), QStringList(QStringLiteral("~Only a single Consolidate action can be added")));
}

void TestActionList::refusalRestoresTheBoxBeforeTheMessage()
{
    List list;
    list.add(ActionType::Consolidate);
    ActionTWidget* row = list.add(ActionType::Transcode);
    QSignalSpy changes(list.typeBox(row), QOverload<int>::of(&QComboBox::currentIndexChanged));
    int indexInMessage = -1;
    StandInHost::setMessageAnswerer([&](const StandInHost::MessageRequest&) {
        indexInMessage = list.typeBox(row)->currentIndex();
        return QMessageBox::Ok;
    });
    list.typeBox(row)->setCurrentIndex(1);
    QCOMPARE(indexInMessage, 2);
    // The person's own change; restoring says nothing.
    QCOMPARE(changes.count(), 1);
}

void TestActionList::rowReloadedDuringTheRefusalIsNotTouched()
{
    List list;
    list.add(ActionType::Consolidate);
    QPointer<ActionTWidget> row(list.add(ActionType::Copy));
    StandInHost::setMessageAnswerer([&](const StandInHost::MessageRequest&) {
        list.read(activity("transcode", QStringLiteral("Transcode 5")));
        return QMessageBox::Ok;
    });
    list.typeBox(row)->setCurrentIndex(1);
    QCOMPARE(list.written(), QStringList(QStringLiteral("Transcode 5")));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!row);
}

void TestActionList::onlyConsolidateMayBeChangedToConsolidateAgain()
{
    List list;
    ActionTWidget* row = list.add(ActionType::Consolidate);
    list.typeBox(row)->setCurrentIndex(0);
    list.typeBox(row)->setCurrentIndex(1);
    QCOMPARE(messageTexts(), QStringList());
    QCOMPARE(list.written(), QStringList(QStringLiteral("Consolidate")));
}

void TestActionList::typeChangeAsksForTheCodecsOfTheEditor()
{
    List list;
    ActionTWidget* row = list.add(ActionType::Copy);
    QCOMPARE(list.editor.codecFills, 0);
    list.typeBox(row)->setCurrentIndex(2);
    QCOMPARE(list.editor.codecFills, 1);
    list.typeBox(row)->setCurrentIndex(0);
    list.typeBox(row)->setCurrentIndex(2);
    QCOMPARE(list.editor.codecFills, 1);
}

void TestActionList::optionsMarkTheProfileAsModified()
{
    List list;
    for (ActionType type : {ActionType::Copy, ActionType::Consolidate, ActionType::Transcode}) {
        ActionTWidget* row = list.add(type);
        const QWidget* options = row->getCurrentAction()->widget();
        for (QCheckBox* check : options->findChildren<QCheckBox*>()) {
            list.editor.clearModified();
            check->setChecked(!check->isChecked());
            QVERIFY(!list.editor.isModified());
            emit check->pressed();
            QVERIFY2(list.editor.isModified(), qPrintable(check->objectName()));
        }
        for (QComboBox* box : options->findChildren<QComboBox*>()) {
            list.editor.clearModified();
            emit box->activated(0);
            QVERIFY2(list.editor.isModified(), qPrintable(box->objectName()));
        }
        list.editor.clearModified();
        emit list.typeBox(row)->activated(int(type));
        QVERIFY(list.editor.isModified());
    }
}

void TestActionList::chosenFolderMarksTheProfileAsModified()
{
    StandInHost::setDirectoryAnswerer(
        [](const StandInHost::DirectoryRequest&) { return QStringLiteral("/new"); });
    List list;
    ActionTWidget* row = list.add(ActionType::Copy);
    auto* folder = row->getCurrentAction()->widget()->findChild<CopyToPathWidget*>();
    folder->setPath(QStringLiteral("/loaded"));
    QVERIFY(!list.editor.isModified());
    folder->showFileDialog();
    QVERIFY(list.editor.isModified());
}

void TestActionList::driveButtonsMarkTheProfileAsModified()
{
    List list;
    for (ActionType type : {ActionType::Consolidate, ActionType::Transcode}) {
        auto* button = list.add(type)->findChild<SelectDriveButton*>();
        for (int press = 0; press < 2; ++press) {
            list.editor.clearModified();
            QTest::mouseClick(button, Qt::RightButton);
            QVERIFY(!list.editor.isModified());
            QTest::mouseClick(button, Qt::LeftButton);
            QVERIFY(list.editor.isModified());
        }
    }
}

void TestActionList::codecBoxesReachTheEditor()
{
    List list;
    for (ActionType type : {ActionType::Consolidate, ActionType::Transcode}) {
        ActionTWidget* row = list.add(type);
        auto* codec = row->findChild<CodecBox*>();
        list.editor.codecFills = 0;
        list.editor.encodingProfileFills = 0;
        codec->setCurrentIndex(codec->currentIndex() ? 0 : 1);
        QCOMPARE(list.editor.codecFills, 0);
        QCOMPARE(list.editor.encodingProfileFills, 1);
        codec->getProjectTypeBox()->setCurrentIndex(0);
        QCOMPARE(list.editor.codecFills, 1);
    }
}

void TestActionList::writtenWholeInOrder()
{
    List list;
    list.controller->addNewAction();
    list.controller->addNewAction();
    list.controller->addNewAction();
    list.activities();
    QString expected;
    for (const QString& activity :
         {ActivityTexts::text(ActivityTexts::Copy()), ActivityTexts::text(ActivityTexts::Consolidate()),
          ActivityTexts::text(ActivityTexts::Transcode())}) {
        for (const QString& line : activity.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            expected += QString(QLatin1String("    ") + line + QLatin1Char('\n'));
    }
    expected =
        QString(QLatin1String("<profile>\n <processDefinition>\n  <package>\n   <activities>\n") + expected +
                QLatin1String("   </activities>\n  </package>\n </processDefinition>\n</profile>\n"));
    KRX_COMPARE_XML(list.doc.toString(1), expected);
}

void TestActionList::emptyListIsWrittenWhole()
{
    List list;
    list.doc = QDomDocument();
    QDomElement root = list.doc.createElement(QStringLiteral("profile"));
    list.doc.appendChild(root);
    QVERIFY(list.controller->writeXml(list.doc, root));
    QCOMPARE(list.doc.toString(1),
             QStringLiteral("<profile>\n <processDefinition>\n  <package>\n   <activities/>\n  </package>\n "
                            "</processDefinition>\n</profile>\n"));
}

void TestActionList::validationStopsAtTheFirstThatFails()
{
    List list;
    QString error = QStringLiteral("untouched");
    QVERIFY(list.controller->validate(error));
    list.add(ActionType::Transcode);
    ActionTWidget* bad = list.add(ActionType::Copy);
    ActionTWidget* empty = list.add(ActionType::Copy);
    bad->findChild<CopyToPathWidget*>()->setPath(QString(QChar(7)));
    QVERIFY(!list.controller->validate(error));
    QVERIFY(error.contains(QStringLiteral("cannot be stored")));
    // In the order of the list, whatever the order on the screen.
    static_cast<QBoxLayout*>(bad->parentWidget()->layout())->insertWidget(1, empty);
    QVERIFY(!list.controller->validate(error));
    QVERIFY(error.contains(QStringLiteral("cannot be stored")));
    bad->findChild<CopyToPathWidget*>()->setPath(QStringLiteral("/x"));
    QVERIFY(!list.controller->validate(error));
    QCOMPARE(error, QStringLiteral("Copy to Folder action : Output folder not set !"));
    empty->findChild<CopyToPathWidget*>()->setPath(QStringLiteral("/y"));
    error = QStringLiteral("untouched");
    QVERIFY(list.controller->validate(error));
    QCOMPARE(error, QStringLiteral("untouched"));
}

void TestActionList::altUpAndDownMoveTheSelectedRow()
{
    List list;
    list.section->setOpen(true);
    ActionTWidget* copy = list.add(ActionType::Copy);
    list.add(ActionType::Consolidate);
    list.add(ActionType::Transcode);
    list.controller->moveSelectedDown();
    QVERIFY(!list.editor.isModified());
    list.select(copy);
    list.controller->moveSelectedDown();
    QVERIFY(list.editor.isModified());
    QCOMPARE(list.written(), QStringList({QStringLiteral("Consolidate"), QStringLiteral("Copy 1"),
                                          QStringLiteral("Transcode 1")}));
    list.controller->moveSelectedDown();
    QCOMPARE(list.written(), QStringList({QStringLiteral("Consolidate"), QStringLiteral("Transcode 1"),
                                          QStringLiteral("Copy 1")}));
    list.controller->moveSelectedUp();
    list.controller->moveSelectedUp();
    QCOMPARE(list.written(), QStringList({QStringLiteral("Copy 1"), QStringLiteral("Consolidate"),
                                          QStringLiteral("Transcode 1")}));
    QCOMPARE(list.editor.getCurrentSelectedAction(), copy);
}

void TestActionList::altUpAndDownStopAtTheEnds()
{
    List list;
    list.section->setOpen(true);
    ActionTWidget* copy = list.add(ActionType::Copy);
    ActionTWidget* transcode = list.add(ActionType::Transcode);
    list.select(copy);
    list.controller->moveSelectedUp();
    // The label above the rows is no place for one.
    QCOMPARE(copy->getActionIndex(), 1);
    QVERIFY(!list.editor.isModified());
    list.select(transcode);
    list.controller->moveSelectedDown();
    QVERIFY(!list.editor.isModified());
    // Nor does anything move that cannot be seen.
    list.section->setOpen(false);
    list.controller->moveSelectedUp();
    QCOMPARE(list.written(), QStringList({QStringLiteral("Copy 1"), QStringLiteral("Transcode 1")}));
}

QTEST_MAIN(TestActionList)
#include "test_action_list.moc"
