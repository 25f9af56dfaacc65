#include "KRXVolumeMountingSettings.h"

#include "KRXFields.h"
#include "KRXText.h"
#include "XelLayout.h"

#include <QCheckBox>
#include <QVBoxLayout>
#include <QWidget>

namespace {

constexpr KRXFields::Field kFields[] = {
    {"doNotCheckPreviousForModifications", &KRXFields::kUpperCaseCheck},
};
constexpr KRXFields::Section kSection = {"volumeMountingDetail", kFields};

} // namespace

QWidget* KRXVolumeMountingSettings::createWidget()
{
    if (m_widget)
        return m_widget;
    m_widget = new QWidget;
    auto* box = new QCheckBox(KRXText::localised(
        "When mounting previously mounted volumes do not check for modification to the volume"));
    box->setObjectName(QLatin1String(kFields[0].element));
    QVBoxLayout* column = XelLayout::makeColumn(m_widget);
    column->addStretch();
    XelLayout::addRow(column, {box});
    column->addStretch();
    return m_widget;
}

void KRXVolumeMountingSettings::writeXml(QDomDocument* doc, QDomElement& parent)
{
    KRXFields::appendSection(*doc, parent, kSection, m_widget);
}

void KRXVolumeMountingSettings::readXml(const QDomElement& root)
{
    KRXFields::readSection(root, kSection, m_widget);
}
