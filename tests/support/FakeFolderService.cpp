#include "FakeFolderService.h"

#include <QDomDocument>

#include <algorithm>

namespace KRXTest {

namespace {

QString lineOf(const FakeRequest& request)
{
    const QString root = QStringLiteral("KRXService/");
    const int at = request.url.indexOf(root);
    return QStringLiteral("%1 %2").arg(request.method,
                                       at < 0 ? request.url : request.url.mid(at + root.size()));
}

QString folderElement(const FakeFolderService::Folder& folder)
{
    QString files;
    for (const QString& file : folder.files)
        files += QStringLiteral("<fileName>%1</fileName>").arg(file.toHtmlEscaped());
    return QStringLiteral(
               "<xelMediaFolder id=\"%1\"><path>%2</path><profile>%3</profile><enabled>%4</enabled>"
               "<outputXELFiles>%5</outputXELFiles></xelMediaFolder>")
        .arg(folder.id.toHtmlEscaped(), folder.path.toHtmlEscaped(), folder.profile.toHtmlEscaped(),
             folder.enabled.toHtmlEscaped(), files);
}

QString childText(const QByteArray& body, const QString& name)
{
    QDomDocument document;
    document.setContent(body);
    return document.elementsByTagName(name).item(0).toElement().text();
}

FakeAnswer notFound()
{
    return FakeAnswer(404, {}, QStringLiteral("No such resource"));
}

} // namespace

FakeFolderService::FakeFolderService()
{
    m_client.setHandler([this](const FakeRequest& request) { return answer(request); });
}

QStringList FakeFolderService::lines() const
{
    QStringList result;
    const auto requests = m_client.requests();
    for (const FakeRequest& request : requests)
        result << lineOf(request);
    return result;
}

QString FakeFolderService::bodyOf(const QString& line) const
{
    QString body;
    const auto requests = m_client.requests();
    for (const FakeRequest& request : requests) {
        if (lineOf(request) == line)
            body = QString::fromUtf8(request.body);
    }
    return body;
}

QString FakeFolderService::profileDocument(const Profile& profile)
{
    if (!profile.document.isEmpty())
        return profile.document;
    QString actions;
    for (const QString& path : profile.copyTo) {
        actions += QStringLiteral("<activity id=\"copy\" name=\"Copy to Folder\"><destinationDetail>"
                                  "<filesystemPath>%1</filesystemPath></destinationDetail></activity>")
                       .arg(path.toHtmlEscaped());
    }
    return QStringLiteral(
               "<profile><version>200</version><profileDetail><profileName>%1</profileName>"
               "<profileGUID>%2</profileGUID></profileDetail><profileSettings><binDetail>"
               "<binSelectionMethod>CREATENEW</binSelectionMethod>"
               "<binNamingMethod>EXPLICIT</binNamingMethod><binExplicitName>%3</binExplicitName>"
               "</binDetail></profileSettings><processDefinition><package><activities>%4</activities>"
               "</package></processDefinition></profile>")
        .arg(profile.name.toHtmlEscaped(), profile.id.toHtmlEscaped(), profile.bin.toHtmlEscaped(), actions);
}

FakeAnswer FakeFolderService::answer(const FakeRequest& request)
{
    const QString line = lineOf(request);
    for (const QString& key : {line, QStringLiteral("*")}) {
        if (refusals.contains(key))
            return FakeAnswer(500, {}, refusals.value(key));
    }
    if (line == QLatin1String("GET xelmediafolders?level=detail")) {
        QString list;
        for (const Folder& folder : qAsConst(folders))
            list += folderElement(folder);
        return FakeAnswer(200, QStringLiteral("<list>%1</list>").arg(list).toUtf8());
    }
    if (line == QLatin1String("GET profiles?level=detail")) {
        QString list;
        for (const Profile& profile : qAsConst(profiles))
            list += profileDocument(profile);
        return FakeAnswer(200, QStringLiteral("<list>%1</list>").arg(list).toUtf8());
    }
    if (line == QLatin1String("POST xelmediafolders"))
        return create(request);
    const QString item = QStringLiteral(" xelmediafolders/");
    if (line.contains(item))
        return answerFolder(request, line.section(item, 1).section(QLatin1Char('?'), 0, 0));
    const QString deletion = QStringLiteral("DELETE profiles/");
    if (line.startsWith(deletion)) {
        const QString id = line.mid(deletion.size());
        const auto profile = std::find_if(profiles.begin(), profiles.end(),
                                          [&id](const Profile& candidate) { return candidate.id == id; });
        if (profile == profiles.end())
            return notFound();
        profiles.erase(profile);
        return FakeAnswer(200, {});
    }
    return notFound();
}

FakeAnswer FakeFolderService::create(const FakeRequest& request)
{
    if (nextFolderId.isEmpty())
        return FakeAnswer(200, "<taken/>");
    Folder folder;
    folder.id = nextFolderId;
    folder.path = childText(request.body, QStringLiteral("path"));
    folder.profile = childText(request.body, QStringLiteral("profile"));
    folders << folder;
    return FakeAnswer(201,
                      QStringLiteral("<xelMediaFolderURI>http://localhost:58885/KRXService/xelmediafolders/%1"
                                     "</xelMediaFolderURI>")
                          .arg(folder.id)
                          .toUtf8());
}

FakeAnswer FakeFolderService::answerFolder(const FakeRequest& request, const QString& id)
{
    const auto folder =
        std::find_if(folders.begin(), folders.end(), [&id](const Folder& f) { return f.id == id; });
    if (folder == folders.end())
        return notFound();
    if (request.method == QLatin1String("PUT")) {
        folder->profile = childText(request.body, QStringLiteral("profile"));
        folder->enabled = childText(request.body, QStringLiteral("enabled"));
    } else if (request.method == QLatin1String("DELETE")) {
        folders.erase(folder);
        return FakeAnswer(200, {});
    }
    return FakeAnswer(200, folderElement(*folder).toUtf8());
}

} // namespace KRXTest
