#include "KRXXelPlugin.h"

#include "HostMediaEngine.h"
#include "KRXText.h"
#include "KRXTextFitter.h"
#include "XelLayout.h"
#include "XelTables.h"

#include <QComboBox>
#include <QLabel>
#include <QUuid>
#include <QVBoxLayout>
#include <QWidget>

namespace {

constexpr int kLabelWidth = 60;
constexpr int kPluginBoxWidth = 300;

/// The extensions as they are shown: "mxf.mov" as "*.mxf *.mov ", each with a blank behind it.
QString shownExtensions(const QString& extensions)
{
    if (extensions.contains(QLatin1String("Folder")))
        return extensions;
    QString shown;
    for (const QString& extension : extensions.split(QLatin1Char('.'), Qt::SkipEmptyParts))
        shown += QStringLiteral("*.%1 ").arg(extension);
    return shown;
}

QString withoutBraces(const QString& guid)
{
    return guid.mid(1, guid.size() - 2);
}

} // namespace

QWidget* KRXXelPlugin::createWidget()
{
    if (m_widget)
        return m_widget;
    m_widget = new QWidget;
    auto* label = new QLabel(KRXText::localised("Link using:"));
    label->setFixedWidth(kLabelWidth);
    new KRXTextFitter(label);
    m_pluginBox = new QComboBox;
    m_pluginBox->setObjectName(QLatin1String(XelTables::kPluginBox));
    m_pluginBox->setFixedWidth(kPluginBoxWidth);
    m_pluginBox->setToolTip(KRXText::localised("Plug-in Used When Linking"));
    fillPlugins();
    XelLayout::addRow(XelLayout::makeColumn(m_widget), {label, m_pluginBox});
    return m_widget;
}

void KRXXelPlugin::fillPlugins()
{
    m_pluginBox->clear();
    // The first item of an empty box is selected by itself.
    m_pluginBox->addItem(KRXText::localised("Autodetect Plug-in"), QUuid().toString(QUuid::WithoutBraces));
    for (const HostMediaEngine::LinkedMediaPlugin& plugin : HostMediaEngine::listLinkedMediaPlugins()) {
        m_pluginBox->addItem(QStringLiteral("%1 (%2)").arg(plugin.name, shownExtensions(plugin.extensions)),
                             withoutBraces(plugin.guid));
    }
}

void KRXXelPlugin::writeXml(QDomDocument* doc, QDomElement& parent)
{
    QDomElement link = XelTables::linkDetailAtEnd(*doc, parent);
    KRXFields::appendSection(*doc, link, XelTables::kPlugin, m_widget);
}

void KRXXelPlugin::readXml(const QDomElement& root)
{
    const QDomElement plugin = KRXFields::findSection(root, XelTables::kPlugin);
    if (plugin.isNull())
        return;
    selectPlugin(KRXFields::textOf(plugin, XelTables::kPluginFields[XelTables::PluginName]),
                 KRXFields::textOf(plugin, XelTables::kPluginFields[XelTables::PluginGuid]));
}

void KRXXelPlugin::selectPlugin(const QString& name, const QString& guid)
{
    // A plug-in counts as the same one only when its name and its GUID lead to one item: another version of
    // it has the name, an unrelated one may have got the GUID.
    const int byName = m_pluginBox->findData(name, Qt::DisplayRole, Qt::MatchFixedString);
    const int byGuid = m_pluginBox->findData(guid, Qt::UserRole, Qt::MatchFixedString);
    m_pluginBox->setCurrentIndex(byName >= 0 && byName == byGuid ? byName : 0);
}
