#include "ActionRow.h"
#include "AudioOptions.h"
#include "ConsolidateAction.h"
#include "CopyMoveAction.h"
#include "CopyToPathWidget.h"
#include "DestinationDrives.h"
#include "FittedComboBox.h"
#include "KRXTest.h"
#include "TranscodeAction.h"

#include <QAbstractItemView>
#include <QGridLayout>
#include <QLabel>
#include <QPointer>

#include <algorithm>
#include <memory>

using namespace ActionsWorld;

namespace {

struct CheckLook
{
    const char* name;
    const char* text;
    const char* toolTip;
};

void compareChecks(QWidget* options, const QList<CheckLook>& looks)
{
    for (const CheckLook& look : looks) {
        const auto* check = options->findChild<QCheckBox*>(QLatin1String(look.name));
        QVERIFY2(check, look.name);
        QCOMPARE(check->text(), QString::fromLatin1(look.text));
        QCOMPARE(check->toolTip(), QString::fromLatin1(look.toolTip));
    }
    QCOMPARE(options->findChildren<QCheckBox*>().count(), looks.count());
}

const QList<CheckLook> kAudioChecks = {
    {"convertAudioSampleRate", "Convert Audio Sample Rate",
     "Select This Option to Convert the Sample Rate to 32 kHz, 44.1kHz, or 48 kHz"},
    {"convertAudioBitDepth", "Convert Audio Bit Depth",
     "Select This Option to Convert the Bit Depth to 16 Bit or 24 Bit"},
    {"convertAudioFormat", "Convert Audio Format",
     "Select either OMF (WAVE), OMF(AIFF-C), or MXF (PCM) Audio Format"},
};

const QList<CheckLook> kVideoChecks = {
    {"videoIncludeReformattedContent", "Apply Reformatting option (compatibility mode)", ""},
    {"applyColorTransformations", "Apply color transformations (compatibility mode)", ""},
};

QGridLayout* gridOf(QWidget* widget)
{
    for (QGridLayout* grid : widget->parentWidget()->findChildren<QGridLayout*>()) {
        if (grid->indexOf(widget) >= 0)
            return grid;
    }
    return nullptr;
}

/// The label in front of a box, found by its place in the grid.
QString labelOf(QWidget* box)
{
    QGridLayout* grid = gridOf(box);
    if (!grid)
        return QString();
    int row = 0;
    int column = 0;
    int rowSpan = 0;
    int columnSpan = 0;
    grid->getItemPosition(grid->indexOf(box), &row, &column, &rowSpan, &columnSpan);
    QLayoutItem* item = grid->itemAtPosition(row, column - 1);
    const auto* label = item ? qobject_cast<QLabel*>(item->widget()) : nullptr;
    return label ? label->text() : QString();
}

int gridRow(QWidget* widget, int* columnSpan = nullptr)
{
    QGridLayout* grid = gridOf(widget);
    int row = -1;
    int column = 0;
    int rowSpan = 0;
    int span = 0;
    if (grid)
        grid->getItemPosition(grid->indexOf(widget), &row, &column, &rowSpan, &span);
    if (columnSpan)
        *columnSpan = span;
    return row;
}

QStringList labels(const QWidget* options)
{
    QStringList texts;
    for (const QLabel* label : options->findChildren<QLabel*>())
        texts.append(label->text());
    return texts;
}

struct BoxLook
{
    const char* name;
    const char* label;
    int minimumWidth;
};

/// Compares boxes of the grid, which stand in its rows from the first one on.
void compareVideoBoxes(QWidget* options, const QList<BoxLook>& looks)
{
    int row = 0;
    for (const BoxLook& look : looks) {
        auto* box = options->findChild<QComboBox*>(QLatin1String(look.name));
        QVERIFY2(box, look.name);
        QCOMPARE(gridRow(box), row++);
        QCOMPARE(labelOf(box), QString::fromLatin1(look.label));
        QCOMPARE(box->minimumWidth(), look.minimumWidth);
    }
}

QLabel* labelWith(ActionRow& row, const char* text)
{
    for (QLabel* label : row.action().widget()->findChildren<QLabel*>()) {
        if (label->text() == QLatin1String(text))
            return label;
    }
    return nullptr;
}

/// The places in the column of options of what holds each widget: the widget itself, a widget around it, or a
/// grid. -1 for one that stands in none.
QList<int> placesInColumn(ActionRow& row, const QList<QWidget*>& widgets)
{
    const QLayout* column = row.action().widget()->layout();
    QList<int> places;
    for (QWidget* widget : widgets) {
        int place = -1;
        for (int index = 0; index < column->count() && place < 0; ++index) {
            QLayoutItem* item = column->itemAt(index);
            const bool inLayout = item->layout() && item->layout()->indexOf(widget) >= 0;
            const bool inWidget =
                item->widget() && (item->widget() == widget || item->widget()->isAncestorOf(widget));
            if (inLayout || inWidget)
                place = index;
        }
        places.append(place);
    }
    return places;
}

int top(const QWidget* widget, const QWidget* options)
{
    return widget->mapTo(options, QPoint(0, 0)).y();
}

} // namespace

