#include "KRXProfileXml.h"

#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "KRXProfileProperties.h"
#include "KRXSettingsController.h"
#include "KRXText.h"
#include "KRXXml.h"
#include "ProfileActionsController.h"

#include <QDateTime>
#include <QStringList>
#include <QVariant>

#include <array>
#include <cstddef>

namespace KRXProfileXml {

namespace {

/// What is written when a record lacks a property.
enum class Absent { Omit, DefaultTag, CurrentTime };

/// One text of a profile: the record's property and the element of "profileDetail" that carries it.
struct TextField
{
    const char* property;
    const char* element;
    Absent absent;
};

// In the order in which they are written.
constexpr std::array<TextField, 5> kTextFields = {{
    {KRXProfileProperties::kName, "profileName", Absent::Omit},
    {KRXProfileProperties::kGuid, "profileGUID", Absent::Omit},
    {KRXProfileProperties::kTag, "profileTag", Absent::DefaultTag},
    {KRXProfileProperties::kDescription, "profileShortDescription", Absent::Omit},
    {KRXProfileProperties::kTimestamp, "profileCreatedTimestamp", Absent::CurrentTime},
}};
constexpr std::size_t kNameField = 0;
constexpr std::size_t kGuidField = 1;

using Texts = std::array<QString, kTextFields.size()>;

QVariant valueToWrite(const TextField& field, const KRXProfile& profile)
{
    const QVariant value = profile.property(field.property);
    if (value.isValid())
        return value;
    switch (field.absent) {
    case Absent::DefaultTag:
        return QStringLiteral("#krx");
    case Absent::CurrentTime:
        return QDateTime::currentDateTime().toString(Qt::ISODate);
    case Absent::Omit:
        break;
    }
    return {};
}

Texts detailTexts(const QDomElement& detail)
{
    Texts texts;
    texts.fill(QLatin1String(""));
    KRXXml::readFields(detail, kTextFields,
                       [&texts](std::size_t field, const QString& text) { texts[field] = text; });
    return texts;
}

/// What to call the bin that the profile puts clips into.
QString binLabel(const QDomElement& bin)
{
    QString label = QLatin1String("");
    QString explicitName = QLatin1String("");
    bool isExplicit = false;
    for (QDomElement child = bin.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        const QString tag = child.tagName();
        const QString text = KRXXml::textOf(child);
        if (tag == QLatin1String("binSelectionMethod")) {
            if (text != QLatin1String("CREATENEW")) {
                label = KRXText::localised("Active  Bin");
                break;
            }
            label = KRXText::localised("Create New Bin");
        } else if (tag == QLatin1String("binNamingMethod")) {
            if (text == QLatin1String("DEFAULT"))
                label = KRXText::localised("Default Name");
            else if (text == QLatin1String("VOLUME"))
                label = KRXText::localised("Volume Name");
            else if (text == QLatin1String("EXPLICIT"))
                isExplicit = true;
        } else if (tag == QLatin1String("binExplicitName")) {
            explicitName = text;
        }
    }
    return isExplicit ? explicitName : label;
}

/// The folders that the profile's actions copy to.
QStringList copyDestinations(const QDomDocument& document)
{
    QStringList paths;
    for (const QDomElement& destination :
         KRXXml::elementsByTag(document, QStringLiteral("destinationDetail"))) {
        const QDomElement path = destination.firstChildElement(QStringLiteral("filesystemPath"));
        if (!path.isNull())
            paths << KRXXml::textOf(path);
    }
    return paths;
}

} // namespace

std::unique_ptr<KRXProfile> parseProfileDetail(const QDomDocument& document)
{
    const Texts texts = detailTexts(KRXXml::firstElement(document, QStringLiteral("profileDetail")));
    if (texts[kNameField].isEmpty() || texts[kGuidField].isEmpty())
        return nullptr;
    auto profile = std::make_unique<KRXProfile>();
    for (std::size_t i = 0; i < kTextFields.size(); ++i)
        profile->setProperty(kTextFields[i].property, texts[i]);
    profile->setProperty(KRXProfileProperties::kBin,
                         binLabel(KRXXml::firstElement(document, QStringLiteral("binDetail"))));
    profile->setProperty(KRXProfileProperties::kCopyToFolder, copyDestinations(document));
    profile->setProperty(KRXProfileProperties::kXml, KRXXml::toText(document));
    return profile;
}

bool readDocumentOf(const QString& profileId, QDomDocument& document)
{
    KRXProfile profile;
    if (!KRXProfileManager::getInstance().getProfile(profileId, profile))
        return false;
    const QVariant text = profile.property(KRXProfileProperties::kXml);
    return text.isValid() && KRXXml::parse(text.toString(), document);
}

void createXmlProfileElement(QDomDocument& document, QDomElement& parent, KRXSettingsController* settings,
                             ProfileActionsController* actions, const KRXProfile& profile)
{
    QDomElement element = document.createElement(QStringLiteral("profile"));
    KRXXml::appendTextElement(document, element, QStringLiteral("version"), QStringLiteral("200"));
    QDomElement detail = document.createElement(QStringLiteral("profileDetail"));
    element.appendChild(detail);
    for (const TextField& field : kTextFields) {
        const QVariant value = valueToWrite(field, profile);
        if (value.isValid())
            KRXXml::appendTextElement(document, detail, QLatin1String(field.element), value.toString());
    }
    KRXXml::appendTextElement(document, detail, QStringLiteral("profileCreatorApplication"),
                              QStringLiteral("FrameStitcher"));
    KRXXml::appendTextElement(document, detail, QStringLiteral("profileType"),
                              QStringLiteral("EDITOR.USERSPECIFIEDFOLDER"));
    if (parent.isNull())
        document.appendChild(element);
    else
        parent.appendChild(element);
    if (settings)
        settings->getSettingsDefXMLElement(&document, element);
    if (actions)
        actions->writeXml(document, element);
}

} // namespace KRXProfileXml
