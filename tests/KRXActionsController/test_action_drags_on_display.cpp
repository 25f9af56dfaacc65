#include "ActionDrags.h"
#include "ActionMimeData.h"
#include "EventCounter.h"
#include "KRXTest.h"

#include <QApplication>
#include <QDrag>
#include <QPointer>
#include <QProcess>
#include <QTimer>

#include <functional>
#include <memory>

using namespace ActionsWorld;

namespace {

/// Presses on the row and runs \a inDrag once the drag's own loop is running; then lets go.
void dragWith(QWidget* row, const std::function<void()>& inDrag)
{
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&timer, &inDrag] {
        timer.stop();
        inDrag();
        QDrag::cancel();
    });
    timer.start(0);
    QTest::mousePress(row, Qt::LeftButton, Qt::NoModifier, QPoint(200, 5));
}

/// Moves the mouse of the display and presses its buttons, as a person does: each step is a command to the
/// display, and the next one follows when the window shows what the person would wait for. Goes on in
/// whatever loop runs, that of a drag too.
class Person
{
public:
    struct Step
    {
        QStringList command;
        std::function<bool()> seen;
    };

    explicit Person(const QList<Step>& steps)
        : m_steps(steps)
    {
        QObject::connect(&m_look, &QTimer::timeout, &m_look, [this] { look(); });
        m_look.start(5);
        // A drag that nobody ends would never return.
        QObject::connect(&m_patience, &QTimer::timeout, &m_patience, [] { QDrag::cancel(); });
        m_patience.start(20000);
    }

    bool isDone() const { return m_next > m_steps.count(); }

private:
    void look()
    {
        if (isDone() || m_hand.state() != QProcess::NotRunning)
            return;
        if (m_next > 0 && !m_steps.at(m_next - 1).seen())
            return;
        if (m_next < m_steps.count())
            m_hand.start(QStringLiteral("xdotool"), m_steps.at(m_next).command);
        ++m_next;
    }

    QList<Step> m_steps;
    int m_next = 0;
    QProcess m_hand;
    QTimer m_look;
    QTimer m_patience;
};

QStringList command(const char* name, const QPoint& place)
{
    return {QString::fromLatin1(name), QString::number(place.x()), QString::number(place.y())};
}

} // namespace

/// Drags with a window system: their loops run inside the press on a row.
class TestActionDragsOnDisplay : public QObject
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void leftClickSelectsAndOtherButtonsDoNot();
    void pressGoesOnToWhatIsAroundTheRow();
    void clickTakesTheSelectionFromTheFormerRow();
    void dragCarriesTheRowWithItsImage();
    void typeChangedInTheMiddleOfADrag();
    void rowRemovedInTheMiddleOfADragDropsNothing();
    void profileReadInTheMiddleOfADrag();
    void editorClosedInTheMiddleOfADrag();
    void deletionAskedInTheMiddleOfADragWaitsForItsEnd();
    void mouseDragsTheFirstRowOntoTheThird();
    void mouseClickOnlySelects();
};

void TestActionDragsOnDisplay::leftClickSelectsAndOtherButtonsDoNot()
{
    ThreeRows list;
    list.editor.show();
    QTest::mousePress(list.rows.at(0), Qt::RightButton, Qt::NoModifier, QPoint(200, 5));
    QCOMPARE(list.editor.getCurrentSelectedAction(), nullptr);
    dragWith(list.rows.at(0), [] {});
    QCOMPARE(list.editor.getCurrentSelectedAction(), list.rows.at(0));
    QVERIFY(list.rows.at(0)->isSelected());
    QVERIFY(!list.editor.isModified());
}

void TestActionDragsOnDisplay::pressGoesOnToWhatIsAroundTheRow()
{
    ThreeRows list;
    list.editor.show();
    // A section does nothing with a press, so whatever is around it gets it.
    const KRXTest::EventCounter around(list.rows.at(0)->parentWidget(), QEvent::MouseButtonPress);
    dragWith(list.rows.at(0), [] {});
    QCOMPARE(around.count(), 1);
}

