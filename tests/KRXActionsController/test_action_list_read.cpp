#include "ActionList.h"
#include "ActivityTexts.h"
#include "CodecBox.h"
#include "KRXTest.h"

#include <QPointer>
#include <QScrollArea>
#include <QUndoStack>

using namespace ActionsWorld;

namespace {

/// A transcode of another project type.
QString foreignTranscode(const QString& name)
{
    ActivityTexts::Transcode stored;
    stored.name = name;
    stored.video.projectType = QStringLiteral("Unheard of");
    return ActivityTexts::text(stored);
}

const auto kTellOk = [](const StandInHost::MessageRequest&) { return QMessageBox::Ok; };

} // namespace

class TestActionListRead : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        reset();
        StandInHost::setMessageAnswerer(kTellOk);
    }

    void rowsAreRebuiltInDocumentOrder();
    void wholeListIsWrittenBackAsItWasRead();
    void formerRowsAndTheSelectionGo();
    void readingForgetsWhatCouldBeUndone();
    void readingDoesNotMarkTheProfileAsModified();
    void activitiesAreFoundAnywhereBelowTheRoot();
    void documentWithoutActivitiesEmptiesTheList();
    void numbersComeFromTheNames_data();
    void numbersComeFromTheNames();
    void unknownActivitiesAreSkippedWithAWarningThatNamesThem();
    void twoStoredConsolidatesAreBothKept();
    void noticesOfAllActivitiesAreShownInOneMessage();
    void noNoticeShowsNoMessage();
    void listDeletedDuringTheNoticeIsNotTouched();
    void volumesAreReadOncePerLoad();
    void noCodecListIsFilledTwiceForOneLoad();
    void activityWithoutOptionsStartsWithTheDefaultCodec();
    void loadedCodecsAreThoseOfTheirProjectType();
    void editorShowsChangesAgainAfterReading();
    void thousandActivitiesAreReadAndWritten();
};

void TestActionListRead::rowsAreRebuiltInDocumentOrder()
{
    List list;
    list.read(activity("transcode", QStringLiteral("Transcode 7")) +
              activity("copy", QStringLiteral("Copy 2")) +
              activity("consolidate", QStringLiteral("Consolidate")));
    QCOMPARE(list.written(), QStringList({QStringLiteral("Transcode 7"), QStringLiteral("Copy 2"),
                                          QStringLiteral("Consolidate")}));
    QCOMPARE(list.namesOfRows(), QStringList({QStringLiteral("Transcode"), QStringLiteral("Copy to Folder"),
                                              QStringLiteral("Consolidate")}));
    for (const ActionTWidget* row : list.controller->rows())
        QVERIFY(!row->isOpen());
}

void TestActionListRead::wholeListIsWrittenBackAsItWasRead()
{
    ActivityTexts::Copy copy;
    copy.name = QStringLiteral("Copy 3");
    copy.path = QStringLiteral("/out");
    ActivityTexts::Transcode transcode;
    transcode.name = QStringLiteral("Transcode 9");
    transcode.audioVolume = QStringLiteral("/media/b/");
    transcode.audio.rateEnabled = QStringLiteral("true");
    ActivityTexts::Consolidate consolidate;
    consolidate.fallback = QStringLiteral("true");
    List list;
    const QDomDocument stored = document(List::profile(
        ActivityTexts::text(transcode) + ActivityTexts::text(copy) + ActivityTexts::text(consolidate)));
    list.controller->readXml(stored);
    list.activities();
    const QStringList actual = KRXTest::withSortedAttributes(list.doc.toString(1)).split(QLatin1Char('\n'));
    const QStringList expected = KRXTest::withSortedAttributes(stored.toString(1)).split(QLatin1Char('\n'));
    QCOMPARE(actual, expected);
}

void TestActionListRead::formerRowsAndTheSelectionGo()
{
    List list;
    const QPointer<ActionTWidget> former(list.add(ActionType::Copy));
    list.select(former);
    list.read(activity("copy", QStringLiteral("Copy 4")));
    QVERIFY(!former);
    QCOMPARE(list.editor.getCurrentSelectedAction(), nullptr);
    QCOMPARE(list.written(), QStringList(QStringLiteral("Copy 4")));
}

void TestActionListRead::readingForgetsWhatCouldBeUndone()
{
    List list;
    const QPointer<ActionTWidget> removed(list.add(ActionType::Copy));
    const QPointer<ActionTWidget> undone(list.add(ActionType::Transcode));
    list.select(removed);
    list.controller->removeAction();
    list.select(undone);
    list.controller->removeAction();
    list.controller->undoStack()->undo();
    list.read(QString());
    QVERIFY(!removed);
    QVERIFY(!undone);
    QVERIFY(!list.controller->undoStack()->canUndo());
    QVERIFY(!list.controller->undoStack()->canRedo());

    // Also a stack that counts as clean, with something to redo.
    list.select(list.add(ActionType::Copy));
    list.controller->removeAction();
    list.controller->undoStack()->undo();
    QVERIFY(list.controller->undoStack()->isClean());
    list.read(QString());
    QVERIFY(!list.controller->undoStack()->canRedo());
    list.controller->undoStack()->redo();
    QCOMPARE(list.written(), QStringList());
}

