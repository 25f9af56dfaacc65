#include "ActionRow.h"
#include "ActivityTexts.h"
#include "CopyToPathWidget.h"
#include "KRXTest.h"

#include <QSignalSpy>

using namespace ActionsWorld;
using ActivityTexts::text;

namespace {

const bool kBoth[] = {false, true};

QString boolText(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

/// A transcode that differs from a new one in everything. The encoding profile is left to the tests that are
/// about it.
ActivityTexts::Transcode fullTranscode()
{
    ActivityTexts::Transcode stored;
    stored.videoVolume = QStringLiteral("/media/b/");
    stored.audioVolume = QStringLiteral("/media/a/");
    stored.video.reformat = QStringLiteral("false");
    stored.video.colorTransform = QStringLiteral("true");
    stored.video.projectType = QStringLiteral("PAL 25i");
    stored.video.colorSpace = QStringLiteral("YCbCr 601");
    stored.video.raster = QStringLiteral("720x576");
    stored.video.debayer = QStringLiteral("40");
    stored.video.codecId = QStringLiteral("4000000000");
    stored.video.codecName = QStringLiteral("Large Id");
    stored.video.descriptor = QStringLiteral(
        " compressionID=\"00000001-0002-0003-04-05-06-07-08-09-0a-0b\" bitsPerComponent=\"0\""
        " horizontalSubsampling=\"1\" verticalSubsampling=\"1\" maxBitrate=\"0\" avgBitrate=\"0\""
        " pictureItemPattern=\"0\"");
    stored.audio.rateEnabled = QStringLiteral("true");
    stored.audio.rate = QStringLiteral("32000");
    stored.audio.widthEnabled = QStringLiteral("true");
    stored.audio.width = QStringLiteral("16");
    stored.audio.formatEnabled = QStringLiteral("true");
    stored.audio.format = QStringLiteral("MP2  (MXF OP1a)");
    return stored;
}

ActivityTexts::Consolidate fullConsolidate()
{
    const ActivityTexts::Transcode full = fullTranscode();
    ActivityTexts::Consolidate stored;
    stored.videoVolume = full.videoVolume;
    stored.audioVolume = full.audioVolume;
    stored.skip = QStringLiteral("false");
    stored.relinkSkipped = QStringLiteral("true");
    stored.fallback = QStringLiteral("true");
    stored.video = full.video;
    stored.audio = full.audio;
    return stored;
}

} // namespace

class TestActivitiesRead : public QObject
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void copyIsRestoredInEveryState();
    void copyWithSeveralDestinationsTakesTheLast();
    void checkTextsOtherThanTrueReadAsUnchecked_data();
    void checkTextsOtherThanTrueReadAsUnchecked();
    void transcodeIsRestoredInEveryAudioState();
    void consolidateIsRestoredInEveryState();
    void transcodeDifferingInEverythingIsRestored();
    void consolidateDifferingInEverythingIsRestored();
    void enabledOtherThanTrueReadsAsUnchecked();
    void missingElementsLeaveTheirWidgetsAsTheRefillLeftThem();
    void unknownElementsAreSkipped();
    void repeatedElementsTakeTheLast();
    void emptyActivityRestoresNothingAndReportsNoNotice();
    void emptyRasterRestoresNoVideoBoxAndReportsNoNotice_data();
    void emptyRasterRestoresNoVideoBoxAndReportsNoNotice();
    void unknownProjectTypeReports1AndStillRestoresTheOthers();
    void unknownColorSpaceLeavesBothAtTheDefaultsWithoutNotice();
    void unknownRasterLeavesBothAtTheDefaultsWithoutNotice();
    void codecsThatMatchNothingSelectTheFirst_data();
    void codecsThatMatchNothingSelectTheFirst();
    void volumesThatAreGoneSelectTheFirst();
    void volumesAreTakenFromTheFirstOutputDetail();
    void readingRefreshesAudioListsAndVolumes_data();
    void readingRefreshesAudioListsAndVolumes();
    void lockedVolumeThatWasStoredStays();
    void encodingProfileIsWrittenAsTextAndReadAsNumber();
    void consolidateNeverChangesTheEncodingProfile();
    void displayTextsAreFoundInAnyCase();
    void unknownAudioValuesSelectTheFirst();
    void unknownDebayerSelectsFull();
    void readingAgainDoesNotAccumulateItems();
    void descriptorAttributesAreNotRead();
    void readingAsksForTheCodecsOnce();
    void projectTypeOfAnotherProjectInACustomProjectReports1();
    void noticeTexts();
};

