#include "KRXBinsSettings.h"

#include "KRXText.h"
#include "KRXTextFitter.h"
#include "XelLayout.h"
#include "XelTables.h"

#include <QLineEdit>
#include <QVBoxLayout>
#include <QWidget>

using KRXFields::Field;
using namespace XelTables;

namespace {

constexpr int kNamingPanelWidth = 200;

} // namespace

QWidget* KRXBinsSettings::createWidget()
{
    if (m_widget)
        return m_widget;
    m_widget = new QWidget;
    QVBoxLayout* column = XelLayout::makeColumn(m_widget);
    XelLayout::addRadios(m_widget, column, kBinFields[BinSelectionMethod], CreateNew);

    auto* indented = new QHBoxLayout;
    indented->setContentsMargins(XelLayout::kIndent, 0, 0, 0);
    column->addLayout(indented);
    const Field& naming = kBinFields[BinNamingMethod];
    QWidget* panel = XelLayout::addPanel(indented, QLatin1String(naming.element));
    indented->addStretch();
    panel->setFixedWidth(kNamingPanelWidth);
    new KRXTextFitter(panel);
    XelLayout::addRadios(panel, XelLayout::panelLayout(panel), naming, VolumeName);
    m_binName = new QLineEdit;
    m_binName->setObjectName(QLatin1String(kBinFields[BinExplicitName].element));
    m_binName->setToolTip(KRXText::localised("New Bin Name"));
    XelLayout::panelLayout(panel)->addWidget(m_binName);
    return m_widget;
}

void KRXBinsSettings::writeXml(QDomDocument* doc, QDomElement& parent)
{
    KRXFields::appendSection(*doc, parent, kBins, m_widget);
}

void KRXBinsSettings::readXml(const QDomElement& root)
{
    // A profile without a name of its own must not keep that of the profile shown before.
    m_binName->clear();
    KRXFields::readSection(root, kBins, m_widget);
}
