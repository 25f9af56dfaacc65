#include "ActionRow.h"
#include "ActivityTexts.h"
#include "AudioOptions.h"
#include "CompressionXml.h"
#include "ConsolidateAction.h"
#include "CopyMoveAction.h"
#include "CopyToPathWidget.h"
#include "DestinationDrives.h"
#include "KRXTest.h"
#include "SelectDriveButton.h"
#include "TranscodeAction.h"

#include <QDomElement>

using namespace ActionsWorld;

namespace {

const bool kBoth[] = {false, true};

QString boolText(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

/// A codec that the editor offers and what is to be written of it.
struct CodecCase
{
    const char* shown;
    ActivityTexts::Video written;
};

ActivityTexts::Video video(const char* id, const char* name, const char* descriptor)
{
    ActivityTexts::Video result;
    result.codecId = QLatin1String(id);
    result.codecName = QLatin1String(name);
    result.descriptor = QLatin1String(descriptor);
    return result;
}

QList<CodecCase> codecCases()
{
    ActivityTexts::Video foreign = video("999", "Foreign", "");
    // The editor has no encoding profiles for what nobody knows.
    foreign.encodingProfile.clear();
    return {
        {"First Codec",
         video("101", "First Codec",
               " compressionID=\"0123abcd-0001-00ef-06-0e-2b-34-01-02-03-04\" bitsPerComponent=\"10\""
               " horizontalSubsampling=\"2\" verticalSubsampling=\"1\" maxBitrate=\"18446744073709551615\""
               " avgBitrate=\"220000000\" pictureItemPattern=\"255\"")},
        {"Default <Codec> & \"more\"", ActivityTexts::Video()},
        {"Zero",
         video("103", "Zero",
               " compressionID=\"00000000-0000-0000-00-00-00-00-00-00-00-00\" bitsPerComponent=\"0\""
               " horizontalSubsampling=\"1\" verticalSubsampling=\"1\" maxBitrate=\"0\" avgBitrate=\"0\""
               " pictureItemPattern=\"0\"")},
        {"Large Id",
         video("4000000000", "Large Id",
               " compressionID=\"00000001-0002-0003-04-05-06-07-08-09-0a-0b\" bitsPerComponent=\"0\""
               " horizontalSubsampling=\"1\" verticalSubsampling=\"1\" maxBitrate=\"0\" avgBitrate=\"0\""
               " pictureItemPattern=\"0\"")},
        {"Foreign", foreign},
    };
}

/// Every combination with one codec; with the others only none and all, because what a codec changes does not
/// depend on the rest.
int stepOf(const CodecCase& codec, int count)
{
    return codec.written.codecId == QLatin1String("102") ? 1 : count - 1;
}

/// Sets the three audio conversions as three bits, with targets that are not the project's.
ActivityTexts::Audio setAudio(ActionRow& row, int bits)
{
    ActivityTexts::Audio audio;
    const struct
    {
        const char* check;
        QString* enabled;
    } conversions[] = {{"convertAudioSampleRate", &audio.rateEnabled},
                       {"convertAudioBitDepth", &audio.widthEnabled},
                       {"convertAudioFormat", &audio.formatEnabled}};
    for (int bit = 0; bit < 3; ++bit) {
        const bool on = (bits >> bit) & 1;
        row.check(conversions[bit].check)->setChecked(on);
        *conversions[bit].enabled = boolText(on);
    }
    row.choose("audioSampleRate", QStringLiteral("44.1 kHz"));
    row.choose("audioSampleWidth", QStringLiteral("16 Bit"));
    row.choose("audioFormat", QStringLiteral("MP2  (MXF OP1a)"));
    audio.rate = QStringLiteral("44100");
    audio.width = QStringLiteral("16");
    audio.format = QStringLiteral("MP2  (MXF OP1a)");
    return audio;
}

void setOneDrive(ActionRow& row, bool one)
{
    auto* drives = row.action().widget()->findChild<DestinationDrives*>();
    drives->selectDriveButton()->setState(one ? ArrowButton::Closed : ArrowButton::Open);
    drives->updateDrivesVisibility();
}

} // namespace

class TestActivitiesWritten : public QObject
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void typesAndIds();
    void newCopyIsWrittenWhole();
    void copyIsWrittenWholeInEveryState();
    void copyKeepsOddPaths_data();
    void copyKeepsOddPaths();
    void copyWithNumber0IsNamedCopy0();
    void copyNameIsLocalised();
    void newTranscodeIsWrittenWhole();
    void transcodeIsWrittenWholeInEveryState();
    void transcodeWithNumber0IsNamedWithATrailingBlank();
    void transcodeNameIsNotLocalised();
    void transcodeOfAnSdProjectIsWrittenWhole();
    void transcodeOfACustomProjectIsWrittenWhole();
    void newConsolidateIsWrittenWhole();
    void consolidateIsWrittenWholeInEveryState();
    void consolidateIsNeverNumberedNorLocalised();
    void otherCreationTypeWritesAnEmptyAudioFormat();
    void withoutVolumesEmptyTextsAreWritten();
    void withoutCodecsTheIdIs0AndTheNameEmpty();
    void chromaSamplingCodes_data();
    void chromaSamplingCodes();
    void uidOfZerosKeepsItsForm();
    void debayerIsWrittenAsItsCode();
};

