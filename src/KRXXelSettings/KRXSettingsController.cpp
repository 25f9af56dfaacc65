#include "KRXSettingsController.h"

#include "IKRXXelSettings.h"
#include "KRXProfilesWindow.h"
#include "KRXText.h"
#include "KRXTwistWidget.h"
#include "KRXXml.h"
#include "SettingsTWidget.h"

#include <QAbstractButton>
#include <QComboBox>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace {

/// By XelSettingsType.
constexpr const char* kTitles[] = {
    QT_TRID_NOOP("Plugin"),          QT_TRID_NOOP("Bins"),
    QT_TRID_NOOP("Quality"),         QT_TRID_NOOP("Link Options"),
    QT_TRID_NOOP("Volume Mounting"), QT_TRID_NOOP("ZOR Metadata"),
};

QString profileSettingsTag()
{
    return QStringLiteral("profileSettings");
}

/// Whether a text comes back as it was when it is sent in a document and read again.
bool survivesDocument(const QString& text)
{
    if (!KRXXml::canCarry(text))
        return false;
    const QString tag = QStringLiteral("text");
    QDomDocument sent = KRXXml::makeDocument();
    KRXXml::appendTextElement(sent, sent, tag, text);
    QDomDocument received;
    return KRXXml::parse(KRXXml::toText(sent), received) && received.documentElement().text() == text;
}

/// The name of the first element below \a parent whose text would be lost or changed; empty when none would
/// be.
QString firstElementNotSurviving(const QDomElement& parent)
{
    for (const QDomElement& child : KRXXml::childElements(parent)) {
        QString name;
        if (!child.firstChildElement().isNull())
            name = firstElementNotSurviving(child);
        else if (!survivesDocument(child.text()))
            name = child.tagName();
        if (!name.isEmpty())
            return name;
    }
    return {};
}

} // namespace

KRXSettingsController::KRXSettingsController(KRXTwistWidget* section, KRXProfilesWindow* window)
    : QObject(section)
    , m_section(section)
    , m_window(window)
{
}

QString KRXSettingsController::getSettingNameByType(XelSettingsType type) const
{
    const auto row = static_cast<std::size_t>(type);
    return row < std::size(kTitles) ? KRXText::localised(kTitles[row]) : KRXText::localised("Error!!!");
}

IKRXXelSettings* KRXSettingsController::getSettingsByType(XelSettingsType type) const
{
    const auto found =
        std::find_if(m_settings.begin(), m_settings.end(),
                     [type](const IKRXXelSettings* settings) { return settings->settingsType() == type; });
    return found != m_settings.end() ? *found : nullptr;
}

void KRXSettingsController::addNewSetting(XelSettingsType type)
{
    auto* section = new SettingsTWidget(type, getSettingNameByType(type), m_section);
    m_section->addSubTW(section, 0);
    if (IKRXXelSettings* settings = section->getKRXXelSettings())
        m_settings.append(settings);
    reportChangesOf(section);
}

void KRXSettingsController::reportChangesOf(KRXTwistWidget* section) const
{
    if (!m_window)
        return;
    for (QAbstractButton* button : section->findChildren<QAbstractButton*>())
        connect(button, &QAbstractButton::pressed, m_window, &KRXProfilesWindow::updateModifiedState);
    for (QComboBox* box : section->findChildren<QComboBox*>())
        connect(box, qOverload<int>(&QComboBox::activated), m_window,
                &KRXProfilesWindow::updateModifiedState);
}

void KRXSettingsController::getSettingsDefXMLElement(QDomDocument* doc, QDomElement& parent) const
{
    QDomElement profileSettings = doc->createElement(profileSettingsTag());
    parent.appendChild(profileSettings);
    for (IKRXXelSettings* settings : m_settings)
        settings->writeXml(doc, profileSettings);
}

void KRXSettingsController::updateUI(QDomDocument& doc)
{
    const QDomElement profileSettings = KRXXml::firstElement(doc.documentElement(), profileSettingsTag());
    for (IKRXXelSettings* settings : qAsConst(m_settings))
        settings->readXml(profileSettings);
}

bool KRXSettingsController::validate(QString& error) const
{
    QDomDocument document;
    QDomElement profile = document.createElement(QStringLiteral("profile"));
    document.appendChild(profile);
    getSettingsDefXMLElement(&document, profile);
    const QString element = firstElementNotSurviving(profile);
    if (element.isEmpty())
        return true;
    if (element == QLatin1String("binExplicitName")) {
        error = KRXText::localised(
            "The bin name can't be saved: it consists of blanks only or contains characters "
            "that a profile can't hold.");
    } else {
        error = KRXText::localised(
                    "The link setting \"%1\" can't be saved: it contains characters that a profile "
                    "can't hold.")
                    .arg(element);
    }
    return false;
}