void TestActivitiesRead::copyIsRestoredInEveryState()
{
    ActionRow row(ActionType::Copy);
    for (bool relink : kBoth) {
        for (bool checkIn : kBoth) {
            ActivityTexts::Copy stored;
            stored.path = relink ? QStringLiteral("/x/y") : QString();
            stored.relink = boolText(relink);
            stored.checkIn = boolText(checkIn);
            QCOMPARE(row.read(text(stored)), 0U);
            KRX_COMPARE_XML(row.written(), text(stored));
        }
    }
}

void TestActivitiesRead::copyWithSeveralDestinationsTakesTheLast()
{
    ActionRow row(ActionType::Copy);
    row.read(QStringLiteral("<activity id=\"copy\"><destinationDetail><filesystemPath>/1</filesystemPath>"
                            "<autoCheckin>true</autoCheckin></destinationDetail><other><destinationDetail>"
                            "<filesystemPath>/2</filesystemPath></destinationDetail></other></activity>"));
    QCOMPARE(row.option<CopyToPathWidget>("filesystemPath")->path(), QStringLiteral("/2"));
    QVERIFY(row.check("autoCheckin")->isChecked());
}

void TestActivitiesRead::checkTextsOtherThanTrueReadAsUnchecked_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<bool>("checked");
    QTest::newRow("true") << QStringLiteral("true") << true;
    QTest::newRow("True") << QStringLiteral("True") << false;
    QTest::newRow("1") << QStringLiteral("1") << false;
    QTest::newRow("TRUE") << QStringLiteral("TRUE") << false;
    QTest::newRow("blank") << QStringLiteral("true ") << false;
    QTest::newRow("empty") << QString() << false;
}

void TestActivitiesRead::checkTextsOtherThanTrueReadAsUnchecked()
{
    QFETCH(QString, stored);
    ActionRow copy(ActionType::Copy);
    copy.check("relinkAfterCopy")->setChecked(true);
    ActivityTexts::Copy copyText;
    copyText.relink = stored;
    copy.read(text(copyText));
    QTEST(copy.check("relinkAfterCopy")->isChecked(), "checked");

    ActionRow transcode(ActionType::Transcode);
    ActivityTexts::Transcode transcodeText;
    transcodeText.video.reformat = stored;
    transcode.read(text(transcodeText));
    QTEST(transcode.check("videoIncludeReformattedContent")->isChecked(), "checked");

    ActionRow consolidate(ActionType::Consolidate);
    ActivityTexts::Consolidate consolidateText;
    consolidateText.skip = stored;
    consolidate.read(text(consolidateText));
    QTEST(consolidate.check("videoSkipOnTarget")->isChecked(), "checked");
}

void TestActivitiesRead::transcodeIsRestoredInEveryAudioState()
{
    ActionRow row(ActionType::Transcode);
    for (int bits = 0; bits < 32; ++bits) {
        ActivityTexts::Transcode stored;
        stored.video.reformat = boolText(bits & 1);
        stored.video.colorTransform = boolText(bits & 2);
        stored.audio.rateEnabled = boolText(bits & 4);
        stored.audio.widthEnabled = boolText(bits & 8);
        stored.audio.formatEnabled = boolText(bits & 16);
        QCOMPARE(row.read(text(stored)), 0U);
        KRX_COMPARE_XML(row.written(), text(stored));
    }
}

void TestActivitiesRead::consolidateIsRestoredInEveryState()
{
    ActionRow row(ActionType::Consolidate);
    for (int bits = 0; bits < 256; ++bits) {
        ActivityTexts::Consolidate stored;
        stored.skip = boolText(bits & 1);
        stored.relinkSkipped = boolText(bits & 2);
        stored.fallback = boolText(bits & 4);
        stored.video.reformat = boolText(bits & 8);
        stored.video.colorTransform = boolText(bits & 16);
        stored.audio.rateEnabled = boolText(bits & 32);
        stored.audio.widthEnabled = boolText(bits & 64);
        stored.audio.formatEnabled = boolText(bits & 128);
        QCOMPARE(row.read(text(stored)), 0U);
        KRX_COMPARE_XML(row.written(), text(stored));
        // The group follows the check box also when it is read.
        QCOMPARE(row.box("videoProjectType")->parentWidget()->isEnabledTo(row.action().widget()),
                 bool(bits & 4));
    }
}