void TestActivitiesWritten::typesAndIds()
{
    QCOMPARE(int(actionTypeFromId(QStringLiteral("copy"))), 0);
    QCOMPARE(int(actionTypeFromId(QStringLiteral("consolidate"))), 1);
    QCOMPARE(int(actionTypeFromId(QStringLiteral("transcode"))), 2);
    for (const char* other : {"", "Copy", "copy ", "move", "CONSOLIDATE"})
        QCOMPARE(int(actionTypeFromId(QLatin1String(other))), 3);
    QCOMPARE(CopyMoveAction(4).getType(), ActionType::Copy);
    QCOMPARE(ConsolidateAction(5).getType(), ActionType::Consolidate);
    QCOMPARE(TranscodeAction(6).getType(), ActionType::Transcode);
    QCOMPARE(CopyMoveAction(4).number(), 4);
    QCOMPARE(ConsolidateAction(5).number(), 5);
    QCOMPARE(TranscodeAction(6).number(), 6);
    QCOMPARE(TranscodeAction(6).widget(), nullptr);
    QCOMPARE(activityId(ActionType::Unknown), QString());
    QCOMPARE(actionTypeName(ActionType::Unknown), QString());
}

void TestActivitiesWritten::newCopyIsWrittenWhole()
{
    ActionRow row(ActionType::Copy);
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(ActivityTexts::Copy()));
}

void TestActivitiesWritten::copyIsWrittenWholeInEveryState()
{
    ActionRow row(ActionType::Copy, 12);
    for (bool relink : kBoth) {
        for (bool checkIn : kBoth) {
            row.check("relinkAfterCopy")->setChecked(relink);
            row.check("autoCheckin")->setChecked(checkIn);
            row.option<CopyToPathWidget>("filesystemPath")->setPath(QStringLiteral("/media/a"));
            ActivityTexts::Copy expected;
            expected.name = QStringLiteral("Copy 12");
            expected.path = QStringLiteral("/media/a");
            expected.relink = boolText(relink);
            expected.checkIn = boolText(checkIn);
            KRX_COMPARE_XML(row.written(), ActivityTexts::text(expected));
        }
    }
}

void TestActivitiesWritten::copyKeepsOddPaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("blanks") << QStringLiteral("  /leading and trailing  ");
    QTest::newRow("markup") << QStringLiteral("/a<b>&amp;\"'/]]>");
    QTest::newRow("placeholders") << QStringLiteral("/%1/%2/100%");
    QTest::newRow("right to left") << QString::fromUtf8("/\xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d/\xe2\x80\xaex");
    QTest::newRow("emoji") << QString::fromUtf8(
        "/\xf0\x9f\x8e\xac/\xf0\x9f\x91\xa9\xe2\x80\x8d\xf0\x9f\x92\xbb");
    QTest::newRow("line feed and tab") << QStringLiteral("/a\nb\tc");
    QTest::newRow("carriage return") << QStringLiteral("/a\rb\r\nc");
    QTest::newRow("backslash") << QStringLiteral("\\\\server\\share\\x");
    QTest::newRow("4 KB") << QString(4096, QLatin1Char('p'));
}

void TestActivitiesWritten::copyKeepsOddPaths()
{
    QFETCH(QString, path);
    ActionRow row(ActionType::Copy);
    row.option<CopyToPathWidget>("filesystemPath")->setPath(path);
    QString error;
    QVERIFY(row.action().validate(error));
    const QString written = row.written();
    ActionRow other(ActionType::Copy);
    QCOMPARE(other.read(written), 0U);
    QCOMPARE(other.option<CopyToPathWidget>("filesystemPath")->path(), path);
}

void TestActivitiesWritten::copyWithNumber0IsNamedCopy0()
{
    ActionRow row(ActionType::Copy, 0);
    ActivityTexts::Copy expected;
    expected.name = QStringLiteral("Copy 0");
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(expected));
}

