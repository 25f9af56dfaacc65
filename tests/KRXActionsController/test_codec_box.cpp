#include "ActionsWorld.h"
#include "CodecBox.h"
#include "KRXTest.h"

#include <QSignalSpy>

#include <memory>

using namespace ActionsWorld;

namespace {

/// A codec box with its companions, as an action builds them.
struct Boxes
{
    QWidget owner;
    QComboBox* projectType = new QComboBox(&owner);
    QComboBox* raster = new QComboBox(&owner);
    QComboBox* colorSpace = new QComboBox(&owner);
    CodecBox* codec = new CodecBox(projectType, raster, colorSpace, &owner);
    QSignalSpy refills{codec, &CodecBox::updateRezList};
};

QStringList ints(const QList<int>& numbers)
{
    QStringList result;
    for (int number : numbers)
        result.append(QString::number(number));
    return result;
}

} // namespace

class TestCodecBox : public QObject
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void namesOfColorSpaces();
    void namesOfColorSpacesAreLocalised();
    void debayerListHasSixSettingsInOrder();
    void newBoxHasItsCompanionsAndEmptyLists();
    void sdProjectTypeOffersOnlyYCbCr601AndDisablesRaster();
    void hdProjectTypeThatAllowsRgbOffersYCbCr709ThenRgb709();
    void hdProjectTypeWithoutRgbOffersOnlyYCbCr709();
    void projectTypeWithoutVideoOffersNoColorSpace();
    void choosingRgbDisablesRasterAndAsksForCodecs();
    void changingTheProjectTypeAsksForCodecsOnce();
    void changingTheProjectTypeSelectsFirstRasterAndColorSpace();
    void changingTheRasterAsksForCodecsOnce();
    void encodingProfileChangedHasNoEffect();
    void choosingACodecIsAnnouncedWithTheBox();
    void defaultsSelectTheProjectsOwnSettings();
    void defaultsAskForCodecsExactlyOnce();
    void defaultsLeaveSelectionOfSettingsThatAreNotOffered();
    void defaultsFindTheProjectTypeInAnyCase();
    void defaultsCalledAgainDoNotAccumulateItems();
    void projectTypesThatAreNotInstalledAreLeftOut();
    void atMost37ProjectTypesAreAskedFor();
    void atMost19RastersAreAskedFor();
    void rasterWidthsThatComeTwiceAreListedOnce();
    void rasterOptionIsOneWithoutProjectUtilities();
    void unknownProjectLeavesAllListsEmpty();
    void customFormatsOfRates30_48_60And48000AreNotOffered();
    void customProjectSelectsItsTargetFormat();
    void customProjectTakesColorSpacesInFixedOrder();
    void customProjectWithUnknownTargetLeavesListsEmpty();
    void customFormatOfProjectType26KeepsRasterEnabled();
    void customFormatWithoutHdDisablesRaster();
    void changingTheCustomFormatRefillsByItsText();
    void changingTheCustomFormatChoosesTheProjectsColorSpaceAgain();
    void anotherProjectTypeEnablesRasterAndColorSpaceAnew();
    void rgbIsOfferedWhereItIsValidAndChosenWhereItIsSupported();
    void standardDefinitionComesBeforeHighDefinition();
    void colorSpaceIsDisabledWhereRgbCannotBeEncoded();
    void showingTheBoxUpdatesEnabledStates();
    void heldRefillsAreAskedForOnce();
    void holdWithoutChangesAsksForNothing();
};

void TestCodecBox::namesOfColorSpaces()
{
    QCOMPARE(colorSpaceName(1), QStringLiteral("Mono"));
    QCOMPARE(colorSpaceName(2), QStringLiteral("RGB 709"));
    QCOMPARE(colorSpaceName(4), QStringLiteral("YCbCr 601"));
    QCOMPARE(colorSpaceName(8), QStringLiteral("YCbCr 709"));
    for (int other : {0, 3, 5, 16, -1})
        QCOMPARE(colorSpaceName(other), QStringLiteral("Unknown"));
}