class TestActionOptions : public QObject
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void copyOptions();
    void transcodeOptions();
    void consolidateOptions();
    void audioBlockIsTheSameInBoth_data();
    void audioBlockIsTheSameInBoth();
    void optionsFitTheirFixedHeight_data();
    void optionsFitTheirFixedHeight();
    void optionsOfATranscodeStandInTheirOrder();
    void optionsOfAConsolidateStandInTheirOrder();
    void narrowBoxesShowTheirTextsWhole();
    void textsAreLocalised();
    void createWidgetCalledAgainReturnsTheSameWidget();
    void actionDeletesItsWidget();
    void widgetThatItsParentDeletedIsNotDeletedAgain();

    void defaultsOfACopy();
    void defaultsOfATranscode();
    void defaultsOfAConsolidate();
    void defaultsThatAreNotOfferedAreTheFirst();
    void defaultsCalledAgainDoNotAccumulateItems();
    void defaultsCalledAgainSelectTheFirstDebayerSetting_data();
    void defaultsCalledAgainSelectTheFirstDebayerSetting();
    void transcodeGroupFollowsItsCheckBox();

    void validationOfACopy();
    void copyToAPathThatNoDocumentCanCarryIsRefused();
    void transcodeAndConsolidateAlwaysPass();
};

void TestActionOptions::copyOptions()
{
    CopyMoveAction action(0);
    const std::unique_ptr<QWidget> options(action.createWidget());
    QCOMPARE(options->minimumHeight(), 70);
    QCOMPARE(options->maximumHeight(), 70);
    const auto* folder = options->findChild<CopyToPathWidget*>(QStringLiteral("filesystemPath"));
    QVERIFY(folder);
    QCOMPARE(folder->toolTip(), QStringLiteral("Choose the Location Where You Want the files Copied to"));
    compareChecks(options.get(),
                  {{"relinkAfterCopy", "Auto Relink when complete",
                    "Automatically Relink Files When Copy is Completed"},
                   {"autoCheckin", "Check in to Ledgerhouse", "Checks in assets to Ledgerhouse"}});
}

void TestActionOptions::transcodeOptions()
{
    TranscodeAction action(0);
    const std::unique_ptr<QWidget> options(action.createWidget());
    QCOMPARE(options->minimumHeight(), 360);
    QCOMPARE(options->maximumHeight(), 360);
    compareChecks(options.get(), kVideoChecks + kAudioChecks);
    QVERIFY(labels(options.get()).contains(QStringLiteral("Transcode Video Resolution:")));
    compareVideoBoxes(options.get(), {{"videoProjectType", "Project Type:", 0},
                                      {"videoColorSpace", "Color Space:", 0},
                                      {"videoRaster", "Raster:", 0},
                                      {"videoCompressionType", "Codec:", 150},
                                      {"encodingProfile", "Encoding Profiles:", 150},
                                      {"videoDebayerSetting", "Linked Source Scaling/Quality:", 0}});
    QVERIFY(options->findChild<CodecBox*>(QStringLiteral("videoCompressionType")));
    QVERIFY(options->findChild<DestinationDrives*>());
}

