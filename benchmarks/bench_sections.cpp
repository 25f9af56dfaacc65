#include "Bench.h"

#include "KRXLinkOptionsSettings.h"
#include "KRXSettingsController.h"
#include "KRXTwistWidget.h"
#include "KRXZorMetadata.h"

#include <QApplication>
#include <QComboBox>
#include <QDomDocument>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>
#include <ctime>
#include <functional>
#include <vector>

namespace KRXBench {

namespace {

constexpr double kSettingsBudgetMs = 1;

void require(bool held, const char* what)
{
    if (!held)
        qFatal("the measure means nothing: %s", what);
}

/// The link settings as the profile editor shows them.
struct Settings
{
    Settings()
        : controller(new KRXSettingsController(&section, nullptr))
    {
        for (const XelSettingsType type :
             {PluginSettings, BinsSettings, LinkOptionsSettings, ZorMetadataSettings})
            controller->addNewSetting(type);
        const auto* options =
            static_cast<KRXLinkOptionsSettings*>(controller->getSettingsByType(LinkOptionsSettings));
        const auto* metadata =
            static_cast<KRXZorMetadata*>(controller->getSettingsByType(ZorMetadataSettings));
        for (QComboBox* box :
             {options->getAudioStartTimeBox(), options->getStillImageBox(), metadata->getDefaultFPSBox()}) {
            for (const char* rate : {"23.976", "24", "25", "29.97", "30", "50", "59.94", "60"})
                box->addItem(QLatin1String(rate), QLatin1String(rate));
        }
        section.show();
        for (auto* group : section.findChildren<KRXTwistWidget*>())
            group->setOpen(true);
        section.setOpen(true);
        QApplication::processEvents();
    }

    QDomDocument written() const
    {
        QDomDocument document;
        QDomElement profile = document.createElement(QStringLiteral("profile"));
        document.appendChild(profile);
        controller->getSettingsDefXMLElement(&document, profile);
        return document;
    }

    KRXTwistWidget section{nullptr, QStringLiteral("Link Settings & Actions")};
    KRXSettingsController* controller;
};

/// A profile in which every value differs from the one that a new editor shows.
QDomDocument otherProfile()
{
    QDomDocument document;
    require(
        document.setContent(QStringLiteral(
            "<profile><profileSettings><binDetail><binExplicitName>Rushes</binExplicitName>"
            "<binSelectionMethod>USEACTIVE</binSelectionMethod><binNamingMethod>EXPLICIT</binNamingMethod></"
            "binDetail>"
            "<linkDetail><xelPreferredPluginDetail><xelPluginName>Gone</xelPluginName><xelPluginGUID>x</"
            "xelPluginGUID>"
            "</xelPreferredPluginDetail><multichannelAudio>1-2:Stereo</multichannelAudio>"
            "<xelAudioStartTimeOption>25</xelAudioStartTimeOption><xelStillImageFPS>60</xelStillImageFPS></"
            "linkDetail>"
            "<zorMetadata><reelNamingMethod>FOLDERNAME</reelNamingMethod><reelFolderLevel>3</reelFolderLevel>"
            "<frameCountingMethod>TIMECODE</frameCountingMethod><timecodeMethod>FILENAME</timecodeMethod>"
            "<defaultFPS>50</defaultFPS></zorMetadata></profileSettings></profile>")),
        "the profile is XML");
    return document;
}

void measureSettings(Table& table)
{
    const Settings settings;
    QDomDocument first = settings.written();
    QDomDocument second = otherProfile();
    const QString text = first.toString(1);
    bool isSecond = false;
    QDomDocument parsed;
    const Pair read = medianPairMs(
        201,
        [&] {
            isSecond = !isSecond;
            settings.controller->updateUI(isSecond ? second : first);
        },
        [&] { require(parsed.setContent(text), "the floor's document is XML"); });
    Row& readRow = table.add(QStringLiteral("updateUI, four groups"), 1, read.ours, read.floor);
    readRow.must = QStringLiteral("<= 1 ms");
    readRow.met = read.ours <= kSettingsBudgetMs;

    settings.controller->updateUI(second);
    require(settings.written().toString(1).contains(QLatin1String("Rushes")),
            "the widgets follow the document");
    const Pair write = medianPairMs(
        201, [&] { require(settings.written().hasChildNodes(), "something is written"); },
        [&] { require(!first.toString(1).isEmpty(), "the floor prints its document"); });
    Row& writeRow =
        table.add(QStringLiteral("getSettingsDefXMLElement, four groups"), 1, write.ours, write.floor);
    writeRow.must = QStringLiteral("<= 1 ms");
    writeRow.met = write.ours <= kSettingsBudgetMs;
}

/// Median of the processor time of \a work in milliseconds. Opening and closing waits for nothing, so this is
/// its time on a machine that has nothing else to do.
double medianProcessorMs(const std::function<void()>& work)
{
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
    };
    constexpr int runs = 9;
    std::vector<double> times;
    work();
    for (int run = 0; run < runs; ++run) {
        const double start = now();
        work();
        times.push_back(now() - start);
    }
    std::nth_element(times.begin(), times.begin() + runs / 2, times.end());
    return times[runs / 2];
}

void settle()
{
    QApplication::sendPostedEvents();
    QApplication::processEvents();
}

/// A scroll area with a column in it.
struct Column
{
    Column()
    {
        auto* content = new QWidget;
        layout = new QVBoxLayout(content);
        area.setWidgetResizable(true);
        area.setWidget(content);
        area.resize(500, 600);
    }

