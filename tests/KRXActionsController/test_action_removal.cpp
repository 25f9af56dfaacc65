#include "ActionList.h"
#include "CopyToPathWidget.h"
#include "KRXTest.h"
#include "RemoveAction.h"

#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QUndoStack>

#include <memory>

using namespace ActionsWorld;

class TestActionRemoval : public QObject
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void removingWithoutASelectionDoesNothing();
    void removingClearsTheSelectionAndMarksModified();
    void selectionThatIsNoRowOfTheListIsNotRemoved();
    void undoPutsTheRowBackAtItsPlace();
    void undoAtTheFirstPlacePutsTheRowFirst();
    void redoRemovesAgain();
    void rowThatWasRemovedAgainGoesWithTheStack();
    void addingAfterRemovalMakesItFinal();
    void addingAfterUndoKeepsTheRow();
    void undoneRowIsConnectedOnce();
    void undoneRowIsShownAtOnceAndItsQueuedCallsAreDone();
    void undoneNumberThatIsTakenBecomesTheNextOne();
    void undoneRowWithoutANumberStaysWithoutOne();
    void secondConsolidateAfterUndoIsNotSaved();
    void undoAfterTheSectionDiedDoesNothing();
    void commandOfARowThatIsGoneDoesNothing();
    void stackDeletesOnlyRowsThatAreNotInTheList();
    void listKnowsOfRowsThatGo();
};

void TestActionRemoval::removingWithoutASelectionDoesNothing()
{
    List list;
    list.add(ActionType::Copy);
    list.controller->removeAction();
    QCOMPARE(list.controller->rows().count(), 1);
    QVERIFY(!list.controller->undoStack()->canUndo());
    QVERIFY(!list.editor.isModified());
}

void TestActionRemoval::removingClearsTheSelectionAndMarksModified()
{
    List list;
    ActionTWidget* row = list.add(ActionType::Copy);
    list.select(row);
    list.controller->removeAction();
    QCOMPARE(list.controller->rows().count(), 0);
    QCOMPARE(list.editor.getCurrentSelectedAction(), nullptr);
    QVERIFY(!row->isSelected());
    QVERIFY(list.editor.isModified());
    QCOMPARE(row->parentWidget(), nullptr);
    QVERIFY(list.controller->undoStack()->canUndo());
}

void TestActionRemoval::selectionThatIsNoRowOfTheListIsNotRemoved()
{
    List list;
    list.add(ActionType::Copy);
    KRXTwistWidget other(&list.editor, QStringLiteral("Other"));
    list.editor.setCurrentSelectedAction(&other);
    list.controller->removeAction();
    List foreign;
    list.editor.setCurrentSelectedAction(foreign.add(ActionType::Copy));
    list.controller->removeAction();
    QCOMPARE(list.controller->rows().count(), 1);
    QCOMPARE(foreign.controller->rows().count(), 1);
    QVERIFY(!list.editor.isModified());
}

void TestActionRemoval::undoPutsTheRowBackAtItsPlace()
{
    for (int place = 0; place < 3; ++place) {
        List list;
        list.add(ActionType::Copy);
        list.add(ActionType::Consolidate);
        list.add(ActionType::Transcode);
        const QStringList all = list.written();
        list.select(list.controller->rows().at(place));
        list.controller->removeAction();
        QCOMPARE(list.written().count(), 2);
        list.controller->undoStack()->undo();
        QCOMPARE(list.written(), all);
        // In the list it is the newest one.
        QCOMPARE(list.controller->rows().last()->getActionIndex(), place + 1);
    }
}

void TestActionRemoval::undoAtTheFirstPlacePutsTheRowFirst()
{
    Editor editor;
    KRXTwistWidget section(&editor, QString());
    ProfileActionsController controller(&section, &editor);
    QList<ActionTWidget*> rows;
    for (int number = 1; number <= 3; ++number) {
        rows.append(new ActionTWidget(&section, ActionType::Copy, number));
        controller.addRow(rows.last());
    }
    QCOMPARE(rows.first()->getActionIndex(), 0);
    editor.setCurrentSelectedAction(rows.first());
    controller.removeAction();
    QCOMPARE(rows.at(1)->getActionIndex(), 0);
    controller.undoStack()->undo();
    QCOMPARE(rows.first()->getActionIndex(), 0);
    QCOMPARE(rows.at(1)->getActionIndex(), 1);
    QCOMPARE(rows.at(2)->getActionIndex(), 2);
}

