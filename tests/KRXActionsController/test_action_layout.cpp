#include "ActionList.h"
#include "EventCounter.h"
#include "KRXTest.h"

#include <QUndoStack>

using namespace ActionsWorld;

namespace {

/// A list with an open section in an editor that is shown.
class ShownList : public List
{
public:
    ShownList()
    {
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::Ok; });
        editor.show();
        section->show();
        section->setOpen(true);
        QCoreApplication::processEvents();
        editor.heights.clear();
    }
    ~ShownList() { editor.clearModified(); }

    /// Whether the section has the height that it needs already, with nothing left for the event loop.
    bool isSettled()
    {
        const int now = section->minimumHeight();
        QCoreApplication::processEvents();
        return section->minimumHeight() == now;
    }
};

} // namespace

/// The list is laid out and the editor takes its height at once, whatever happens to the rows.
class TestActionLayout : public QObject
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void addingLaysOutAndFitsTheHeight()
    {
        ShownList list;
        const int before = list.section->minimumHeight();
        list.controller->addNewAction();
        QVERIFY(list.section->minimumHeight() > before);
        QVERIFY(list.isSettled());
        QCOMPARE(list.editor.heights.count(), 1);
    }

    void removingLaysOutAndFitsTheHeight()
    {
        ShownList list;
        list.select(list.add(ActionType::Copy));
        list.section->updateTWLayout();
        list.editor.heights.clear();
        const int before = list.section->minimumHeight();
        list.controller->removeAction();
        QVERIFY(list.section->minimumHeight() < before);
        QVERIFY(list.isSettled());
        QCOMPARE(list.editor.heights.count(), 1);
    }

    void anotherTypeLaysOutTheRowAndFitsTheHeight()
    {
        ShownList list;
        ActionTWidget* row = list.add(ActionType::Copy);
        row->setOpen(true);
        QCoreApplication::processEvents();
        list.editor.heights.clear();
        const int before = row->minimumHeight();
        list.typeBox(row)->setCurrentIndex(int(ActionType::Transcode));
        const int after = row->minimumHeight();
        QVERIFY(after > before);
        QCoreApplication::processEvents();
        QCOMPARE(row->minimumHeight(), after);
        QCOMPARE(list.editor.heights.count(), 1);
    }

    void whatIsClosedIsLaidOutToo()
    {
        // Nothing is shown here, which would have Qt lay out by itself.
        ShownList list;
        list.section->setOpen(false);
        const int before = list.section->getContentHeight();
        list.controller->addNewAction();
        QVERIFY(list.section->getContentHeight() > before);
        ActionTWidget* row = list.controller->rows().first();
        const int copy = row->getContentHeight();
        list.typeBox(row)->setCurrentIndex(int(ActionType::Transcode));
        QVERIFY(row->getContentHeight() > copy);
    }

    void readingLaysOut()
    {
        ShownList list;
        const int before = list.section->minimumHeight();
        list.read(activity("copy", QStringLiteral("Copy 1")));
        QVERIFY(list.section->minimumHeight() > before);
        QVERIFY(list.isSettled());
        list.read(QString());
        QCOMPARE(list.section->minimumHeight(), before);
        QVERIFY(list.isSettled());
    }

    void theEditorShowsNothingOfARebuild()
    {
        QList<bool> updates;
        QList<KRXTwistWidget*> selected;
        ShownList list; // ends before what its rows write to
        for (int count = 0; count < 2; ++count) {
            ActionTWidget* row = list.add(ActionType::Copy);
            list.select(row);
            connect(row, &QObject::destroyed, row, [&] {
                updates << list.editor.updatesEnabled();            // clazy:exclude=lambda-in-connect
                selected << list.editor.getCurrentSelectedAction(); // clazy:exclude=lambda-in-connect
            });
        }
        list.read(activity("copy", QStringLiteral("Copy 1")));
        QCOMPARE(updates, QList<bool>({false, false}));
        QCOMPARE(selected, QList<KRXTwistWidget*>({nullptr, nullptr}));
        QVERIFY(list.editor.updatesEnabled());
    }

    void theEditorIsRepaintedAfterReading()
    {
        ShownList list;
        list.read(QString());
        QCoreApplication::processEvents();
        const KRXTest::EventCounter paints(&list.editor, QEvent::Paint);
        list.read(QString());
        QCoreApplication::processEvents();
        QVERIFY(paints.count() > 0);
    }

    void onlyAStackThatIsNotCleanIsCleared()
    {
        ShownList list;
        list.select(list.add(ActionType::Copy));
        list.controller->removeAction();
        QVERIFY(!list.controller->undoStack()->isClean());
        list.controller->undoStack()->setClean();
        list.controller->addNewAction();
        QVERIFY(list.controller->undoStack()->canUndo());
        list.controller->undoStack()->undo();
        QVERIFY(!list.controller->undoStack()->isClean());
        list.controller->addNewAction();
        QVERIFY(!list.controller->undoStack()->canRedo());
    }
};

QTEST_MAIN(TestActionLayout)
#include "test_action_layout.moc"