void TestActivitiesWritten::copyNameIsLocalised()
{
    StandInHost::setTranslator([](const QString& key) {
        return key == QLatin1String("Copy %1") ? QStringLiteral("Kopie Nr. %1") : key;
    });
    ActionRow row(ActionType::Copy, 3);
    ActivityTexts::Copy expected;
    expected.name = QStringLiteral("Kopie Nr. 3");
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(expected));
}

void TestActivitiesWritten::newTranscodeIsWrittenWhole()
{
    ActionRow row(ActionType::Transcode);
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(ActivityTexts::Transcode()));
}

void TestActivitiesWritten::transcodeIsWrittenWholeInEveryState()
{
    ActionRow row(ActionType::Transcode, 7);
    row.choose("filesystemVideoVolume", QStringLiteral("Media A"));
    row.choose("filesystemAudioVolume", QStringLiteral("Media B"));
    for (const CodecCase& codec : codecCases()) {
        for (int bits = 0; bits < 64; bits += stepOf(codec, 64)) {
            ActivityTexts::Transcode expected;
            expected.name = QStringLiteral("Transcode 7");
            expected.video = codec.written;
            row.choose("videoCompressionType", QString::fromLatin1(codec.shown));
            const bool reformat = bits & 1;
            const bool colorTransform = bits & 2;
            const bool oneDrive = bits & 4;
            row.check("videoIncludeReformattedContent")->setChecked(reformat);
            row.check("applyColorTransformations")->setChecked(colorTransform);
            setOneDrive(row, oneDrive);
            expected.video.reformat = boolText(reformat);
            expected.video.colorTransform = boolText(colorTransform);
            expected.videoVolume = QStringLiteral("/media/a/");
            expected.audioVolume = oneDrive ? QStringLiteral("/media/a/") : QStringLiteral("/media/b/");
            expected.audio = setAudio(row, bits >> 3);
            KRX_COMPARE_XML(row.written(), ActivityTexts::text(expected));
        }
    }
}

void TestActivitiesWritten::transcodeWithNumber0IsNamedWithATrailingBlank()
{
    ActionRow row(ActionType::Transcode, 0);
    ActivityTexts::Transcode expected;
    expected.name = QStringLiteral("Transcode ");
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(expected));
}

void TestActivitiesWritten::transcodeNameIsNotLocalised()
{
    ActionRow row(ActionType::Transcode, 2);
    StandInHost::setTranslator([](const QString& key) -> QString { return QLatin1Char('X') + key; });
    ActivityTexts::Transcode expected;
    expected.name = QStringLiteral("Transcode 2");
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(expected));
}

void TestActivitiesWritten::transcodeOfAnSdProjectIsWrittenWhole()
{
    openProject(kPal, 720, 4);
    ActionRow row(ActionType::Transcode);
    ActivityTexts::Transcode expected;
    expected.video.projectType = QStringLiteral("PAL 25i");
    expected.video.colorSpace = QStringLiteral("YCbCr 601");
    expected.video.raster = QStringLiteral("720x576");
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(expected));
}

void TestActivitiesWritten::transcodeOfACustomProjectIsWrittenWhole()
{
    openCustomProject(501);
    ActionRow row(ActionType::Transcode);
    row.choose("videoColorSpace", QStringLiteral("YCbCr 709"));
    row.choose("videoCompressionType", QStringLiteral("Default <Codec> & \"more\""));
    ActivityTexts::Transcode expected;
    expected.video.projectType = QStringLiteral("2K 25");
    expected.video.raster = QStringLiteral("2048x1080");
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(expected));
}

void TestActivitiesWritten::newConsolidateIsWrittenWhole()
{
    ActionRow row(ActionType::Consolidate);
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(ActivityTexts::Consolidate()));
}

