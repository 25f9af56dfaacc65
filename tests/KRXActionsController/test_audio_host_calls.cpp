#include "ActionRow.h"
#include "HostMediaEngine.h"
#include "KRXTest.h"

#include <QHash>

namespace {

/// What the host was asked since the test began: the last argument of each operation.
QHash<QString, QList<int>> asked;

int ask(const char* operation, int argument, int answer)
{
    asked[QLatin1String(operation)] << argument;
    return answer;
}

} // namespace

// In the place of the host's own, so that a test sees what they are asked. Each answers differently for
// another setting.

int HostMediaEngine::audioFormatCount(int settingType)
{
    return ask("audioFormatCount", settingType, 2);
}

int HostMediaEngine::nthAudioFormat(int index, int settingType)
{
    return ask("nthAudioFormat", settingType, index == 0 ? 4 : 6);
}

int HostMediaEngine::audioCreationType(int settingType)
{
    return ask("audioCreationType", settingType, 1);
}

int HostMediaEngine::sampleRateCount(int settingType)
{
    return ask("sampleRateCount", settingType, 2);
}

int HostMediaEngine::nthSampleRate(int index, int settingType)
{
    return ask("nthSampleRate", settingType, index == 0 ? 44100 : 48000);
}

const char* HostMediaEngine::sampleRateText(int rate)
{
    return rate == 44100 ? "44,1 kHz \xe2\x80\x93 \xc3\xa4lter" : "48 kHz";
}

int HostMediaEngine::sampleSizeCount(int settingType)
{
    return ask("sampleSizeCount", settingType, 2);
}

int HostMediaEngine::nthSampleSize(int index, int settingType)
{
    return ask("nthSampleSize", settingType, index == 0 ? 2 : 3);
}

int HostMediaEngine::projectAudioFileFormat(int kind)
{
    return ask("projectAudioFileFormat", kind, 6);
}

int HostMediaEngine::projectSampleSize(int settingType)
{
    return ask("projectSampleSize", settingType, 24);
}

using namespace ActionsWorld;

/// What the audio options ask the host, word by word.
class TestAudioHostCalls : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        reset();
        asked.clear();
    }

    void everythingIsAskedOfTheFirstSetting_data()
    {
        QTest::addColumn<int>("type");
        QTest::newRow("transcode") << int(ActionType::Transcode);
        QTest::newRow("consolidate") << int(ActionType::Consolidate);
    }
    void everythingIsAskedOfTheFirstSetting()
    {
        QFETCH(int, type);
        ActionRow row{ActionType(type)};
        for (const char* operation :
             {"audioFormatCount", "nthAudioFormat", "audioCreationType", "sampleRateCount", "nthSampleRate",
              "sampleSizeCount", "nthSampleSize", "projectSampleSize"}) {
            const QList<int> arguments = asked.value(QLatin1String(operation));
            QVERIFY2(!arguments.isEmpty(), operation);
            QVERIFY2(arguments.count(0) == arguments.size(), operation);
        }
        // The project's format alone is asked for in another way.
        QCOMPARE(asked.value(QStringLiteral("projectAudioFileFormat")), QList<int>({3}));
        QCOMPARE(row.box("audioFormat")->currentData().toInt(), 6);
    }

    void ratesAreShownAsTheHostSpellsThem()
    {
        ActionRow row(ActionType::Transcode);
        QCOMPARE(texts(row.box("audioSampleRate")),
                 QStringList({QStringLiteral("44,1 kHz \u2013 \u00e4lter"), QStringLiteral("48 kHz")}));
    }
};

QTEST_MAIN(TestAudioHostCalls)
#include "test_audio_host_calls.moc"