void TestActionListRead::readingDoesNotMarkTheProfileAsModified()
{
    List list;
    list.read(ActivityTexts::text(ActivityTexts::Copy()) + ActivityTexts::text(ActivityTexts::Transcode()) +
              ActivityTexts::text(ActivityTexts::Consolidate()));
    QVERIFY(!list.editor.isModified());
}

void TestActionListRead::activitiesAreFoundAnywhereBelowTheRoot()
{
    List list;
    list.controller->readXml(document(QStringLiteral(
        "<activity id=\"copy\" name=\"root 1\"><a><activity id=\"copy\" name=\"Copy 2\"/></a>"
        "<activities><b><activity id=\"transcode\" name=\"Transcode 3\"/></b></activities></activity>")));
    QCOMPARE(list.written(), QStringList({QStringLiteral("Copy 2"), QStringLiteral("Transcode 3")}));
}

void TestActionListRead::documentWithoutActivitiesEmptiesTheList()
{
    List list;
    list.add(ActionType::Copy);
    list.controller->readXml(QDomDocument());
    QCOMPARE(list.controller->rows().count(), 0);
    list.add(ActionType::Copy);
    list.controller->readXml(document(QStringLiteral("<profile/>")));
    QCOMPARE(list.controller->rows().count(), 0);
}

void TestActionListRead::numbersComeFromTheNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("written");
    const auto row = [](const char* name, int number, const char* written) {
        QTest::newRow(name) << QString::fromLatin1(name) << number << QString::fromLatin1(written);
    };
    row("Transcode 7", 7, "Transcode 7");
    row("Transcode", 0, "Transcode ");
    row("Transcode ", 0, "Transcode ");
    row("", 0, "Transcode ");
    row("12", 12, "Transcode 12");
    row("My3Step42", 42, "Transcode 42");
    row("Transcode 007", 7, "Transcode 7");
    row("Transcode 2147483647", 2147483647, "Transcode 2147483647");
    // No number can hold these.
    row("Transcode 2147483648", 0, "Transcode ");
    row("Transcode 99999999999", 0, "Transcode ");
    row("Transcode 7 ", 0, "Transcode ");
    row("Transcode 7&#10;", 0, "Transcode ");
    row("Transcode -7", 7, "Transcode 7");
}

void TestActionListRead::numbersComeFromTheNames()
{
    QFETCH(QString, name);
    List list;
    list.read(activity("transcode", name));
    QTEST(list.controller->rows().first()->getCurrentAction()->number(), "number");
    QFETCH(QString, written);
    QCOMPARE(list.written(), QStringList(written));
}

