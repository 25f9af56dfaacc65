#include "KRXLinkOptionsSettings.h"

#include "HostMediaEngine.h"
#include "KRXText.h"
#include "KRXXml.h"
#include "XelLayout.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QVariant>
#include <QWidget>

namespace {

QString noGrouping()
{
    return QStringLiteral("None");
}

} // namespace

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
    m_multichannelLabel->setObjectName(QStringLiteral("multichannelAudio"));
    // The text comes from profiles, which anyone may have written.
    m_multichannelLabel->setTextFormat(Qt::PlainText);
    // A long grouping is cut off at the edge rather than making the editor as wide as itself.
    m_multichannelLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    QHBoxLayout* row = XelLayout::addRow(
        column, {new QLabel(KRXText::localised("Multichannel Audio :")), m_editButton, m_multichannelLabel});
    row->setStretchFactor(m_multichannelLabel, 1);

    column->addWidget(new QLabel(KRXText::localised("Audio Start-Time Option (for Broadcast Wave)")));
    m_audioStartTimeBox = new QComboBox;
    m_audioStartTimeBox->setObjectName(QStringLiteral("xelAudioStartTimeOption"));
    m_audioStartTimeBox->setToolTip(
        KRXText::localised("Set the Audio Project Rate for Broadcast Wave Files"));
    XelLayout::addRow(column, {new QLabel(KRXText::localised("Audio timecode rate:")), m_audioStartTimeBox});

    QWidget* stillImage = XelLayout::addPanel(column, QStringLiteral("Still_Image_FPS"), XelLayout::kIndent);
    m_stillImageBox = new QComboBox;
    m_stillImageBox->setObjectName(QStringLiteral("xelStillImageFPS"));
    m_stillImageBox->setFixedWidth(XelLayout::kNarrowBoxWidth);
    XelLayout::addRow(XelLayout::panelLayout(stillImage),
                      {new QLabel(KRXText::localised("Still Image FPS:")), m_stillImageBox});

    m_fields = {
        bindGrouping(),
        XelFields::bindComboBox(m_audioStartTimeBox->objectName(), m_audioStartTimeBox,
                                XelFields::ItemPart::Data, XelFields::ItemPart::Data),
        XelFields::bindComboBox(m_stillImageBox->objectName(), m_stillImageBox, XelFields::ItemPart::Text,
                                XelFields::ItemPart::Text),
    };
    return m_widget;
}

XelFields::Field KRXLinkOptionsSettings::bindGrouping() const
{
    QLabel* label = m_multichannelLabel;
    const auto value = [label] {
        const QVariant grouping = label->property(kGroupingProperty);
        return grouping.isValid() ? grouping.toString() : noGrouping();
    };
    const auto setValue = [label](const QString& text) {
        label->setProperty(kGroupingProperty, text);
        label->setText(text == noGrouping() ? KRXText::localised("None")
                                            : HostMediaEngine::channelGroupsFromText(text).displayText);
    };
    return {label->objectName(), value, setValue};
}

void KRXLinkOptionsSettings::writeXml(QDomDocument* doc, QDomElement& parent)
{
    QDomElement detail = XelFields::linkDetailAtEnd(*doc, parent);
    XelFields::write(*doc, detail, m_fields);
}

void KRXLinkOptionsSettings::readXml(const QDomElement& root)
{
    XelFields::read(KRXXml::firstElement(root, QStringLiteral("linkDetail")), m_fields);
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