void TestActionDragsOnDisplay::clickTakesTheSelectionFromTheFormerRow()
{
    ThreeRows list;
    list.editor.show();
    dragWith(list.rows.at(0), [] {});
    dragWith(list.rows.at(2), [] {});
    QVERIFY(!list.rows.at(0)->isSelected());
    QVERIFY(list.rows.at(2)->isSelected());
    dragWith(list.rows.at(2), [] {});
    QVERIFY(list.rows.at(2)->isSelected());
    QCOMPARE(list.editor.getCurrentSelectedAction(), list.rows.at(2));
}

void TestActionDragsOnDisplay::dragCarriesTheRowWithItsImage()
{
    ThreeRows list;
    list.editor.show();
    const QSize size = list.rows.at(1)->size();
    bool seen = false;
    dragWith(list.rows.at(1), [&] {
        const auto drags = qApp->findChildren<QDrag*>();
        QCOMPARE(drags.count(), 1);
        const QDrag* drag = drags.first();
        const auto* payload = qobject_cast<const ActionMimeData*>(drag->mimeData());
        QVERIFY(payload);
        QCOMPARE(payload->row(), list.rows.at(1));
        QCOMPARE(drag->hotSpot(), QPoint(200, 5));
        QCOMPARE(drag->supportedActions(), Qt::DropActions(Qt::MoveAction));
        const QImage image = drag->pixmap().toImage();
        QCOMPARE(drag->pixmap().size() / drag->pixmap().devicePixelRatio(), size);
        // A line around it, and inside the row can be seen through.
        QVERIFY(image.pixelColor(size.width() - 1, size.height() / 2) !=
                image.pixelColor(size.width() - 2, size.height() / 2));
        QVERIFY(qAbs(image.pixelColor(size.width() - 2, size.height() / 2).alpha() - 191) <= 1);
        seen = true;
    });
    QVERIFY(seen);
}

void TestActionDragsOnDisplay::typeChangedInTheMiddleOfADrag()
{
    ThreeRows list;
    list.editor.show();
    dragWith(list.rows.at(0), [&] {
        ActionMimeData payload(list.rows.at(0));
        DragEvents events(&payload);
        QVERIFY(events.enter(list.rows.at(2)));
        list.typeBox(list.rows.at(0))->setCurrentIndex(2);
        list.typeBox(list.rows.at(2))->setCurrentIndex(2);
        QVERIFY(events.drop(list.rows.at(2)));
    });
    QCOMPARE(list.written(), QStringList({QStringLiteral("Copy 2"), QStringLiteral("Transcode 2"),
                                          QStringLiteral("Transcode 1")}));
}

void TestActionDragsOnDisplay::rowRemovedInTheMiddleOfADragDropsNothing()
{
    ThreeRows list;
    list.editor.show();
    const QPointer<ActionTWidget> dragged(list.rows.at(0));
    dragWith(dragged, [&] {
        list.controller->removeAction();
        list.controller->addNewAction();
        ActionMimeData payload(dragged);
        QVERIFY(!DragEvents(&payload).drop(list.rows.at(2)));
    });
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!dragged);
    QCOMPARE(list.written().mid(0, 2), QStringList({QStringLiteral("Copy 2"), QStringLiteral("Copy 3")}));
}

void TestActionDragsOnDisplay::profileReadInTheMiddleOfADrag()
{
    ThreeRows list;
    list.editor.show();
    const QPointer<ActionTWidget> dragged(list.rows.at(1));
    dragWith(dragged, [&] { list.read(activity("copy", QStringLiteral("Copy 9"))); });
    QCOMPARE(list.order(), QList<int>({9}));
    QCOMPARE(list.editor.getCurrentSelectedAction(), nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!dragged);
}

void TestActionDragsOnDisplay::editorClosedInTheMiddleOfADrag()
{
    auto list = std::make_unique<ThreeRows>();
    list->editor.show();
    ActionTWidget* dragged = list->rows.at(1);
    dragWith(dragged, [&list] { list.reset(); });
    QVERIFY(!list);
}

