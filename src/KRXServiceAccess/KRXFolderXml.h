#pragma once

#include <QDomDocument>
#include <QDomElement>
#include <QSet>
#include <QString>
#include <QStringList>

#include <array>
#include <memory>
#include <optional>

class KRXFolder;

/// The documents that carry folders to and from the service.
namespace KRXFolderXml {

/// What one "xelMediaFolder" element says.
struct FolderTexts
{
    QString id;
    /// Path, profile and enabled flag.
    std::array<QString, 3> texts;
    QStringList outputFiles;
};

/// Reads folder elements. Texts that many folders have in common are kept once for all that one reader reads.
class Reader
{
public:
    /// \return nothing when the element has no "id".
    std::optional<FolderTexts> read(const QDomElement& element);

private:
    QString shared(const QString& text);

    QSet<QString> m_pool;
};

/// The record of what an element says.
std::unique_ptr<KRXFolder> makeFolder(const FolderTexts& texts);
/// The folder of the first "xelMediaFolder" element anywhere in \a document; null when there is none.
std::unique_ptr<KRXFolder> parseFolderDetail(const QDomDocument& document);
/// Appends the folder's element to \a parent, or to the document itself when \a parent is null.
void createXmlFolderElement(QDomDocument& document, QDomElement& parent, const KRXFolder& folder);

/// The request that registers a folder.
QString createRequest(const KRXFolder& folder);
/// The request that changes a folder: the bare folder element, unlike the request that registers one.
QString updateRequest(const KRXFolder& folder);
/// The notice that a volume came or went.
QString deviceStatus(const QString& volumeName, int volumeType, int volumeAction);

} // namespace KRXFolderXml
