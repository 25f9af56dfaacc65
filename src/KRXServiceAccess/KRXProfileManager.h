#pragma once

#include "KRXBaseService.h"
#include "KRXExport.h"
#include "KRXRecordCache.h"

#include <QList>
#include <QPair>
#include <QString>

#include <memory>

class KRXProfile;
class KRXSettingsController;
class ProfileActionsController;

/// The process-wide cache of profiles, and the only code that reads, creates and deletes them on the service.
/// GUI thread only; requests block it. A request that fails leaves the cache as it was and the reason in
/// lastError().
class KRX_EXPORT KRXProfileManager : public KRXBaseService
{
public:
    /// The one manager, made on first use.
    static KRXProfileManager& getInstance();
    /// Deletes the manager with all its records; a later getInstance() makes a new one. The host calls this
    /// after the panel is gone and before its application object dies.
    static void cleanup();

    ~KRXProfileManager() override;
    KRXProfileManager(const KRXProfileManager&) = delete;
    KRXProfileManager& operator=(const KRXProfileManager&) = delete;

    /// Reloads the cache, with the wait cursor shown.
    /// \param inDetail one request for everything instead of one for each profile.
    bool refreshProfiles(bool inDetail);
    /// Fetches one profile from the service into the cache and into \a out, with the wait cursor shown.
    bool readProfile(const QString& id, KRXProfile& out);
    /// Copies the cached profile \a id into \a out. \return false when it is not cached.
    bool getProfile(const QString& id, KRXProfile& out) const;
    /// Makes a new profile on the service.
    /// \param name its name. \param settings, actions write their parts of the document; each may be null.
    /// \param newId receives the identifier; untouched when the service took the profile but it could not be
    /// read back, which is still success.
    bool createProfile(const QString& name, KRXSettingsController* settings,
                       ProfileActionsController* actions, QString& newId);
    /// Removes a profile from the service and the cache.
    bool deleteProfile(const QString& id);
    /// The identifier of the cached profile that has the localised name "Default Profile"; empty when none
    /// has.
    QString getDefaultProfileID() const;
    /// (identifier, name) of the cached profiles, by name whatever the case; for pickers.
    QList<QPair<QString, QString>> profileItems() const;
    /// The cached profiles in plain order of their identifiers. The manager owns them; they are valid until
    /// the next refresh, deleteProfile(), readProfile() of the same identifier, or cleanup().
    QList<KRXProfile*> getKRXProfileList() const;
    int countProfiles() const;

private:
    KRXProfileManager();

    bool readProfiles();
    bool readProfilesInDetail();
    /// The profile at \a url; null on any failure.
    std::unique_ptr<KRXProfile> profileDetail(const QString& url, Unreadable unreadable = Unreadable::Report);
    QString profileURL(const QString& id) const;
    void clearProfiles();
    void cacheProfile(std::unique_ptr<KRXProfile> profile);

    KRXRecordCache<KRXProfile> m_profiles;

    static KRXProfileManager* m_Instance;
};
