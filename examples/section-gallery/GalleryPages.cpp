#include "GalleryPages.h"

#include "ActionTWidget.h"
#include "CodecBox.h"
#include "CopyToPathWidget.h"
#include "KRXLinkOptionsSettings.h"
#include "KRXSettingsController.h"
#include "KRXTwistWidget.h"
#include "KRXZorMetadata.h"
#include "StandInHost.h"
#include "StandInMedia.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDomDocument>
#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>

namespace {

constexpr int kPageWidth = 680;

/// A row in every state of being dragged over, selected or disabled.
class GalleryRow : public KRXTwistWidget
{
public:
    explicit GalleryRow(const QString& title)
        : KRXTwistWidget(nullptr, title)
    {
        addWidgetToBody(new QLabel(QStringLiteral("What the row is about")), 0);
    }

    bool showDropIndicator() const override { return m_dropPosition != NoDrop; }
    void showDropAtTop() { m_dropPosition = DropAtTop; }
    void showDropAtBottom() { m_dropPosition = DropAtBottom; }
};

/// An action row that looks as if another one were dragged over it.
class GalleryActionRow : public ActionTWidget
{
public:
    using ActionTWidget::ActionTWidget;
    void showDropAtTop() { m_dropPosition = DropAtTop; }
};

QWidget* makePage()
{
    auto* page = new QWidget;
    page->setAutoFillBackground(true);
    page->setFixedWidth(kPageWidth);
    auto* layout = new QVBoxLayout(page);
    layout->setSpacing(6);
    return page;
}

KRXTwistWidget* addOpenSection(QWidget* page, const QString& title)
{
    auto* section = new KRXTwistWidget(page, title);
    section->setUseTransparentBackground(true);
    QFont font = section->font();
    font.setBold(true);
    section->setTitleFont(font);
    page->layout()->addWidget(section);
    section->setOpen(true);
    return section;
}

void fillRates(QComboBox* box, const QString& current)
{
    for (const QString& rate : StandInHost::frameRateTexts())
        box->addItem(rate, rate);
    box->setCurrentIndex(qMax(0, box->findText(current)));
}

/// A profile whose values show: a bin name, a grouping, a folder level.
void showValues(KRXSettingsController* controller)
{
    QDomDocument profile;
    profile.setContent(QStringLiteral(
        "<profile><profileSettings>"
        "<binDetail><binNamingMethod>EXPLICIT</binNamingMethod><binExplicitName>Rushes Day "
        "12</binExplicitName>"
        "<binSelectionMethod>CREATENEW</binSelectionMethod></binDetail>"
        "<linkDetail><multichannelAudio>1-2:Stereo;3-8:5.1</multichannelAudio></linkDetail>"
        "<zorMetadata><reelNamingMethod>FOLDERNAME</reelNamingMethod><reelFolderLevel>3</reelFolderLevel></"
        "zorMetadata>"
        "<volumeMountingDetail><doNotCheckPreviousForModifications>true</doNotCheckPreviousForModifications>"
        "</volumeMountingDetail></profileSettings></profile>"));
    controller->updateUI(profile);
}

QWidget* makeSettingsPage()
{
    QWidget* page = makePage();
    KRXTwistWidget* section = addOpenSection(page, QStringLiteral("Link Settings"));
    auto* controller = new KRXSettingsController(section, nullptr);
    for (const XelSettingsType type : {PluginSettings, BinsSettings, QualitySettings, LinkOptionsSettings,
                                       VolumeMountingSettings, ZorMetadataSettings})
        controller->addNewSetting(type);
    auto* options = static_cast<KRXLinkOptionsSettings*>(controller->getSettingsByType(LinkOptionsSettings));
    fillRates(options->getAudioStartTimeBox(), QStringLiteral("25"));
    fillRates(options->getStillImageBox(), QStringLiteral("23.976"));
    auto* metadata = static_cast<KRXZorMetadata*>(controller->getSettingsByType(ZorMetadataSettings));
    fillRates(metadata->getDefaultFPSBox(), QStringLiteral("24"));
    showValues(controller);
    for (auto* group : section->findChildren<KRXTwistWidget*>())
        group->setOpen(true);
    return page;
}

QWidget* makeSectionsPage()
{
    QWidget* page = makePage();
    KRXTwistWidget* nested = addOpenSection(page, QStringLiteral("Nested sections"));
    KRXTwistWidget* level = nested;
    for (const char* title : {"First level", "Second level", "Third level"}) {
        level->addSubTW(QStringLiteral("%1, closed").arg(QLatin1String(title)));
        level = level->addSubTW(QStringLiteral("%1, open").arg(QLatin1String(title)));
        level->addWidgetToBody(new QLabel(QStringLiteral("Content stands right of the arrow.")), 0);
        level->setOpen(true);
    }

    KRXTwistWidget* rows = addOpenSection(page, QStringLiteral("Rows"));
    const auto addRow = [rows](const QString& title) {
        auto* row = new GalleryRow(title);
        rows->addSubTW(row, 0);
        return row;
    };
    addRow(QStringLiteral("Even row"));
    addRow(QStringLiteral("Odd row"));
    addRow(QStringLiteral("Selected even row"))->setSelected(true);
    addRow(QStringLiteral("Selected odd row"))->setSelected(true);
    GalleryRow* open = addRow(QStringLiteral("Selected open row"));
    open->setSelected(true);
    open->setOpen(true);
    addRow(QStringLiteral("Dropping above"))->showDropAtTop();
    addRow(QStringLiteral("Dropping below"))->showDropAtBottom();
    GalleryRow* both = addRow(QStringLiteral("Selected, dropping below"));
    both->setSelected(true);
    both->showDropAtBottom();
    addRow(QStringLiteral("Disabled row"))->setEnabled(false);
    return page;
}

/// Fills the boxes that a host's editor fills.
void showCodecs(ActionTWidget* row)
{
    auto* codecs = row->findChild<CodecBox*>();
    if (!codecs)
        return;
    for (const StandInHost::Compression& compression : StandInHost::catalogue().compressions) {
        codecs->addItem(compression.name, compression.id);
        if (codecs->count() > 1)
            continue;
        for (const StandInHost::EncodingProfile& profile : compression.profiles)
            codecs->getEncodingProfileBox()->addItem(profile.name, profile.id);
    }
}

QWidget* makeActionsPage()
{
    // The same pictures on every machine.
    StandInHost::setVolumes({{{QStringLiteral("System"), QString(QLatin1Char('/'))},
                              {QStringLiteral("Media"), QStringLiteral("/volumes/media")}}});
    QWidget* page = makePage();
    KRXTwistWidget* section = addOpenSection(page, QStringLiteral("Actions"));
    const auto addRow = [section](ActionType type, int number) {
        auto* row = new GalleryActionRow(section, type, number);
        section->addSubTW(row, 0);
        row->setOpen(true);
        showCodecs(row);
        return row;
    };
    addRow(ActionType::Copy, 1);
    GalleryActionRow* longPath = addRow(ActionType::Copy, 2);
    longPath->findChild<CopyToPathWidget*>()->setPath(QStringLiteral(
        "/volumes/rushes/2026/a production with a rather long name/day 12/camera A/card 3/backup"));
    addRow(ActionType::Consolidate, 0)->setSelected(true);
    GalleryActionRow* fallback = addRow(ActionType::Consolidate, 0);
    fallback->findChild<QCheckBox*>(QStringLiteral("performTranscodeIfConsolidateFails"))->setChecked(true);
    addRow(ActionType::Transcode, 1);
    GalleryActionRow* target = addRow(ActionType::Copy, 3);
    target->setOpen(false);
    target->showDropAtTop();
    return page;
}

} // namespace

namespace Gallery {

QList<Page> pages()
{
    return {
        {"settings", "Link settings", makeSettingsPage},
        {"sections", "Sections and rows", makeSectionsPage},
        {"actions", "Actions", makeActionsPage},
    };
}

} // namespace Gallery