void TestActivitiesRead::transcodeDifferingInEverythingIsRestored()
{
    ActionRow row(ActionType::Transcode);
    QCOMPARE(row.read(text(fullTranscode())), 0U);
    KRX_COMPARE_XML(row.written(), text(fullTranscode()));
}

void TestActivitiesRead::consolidateDifferingInEverythingIsRestored()
{
    ActionRow row(ActionType::Consolidate);
    QCOMPARE(row.read(text(fullConsolidate())), 0U);
    KRX_COMPARE_XML(row.written(), text(fullConsolidate()));
}

void TestActivitiesRead::enabledOtherThanTrueReadsAsUnchecked()
{
    ActionRow row(ActionType::Transcode);
    row.check("convertAudioSampleRate")->setChecked(true);
    row.check("convertAudioBitDepth")->setChecked(true);
    row.read(QStringLiteral(
        "<activity><outputAudioProfile><audioSampleRate enabled=\"TRUE\">48000</audioSampleRate>"
        "<audioSampleWidth>16</audioSampleWidth></outputAudioProfile></activity>"));
    QVERIFY(!row.check("convertAudioSampleRate")->isChecked());
    QVERIFY(!row.check("convertAudioBitDepth")->isChecked());
}

void TestActivitiesRead::missingElementsLeaveTheirWidgetsAsTheRefillLeftThem()
{
    ActionRow row(ActionType::Transcode);
    row.read(text(fullTranscode()));
    row.read(QStringLiteral("<activity><outputDetail><outputTranscodeVideoProfile/><outputAudioProfile/>"
                            "</outputDetail></activity>"));
    QCOMPARE(row.box("filesystemVideoVolume")->currentText(), QStringLiteral("System"));
    QCOMPARE(row.box("audioSampleRate")->currentText(), QStringLiteral("32 kHz"));
    QCOMPARE(row.box("audioSampleWidth")->currentText(), QStringLiteral("16 Bit"));
    QCOMPARE(row.box("audioFormat")->currentText(), QStringLiteral("PCM  (MXF OP1a)"));
    QCOMPARE(row.box("videoProjectType")->currentText(), QStringLiteral("1080p/25"));
    QCOMPARE(row.box("videoDebayerSetting")->currentText(), QStringLiteral("Full"));
    // Check boxes are not refilled.
    QVERIFY(row.check("applyColorTransformations")->isChecked());
    QVERIFY(row.check("convertAudioSampleRate")->isChecked());
}

void TestActivitiesRead::unknownElementsAreSkipped()
{
    QString activity = text(fullTranscode());
    activity.replace(
        QStringLiteral("<outputTranscodeVideoProfile>"),
        QStringLiteral("<outputTranscodeVideoProfile><convertAudioFormat>true</convertAudioFormat><odd "
                       "enabled=\"true\"><videoRaster>1x1</videoRaster></odd><!-- c -->text"));
    ActionRow row(ActionType::Transcode);
    QCOMPARE(row.read(activity), 0U);
    KRX_COMPARE_XML(row.written(), text(fullTranscode()));
}

void TestActivitiesRead::repeatedElementsTakeTheLast()
{
    QString activity = text(fullTranscode());
    activity.replace(QStringLiteral("<videoProjectType>PAL"),
                     QStringLiteral("<videoProjectType>1080i/50</videoProjectType><videoProjectType>PAL"));
    activity.replace(
        QStringLiteral("<filesystemVideoVolume>"),
        QStringLiteral("<filesystemVideoVolume>/media/a/</filesystemVideoVolume><filesystemVideoVolume>"));
    ActionRow row(ActionType::Transcode);
    QCOMPARE(row.read(activity), 0U);
    KRX_COMPARE_XML(row.written(), text(fullTranscode()));
}

