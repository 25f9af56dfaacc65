#include "KRXBinsSettings.h"

#include "KRXText.h"
#include "KRXXml.h"
#include "XelLayout.h"
#include "XelTextFitter.h"

#include <QButtonGroup>
#include <QLineEdit>
#include <QVBoxLayout>
#include <QWidget>

namespace {

constexpr int kNamingPanelWidth = 200;

enum Selection { UseActive, CreateNew };
constexpr XelFields::RadioChoice kSelections[] = {
    {QT_TRID_NOOP("Use Active Bin"), QT_TRID_NOOP("Use the Currently Active Bin to Store Linked Clips"),
     "USEACTIVE"},
    {QT_TRID_NOOP("Create New Bin"), QT_TRID_NOOP("Create New Bin to Store Linked Clips"), "CREATENEW"},
};

enum Naming { DefaultName, VolumeName, ExplicitName };
constexpr XelFields::RadioChoice kNamings[] = {
    {QT_TRID_NOOP("Default Bin Naming Convention"), QT_TRID_NOOP("Uses the Project Name for the Bin"),
     "DEFAULT"},
    {QT_TRID_NOOP("Volume Name"), QT_TRID_NOOP("Uses the Name or Label of the Volume"), "VOLUME"},
    {QT_TRID_NOOP("Specify bin name"), QT_TRID_NOOP("Lets You Enter a New Bin Name"), "EXPLICIT"},
};

} // namespace

QWidget* KRXBinsSettings::createWidget()
{
    if (m_widget)
        return m_widget;
    m_widget = new QWidget;
    QVBoxLayout* column = XelLayout::makeColumn(m_widget);
    QButtonGroup* selection = XelLayout::addRadios(m_widget, column, kSelections, CreateNew);

    auto* indented = new QHBoxLayout;
    indented->setContentsMargins(XelLayout::kIndent, 0, 0, 0);
    column->addLayout(indented);
    QWidget* panel = XelLayout::addPanel(indented, QStringLiteral("binNamingMethod"));
    indented->addStretch();
    panel->setFixedWidth(kNamingPanelWidth);
    new XelTextFitter(panel);
    QButtonGroup* naming = XelLayout::addRadios(panel, XelLayout::panelLayout(panel), kNamings, VolumeName);
    m_binName = new QLineEdit;
    m_binName->setToolTip(KRXText::localised("New Bin Name"));
    XelLayout::panelLayout(panel)->addWidget(m_binName);

    XelFields::Field explicitName = XelFields::bindLineEdit(QStringLiteral("binExplicitName"), m_binName);
    explicitName.isWritten = [naming] { return naming->checkedId() == ExplicitName; };
    m_fields = {
        explicitName,
        XelFields::bindRadios(QStringLiteral("binSelectionMethod"), selection, kSelections, UseActive),
        XelFields::bindRadios(panel->objectName(), naming, kNamings),
    };
    return m_widget;
}

void KRXBinsSettings::writeXml(QDomDocument* doc, QDomElement& parent)
{
    QDomElement detail = doc->createElement(QStringLiteral("binDetail"));
    XelFields::write(*doc, detail, m_fields);
    parent.appendChild(detail);
}

void KRXBinsSettings::readXml(const QDomElement& root)
{
    // A profile without a name of its own must not keep that of the profile shown before.
    m_binName->clear();
    XelFields::read(KRXXml::firstElement(root, QStringLiteral("binDetail")), m_fields);
}
