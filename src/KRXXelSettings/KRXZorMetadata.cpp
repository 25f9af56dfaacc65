#include "KRXZorMetadata.h"

#include "KRXFields.h"
#include "KRXText.h"
#include "XelLayout.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QComboBox>
#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>

namespace {

enum ReelNaming { SourceFileName, SourceFolderName };
constexpr KRXFields::Choice kReelNamings[] = {
    {QT_TRID_NOOP("Source file name"), nullptr, "FILENAME"},
    {QT_TRID_NOOP("Source folder name"), nullptr, "FOLDERNAME"},
};

/// The folder that gives the reel its name; the row plus one is what a profile stores.
constexpr const char* kFolderLevels[] = {
    QT_TRID_NOOP("One folder up"),    QT_TRID_NOOP("Two folders up"),   QT_TRID_NOOP("Three folders up"),
    QT_TRID_NOOP("Four folders up"),  QT_TRID_NOOP("Five folders up"),  QT_TRID_NOOP("Six folders up"),
    QT_TRID_NOOP("Seven folders up"), QT_TRID_NOOP("Eight folders up"),
};

enum FrameCounting { CountFromZero };
constexpr KRXFields::Choice kFrameCountings[] = {
    {QT_TRID_NOOP("Start frame count at 0"), nullptr, "ZERO"},
    {QT_TRID_NOOP("Start frame count at 1"), nullptr, "ONE"},
    {QT_TRID_NOOP("Convert timecode to frames"), nullptr, "TIMECODE"},
    {QT_TRID_NOOP("From file name"), nullptr, "FILENAME"},
};

enum Timecode { Embedded };
constexpr KRXFields::Choice kTimecodes[] = {
    {QT_TRID_NOOP("Embedded in source file"), nullptr, "EMBEDDED"},
    {QT_TRID_NOOP("From file name"), nullptr, "FILENAME"},
};

enum ZorField { ReelNamingMethod, ReelFolderLevel, FrameCountingMethod, TimecodeMethod, DefaultRate };
constexpr KRXFields::Field kFields[] = {
    {"reelNamingMethod", &KRXFields::kRadios, {kReelNamings}},
    {"reelFolderLevel", &KRXFields::kComboIndex},
    {"frameCountingMethod", &KRXFields::kRadios, {kFrameCountings}},
    {"timecodeMethod", &KRXFields::kRadios, {kTimecodes}},
    {"defaultFPS", &KRXFields::kComboDataByText},
};
constexpr KRXFields::Section kSection = {"zorMetadata", kFields};

QWidget* addPanelOf(QVBoxLayout* column, const KRXFields::Field& field)
{
    return XelLayout::addPanel(column, QLatin1String(field.element));
}

} // namespace

QWidget* KRXZorMetadata::createWidget()
{
    if (m_widget)
        return m_widget;
    m_widget = new QWidget;
    QVBoxLayout* column = XelLayout::makeColumn(m_widget);
    addReelPanel(column);
    addFrameCountPanel(column);
    addTimecodePanel(column);
    addDefaultFPSPanel(column);
    return m_widget;
}

void KRXZorMetadata::addReelPanel(QVBoxLayout* column)
{
    QWidget* panel = addPanelOf(column, kFields[ReelNamingMethod]);
    QVBoxLayout* layout = XelLayout::panelLayout(panel);
    layout->addWidget(new QLabel(KRXText::localised("Reel name for Labroll column based on:")));
    QButtonGroup* naming = XelLayout::addRadios(panel, layout, kFields[ReelNamingMethod], SourceFileName);

    auto* level = new QComboBox;
    level->setObjectName(QLatin1String(kFields[ReelFolderLevel].element));
    level->setFixedWidth(XelLayout::kNarrowBoxWidth);
    for (const char* text : kFolderLevels)
        level->addItem(KRXText::localised(text), level->count() + 1);
    level->setEnabled(false);
    QObject::connect(naming->button(SourceFolderName), &QAbstractButton::toggled, level,
                     &QWidget::setEnabled);
    XelLayout::addRow(layout, {level}, XelLayout::kIndent);
}

void KRXZorMetadata::addFrameCountPanel(QVBoxLayout* column)
{
    QWidget* panel = addPanelOf(column, kFields[FrameCountingMethod]);
    QVBoxLayout* layout = XelLayout::panelLayout(panel);
    layout->addWidget(new QLabel(KRXText::localised("Frame Count for DPX column:")));
    XelLayout::addRadios(panel, layout, kFields[FrameCountingMethod], CountFromZero);
}

void KRXZorMetadata::addTimecodePanel(QVBoxLayout* column)
{
    QWidget* panel = addPanelOf(column, kFields[TimecodeMethod]);
    QVBoxLayout* layout = XelLayout::panelLayout(panel);
    layout->addWidget(new QLabel(KRXText::localised("Timecode for Start column:")));
    XelLayout::addRadios(panel, layout, kFields[TimecodeMethod], Embedded);
}

void KRXZorMetadata::addDefaultFPSPanel(QVBoxLayout* column)
{
    QWidget* panel = addPanelOf(column, kFields[DefaultRate]);
    QVBoxLayout* layout = XelLayout::panelLayout(panel);
    layout->addWidget(new QLabel(KRXText::localised("Default FPS:")));
    m_defaultFPSBox = new QComboBox;
    m_defaultFPSBox->setFixedWidth(XelLayout::kNarrowBoxWidth);
    XelLayout::addRow(layout, {m_defaultFPSBox}, XelLayout::kIndent);
}

void KRXZorMetadata::writeXml(QDomDocument* doc, QDomElement& parent)
{
    KRXFields::appendSection(*doc, parent, kSection, m_widget);
}

void KRXZorMetadata::readXml(const QDomElement& root)
{
    KRXFields::readSection(root, kSection, m_widget);
}

QComboBox* KRXZorMetadata::getDefaultFPSBox() const
{
    return m_defaultFPSBox;
}

void KRXZorMetadata::setProfilesWindow(KRXProfilesWindow* window)
{
    m_profilesWindow = window;
}
