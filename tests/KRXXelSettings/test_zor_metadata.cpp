#include "KRXZorMetadata.h"
#include "SettingsFixture.h"
#include "StandInHost.h"

#include <QRadioButton>

using SettingsTest::settingsDocument;

namespace {

const QString kReel = QStringLiteral("reelNamingMethod");
const QString kFrames = QStringLiteral("frameCountingMethod");
const QString kTimecode = QStringLiteral("timecodeMethod");
const QString kFileName = QStringLiteral("Source file name");
const QString kFolderName = QStringLiteral("Source folder name");

struct Fixture : SettingsTest::Fixture<KRXZorMetadata>
{
    Fixture()
    {
        for (const char* rate : {"23.976", "24", "25"})
            rateBox()->addItem(QLatin1String(rate), QLatin1String(rate));
    }

    QComboBox* rateBox() const { return group.getDefaultFPSBox(); }
    QComboBox* levelBox() const { return widget->findChild<QComboBox*>(QStringLiteral("reelFolderLevel")); }
    QStringList radios(const QString& panel) const
    {
        QStringList texts;
        for (const QRadioButton* button : widget->findChild<QWidget*>(panel)->findChildren<QRadioButton*>())
            texts << button->text();
        return texts;
    }
};

struct Values
{
    QString reel = QStringLiteral("FILENAME");
    QString level = QStringLiteral("1");
    QString frames = QStringLiteral("ZERO");
    QString timecode = QStringLiteral("EMBEDDED");
    QString rate = QStringLiteral("23.976");

    QString detail() const
    {
        return QStringLiteral(" <zorMetadata>\n"
                              "  <reelNamingMethod>%1</reelNamingMethod>\n"
                              "  <reelFolderLevel>%2</reelFolderLevel>\n"
                              "  <frameCountingMethod>%3</frameCountingMethod>\n"
                              "  <timecodeMethod>%4</timecodeMethod>\n"
                              "  <defaultFPS>%5</defaultFPS>\n"
                              " </zorMetadata>\n")
            .arg(reel, level, frames, timecode, rate);
    }
};

QString child(const QString& element, const QString& text)
{
    return QStringLiteral("<zorMetadata><%1>%2</%1></zorMetadata>").arg(element, text);
}

} // namespace