void TestCodecBox::namesOfColorSpacesAreLocalised()
{
    StandInHost::setTranslator(
        [](const QString& key) -> QString { return QLatin1Char('[') + key + QLatin1Char(']'); });
    QCOMPARE(colorSpaceName(8), QStringLiteral("[YCbCr 709]"));
    QCOMPARE(debayerName(20), QStringLiteral("[Quarter]"));
}

void TestCodecBox::debayerListHasSixSettingsInOrder()
{
    QComboBox box;
    box.addItem(QStringLiteral("from before"));
    fillDebayerList(&box);
    const QStringList names = {QStringLiteral("Full"),
                               QStringLiteral("Half (Better Quality)"),
                               QStringLiteral("Half (Good Quality)"),
                               QStringLiteral("Quarter"),
                               QStringLiteral("Eighth"),
                               QStringLiteral("Sixteenth")};
    QCOMPARE(texts(&box), names);
    QCOMPARE(data(&box), ints({0, 5, 10, 20, 30, 40}));
    QCOMPARE(debayerName(15), QString());
}

void TestCodecBox::newBoxHasItsCompanionsAndEmptyLists()
{
    Boxes boxes;
    QCOMPARE(boxes.codec->getProjectTypeBox(), boxes.projectType);
    QCOMPARE(boxes.codec->getRasterBox(), boxes.raster);
    QCOMPARE(boxes.codec->getColorSpaceBox(), boxes.colorSpace);
    QVERIFY(boxes.codec->getEncodingProfileBox());
    QCOMPARE(boxes.codec->getEncodingProfileBox()->parentWidget(), boxes.codec);
    for (const QComboBox* box : {boxes.projectType, boxes.raster, boxes.colorSpace,
                                 static_cast<QComboBox*>(boxes.codec), boxes.codec->getEncodingProfileBox()})
        QCOMPARE(box->count(), 0);
}

void TestCodecBox::sdProjectTypeOffersOnlyYCbCr601AndDisablesRaster()
{
    openProject(kPal, 720, 4);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(texts(boxes.colorSpace), QStringList(QStringLiteral("YCbCr 601")));
    QCOMPARE(data(boxes.colorSpace), ints({4}));
    QCOMPARE(texts(boxes.raster), QStringList(QStringLiteral("720x576")));
    QVERIFY(!boxes.raster->isEnabled());
    QVERIFY(!boxes.colorSpace->isEnabled());
}

void TestCodecBox::hdProjectTypeThatAllowsRgbOffersYCbCr709ThenRgb709()
{
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(texts(boxes.colorSpace), QStringList({QStringLiteral("YCbCr 709"), QStringLiteral("RGB 709")}));
    QCOMPARE(data(boxes.colorSpace), ints({8, 2}));
    QVERIFY(boxes.raster->isEnabled());
    QVERIFY(boxes.colorSpace->isEnabled());
}

void TestCodecBox::hdProjectTypeWithoutRgbOffersOnlyYCbCr709()
{
    openProject(kHd);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(data(boxes.colorSpace), ints({8}));
    QVERIFY(boxes.raster->isEnabled());
    QVERIFY(!boxes.colorSpace->isEnabled());
}

void TestCodecBox::projectTypeWithoutVideoOffersNoColorSpace()
{
    openProject(kSoundOnly);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.colorSpace->count(), 0);
    QCOMPARE(boxes.raster->count(), 0);
    QVERIFY(!boxes.raster->isEnabled());
}

void TestCodecBox::choosingRgbDisablesRasterAndAsksForCodecs()
{
    Boxes boxes;
    boxes.codec->setupDefaults();
    boxes.refills.clear();
    boxes.colorSpace->setCurrentIndex(1);
    QVERIFY(!boxes.raster->isEnabled());
    QCOMPARE(boxes.refills.count(), 1);
    QCOMPARE(boxes.refills.first().first().value<CodecBox*>(), boxes.codec);
    boxes.colorSpace->setCurrentIndex(0);
    QVERIFY(boxes.raster->isEnabled());
    QCOMPARE(boxes.refills.count(), 2);
}

