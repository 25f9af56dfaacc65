#pragma once

#include "FakeRestClient.h"
#include "KRXFolderManager.h"
#include "KRXProfileManager.h"
#include "KRXProfilesWindow.h"
#include "StandInHost.h"

#include <QComboBox>
#include <QMap>
#include <QPushButton>
#include <QRegularExpression>

#include <memory>

/// A service of a few profiles and folders, answered from memory, and the managers that know it.
class EditorFixture
{
public:
    struct Folder
    {
        QString path;
        QString profile;
        QString enabled = QStringLiteral("true");
    };

    EditorFixture()
    {
        StandInHost::resetRecords();
        m_client = std::make_unique<KRXTest::FakeRestClient>();
        m_client->setHandler([this](const KRXTest::FakeRequest& request) { return answer(request); });
        KRXFolderManager::cleanup();
        KRXProfileManager::cleanup();
    }

    ~EditorFixture()
    {
        KRXFolderManager::cleanup();
        KRXProfileManager::cleanup();
        StandInHost::resetRecords();
    }

    void addProfile(const QString& id, const QString& name, const QString& content = QString())
    {
        profiles[id] =
            QStringLiteral("<profile><version>200</version><profileDetail><profileName>%1</profileName>"
                           "<profileGUID>%2</profileGUID></profileDetail>%3</profile>")
                .arg(name, id, content);
    }

    void addFolder(const QString& id, const QString& path, const QString& profile)
    {
        Folder folder;
        folder.path = path;
        folder.profile = profile;
        folders[id] = folder;
    }

    /// Reads everything into the managers, as the panel did before it opens the editor.
    void load()
    {
        KRXProfileManager::getInstance().refreshProfiles(true);
        KRXFolderManager::getInstance().refreshFolders(true);
        m_client->clearRequests();
    }

    void open(KRXProfilesWindow& editor, const QString& id)
    {
        editor.updateProfilesBox(KRXProfileManager::getInstance().profileItems(), id);
    }

    KRXTest::FakeRestClient& client() { return *m_client; }
    /// The requests without scheme, host and port.
    QStringList requests() const
    {
        QStringList lines;
        for (QString line : m_client->requestLines())
            lines << line.remove(QRegularExpression(QStringLiteral("http://[^/]*/KRXService/")));
        return lines;
    }

    QMap<QString, QString> profiles;
    QMap<QString, Folder> folders;
    /// Refuses these methods with this text.
    QString refusedMethod;
    QString refusal;

private:
    KRXTest::FakeAnswer answer(const KRXTest::FakeRequest& request)
    {
        if (request.method == refusedMethod)
            return {409, QByteArray(), refusal};
        const QString path = request.url.section(QStringLiteral("/KRXService/"), 1);
        const QString base = request.url.section(QLatin1Char('?'), 0, 0);
        const QString collection = path.section(QRegularExpression(QStringLiteral("[/?]")), 0, 0);
        const QString id = path.section(QLatin1Char('?'), 0, 0).section(QLatin1Char('/'), 1);
        if (collection == QLatin1String("profiles"))
            return profileAnswer(request, base, id);
        return folderAnswer(request, id);
    }

    KRXTest::FakeAnswer profileAnswer(const KRXTest::FakeRequest& request, const QString& base,
                                      const QString& id)
    {
        if (request.method == QLatin1String("POST")) {
            const QString body = QString::fromUtf8(request.body);
            const QString name = body.section(QStringLiteral("<profileName>"), 1)
                                     .section(QStringLiteral("</profileName>"), 0, 0);
            const QString newId = QStringLiteral("new-%1").arg(profiles.size());
            addProfile(newId, name);
            return {
                201,
                QStringLiteral("<answer><profileURI>%1/%2</profileURI></answer>").arg(base, newId).toUtf8()};
        }
        if (request.method == QLatin1String("DELETE")) {
            profiles.remove(id);
            return {200, QByteArray()};
        }
        if (!id.isEmpty())
            return profiles.contains(id)
                       ? KRXTest::FakeAnswer(200, profiles[id].toUtf8())
                       : KRXTest::FakeAnswer(404, QByteArray(), QStringLiteral("no such profile"));
        QString list;
        if (request.url.endsWith(QLatin1String("?level=detail"))) {
            for (const QString& profile : qAsConst(profiles))
                list += profile;
        } else {
            for (auto it = profiles.cbegin(); it != profiles.cend(); ++it)
                list += QStringLiteral("<profileURI>%1/%2</profileURI>").arg(base, it.key());
        }
        return {200, QStringLiteral("<profiles>%1</profiles>").arg(list).toUtf8()};
    }

    KRXTest::FakeAnswer folderAnswer(const KRXTest::FakeRequest& request, const QString& id)
    {
        if (request.method == QLatin1String("PUT")) {
            const QString body = QString::fromUtf8(request.body);
            const auto value = [&body](const char* tag) -> QString {
                const QString open = QStringLiteral("<%1>").arg(QLatin1String(tag));
                const QString close = QStringLiteral("</%1>").arg(QLatin1String(tag));
                return body.section(open, 1).section(close, 0, 0);
            };
            folders[id].profile = value("profile");
            folders[id].enabled = value("enabled");
            return {200, QByteArray()};
        }
        QString list;
        for (auto it = folders.cbegin(); it != folders.cend(); ++it) {
            list += QStringLiteral("<xelMediaFolder id=\"%1\"><path>%2</path><profile>%3</profile>"
                                   "<enabled>%4</enabled></xelMediaFolder>")
                        .arg(it.key(), it->path, it->profile, it->enabled);
        }
        return {200, QStringLiteral("<folders>%1</folders>").arg(list).toUtf8()};
    }

    std::unique_ptr<KRXTest::FakeRestClient> m_client;
};
