#include "KRXFolderManager.h"

#include "KRXFolder.h"
#include "KRXFolderProperties.h"
#include "KRXFolderXml.h"
#include "KRXRecord.h"
#include "KRXServiceAddress.h"
#include "KRXWaitCursor.h"
#include "KRXXml.h"

#include <QVariant>

#include <utility>
#include <vector>

namespace {

QString idOf(const KRXFolder& folder)
{
    return folder.property(KRXFolderProperties::kId).toString();
}

/// The address for notices about volumes. It is fixed: it does not follow a changed host or port.
QString deviceStatusUrl()
{
    return QStringLiteral(KRX_SERVICE_ADDRESS "/KRXService/devicestatus");
}

} // namespace

KRXFolderManager* KRXFolderManager::m_Instance = nullptr;

KRXFolderManager& KRXFolderManager::getInstance()
{
    if (!m_Instance)
        m_Instance = new KRXFolderManager;
    return *m_Instance;
}

void KRXFolderManager::cleanup()
{
    delete m_Instance;
    m_Instance = nullptr;
}

KRXFolderManager::KRXFolderManager()
    : KRXBaseService(Acquisition::Later)
{
    m_resourcePath = QStringLiteral("KRXService/xelmediafolders");
    acquireQuietly();
}

KRXFolderManager::~KRXFolderManager() = default;

bool KRXFolderManager::refreshFolders(bool detailed)
{
    const KRXWaitCursor cursor;
    return detailed ? readFoldersInDetail() : readFolders();
}

bool KRXFolderManager::readFolders()
{
    QDomDocument list;
    if (!fetchDocument(buildUrl(), list))
        return false;
    clearFolders();
    for (const QDomElement& uri : KRXXml::elementsByTag(list, QStringLiteral("xelMediaFolderURI")))
        cacheFolder(folderDetail(KRXXml::textOf(uri), Unreadable::KeepQuiet));
    return true;
}

bool KRXFolderManager::readFoldersInDetail()
{
    QByteArray body;
    if (!exchangeGet(QStringLiteral("%1?level=detail").arg(buildUrl()), &body))
        return false;
    // The records are made last: the earlier ones make room for them first.
    std::vector<KRXFolderXml::FolderTexts> folders;
    KRXFolderXml::Reader reader;
    const auto take = [&](const QDomElement& element) {
        if (auto folder = reader.read(element))
            folders.push_back(std::move(*folder));
    };
    if (!parseAnswerEach(body, QStringLiteral("xelMediaFolder"), take))
        return false;
    body.clear();
    clearFolders();
    for (const KRXFolderXml::FolderTexts& folder : folders)
        m_folders.store(folder.id, KRXFolderXml::makeFolder(folder));
    return true;
}

int KRXFolderManager::countFolders() const
{
    return m_folders.size();
}

const KRXFolder* KRXFolderManager::getFolder(int index) const
{
    return m_folders.at(index);
}

bool KRXFolderManager::getFolder(const int& index, KRXFolder& out) const
{
    const KRXFolder* folder = m_folders.at(index);
    if (!folder)
        return false;
    KRXRecord::copyProperties(*folder, out);
    return true;
}

bool KRXFolderManager::getFolder(const QString& id, KRXFolder& out) const
{
    const KRXFolder* folder = m_folders.find(id);
    if (!folder)
        return false;
    KRXRecord::copyProperties(*folder, out);
    return true;
}

bool KRXFolderManager::readFolder(const QString& id, KRXFolder& out)
{
    const KRXWaitCursor cursor;
    // The id may live in the very record that is about to be replaced.
    const QString key = id; // NOLINT(performance-unnecessary-copy-initialization)
    std::unique_ptr<KRXFolder> folder = folderDetail(folderURL(key));
    if (!folder)
        return false;
    KRXRecord::copyProperties(*folder, out);
    m_folders.replace(key, std::move(folder));
    return true;
}

bool KRXFolderManager::createFolder(const QString& path, const QString& profileId, KRXFolder& out)
{
    if (!canSend({path, profileId}))
        return false;
    KRXFolder folder;
    folder.setProperty(KRXFolderProperties::kPath, path);
    folder.setProperty(KRXFolderProperties::kProfileId, profileId);
    folder.setProperty(KRXFolderProperties::kEnabled, QStringLiteral("false"));
    QByteArray body;
    QDomDocument answer;
    if (!exchangePost(buildUrl(), KRXFolderXml::createRequest(folder), &body) || !parseAnswer(body, answer))
        return false;
    // From here on the folder exists, whether or not it can be read back.
    const QDomElement uri = KRXXml::firstElement(answer, QStringLiteral("xelMediaFolderURI"));
    if (uri.isNull())
        return true;
    std::unique_ptr<KRXFolder> created = folderDetail(KRXXml::textOf(uri), Unreadable::KeepQuiet);
    if (!created)
        return true;
    KRXRecord::copyProperties(*created, out);
    cacheFolder(std::move(created));
    return true;
}

bool KRXFolderManager::updateFolder(KRXFolder& folder, bool reprocess)
{
    const QVariant idValue = folder.property(KRXFolderProperties::kId);
    if (!idValue.isValid())
        return false;
    const QString id = idValue.toString();
    if (!canSend({id, folder.property(KRXFolderProperties::kPath).toString(),
                  folder.property(KRXFolderProperties::kProfileId).toString(),
                  folder.property(KRXFolderProperties::kEnabled).toString()}))
        return false;
    QString url = folderURL(id);
    if (reprocess)
        url += QLatin1String("?reprocess=true");
    QByteArray body;
    if (!exchangePut(url, KRXFolderXml::updateRequest(folder), &body))
        return false;
    KRXFolder* cached = m_folders.find(id);
    if (!cached)
        return false;
    KRXRecord::copyProperties(folder, *cached);
    return true;
}

bool KRXFolderManager::deleteFolder(const QString& id)
{
    // The caller may hand in the text of the record that goes away or changes here.
    const QString key = id; // NOLINT(performance-unnecessary-copy-initialization)
    const QString url = folderURL(key);
    if (url.isEmpty() || !exchangeDelete(url))
        return false;
    m_folders.remove(key);
    return true;
}

void KRXFolderManager::volumeStatusCallback(const unsigned char* volumeName, int volumeType, int volumeAction)
{
    if (!volumeName)
        return;
    const QString name = QString::fromUtf8(reinterpret_cast<const char*>(volumeName));
    if (KRXXml::canCarry(name))
        getInstance().sendPost(deviceStatusUrl(), KRXFolderXml::deviceStatus(name, volumeType, volumeAction));
}

std::unique_ptr<KRXFolder> KRXFolderManager::folderDetail(const QString& url, Unreadable unreadable)
{
    QDomDocument document;
    if (!fetchDocument(url, document, unreadable))
        return nullptr;
    std::unique_ptr<KRXFolder> folder = KRXFolderXml::parseFolderDetail(document);
    if (!folder && unreadable == Unreadable::Report)
        reportUnreadable();
    return folder;
}

QString KRXFolderManager::folderURL(const QString& id) const
{
    return QStringLiteral("%1/%2").arg(buildUrl(), id);
}

void KRXFolderManager::clearFolders()
{
    m_folders.clear();
}

void KRXFolderManager::cacheFolder(std::unique_ptr<KRXFolder> folder)
{
    if (!folder)
        return;
    const QString id = idOf(*folder);
    m_folders.store(id, std::move(folder));
}