void TestCodecBox::changingTheProjectTypeAsksForCodecsOnce()
{
    Boxes boxes;
    boxes.codec->setupDefaults();
    boxes.refills.clear();
    boxes.projectType->setCurrentIndex(boxes.projectType->findText(QStringLiteral("PAL 25i")));
    QCOMPARE(boxes.refills.count(), 1);
    QCOMPARE(data(boxes.colorSpace), ints({4}));
    QCOMPARE(texts(boxes.raster), QStringList(QStringLiteral("720x576")));
}

void TestCodecBox::changingTheProjectTypeSelectsFirstRasterAndColorSpace()
{
    openProject(kHdRgb, 1280, 2);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.raster->currentText(), QStringLiteral("1280x1080"));
    boxes.projectType->setCurrentIndex(boxes.projectType->findText(QStringLiteral("PAL 25i")));
    boxes.projectType->setCurrentIndex(boxes.projectType->findText(QStringLiteral("1080p/25")));
    QCOMPARE(boxes.raster->currentText(), QStringLiteral("1920x1080"));
    QCOMPARE(boxes.colorSpace->currentText(), QStringLiteral("YCbCr 709"));
}

void TestCodecBox::changingTheRasterAsksForCodecsOnce()
{
    Boxes boxes;
    boxes.codec->setupDefaults();
    boxes.refills.clear();
    boxes.raster->setCurrentIndex(1);
    QCOMPARE(boxes.refills.count(), 1);
    QCOMPARE(boxes.projectType->currentText(), QStringLiteral("1080p/25"));
}

void TestCodecBox::encodingProfileChangedHasNoEffect()
{
    Boxes boxes;
    boxes.codec->setupDefaults();
    boxes.refills.clear();
    QSignalSpy codecs(boxes.codec, &CodecBox::codecChanged);
    QComboBox* profiles = boxes.codec->getEncodingProfileBox();
    profiles->addItems({QStringLiteral("a"), QStringLiteral("b")});
    profiles->setCurrentIndex(1);
    boxes.codec->encodingProfileChanged();
    QCOMPARE(boxes.refills.count(), 0);
    QCOMPARE(codecs.count(), 0);
    QCOMPARE(profiles->currentText(), QStringLiteral("b"));
}

void TestCodecBox::choosingACodecIsAnnouncedWithTheBox()
{
    Boxes boxes;
    boxes.codec->addItems({QStringLiteral("a"), QStringLiteral("b")});
    QSignalSpy codecs(boxes.codec, &CodecBox::codecChanged);
    boxes.codec->setCurrentIndex(1);
    QCOMPARE(codecs.count(), 1);
    QCOMPARE(codecs.first().first().value<CodecBox*>(), boxes.codec);
    QCOMPARE(boxes.refills.count(), 0);
}

void TestCodecBox::defaultsSelectTheProjectsOwnSettings()
{
    openProject(kHdRgb, 1440, 2);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.projectType->currentText(), QStringLiteral("1080p/25"));
    QCOMPARE(boxes.projectType->currentData().toInt(), kHdRgb);
    QCOMPARE(boxes.raster->currentText(), QStringLiteral("1440x1080"));
    QCOMPARE(boxes.raster->currentData().toInt(), 1440);
    QCOMPARE(boxes.colorSpace->currentText(), QStringLiteral("RGB 709"));
    QVERIFY(!boxes.raster->isEnabled());
}

void TestCodecBox::defaultsAskForCodecsExactlyOnce()
{
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.refills.count(), 1);
    QCOMPARE(boxes.refills.first().first().value<CodecBox*>(), boxes.codec);
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.refills.count(), 2);
}