void TestActionListRead::unknownActivitiesAreSkippedWithAWarningThatNamesThem()
{
    List list;
    QTest::ignoreMessage(QtWarningMsg,
                         "Left out an activity of unknown kind: id \"archive\", name \"Archive 1\"");
    QTest::ignoreMessage(QtWarningMsg, "Left out an activity of unknown kind: id \"\", name \"\"");
    QTest::ignoreMessage(QtWarningMsg, "Left out an activity of unknown kind: id \"COPY\", name \"Copy 5\"");
    list.read(activity("archive", QStringLiteral("Archive 1")) + activity("copy", QStringLiteral("Copy 1")) +
              QStringLiteral("<activity/>") + activity("COPY", QStringLiteral("Copy 5")) +
              activity("transcode", QStringLiteral("Transcode 2")));
    QCOMPARE(list.written(), QStringList({QStringLiteral("Copy 1"), QStringLiteral("Transcode 2")}));
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestActionListRead::twoStoredConsolidatesAreBothKept()
{
    List list;
    list.read(ActivityTexts::text(ActivityTexts::Consolidate()) +
              ActivityTexts::text(ActivityTexts::Consolidate()));
    QCOMPARE(list.written(), QStringList({QStringLiteral("Consolidate"), QStringLiteral("Consolidate")}));
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestActionListRead::noticesOfAllActivitiesAreShownInOneMessage()
{
    List list;
    list.read(foreignTranscode(QStringLiteral("Transcode 1")) + ActivityTexts::text(ActivityTexts::Copy()) +
              foreignTranscode(QStringLiteral("Transcode 2")));
    QCOMPARE(StandInHost::messageLog().count(), 1);
    const StandInHost::MessageRequest message = StandInHost::messageLog().constFirst();
    const QString notice = QStringLiteral(
        "This profile was created in a different project type.The following transcode options have "
        "been reset to their defaults: Project Type, Codec.Only newly saved profiles will have this "
        "change.\n");
    QCOMPARE(message.text, notice.repeated(2));
    QCOMPARE(message.title, QString());
    QCOMPARE(int(message.icon), 1);
    QCOMPARE(message.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(list.controller->rows().count(), 3);
}

void TestActionListRead::noNoticeShowsNoMessage()
{
    List list;
    list.read(ActivityTexts::text(ActivityTexts::Transcode()));
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestActionListRead::listDeletedDuringTheNoticeIsNotTouched()
{
    List list;
    StandInHost::setMessageAnswerer([&](const StandInHost::MessageRequest&) {
        list.controller.reset();
        list.section.reset();
        return QMessageBox::Ok;
    });
    list.read(foreignTranscode(QStringLiteral("Transcode 1")));
    QVERIFY(!list.controller);
}

void TestActionListRead::volumesAreReadOncePerLoad()
{
    List list;
    const int before = StandInHost::volumeListCount();
    list.read(ActivityTexts::text(ActivityTexts::Transcode()).repeated(5) +
              ActivityTexts::text(ActivityTexts::Consolidate()));
    QCOMPARE(StandInHost::volumeListCount(), before + 1);
    list.read(ActivityTexts::text(ActivityTexts::Copy()));
    QCOMPARE(StandInHost::volumeListCount(), before + 1);
}

void TestActionListRead::noCodecListIsFilledTwiceForOneLoad()
{
    // Of the project's own type: the list that the new row has is the one to choose from.
    List list;
    list.read(ActivityTexts::text(ActivityTexts::Transcode()).repeated(3));
    QCOMPARE(list.editor.codecFills, 3);
    // Of another type, whose codecs are other ones.
    ActivityTexts::Transcode pal;
    pal.video.projectType = QStringLiteral("PAL 25i");
    pal.video.colorSpace = QStringLiteral("YCbCr 601");
    pal.video.raster = QStringLiteral("720x576");
    list.editor.codecFills = 0;
    list.read(ActivityTexts::text(pal));
    QCOMPARE(list.editor.codecFills, 1);
    // Of a type that there is none of, as a consolidate, and with hardly anything in it.
    list.editor.codecFills = 0;
    list.read(foreignTranscode(QStringLiteral("Transcode 1")) +
              ActivityTexts::text(ActivityTexts::Consolidate()) +
              activity("transcode", QStringLiteral("Transcode 2")));
    QCOMPARE(list.editor.codecFills, 3);
}

void TestActionListRead::activityWithoutOptionsStartsWithTheDefaultCodec()
{
    List list;
    list.read(activity("transcode", QStringLiteral("Transcode 1")));
    const auto* codec = list.controller->rows().first()->findChild<CodecBox*>();
    QCOMPARE(codec->currentData().toUInt(), kDefaultCodec);
    QVERIFY(codec->currentIndex() > 0);
    QCOMPARE(codec->getEncodingProfileBox()->count(), 3);
}

void TestActionListRead::loadedCodecsAreThoseOfTheirProjectType()
{
    // RGB, for which the default codec is not offered.
    ActivityTexts::Transcode rgb;
    rgb.video.colorSpace = QStringLiteral("RGB 709");
    rgb.video.codecId = QStringLiteral("103");
    List list;
    list.read(ActivityTexts::text(rgb));
    const auto* codec = list.controller->rows().first()->findChild<CodecBox*>();
    QCOMPARE(data(codec), QStringList({QStringLiteral("101"), QStringLiteral("103"),
                                       QStringLiteral("4000000000"), QStringLiteral("999")}));
    QCOMPARE(codec->currentText(), QStringLiteral("Zero"));
}

void TestActionListRead::editorShowsChangesAgainAfterReading()
{
    List list;
    list.read(foreignTranscode(QStringLiteral("Transcode 1")));
    QVERIFY(list.editor.updatesEnabled());
    QCOMPARE(list.editor.getScrollArea()->verticalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
}

void TestActionListRead::thousandActivitiesAreReadAndWritten()
{
    QString activities;
    QStringList names;
    for (int number = 1; number <= 1000; ++number) {
        const bool isTranscode = number % 10 == 0;
        names.append(QStringLiteral("%1 %2").arg(
            isTranscode ? QStringLiteral("Transcode") : QStringLiteral("Copy"), QString::number(number)));
        activities += activity(isTranscode ? "transcode" : "copy", names.last());
    }
    List list;
    list.read(activities);
    QCOMPARE(list.written(), names);
    QCOMPARE(list.controller->nextNumber(ActionType::Copy), 10);
    list.read(QString());
    QCOMPARE(list.controller->rows().count(), 0);
}

QTEST_MAIN(TestActionListRead)
#include "test_action_list_read.moc"
