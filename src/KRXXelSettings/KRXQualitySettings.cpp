#include "KRXQualitySettings.h"

#include "KRXFields.h"
#include "KRXText.h"
#include "KRXTextFitter.h"
#include "VGroupBox.h"
#include "XelLayout.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int kPolicyBoxWidth = 150;

enum Policy { HighestQuality, MostCompressed };
constexpr KRXFields::Choice kPolicies[] = {
    {QT_TRID_NOOP("Highest Quality"), nullptr, "HIGHESTQUALITY"},
    {QT_TRID_NOOP("Most Compressed"), nullptr, "MOSTCOMPRESSED"},
};

constexpr char kVideo[] = "xelLinkPolicyVideo";
constexpr char kAudio[] = "xelLinkPolicyAudio";

enum PolicyField { VideoPolicy, AudioPolicy };
// Each element carries the other box's choice while reading takes its own. Profiles in use were written like
// this, so it stays.
constexpr KRXFields::Field kFields[] = {
    {kVideo, &KRXFields::kRadios, {kPolicies, MostCompressed}, nullptr, kAudio},
    {kAudio, &KRXFields::kRadios, {kPolicies, MostCompressed}, nullptr, kVideo},
};
constexpr KRXFields::Section kSection = {"xelDetail", kFields};

void addPolicyBox(QHBoxLayout* row, const QString& title, const KRXFields::Field& field)
{
    auto* box = new VGroupBox(title);
    box->setObjectName(QLatin1String(field.element));
    box->setFixedWidth(kPolicyBoxWidth);
    new KRXTextFitter(box);
    row->addWidget(box);
    XelLayout::addRadios(box, XelLayout::makeColumn(box), field, HighestQuality);
}

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
    addPolicyBox(row, KRXText::localised("Video"), kFields[VideoPolicy]);
    addPolicyBox(row, KRXText::localised("Audio"), kFields[AudioPolicy]);
    row->addStretch();
    return m_widget;
}

void KRXQualitySettings::writeXml(QDomDocument* doc, QDomElement& parent)
{
    KRXFields::appendSection(*doc, parent, kSection, m_widget);
}

void KRXQualitySettings::readXml(const QDomElement& root)
{
    KRXFields::readSection(root, kSection, m_widget);
}