void TestCodecBox::defaultsLeaveSelectionOfSettingsThatAreNotOffered()
{
    openProject(kHdNotInstalled, 1234, 1);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.projectType->currentText(), QStringLiteral("PAL 25i"));
    QCOMPARE(texts(boxes.raster), QStringList(QStringLiteral("3840x2160")));
    QCOMPARE(boxes.raster->currentIndex(), 0);
    QCOMPARE(boxes.colorSpace->currentIndex(), 0);
}

void TestCodecBox::defaultsFindTheProjectTypeInAnyCase()
{
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    catalogue.projectTypes[4].name = QStringLiteral("SOUND");
    catalogue.projectTypes[2].name = QStringLiteral("sound");
    StandInHost::setCatalogue(catalogue);
    openProject(kSoundOnly);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.projectType->currentText(), QStringLiteral("sound"));
}

void TestCodecBox::defaultsCalledAgainDoNotAccumulateItems()
{
    Boxes boxes;
    boxes.codec->setupDefaults();
    const int projectTypes = boxes.projectType->count();
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.projectType->count(), projectTypes);
    QCOMPARE(boxes.raster->count(), 3);
    QCOMPARE(boxes.colorSpace->count(), 2);
}

void TestCodecBox::projectTypesThatAreNotInstalledAreLeftOut()
{
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(texts(boxes.projectType), QStringList({QStringLiteral("PAL 25i"), QStringLiteral("1080p/25"),
                                                    QStringLiteral("1080i/50"), QStringLiteral("Sound")}));
    QCOMPARE(data(boxes.projectType), ints({kPal, kHdRgb, kHd, kSoundOnly}));
}

void TestCodecBox::atMost37ProjectTypesAreAskedFor()
{
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    QList<int> many;
    for (int index = 0; index < 50; ++index)
        many.append(index % 2 ? kPal : kHd);
    for (StandInHost::ProjectType& type : catalogue.projectTypes)
        type.compatible = many;
    StandInHost::setCatalogue(catalogue);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.projectType->count(), 37);
}

void TestCodecBox::atMost19RastersAreAskedFor()
{
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    QList<int> many;
    for (int width = 1000; width < 1040; ++width)
        many.append(width);
    catalogue.projectTypes[1].rasters = {{1, many}};
    StandInHost::setCatalogue(catalogue);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.raster->count(), 19);
}

void TestCodecBox::rasterWidthsThatComeTwiceAreListedOnce()
{
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(texts(boxes.raster), QStringList({QStringLiteral("1920x1080"), QStringLiteral("1440x1080"),
                                               QStringLiteral("1280x1080")}));
    QCOMPARE(data(boxes.raster), ints({1920, 1440, 1280}));
    QVERIFY(!boxes.raster->duplicatesEnabled());
}

void TestCodecBox::rasterOptionIsOneWithoutProjectUtilities()
{
    StandInHost::Project project = StandInHost::project();
    project.rasterOption = 2;
    StandInHost::setProject(project);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(data(boxes.raster), ints({960}));
    project.projectUtilities = false;
    StandInHost::setProject(project);
    boxes.codec->setupDefaults();
    QCOMPARE(data(boxes.raster), ints({1920, 1440, 1280}));
}

void TestCodecBox::unknownProjectLeavesAllListsEmpty()
{
    openProject(77);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.projectType->count(), 0);
    QCOMPARE(boxes.raster->count(), 0);
    QCOMPARE(boxes.colorSpace->count(), 0);
    QCOMPARE(boxes.refills.count(), 1);
}

void TestCodecBox::customFormatsOfRates30_48_60And48000AreNotOffered()
{
    openCustomProject(501);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(texts(boxes.projectType),
             QStringList({QStringLiteral("2K 25"), QStringLiteral("Small 25"), QStringLiteral("Square 24")}));
    QCOMPARE(data(boxes.projectType), ints({501, 507, 508}));
}