void TestActionOptions::consolidateOptions()
{
    ConsolidateAction action(0);
    const std::unique_ptr<QWidget> options(action.createWidget());
    QCOMPARE(options->minimumHeight(), 450);
    QCOMPARE(options->maximumHeight(), 450);
    compareChecks(options.get(),
                  QList<CheckLook>{
                      {"videoSkipOnTarget", "Skip Media Already On Target Drive",
                       "Select to Bypass Files if Some Related Media Files are Already Located on the "
                       "Target Drives"},
                      {"videoRelinkSkippedToTarget", "Relink selected clips to target drive before skipping",
                       "Select to Ensure That all Selected Clips are Linked to Media on the Target Drive"},
                      {"performTranscodeIfConsolidateFails", "If unable to consolidate then transcode", ""}} +
                      kVideoChecks + kAudioChecks);
    QVERIFY(labels(options.get()).contains(QStringLiteral("Audio:")));
    const QList<BoxLook> boxes = {{"videoProjectType", "Project Type:", 100},
                                  {"videoColorSpace", "Color Space:", 100},
                                  {"videoRaster", "Raster:", 100},
                                  {"videoCompressionType", "Codec:", 150},
                                  {"encodingProfile", "Encoding Profiles:", 150},
                                  {"videoDebayerSetting", "Source Quality (Debayer):", 150}};
    compareVideoBoxes(options.get(), boxes);
    int row = boxes.size();
    for (const char* name : {"videoIncludeReformattedContent", "applyColorTransformations"}) {
        int span = 0;
        QCOMPARE(gridRow(options->findChild<QCheckBox*>(QLatin1String(name)), &span), row++);
        QCOMPARE(span, 2);
    }
    const struct
    {
        const char* name;
        int width;
    } widths[] = {{"audioSampleRate", 60}, {"audioSampleWidth", 60}, {"audioFormat", 100}};
    for (const auto& expected : widths) {
        const auto* box = options->findChild<QComboBox*>(QLatin1String(expected.name));
        QCOMPARE(box->minimumWidth(), expected.width);
        QCOMPARE(box->maximumWidth(), expected.width);
    }
}

void TestActionOptions::audioBlockIsTheSameInBoth_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("transcode") << int(ActionType::Transcode);
    QTest::newRow("consolidate") << int(ActionType::Consolidate);
}

void TestActionOptions::audioBlockIsTheSameInBoth()
{
    QFETCH(int, type);
    ActionRow row{ActionType(type)};
    const struct
    {
        const char* check;
        const char* box;
        const char* label;
    } rows[] = {{"convertAudioSampleRate", "audioSampleRate", "Target Audio Sample Rate:"},
                {"convertAudioBitDepth", "audioSampleWidth", "Target Audio Bit Depth:"},
                {"convertAudioFormat", "audioFormat", "Target Audio Wrapper Format:"}};
    for (const auto& expected : rows) {
        QCOMPARE(labelOf(row.box(expected.box)), QString::fromLatin1(expected.label));
        // The target stands below its check box: beside it, both are wider than the editor.
        QCOMPARE(gridRow(row.check(expected.check)) + 1, gridRow(row.box(expected.box)));
    }
}

void TestActionOptions::optionsFitTheirFixedHeight_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("copy") << int(ActionType::Copy);
    QTest::newRow("consolidate") << int(ActionType::Consolidate);
    QTest::newRow("transcode") << int(ActionType::Transcode);
}

void TestActionOptions::optionsFitTheirFixedHeight()
{
    QFETCH(int, type);
    ActionRow row{ActionType(type)};
    QWidget* options = row.action().widget();
    const int needed = options->layout()->minimumSize().height();
    QVERIFY2(needed <= options->maximumHeight(),
             qPrintable(QStringLiteral("%1 of %2").arg(needed).arg(options->maximumHeight())));
    if (ActionType(type) == ActionType::Copy)
        return;
    // From top to bottom: video and audio parts in the order of their action, the drives at the end.
    row.section.setOpen(true);
    row.row->setOpen(true);
    options->resize(500, options->maximumHeight());
    options->layout()->activate();
    for (QWidget* child : options->findChildren<QWidget*>()) {
        if (child->layout())
            child->layout()->activate();
    }
    QList<int> tops;
    const bool isTranscode = ActionType(type) == ActionType::Transcode;
    for (const char* name : {"videoProjectType", "videoCompressionType", "videoIncludeReformattedContent",
                             "applyColorTransformations"})
        tops.append(top(row.option<QWidget>(name), options));
    QList<int> audioTops;
    for (const char* name : {"audioSampleRate", "audioSampleWidth", "audioFormat"})
        audioTops.append(top(row.option<QWidget>(name), options));
    const QList<int> all = (isTranscode ? tops + audioTops : audioTops + tops) +
                           QList<int>{top(options->findChild<DestinationDrives*>(), options)};
    QVERIFY(std::is_sorted(all.begin(), all.end()));
    QCOMPARE(QSet<int>(all.begin(), all.end()).count(), all.count());
}

