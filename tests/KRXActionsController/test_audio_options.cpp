#include "ActionRow.h"
#include "AudioOptions.h"
#include "KRXTest.h"

using namespace ActionsWorld;

class TestAudioOptions : public QObject
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void audioFormatNames();
    void audioFormatNamesOfOtherKinds();
    void audioFormatNamesLocaliseOnlyPcmAndMp2();
    void onlyMxfFormatsAreOffered();
    void otherCreationTypesOfferNoWrapperFormat();
    void sampleSizeNames();
    void bitDepthsCarryBits();
    void sampleRatesWithoutATextAreLeftOut();
};

void TestAudioOptions::audioFormatNames()
{
    QCOMPARE(audioFormatName(1), QStringLiteral("AIFF-C  (OMF)"));
    QCOMPARE(audioFormatName(2), QStringLiteral("SDII"));
    QCOMPARE(audioFormatName(3), QStringLiteral("WAVE  (OMF)"));
    QCOMPARE(audioFormatName(4), QStringLiteral("PCM  (MXF OP1a)"));
    QCOMPARE(audioFormatName(5), QStringLiteral("PCM"));
    QCOMPARE(audioFormatName(6), QStringLiteral("MP2  (MXF OP1a)"));
    for (int other : {0, 7, -1, 100})
        QCOMPARE(audioFormatName(other), QString());
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    catalogue.audio.creationType = 2;
    StandInHost::setCatalogue(catalogue);
    QCOMPARE(audioFormatName(4), QStringLiteral("PCM  (Velo OP-Atom)"));
    QCOMPARE(audioFormatName(6), QStringLiteral("MP2  (Velo OP-Atom)"));
}

void TestAudioOptions::audioFormatNamesOfOtherKinds()
{
    // The mask 0x1D4 has the bits 2, 4, 6, 7 and 8.
    const QList<int> shortKinds = {2, 4, 6, 7, 8};
    for (int kind = 0; kind < 40; ++kind) {
        const bool isShort = shortKinds.contains(kind);
        QCOMPARE(audioFormatName(1, kind),
                 isShort ? QStringLiteral("AIFF-C") : QStringLiteral("AIFF-C  (OMF)"));
        QCOMPARE(audioFormatName(3, kind), isShort ? QStringLiteral("WAVE") : QStringLiteral("WAVE  (OMF)"));
        QCOMPARE(audioFormatName(4, kind),
                 kind == 9 ? QStringLiteral("MXF") : QStringLiteral("PCM  (MXF OP1a)"));
        QCOMPARE(audioFormatName(6, kind), QStringLiteral("MP2  (MXF OP1a)"));
    }
    QCOMPARE(audioFormatName(1, -1), QStringLiteral("AIFF-C  (OMF)"));
}

void TestAudioOptions::audioFormatNamesLocaliseOnlyPcmAndMp2()
{
    StandInHost::setTranslator([](const QString& key) -> QString { return QLatin1Char('~') + key; });
    QCOMPARE(audioFormatName(4), QStringLiteral("~PCM  (MXF OP1a)"));
    QCOMPARE(audioFormatName(6), QStringLiteral("~MP2  (MXF OP1a)"));
    QCOMPARE(audioFormatName(1), QStringLiteral("AIFF-C  (OMF)"));
    QCOMPARE(audioFormatName(2), QStringLiteral("SDII"));
    QCOMPARE(audioFormatName(3), QStringLiteral("WAVE  (OMF)"));
    QCOMPARE(audioFormatName(5), QStringLiteral("PCM"));
}

void TestAudioOptions::onlyMxfFormatsAreOffered()
{
    ActionRow row(ActionType::Transcode);
    QCOMPARE(texts(row.box("audioFormat")),
             QStringList({QStringLiteral("PCM  (MXF OP1a)"), QStringLiteral("MP2  (MXF OP1a)")}));
    QCOMPARE(data(row.box("audioFormat")), QStringList({QStringLiteral("4"), QStringLiteral("6")}));
    // In this case only.
    StandInHost::setTranslator([](const QString& key) { return key.toLower(); });
    row.action().setDefaults();
    QCOMPARE(row.box("audioFormat")->count(), 0);
}

