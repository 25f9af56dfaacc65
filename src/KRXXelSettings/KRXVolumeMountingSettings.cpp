#include "KRXVolumeMountingSettings.h"

#include "KRXText.h"
#include "KRXXml.h"
#include "XelLayout.h"

#include <QCheckBox>
#include <QVBoxLayout>
#include <QWidget>

QWidget* KRXVolumeMountingSettings::createWidget()
{
    if (m_widget)
        return m_widget;
    m_widget = new QWidget;
    auto* box = new QCheckBox(KRXText::localised(
        "When mounting previously mounted volumes do not check for modification to the volume"));
    box->setObjectName(QStringLiteral("doNotCheckPreviousForModifications"));
    QVBoxLayout* column = XelLayout::makeColumn(m_widget);
    column->addStretch();
    XelLayout::addRow(column, {box});
    column->addStretch();
    m_fields = {XelFields::bindCheckBox(box->objectName(), box)};
    return m_widget;
}

void KRXVolumeMountingSettings::writeXml(QDomDocument* doc, QDomElement& parent)
{
    QDomElement detail = doc->createElement(QStringLiteral("volumeMountingDetail"));
    XelFields::write(*doc, detail, m_fields);
    parent.appendChild(detail);
}

void KRXVolumeMountingSettings::readXml(const QDomElement& root)
{
    XelFields::read(KRXXml::firstElement(root, QStringLiteral("volumeMountingDetail")), m_fields);
}
