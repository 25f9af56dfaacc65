#include "ActionDrags.h"
#include "ActionMimeData.h"
#include "KRXTest.h"

#include <QUrl>

#include <memory>

using namespace ActionsWorld;

namespace {

QColor lineColor(const QImage& image, int y)
{
    return image.pixelColor(image.width() - 2, y);
}

} // namespace

class TestActionDrags : public QObject
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void payloadNamesTheRowAndHasNoFormats();
    void firstOfThreeDroppedOnTheThirdMakesTheOrder231();
    void rowDroppedUpwardsLandsAboveTheTarget();
    void everyDropLandsWhereTheIndicatorShowed();
    void dropMarksTheProfileAsModified();
    void indicatorIsBelowForARowFromAboveAndAboveForOneFromBelow();
    void indicatorGoesWhenTheDragLeaves();
    void rowDoesNotTakeItself();
    void foreignPayloadsAreNotTaken();
    void rowsOfAnotherListAreNotTaken();
    void removedRowIsNotTaken();
    void rowThatIsGoneIsNotTaken();
    void listKeepsItsOrderOfAdding();
};

void TestActionDrags::payloadNamesTheRowAndHasNoFormats()
{
    auto row = std::make_unique<ActionTWidget>(nullptr, ActionType::Copy, 0);
    ActionMimeData payload(row.get());
    QCOMPARE(payload.row(), row.get());
    QCOMPARE(payload.formats(), QStringList());
    row.reset();
    QCOMPARE(payload.row(), nullptr);
}

void TestActionDrags::firstOfThreeDroppedOnTheThirdMakesTheOrder231()
{
    ThreeRows list;
    ActionMimeData payload(list.rows.at(0));
    DragEvents events(&payload);
    QVERIFY(events.enter(list.rows.at(2)));
    QVERIFY(events.drop(list.rows.at(2)));
    QCOMPARE(list.order(), QList<int>({2, 3, 1}));
    QVERIFY(!list.rows.at(2)->showDropIndicator());
}

void TestActionDrags::rowDroppedUpwardsLandsAboveTheTarget()
{
    ThreeRows list;
    ActionMimeData payload(list.rows.at(2));
    QVERIFY(DragEvents(&payload).drop(list.rows.at(0)));
    QCOMPARE(list.order(), QList<int>({3, 1, 2}));
    // Below the label still.
    QCOMPARE(list.rows.at(2)->getActionIndex(), 1);
}

void TestActionDrags::everyDropLandsWhereTheIndicatorShowed()
{
    for (int from = 0; from < 3; ++from) {
        for (int to = 0; to < 3; ++to) {
            if (from == to)
                continue;
            ThreeRows list;
            ActionMimeData payload(list.rows.at(from));
            DragEvents(&payload).drop(list.rows.at(to));
            QList<int> expected = {1, 2, 3};
            expected.move(from, to);
            QCOMPARE(list.order(), expected);
        }
    }
}

void TestActionDrags::dropMarksTheProfileAsModified()
{
    ThreeRows list;
    ActionMimeData payload(list.rows.at(0));
    DragEvents events(&payload);
    events.enter(list.rows.at(1));
    events.leave(list.rows.at(1));
    QVERIFY(!list.editor.isModified());
    events.drop(list.rows.at(1));
    QVERIFY(list.editor.isModified());
}

void TestActionDrags::indicatorIsBelowForARowFromAboveAndAboveForOneFromBelow()
{
    ThreeRows list;
    const auto imageOver = [&list](int dragged) {
        ActionMimeData payload(list.rows.at(dragged));
        DragEvents(&payload).enter(list.rows.at(1));
        return list.rows.at(1)->grab().toImage();
    };
    const QImage plain = list.rows.at(1)->grab().toImage();
    const QImage below = imageOver(0);
    QVERIFY(list.rows.at(1)->showDropIndicator());
    const QImage above = imageOver(2);
    const int top = 3;
    const int bottom = plain.height() - 4;
    QVERIFY(lineColor(below, bottom) != lineColor(plain, bottom));
    QCOMPARE(lineColor(below, top), lineColor(plain, top));
    QVERIFY(lineColor(above, top) != lineColor(plain, top));
    QCOMPARE(lineColor(above, bottom), lineColor(plain, bottom));
}

