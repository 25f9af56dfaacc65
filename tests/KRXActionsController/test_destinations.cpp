#include "ActionListLoad.h"
#include "ActionsWorld.h"
#include "CopyMoveAction.h"
#include "CopyToPathWidget.h"
#include "DestinationDrives.h"
#include "KRXTest.h"
#include "SelectDriveButton.h"

#include <QAbstractItemModelTester>
#include <QAbstractItemView>
#include <QComboBox>
#include <QHelpEvent>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QStandardPaths>
#include <QTextDocument>
#include <QToolTip>

#include <memory>

using namespace ActionsWorld;
using StandInHost::Volume;

namespace {

Qt::ItemFlags flagsOf(const QComboBox* box, int row)
{
    return box->model()->flags(box->model()->index(row, box->modelColumn()));
}

bool canBeChosen(const QComboBox* box, int row)
{
    const Qt::ItemFlags flags = flagsOf(box, row);
    return flags.testFlag(Qt::ItemIsSelectable) && flags.testFlag(Qt::ItemIsEnabled);
}

Volume locked(const QString& name, const QString& path)
{
    Volume volume{name, path};
    volume.locked = true;
    return volume;
}

void press(SelectDriveButton* button)
{
    QTest::mousePress(button, Qt::LeftButton);
}

/// Lets the person choose these folders, one after the other; an empty one is a cancelled chooser.
void answerFolders(QStringList folders)
{
    auto left = std::make_shared<QStringList>(std::move(folders));
    StandInHost::setDirectoryAnswerer([left](const StandInHost::DirectoryRequest&) -> QString {
        return left->isEmpty() ? QString() : left->takeFirst();
    });
}

} // namespace

class TestDestinations : public QObject
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void firstChooserStartsAtTheDesktop();
    void choosingAFolderMakesTheNextChooserOfAnyActionStartThere();
    void cancelledChooserChangesNothing();
    void chooserHasItsCaptionAndNoParent();
    void settingAPathMakesItTheToolTip();
    void toolTipsShowPathsLetterForLetter();
    void chosenFolderIsAnnounced();
    void pickerThatGoesWhileTheChooserIsOpenIsNotTouched();
    void pickerHasItsButtonAndLayout();
    void textsOfThePickerAreLocalised();
    void emptyPathPaintsCopyToWithTwoBlanksAndFailsValidation();
    void longPathIsElidedInTheMiddle();
    void pathIsPaintedAtTheLeftAndVerticallyCentred();

    void buttonNamesItsIcons();
    void drivesHaveTheirNamesSizesAndToolTips();
    void volumesAreListedInTheHostsOrderWithAClosingSeparator();
    void rootStaysASingleSeparator();
    void unusableVolumesAndThoseWithoutInformationAreLeftOut();
    void oneDriveHidesTheAudioBoxAndTakesTheVideoVolume();
    void audioLabelStaysWithOneDrive();
    void closedRowWritesWhatThePersonChose();
    void lockedVolumeIsListedGreyedInBothBoxesAndCannotBeChosen();
    void lockedVolumeWithTheNameOfAnotherGreysTheRightRow();
    void lockedVolumeWithoutInformationGreysNothing();
    void volumeIsListedByItsDisplayName();
    void volumeWithoutADisplayNameIsListedByItsNameOf260CharactersAtMost();
    void volumeWithoutAnIdentityIsNotListed();
    void firstVolumeThatCanBeChosenIsCurrent();
    void onlyLockedVolumesGiveNoVolume();
    void noVolumeListLeavesBoxesEmpty();
    void modelsOfTheBoxesKeepTheirPromises();
    void refreshDoesNotAccumulateAndSaysNothing();
    void storedVolumeIsSelectedByItsPathInItsCase();
    void volumesAreReadOncePerLoad();
};

void TestDestinations::firstChooserStartsAtTheDesktop()
{
    // The first test of this program: the folder is remembered for the life of the process.
    answerFolders({QString()});
    CopyToPathWidget picker(nullptr);
    picker.showFileDialog();
    QCOMPARE(StandInHost::directoryLog().count(), 1);
    QCOMPARE(StandInHost::directoryLog().constFirst().start,
             QStandardPaths::writableLocation(QStandardPaths::DesktopLocation));
}