void TestActionOptions::optionsOfATranscodeStandInTheirOrder()
{
    ActionRow row(ActionType::Transcode);
    QCOMPARE(placesInColumn(row, {labelWith(row, "Transcode Video Resolution:"), row.codec(),
                                  row.check("videoIncludeReformattedContent"),
                                  row.check("applyColorTransformations"), row.box("audioSampleRate"),
                                  row.action().widget()->findChild<DestinationDrives*>()}),
             QList<int>({0, 1, 2, 3, 4, 5}));
    QCOMPARE(placesInColumn(row, {row.box("videoProjectType"), row.box("audioFormat")}), QList<int>({1, 4}));
}

void TestActionOptions::optionsOfAConsolidateStandInTheirOrder()
{
    ActionRow row(ActionType::Consolidate);
    QCOMPARE(placesInColumn(row, {row.check("videoSkipOnTarget"), row.check("videoRelinkSkippedToTarget"),
                                  labelWith(row, "Audio:"), row.box("audioSampleRate"),
                                  row.check("performTranscodeIfConsolidateFails"), row.codec(),
                                  row.action().widget()->findChild<DestinationDrives*>()}),
             QList<int>({0, 1, 2, 3, 4, 5, 6}));
    QCOMPARE(placesInColumn(row, {row.check("applyColorTransformations"), row.box("audioFormat")}),
             QList<int>({5, 3}));
}

void TestActionOptions::narrowBoxesShowTheirTextsWhole()
{
    // Two texts that differ only at their ends look different, so the ends are not cut off; in a plain box of
    // that width they look alike.
    const auto picture = [](QComboBox* box, const QString& text) {
        const std::unique_ptr<QComboBox> owner(box);
        QFont font = box->font();
        font.setPointSize(9);
        box->setFont(font);
        box->setFixedWidth(60);
        box->addItem(text);
        return box->grab().toImage();
    };
    const QString texts[] = {QStringLiteral("44.1 kHz"), QStringLiteral("44.1 kHl")};
    QCOMPARE(picture(new QComboBox, texts[0]), picture(new QComboBox, texts[1]));
    QVERIFY(picture(new FittedComboBox(nullptr), texts[0]) != picture(new FittedComboBox(nullptr), texts[1]));
    // What fits is painted as everywhere.
    QCOMPARE(picture(new FittedComboBox(nullptr), QStringLiteral("4")),
             picture(new QComboBox, QStringLiteral("4")));

    ActionRow row(ActionType::Consolidate);
    for (const char* name : {"audioSampleRate", "audioSampleWidth", "audioFormat"})
        QVERIFY(row.option<FittedComboBox>(name));
    row.editor.show();
    row.section.setOpen(true);
    row.row->setOpen(true);
    QComboBox* format = row.box("audioFormat");
    format->showPopup();
    QVERIFY(format->view()->width() >= format->view()->sizeHintForColumn(0));
    format->hidePopup();
}

void TestActionOptions::textsAreLocalised()
{
    StandInHost::setTranslator([](const QString& key) -> QString { return QLatin1Char('~') + key; });
    for (ActionType type : {ActionType::Copy, ActionType::Consolidate, ActionType::Transcode}) {
        ActionRow row(type);
        for (const QCheckBox* check : row.action().widget()->findChildren<QCheckBox*>())
            QVERIFY2(check->text().startsWith(QLatin1Char('~')), qPrintable(check->text()));
        for (const QString& label : labels(row.action().widget()))
            QVERIFY2(label.startsWith(QLatin1Char('~')), qPrintable(label));
        for (const QWidget* widget : row.action().widget()->findChildren<QWidget*>()) {
            if (!widget->toolTip().isEmpty())
                QVERIFY2(widget->toolTip().startsWith(QLatin1Char('~')), qPrintable(widget->toolTip()));
        }
    }
}