void TestActivitiesWritten::consolidateIsWrittenWholeInEveryState()
{
    ActionRow row(ActionType::Consolidate);
    row.choose("filesystemVideoVolume", QStringLiteral("Media B"));
    row.choose("filesystemAudioVolume", QStringLiteral("Media A"));
    for (const CodecCase& codec : codecCases()) {
        for (int bits = 0; bits < 512; bits += stepOf(codec, 512)) {
            ActivityTexts::Consolidate expected;
            expected.video = codec.written;
            row.choose("videoCompressionType", QString::fromLatin1(codec.shown));
            const struct
            {
                const char* check;
                QString* text;
            } checks[] = {{"videoSkipOnTarget", &expected.skip},
                          {"videoRelinkSkippedToTarget", &expected.relinkSkipped},
                          {"performTranscodeIfConsolidateFails", &expected.fallback},
                          {"videoIncludeReformattedContent", &expected.video.reformat},
                          {"applyColorTransformations", &expected.video.colorTransform}};
            int left = bits;
            for (const auto& check : checks) {
                row.check(check.check)->setChecked(left & 1);
                *check.text = boolText(left & 1);
                left >>= 1;
            }
            const bool oneDrive = left & 1;
            setOneDrive(row, oneDrive);
            expected.videoVolume = QStringLiteral("/media/b/");
            expected.audioVolume = oneDrive ? QStringLiteral("/media/b/") : QStringLiteral("/media/a/");
            expected.audio = setAudio(row, left >> 1);
            KRX_COMPARE_XML(row.written(), ActivityTexts::text(expected));
        }
    }
}

void TestActivitiesWritten::consolidateIsNeverNumberedNorLocalised()
{
    ActionRow row(ActionType::Consolidate, 5);
    StandInHost::setTranslator([](const QString& key) -> QString { return QLatin1Char('X') + key; });
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(ActivityTexts::Consolidate()));
}

void TestActivitiesWritten::otherCreationTypeWritesAnEmptyAudioFormat()
{
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    catalogue.audio.creationType = 0;
    StandInHost::setCatalogue(catalogue);
    ActionRow row(ActionType::Transcode);
    QCOMPARE(row.box("audioFormat")->count(), 0);
    ActivityTexts::Transcode expected;
    expected.audio.format.clear();
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(expected));
}

void TestActivitiesWritten::withoutVolumesEmptyTextsAreWritten()
{
    StandInHost::setNoVolumes();
    ActionRow row(ActionType::Consolidate);
    ActivityTexts::Consolidate expected;
    expected.videoVolume.clear();
    expected.audioVolume.clear();
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(expected));
}

void TestActivitiesWritten::withoutCodecsTheIdIs0AndTheNameEmpty()
{
    // Nobody fills the list outside of an editor.
    TranscodeAction action(1);
    const std::unique_ptr<QWidget> body(action.createWidget());
    action.setDefaults();
    ActivityTexts::Transcode expected;
    expected.video = video("0", "", "");
    expected.video.encodingProfile.clear();
    KRX_COMPARE_XML(written(action), ActivityTexts::text(expected));
}

void TestActivitiesWritten::chromaSamplingCodes_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("horizontal");
    QTest::addColumn<QString>("vertical");
    const auto row = [](int code, const char* horizontal, const char* vertical) {
        QTest::addRow("%d", code) << code << QString::fromLatin1(horizontal) << QString::fromLatin1(vertical);
    };
    row(0, "1", "1");
    row(1, "4", "1");
    row(2, "2", "2");
    row(3, "2", "1");
    row(4, "1", "1");
    row(-1, "1", "1");
    row(1000, "1", "1");
}

void TestActivitiesWritten::chromaSamplingCodes()
{
    QFETCH(int, code);
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    catalogue.compressions[0].descriptor.chromaSampling = code;
    StandInHost::setCatalogue(catalogue);
    QDomDocument doc;
    QDomElement element = doc.createElement(QStringLiteral("x"));
    CompressionXml::writeDescriptor(element, kFirstCodec);
    QTEST(element.attribute(QStringLiteral("horizontalSubsampling")), "horizontal");
    QTEST(element.attribute(QStringLiteral("verticalSubsampling")), "vertical");
    QCOMPARE(element.attributes().count(), 7);
}

void TestActivitiesWritten::uidOfZerosKeepsItsForm()
{
    QCOMPARE(CompressionXml::uidText({}), QStringLiteral("00000000-0000-0000-00-00-00-00-00-00-00-00"));
    QCOMPARE(CompressionXml::uidText({0x0123abcd, 0x0001, 0x00ef, {0x06, 0x0e, 0x2b, 0x34, 1, 2, 3, 4}}),
             QStringLiteral("0123abcd-0001-00ef-06-0e-2b-34-01-02-03-04"));
}

void TestActivitiesWritten::debayerIsWrittenAsItsCode()
{
    ActionRow row(ActionType::Transcode);
    ActivityTexts::Transcode expected;
    row.choose("videoDebayerSetting", QStringLiteral("Half (Good Quality)"));
    expected.video.debayer = QStringLiteral("10");
    KRX_COMPARE_XML(row.written(), ActivityTexts::text(expected));
}

QTEST_MAIN(TestActivitiesWritten)
#include "test_activities_written.moc"
