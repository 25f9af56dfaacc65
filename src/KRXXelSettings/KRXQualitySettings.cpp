#include "KRXQualitySettings.h"

#include "KRXText.h"
#include "KRXXml.h"
#include "VGroupBox.h"
#include "XelLayout.h"
#include "XelTextFitter.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include <utility>

namespace {

constexpr int kPolicyBoxWidth = 150;

enum Policy { HighestQuality, MostCompressed };
constexpr XelFields::RadioChoice kPolicies[] = {
    {QT_TRID_NOOP("Highest Quality"), nullptr, "HIGHESTQUALITY"},
    {QT_TRID_NOOP("Most Compressed"), nullptr, "MOSTCOMPRESSED"},
};

} // namespace

QWidget* KRXQualitySettings::createWidget()
{
    if (m_widget)
        return m_widget;
    m_widget = new QWidget;
    QVBoxLayout* column = XelLayout::makeColumn(m_widget);
    column->addWidget(new QLabel(KRXText::localised("Link Preferences")));
    auto* row = new QHBoxLayout;
    column->addLayout(row);
    const QString videoElement = QStringLiteral("xelLinkPolicyVideo");
    const QString audioElement = QStringLiteral("xelLinkPolicyAudio");
    QButtonGroup* video = addPolicyBox(row, KRXText::localised("Video"), videoElement);
    QButtonGroup* audio = addPolicyBox(row, KRXText::localised("Audio"), audioElement);
    row->addStretch();

    XelFields::Field videoField = XelFields::bindRadios(videoElement, video, kPolicies, MostCompressed);
    XelFields::Field audioField = XelFields::bindRadios(audioElement, audio, kPolicies, MostCompressed);
    // Each element carries the other box's choice while reading takes its own. Profiles in use were written
    // like this, so it stays.
    std::swap(videoField.value, audioField.value);
    m_fields = {videoField, audioField};
    return m_widget;
}

QButtonGroup* KRXQualitySettings::addPolicyBox(QHBoxLayout* row, const QString& title,
                                               const QString& objectName)
{
    auto* box = new VGroupBox(title);
    box->setObjectName(objectName);
    box->setFixedWidth(kPolicyBoxWidth);
    new XelTextFitter(box);
    row->addWidget(box);
    return XelLayout::addRadios(box, XelLayout::makeColumn(box), kPolicies, HighestQuality);
}

void KRXQualitySettings::writeXml(QDomDocument* doc, QDomElement& parent)
{
    QDomElement detail = doc->createElement(QStringLiteral("xelDetail"));
    XelFields::write(*doc, detail, m_fields);
    parent.appendChild(detail);
}

void KRXQualitySettings::readXml(const QDomElement& root)
{
    XelFields::read(KRXXml::firstElement(root, QStringLiteral("xelDetail")), m_fields);
}