class TestZorMetadata : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { StandInHost::setTranslator({}); }

    void theDefaults()
    {
        Fixture fixture;
        QCOMPARE(int(fixture.group.settingsType()), 5);
        QCOMPARE(fixture.group.createWidget(), fixture.widget.get());
        KRX_COMPARE_XML(fixture.written(), settingsDocument(Values().detail()));
        QVERIFY(!fixture.levelBox()->isEnabled());
    }

    void theBareGroupHasNoRates()
    {
        SettingsTest::Fixture<KRXZorMetadata> fixture;
        QCOMPARE(fixture.group.getDefaultFPSBox()->count(), 0);
        Values values;
        values.rate = QString();
        KRX_COMPARE_XML(fixture.written(), settingsDocument(values.detail()));
        fixture.read(child(QStringLiteral("defaultFPS"), QStringLiteral("25")));
        QCOMPARE(fixture.group.getDefaultFPSBox()->currentIndex(), -1);
        QCOMPARE(KRXZorMetadata().getDefaultFPSBox(), nullptr);
    }

    void thePanelsHoldTheirWidgetsInOrder()
    {
        const Fixture fixture;
        QStringList panels;
        for (int i = 0; i < fixture.widget->layout()->count(); ++i)
            panels << fixture.widget->layout()->itemAt(i)->widget()->objectName();
        QCOMPARE(panels, QStringList({kReel, kFrames, kTimecode, QStringLiteral("defaultFPS")}));
        QCOMPARE(fixture.widget->layout()->spacing(), 3);
        QCOMPARE(fixture.labels(),
                 QStringList({QStringLiteral("Reel name for Labroll column based on:"),
                              QStringLiteral("Frame Count for DPX column:"),
                              QStringLiteral("Timecode for Start column:"), QStringLiteral("Default FPS:")}));
        QCOMPARE(fixture.radios(kReel), QStringList({kFileName, kFolderName}));
        QCOMPARE(
            fixture.radios(kFrames),
            QStringList({QStringLiteral("Start frame count at 0"), QStringLiteral("Start frame count at 1"),
                         QStringLiteral("Convert timecode to frames"), QStringLiteral("From file name")}));
        QCOMPARE(fixture.radios(kTimecode),
                 QStringList({QStringLiteral("Embedded in source file"), QStringLiteral("From file name")}));
    }

    void everythingStandsBelowItsLabelInTheOrderOfTheChoices()
    {
        const Fixture fixture;
        QList<QWidget*> column;
        const auto addLabel = [&](const char* text) { column << fixture.labelOf(QLatin1String(text)); };
        const auto addRadios = [&](const QString& panel) {
            for (const QString& text : fixture.radios(panel))
                column << fixture.button(text, panel);
        };
        addLabel("Reel name for Labroll column based on:");
        addRadios(kReel);
        column << fixture.levelBox();
        addLabel("Frame Count for DPX column:");
        addRadios(kFrames);
        addLabel("Timecode for Start column:");
        addRadios(kTimecode);
        addLabel("Default FPS:");
        column << fixture.rateBox();
        QCOMPARE(column.size(), 14);
        QVERIFY(fixture.standBelowEachOther(column));
        const auto isInside = [&fixture](const QString& panel, const QWidget* widget) {
            return fixture.widget->findChild<QWidget*>(panel)->isAncestorOf(widget);
        };
        QVERIFY(isInside(kReel, fixture.levelBox()));
        QVERIFY(isInside(QStringLiteral("defaultFPS"), fixture.rateBox()));
    }

    void theFolderLevelsCarryTheirNumbers()
    {
        const Fixture fixture;
        QStringList texts;
        for (int i = 0; i < fixture.levelBox()->count(); ++i) {
            texts << fixture.levelBox()->itemText(i);
            QCOMPARE(fixture.levelBox()->itemData(i).toInt(), i + 1);
        }
        QCOMPARE(texts,
                 QStringList({QStringLiteral("One folder up"), QStringLiteral("Two folders up"),
                              QStringLiteral("Three folders up"), QStringLiteral("Four folders up"),
                              QStringLiteral("Five folders up"), QStringLiteral("Six folders up"),
                              QStringLiteral("Seven folders up"), QStringLiteral("Eight folders up")}));
        QCOMPARE(fixture.levelBox()->currentIndex(), 0);
    }

    void theBoxesAreIndentedAndOfFixedWidth()
    {
        const Fixture fixture;
        fixture.widget->resize(fixture.widget->sizeHint());
        fixture.widget->layout()->activate();
        for (const QComboBox* box : {fixture.levelBox(), fixture.rateBox()}) {
            QCOMPARE(box->minimumWidth(), 180);
            QCOMPARE(box->maximumWidth(), 180);
            box->parentWidget()->layout()->activate();
            QCOMPARE(box->x(), 24);
        }
    }

    void theTextsAreLocalised()
    {
        StandInHost::setTranslator(
            [](const QString& english) -> QString { return QStringLiteral("~") + english; });
        const Fixture fixture;
        for (const QString& text : fixture.labels())
            QVERIFY(text.startsWith(QLatin1Char('~')));
        for (const QString& panel : {kReel, kFrames, kTimecode}) {
            for (const QString& text : fixture.radios(panel))
                QVERIFY(text.startsWith(QLatin1Char('~')));
        }
        for (int i = 0; i < fixture.levelBox()->count(); ++i)
            QVERIFY(fixture.levelBox()->itemText(i).startsWith(QLatin1Char('~')));
        QCOMPARE(fixture.levelBox()->itemText(7), QStringLiteral("~Eight folders up"));
    }

    void theFolderLevelIsEnabledWhileTheFolderGivesTheName()
    {
        Fixture fixture;
        fixture.check(kFolderName, kReel);
        QVERIFY(fixture.levelBox()->isEnabled());
        fixture.check(kFileName, kReel);
        QVERIFY(!fixture.levelBox()->isEnabled());
        fixture.read(child(kReel, QStringLiteral("FOLDERNAME")));
        QVERIFY(fixture.levelBox()->isEnabled());
        fixture.read(child(kReel, QStringLiteral("FILENAME")));
        QVERIFY(!fixture.levelBox()->isEnabled());
    }

    void everyStateIsWrittenAndReadBack()
    {
        const QStringList reels{QStringLiteral("FILENAME"), QStringLiteral("FOLDERNAME")};
        const QStringList frames{QStringLiteral("ZERO"), QStringLiteral("ONE"), QStringLiteral("TIMECODE"),
                                 QStringLiteral("FILENAME")};
        const QStringList timecodes{QStringLiteral("EMBEDDED"), QStringLiteral("FILENAME")};
        Fixture fixture;
        Fixture other;
        const auto compare = [&](int reel, int level, int frame, int timecode, int rate) {
            fixture.check(fixture.radios(kReel).at(reel), kReel);
            fixture.levelBox()->setCurrentIndex(level);
            fixture.check(fixture.radios(kFrames).at(frame), kFrames);
            fixture.check(fixture.radios(kTimecode).at(timecode), kTimecode);
            fixture.rateBox()->setCurrentIndex(rate);
            const Values values{reels.at(reel), QString::number(level + 1), frames.at(frame),
                                timecodes.at(timecode), fixture.rateBox()->itemText(rate)};
            KRX_COMPARE_XML(fixture.written(), settingsDocument(values.detail()));
            other.read(values.detail());
            KRX_COMPARE_XML(other.written(), settingsDocument(values.detail()));
        };
        for (int reel = 0; reel < 2; ++reel)
            for (int level = 0; level < 8; ++level)
                for (int frame = 0; frame < 4; ++frame)
                    for (int timecode = 0; timecode < 2; ++timecode)
                        for (int rate = 0; rate < 3; ++rate)
                            compare(reel, level, frame, timecode, rate);
    }

    void theFileNameStillWritesTheFolderLevel()
    {
        Fixture fixture;
        fixture.check(kFolderName, kReel);
        fixture.levelBox()->setCurrentIndex(4);
        fixture.check(kFileName, kReel);
        Values values;
        values.level = QStringLiteral("5");
        KRX_COMPARE_XML(fixture.written(), settingsDocument(values.detail()));
    }

    void theFolderLevelThatIsRead_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("index");
        QTest::newRow("3") << "3" << 2;
        QTest::newRow("1") << "1" << 0;
        QTest::newRow("8") << "8" << 7;
        QTest::newRow("9 leaves no selection") << "9" << -1;
        QTest::newRow("0 leaves no selection") << "0" << -1;
        QTest::newRow("x leaves no selection") << "x" << -1;
        QTest::newRow("empty") << "" << -1;
        QTest::newRow("negative") << "-1" << -1;
        QTest::newRow("smallest number") << "-2147483648" << -1;
        QTest::newRow("too large for a number") << "99999999999999999999" << -1;
        QTest::newRow("fraction") << "2.0" << -1;
        QTest::newRow("the item's text") << "Three folders up" << -1;
        QTest::newRow("oversized") << QString(100000, QLatin1Char('3')) << -1;
    }

    void theFolderLevelThatIsRead()
    {
        QFETCH(QString, text);
        QFETCH(int, index);
        Fixture fixture;
        fixture.levelBox()->setCurrentIndex(5);
        fixture.read(child(QStringLiteral("reelFolderLevel"), text));
        QCOMPARE(fixture.levelBox()->currentIndex(), index);
        if (index == 2)
            QCOMPARE(fixture.levelBox()->currentText(), QStringLiteral("Three folders up"));
    }

    void noFolderLevelIsWrittenAsZero()
    {
        Fixture fixture;
        fixture.read(child(QStringLiteral("reelFolderLevel"), QStringLiteral("x")));
        Values values;
        values.level = QStringLiteral("0");
        KRX_COMPARE_XML(fixture.written(), settingsDocument(values.detail()));
    }

    void unknownMethodsChangeNothing()
    {
        Fixture fixture;
        Values values{QStringLiteral("FOLDERNAME"), QStringLiteral("2"), QStringLiteral("TIMECODE"),
                      QStringLiteral("FILENAME"), QStringLiteral("24")};
        fixture.read(values.detail());
        for (const QString& element : {kReel, kFrames, kTimecode}) {
            for (const char* text : {"", "SOMETHING", "filename", "zero", "1", "ZERO "})
                fixture.read(child(element, QLatin1String(text)));
        }
        KRX_COMPARE_XML(fixture.written(), settingsDocument(values.detail()));
    }

    void theRateIsMatchedByItsTextOrFallsBackToTheFirst()
    {
        Fixture fixture;
        fixture.rateBox()->clear();
        fixture.rateBox()->addItem(QStringLiteral("Slow"), QStringLiteral("24"));
        fixture.rateBox()->addItem(QStringLiteral("Fast"), QStringLiteral("25"));
        const auto indexAfter = [&fixture](const char* text) {
            fixture.rateBox()->setCurrentIndex(1);
            fixture.read(child(QStringLiteral("defaultFPS"), QLatin1String(text)));
            return fixture.rateBox()->currentIndex();
        };
        QCOMPARE(indexAfter("Fast"), 1);
        QCOMPARE(indexAfter("FAST"), 1);
        QCOMPARE(indexAfter("Slow"), 0);
        QCOMPARE(indexAfter("25"), 0);
        QCOMPARE(indexAfter(""), 0);
        QCOMPARE(indexAfter("Fas"), 0);
        // Written is the data.
        fixture.rateBox()->setCurrentIndex(1);
        Values values;
        values.rate = QStringLiteral("25");
        KRX_COMPARE_XML(fixture.written(), settingsDocument(values.detail()));
    }

    void documentsWithoutMetadataLeaveTheWidgetsAlone()
    {
        Fixture fixture;
        const Values values{QStringLiteral("FOLDERNAME"), QStringLiteral("2"), QStringLiteral("TIMECODE"),
                            QStringLiteral("FILENAME"), QStringLiteral("24")};
        fixture.read(values.detail());
        for (const QString& inside : SettingsTest::hostileContents(QStringLiteral("zorMetadata")))
            fixture.read(inside);
        fixture.read(values.detail().toUpper());
        fixture.group.readXml(QDomElement());
        KRX_COMPARE_XML(fixture.written(), settingsDocument(values.detail()));
    }

    void tagsAreComparedExactly()
    {
        Fixture fixture;
        const QString before = fixture.written();
        const Values other{QStringLiteral("FOLDERNAME"), QStringLiteral("2"), QStringLiteral("TIMECODE"),
                           QStringLiteral("FILENAME"), QStringLiteral("25")};
        QString detail = other.detail();
        for (const char* tag :
             {"reelNamingMethod", "reelFolderLevel", "frameCountingMethod", "timecodeMethod", "defaultFPS"})
            detail.replace(QLatin1String(tag), QString::fromLatin1(tag).toUpper());
        fixture.read(detail);
        KRX_COMPARE_XML(fixture.written(), before);
        fixture.read(other.detail());
        QVERIFY(fixture.written() != before);
    }

    void childrenInAnyOrderRepeatedAndBetweenOthersAreRead()
    {
        Fixture fixture;
        fixture.read(QStringLiteral("<x><zorMetadata>text<defaultFPS>25</defaultFPS><unknown/>"
                                    "<timecodeMethod>FILENAME</timecodeMethod><!-- c -->"
                                    "<reelFolderLevel>7</reelFolderLevel><reelFolderLevel>4</reelFolderLevel>"
                                    "<frameCountingMethod><b>ONE</b></frameCountingMethod></zorMetadata></x>"
                                    "<zorMetadata><defaultFPS>24</defaultFPS></zorMetadata>"));
        const Values values{QStringLiteral("FILENAME"), QStringLiteral("4"), QStringLiteral("ONE"),
                            QStringLiteral("FILENAME"), QStringLiteral("25")};
        KRX_COMPARE_XML(fixture.written(), settingsDocument(values.detail()));
    }

    void theWindowIsKeptForASubclass()
    {
        struct Subclass : KRXZorMetadata
        {
            KRXProfilesWindow* window() const { return m_profilesWindow; }
        };
        Subclass group;
        QCOMPARE(group.window(), nullptr);
        alignas(8) char somewhere[8];
        auto* window = reinterpret_cast<KRXProfilesWindow*>(somewhere);
        group.setProfilesWindow(window);
        QCOMPARE(group.window(), window);
    }
};

QTEST_MAIN(TestZorMetadata)
#include "test_zor_metadata.moc"
