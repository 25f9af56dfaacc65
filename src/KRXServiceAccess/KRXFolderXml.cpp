#include "KRXFolderXml.h"

#include "KRXFolder.h"
#include "KRXFolderProperties.h"
#include "KRXXml.h"

#include <QStringList>
#include <QVariant>

#include <array>
#include <cstddef>
#include <tuple>

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
    /// Whether many folders have the same text.
    bool isCommon;
};

/// In the order in which they are written and set.
constexpr std::array<TextField, std::tuple_size<decltype(FolderTexts::texts)>::value> kTextFields = {{
    {KRXFolderProperties::kPath, "path", false},
    {KRXFolderProperties::kProfileId, "profile", true},
    {KRXFolderProperties::kEnabled, "enabled", true},
}};

QStringList fileNames(const QDomElement& list)
{
    QStringList names;
    for (const QDomElement& file : KRXXml::elementsByTag(list, QLatin1String(kFileNameElement)))
        names << KRXXml::textOf(file);
    return names;
}

} // namespace

std::optional<FolderTexts> Reader::read(const QDomElement& element)
{
    FolderTexts result;
    result.id = element.attribute(QLatin1String(kIdAttribute));
    if (result.id.isEmpty())
        return {};
    KRXXml::readFields(
        element, kTextFields,
        [&](std::size_t field, const QString& text) {
            result.texts[field] = kTextFields[field].isCommon ? shared(text) : text;
        },
        [&result](const QString& tag, const QDomElement& child) {
            if (tag == QLatin1String(kOutputFilesElement))
                result.outputFiles += fileNames(child);
        });
    return result;
}

QString Reader::shared(const QString& text)
{
    return *m_pool.insert(text);
}

std::unique_ptr<KRXFolder> makeFolder(const FolderTexts& texts)
{
    auto folder = std::make_unique<KRXFolder>();
    folder->setProperty(KRXFolderProperties::kId, texts.id);
    for (std::size_t i = 0; i < kTextFields.size(); ++i)
        folder->setProperty(kTextFields[i].property, texts.texts[i]);
    folder->setProperty(KRXFolderProperties::kOutputFiles, texts.outputFiles);
    return folder;
}

std::unique_ptr<KRXFolder> parseFolderDetail(const QDomDocument& document)
{
    const auto texts = Reader().read(KRXXml::firstElement(document, QLatin1String(kFolderElement)));
    return texts ? makeFolder(*texts) : nullptr;
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
    KRXXml::appendTextElement(document, status, QStringLiteral("volumeAction"),
                              QString::number(volumeAction));
    return KRXXml::toText(document);
}

} // namespace KRXFolderXml