void TestAudioOptions::otherCreationTypesOfferNoWrapperFormat()
{
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    catalogue.audio.creationType = 2;
    StandInHost::setCatalogue(catalogue);
    ActionRow row(ActionType::Consolidate);
    QCOMPARE(row.box("audioFormat")->count(), 0);
}

void TestAudioOptions::sampleSizeNames()
{
    for (int code : {1, 8})
        QCOMPARE(sampleSizeName(code), QStringLiteral("8 Bit"));
    for (int code : {2, 16})
        QCOMPARE(sampleSizeName(code), QStringLiteral("16 Bit"));
    for (int code : {3, 24})
        QCOMPARE(sampleSizeName(code), QStringLiteral("24 Bit"));
    for (int code : {4, 32})
        QCOMPARE(sampleSizeName(code), QStringLiteral("32 Bit Float"));
    QCOMPARE(sampleSizeName(-1), QStringLiteral("Project"));
    for (int code : {0, 5, 7, 9, 64, -2})
        QCOMPARE(sampleSizeName(code), QString());
    StandInHost::setTranslator([](const QString& key) -> QString { return QLatin1Char('~') + key; });
    QCOMPARE(sampleSizeName(1), QStringLiteral("~8 Bit"));
    QCOMPARE(sampleSizeName(2), QStringLiteral("~16 Bit"));
    QCOMPARE(sampleSizeName(3), QStringLiteral("~24 Bit"));
    QCOMPARE(sampleSizeName(4), QStringLiteral("~32 Bit Float"));
    QCOMPARE(sampleSizeName(-1), QStringLiteral("~Project"));
}

void TestAudioOptions::bitDepthsCarryBits()
{
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    catalogue.audio.sampleSizes = {1, 2, 3, 4, 5, -1, 16};
    StandInHost::setCatalogue(catalogue);
    ActionRow row(ActionType::Transcode);
    QCOMPARE(
        texts(row.box("audioSampleWidth")),
        QStringList({QStringLiteral("8 Bit"), QStringLiteral("16 Bit"), QStringLiteral("24 Bit"),
                     QStringLiteral("32 Bit Float"), QStringLiteral("Project"), QStringLiteral("16 Bit")}));
    QCOMPARE(data(row.box("audioSampleWidth")),
             QStringList({QStringLiteral("8"), QStringLiteral("16"), QStringLiteral("24"),
                          QStringLiteral("32"), QStringLiteral("-8"), QStringLiteral("128")}));
}

void TestAudioOptions::sampleRatesWithoutATextAreLeftOut()
{
    ActionRow row(ActionType::Transcode);
    QCOMPARE(texts(row.box("audioSampleRate")),
             QStringList({QStringLiteral("32 kHz"), QStringLiteral("44.1 kHz"), QStringLiteral("48 kHz")}));
    QCOMPARE(data(row.box("audioSampleRate")),
             QStringList({QStringLiteral("32000"), QStringLiteral("44100"), QStringLiteral("48000")}));
    // The host has no text for 0.
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    catalogue.audio.sampleRates = {0, 44100, 0, 48000};
    StandInHost::setCatalogue(catalogue);
    row.action().setDefaults();
    QCOMPARE(data(row.box("audioSampleRate")),
             QStringList({QStringLiteral("44100"), QStringLiteral("48000")}));
    catalogue.audio.sampleRates.clear();
    StandInHost::setCatalogue(catalogue);
    row.action().setDefaults();
    QCOMPARE(row.box("audioSampleRate")->count(), 0);
    QCOMPARE(row.box("audioSampleRate")->currentIndex(), -1);
}

QTEST_MAIN(TestAudioOptions)
#include "test_audio_options.moc"
