#include "KRXLinkOptionsSettings.h"

#include "KRXText.h"
#include "XelLayout.h"
#include "XelTables.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>

using namespace XelTables;

QWidget* KRXLinkOptionsSettings::createWidget()
{
    if (m_widget)
        return m_widget;
    m_widget = new QWidget;
    QVBoxLayout* column = XelLayout::makeColumn(m_widget);

    m_editButton = new QPushButton(KRXText::localised("Edit..."));
    m_editButton->setToolTip(
        KRXText::localised("Assign Audio Tracks to Specific Channels in Your Linked Media"));
    m_multichannelLabel = new QLabel(KRXText::localised("None"));
    m_multichannelLabel->setObjectName(QLatin1String(kLinkFields[MultichannelAudio].element));
    // The text comes from profiles, which anyone may have written.
    m_multichannelLabel->setTextFormat(Qt::PlainText);
    // A long grouping is cut off at the edge rather than making the editor as wide as itself.
    m_multichannelLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    QHBoxLayout* row = XelLayout::addRow(
        column, {new QLabel(KRXText::localised("Multichannel Audio :")), m_editButton, m_multichannelLabel});
    row->setStretchFactor(m_multichannelLabel, 1);

    column->addWidget(new QLabel(KRXText::localised("Audio Start-Time Option (for Broadcast Wave)")));
    m_audioStartTimeBox = new QComboBox;
    m_audioStartTimeBox->setObjectName(QLatin1String(kLinkFields[AudioStartTime].element));
    m_audioStartTimeBox->setToolTip(
        KRXText::localised("Set the Audio Project Rate for Broadcast Wave Files"));
    XelLayout::addRow(column, {new QLabel(KRXText::localised("Audio timecode rate:")), m_audioStartTimeBox});

    QWidget* stillImage = XelLayout::addPanel(column, QStringLiteral("Still_Image_FPS"), XelLayout::kIndent);
    m_stillImageBox = new QComboBox;
    m_stillImageBox->setObjectName(QLatin1String(kLinkFields[StillImageRate].element));
    m_stillImageBox->setFixedWidth(XelLayout::kNarrowBoxWidth);
    XelLayout::addRow(XelLayout::panelLayout(stillImage),
                      {new QLabel(KRXText::localised("Still Image FPS:")), m_stillImageBox});
    return m_widget;
}

void KRXLinkOptionsSettings::writeXml(QDomDocument* doc, QDomElement& parent)
{
    QDomElement detail = linkDetailAtEnd(*doc, parent);
    KRXFields::write(*doc, detail, kLinkFields, m_widget);
}

void KRXLinkOptionsSettings::readXml(const QDomElement& root)
{
    KRXFields::readSection(root, kLink, m_widget);
}

QLabel* KRXLinkOptionsSettings::getMultichannelLabel() const
{
    return m_multichannelLabel;
}

QComboBox* KRXLinkOptionsSettings::getAudioStartTimeBox() const
{
    return m_audioStartTimeBox;
}

QComboBox* KRXLinkOptionsSettings::getStillImageBox() const
{
    return m_stillImageBox;
}