void TestActionRemoval::redoRemovesAgain()
{
    List list;
    list.add(ActionType::Copy);
    ActionTWidget* row = list.add(ActionType::Transcode);
    list.select(row);
    list.controller->removeAction();
    for (int round = 0; round < 3; ++round) {
        list.controller->undoStack()->undo();
        QCOMPARE(list.written(), QStringList({QStringLiteral("Copy 1"), QStringLiteral("Transcode 1")}));
        list.controller->undoStack()->redo();
        QCOMPARE(list.written(), QStringList(QStringLiteral("Copy 1")));
    }
}

void TestActionRemoval::rowThatWasRemovedAgainGoesWithTheStack()
{
    List list;
    const QPointer<ActionTWidget> row(list.add(ActionType::Copy));
    list.select(row);
    list.controller->removeAction();
    list.controller->undoStack()->undo();
    list.controller->undoStack()->redo();
    QVERIFY(row);
    list.controller->undoStack()->clear();
    QVERIFY(!row);
}

void TestActionRemoval::addingAfterRemovalMakesItFinal()
{
    List list;
    const QPointer<ActionTWidget> row(list.add(ActionType::Transcode));
    list.select(row);
    list.controller->removeAction();
    QVERIFY(row);
    list.controller->addNewAction();
    QVERIFY(!list.controller->undoStack()->canUndo());
    QVERIFY(!row);
    list.controller->undoStack()->undo();
    QCOMPARE(list.written(), QStringList(QStringLiteral("Copy 1")));
}

void TestActionRemoval::addingAfterUndoKeepsTheRow()
{
    List list;
    const QPointer<ActionTWidget> row(list.add(ActionType::Copy));
    list.select(row);
    list.controller->removeAction();
    list.controller->undoStack()->undo();
    list.controller->addNewAction();
    QVERIFY(row);
    QCOMPARE(list.written(), QStringList({QStringLiteral("Copy 1"), QStringLiteral("Consolidate")}));
    list.controller->undoStack()->clear();
    QVERIFY(row);
}

void TestActionRemoval::undoneRowIsConnectedOnce()
{
    List list;
    ActionTWidget* row = list.add(ActionType::Copy);
    for (int round = 0; round < 3; ++round) {
        list.select(row);
        list.controller->removeAction();
        list.controller->undoStack()->undo();
    }
    QSignalSpy resized(list.section.get(), &KRXTwistWidget::widgetWasResized);
    row->DoExpandColapse();
    QCOMPARE(resized.count(), 1);
}

void TestActionRemoval::undoneRowIsShownAtOnceAndItsQueuedCallsAreDone()
{
    List list;
    list.editor.show();
    list.section->setOpen(true);
    ActionTWidget* row = list.add(ActionType::Copy);
    list.select(row);
    list.controller->removeAction();
    QVERIFY(!row->isVisible());
    bool called = false;
    QMetaObject::invokeMethod(
        row, [&called] { called = true; }, Qt::QueuedConnection);
    list.controller->undoStack()->undo();
    QVERIFY(called);
    QVERIFY(row->isVisible());
}

void TestActionRemoval::undoneNumberThatIsTakenBecomesTheNextOne()
{
    List list;
    ActionTWidget* copy = list.add(ActionType::Copy);
    ActionTWidget* other = list.add(ActionType::Transcode);
    list.select(copy);
    list.controller->removeAction();
    list.typeBox(other)->setCurrentIndex(int(ActionType::Copy));
    QCOMPARE(list.written(), QStringList(QStringLiteral("Copy 1")));
    list.controller->undoStack()->undo();
    QCOMPARE(list.written(), QStringList({QStringLiteral("Copy 2"), QStringLiteral("Copy 1")}));
    // Once more, nothing being taken.
    list.controller->undoStack()->redo();
    list.controller->undoStack()->undo();
    QCOMPARE(list.written(), QStringList({QStringLiteral("Copy 2"), QStringLiteral("Copy 1")}));
}

void TestActionRemoval::undoneRowWithoutANumberStaysWithoutOne()
{
    List list;
    list.read(activity("transcode", QStringLiteral("Transcode")) +
              activity("transcode", QStringLiteral("Transcode ")) +
              activity("copy", QStringLiteral("Copy 7")));
    const QStringList before = list.written();
    for (ActionTWidget* row : list.controller->rows()) {
        list.select(row);
        list.controller->removeAction();
        list.controller->undoStack()->undo();
    }
    QCOMPARE(list.written(), before);
    QCOMPARE(before, QStringList({QStringLiteral("Transcode "), QStringLiteral("Transcode "),
                                  QStringLiteral("Copy 7")}));
}

