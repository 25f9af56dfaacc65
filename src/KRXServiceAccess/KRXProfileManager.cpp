#include "KRXProfileManager.h"

#include "KRXProfile.h"
#include "KRXProfileProperties.h"
#include "KRXProfileXml.h"
#include "KRXRecord.h"
#include "KRXText.h"
#include "KRXWaitCursor.h"
#include "KRXXml.h"

#include <QVariant>

#include <algorithm>
#include <utility>

KRXProfileManager* KRXProfileManager::m_Instance = nullptr;

KRXProfileManager& KRXProfileManager::getInstance()
{
    if (!m_Instance)
        m_Instance = new KRXProfileManager;
    return *m_Instance;
}

void KRXProfileManager::cleanup()
{
    delete m_Instance;
    m_Instance = nullptr;
}

KRXProfileManager::KRXProfileManager()
    : KRXBaseService(Acquisition::Later)
{
    m_resourcePath = QStringLiteral("KRXService/profiles");
    acquireQuietly();
}

KRXProfileManager::~KRXProfileManager() = default;

bool KRXProfileManager::refreshProfiles(bool inDetail)
{
    const KRXWaitCursor cursor;
    return inDetail ? readProfilesInDetail() : readProfiles();
}

bool KRXProfileManager::readProfiles()
{
    QDomDocument list;
    if (!fetchDocument(buildUrl(), list))
        return false;
    clearProfiles();
    for (const QDomElement& uri : KRXXml::elementsByTag(list, QStringLiteral("profileURI")))
        cacheProfile(profileDetail(KRXXml::textOf(uri), Unreadable::KeepQuiet));
    return true;
}

bool KRXProfileManager::readProfilesInDetail()
{
    QDomDocument list;
    if (!fetchDocument(QStringLiteral("%1?level=detail").arg(buildUrl()), list))
        return false;
    clearProfiles();
    for (const QDomElement& element : KRXXml::elementsByTag(list, QStringLiteral("profile"))) {
        QDomDocument own = KRXXml::makeDocument();
        own.appendChild(own.importNode(element, true));
        cacheProfile(KRXProfileXml::parseProfileDetail(own));
    }
    return true;
}

bool KRXProfileManager::readProfile(const QString& id, KRXProfile& out)
{
    const KRXWaitCursor cursor;
    // The id may live in the very record that is about to be replaced.
    const QString key = id; // NOLINT(performance-unnecessary-copy-initialization)
    const QString url = profileURL(key);
    if (url.isEmpty())
        return false;
    std::unique_ptr<KRXProfile> profile = profileDetail(url);
    if (!profile)
        return false;
    KRXRecord::copyProperties(*profile, out);
    m_profiles.replace(key, std::move(profile));
    return true;
}

bool KRXProfileManager::getProfile(const QString& id, KRXProfile& out) const
{
    const KRXProfile* profile = m_profiles.find(id);
    if (!profile)
        return false;
    KRXRecord::copyProperties(*profile, out);
    return true;
}

bool KRXProfileManager::createProfile(const QString& name, KRXSettingsController* settings,
                                      ProfileActionsController* actions, QString& newId)
{
    if (!canSend({name}))
        return false;
    KRXProfile profile;
    profile.setProperty(KRXProfileProperties::kName, name);
    QDomDocument document = KRXXml::makeDocument();
    QDomElement request = document.createElement(QStringLiteral("profileRequest"));
    document.appendChild(request);
    KRXProfileXml::createXmlProfileElement(document, request, settings, actions, profile);
    const QString content = KRXXml::toText(document);
    QByteArray body;
    // The controllers bring texts of their own, such as the name of a bin.
    if (!canSend({content}) || !exchangePost(buildUrl(), content, &body) || !parseAnswer(body, document))
        return false;
    // From here on the profile exists, whether or not it can be read back.
    const QDomElement uri = KRXXml::firstElement(document, QStringLiteral("profileURI"));
    if (uri.isNull())
        return true;
    std::unique_ptr<KRXProfile> created = profileDetail(KRXXml::textOf(uri), Unreadable::KeepQuiet);
    if (!created)
        return true;
    newId = created->property(KRXProfileProperties::kGuid).toString();
    cacheProfile(std::move(created));
    return true;
}

bool KRXProfileManager::deleteProfile(const QString& id)
{
    // The caller may hand in the text of the record that goes away or changes here.
    const QString key = id; // NOLINT(performance-unnecessary-copy-initialization)
    const QString url = profileURL(key);
    if (url.isEmpty() || !exchangeDelete(url))
        return false;
    m_profiles.remove(key);
    return true;
}

QString KRXProfileManager::getDefaultProfileID() const
{
    const QString defaultName = KRXText::localised("Default Profile");
    const auto profiles = getKRXProfileList();
    for (const KRXProfile* profile : profiles) {
        if (profile->property(KRXProfileProperties::kName).toString() == defaultName)
            return profile->property(KRXProfileProperties::kGuid).toString();
    }
    return QLatin1String("");
}

QList<QPair<QString, QString>> KRXProfileManager::profileItems() const
{
    QList<QPair<QString, QString>> items;
    for (const auto& [id, profile] : m_profiles.entries()) {
        const QVariant name = profile->property(KRXProfileProperties::kName);
        if (name.isValid())
            items.append(qMakePair(id, name.toString()));
    }
    std::sort(items.begin(), items.end(), [](const auto& a, const auto& b) {
        return QString::compare(a.second, b.second, Qt::CaseInsensitive) < 0;
    });
    return items;
}

QList<KRXProfile*> KRXProfileManager::getKRXProfileList() const
{
    QList<KRXProfile*> profiles;
    profiles.reserve(m_profiles.size());
    for (const auto& entry : m_profiles.entries())
        profiles.append(entry.second.get());
    return profiles;
}

int KRXProfileManager::countProfiles() const
{
    return m_profiles.size();
}

std::unique_ptr<KRXProfile> KRXProfileManager::profileDetail(const QString& url, Unreadable unreadable)
{
    QDomDocument document;
    if (!fetchDocument(url, document, unreadable))
        return nullptr;
    std::unique_ptr<KRXProfile> profile = KRXProfileXml::parseProfileDetail(document);
    if (!profile && unreadable == Unreadable::Report)
        reportUnreadable();
    return profile;
}

QString KRXProfileManager::profileURL(const QString& id) const
{
    return QStringLiteral("%1/%2").arg(buildUrl(), id);
}

void KRXProfileManager::clearProfiles()
{
    m_profiles.clear();
}

void KRXProfileManager::cacheProfile(std::unique_ptr<KRXProfile> profile)
{
    if (!profile)
        return;
    const QString id = profile->property(KRXProfileProperties::kGuid).toString();
    m_profiles.store(id, std::move(profile));
}