void TestActionDrags::indicatorGoesWhenTheDragLeaves()
{
    ThreeRows list;
    ActionMimeData payload(list.rows.at(0));
    DragEvents events(&payload);
    events.enter(list.rows.at(1));
    QVERIFY(list.rows.at(1)->showDropIndicator());
    events.leave(list.rows.at(1));
    QVERIFY(!list.rows.at(1)->showDropIndicator());
    events.leave(list.rows.at(1));
    QVERIFY(!list.rows.at(1)->showDropIndicator());
}

void TestActionDrags::rowDoesNotTakeItself()
{
    ThreeRows list;
    ActionMimeData payload(list.rows.at(1));
    DragEvents events(&payload);
    QVERIFY(!events.enter(list.rows.at(1)));
    QVERIFY(!list.rows.at(1)->showDropIndicator());
    QVERIFY(!events.drop(list.rows.at(1)));
    QCOMPARE(list.order(), QList<int>({1, 2, 3}));
    QVERIFY(!list.editor.isModified());
}

void TestActionDrags::foreignPayloadsAreNotTaken()
{
    ThreeRows list;
    QMimeData text;
    text.setText(QStringLiteral("text"));
    QMimeData urls;
    urls.setUrls({QUrl(QStringLiteral("file:///x"))});
    ActionMimeData nothing(nullptr);
    for (QMimeData* payload : {&text, &urls, static_cast<QMimeData*>(&nothing)}) {
        DragEvents events(payload);
        QVERIFY(!events.enter(list.rows.at(1)));
        QVERIFY(!list.rows.at(1)->showDropIndicator());
        QVERIFY(!events.drop(list.rows.at(1)));
    }
    DragEvents empty(nullptr);
    QVERIFY(!empty.enter(list.rows.at(1)));
    QCOMPARE(list.order(), QList<int>({1, 2, 3}));
}

void TestActionDrags::rowsOfAnotherListAreNotTaken()
{
    ThreeRows list;
    ThreeRows other;
    ActionMimeData payload(other.rows.at(0));
    DragEvents events(&payload);
    QVERIFY(!events.enter(list.rows.at(1)));
    QVERIFY(!events.drop(list.rows.at(1)));
    QCOMPARE(list.order(), QList<int>({1, 2, 3}));
    QCOMPARE(other.order(), QList<int>({1, 2, 3}));
}

void TestActionDrags::removedRowIsNotTaken()
{
    ThreeRows list;
    ActionMimeData payload(list.rows.at(0));
    DragEvents events(&payload);
    QVERIFY(events.enter(list.rows.at(2)));
    list.select(list.rows.at(0));
    list.controller->removeAction();
    QVERIFY(!events.drop(list.rows.at(2)));
    QCOMPARE(list.order(), QList<int>({2, 3}));
}

void TestActionDrags::rowThatIsGoneIsNotTaken()
{
    ThreeRows list;
    ActionMimeData payload(list.rows.at(0));
    DragEvents events(&payload);
    QVERIFY(events.enter(list.rows.at(2)));
    delete list.rows.at(0);
    QVERIFY(!events.drop(list.rows.at(2)));
    QVERIFY(!list.rows.at(2)->showDropIndicator());
    QCOMPARE(list.order(), QList<int>({2, 3}));
}

void TestActionDrags::listKeepsItsOrderOfAdding()
{
    ThreeRows list;
    ActionMimeData payload(list.rows.at(0));
    DragEvents(&payload).drop(list.rows.at(2));
    QCOMPARE(list.controller->rows(), list.rows);
}

QTEST_MAIN(TestActionDrags)
#include "test_action_drags.moc"