void TestActionRemoval::secondConsolidateAfterUndoIsNotSaved()
{
    StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::Ok; });
    Editor editor;
    ProfileActionsController* controller = editor.getAllActionsController();
    for (int count = 0; count < 3; ++count)
        controller->addNewAction();
    ActionTWidget* copy = controller->rows().at(0);
    ActionTWidget* consolidate = controller->rows().at(1);
    copy->findChild<CopyToPathWidget*>()->setPath(QStringLiteral("/media/out"));
    consolidate->select();
    controller->removeAction();
    copy->findChild<ActionTypeBox*>()->setCurrentIndex(int(ActionType::Consolidate));
    QString error;
    QVERIFY(controller->hasOneConsolidateAtMost(error));
    // Undoing itself goes on, and so does everything but saving.
    controller->undoStack()->undo();
    QCOMPARE(controller->rows().count(), 3);
    auto* save = editor.findChild<QPushButton*>(QStringLiteral("KRX_SaveBtn"));
    QTimer::singleShot(0, &editor, [&editor] {
        if (auto* dialog = editor.findChild<QDialog*>())
            dialog->reject();
    });
    save->click();
    QCOMPARE(StandInHost::messageLog().count(), 1);
    QCOMPARE(StandInHost::messageLog().constFirst().title, QStringLiteral("Error occurred"));
    QCOMPARE(StandInHost::messageLog().constFirst().text,
             QStringLiteral("Only a single Consolidate action can be added"));
    QCOMPARE(StandInHost::messageLog().constFirst().icon, QMessageBox::Warning);
    controller->undoStack()->redo();
    QVERIFY(controller->hasOneConsolidateAtMost(error));
    QCOMPARE(error, QString());
    editor.clearModified();
}

void TestActionRemoval::undoAfterTheSectionDiedDoesNothing()
{
    List list;
    QPointer<ActionTWidget> row(list.add(ActionType::Copy));
    const QPointer<ActionTWidget> other(list.add(ActionType::Transcode));
    list.select(row);
    list.controller->removeAction();
    list.section.reset();
    QVERIFY(!other);
    list.controller->undoStack()->undo();
    QVERIFY(row);
    QCOMPARE(list.controller->rows().count(), 0);
    list.controller->undoStack()->redo();
    list.controller->addNewAction();
    list.controller->moveSelectedUp();
    QString error;
    QVERIFY(list.controller->validate(error));
    QCOMPARE(list.written(), QStringList());
    list.read(activity("copy", QStringLiteral("Copy 1")));
    QCOMPARE(list.controller->rows().count(), 0);
    QVERIFY(!row);
}

void TestActionRemoval::commandOfARowThatIsGoneDoesNothing()
{
    List list;
    ActionTWidget* row = list.add(ActionType::Copy);
    list.select(row);
    list.controller->removeAction();
    delete row;
    list.controller->undoStack()->undo();
    list.controller->undoStack()->redo();
    QCOMPARE(list.controller->rows().count(), 0);
    RemoveAction orphan(nullptr, nullptr);
    orphan.redo();
    orphan.undo();
}

void TestActionRemoval::stackDeletesOnlyRowsThatAreNotInTheList()
{
    QPointer<ActionTWidget> removed;
    {
        List list;
        removed = list.add(ActionType::Copy);
        list.add(ActionType::Transcode);
        list.select(removed);
        list.controller->removeAction();
    }
    QVERIFY(!removed);
}

void TestActionRemoval::listKnowsOfRowsThatGo()
{
    List list;
    ActionTWidget* row = list.add(ActionType::Copy);
    list.add(ActionType::Transcode);
    list.select(row);
    delete row;
    QCOMPARE(list.written(), QStringList(QStringLiteral("Transcode 1")));
    QCOMPARE(list.editor.getCurrentSelectedAction(), nullptr);
    QCOMPARE(list.namesOfRows(), QStringList(QStringLiteral("Transcode")));
    list.controller->removeRow(nullptr);
}

QTEST_MAIN(TestActionRemoval)
#include "test_action_removal.moc"