void TestCodecBox::customProjectSelectsItsTargetFormat()
{
    openCustomProject(508);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.projectType->currentText(), QStringLiteral("Square 24"));
    QCOMPARE(texts(boxes.raster), QStringList(QStringLiteral("1080x1080")));
    QCOMPARE(data(boxes.raster), ints({1080}));
}

void TestCodecBox::customProjectTakesColorSpacesInFixedOrder()
{
    openCustomProject(501);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(data(boxes.colorSpace), ints({1, 2, 8}));
    QCOMPARE(boxes.colorSpace->currentText(), QStringLiteral("RGB 709"));
    QVERIFY(!boxes.raster->isEnabled());
    QVERIFY(boxes.colorSpace->isEnabled());
}

void TestCodecBox::customProjectWithUnknownTargetLeavesListsEmpty()
{
    openCustomProject(4711);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(boxes.projectType->count(), 0);
    QCOMPARE(boxes.raster->count(), 0);
    QCOMPARE(boxes.colorSpace->count(), 0);
}

void TestCodecBox::customFormatOfProjectType26KeepsRasterEnabled()
{
    openCustomProject(508);
    Boxes boxes;
    boxes.codec->setupDefaults();
    boxes.colorSpace->setCurrentIndex(boxes.colorSpace->findText(QStringLiteral("YCbCr 709")));
    QVERIFY(boxes.raster->isEnabled());
    boxes.colorSpace->setCurrentIndex(boxes.colorSpace->findText(QStringLiteral("RGB 709")));
    QVERIFY(!boxes.raster->isEnabled());
}

void TestCodecBox::customFormatWithoutHdDisablesRaster()
{
    openCustomProject(507);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(data(boxes.colorSpace), ints({4}));
    QVERIFY(!boxes.raster->isEnabled());
    QVERIFY(!boxes.colorSpace->isEnabled());
}

void TestCodecBox::changingTheCustomFormatRefillsByItsText()
{
    openCustomProject(501);
    Boxes boxes;
    boxes.codec->setupDefaults();
    boxes.refills.clear();
    boxes.projectType->setCurrentIndex(1);
    QCOMPARE(boxes.refills.count(), 1);
    QCOMPARE(texts(boxes.raster), QStringList(QStringLiteral("720x576")));
    QCOMPARE(data(boxes.colorSpace), ints({4}));
}

void TestCodecBox::changingTheCustomFormatChoosesTheProjectsColorSpaceAgain()
{
    // The project is in RGB, which is the second of the spaces of either format.
    openCustomProject(501);
    Boxes boxes;
    boxes.codec->setupDefaults();
    boxes.colorSpace->setCurrentIndex(0);
    boxes.projectType->setCurrentIndex(boxes.projectType->findText(QStringLiteral("Square 24")));
    QCOMPARE(data(boxes.colorSpace), ints({2, 8}));
    QCOMPARE(boxes.colorSpace->currentData().toInt(), 2);
    boxes.colorSpace->setCurrentIndex(1);
    boxes.projectType->setCurrentIndex(boxes.projectType->findText(QStringLiteral("2K 25")));
    QCOMPARE(data(boxes.colorSpace), ints({1, 2, 8}));
    QCOMPARE(boxes.colorSpace->currentData().toInt(), 2);
}

void TestCodecBox::anotherProjectTypeEnablesRasterAndColorSpaceAnew()
{
    Boxes boxes;
    boxes.codec->setupDefaults();
    QVERIFY(boxes.raster->isEnabled());
    QVERIFY(boxes.colorSpace->isEnabled());
    boxes.projectType->setCurrentIndex(boxes.projectType->findData(kPal));
    QVERIFY(!boxes.raster->isEnabled());
    QVERIFY(!boxes.colorSpace->isEnabled());
    boxes.projectType->setCurrentIndex(boxes.projectType->findData(kHd));
    QVERIFY(boxes.raster->isEnabled());
    QVERIFY(!boxes.colorSpace->isEnabled());
    boxes.projectType->setCurrentIndex(boxes.projectType->findData(kHdRgb));
    QVERIFY(boxes.colorSpace->isEnabled());
}