void TestActionOptions::createWidgetCalledAgainReturnsTheSameWidget()
{
    CopyMoveAction copy(0);
    ConsolidateAction consolidate(0);
    TranscodeAction transcode(0);
    for (IAction* action : {static_cast<IAction*>(&copy), static_cast<IAction*>(&consolidate),
                            static_cast<IAction*>(&transcode)}) {
        QWidget* widget = action->createWidget();
        QCOMPARE(action->widget(), widget);
        QCOMPARE(action->createWidget(), widget);
    }
}

void TestActionOptions::actionDeletesItsWidget()
{
    auto action = std::make_unique<TranscodeAction>(0);
    const QPointer<QWidget> widget(action->createWidget());
    action.reset();
    QVERIFY(!widget);
}

void TestActionOptions::widgetThatItsParentDeletedIsNotDeletedAgain()
{
    auto action = std::make_unique<ConsolidateAction>(0);
    auto parent = std::make_unique<QWidget>();
    action->createWidget()->setParent(parent.get());
    parent.reset();
    QCOMPARE(action->widget(), nullptr);
    action.reset();
}

void TestActionOptions::defaultsOfACopy()
{
    CopyMoveAction action(0);
    const std::unique_ptr<QWidget> options(action.createWidget());
    action.setDefaults();
    QCOMPARE(options->findChild<CopyToPathWidget*>()->path(), QString());
    for (const QCheckBox* check : options->findChildren<QCheckBox*>())
        QVERIFY(!check->isChecked());
    // The defaults of a copy change nothing.
    options->findChild<CopyToPathWidget*>()->setPath(QStringLiteral("/x"));
    action.setDefaults();
    QCOMPARE(options->findChild<CopyToPathWidget*>()->path(), QStringLiteral("/x"));
}

void TestActionOptions::defaultsOfATranscode()
{
    openProject(kHdRgb, 1440, 8);
    ActionRow row(ActionType::Transcode);
    QCOMPARE(row.codec()->currentData().toUInt(), kDefaultCodec);
    QCOMPARE(row.box("videoRaster")->currentText(), QStringLiteral("1440x1080"));
    QCOMPARE(row.box("audioSampleRate")->currentData().toInt(), 48000);
    QCOMPARE(row.box("audioSampleWidth")->currentData().toInt(), 24);
    QCOMPARE(row.box("audioFormat")->currentData().toInt(), 4);
    QCOMPARE(row.box("videoDebayerSetting")->currentData().toInt(), 0);
    QVERIFY(row.check("videoIncludeReformattedContent")->isChecked());
    for (const char* name : {"applyColorTransformations", "convertAudioSampleRate", "convertAudioBitDepth",
                             "convertAudioFormat"})
        QVERIFY2(!row.check(name)->isChecked(), name);
}

void TestActionOptions::defaultsOfAConsolidate()
{
    ActionRow row(ActionType::Consolidate);
    row.check("performTranscodeIfConsolidateFails")->setChecked(true);
    row.check("videoIncludeReformattedContent")->setChecked(true);
    row.check("applyColorTransformations")->setChecked(true);
    row.check("videoSkipOnTarget")->setChecked(false);
    row.action().setDefaults();
    QVERIFY(row.check("videoSkipOnTarget")->isChecked());
    QVERIFY(!row.check("performTranscodeIfConsolidateFails")->isChecked());
    QVERIFY(!row.codec()->isEnabled());
    QCOMPARE(row.codec()->currentData().toUInt(), kDefaultCodec);
    QCOMPARE(row.box("videoDebayerSetting")->currentData().toInt(), 0);
    QVERIFY(!row.check("videoIncludeReformattedContent")->isChecked());
    QVERIFY(!row.check("applyColorTransformations")->isChecked());
    QCOMPARE(row.box("audioSampleRate")->currentData().toInt(), 48000);
    QCOMPARE(row.box("audioSampleWidth")->currentData().toInt(), 24);
    QCOMPARE(row.box("audioFormat")->currentData().toInt(), 4);
}

void TestActionOptions::defaultsThatAreNotOfferedAreTheFirst()
{
    StandInHost::Project project = StandInHost::project();
    project.sampleRate = 96000;
    project.sampleSize = 20;
    project.audioFileFormat = 3;
    StandInHost::setProject(project);
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    catalogue.defaultCompression = 4711;
    StandInHost::setCatalogue(catalogue);
    ActionRow row(ActionType::Transcode);
    row.box("audioSampleRate")->setCurrentIndex(2);
    row.action().setDefaults();
    QCOMPARE(row.box("audioSampleRate")->currentIndex(), 0);
    QCOMPARE(row.box("audioSampleWidth")->currentIndex(), 0);
    QCOMPARE(row.box("audioFormat")->currentIndex(), 0);
    QCOMPARE(row.codec()->currentIndex(), 0);
}