void TestDestinations::choosingAFolderMakesTheNextChooserOfAnyActionStartThere()
{
    answerFolders({QStringLiteral("/chosen/first"), QStringLiteral("/chosen/second")});
    CopyMoveAction first(0);
    CopyMoveAction second(0);
    const std::unique_ptr<QWidget> bodies[] = {std::unique_ptr<QWidget>(first.createWidget()),
                                               std::unique_ptr<QWidget>(second.createWidget())};
    for (const std::unique_ptr<QWidget>& body : bodies)
        body->findChild<QPushButton*>()->click();
    QCOMPARE(StandInHost::directoryLog().count(), 2);
    QCOMPARE(StandInHost::directoryLog().at(1).start, QStringLiteral("/chosen/first"));
    QCOMPARE(bodies[0]->findChild<CopyToPathWidget*>()->path(), QStringLiteral("/chosen/first"));
    QCOMPARE(bodies[1]->findChild<CopyToPathWidget*>()->path(), QStringLiteral("/chosen/second"));
}

void TestDestinations::cancelledChooserChangesNothing()
{
    answerFolders({QStringLiteral("/chosen/here"), QString(), QString()});
    CopyToPathWidget picker(nullptr);
    picker.showFileDialog();
    picker.showFileDialog();
    QCOMPARE(picker.path(), QStringLiteral("/chosen/here"));
    picker.showFileDialog();
    QCOMPARE(StandInHost::directoryLog().at(2).start, QStringLiteral("/chosen/here"));
}

void TestDestinations::chooserHasItsCaptionAndNoParent()
{
    answerFolders({});
    QWidget window;
    CopyToPathWidget picker(&window);
    picker.showFileDialog();
    QCOMPARE(StandInHost::directoryLog().constFirst().caption, QStringLiteral("Select Folder"));
    QCOMPARE(StandInHost::directoryLog().constFirst().parent, nullptr);
}

void TestDestinations::settingAPathMakesItTheToolTip()
{
    CopyToPathWidget picker(nullptr);
    QCOMPARE(picker.path(), QString());
    picker.setPath(QStringLiteral("/a b/<c>"));
    QCOMPARE(picker.path(), QStringLiteral("/a b/<c>"));
    QCOMPARE(picker.toolTip(), QStringLiteral("/a b/<c>"));
}

void TestDestinations::toolTipsShowPathsLetterForLetter()
{
    for (const QString& path :
         {QStringLiteral("/media/x"), QStringLiteral("/media/<b>bold</b> & <i>so</i> on"),
          QStringLiteral("<img src='file:///etc/hostname'/>")}) {
        CopyToPathWidget picker(nullptr);
        picker.setPath(path);
        picker.show();
        QHelpEvent help(QEvent::ToolTip, QPoint(1, 1), picker.mapToGlobal(QPoint(1, 1)));
        QVERIFY(QCoreApplication::sendEvent(&picker, &help));
        QString shown = QToolTip::text();
        if (Qt::mightBeRichText(shown)) {
            QTextDocument document;
            document.setHtml(shown);
            shown = document.toPlainText();
        }
        QCOMPARE(shown, path);
        QToolTip::hideText();
    }
}

void TestDestinations::chosenFolderIsAnnounced()
{
    answerFolders({QStringLiteral("/chosen"), QString()});
    CopyToPathWidget picker(nullptr);
    QSignalSpy chosen(&picker, &CopyToPathWidget::pathChosen);
    picker.showFileDialog();
    picker.showFileDialog();
    picker.setPath(QStringLiteral("/loaded"));
    QCOMPARE(chosen.count(), 1);
}

void TestDestinations::pickerThatGoesWhileTheChooserIsOpenIsNotTouched()
{
    auto picker = std::make_unique<CopyToPathWidget>(nullptr);
    StandInHost::setDirectoryAnswerer([&picker](const StandInHost::DirectoryRequest&) {
        picker.reset();
        return QStringLiteral("/chosen/late");
    });
    picker->showFileDialog();
    QVERIFY(!picker);
    answerFolders({});
    CopyToPathWidget next(nullptr);
    next.showFileDialog();
    QCOMPARE(StandInHost::directoryLog().constLast().start, QStringLiteral("/chosen/late"));
}

