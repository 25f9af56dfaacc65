#include "HostMediaEngine.h"
#include "StandInMedia.h"

#include "KRXTest.h"

using namespace HostMediaEngine;

namespace {

StandInHost::ProjectType projectType(int code, const QString& name)
{
    StandInHost::ProjectType type;
    type.code = code;
    type.name = name;
    return type;
}

StandInHost::Format format(quint32 identifier, const QString& description, int rate)
{
    StandInHost::Format made;
    made.identifier = identifier;
    made.frame = {2048, 1080};
    made.description = description;
    made.rate = {rate, 1};
    return made;
}

/// A small catalogue with one of everything that matters.
StandInHost::MediaCatalogue smallCatalogue()
{
    StandInHost::MediaCatalogue catalogue;
    StandInHost::ProjectType sd = projectType(1, QStringLiteral("SD"));
    sd.sd = true;
    sd.frame = {720, 576};
    sd.rate = {25, 1};
    sd.colorSpaces = {4};
    StandInHost::ProjectType hd = projectType(2, QStringLiteral("HD"));
    hd.hd = true;
    hd.frame = {1920, 1080};
    hd.rate = {24000, 1001};
    hd.colorSpaces = {8, 2};
    hd.rgb = true;
    hd.rasters.insert(1, {1920, 1440, 1280});
    hd.compatible = {1, 2, 3};
    StandInHost::ProjectType off = projectType(3, QStringLiteral("Off"));
    off.enabled = false;
    catalogue.projectTypes = {sd, hd, off, projectType(kCustomFormatProjectType, QStringLiteral("Custom"))};

    StandInHost::Format first = format(100, QStringLiteral("First"), 24);
    first.compatible = {100, 101, 999};
    StandInHost::Format second = format(101, QStringLiteral("Second"), 48);
    second.disabled = true;
    catalogue.formats = {first, second};

    StandInHost::Compression anywhere;
    anywhere.id = 7;
    anywhere.descriptor.uid.data1 = 0x0123abcd;
    anywhere.descriptor.bitsPerComponent = 10;
    StandInHost::Compression rgb;
    rgb.id = 0xF0000003u;
    rgb.colorSpaces = {2};
    StandInHost::Compression sdOnly;
    sdOnly.id = 9;
    sdOnly.projectTypes = {1};
    catalogue.compressions = {anywhere, rgb, sdOnly};
    catalogue.defaultCompression = 7;
    catalogue.audio.formats = {4, 6};
    catalogue.audio.sampleRates = {32000, 44100, 48000};
    catalogue.audio.sampleSizes = {2, 3};
    catalogue.plugins = {{QStringLiteral("{0123abcd-0001-00ef-060e-2b3401020304}"), QStringLiteral("Name"),
                          QStringLiteral("mxf.mov")}};
    return catalogue;
}

QList<quint32> idsOf(const QList<StandInHost::Compression>& compressions)
{
    QList<quint32> ids;
    for (const StandInHost::Compression& compression : compressions)
        ids.append(compression.id);
    return ids;
}

} // namespace

