#include "KRXZorMetadata.h"

#include "KRXText.h"
#include "KRXXml.h"
#include "XelLayout.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QComboBox>
#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>

namespace {

enum ReelNaming { SourceFileName, SourceFolderName };
constexpr XelFields::RadioChoice kReelNamings[] = {
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
constexpr XelFields::RadioChoice kFrameCountings[] = {
    {QT_TRID_NOOP("Start frame count at 0"), nullptr, "ZERO"},
    {QT_TRID_NOOP("Start frame count at 1"), nullptr, "ONE"},
    {QT_TRID_NOOP("Convert timecode to frames"), nullptr, "TIMECODE"},
    {QT_TRID_NOOP("From file name"), nullptr, "FILENAME"},
};

enum Timecode { Embedded };
constexpr XelFields::RadioChoice kTimecodes[] = {
    {QT_TRID_NOOP("Embedded in source file"), nullptr, "EMBEDDED"},
    {QT_TRID_NOOP("From file name"), nullptr, "FILENAME"},
};

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
    QWidget* panel = XelLayout::addPanel(column, QStringLiteral("reelNamingMethod"));
    QVBoxLayout* layout = XelLayout::panelLayout(panel);
    layout->addWidget(new QLabel(KRXText::localised("Reel name for Labroll column based on:")));
    QButtonGroup* naming = XelLayout::addRadios(panel, layout, kReelNamings, SourceFileName);

    auto* level = new QComboBox;
    level->setObjectName(QStringLiteral("reelFolderLevel"));
    level->setFixedWidth(XelLayout::kNarrowBoxWidth);
    for (const char* text : kFolderLevels)
        level->addItem(KRXText::localised(text), level->count() + 1);
    level->setEnabled(false);
    QObject::connect(naming->button(SourceFolderName), &QAbstractButton::toggled, level,
                     &QWidget::setEnabled);
    XelLayout::addRow(layout, {level}, XelLayout::kIndent);

    m_fields.push_back(XelFields::bindRadios(panel->objectName(), naming, kReelNamings));
    m_fields.push_back(XelFields::bindComboBoxNumber(level->objectName(), level));
}

void KRXZorMetadata::addFrameCountPanel(QVBoxLayout* column)
{
    QWidget* panel = XelLayout::addPanel(column, QStringLiteral("frameCountingMethod"));
    QVBoxLayout* layout = XelLayout::panelLayout(panel);
    layout->addWidget(new QLabel(KRXText::localised("Frame Count for DPX column:")));
    QButtonGroup* counting = XelLayout::addRadios(panel, layout, kFrameCountings, CountFromZero);
    m_fields.push_back(XelFields::bindRadios(panel->objectName(), counting, kFrameCountings));
}

void KRXZorMetadata::addTimecodePanel(QVBoxLayout* column)
{
    QWidget* panel = XelLayout::addPanel(column, QStringLiteral("timecodeMethod"));
    QVBoxLayout* layout = XelLayout::panelLayout(panel);
    layout->addWidget(new QLabel(KRXText::localised("Timecode for Start column:")));
    QButtonGroup* timecode = XelLayout::addRadios(panel, layout, kTimecodes, Embedded);
    m_fields.push_back(XelFields::bindRadios(panel->objectName(), timecode, kTimecodes));
}

void KRXZorMetadata::addDefaultFPSPanel(QVBoxLayout* column)
{
    QWidget* panel = XelLayout::addPanel(column, QStringLiteral("defaultFPS"));
    QVBoxLayout* layout = XelLayout::panelLayout(panel);
    layout->addWidget(new QLabel(KRXText::localised("Default FPS:")));
    m_defaultFPSBox = new QComboBox;
    m_defaultFPSBox->setFixedWidth(XelLayout::kNarrowBoxWidth);
    XelLayout::addRow(layout, {m_defaultFPSBox}, XelLayout::kIndent);
    m_fields.push_back(XelFields::bindComboBox(panel->objectName(), m_defaultFPSBox,
                                               XelFields::ItemPart::Data, XelFields::ItemPart::Text));
}

void KRXZorMetadata::writeXml(QDomDocument* doc, QDomElement& parent)
{
    QDomElement detail = doc->createElement(QStringLiteral("zorMetadata"));
    XelFields::write(*doc, detail, m_fields);
    parent.appendChild(detail);
}

void KRXZorMetadata::readXml(const QDomElement& root)
{
    XelFields::read(KRXXml::firstElement(root, QStringLiteral("zorMetadata")), m_fields);
}

QComboBox* KRXZorMetadata::getDefaultFPSBox() const
{
    return m_defaultFPSBox;
}

void KRXZorMetadata::setProfilesWindow(KRXProfilesWindow* window)
{
    m_profilesWindow = window;
}