namespace {

/// The editor's own list with three rows, on the display.
struct ShownRows
{
    ShownRows()
    {
        section = editor.findChild<KRXTwistWidget*>(QStringLiteral("xelSettingsTwistWidget"));
        for (int number = 1; number <= 3; ++number) {
            rows.append(new ActionTWidget(section, ActionType::Copy, number));
            editor.getAllActionsController()->addRow(rows.last());
        }
        section->setOpen(true);
        editor.move(40, 40);
        editor.resize(700, 900);
        editor.show();
    }
    bool isShown()
    {
        return QTest::qWaitForWindowExposed(&editor) &&
               QTest::qWaitFor([this] { return !rows.last()->visibleRegion().isEmpty(); });
    }
    QPoint placeOn(int row) { return rows.at(row)->mapToGlobal(QPoint(rows.at(row)->width() - 30, 12)); }
    QList<int> order()
    {
        QDomDocument doc;
        QDomElement root = doc.createElement(QStringLiteral("profile"));
        editor.getAllActionsController()->writeXml(doc, root);
        QList<int> numbers;
        for (QDomElement one =
                 root.firstChildElement().firstChildElement().firstChildElement().firstChildElement();
             !one.isNull(); one = one.nextSiblingElement())
            numbers.append(one.attribute(QStringLiteral("name")).mid(5).toInt());
        return numbers;
    }
    bool isDragging() { return qApp->findChild<QDrag*>() != nullptr; }

    Editor editor;
    KRXTwistWidget* section;
    QList<ActionTWidget*> rows;
};

} // namespace

void TestActionDragsOnDisplay::deletionAskedInTheMiddleOfADragWaitsForItsEnd()
{
    ThreeRows list;
    list.editor.show();
    const QPointer<QWidget> around = new QWidget(list.section->parentWidget());
    QWidget* former = list.section->parentWidget();
    list.section->setParent(around);
    bool isAliveInside = false;
    dragWith(list.rows.at(0), [&] {
        around->deleteLater();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        isAliveInside = !around.isNull();
    });
    QVERIFY(isAliveInside);
    list.section->setParent(former);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!around);
}

void TestActionDragsOnDisplay::mouseDragsTheFirstRowOntoTheThird()
{
    ShownRows shown;
    QVERIFY(shown.isShown());
    QCOMPARE(shown.order(), QList<int>({1, 2, 3}));
    bool sawLine = false;
    Person person({
        {command("mousemove", shown.placeOn(0)), [] { return true; }},
        {{QStringLiteral("mousedown"), QStringLiteral("1")}, [&] { return shown.isDragging(); }},
        {command("mousemove", shown.placeOn(1)), [&] { return shown.rows.at(1)->showDropIndicator(); }},
        {command("mousemove", shown.placeOn(2)),
         [&] {
             sawLine = shown.rows.at(2)->showDropIndicator();
             return sawLine && !shown.rows.at(1)->showDropIndicator();
         }},
        {{QStringLiteral("mouseup"), QStringLiteral("1")}, [&] { return !shown.isDragging(); }},
    });
    QTRY_VERIFY_WITH_TIMEOUT(person.isDone(), 30000);
    QVERIFY(sawLine);
    QCOMPARE(shown.order(), QList<int>({2, 3, 1}));
    QVERIFY(shown.editor.isModified());
    QCOMPARE(shown.editor.getCurrentSelectedAction(), shown.rows.at(0));
    for (const ActionTWidget* row : shown.rows)
        QVERIFY(!row->showDropIndicator());
    QVERIFY(shown.rows.at(0)->y() > shown.rows.at(2)->y());
    shown.editor.clearModified();
}

void TestActionDragsOnDisplay::mouseClickOnlySelects()
{
    ShownRows shown;
    QVERIFY(shown.isShown());
    Person person({
        {command("mousemove", shown.placeOn(1)), [] { return true; }},
        {{QStringLiteral("mousedown"), QStringLiteral("1")}, [&] { return shown.isDragging(); }},
        {{QStringLiteral("mouseup"), QStringLiteral("1")}, [&] { return !shown.isDragging(); }},
    });
    QTRY_VERIFY_WITH_TIMEOUT(person.isDone(), 30000);
    QCOMPARE(shown.editor.getCurrentSelectedAction(), shown.rows.at(1));
    QVERIFY(shown.rows.at(1)->isSelected());
    QCOMPARE(shown.order(), QList<int>({1, 2, 3}));
    QVERIFY(!shown.editor.isModified());
}

QTEST_MAIN(TestActionDragsOnDisplay)
#include "test_action_drags_on_display.moc"