void TestCodecBox::rgbIsOfferedWhereItIsValidAndChosenWhereItIsSupported()
{
    // Two questions to the engine that need not have the same answer.
    for (const bool isSupported : {true, false}) {
        reset();
        StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
        for (StandInHost::ProjectType& type : catalogue.projectTypes) {
            if (type.code == kHdRgb || type.code == kCustomHd) {
                type.rgb = isSupported;
                type.colorSpaces = isSupported ? QList<int>{8} : QList<int>{8, 2};
            }
        }
        StandInHost::setCatalogue(catalogue);
        openProject(kHdRgb);
        Boxes ordinary;
        ordinary.codec->setupDefaults();
        QCOMPARE(data(ordinary.colorSpace), isSupported ? ints({8}) : ints({8, 2}));
        QCOMPARE(ordinary.colorSpace->isEnabled(), isSupported);
        // A custom format only asks what is valid.
        openCustomProject(501);
        Boxes custom;
        custom.codec->setupDefaults();
        QCOMPARE(data(custom.colorSpace), isSupported ? ints({8}) : ints({2, 8}));
        QCOMPARE(custom.colorSpace->isEnabled(), !isSupported);
    }
}

void TestCodecBox::standardDefinitionComesBeforeHighDefinition()
{
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    for (StandInHost::ProjectType& type : catalogue.projectTypes) {
        if (type.code == kHdRgb)
            type.sd = true;
    }
    StandInHost::setCatalogue(catalogue);
    openProject(kHdRgb);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QCOMPARE(texts(boxes.colorSpace), QStringList(QStringLiteral("YCbCr 601")));
}

void TestCodecBox::colorSpaceIsDisabledWhereRgbCannotBeEncoded()
{
    StandInHost::Project project = StandInHost::project();
    project.rgbEncode = false;
    StandInHost::setProject(project);
    Boxes boxes;
    boxes.codec->setupDefaults();
    QVERIFY(!boxes.colorSpace->isEnabled());
    QVERIFY(boxes.raster->isEnabled());

    openCustomProject(501);
    project = StandInHost::project();
    project.rgbEncode = false;
    StandInHost::setProject(project);
    Boxes custom;
    custom.codec->setupDefaults();
    QVERIFY(!custom.colorSpace->isEnabled());
}

void TestCodecBox::showingTheBoxUpdatesEnabledStates()
{
    Boxes boxes;
    boxes.codec->setupDefaults();
    boxes.refills.clear();
    boxes.raster->setEnabled(false);
    boxes.colorSpace->setEnabled(false);
    boxes.owner.show();
    QVERIFY(boxes.raster->isEnabled());
    QVERIFY(boxes.colorSpace->isEnabled());
    QCOMPARE(boxes.refills.count(), 0);
}

void TestCodecBox::heldRefillsAreAskedForOnce()
{
    Boxes boxes;
    {
        const CodecBox::RefillHold outer(boxes.codec);
        boxes.codec->setupDefaults();
        {
            const CodecBox::RefillHold inner(boxes.codec);
            boxes.codec->projTypeChanged();
        }
        boxes.codec->rasterChanged();
        QCOMPARE(boxes.refills.count(), 0);
    }
    QCOMPARE(boxes.refills.count(), 1);
    // Outside of a load the very same state is asked for again: the host's lists may have changed meanwhile.
    {
        const CodecBox::RefillHold again(boxes.codec);
        boxes.codec->rasterChanged();
    }
    QCOMPARE(boxes.refills.count(), 2);
}

void TestCodecBox::holdWithoutChangesAsksForNothing()
{
    Boxes boxes;
    boxes.codec->setupDefaults();
    boxes.refills.clear();
    {
        const CodecBox::RefillHold hold(boxes.codec);
    }
    QCOMPARE(boxes.refills.count(), 0);
}

QTEST_MAIN(TestCodecBox)
#include "test_codec_box.moc"
