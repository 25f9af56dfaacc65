#pragma once

#include "FakeRestClient.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

namespace KRXTest {

/// A service of folders and profiles in memory, spoken to through a fake REST client. It answers with real
/// documents, so that the managers do their whole work. Only one may live at a time; the managers' caches
/// outlive it, so tests call their cleanup().
class FakeFolderService
{
public:
    struct Folder
    {
        QString id;
        QString path;
        QString profile;
        QString enabled = QStringLiteral("false");
        QStringList files = {};
    };

    struct Profile
    {
        QString id;
        QString name;
        /// Explicit bin name.
        QString bin = {};
        QStringList copyTo = {};
        /// Replaces the whole document of the profile, when not empty.
        QString document = {};
    };

    FakeFolderService();

    QList<Folder> folders;
    QList<Profile> profiles;
    /// The identifier that the next created folder gets; empty creates one that cannot be read back.
    QString nextFolderId = QStringLiteral("new");
    /// Texts of refusals by request line as in lines(); "*" refuses everything.
    QHash<QString, QString> refusals;

    /// Requests so far without the service's address: "GET xelmediafolders?level=detail".
    QStringList lines() const;
    /// The body of the last request of that line; empty when there was none.
    QString bodyOf(const QString& line) const;
    void clear() { m_client.clearRequests(); }
    FakeRestClient& client() { return m_client; }

    static QString profileDocument(const Profile& profile);

private:
    FakeAnswer answer(const FakeRequest& request);
    FakeAnswer answerFolder(const FakeRequest& request, const QString& id);
    FakeAnswer create(const FakeRequest& request);

    FakeRestClient m_client;
};

} // namespace KRXTest