void TestActivitiesRead::emptyActivityRestoresNothingAndReportsNoNotice()
{
    for (ActionType type : {ActionType::Copy, ActionType::Consolidate, ActionType::Transcode}) {
        ActionRow row(type);
        QCOMPARE(row.read(QStringLiteral("<activity/>")), 0U);
    }
    ActionRow row(ActionType::Transcode);
    row.read(QStringLiteral("<activity/>"));
    QCOMPARE(row.codec()->currentData().toUInt(), kDefaultCodec);
}

void TestActivitiesRead::emptyRasterRestoresNoVideoBoxAndReportsNoNotice_data()
{
    QTest::addColumn<QString>("element");
    for (const char* name : {"videoRaster", "videoProjectType", "videoColorSpace", "videoCompressionType"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void TestActivitiesRead::emptyRasterRestoresNoVideoBoxAndReportsNoNotice()
{
    QFETCH(QString, element);
    ActivityTexts::Transcode stored = fullTranscode();
    // Also not when the project type is none of this project's.
    stored.video.projectType = QStringLiteral("Unheard of");
    for (QString* value :
         {&stored.video.raster, &stored.video.projectType, &stored.video.colorSpace, &stored.video.codecId}) {
        const bool isIt =
            (value == &stored.video.raster && element == QLatin1String("videoRaster")) ||
            (value == &stored.video.projectType && element == QLatin1String("videoProjectType")) ||
            (value == &stored.video.colorSpace && element == QLatin1String("videoColorSpace")) ||
            (value == &stored.video.codecId && element == QLatin1String("videoCompressionType"));
        if (isIt)
            value->clear();
    }
    ActionRow row(ActionType::Transcode);
    QCOMPARE(row.read(text(stored)), 0U);
    QCOMPARE(row.box("videoProjectType")->currentText(), QStringLiteral("1080p/25"));
    QCOMPARE(row.box("videoColorSpace")->currentText(), QStringLiteral("YCbCr 709"));
    QCOMPARE(row.box("videoRaster")->currentText(), QStringLiteral("1920x1080"));
    QCOMPARE(row.codec()->currentData().toUInt(), kDefaultCodec);
    // What does not depend on them is restored.
    QCOMPARE(row.box("videoDebayerSetting")->currentText(), QStringLiteral("Sixteenth"));
    QVERIFY(row.check("applyColorTransformations")->isChecked());
    QCOMPARE(row.box("audioSampleRate")->currentText(), QStringLiteral("32 kHz"));
}

void TestActivitiesRead::unknownProjectTypeReports1AndStillRestoresTheOthers()
{
    for (ActionType type : {ActionType::Transcode, ActionType::Consolidate}) {
        ActivityTexts::Video video;
        video.projectType = QStringLiteral("Unheard of");
        video.colorSpace = QStringLiteral("RGB 709");
        video.raster = QStringLiteral("1280x1080");
        video.codecId = QStringLiteral("4000000000");
        ActivityTexts::Transcode transcode;
        transcode.video = video;
        ActivityTexts::Consolidate consolidate;
        consolidate.video = video;
        ActionRow row(type);
        QCOMPARE(row.read(type == ActionType::Transcode ? text(transcode) : text(consolidate)), 1U);
        QCOMPARE(row.box("videoProjectType")->currentText(), QStringLiteral("1080p/25"));
        QCOMPARE(row.box("videoColorSpace")->currentText(), QStringLiteral("RGB 709"));
        QCOMPARE(row.box("videoRaster")->currentText(), QStringLiteral("1280x1080"));
        QCOMPARE(row.codec()->currentData().toUInt(), kLargeIdCodec);
        QVERIFY(!row.box("videoRaster")->isEnabledTo(row.box("videoRaster")->parentWidget()));
    }
}

void TestActivitiesRead::unknownColorSpaceLeavesBothAtTheDefaultsWithoutNotice()
{
    openProject(kHdRgb, 1440, 8);
    ActivityTexts::Transcode stored;
    stored.video.projectType = QStringLiteral("Unheard of");
    stored.video.colorSpace = QStringLiteral("Mono");
    stored.video.raster = QStringLiteral("1280x1080");
    ActionRow row(ActionType::Transcode);
    QCOMPARE(row.read(text(stored)), 1U);
    QCOMPARE(row.box("videoColorSpace")->currentText(), QStringLiteral("YCbCr 709"));
    QCOMPARE(row.box("videoRaster")->currentText(), QStringLiteral("1440x1080"));
    stored.video.projectType = QStringLiteral("1080p/25");
    QCOMPARE(row.read(text(stored)), 0U);
}

void TestActivitiesRead::unknownRasterLeavesBothAtTheDefaultsWithoutNotice()
{
    ActivityTexts::Transcode stored;
    stored.video.colorSpace = QStringLiteral("RGB 709");
    stored.video.raster = QStringLiteral("1x1");
    ActionRow row(ActionType::Transcode);
    QCOMPARE(row.read(text(stored)), 0U);
    QCOMPARE(row.box("videoColorSpace")->currentText(), QStringLiteral("YCbCr 709"));
    QCOMPARE(row.box("videoRaster")->currentText(), QStringLiteral("1920x1080"));
}

void TestActivitiesRead::codecsThatMatchNothingSelectTheFirst_data()
{
    QTest::addColumn<QString>("id");
    QTest::newRow("unknown") << QStringLiteral("12345");
    QTest::newRow("beyond 32 bits") << QStringLiteral("4294967398"); // 2^32 + 102
    QTest::newRow("beyond 64 bits") << QStringLiteral("99999999999999999999999");
    QTest::newRow("negative") << QStringLiteral("-294967296"); // as a signed number what the large id is
    QTest::newRow("no number") << QStringLiteral("Large Id");
    QTest::newRow("hexadecimal") << QStringLiteral("0x66");
}

void TestActivitiesRead::codecsThatMatchNothingSelectTheFirst()
{
    QFETCH(QString, id);
    ActivityTexts::Transcode stored;
    stored.video.codecId = id;
    ActionRow row(ActionType::Transcode);
    QCOMPARE(row.read(text(stored)), 0U);
    QCOMPARE(row.codec()->currentData().toUInt(), kFirstCodec);
    ActivityTexts::Consolidate other;
    other.video.codecId = id;
    ActionRow consolidate(ActionType::Consolidate);
    QCOMPARE(consolidate.read(text(other)), 0U);
    QCOMPARE(consolidate.codec()->currentData().toUInt(), kFirstCodec);
}

void TestActivitiesRead::volumesThatAreGoneSelectTheFirst()
{
    ActionRow row(ActionType::Transcode);
    ActivityTexts::Transcode stored;
    stored.videoVolume = QStringLiteral("/gone/");
    stored.audioVolume = QStringLiteral("/media/b/");
    row.read(text(stored));
    QCOMPARE(row.box("filesystemVideoVolume")->currentText(), QStringLiteral("System"));
    QCOMPARE(row.box("filesystemAudioVolume")->currentText(), QStringLiteral("Media B"));
    StandInHost::setNoVolumes();
    row.read(text(stored));
    stored.videoVolume.clear();
    stored.audioVolume.clear();
    KRX_COMPARE_XML(row.written(), text(stored));
}

void TestActivitiesRead::volumesAreTakenFromTheFirstOutputDetail()
{
    for (ActionType type : {ActionType::Transcode, ActionType::Consolidate}) {
        ActionRow row(type);
        row.read(QStringLiteral(
            "<activity><x><outputDetail><filesystemVideoVolume>/media/b/</filesystemVideoVolume>"
            "</outputDetail></x><outputDetail><filesystemVideoVolume>/media/a/</filesystemVideoVolume>"
            "<filesystemAudioVolume>/media/a/</filesystemAudioVolume></outputDetail></activity>"));
        QCOMPARE(row.box("filesystemVideoVolume")->currentText(), QStringLiteral("Media B"));
        QCOMPARE(row.box("filesystemAudioVolume")->currentText(), QStringLiteral("System"));
    }
}

void TestActivitiesRead::readingRefreshesAudioListsAndVolumes_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("transcode") << int(ActionType::Transcode);
    QTest::newRow("consolidate") << int(ActionType::Consolidate);
}

void TestActivitiesRead::readingRefreshesAudioListsAndVolumes()
{
    QFETCH(int, type);
    ActionRow row{ActionType(type)};
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    catalogue.audio.sampleRates = {44100};
    catalogue.audio.sampleSizes = {3};
    catalogue.audio.formats = {6};
    StandInHost::setCatalogue(catalogue);
    StandInHost::setVolumes({{{QStringLiteral("New"), QStringLiteral("/media/new")}}, {}});
    QCOMPARE(row.read(QStringLiteral("<activity/>")), 0U);
    QCOMPARE(texts(row.box("audioSampleRate")), QStringList(QStringLiteral("44.1 kHz")));
    QCOMPARE(texts(row.box("audioSampleWidth")), QStringList(QStringLiteral("24 Bit")));
    QCOMPARE(texts(row.box("audioFormat")), QStringList(QStringLiteral("MP2  (MXF OP1a)")));
    QCOMPARE(texts(row.box("filesystemVideoVolume")), QStringList(QStringLiteral("New")));
    QCOMPARE(texts(row.box("filesystemAudioVolume")), QStringList(QStringLiteral("New")));
}

void TestActivitiesRead::lockedVolumeThatWasStoredStays()
{
    StandInHost::Volume locked{QStringLiteral("Tape"), QStringLiteral("/tape")};
    locked.locked = true;
    StandInHost::setVolumes({{{QStringLiteral("System"), QString(QLatin1Char('/'))}, locked}});
    ActionRow row(ActionType::Transcode);
    ActivityTexts::Transcode stored;
    stored.videoVolume = QStringLiteral("/tape/");
    row.read(text(stored));
    KRX_COMPARE_XML(row.written(), text(stored));
}

void TestActivitiesRead::encodingProfileIsWrittenAsTextAndReadAsNumber()
{
    ActionRow row(ActionType::Transcode);
    const auto selectedAfter = [&row](const char* stored) {
        ActivityTexts::Transcode transcode;
        transcode.video.encodingProfile = QLatin1String(stored);
        row.choose("encodingProfile", QStringLiteral("Draft"));
        row.read(text(transcode));
        return row.box("encodingProfile")->currentText();
    };
    // A profile's display text is no number, so the first one is selected ...
    QCOMPARE(selectedAfter("Final"), QStringLiteral("Draft"));
    // ... and a number selects the profile with that data, not the one with that text.
    QCOMPARE(selectedAfter("8"), QStringLiteral("Final"));
    QCOMPARE(selectedAfter("9"), QStringLiteral("8"));
    QCOMPARE(selectedAfter(""), QStringLiteral("Draft"));
    row.choose("encodingProfile", QStringLiteral("Final"));
    ActivityTexts::Transcode expected;
    expected.video.encodingProfile = QStringLiteral("Final");
    KRX_COMPARE_XML(row.written(), text(expected));
}

void TestActivitiesRead::consolidateNeverChangesTheEncodingProfile()
{
    ActionRow row(ActionType::Consolidate);
    for (const char* stored : {"8", "9", "Final", "Draft", ""}) {
        ActivityTexts::Consolidate consolidate;
        consolidate.video.encodingProfile = QLatin1String(stored);
        row.read(text(consolidate));
        // As the reaction to the codec left it.
        QCOMPARE(row.box("encodingProfile")->currentText(), QStringLiteral("Draft"));
    }
    // Also where no reaction touches the list.
    QObject::disconnect(row.codec(), nullptr, &row.editor, nullptr);
    row.choose("encodingProfile", QStringLiteral("Final"));
    row.read(text(ActivityTexts::Consolidate()));
    QCOMPARE(row.box("encodingProfile")->currentText(), QStringLiteral("Final"));
}

void TestActivitiesRead::displayTextsAreFoundInAnyCase()
{
    ActivityTexts::Transcode stored = fullTranscode();
    stored.video.projectType = QStringLiteral("pal 25I");
    stored.video.colorSpace = QStringLiteral("ycbcr 601");
    stored.video.raster = QStringLiteral("720X576");
    stored.audio.format = QStringLiteral("mp2  (mxf op1a)");
    ActionRow row(ActionType::Transcode);
    QCOMPARE(row.read(text(stored)), 0U);
    KRX_COMPARE_XML(row.written(), text(fullTranscode()));
}

void TestActivitiesRead::unknownAudioValuesSelectTheFirst()
{
    ActivityTexts::Transcode stored;
    stored.audio.rate = QStringLiteral("96000");
    stored.audio.width = QStringLiteral("24 Bit");
    stored.audio.format = QStringLiteral("WAVE  (OMF)");
    ActionRow row(ActionType::Transcode);
    row.read(text(stored));
    QCOMPARE(row.box("audioSampleRate")->currentText(), QStringLiteral("32 kHz"));
    QCOMPARE(row.box("audioSampleWidth")->currentText(), QStringLiteral("16 Bit"));
    QCOMPARE(row.box("audioFormat")->currentText(), QStringLiteral("PCM  (MXF OP1a)"));
}

void TestActivitiesRead::unknownDebayerSelectsFull()
{
    ActionRow row(ActionType::Transcode);
    for (const char* stored : {"7", "", "Quarter", "-5"}) {
        ActivityTexts::Transcode transcode;
        transcode.video.debayer = QLatin1String(stored);
        row.choose("videoDebayerSetting", QStringLiteral("Quarter"));
        row.read(text(transcode));
        QCOMPARE(row.box("videoDebayerSetting")->currentText(), QStringLiteral("Full"));
    }
}

void TestActivitiesRead::readingAgainDoesNotAccumulateItems()
{
    ActionRow row(ActionType::Consolidate);
    QHash<QString, int> counts;
    for (int round = 0; round < 3; ++round) {
        row.read(text(fullConsolidate()));
        for (const QComboBox* box : row.action().widget()->findChildren<QComboBox*>()) {
            QVERIFY2(box->count() > 0, qPrintable(box->objectName()));
            if (round > 0)
                QCOMPARE(box->count(), counts.value(box->objectName()));
            counts.insert(box->objectName(), box->count());
        }
    }
    QCOMPARE(counts.count(), 11);
}

void TestActivitiesRead::descriptorAttributesAreNotRead()
{
    ActivityTexts::Transcode stored;
    stored.video.descriptor = QStringLiteral(" compressionID=\"nonsense\" bitsPerComponent=\"-1\"");
    stored.video.codecName = QStringLiteral("First Codec");
    ActionRow row(ActionType::Transcode);
    row.read(text(stored));
    KRX_COMPARE_XML(row.written(), text(ActivityTexts::Transcode()));
}

void TestActivitiesRead::readingAsksForTheCodecsOnce()
{
    for (ActionType type : {ActionType::Transcode, ActionType::Consolidate}) {
        ActionRow row(type);
        QSignalSpy refills(row.codec(), &CodecBox::updateRezList);
        row.read(type == ActionType::Transcode ? text(fullTranscode()) : text(fullConsolidate()));
        QCOMPARE(refills.count(), 1);
        row.read(QStringLiteral("<activity/>"));
        QCOMPARE(refills.count(), 2);
    }
}

void TestActivitiesRead::projectTypeOfAnotherProjectInACustomProjectReports1()
{
    openCustomProject(501);
    ActionRow row(ActionType::Transcode);
    QCOMPARE(row.read(text(fullTranscode())), 1U);
    QCOMPARE(row.box("videoProjectType")->currentText(), QStringLiteral("2K 25"));
    ActivityTexts::Transcode stored;
    stored.video.projectType = QStringLiteral("Square 24");
    stored.video.raster = QStringLiteral("1080x1080");
    QCOMPARE(row.read(text(stored)), 0U);
    KRX_COMPARE_XML(row.written(), text(stored));
}

void TestActivitiesRead::noticeTexts()
{
    QCOMPARE(noticeText(1),
             QStringLiteral(
                 "This profile was created in a different project type.The following transcode options "
                 "have been reset to their defaults: Project Type, Codec.Only newly saved profiles will "
                 "have this change.\n"));
    for (unsigned other : {0U, 2U, 3U, 4294967295U})
        QCOMPARE(noticeText(other), QString());
    StandInHost::setTranslator([](const QString& key) { return QString::number(key.length()); });
    QCOMPARE(noticeText(1), QStringLiteral("189"));
}

QTEST_MAIN(TestActivitiesRead)
#include "test_activities_read.moc"
