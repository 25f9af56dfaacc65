#include "KRXFolderXml.h"

#include "KRXFolder.h"
#include "KRXFolderProperties.h"
#include "KRXXml.h"

#include <QStringList>
#include <QVariant>

#include <array>
#include <cstddef>

namespace KRXFolderXml {

namespace {

constexpr char kFolderElement[] = "xelMediaFolder";
constexpr char kIdAttribute[] = "id";
constexpr char kOutputFilesElement[] = "outputXELFiles";
constexpr char kFileNameElement[] = "fileName";

/// One text of a folder: the record's property and the element that carries it.
struct TextField
{
    const char* property;
    const char* element;
};

/// In the order in which they are written and set.
constexpr std::array<TextField, 3> kTextFields = {{
    {KRXFolderProperties::kPath, "path"},
    {KRXFolderProperties::kProfileId, "profile"},
    {KRXFolderProperties::kEnabled, "enabled"},
}};

QStringList fileNames(const QDomElement& list)
{
    QStringList names;
    for (const QDomElement& file : KRXXml::elementsByTag(list, QLatin1String(kFileNameElement)))
        names << KRXXml::textOf(file);
    return names;
}

} // namespace

std::unique_ptr<KRXFolder> readElement(const QDomElement& element)
{
    const QString id = element.attribute(QLatin1String(kIdAttribute));
    if (id.isEmpty())
        return nullptr;
    std::array<QString, kTextFields.size()> texts;
    texts.fill(QLatin1String(""));
    QStringList outputFiles;
    for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        const QString tag = child.tagName();
        if (tag == QLatin1String(kOutputFilesElement)) {
            outputFiles += fileNames(child);
            continue;
        }
        for (std::size_t i = 0; i < kTextFields.size(); ++i) {
            if (tag == QLatin1String(kTextFields[i].element))
                texts[i] = KRXXml::textOf(child);
        }
    }
    auto folder = std::make_unique<KRXFolder>();
    folder->setProperty(KRXFolderProperties::kId, id);
    for (std::size_t i = 0; i < kTextFields.size(); ++i)
        folder->setProperty(kTextFields[i].property, texts[i]);
    folder->setProperty(KRXFolderProperties::kOutputFiles, outputFiles);
    return folder;
}

std::unique_ptr<KRXFolder> parseFolderDetail(const QDomDocument& document)
{
    return readElement(KRXXml::firstElement(document, QLatin1String(kFolderElement)));
}

void createXmlFolderElement(QDomDocument& document, QDomElement& parent, const KRXFolder& folder)
{
    QDomElement element = document.createElement(QLatin1String(kFolderElement));
    const QVariant id = folder.property(KRXFolderProperties::kId);
    if (id.isValid())
        element.setAttribute(QLatin1String(kIdAttribute), id.toString());
    for (const TextField& field : kTextFields) {
        const QVariant text = folder.property(field.property);
        if (text.isValid())
            KRXXml::appendTextElement(document, element, QLatin1String(field.element), text.toString());
    }
    if (parent.isNull())
        document.appendChild(element);
    else
        parent.appendChild(element);
}

QString createRequest(const KRXFolder& folder)
{
    QDomDocument document = KRXXml::makeDocument();
    QDomElement request = document.createElement(QStringLiteral("xelMediaFolderRequest"));
    document.appendChild(request);
    createXmlFolderElement(document, request, folder);
    return KRXXml::toText(document);
}

QString updateRequest(const KRXFolder& folder)
{
    QDomDocument document = KRXXml::makeDocument();
    QDomElement none;
    createXmlFolderElement(document, none, folder);
    return KRXXml::toText(document);
}

QString deviceStatus(const QString& volumeName, int volumeType, int volumeAction)
{
    QDomDocument document = KRXXml::makeDocument(KRXXml::Declaration::Standalone);
    QDomElement status = document.createElement(QStringLiteral("deviceStatus"));
    document.appendChild(status);
    KRXXml::appendTextElement(document, status, QStringLiteral("volumeName"), volumeName);
    KRXXml::appendTextElement(document, status, QStringLiteral("volumeType"), QString::number(volumeType));
    KRXXml::appendTextElement(document, status, QStringLiteral("volumeAction"), QString::number(volumeAction));
    return KRXXml::toText(document);
}

} // namespace KRXFolderXml