class TestHostMedia : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        StandInHost::setCatalogue(smallCatalogue());
        StandInHost::Project project;
        project.type = 2;
        project.rasterWidth = 1440;
        project.colorSpace = 8;
        StandInHost::setProject(project);
    }
    void cleanup() { StandInHost::resetMedia(); }

    void theProjectAnswersForItself()
    {
        StandInHost::Project project = StandInHost::project();
        project.targetFormat = 100;
        project.sampleRate = 44100;
        project.audioFileFormat = 6;
        project.sampleSize = 16;
        project.rasterOption = 3;
        project.rgbEncode = false;
        project.projectUtilities = false;
        StandInHost::setProject(project);
        QCOMPARE(currentProjectType(), 2);
        QCOMPARE(currentRasterWidth(), 1440);
        QCOMPARE(currentColorSpace(), 8);
        QCOMPARE(currentTargetFormat(), 100u);
        QCOMPARE(projectSampleRate(), 44100);
        QCOMPARE(projectAudioFileFormat(3), 6);
        QCOMPARE(projectSampleSize(0), 16);
        QCOMPARE(rasterOption(), 3);
        QVERIFY(!rgbEncodeSupported());
        QVERIFY(!hasProjectUtilities());
    }

    void compatibleTypesComeInTheirOrderAndAreCutToTheCountAskedFor()
    {
        QCOMPARE(compatibleProjectTypes(2, 37), (QList<int>{1, 2, 3}));
        QCOMPARE(compatibleProjectTypes(2, 2), (QList<int>{1, 2}));
        QVERIFY(compatibleProjectTypes(2, 0).isEmpty());
        QVERIFY(compatibleProjectTypes(2, -1).isEmpty());
        QVERIFY(compatibleProjectTypes(99, 37).isEmpty());
    }

    void aTypeTellsItsNameItsDefinitionAndItsFrame()
    {
        QCOMPARE(projectTypeName(2), QStringLiteral("HD"));
        QVERIFY(hasSDVideoFormat(1) && !hasHDVideoFormat(1));
        QVERIFY(hasHDVideoFormat(2) && !hasSDVideoFormat(2));
        QVERIFY(!hasHDVideoFormat(kCustomFormatProjectType) && !hasSDVideoFormat(kCustomFormatProjectType));
        QCOMPARE(frameDimensions(2), QSize(1920, 1080));
        QVERIFY(isProjectTypeEnabled(1));
        QVERIFY(!isProjectTypeEnabled(3));
    }

    void anUnknownTypeIsNothing()
    {
        QVERIFY(!isProjectTypeEnabled(99));
        QCOMPARE(projectTypeName(99), QString());
        QVERIFY(!hasSDVideoFormat(99));
        QVERIFY(!hasHDVideoFormat(99));
        QVERIFY(!frameDimensions(99).isValid());
        QVERIFY(rasterWidths(99, 1, 19).isEmpty());
        QVERIFY(!isValidColorSpace(99, 8));
        QVERIFY(!supportsRGB(99));
    }

    void rastersGoByOptionAndFallBackToTheFrameWidth()
    {
        QCOMPARE(rasterWidths(2, 1, 19), (QList<int>{1920, 1440, 1280}));
        QCOMPARE(rasterWidths(2, 1, 2), (QList<int>{1920, 1440}));
        QCOMPARE(rasterWidths(2, 2, 19), QList<int>{1920});
        QCOMPARE(rasterWidths(1, 1, 19), QList<int>{720});
        QVERIFY(rasterWidths(kCustomFormatProjectType, 1, 19).isEmpty());
    }

    void colorSpacesAreThoseOfTheType()
    {
        QVERIFY(isValidColorSpace(2, 2));
        QVERIFY(isValidColorSpace(2, 8));
        QVERIFY(!isValidColorSpace(2, 4));
        QVERIFY(supportsRGB(2));
        QVERIFY(!supportsRGB(1));
    }

    void customFormatsAreThoseOfTheTargetFormatThatExist()
    {
        const QList<CustomFormat> formats = compatibleCustomFormats(100);
        QCOMPARE(formats.size(), 2);
        QCOMPARE(formats.at(0).identifier, 100u);
        QCOMPARE(formats.at(1).identifier, 101u);
        QVERIFY(compatibleCustomFormats(0).isEmpty());
    }

    void aFormatIsFoundByIdentifierAndByItsExactDescription()
    {
        CustomFormat found;
        QVERIFY(findFormat(100, found));
        QCOMPARE(found.width, 2048);
        QCOMPARE(formatShortDescription(found), QStringLiteral("First"));
        QCOMPARE(formatRate(found).numerator, 24);
        QVERIFY(!isFormatDisabled(found));
        QVERIFY(findFormatByDescription(QStringLiteral("Second"), found));
        QCOMPARE(found.identifier, 101u);
        QVERIFY(isFormatDisabled(found));
        QVERIFY(!findFormatByDescription(QStringLiteral("second"), found));
        QVERIFY(!findFormatByDescription(QString(), found));
        QVERIFY(!findFormat(0, found));
        QVERIFY2(found.identifier == 101u, "a format that is not found leaves the caller's as it was");
    }

    void anUnknownFormatIsDisabledAndHasNoDescription()
    {
        CustomFormat unknown;
        unknown.identifier = 5;
        QVERIFY(isFormatDisabled(unknown));
        QCOMPARE(formatShortDescription(unknown), QString());
        QCOMPARE(formatRate(unknown).numerator, 0);
    }

    void aCompressionIsKnownByItsUnsignedIdentifier()
    {
        const CompressionInfo known(7);
        QVERIFY(known.isValid());
        QCOMPARE(known.descriptor().uid.part1, 0x0123abcdu);
        QCOMPARE(known.descriptor().bitsPerComponent, 10u);
        QVERIFY(CompressionInfo(0xF0000003u).isValid());
        const CompressionInfo unknown(8);
        QVERIFY(!unknown.isValid());
        QCOMPARE(unknown.descriptor().bitsPerComponent, 0u);
        QCOMPARE(unknown.descriptor().maxBitrate, quint64(0));
        QCOMPARE(defaultCompressionId(), 7u);
    }

    void compressionsAreThoseThatFitTypeAndColorSpace()
    {
        QCOMPARE(idsOf(StandInHost::compressionsFor(1, 4)), (QList<quint32>{7, 9}));
        QCOMPARE(idsOf(StandInHost::compressionsFor(2, 8)), QList<quint32>{7});
        QCOMPARE(idsOf(StandInHost::compressionsFor(2, 2)), (QList<quint32>{7, 0xF0000003u}));
    }

    void audioListsAreReadByIndex()
    {
        QCOMPARE(audioFormatCount(0), 2);
        QCOMPARE(nthAudioFormat(1, 0), 6);
        QCOMPARE(nthAudioFormat(2, 0), 0);
        QCOMPARE(sampleRateCount(0), 3);
        QCOMPARE(nthSampleRate(1, 0), 44100);
        QCOMPARE(nthSampleRate(-1, 0), 0);
        QCOMPARE(sampleSizeCount(0), 2);
        QCOMPARE(nthSampleSize(0, 0), 2);
        QCOMPARE(nthSampleSize(1, 0), 3);
        QCOMPARE(audioCreationType(0), 1);
    }

    void sampleRatesAreShownInKilohertz()
    {
        QCOMPARE(sampleRateText(32000), "32 kHz");
        QCOMPARE(sampleRateText(44100), "44.1 kHz");
        QCOMPARE(sampleRateText(48000), "48 kHz");
        QVERIFY(!sampleRateText(96000));
        StandInHost::MediaCatalogue withZero = StandInHost::catalogue();
        withZero.audio.sampleRates.append(0);
        StandInHost::setCatalogue(withZero);
        QVERIFY(!sampleRateText(0));
    }

    void pluginsAreListedAsTheCatalogueHasThem()
    {
        QCOMPARE(listLinkedMediaPlugins().size(), 1);
        QCOMPARE(listLinkedMediaPlugins().at(0).guid,
                 QStringLiteral("{0123abcd-0001-00ef-060e-2b3401020304}"));
        QCOMPARE(listLinkedMediaPlugins().at(0).name, QStringLiteral("Name"));
        QCOMPARE(listLinkedMediaPlugins().at(0).extensions, QStringLiteral("mxf.mov"));
    }

    void frameRatesAreSortedWithoutRepetitionAsPeopleWriteThem()
    {
        QCOMPARE(StandInHost::frameRateTexts(), (QStringList{QStringLiteral("23.976"), QStringLiteral("24"),
                                                             QStringLiteral("25"), QStringLiteral("48")}));
        StandInHost::resetMedia();
        const QStringList all{QStringLiteral("23.976"), QStringLiteral("24"), QStringLiteral("25"),
                              QStringLiteral("29.97"),  QStringLiteral("30"), QStringLiteral("47.952"),
                              QStringLiteral("48"),     QStringLiteral("50"), QStringLiteral("59.94"),
                              QStringLiteral("60")};
        QCOMPARE(StandInHost::frameRateTexts(), all);
    }

    void aResetBringsTheCatalogueAndTheProjectBack()
    {
        StandInHost::resetMedia();
        QCOMPARE(projectTypeName(currentProjectType()), QStringLiteral("1080p/25"));
        QCOMPARE(currentRasterWidth(), 1920);
        QCOMPARE(currentColorSpace(), 8);
        QVERIFY(CompressionInfo(defaultCompressionId()).isValid());
    }

    // --- Groupings of audio tracks ---

    void aGroupingIsShownWithItsTracksAndLayouts()
    {
        const ChannelGroups groups = channelGroupsFromText(QStringLiteral("1-2:Stereo;3-8:5.1"));
        QCOMPARE(groups.persistentText, QStringLiteral("1-2:Stereo;3-8:5.1"));
        QCOMPARE(groups.displayText, QStringLiteral("1\u20132 Stereo, 3\u20138 5.1"));
    }

    void noneIsShownAsNone()
    {
        QCOMPARE(channelGroupsFromText(QStringLiteral("None")).persistentText, QStringLiteral("None"));
        QCOMPARE(channelGroupsFromText(QStringLiteral("None")).displayText, QStringLiteral("None"));
    }

    void aTextThatIsNoGroupingIsKeptAndShownAsUnknown_data()
    {
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, const char* text) {
            QTest::newRow(name) << QString::fromUtf8(text);
        };
        row("empty", "");
        row("words", "rubbish");
        row("placeholder", "%1 %2");
        row("unknown layout", "1-2:Octagon");
        row("count that does not fit", "1-3:Stereo");
        row("overlap", "1-2:Stereo;2-3:Stereo");
        row("down", "3-4:Stereo;1-2:Stereo");
        row("backwards", "2-1:Stereo");
        row("from zero", "0-1:Stereo");
        row("too many tracks", "63-64:Stereo;65-66:Stereo");
        row("closing separator", "1-2:Stereo;");
        row("blank", "1-2: Stereo");
        row("huge", "99999999999-99999999999:Stereo");
    }

    void aTextThatIsNoGroupingIsKeptAndShownAsUnknown()
    {
        QFETCH(QString, text);
        const ChannelGroups groups = channelGroupsFromText(text);
        QCOMPARE(groups.persistentText, text);
        QCOMPARE(groups.displayText, QString(QStringLiteral("Unknown grouping: ") + text));
    }

    void groupsAreWrittenAsTheyAreRead()
    {
        for (const char* text : {"None", "1-2:Stereo", "3-5:LCR;6-9:Quad;11-18:7.1", "63-64:Stereo"}) {
            QList<StandInHost::ChannelGroup> groups;
            QVERIFY2(StandInHost::parseChannelGroups(QLatin1String(text), groups), text);
            QCOMPARE(StandInHost::channelGroupsText(groups), QString::fromLatin1(text));
        }
    }

    void everyLayoutCanBeStored()
    {
        QVERIFY(!StandInHost::channelLayouts().isEmpty());
        for (const QString& layout : StandInHost::channelLayouts()) {
            const int count = StandInHost::channelLayoutTracks(layout);
            QVERIFY(count > 1);
            QList<StandInHost::ChannelGroup> groups;
            QVERIFY(StandInHost::parseChannelGroups(StandInHost::channelGroupsText({{1, count, layout}}),
                                                    groups));
            QCOMPARE(groups.at(0).layout, layout);
        }
        QCOMPARE(StandInHost::channelLayoutTracks(QStringLiteral("Octagon")), 0);
    }

    void aGroupingThatIsRefusedLeavesTheListAsItWas()
    {
        QList<StandInHost::ChannelGroup> groups{{1, 2, QStringLiteral("Stereo")}};
        QVERIFY(!StandInHost::parseChannelGroups(QStringLiteral("3-4:Stereo;x"), groups));
        QCOMPARE(groups.size(), 1);
        QCOMPARE(groups.at(0).first, 1);
    }
};

QTEST_GUILESS_MAIN(TestHostMedia)
#include "test_host_media.moc"
