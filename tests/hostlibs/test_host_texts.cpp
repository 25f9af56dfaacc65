#include "HostCore.h"
#include "StandInHost.h"

#include "KRXTest.h"

#include <atomic>
#include <thread>
#include <vector>

using HostCore::translateText;

class TestHostTexts : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        StandInHost::setTranslator({});
        StandInHost::setLanguage(QStringLiteral("en"));
    }

    void englishTextsAreTheirOwnTranslation()
    {
        QCOMPARE(translateText(QStringLiteral("None")), QStringLiteral("None"));
        QCOMPARE(translateText(QString()), QString());
    }

    void aLanguageWithACatalogueTranslatesByTheEnglishKey()
    {
        StandInHost::setLanguage(QStringLiteral("de"));
        QCOMPARE(translateText(QStringLiteral("None")), QStringLiteral("Keine"));
    }

    void aTextThatTheCatalogueLacksStaysEnglish()
    {
        StandInHost::setLanguage(QStringLiteral("de"));
        QCOMPARE(translateText(QStringLiteral("No such text %1\n")), QStringLiteral("No such text %1\n"));
        QCOMPARE(translateText(QString()), QString());
    }

    void anUnknownLanguageIsEnglish()
    {
        StandInHost::setLanguage(QStringLiteral("de"));
        StandInHost::setLanguage(QStringLiteral("../de"));
        QCOMPARE(translateText(QStringLiteral("None")), QStringLiteral("None"));
    }

    void aTranslatorReplacesTheCataloguesUntilItIsTakenAway()
    {
        StandInHost::setLanguage(QStringLiteral("de"));
        StandInHost::setTranslator(
            [](const QString& key) -> QString { return QLatin1Char('<') + key + QLatin1Char('>'); });
        QCOMPARE(translateText(QStringLiteral("None")), QStringLiteral("<None>"));
        StandInHost::setTranslator({});
        QCOMPARE(translateText(QStringLiteral("None")), QStringLiteral("Keine"));
    }

    void textsAreLookedUpFromManyThreadsWhileTheLanguageChanges()
    {
        std::atomic<bool> isDone{false};
        std::atomic<int> strangers{0};
        std::vector<std::thread> readers;
        for (int i = 0; i < 4; ++i) {
            readers.emplace_back([&] {
                while (!isDone) {
                    const QString text = translateText(QStringLiteral("None"));
                    if (text != QLatin1String("None") && text != QLatin1String("Keine") &&
                        text != QLatin1String("mine"))
                        ++strangers;
                }
            });
        }
        for (int i = 0; i < 200; ++i) {
            StandInHost::setLanguage(i % 2 == 0 ? QStringLiteral("de") : QStringLiteral("en"));
            StandInHost::setTranslator([](const QString&) { return QStringLiteral("mine"); });
            StandInHost::setTranslator({});
        }
        isDone = true;
        for (std::thread& reader : readers)
            reader.join();
        QCOMPARE(strangers.load(), 0);
    }

    void multibyteTextsAreUtf8()
    {
        QCOMPARE(HostCore::unicodeFromMultibyte("44.1 kHz"), QStringLiteral("44.1 kHz"));
        QCOMPARE(HostCore::unicodeFromMultibyte("Z\xc3\xbcrich \xf0\x9f\x8e\xac"),
                 QString::fromUtf8("Z\xc3\xbcrich \xf0\x9f\x8e\xac"));
        QCOMPARE(HostCore::unicodeFromMultibyte(""), QString());
        QCOMPARE(HostCore::unicodeFromMultibyte(nullptr), QString());
    }
};

QTEST_GUILESS_MAIN(TestHostTexts)
#include "test_host_texts.moc"