void TestDestinations::pickerHasItsButtonAndLayout()
{
    CopyToPathWidget picker(nullptr);
    const auto* button = picker.findChild<QPushButton*>();
    QVERIFY(button);
    QCOMPARE(button->text(), QStringLiteral("Set"));
    QCOMPARE(button->minimumSize(), QSize(25, 20));
    QCOMPARE(button->maximumSize(), QSize(25, 20));
    QCOMPARE(picker.layout()->contentsMargins(), QMargins(3, 3, 3, 3));
    QCOMPARE(picker.layout()->spacing(), 3);
    QCOMPARE(picker.sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(picker.sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
    picker.resize(300, 30);
    picker.layout()->activate();
    QCOMPARE(button->geometry().right(), 300 - 3 - 1);
}

void TestDestinations::textsOfThePickerAreLocalised()
{
    StandInHost::setTranslator([](const QString& key) -> QString { return QLatin1Char('~') + key; });
    answerFolders({});
    CopyToPathWidget picker(nullptr);
    QCOMPARE(picker.findChild<QPushButton*>()->text(), QStringLiteral("~Set"));
    picker.showFileDialog();
    QCOMPARE(StandInHost::directoryLog().constFirst().caption, QStringLiteral("~Select Folder"));
}

void TestDestinations::emptyPathPaintsCopyToWithTwoBlanksAndFailsValidation()
{
    QStringList asked;
    StandInHost::setTranslator([&asked](const QString& key) {
        asked.append(key);
        return key;
    });
    CopyToPathWidget empty(nullptr);
    empty.resize(300, 30);
    QVERIFY(!empty.grab().isNull());
    QVERIFY(asked.contains(QStringLiteral("Copy To:  %1")));
    StandInHost::setTranslator({});

    // What is painted is that text and nothing else: it looks as a label with it does.
    CopyToPathWidget blank(nullptr);
    blank.setPath(QStringLiteral("  "));
    blank.resize(300, 30);
    QCOMPARE(empty.grab().toImage(), blank.grab().toImage());
    CopyToPathWidget other(nullptr);
    other.setPath(QStringLiteral("/x"));
    other.resize(300, 30);
    QVERIFY(other.grab().toImage() != empty.grab().toImage());

    CopyMoveAction action(0);
    const std::unique_ptr<QWidget> body(action.createWidget());
    QString error;
    QVERIFY(!action.validate(error));
    QCOMPARE(error, QStringLiteral("Copy to Folder action : Output folder not set !"));
}

void TestDestinations::longPathIsElidedInTheMiddle()
{
    const auto image = [](const QString& path) {
        CopyToPathWidget picker(nullptr);
        picker.setPath(path);
        picker.resize(400, 30);
        return picker.grab().toImage();
    };
    const QString start = QStringLiteral("/volumes/");
    const QString middle = QString(500, QLatin1Char('m'));
    const QString end = QStringLiteral("/end");
    // Only the middle is left out, so it makes no difference what stands there, but both ends show.
    QCOMPARE(image(start + middle + end), image(start + middle + middle + end));
    QVERIFY(image(start + middle + end) != image(start + middle + QStringLiteral("/ENB")));
    QVERIFY(image(start + middle + end) != image(QStringLiteral("/VOLUMES/") + middle + end));
}

void TestDestinations::pathIsPaintedAtTheLeftAndVerticallyCentred()
{
    CopyToPathWidget picker(nullptr);
    picker.setPath(QStringLiteral("/x"));
    const int low = 30;
    const int high = 50;
    const int left = 200;
    picker.resize(300, low);
    const QImage text = picker.grab().toImage().copy(0, 0, left, low);
    picker.resize(300, high);
    QCOMPARE(picker.grab().toImage().copy(0, (high - low) / 2, left, low), text);
    // The first letter stands at the edge.
    const QImage edge = text.copy(0, 0, 8, low);
    QImage empty(edge.size(), edge.format());
    empty.fill(text.pixelColor(left - 1, 0));
    QVERIFY(edge != empty);
}

void TestDestinations::buttonNamesItsIcons()
{
    SelectDriveButton button(nullptr);
    QCOMPARE(int(button.getButtonState()), 0);
    QCOMPARE(button.getResGroup(), QStringLiteral("icons/KRX"));
    QCOMPARE(button.getResID(), QStringLiteral("multi_arrow.png"));
    button.setState(ArrowButton::Closed);
    QCOMPARE(button.getResID(), QStringLiteral("one_arrow.png"));
    const ArrowButton& base = button;
    QCOMPARE(base.getResGroup(), QStringLiteral("icons/KRX"));
}

void TestDestinations::drivesHaveTheirNamesSizesAndToolTips()
{
    DestinationDrives drives(nullptr);
    QCOMPARE(drives.videoBox()->objectName(), QStringLiteral("filesystemVideoVolume"));
    QCOMPARE(drives.audioBox()->objectName(), QStringLiteral("filesystemAudioVolume"));
    for (const QComboBox* box : {drives.videoBox(), drives.audioBox()}) {
        QCOMPARE(box->minimumWidth(), 150);
        QCOMPARE(box->maximumWidth(), 150);
        QCOMPARE(box->toolTip(), QStringLiteral("Select the Destination Drives for the Consolidated Media"));
    }
    QCOMPARE(drives.selectDriveButton()->minimumSize(), QSize(40, 40));
    QCOMPARE(drives.selectDriveButton()->maximumSize(), QSize(40, 40));
    QCOMPARE(int(drives.selectDriveButton()->getButtonState()), 0);
    QStringList labels;
    for (const QLabel* label : drives.findChildren<QLabel*>())
        labels.append(label->text());
    labels.sort();
    QCOMPARE(labels, QStringList({QStringLiteral("Audio Drive"), QStringLiteral("Video Drive")}));
    QCOMPARE(drives.layout()->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(drives.layout()->spacing(), 1);
}

void TestDestinations::volumesAreListedInTheHostsOrderWithAClosingSeparator()
{
    DestinationDrives drives(nullptr);
    for (const QComboBox* box : {drives.videoBox(), drives.audioBox()}) {
        QCOMPARE(texts(box), QStringList({QStringLiteral("System"), QStringLiteral("Media A"),
                                          QStringLiteral("Media B")}));
        QCOMPARE(data(box), QStringList({QStringLiteral("/"), QStringLiteral("/media/a/"),
                                         QStringLiteral("/media/b/")}));
    }
    drives.videoBox()->setCurrentIndex(1);
    drives.audioBox()->setCurrentIndex(2);
    QCOMPARE(drives.videoVolume(), QStringLiteral("/media/a/"));
    QCOMPARE(drives.audioVolume(), QStringLiteral("/media/b/"));
}

void TestDestinations::rootStaysASingleSeparator()
{
    DestinationDrives drives(nullptr);
    QCOMPARE(drives.videoBox()->itemData(0).toString(), QStringLiteral("/"));
}

void TestDestinations::unusableVolumesAndThoseWithoutInformationAreLeftOut()
{
    Volume unusable{QStringLiteral("Unusable"), QStringLiteral("/u")};
    unusable.usable = false;
    Volume unknown{QStringLiteral("Unknown"), QStringLiteral("/i")};
    unknown.hasInformation = false;
    StandInHost::setVolumes({{unusable, unknown, {QStringLiteral("Good"), QStringLiteral("/g")}}});
    DestinationDrives drives(nullptr);
    QCOMPARE(texts(drives.videoBox()), QStringList(QStringLiteral("Good")));
    QCOMPARE(texts(drives.audioBox()), QStringList(QStringLiteral("Good")));
}

void TestDestinations::oneDriveHidesTheAudioBoxAndTakesTheVideoVolume()
{
    DestinationDrives drives(nullptr);
    drives.show();
    drives.videoBox()->setCurrentIndex(1);
    drives.audioBox()->setCurrentIndex(2);
    press(drives.selectDriveButton());
    QCOMPARE(int(drives.selectDriveButton()->getButtonState()), 1);
    QVERIFY(drives.audioBox()->isHidden());
    QCOMPARE(drives.audioVolume(), QStringLiteral("/media/a/"));
    press(drives.selectDriveButton());
    QVERIFY(drives.audioBox()->isVisible());
    QCOMPARE(drives.audioVolume(), QStringLiteral("/media/b/"));
}

void TestDestinations::audioLabelStaysWithOneDrive()
{
    DestinationDrives drives(nullptr);
    drives.show();
    press(drives.selectDriveButton());
    for (const QLabel* label : drives.findChildren<QLabel*>())
        QVERIFY2(label->isVisible(), qPrintable(label->text()));
}

void TestDestinations::closedRowWritesWhatThePersonChose()
{
    // Never shown, as in a closed row: the audio box cannot be seen, but the button did not hide it.
    QWidget body;
    DestinationDrives drives(&body);
    drives.audioBox()->setCurrentIndex(2);
    QVERIFY(!drives.audioBox()->isVisible());
    QCOMPARE(drives.audioVolume(), QStringLiteral("/media/b/"));
    // Nor did closing a row that was open.
    body.show();
    body.hide();
    QCOMPARE(drives.audioVolume(), QStringLiteral("/media/b/"));
    press(drives.selectDriveButton());
    QCOMPARE(drives.audioVolume(), QStringLiteral("/"));
    press(drives.selectDriveButton());
    QCOMPARE(drives.audioVolume(), QStringLiteral("/media/b/"));
}

void TestDestinations::lockedVolumeIsListedGreyedInBothBoxesAndCannotBeChosen()
{
    StandInHost::setVolumes({{{QStringLiteral("Free"), QStringLiteral("/f")},
                              locked(QStringLiteral("Locked"), QStringLiteral("/l"))}});
    DestinationDrives drives(nullptr);
    for (QComboBox* box : {drives.videoBox(), drives.audioBox()}) {
        QCOMPARE(texts(box), QStringList({QStringLiteral("Free"), QStringLiteral("Locked")}));
        QVERIFY(canBeChosen(box, 0));
        QVERIFY(!flagsOf(box, 1).testFlag(Qt::ItemIsSelectable));
        QVERIFY(!flagsOf(box, 1).testFlag(Qt::ItemIsEnabled));
        // Not with the keyboard either.
        QTest::keyClick(box, Qt::Key_Down);
        QCOMPARE(box->currentText(), QStringLiteral("Free"));
    }
}

void TestDestinations::lockedVolumeWithTheNameOfAnotherGreysTheRightRow()
{
    StandInHost::setVolumes({{{QStringLiteral("Disk"), QStringLiteral("/1")},
                              locked(QStringLiteral("Disk"), QStringLiteral("/2")),
                              {QStringLiteral("disk"), QStringLiteral("/3")}}});
    DestinationDrives drives(nullptr);
    for (const QComboBox* box : {drives.videoBox(), drives.audioBox()}) {
        QVERIFY(canBeChosen(box, 0));
        QVERIFY(!canBeChosen(box, 1));
        QVERIFY(canBeChosen(box, 2));
    }
}

void TestDestinations::lockedVolumeWithoutInformationGreysNothing()
{
    Volume unknown = locked(QStringLiteral("Disk"), QStringLiteral("/2"));
    unknown.hasInformation = false;
    StandInHost::setVolumes({{{QStringLiteral("Disk"), QStringLiteral("/1")}, unknown}});
    DestinationDrives drives(nullptr);
    QCOMPARE(drives.videoBox()->count(), 1);
    QVERIFY(canBeChosen(drives.videoBox(), 0));
}

void TestDestinations::volumeIsListedByItsDisplayName()
{
    Volume shown{QStringLiteral("Name"), QStringLiteral("/a")};
    shown.displayName = QStringLiteral("Shown");
    StandInHost::setVolumes({{shown}});
    DestinationDrives drives(nullptr);
    for (const QComboBox* box : {drives.videoBox(), drives.audioBox()}) {
        QCOMPARE(texts(box), QStringList(QStringLiteral("Shown")));
        QCOMPARE(data(box), QStringList(QStringLiteral("/a/")));
    }
}

void TestDestinations::volumeWithoutADisplayNameIsListedByItsNameOf260CharactersAtMost()
{
    Volume nameless{QString(300, QLatin1Char('n')), QStringLiteral("/a")};
    nameless.displayName = QLatin1String("");
    StandInHost::setVolumes({{nameless}});
    DestinationDrives drives(nullptr);
    QCOMPARE(texts(drives.videoBox()), QStringList(QString(260, QLatin1Char('n'))));
}

void TestDestinations::volumeWithoutAnIdentityIsNotListed()
{
    Volume unknown{QStringLiteral("Unknown"), QStringLiteral("/u")};
    unknown.hasIdentity = false;
    StandInHost::setVolumes({{unknown, {QStringLiteral("Known"), QStringLiteral("/k")}}});
    DestinationDrives drives(nullptr);
    QCOMPARE(texts(drives.videoBox()), QStringList(QStringLiteral("Known")));
    QCOMPARE(texts(drives.audioBox()), QStringList(QStringLiteral("Known")));
}

void TestDestinations::firstVolumeThatCanBeChosenIsCurrent()
{
    StandInHost::setVolumes({{locked(QStringLiteral("L"), QStringLiteral("/l")),
                              {QStringLiteral("A"), QStringLiteral("/a")},
                              {QStringLiteral("B"), QStringLiteral("/b")}}});
    DestinationDrives drives(nullptr);
    QCOMPARE(drives.videoVolume(), QStringLiteral("/a/"));
    QCOMPARE(drives.audioVolume(), QStringLiteral("/a/"));
    drives.selectVolume(drives.videoBox(), QStringLiteral("/gone/"));
    QCOMPARE(drives.videoVolume(), QStringLiteral("/a/"));
}

void TestDestinations::onlyLockedVolumesGiveNoVolume()
{
    StandInHost::setVolumes({{locked(QStringLiteral("L"), QStringLiteral("/l"))}});
    DestinationDrives drives(nullptr);
    QCOMPARE(drives.videoBox()->count(), 1);
    QCOMPARE(drives.videoVolume(), QString());
    QCOMPARE(drives.audioVolume(), QString());
}

void TestDestinations::noVolumeListLeavesBoxesEmpty()
{
    DestinationDrives drives(nullptr);
    StandInHost::setNoVolumes();
    drives.refresh();
    QCOMPARE(drives.videoBox()->count(), 0);
    QCOMPARE(drives.audioBox()->count(), 0);
    QCOMPARE(drives.videoVolume(), QString());
    QCOMPARE(drives.audioVolume(), QString());
}

void TestDestinations::modelsOfTheBoxesKeepTheirPromises()
{
    DestinationDrives drives(nullptr);
    using Tester = QAbstractItemModelTester;
    const Tester video(drives.videoBox()->model(), Tester::FailureReportingMode::QtTest);
    const Tester audio(drives.audioBox()->model(), Tester::FailureReportingMode::QtTest);
    StandInHost::setVolumes({{{QStringLiteral("Free"), QStringLiteral("/f")},
                              locked(QStringLiteral("Locked"), QStringLiteral("/l"))}});
    drives.refresh();
    StandInHost::setNoVolumes();
    drives.refresh();
    QCOMPARE(drives.videoBox()->count(), 0);
}

void TestDestinations::refreshDoesNotAccumulateAndSaysNothing()
{
    DestinationDrives drives(nullptr);
    QSignalSpy video(drives.videoBox(), QOverload<int>::of(&QComboBox::currentIndexChanged));
    QSignalSpy audio(drives.audioBox(), QOverload<int>::of(&QComboBox::currentIndexChanged));
    drives.refresh();
    QCOMPARE(drives.videoBox()->count(), 3);
    QCOMPARE(drives.audioBox()->count(), 3);
    QCOMPARE(video.count(), 0);
    QCOMPARE(audio.count(), 0);
}

void TestDestinations::storedVolumeIsSelectedByItsPathInItsCase()
{
    StandInHost::setVolumes({{{QStringLiteral("One"), QStringLiteral("/media/X")},
                              {QStringLiteral("Two"), QStringLiteral("/media/x")}}});
    DestinationDrives drives(nullptr);
    drives.selectVolume(drives.audioBox(), QStringLiteral("/media/x/"));
    QCOMPARE(drives.audioBox()->currentText(), QStringLiteral("Two"));
    QCOMPARE(drives.videoBox()->currentText(), QStringLiteral("One"));
}

void TestDestinations::volumesAreReadOncePerLoad()
{
    const int before = StandInHost::volumeListCount();
    {
        const ActionListLoad load;
        DestinationDrives first(nullptr);
        DestinationDrives second(nullptr);
        second.refresh();
        QCOMPARE(StandInHost::volumeListCount(), before + 1);
        QCOMPARE(second.videoBox()->count(), 3);
        QVERIFY(ActionListLoad::isRunning());
    }
    QVERIFY(!ActionListLoad::isRunning());
    // The next load sees what was mounted meanwhile.
    StandInHost::setVolumes({{{QStringLiteral("New"), QStringLiteral("/new")}}});
    const ActionListLoad load;
    DestinationDrives drives(nullptr);
    QCOMPARE(texts(drives.videoBox()), QStringList(QStringLiteral("New")));
}

QTEST_MAIN(TestDestinations)
#include "test_destinations.moc"
