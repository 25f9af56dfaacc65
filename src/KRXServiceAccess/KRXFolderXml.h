#pragma once

#include <QDomDocument>
#include <QDomElement>
#include <QString>

#include <memory>

class KRXFolder;

/// The documents that carry folders to and from the service.
namespace KRXFolderXml {

/// The folder of one "xelMediaFolder" element; null when the element has no "id".
std::unique_ptr<KRXFolder> readElement(const QDomElement& element);
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