    QScrollArea area;
    QVBoxLayout* layout = nullptr;
};

/// Open and close a section with \a n open sections inside it, side by side or one inside the other.
double toggleMs(int n, bool isDeep)
{
    Column column;
    auto* outer = new KRXTwistWidget(nullptr, QStringLiteral("Outer"));
    column.layout->addWidget(outer);
    column.layout->addStretch();
    KRXTwistWidget* around = outer;
    for (int i = 0; i < n; ++i) {
        KRXTwistWidget* inner = around->addSubTW(QString::number(i));
        inner->addWidgetToBody(new QLabel(QStringLiteral("content")), 0);
        inner->setOpen(true);
        if (isDeep)
            around = inner;
    }
    column.area.show();
    settle();
    const auto toggle = [&] {
        outer->setOpen(true);
        settle();
        require(outer->height() > n * 25, "the section is open");
        outer->setOpen(false);
        settle();
        require(outer->height() == 25, "the section is closed");
    };
    return medianProcessorMs(toggle);
}

/// What any container of Qt costs: a widget with as many titles and labels in one plain layout.
double plainToggleMs(int n)
{
    Column column;
    auto* body = new QWidget;
    auto* inside = new QVBoxLayout(body);
    for (int i = 0; i < n; ++i) {
        inside->addWidget(new QLabel(QString::number(i)));
        inside->addWidget(new QLabel(QStringLiteral("content")));
    }
    column.layout->addWidget(body);
    column.layout->addStretch();
    body->hide();
    column.area.show();
    settle();
    return medianProcessorMs([&] {
        body->show();
        settle();
        body->hide();
        settle();
    });
}

void measureToggles(Table& table)
{
    for (const int n : {10, 100, 1000}) {
        Row& row = table.add(QStringLiteral("open and close a section, N beside each other inside"), n,
                             toggleMs(n, false), plainToggleMs(n));
        // A thousand only informs: there Qt's comparing of widgets that are to be painted begins to show.
        if (n == 100) {
            row.must = QStringLiteral("linear (growth <= 15)");
            row.met = row.growth <= 15;
        }
    }
    for (const int n : {10, 100}) {
        Row& row = table.add(QStringLiteral("open and close a section, N inside one another"), n,
                             toggleMs(n, true), 0);
        if (n > 10) {
            row.must = QStringLiteral("linear (growth <= 15)");
            row.met = row.growth <= 15;
        }
    }
}

} // namespace

void measureSections(Table& table)
{
    measureSettings(table);
    measureToggles(table);
}

} // namespace KRXBench