void TestActionOptions::defaultsCalledAgainDoNotAccumulateItems()
{
    ActionRow row(ActionType::Transcode);
    row.action().setDefaults();
    row.action().setDefaults();
    QCOMPARE(row.box("audioSampleRate")->count(), 3);
    QCOMPARE(row.box("audioSampleWidth")->count(), 2);
    QCOMPARE(row.box("audioFormat")->count(), 2);
    QCOMPARE(row.box("videoDebayerSetting")->count(), 6);
    QCOMPARE(row.box("videoProjectType")->count(), 4);
}

void TestActionOptions::defaultsCalledAgainSelectTheFirstDebayerSetting_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("transcode") << int(ActionType::Transcode);
    QTest::newRow("consolidate") << int(ActionType::Consolidate);
}

void TestActionOptions::defaultsCalledAgainSelectTheFirstDebayerSetting()
{
    QFETCH(int, type);
    ActionRow row{ActionType(type)};
    QComboBox* debayer = row.box("videoDebayerSetting");
    debayer->setCurrentIndex(3);
    QVERIFY(debayer->currentData().toInt() != 0);
    row.action().setDefaults();
    QCOMPARE(debayer->currentData().toInt(), 0);
    // Items of someone else do not stay.
    debayer->clear();
    debayer->addItem(QStringLiteral("Other"), 99);
    row.action().setDefaults();
    QCOMPARE(debayer->count(), 6);
    QCOMPARE(debayer->currentData().toInt(), 0);
}

void TestActionOptions::transcodeGroupFollowsItsCheckBox()
{
    ActionRow row(ActionType::Consolidate);
    QCheckBox* fallback = row.check("performTranscodeIfConsolidateFails");
    for (bool on : {true, false, true}) {
        fallback->setChecked(on);
        for (const char* name : {"videoCompressionType", "encodingProfile", "videoDebayerSetting"})
            QCOMPARE(row.box(name)->isEnabled(), on);
        QCOMPARE(row.check("videoIncludeReformattedContent")->isEnabled(), on);
        QVERIFY(row.box("audioSampleRate")->isEnabled());
        QVERIFY(row.box("filesystemVideoVolume")->isEnabled());
    }
}

void TestActionOptions::validationOfACopy()
{
    CopyMoveAction action(0);
    const std::unique_ptr<QWidget> options(action.createWidget());
    QString error;
    QVERIFY(!action.validate(error));
    QCOMPARE(error, QStringLiteral("Copy to Folder action : Output folder not set !"));
    StandInHost::setTranslator([](const QString&) { return QStringLiteral("kein Ordner"); });
    QVERIFY(!action.validate(error));
    QCOMPARE(error, QStringLiteral("kein Ordner"));
    options->findChild<CopyToPathWidget*>()->setPath(QStringLiteral("/x"));
    error = QStringLiteral("untouched");
    QVERIFY(action.validate(error));
    QCOMPARE(error, QStringLiteral("untouched"));
}

void TestActionOptions::copyToAPathThatNoDocumentCanCarryIsRefused()
{
    CopyMoveAction action(0);
    const std::unique_ptr<QWidget> options(action.createWidget());
    for (const QString& path : {QString(QLatin1String("/bell") + QChar(7)), QString(QChar(0xd800)),
                                QString(QLatin1String("/x") + QChar(0xffff))}) {
        options->findChild<CopyToPathWidget*>()->setPath(path);
        QString error;
        QVERIFY(!action.validate(error));
        QCOMPARE(error,
                 QStringLiteral("Copy to Folder action : The path of the output folder has characters that "
                                "cannot be stored !"));
    }
}

void TestActionOptions::transcodeAndConsolidateAlwaysPass()
{
    StandInHost::setNoVolumes();
    for (ActionType type : {ActionType::Consolidate, ActionType::Transcode}) {
        ActionRow row(type);
        QString error = QStringLiteral("untouched");
        QVERIFY(row.action().validate(error));
        QCOMPARE(error, QStringLiteral("untouched"));
    }
}

QTEST_MAIN(TestActionOptions)
#include "test_action_options.moc"
